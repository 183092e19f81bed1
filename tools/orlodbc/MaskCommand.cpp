#include "tools/orlodbc/MaskCommand.h"

#include <CLI/CLI.hpp>
#include <cctype>
#include <cstdlib>
#include <ostream>

#include "datatypes/DataTypes.h"
#include "format/DateTimeConversions.h"
#include "format/NumericFormatParser.h"
#include "format/TimeUnit.h"

using namespace DataTypes;

namespace orlodbc {

namespace {

struct TimeKind {
    const char* name;
    unsigned int word;  // how a value given as text is read, and how a result is shown
    void (*print)(long, const char*, const char*, std::string&);
    bool (*parse)(const char*, const char*, long&);
};

const TimeKind kTimeKinds[] = {
    {"date", DATE, DateToString, DateFromString},
    {"timestamp", TIMESTAMP, TimestampToString, TimestampFromString},
    {"bigdatetime", BIGDATETIME, BigDateTimeToString, BigDateTimeFromString},
    {"time", TIME, nullptr, TimeFromString},
};

bool isCount(const std::string& text) {
    size_t i = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    if (i == text.size()) return false;
    for (; i < text.size(); ++i)
        if (!std::isdigit(static_cast<unsigned char>(text[i]))) return false;
    return true;
}

// A value given as text goes through the type core's default reading
// ("2026-11-21 08:00:00.125"); a count is taken as it stands.
bool timeValue(const TimeKind& kind, const std::string& text, long& value, std::ostream& err) {
    if (isCount(text)) {
        value = std::strtol(text.c_str(), nullptr, 10);
        return true;
    }
    // The forms people type: with a blank or a "T" between date and time, or a date alone.
    static const char* const kForms[] = {"%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%d"};
    DataValue v;
    const char* problem = nullptr;
    bool read = false;
    for (const char* form : kForms) {
        if (convertFromString(kind.word, text.c_str(), v, problem, form, form, form, nullptr)) {
            read = true;
            break;
        }
    }
    if (!read) {
        err << "orlodbc: mask: '" << text << "' is neither a count nor a " << kind.name << " the type core reads"
            << (problem ? std::string(" (") + problem + ")" : std::string()) << std::endl;
        return false;
    }
    value = static_cast<long>(v.int64Value);
    return true;
}

std::string defaultText(unsigned int word, long value) {
    DataValue v;
    v.isNull = false;
    v.int64Value = value;
    char text[64] = "";
    convertToString(word, false, false, v, text, sizeof text);
    return text;
}

int timeMask(const TimeKind& kind, const MaskOptions& o, std::ostream& out, std::ostream& err) {
    if (o.parse) {
        long value = 0;
        if (!kind.parse(o.value.c_str(), o.mask.c_str(), value)) {
            err << "orlodbc: mask: the text doesn't match the mask (the library answers false)" << std::endl;
            return 1;
        }
        out << value << "\t" << defaultText(kind.word, value) << " UTC" << std::endl;
        return 0;
    }
    if (kind.print == nullptr) {
        err << "orlodbc: mask: a time is only read through a mask (--parse); print it as a date" << std::endl;
        return 2;
    }
    long value = 0;
    if (!timeValue(kind, o.value, value, err)) return 2;
    std::string text;
    kind.print(value, o.mask.c_str(), o.zone.c_str(), text);
    if (text.empty()) {
        err << "orlodbc: mask: the library gives an empty text: the mask can't be printed or the zone '" << o.zone
            << "' is unknown" << std::endl;
        return 1;
    }
    out << text << std::endl;
    if (value < 0 && kind.word != DATE)
        err << "orlodbc: mask: note: before 1970 the library prints a timestamp's fraction negative and a "
               "bigdatetime skewed"
            << std::endl;
    return 0;
}

int numberMask(const MaskOptions& o, std::ostream& out, std::ostream& err) {
    char* end = nullptr;
    const double value = std::strtod(o.value.c_str(), &end);
    if (end == o.value.c_str() || *end != '\0') {
        err << "orlodbc: mask: '" << o.value << "' is not a number" << std::endl;
        return 2;
    }
    std::string text;
    NumberToString(value, o.mask.c_str(), text);
    out << text << std::endl;
    if (!text.empty() && text.find_first_not_of('#') == std::string::npos) {
        err << "orlodbc: mask: a row of '#' is the library's answer when the number doesn't fit the mask or the "
               "mask can't be applied"
            << std::endl;
        return 1;
    }
    return 0;
}

int unitValue(const MaskOptions& o, std::ostream& out, std::ostream& err) {
    const TimeUnit unit = getTimeUnit(o.mask.c_str());
    if (unit == TIME_UNIT_UNKNOWN || unit == TIME_UNIT_NONE) {
        err << "orlodbc: mask: '" << o.mask
            << "' is no time unit (MICROSECOND, MILLISECOND, SECOND, MINUTE, HOUR, DAY; exact upper case)" << std::endl;
        return 2;
    }
    if (!isCount(o.value)) {
        err << "orlodbc: mask: '" << o.value << "' is not a count" << std::endl;
        return 2;
    }
    const long count = std::strtol(o.value.c_str(), nullptr, 10);
    long micro = 0;
    const bool fits = getMicroSeconds(unit, count, micro);
    const int seconds = getSeconds(unit, static_cast<int>(count));
    out << count << " " << getTimeUnitStr(unit) << ": ";
    out << (seconds < 0 ? std::string("no whole seconds") : std::to_string(seconds) + " seconds") << ", ";
    out << (fits ? std::to_string(micro) + " microseconds" : std::string("beyond 64-bit microseconds"));
    out << " (range " << getTimeUnitMinStr(unit) << " to " << getTimeUnitMaxStr(unit) << ")" << std::endl;
    return fits ? 0 : 1;
}

} // namespace

void addMaskOptions(CLI::App& app, MaskOptions& o) {
    app.add_option("kind", o.kind, "date, timestamp, bigdatetime, time, number or unit")
        ->required()
        ->check(CLI::IsMember({"date", "timestamp", "bigdatetime", "time", "number", "unit"}));
    app.add_option("value", o.value,
                   "a count from 1970-01-01 UTC (seconds, milliseconds, microseconds) or a text such as "
                   "'2026-11-21 08:00:00'; a number; a count of the unit; with --parse the text to read")
        ->required();
    app.add_option("-m,--mask", o.mask, "the date or number mask; for unit the unit word (e.g. HOUR)")->required();
    app.add_option("-z,--zone", o.zone, "time zone the value is printed on (default UTC)");
    app.add_flag("--parse", o.parse, "read the value through the mask instead of printing it");
}

int runMask(const MaskOptions& o, std::ostream& out, std::ostream& err) {
    if (o.kind == "number") return numberMask(o, out, err);
    if (o.kind == "unit") return unitValue(o, out, err);
    for (const TimeKind& kind : kTimeKinds)
        if (o.kind == kind.name) return timeMask(kind, o, out, err);
    return 2;
}

} // namespace orlodbc
