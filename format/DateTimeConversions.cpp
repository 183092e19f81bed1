#include "format/DateTimeConversions.h"

#include <cstdint>
#include <cstring>
#include <ctime>
#include <new>

#include "format/TimeFromString.h"
#include "format/TimeToString.h"
#include "format/TimeZones.h"
#include "format/Calendar.h"

namespace DataTypes {
namespace {

// The shared steps of the three printers: whole seconds and fraction come in
// already split by the unit's own rule.
void printThrough(TimeValuePrinter& printer, uint64_t wholeSecondsTimesMillion, int fraction, const char* mask,
                  const char* name, std::string& out) {
    out.reserve(strlen(mask) + 1);
    long t = 0;
    // The zone was vouched for by the caller: the result flag says nothing new.
    toTimeZone(static_cast<long>(wholeSecondsTimesMillion), "UTC", (name == nullptr || *name == '\0') ? nullptr : name, t);
    const time_t seconds = t / 1000000;
    DataTypes::zoneSafeGmtime(&seconds, &printer.Time());
    printer.SetFraction(fraction);
    if (!printer.Parse(mask, strlen(mask))) out.clear();
}

template <class Printer, class Split>
void toString(long value, const char* mask, const char* zone, std::string& out, Split split) {
    try {
        if (mask == nullptr || !isValidTimezone(zone)) {
            out.clear();
            return;
        }
        const char* name = zone != nullptr ? zone : "UTC";
        Printer printer(name, &value, out);
        uint64_t scaled = 0;
        int fraction = 0;
        split(value, scaled, fraction);
        printThrough(printer, scaled, fraction, mask, name, out);
    } catch (...) { // std::bad_alloc of the output: no exception leaves here
        out.clear();
    }
}

bool fromString(const char* text, const char* mask, TimeFormatParser_TimeFromString::Unit unit, long& result) {
    if (text == nullptr || mask == nullptr) return false;
    try {
        TimeFormatParser_TimeFromString parser(text);
        if (!parser.Parse(mask, strlen(mask))) return false;
        result = parser.Assemble(unit);
        return true;
    } catch (...) { // std::bad_alloc of a zone name: a failed read, result untouched
        return false;
    }
}

} // namespace

void TimestampToString(long value, const char* mask, const char* zone, std::string& out) {
    toString<TimeFormatParser_TimeToString>(value, mask, zone, out, [](long v, uint64_t& scaled, int& fraction) {
        const long seconds = v / 1000; // towards zero: before 1970 the fraction is negative
        fraction = static_cast<int>((v - seconds * 1000) * 1000);
        scaled = static_cast<uint64_t>(seconds) * 1000000u;
    });
}

void DateToString(long value, const char* mask, const char* zone, std::string& out) {
    toString<DateFormatParser_DateToString>(value, mask, zone, out, [](long v, uint64_t& scaled, int& fraction) {
        fraction = 0;
        scaled = static_cast<uint64_t>(v) * 1000000u;
    });
}

void BigDateTimeToString(long value, const char* mask, const char* zone, std::string& out) {
    toString<BigDateTimeFormatParser_TimeToString>(value, mask, zone, out, [](long v, uint64_t& scaled, int& fraction) {
        // Unsigned on purpose: a negative value is not supported by this print
        // path, and its product below wraps to a count that is no whole second.
        const uint64_t u = static_cast<uint64_t>(v);
        const uint64_t seconds = u / 1000000u;
        fraction = static_cast<int>(u - seconds * 1000000u);
        scaled = seconds * 1000000u;
    });
}

bool TimestampFromString(const char* text, const char* mask, long& result) {
    return fromString(text, mask, TimeFormatParser_TimeFromString::Milliseconds, result);
}

bool BigDateTimeFromString(const char* text, const char* mask, long& result) {
    return fromString(text, mask, TimeFormatParser_TimeFromString::Microseconds, result);
}

bool TimeFromString(const char* text, const char* mask, long& result) {
    return fromString(text, mask, TimeFormatParser_TimeFromString::Seconds, result);
}

bool DateFromString(const char* text, const char* mask, long& result) {
    return TimeFromString(text, mask, result);
}

} // namespace DataTypes
