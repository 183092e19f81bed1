#include "driver/internal/DateCell.h"

#include <ctime>

#include "datatypes/StringConversion.h"
#include "format/Calendar.h"
#include "host/DataService.h"

namespace KORVEL { namespace Orl { namespace DB { namespace internal {

namespace {

const char* const kIsoFormat = "%Y-%m-%dT%H:%M:%S";

// How a date family prints its fields before the one text converter reads them.
struct DateTextForm {
    unsigned int size;
    const char* format;
    unsigned int fractionDivisor;  // nanoseconds to the printed fraction; 0: none
    int64_t unit;                  // of the value per second
};

DateTextForm dateTextForm(unsigned int type) {
    switch (type) {
    case 8:
        return {24, "%04d-%02d-%02dT%02d:%02d:%02d.%03d", 1000000, 1000};
    case 27:
        return {27, "%04d-%02d-%02dT%02d:%02d:%02d.%06d", 1000, 1000000};
    default:
        return {20, "%04d-%02d-%02dT%02d:%02d:%02d", 0, 1};
    }
}

// The value of the round trip where it is certain without the text. In these
// ranges every field prints in exactly its width and the whole text fits its
// buffer, and strptime takes each number back as printed (it holds the day
// only to 31 and the second to 61); the fields then reach tm2sec as they
// stand, and it settles the rest, the zone of years before 1970 included.
// Outside them the text decides: a negative year or a wide field is cut by
// the buffer or refused by the parse.
bool directValue(unsigned int type, const TIMESTAMP_STRUCT& f, int64_t& out) {
    if (type != 4 && type != 8 && type != 27) return false;
    if (f.year < 0 || f.year > 9999 || f.month < 1 || f.month > 12 || f.day < 1 || f.day > 31 || f.hour > 23 ||
        f.minute > 59 || f.second > 61)
        return false;
    const DateTextForm form = dateTextForm(type);
    // A fraction of a billion nanoseconds or more prints one digit too many.
    if (form.fractionDivisor != 0 && f.fraction >= 1000000000u) return false;
    tm t{};
    t.tm_year = f.year - 1900;
    t.tm_mon = f.month - 1;
    t.tm_mday = f.day;
    t.tm_hour = f.hour;
    t.tm_min = f.minute;
    t.tm_sec = f.second;
    const int64_t seconds = DataTypes::tm2sec(&t);
    out = seconds * form.unit + (form.fractionDivisor ? f.fraction / form.fractionDivisor : 0);
    return true;
}

} // namespace

void dateValueByText(unsigned int type, const TIMESTAMP_STRUCT& ts, DataTypes::DataValue& value) {
    const DateTextForm form = dateTextForm(type);
    char text[27];
    if (form.fractionDivisor == 0)
        intl_snprintf(text, form.size, form.format, ts.year, ts.month, ts.day, ts.hour, ts.minute, ts.second);
    else
        intl_snprintf(text, form.size, form.format, ts.year, ts.month, ts.day, ts.hour, ts.minute, ts.second,
                      static_cast<int>(ts.fraction / form.fractionDivisor));
    const char* end = nullptr;
    DataTypes::convertFromString(type, text, value, end, kIsoFormat, nullptr, nullptr, nullptr);
}

void dateValue(unsigned int type, const TIMESTAMP_STRUCT& ts, DataTypes::DataValue& value) {
    int64_t v = 0;
    if (!directValue(type, ts, v)) {
        dateValueByText(type, ts, value);
        return;
    }
    // What convertFromString does with a parsed date: the null flag cleared
    // and the 8 bytes at the front of the union.
    value.isNull = false;
    value.int64Value = v;
}

}}}} // namespace KORVEL::Orl::DB::internal
