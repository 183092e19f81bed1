// Fuzz target: date, time and number masks that the host hands in unchecked.
//
// Input layout: byte 0 picks the operation and a zone; for printing the next
// 8 bytes are the value and the rest the mask; for reading the rest is split
// at the first NUL into text and mask; for number masks 8 bytes are a double;
// for time units 8 bytes are a count and the rest the unit word.
// Beyond the sanitizers it checks that a failed read leaves the result alone,
// that a number mask that does not fit gives '#' one longer than the mask, and
// that a text printed through a mask of readable fields reads back.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "format/DateTimeConversions.h"
#include "format/NumericFormatParser.h"
#include "format/TimeUnit.h"

namespace {

void check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "format_fuzz: %s\n", what);
    std::abort();
}

const char* const kZones[] = {nullptr, "UTC", "America/New_York", "Asia/Kolkata"};

// The first 8 bytes of `rest` as a T (zero if shorter); `rest` keeps the remainder.
template <class T>
T take(std::string& rest) {
    T v{};
    if (rest.size() < sizeof v) return v;
    std::memcpy(&v, rest.data(), sizeof v);
    rest.erase(0, sizeof v);
    return v;
}

void fuzzPrint(int kind, const char* zone, std::string rest) {
    const long value = take<long>(rest);
    std::string out;
    if (kind == 0) DataTypes::TimestampToString(value, rest.c_str(), zone, out);
    else if (kind == 1) DataTypes::DateToString(value, rest.c_str(), zone, out);
    else DataTypes::BigDateTimeToString(value, rest.c_str(), zone, out);
    // Dates from 1970 to 9999, through a mask whose fields all read back.
    if (kind == 1 && value >= 0 && value < 253402300800L && zone != nullptr && std::strcmp(zone, "UTC") == 0) {
        const char* const full = "YYYY-MM-DD HH24:MI:SS";
        std::string text;
        DataTypes::DateToString(value, full, zone, text);
        long back = 0;
        check(DataTypes::DateFromString(text.c_str(), full, back) && back == value,
              "a printed date does not read back");
    }
}

void fuzzRead(int kind, const std::string& rest) {
    const size_t cut = rest.find('\0');
    const std::string text = rest.substr(0, cut);
    const std::string mask = cut == std::string::npos ? std::string("YYYY-MM-DD HH24:MI:SS.FF") : rest.substr(cut + 1);
    const long untouched = 0x5eed;
    long r = untouched;
    bool ok = false;
    if (kind == 0) ok = DataTypes::TimestampFromString(text.c_str(), mask.c_str(), r);
    else if (kind == 1) ok = DataTypes::DateFromString(text.c_str(), mask.c_str(), r);
    else ok = DataTypes::BigDateTimeFromString(text.c_str(), mask.c_str(), r);
    check(ok || r == untouched, "a failed read changed its result");
}

void fuzzNumber(std::string rest) {
    const double value = take<double>(rest);
    std::string out;
    DataTypes::NumberToString(value, rest.c_str(), out);
    const size_t n = std::strlen(rest.c_str());
    check(out.empty() || out[0] != '#' || out == std::string(n + 1, '#'),
          "a broken mask is not '#' times its length + 1");
}

// Time units: a unit word of any text, and counts of any size through each
// conversion. A count that fits must come back exactly; one that doesn't must
// be refused, never wrapped.
void fuzzTimeUnit(std::string rest) {
    const long count = take<long>(rest);
    const DataTypes::TimeUnit unit = DataTypes::getTimeUnit(rest.c_str());
    const std::string name = DataTypes::getTimeUnitStr(unit);
    check(unit < DataTypes::MICROSECOND || DataTypes::getTimeUnit(name.c_str()) == unit, "a unit's name reads back");
    const long max = DataTypes::getTimeUnitMax(unit);
    long micros = 12345;
    const bool ok = DataTypes::getMicroSeconds(unit, count, micros);
    check(ok == (max > 0 && count <= max && count >= -max), "a count is taken exactly when it fits");
    check(ok || micros == 12345, "a refused count changed its result");
    DataTypes::getSeconds(unit, static_cast<int>(count));
    DataTypes::getTimeUnitMaxStr(unit);
    DataTypes::getTimeUnitMinStr(unit);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
    const int op = data[0] % 8;
    const char* zone = kZones[(data[0] >> 3) % 4];
    if (op < 3) fuzzPrint(op, zone, rest);
    else if (op < 6) fuzzRead(op - 3, rest);
    else if (op == 6) fuzzNumber(rest);
    else fuzzTimeUnit(rest);
    return 0;
}
