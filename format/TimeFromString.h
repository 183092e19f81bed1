// Reading handlers of the mask scanner: they walk an input text along with
// the mask and collect the fields found. Outside exact mode (FX) blanks are
// skipped, any punctuation matches any punctuation and short fields pass; FM
// lets short fields through again inside exact mode. Fields that can be
// printed but not read (D, DDD, Q, W, WW, FF1..FF9 and the reserved words)
// fail the mask. Members only move from unset to set, which is what the
// conflict rules between fields rest on.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

#include "format/TimeFormatHandlerBase.h"

namespace DataTypes {

// The input walk shared by every reading handler: literals and the end test.
class TimeFormatParser_CommonFromString : public TimeFormatHandlerBase {
public:
    bool IsDone() override;
    void OnChar(char c) override;

protected:
    // `input` is not owned and must outlive the object; null reads as "".
    explicit TimeFormatParser_CommonFromString(const char* input);
    ~TimeFormatParser_CommonFromString() = default;

    void SkipSpace();
    // The common start of a field: false (ok flag cleared) at the end of input.
    bool BeginField();
    bool AtDigit() const;
    // Up to `maxDigits` digits from the position into `value`; the count read.
    int ReadDigits(int maxDigits, int64_t& value);
    bool ShortRefused() const { return m_exactMode == 1 && m_fillMode != 1; }

    const char* m_input;
    size_t m_length;
    size_t m_position = 0; // may pass the length when a mask blank steps over the end
};

class TimeFormatParser_TimeFromString final : public TimeFormatParser_CommonFromString {
public:
    enum Unit { Seconds, Milliseconds, Microseconds };

    explicit TimeFormatParser_TimeFromString(const char* input) : TimeFormatParser_CommonFromString(input) {}

    // The value in `unit` from the fields read, after Parse returned true.
    long Assemble(Unit unit) const;

    void OnFieldAM(Case c) override;
    void OnFieldDD() override;
    void OnFieldDAY(Case c) override;
    void OnFieldDY(Case c) override;
    void OnFieldHH12() override;
    void OnFieldHH24() override;
    void OnFieldMI() override;
    void OnFieldMIC() override;
    void OnFieldMM() override;
    void OnFieldMON(Case c) override;
    void OnFieldMONTH(Case c) override;
    void OnFieldMS() override;
    void OnFieldRM(Case c) override;
    void OnFieldSS() override;
    void OnFieldSE() override;
    void OnFieldFF() override;
    void OnFieldSSSSS() override;
    void OnFieldTZD() override;
    void OnFieldTZH() override;
    void OnFieldTZM() override;
    void OnFieldTZR() override;
    void OnFieldRR() override;
    void OnFieldRRRR() override;
    void OnFieldY() override;
    void OnFieldYY() override;
    void OnFieldYYY() override;
    void OnFieldYYYY() override;

private:
    enum NameKind { MonthName, MonthAbbrev, RomanMonth, DayName, DayAbbrev };
    // Longest match among the tables, the first of equal length winning; the
    // row number, or -1 with the ok flag cleared.
    int MatchName(const NameKind* kinds, int count, Case c, bool ignoreCase);
    // A month or day name field: the full spelling or, for MON/DY, the short one.
    int MatchWord(NameKind full, NameKind abbrev, Case c, bool abbrevField);
    // Clears the ok flag on a conflict with a field read before; true when failed.
    bool Refused(bool conflict);
    // 1 to `width` digits within low..high; false (member left unset) when no
    // digit comes. Short or out of range: the value is given, the flag cleared.
    bool ReadNumber(int width, int64_t low, int64_t high, int64_t& value);
    // A plain two-digit field (DD, HH12, MI, SS): refused on a conflict, else
    // read within [low, high] into `slot`.
    void ReadTwoDigits(bool conflict, int64_t low, int64_t high, int& slot);
    bool DayNameRefused();
    bool YearRefused();
    bool MonthRefused();
    void ShortYear(int digits, int roundTo);
    bool EpochRefused();
    void SetEpochFields();
    void SetHour24(int64_t hour24);
    std::string CollectZoneText(bool region);

    int m_year = -1;
    int m_month = -1;     // 0 to 11
    int m_day = -1;
    int m_dayOfYear = -1; // no field sets it; the conflict rules still test it
    int m_dayOfWeek = -1;
    int m_meridian = 0;   // 0 none, 1 morning, 2 afternoon
    int m_hour = -1;      // twelve-hour clock, 1 to 12
    int m_minute = -1;
    int m_second = -1;
    int64_t m_epochSeconds = -1;
    int64_t m_epochMillis = -1;
    int m_fraction = -1;  // microseconds
    int64_t m_epochMicros = 0;
    bool m_micSeen = false, m_seSeen = false, m_msSeen = false;
    bool m_tzdSeen = false, m_tzhSeen = false, m_tzmSeen = false, m_tzrSeen = false;
    std::string m_tzdText;
    std::string m_tzrText;
    int m_zoneOffset = 0; // seconds, added to the result
};

} // namespace DataTypes
