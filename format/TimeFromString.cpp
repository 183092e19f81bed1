#include "format/TimeFromString.h"

#include <cctype>
#include <cstring>
#include <ctime>
#include <strings.h>

#include "format/Calendar.h"
#include "format/TimeZones.h"
#include "format/internal/IcuZone.h"
#include "format/internal/NameTables.h"

namespace DataTypes {
namespace {

bool isSpace(char c) { return isspace(static_cast<unsigned char>(c)) != 0; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Read at each year field, as the short year fields are relative to it.
int currentUtcYear() {
    const time_t now = time(nullptr);
    tm t{};
    DataTypes::zoneSafeGmtime(&now, &t);
    return t.tm_year + 1900;
}

struct Broken {
    int year, month, day, hour, minute, second, meridian;
};

// Hours are kept on the twelve-hour clock with a meridian, as HH24 stores them.
void toTwelveHour(int64_t hour24, int& hour, int& meridian) {
    hour = (hour24 == 0 || hour24 == 12) ? 12 : static_cast<int>(hour24 % 12);
    meridian = hour24 < 12 ? 1 : 2;
}

Broken breakDown(int64_t seconds) {
    const time_t s = static_cast<time_t>(seconds);
    tm t{};
    if (DataTypes::zoneSafeGmtime(&s, &t) == nullptr) t = tm{}; // beyond the calendar: a zeroed record, not garbage
    Broken b{t.tm_year + 1900, t.tm_mon, t.tm_mday, 0, t.tm_min, t.tm_sec, 0};
    toTwelveHour(t.tm_hour, b.hour, b.meridian);
    return b;
}

} // namespace

// --- the input walk ---------------------------------------------------------

TimeFormatParser_CommonFromString::TimeFormatParser_CommonFromString(const char* input)
    : m_input(input != nullptr ? input : ""), m_length(strlen(m_input)) {}

void TimeFormatParser_CommonFromString::SkipSpace() {
    while (m_position < m_length && isSpace(m_input[m_position])) ++m_position;
}

bool TimeFormatParser_CommonFromString::AtDigit() const {
    return m_position < m_length && isDigit(m_input[m_position]);
}

int TimeFormatParser_CommonFromString::ReadDigits(int maxDigits, int64_t& value) {
    uint64_t acc = 0; // SE reads twenty digits and may wrap: that is allowed, not undefined
    int count = 0;
    while (count < maxDigits && AtDigit()) {
        acc = acc * 10u + static_cast<uint64_t>(m_input[m_position] - '0');
        ++m_position;
        ++count;
    }
    value = static_cast<int64_t>(acc);
    return count;
}

bool TimeFormatParser_CommonFromString::BeginField() {
    if (m_exactMode != 1) {
        if (m_position >= m_length) {
            m_ok = false;
            return false;
        }
        SkipSpace();
    }
    if (m_position >= m_length) {
        m_ok = false;
        return false;
    }
    return true;
}

void TimeFormatParser_CommonFromString::OnChar(char c) {
    if (isSpace(c)) {
        if (m_position < m_length && isSpace(m_input[m_position])) {
            ++m_position;
            return;
        }
        // Outside FX a blank of the mask stands for any one byte, even past the end.
        if (m_exactMode != 1) ++m_position;
        else m_ok = false;
        return;
    }
    if (m_exactMode != 1) {
        SkipSpace();
        if (m_position >= m_length) {
            m_ok = false;
            return;
        }
    }
    if (m_position >= m_length) {
        m_ok = false;
        return;
    }
    const char in = m_input[m_position];
    if (in == c) {
        ++m_position;
        return;
    }
    // Outside FX any punctuation of the input matches any of the mask.
    if (!ispunct(static_cast<unsigned char>(c)) || m_exactMode == 1 || !ispunct(static_cast<unsigned char>(in))) {
        m_ok = false;
        return;
    }
    ++m_position;
}

bool TimeFormatParser_CommonFromString::IsDone() {
    if (m_exactMode != 1) SkipSpace();
    if (m_position < m_length) return false;
    if (m_position > m_length && m_exactMode == 1) m_ok = false;
    return true;
}

// --- fields -------------------------------------------------------------------

bool TimeFormatParser_TimeFromString::Refused(bool conflict) {
    if (conflict) m_ok = false;
    return !m_ok;
}

bool TimeFormatParser_TimeFromString::ReadNumber(int width, int64_t low, int64_t high, int64_t& value) {
    const int n = ReadDigits(width, value);
    if (n == 0) {
        m_ok = false; // the member stays unset
        return false;
    }
    // Stored all the same; the conversion fails on the flag.
    if ((n < width && ShortRefused()) || value < low || value > high) m_ok = false;
    return true;
}

bool TimeFormatParser_TimeFromString::YearRefused() { return Refused(m_micSeen || m_seSeen || m_year != -1); }

bool TimeFormatParser_TimeFromString::MonthRefused() {
    return Refused(m_micSeen || m_seSeen || m_month != -1 || m_dayOfYear != -1);
}

void TimeFormatParser_TimeFromString::OnFieldYYYY() {
    if (!BeginField() || YearRefused()) return;
    int64_t v = 0;
    const int n = ReadDigits(4, v);
    if (n == 0 || (n < 4 && ShortRefused())) {
        m_ok = false;
        return;
    }
    m_year = static_cast<int>(v); // "12" is the year 12
}

void TimeFormatParser_TimeFromString::ShortYear(int digits, int roundTo) {
    if (!BeginField() || YearRefused()) return;
    int64_t v = 0;
    const int n = ReadDigits(digits, v);
    if (n == 0 || (n < digits && ShortRefused())) {
        m_ok = false;
        return;
    }
    m_year = static_cast<int>(v) + currentUtcYear() / roundTo * roundTo;
}

void TimeFormatParser_TimeFromString::OnFieldYYY() { ShortYear(3, 1000); }
void TimeFormatParser_TimeFromString::OnFieldYY() { ShortYear(2, 100); }
void TimeFormatParser_TimeFromString::OnFieldY() { ShortYear(1, 10); }

void TimeFormatParser_TimeFromString::OnFieldRR() {
    if (!BeginField() || YearRefused()) return;
    int64_t v = 0;
    const int n = ReadDigits(2, v);
    if (n == 0 || (n < 2 && ShortRefused())) {
        m_ok = false;
        return;
    }
    const int y = currentUtcYear();
    const int century = y / 100 * 100;
    const int r = y - century;
    const int digits = static_cast<int>(v);
    if (digits > 49) m_year = r < 50 ? century - 100 + digits : century + digits;
    // The last case drops the digits and takes the whole current year: kept as it stands.
    else m_year = r <= 49 ? century + digits : y + century + 100;
}

void TimeFormatParser_TimeFromString::OnFieldRRRR() {
    if (!BeginField() || YearRefused()) return;
    if (!AtDigit()) {
        m_year = -1;
        OnFieldRR(); // fails there, on the same byte
        return;
    }
    const size_t start = m_position;
    int64_t v = 0;
    const int n = ReadDigits(4, v);
    if (n == 4) {
        m_year = static_cast<int>(v);
    } else if (n == 3) {
        if (ShortRefused()) {
            m_ok = false;
            m_year = -1;
            return;
        }
        m_year = static_cast<int>(v); // "199" is the year 199
    } else {
        if (ShortRefused()) m_ok = false;
        m_position = start;
        m_year = -1;
        OnFieldRR();
    }
}

int TimeFormatParser_TimeFromString::MatchName(const NameKind* kinds, int count, Case c, bool ignoreCase) {
    const int form = ignoreCase ? static_cast<int>(Mixed) : static_cast<int>(c);
    if (form < 0 || form > 2) {
        m_ok = false;
        return -1;
    }
    const char* at = m_input + m_position;
    size_t best = 0;
    int row = -1;
    for (int k = 0; k < count; ++k) {
        const internal::NameRow* table = nullptr;
        int rows = 12;
        switch (kinds[k]) {
        case MonthName: table = internal::g_monthNames[form]; break;
        case MonthAbbrev: table = internal::g_monthAbbrevs[form]; break;
        case RomanMonth: table = internal::g_romanMonths[form]; break;
        case DayName: table = internal::g_dayNames[form]; rows = 7; break;
        case DayAbbrev: table = internal::g_dayAbbrevs[form]; rows = 7; break;
        }
        for (int i = 0; i < rows; ++i) {
            const size_t len = strlen(table[i]);
            if (len <= best) continue; // the longest wins, the first of equal length stays
            const int cmp = ignoreCase ? strncasecmp(at, table[i], len) : strncmp(at, table[i], len);
            if (cmp == 0) {
                best = len;
                row = i;
            }
        }
    }
    if (row < 0) {
        m_ok = false;
        return -1;
    }
    m_position += best;
    return row;
}

void TimeFormatParser_TimeFromString::OnFieldMM() {
    if (!BeginField() || MonthRefused()) return;
    if (AtDigit()) {
        int64_t v = 0;
        if (ReadNumber(2, 1, 12, v)) m_month = static_cast<int>(v) - 1;
        return;
    }
    if (m_exactMode == 1) {
        m_ok = false; // digits only
        return;
    }
    static const NameKind kinds[] = {MonthName, MonthAbbrev};
    const int row = MatchName(kinds, 2, Mixed, true);
    if (row >= 0) m_month = row;
}

int TimeFormatParser_TimeFromString::MatchWord(NameKind full, NameKind abbrev, Case c, bool abbrevField) {
    // Outside FX either spelling is taken in any case; under FX only the
    // field's own spelling, in its case.
    const NameKind both[] = {full, abbrev};
    if (m_exactMode != 1) return MatchName(both, 2, c, true);
    return MatchName(abbrevField ? both + 1 : both, 1, c, false);
}

void TimeFormatParser_TimeFromString::OnFieldMONTH(Case c) {
    if (!BeginField() || MonthRefused()) return;
    const int row = MatchWord(MonthName, MonthAbbrev, c, false);
    if (row >= 0) m_month = row;
}

void TimeFormatParser_TimeFromString::OnFieldMON(Case c) {
    if (!BeginField() || MonthRefused()) return;
    const int row = MatchWord(MonthName, MonthAbbrev, c, true);
    if (row >= 0) m_month = row;
}

void TimeFormatParser_TimeFromString::OnFieldRM(Case c) {
    if (!BeginField() || MonthRefused()) return;
    static const NameKind roman[] = {RomanMonth};
    const int row = MatchName(roman, 1, c, m_exactMode != 1);
    if (row >= 0) m_month = row;
}

bool TimeFormatParser_TimeFromString::DayNameRefused() {
    // DD may follow DAY, but DAY may not follow DD: kept order-dependent.
    return Refused(m_micSeen || m_seSeen || m_dayOfWeek != -1 || m_day != -1 || m_dayOfYear != -1);
}

void TimeFormatParser_TimeFromString::OnFieldDAY(Case c) {
    if (!BeginField() || DayNameRefused()) return;
    const int row = MatchWord(DayName, DayAbbrev, c, false);
    if (row >= 0) m_dayOfWeek = row;
}

void TimeFormatParser_TimeFromString::OnFieldDY(Case c) {
    if (!BeginField() || DayNameRefused()) return;
    const int row = MatchWord(DayName, DayAbbrev, c, true);
    if (row >= 0) m_dayOfWeek = row;
}

void TimeFormatParser_TimeFromString::ReadTwoDigits(bool conflict, int64_t low, int64_t high, int& slot) {
    if (!BeginField() || Refused(conflict)) return;
    int64_t v = 0;
    if (ReadNumber(2, low, high, v)) slot = static_cast<int>(v);
}

void TimeFormatParser_TimeFromString::OnFieldDD() {
    ReadTwoDigits(m_micSeen || m_seSeen || m_day != -1 || m_dayOfYear != -1, 1, 31, m_day);
}

void TimeFormatParser_TimeFromString::OnFieldHH12() {
    ReadTwoDigits(m_micSeen || m_seSeen || m_hour != -1, 1, 12, m_hour);
}

void TimeFormatParser_TimeFromString::OnFieldHH24() {
    if (!BeginField() || Refused(m_micSeen || m_seSeen || m_hour != -1 || m_meridian != 0)) return;
    int64_t v = 0;
    if (!ReadNumber(2, 0, 23, v)) return;
    toTwelveHour(v, m_hour, m_meridian);
}

void TimeFormatParser_TimeFromString::OnFieldMI() {
    ReadTwoDigits(m_micSeen || m_seSeen || m_minute != -1, 0, 59, m_minute);
}

void TimeFormatParser_TimeFromString::OnFieldSS() {
    ReadTwoDigits(m_micSeen || m_seSeen || m_second != -1, 0, 59, m_second);
}

void TimeFormatParser_TimeFromString::OnFieldSSSSS() {
    if (!BeginField() ||
        Refused(m_micSeen || m_seSeen || m_meridian != 0 || m_hour != -1 || m_minute != -1 || m_second != -1))
        return;
    int64_t v = 0;
    if (!ReadNumber(5, 0, 86399, v)) return;
    m_second = static_cast<int>(v % 60);
    m_minute = static_cast<int>(v / 60 % 60);
    toTwelveHour(v / 3600, m_hour, m_meridian);
}

void TimeFormatParser_TimeFromString::OnFieldAM(Case) {
    if (!BeginField() || Refused(m_seSeen || m_micSeen || m_meridian != 0)) return;
    // Either field reads either word; the Case of the mask is not used.
    const char* at = m_input + m_position;
    if (strncasecmp(at, "AM", 2) == 0) m_meridian = 1;
    else if (strncasecmp(at, "PM", 2) == 0) m_meridian = 2;
    else {
        m_meridian = 0;
        m_ok = false;
        return;
    }
    m_position += 2;
}

void TimeFormatParser_TimeFromString::OnFieldFF() {
    if (!BeginField()) return;
    if (m_micSeen || m_fraction != -1 || !AtDigit()) {
        m_ok = false;
        return;
    }
    int64_t v = 0;
    const int n = ReadDigits(6, v);
    if (n < 6) {
        if (ShortRefused()) {
            m_ok = false;
            return;
        }
        for (int k = n; k < 6; ++k) v *= 10; // "5" is half a second
        m_fraction = static_cast<int>(v);
        return;
    }
    m_fraction = static_cast<int>(v);
    // Digits past the microseconds are skipped, at most 100 of them.
    int skipped = 0;
    while (skipped < 100 && AtDigit()) {
        ++m_position;
        ++skipped;
    }
    if (skipped > 0 && skipped < 100 && ShortRefused()) m_ok = false;
}

void TimeFormatParser_TimeFromString::OnFieldMIC() {
    if (!BeginField() || Refused(m_seSeen || m_micSeen)) return;
    m_micSeen = true;
    if (!AtDigit()) {
        m_epochMicros = 0; // nothing to read: the field still counts, as zero
        return;
    }
    int64_t v = 0;
    const int n = ReadDigits(16, v);
    m_epochMicros = v;
    if (n < 16 && ShortRefused()) m_ok = false;
}

bool TimeFormatParser_TimeFromString::EpochRefused() {
    return Refused(m_micSeen || m_second != -1 || m_seSeen || m_day > 0 || m_hour != -1 || m_month != -1 ||
                   m_year != -1 || m_minute != -1 || m_epochMicros != 0 || m_msSeen);
}

void TimeFormatParser_TimeFromString::SetEpochFields() {
    m_year = 1970;
    m_hour = m_minute = m_second = m_dayOfWeek = m_day = m_month = 0;
}

void TimeFormatParser_TimeFromString::OnFieldSE() {
    if (!BeginField() || EpochRefused()) return;
    if (!AtDigit()) { // no sign here
        m_ok = false;
        return;
    }
    int64_t v = 0;
    const int n = ReadDigits(20, v);
    if (n < 20 && ShortRefused()) {
        m_ok = false;
        return;
    }
    m_epochSeconds = v;
    m_seSeen = true;
    SetEpochFields();
}

void TimeFormatParser_TimeFromString::OnFieldMS() {
    if (!BeginField() || EpochRefused()) return;
    bool negative = false;
    if (m_input[m_position] == '-') {
        negative = true;
        ++m_position;
    }
    if (!AtDigit()) {
        m_ok = false;
        return;
    }
    int64_t v = 0;
    const int n = ReadDigits(20, v);
    if (n < 20 && ShortRefused()) {
        m_ok = false;
        return;
    }
    m_epochMillis = negative ? static_cast<int64_t>(0 - static_cast<uint64_t>(v)) : v;
    m_msSeen = true;
    SetEpochFields();
}

void TimeFormatParser_TimeFromString::OnFieldTZH() {
    if (!BeginField() || Refused(m_tzdSeen || m_tzhSeen || m_tzrSeen)) return;
    int sign = 1;
    if (m_input[m_position] == '+') ++m_position;
    else if (m_input[m_position] == '-') {
        sign = -1;
        ++m_position;
    }
    int64_t count = -1; // no digits: an hour the other way, without failing
    if (AtDigit()) {
        const int n = ReadDigits(2, count);
        if (n < 2 && ShortRefused()) {
            m_ok = false;
            count = -1;
        }
    }
    m_tzhSeen = true;
    m_zoneOffset += static_cast<int>(sign * count * 3600);
}

void TimeFormatParser_TimeFromString::OnFieldTZM() {
    if (!BeginField() || Refused(m_tzdSeen || m_tzmSeen || m_tzrSeen)) return;
    int64_t count = -1;
    if (AtDigit()) {
        const int n = ReadDigits(2, count);
        if (n < 2 && ShortRefused()) {
            m_ok = false;
            count = -1;
        }
    }
    // Follows the sign of a TZH read before it; a later TZH doesn't reach the minutes.
    m_zoneOffset += static_cast<int>(m_zoneOffset < 0 ? count * -60 : count * 60);
    m_tzmSeen = true;
}

std::string TimeFormatParser_TimeFromString::CollectZoneText(bool region) {
    const size_t start = m_position;
    while (m_position < m_length) {
        const char c = m_input[m_position];
        const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        if (!letter && !(region && (c == '/' || c == '_'))) break;
        ++m_position;
    }
    return std::string(m_input + start, m_position - start);
}

void TimeFormatParser_TimeFromString::OnFieldTZD() {
    if (!BeginField() || Refused(m_tzdSeen || m_tzhSeen || m_tzmSeen || m_tzrSeen)) return;
    m_tzdText = CollectZoneText(false);
    if (m_tzdText.empty() || !isValidTimezone(m_tzdText.c_str())) {
        m_ok = false;
        return;
    }
    m_tzdSeen = true;
}

void TimeFormatParser_TimeFromString::OnFieldTZR() {
    if (!BeginField() || Refused(m_tzdSeen || m_tzhSeen || m_tzmSeen || m_tzrSeen)) return;
    m_tzrText = CollectZoneText(true);
    // The region is not validated: the check is made on the (empty) TZD text,
    // so an unknown region reads as ICU's fallback zone. Kept as it stands.
    if (m_tzrText.empty() || !isValidTimezone(m_tzdText.c_str())) {
        m_ok = false;
        return;
    }
    m_tzrSeen = true;
}

// --- assembly -------------------------------------------------------------------

long TimeFormatParser_TimeFromString::Assemble(Unit unit) const {
    if (m_micSeen) {
        switch (unit) {
        case Milliseconds: return m_epochMicros / 1000;
        case Microseconds: return m_epochMicros;
        default: return m_epochMicros / 1000000;
        }
    }
    Broken b{m_year, m_month, m_day, m_hour, m_minute, m_second, m_meridian};
    int fraction = m_fraction;
    if (m_seSeen) {
        b = breakDown(m_epochSeconds);
        fraction = 0;
    } else if (m_msSeen) {
        // Twenty digits may have wrapped: the carry wraps with them, never traps.
        uint64_t sum = static_cast<uint64_t>(m_epochMillis);
        if (m_fraction != -1) {
            const uint64_t carry = static_cast<uint64_t>(m_fraction / 1000);
            sum = m_epochMillis < 0 ? sum - carry : sum + carry;
        }
        b = breakDown(static_cast<int64_t>(sum) / 1000);
        // From the milliseconds as read: a later FF only matters through a carry.
        fraction = static_cast<int>(m_epochMillis % 1000) * 1000;
    }

    tm t{};
    t.tm_year = b.year < 0 ? 0 : b.year - 1900; // no year: 1900, through mktime's local clock
    t.tm_mon = b.month < 0 ? 0 : b.month;
    t.tm_mday = b.day > 0 ? b.day : 1;
    if (b.meridian == 2) t.tm_hour = (b.hour == 12 || b.hour <= 0) ? 12 : b.hour + 12;
    else t.tm_hour = (b.hour == 12 || b.hour <= 0) ? 0 : b.hour;
    t.tm_min = b.minute < 0 ? 0 : b.minute;
    t.tm_sec = b.second < 0 ? 0 : b.second;
    if (fraction < 0) fraction = 0;

    const int64_t s0 = tm2sec(&t);
    const char* zoneText = m_tzdSeen ? m_tzdText.c_str() : m_tzrSeen ? m_tzrText.c_str() : nullptr;
    if (zoneText != nullptr) {
        // Read as UTC, then moved onto the zone's clock: "12:00 +05" is 17:00 UTC.
        internal::ZonePtr zone = internal::createZone(zoneText);
        const std::string id = zone != nullptr ? internal::zoneId(*zone) : std::string("UTC");
        long tz = 0;
        toTimeZone(static_cast<long>(static_cast<uint64_t>(s0) * 1000000u), "UTC", id.c_str(), tz);
        switch (unit) {
        case Milliseconds: return tz / 1000 + fraction / 1000;
        case Microseconds: return tz + fraction;
        default: return tz / 1000000;
        }
    }
    const int64_t s = (m_tzhSeen || m_tzmSeen) ? s0 + m_zoneOffset : s0;
    switch (unit) {
    case Milliseconds: return static_cast<long>(static_cast<uint64_t>(s) * 1000u + static_cast<uint64_t>(fraction / 1000));
    case Microseconds: return static_cast<long>(static_cast<uint64_t>(s) * 1000000u + static_cast<uint64_t>(fraction));
    default: return s;
    }
}

} // namespace DataTypes
