#include "format/TimeToString.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "format/TimeZones.h"
#include "format/internal/Digits.h"
#include "format/internal/IcuZone.h"
#include "format/internal/NameTables.h"

namespace DataTypes {
namespace {

using internal::formatPadded;
using internal::kDigitsBuffer;

// Rounding steps of FF1..FF9, row 0 unused. Digits 7 to 9 pad the microseconds
// with zeros on the right; the double arithmetic is kept as it stands, so a
// product such as 123456 / 0.1 may come out one below.
const double pow10_ara[10] = {0, 100000.0, 10000.0, 1000.0, 100.0, 10.0, 1.0, 0.1, 0.01, 0.001};
const int scaling[10] = {0, 100000, 10000, 1000, 100, 10, 1, 10, 100, 1000};

int caseIndex(TimeFormatParser::Case c) { return (c >= 0 && c <= 2) ? static_cast<int>(c) : 0; }

} // namespace

TimeValuePrinter::TimeValuePrinter(Unit unit, const char* zone, const long* value, std::string& out)
    : m_unit(unit), m_value(value), m_out(&out), m_zone(zone != nullptr ? zone : "") {}

long TimeValuePrinter::valueMicros() const {
    // Wrapping products: values near the 64-bit ends print garbage, never trap.
    const uint64_t v = static_cast<uint64_t>(*m_value);
    switch (m_unit) {
    case Milliseconds: return static_cast<long>(v * 1000u);
    case Seconds: return static_cast<long>(v * 1000000u);
    default: return *m_value;
    }
}

double TimeValuePrinter::daylightMoment() const {
    switch (m_unit) {
    case Milliseconds: return static_cast<double>(*m_value);
    case Seconds: return static_cast<double>(static_cast<uint64_t>(*m_value) * 1000u);
    default: return static_cast<double>(static_cast<uint64_t>(*m_value) / 1000u);
    }
}

void TimeValuePrinter::number(long long value, int width) {
    char buf[kDigitsBuffer];
    char* end = buf + sizeof buf;
    char* begin = formatPadded(end, value, m_fillMode == 1 ? 0 : width);
    m_out->append(begin, end);
}

void TimeValuePrinter::text(const char* name, int padTo) {
    const size_t n = strlen(name);
    if (m_fillMode != 1 && static_cast<int>(n) < padTo) m_out->append(padTo - n, ' ');
    m_out->append(name, n);
}

void TimeValuePrinter::fraction(long long value, int width) {
    char buf[kDigitsBuffer];
    char* end = buf + sizeof buf;
    char* begin = formatPadded(end, value, width);
    // Fill mode cuts trailing zeros, keeping at least one character.
    if (m_fillMode == 1)
        while (end - 1 > begin && end[-1] == '0') --end;
    m_out->append(begin, end);
}

void TimeValuePrinter::OnChar(char c) { m_out->push_back(c); }

void TimeValuePrinter::OnFieldAM(Case c) {
    static const char* const kMorning[3] = {"Am", "AM", "am"};
    static const char* const kAfternoon[3] = {"Pm", "PM", "pm"};
    m_out->append(m_time.tm_hour <= 11 ? kMorning[caseIndex(c)] : kAfternoon[caseIndex(c)], 2);
}

void TimeValuePrinter::OnFieldD() { number(m_time.tm_wday + 1, 1); }
void TimeValuePrinter::OnFieldDD() { number(m_time.tm_mday, 2); }
void TimeValuePrinter::OnFieldDDD() { number(m_time.tm_yday + 1, 3); }
void TimeValuePrinter::OnFieldDAY(Case c) { text(internal::g_dayNames[caseIndex(c)][m_time.tm_wday % 7], 0); }
// Padded to three though every abbreviation has three letters: kept as printed.
void TimeValuePrinter::OnFieldDY(Case c) { text(internal::g_dayAbbrevs[caseIndex(c)][m_time.tm_wday % 7], 3); }

void TimeValuePrinter::OnFieldHH12() {
    const int h = m_time.tm_hour;
    number((h == 0 || h == 12) ? 12 : h % 12, 2);
}

void TimeValuePrinter::OnFieldHH24() { number(m_time.tm_hour, 2); }
void TimeValuePrinter::OnFieldMI() { number(m_time.tm_min, 2); }
void TimeValuePrinter::OnFieldMIC() { number(valueMicros(), 16); }
void TimeValuePrinter::OnFieldMM() { number(m_time.tm_mon + 1, 2); }
void TimeValuePrinter::OnFieldMON(Case c) { text(internal::g_monthAbbrevs[caseIndex(c)][m_time.tm_mon % 12], 0); }
// MONTH alone is padded on the left to nine columns; DAY is not. Kept lopsided.
void TimeValuePrinter::OnFieldMONTH(Case c) { text(internal::g_monthNames[caseIndex(c)][m_time.tm_mon % 12], 9); }
void TimeValuePrinter::OnFieldRM(Case c) { text(internal::g_romanMonths[caseIndex(c)][m_time.tm_mon % 12], 0); }
void TimeValuePrinter::OnFieldQ() { number(m_time.tm_mon / 3 + 1, 1); }
void TimeValuePrinter::OnFieldSS() { number(m_time.tm_sec, 2); }
void TimeValuePrinter::OnFieldSSSSS() { number(m_time.tm_hour * 3600 + m_time.tm_min * 60 + m_time.tm_sec, 5); }
void TimeValuePrinter::OnFieldW() { number((m_time.tm_mday - 1) / 7 + 1, 1); }
void TimeValuePrinter::OnFieldWW() { number(m_time.tm_yday / 7 + 1, 2); }
// The year fields print through 16 bits: a year above 32767 wraps.
void TimeValuePrinter::OnFieldY() { number(static_cast<int16_t>((m_time.tm_year + 1900) % 10), 1); }
void TimeValuePrinter::OnFieldYY() { number(static_cast<int16_t>((m_time.tm_year + 1900) % 100), 2); }
void TimeValuePrinter::OnFieldYYY() { number(static_cast<int16_t>((m_time.tm_year + 1900) % 1000), 3); }
void TimeValuePrinter::OnFieldYYYY() { number(static_cast<int16_t>(m_time.tm_year + 1900), 4); }

// SE and MS count since the epoch as the target zone's clock reads them, and
// ignore the fill mode.
void TimeValuePrinter::OnFieldSE() {
    long t = 0;
    toTimeZone(valueMicros(), "UTC", m_zone.empty() ? nullptr : m_zone.c_str(), t);
    char buf[kDigitsBuffer];
    char* end = buf + sizeof buf;
    m_out->append(formatPadded(end, t / 1000000, 0), end);
}

void TimeValuePrinter::OnFieldMS() {
    long t = 0;
    toTimeZone(valueMicros(), "UTC", m_zone.empty() ? nullptr : m_zone.c_str(), t);
    char buf[kDigitsBuffer];
    char* end = buf + sizeof buf;
    m_out->append(formatPadded(end, t / 1000, 0), end);
    m_printedMillis = true;
}

void TimeValuePrinter::OnFieldFF() {
    if (m_printedMillis) {
        // Only what MS has not shown; a negative fraction goes through its
        // unsigned form, as the value's own text does.
        const uint64_t wide = static_cast<uint64_t>(static_cast<int64_t>(m_fraction));
        fraction(static_cast<int>(wide % 1000u), 3);
    } else {
        fraction(m_fraction, 6);
    }
}

void TimeValuePrinter::OnFieldFFn(char digit) {
    const int n = digit & 0x0F;
    if (n < 1 || n > 9) {
        m_ok = false;
        return;
    }
    const double p = pow10_ara[n];
    // No carry into the seconds: 999999 with FF1 prints "10".
    int v = static_cast<int>(std::floor(m_fraction / p + 0.5) * p);
    if (n > 6) v *= scaling[n];
    else v /= scaling[n];
    fraction(v, n);
}

void TimeValuePrinter::OnFieldTZH() {
    internal::ZonePtr zone = internal::createZone(m_zone.empty() ? "UTC" : m_zone.c_str());
    if (zone == nullptr) {
        m_ok = false;
        return;
    }
    int32_t offset = zone->getRawOffset();
    UErrorCode status = U_ZERO_ERROR;
    if (zone->inDaylightTime(daylightMoment(), status)) offset += zone->getDSTSavings();
    const int hours = offset / 3600000;
    char buf[kDigitsBuffer];
    char* end = buf + sizeof buf;
    // No plus sign; a zone less than an hour west prints 00.
    char* begin = formatPadded(end, hours < 0 ? -hours : hours, 2);
    if (hours < 0) *--begin = '-';
    m_out->append(begin, end);
}

void TimeValuePrinter::OnFieldTZM() {
    internal::ZonePtr zone = internal::createZone(m_zone.empty() ? "UTC" : m_zone.c_str());
    if (zone == nullptr) {
        m_ok = false;
        return;
    }
    // The raw offset alone: daylight saving is whole hours here.
    const int minutes = (zone->getRawOffset() / 60000) % 60;
    char buf[kDigitsBuffer];
    char* end = buf + sizeof buf;
    m_out->append(formatPadded(end, minutes < 0 ? -minutes : minutes, 2), end);
}

void TimeValuePrinter::zoneName(int style) {
    internal::ZonePtr zone = internal::createZone(m_zone.empty() ? "UTC" : m_zone.c_str());
    if (zone == nullptr) {
        m_ok = false;
        return;
    }
    UErrorCode status = U_ZERO_ERROR;
    const bool daylight = zone->inDaylightTime(daylightMoment(), status);
    icu::UnicodeString name;
    zone->getDisplayName(daylight, static_cast<icu::TimeZone::EDisplayType>(style), name);
    m_out->append(internal::toUtf8(name));
}

void TimeValuePrinter::OnFieldTZR() { zoneName(icu::TimeZone::LONG); }
void TimeValuePrinter::OnFieldTZD() { zoneName(icu::TimeZone::SHORT); }

} // namespace DataTypes
