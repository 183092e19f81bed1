// Printing handlers of the mask scanner: each prints a broken-down time field
// by field onto the end of an output string while the scanner walks the mask.
// The three classes differ only in the unit of the value they point to
// (timestamp ms, date s, bigdatetime us). The caller has already moved the
// value into the target zone and broken it down into Time(): gmtime_r only
// serves as the calendar, the zone offset is inside the record.
// RR, RRRR, DAYS, HOURS, MINUTES and SECONDS cannot be printed and fail the mask.
#pragma once
#include <ctime>
#include <string>

#include "format/TimeFormatHandlerBase.h"

namespace DataTypes {

class TimeValuePrinter : public TimeFormatHandlerBase {
public:
    enum Unit { Milliseconds, Seconds, Microseconds };

    tm& Time() { return m_time; }
    // Microseconds below the whole second, with the sign of the value.
    void SetFraction(int fraction) { m_fraction = fraction; }

    void OnChar(char c) override;
    void OnFieldAM(Case c) override;
    void OnFieldD() override;
    void OnFieldDD() override;
    void OnFieldDDD() override;
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
    void OnFieldQ() override;
    void OnFieldSS() override;
    void OnFieldSE() override;
    void OnFieldFF() override;
    void OnFieldFFn(char digit) override;
    void OnFieldSSSSS() override;
    void OnFieldTZD() override;
    void OnFieldTZH() override;
    void OnFieldTZM() override;
    void OnFieldTZR() override;
    void OnFieldW() override;
    void OnFieldWW() override;
    void OnFieldY() override;
    void OnFieldYY() override;
    void OnFieldYYY() override;
    void OnFieldYYYY() override;

protected:
    // `zone` names the target zone ("" for UTC); `value` and `out` are not owned.
    TimeValuePrinter(Unit unit, const char* zone, const long* value, std::string& out);
    ~TimeValuePrinter() = default;

private:
    long valueMicros() const;
    double daylightMoment() const;
    // Numbers as printf's "%0<width>d" with fill mode 0 and "%d" with fill mode 1.
    void number(long long value, int width);
    void text(const char* name, int padTo);
    void fraction(long long value, int width);
    void zoneName(int style);

    Unit m_unit;
    const long* m_value;
    tm m_time{};
    std::string* m_out;
    int m_fraction = 0;
    std::string m_zone;
    bool m_printedMillis = false; // set by MS: a later FF shows only the microseconds MS did not
};

// Timestamp: the value in milliseconds.
class TimeFormatParser_TimeToString final : public TimeValuePrinter {
public:
    TimeFormatParser_TimeToString(const char* zone, const long* value, std::string& out)
        : TimeValuePrinter(Milliseconds, zone, value, out) {}
};

// Date: the value in seconds; its fraction is always 0.
class DateFormatParser_DateToString final : public TimeValuePrinter {
public:
    DateFormatParser_DateToString(const char* zone, const long* value, std::string& out)
        : TimeValuePrinter(Seconds, zone, value, out) {}
};

// Bigdatetime: the value in microseconds.
class BigDateTimeFormatParser_TimeToString final : public TimeValuePrinter {
public:
    BigDateTimeFormatParser_TimeToString(const char* zone, const long* value, std::string& out)
        : TimeValuePrinter(Microseconds, zone, value, out) {}
};

} // namespace DataTypes
