#include "bulk/internal/Cells.h"

#include <cstdint>
#include <cstring>
#include <ctime>

#include "bulk/internal/Report.h"
#include "datatypes/DataTypes.h"
#include "format/Calendar.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

using namespace DataTypes;

namespace {

// Seconds of the date and time fields, read as UTC. The rest of the tm is
// cleared: years before 1970 go through mktime, which reads all of it.
long secondsOf(const SQL_TIMESTAMP_STRUCT& ts) {
    tm t;
    std::memset(&t, 0, sizeof t);
    t.tm_year = ts.year - 1900;
    t.tm_mon = ts.month - 1;
    t.tm_mday = ts.day;
    t.tm_hour = ts.hour;
    t.tm_min = ts.minute;
    t.tm_sec = ts.second;
    return tm2sec(&t);
}

} // namespace

bool storeTimeValue(unsigned int word, const SQL_TIMESTAMP_STRUCT& ts, void* target) {
    int64_t value;
    switch (typeOf(word)) {
    case DATE:
        // The time of day that the driver delivers stays in.
        value = secondsOf(ts);
        break;
    case TIMESTAMP:
        value = static_cast<int64_t>(secondsOf(ts)) * 1000 + ts.fraction / 1000000;
        break;
    case BIGDATETIME:
        value = static_cast<int64_t>(secondsOf(ts)) * 1000000 + ts.fraction / 1000;
        break;
    case TIME:
        value = ts.hour * 3600 + ts.minute * 60 + ts.second;
        break;
    default:
        return false;
    }
    std::memcpy(target, &value, sizeof value);
    return true;
}

int packDecimalText(unsigned int word, const char* text, void* target, long& length, DBError* error) {
    const unsigned long room = typeOf(word) == FIXEDDECIMAL ? 24 : 8;
    const char* message = nullptr;
    unsigned long n = convertFromStringAndPack(word, false, text, static_cast<unsigned char*>(target), room, message,
                                               nullptr, nullptr, nullptr, nullptr);
    if (static_cast<int32_t>(n) < 0) {
        reportLibrary(error, message ? message : "");
        return -1;
    }
    length = static_cast<long>(room);
    return 0;
}

}}}} // namespace KORVEL::Orl::DB::ODBC
