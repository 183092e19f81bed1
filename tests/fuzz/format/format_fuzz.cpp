// Fuzz target: date, time and number masks that the host hands in unchecked.
//
// Input layout: byte 0 picks the operation and a zone; for printing the next
// 8 bytes are the value and the rest the mask; for reading the rest is split
// at the first NUL into text and mask; for number masks 8 bytes are a double.
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

namespace {

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "format_fuzz: %s\n", what);
    std::abort();
}

const char* const kZones[] = {nullptr, "UTC", "America/New_York", "Asia/Kolkata"};

template <class T>
T take(const std::string& rest, size_t& used) {
    T v{};
    if (rest.size() >= sizeof v) {
        std::memcpy(&v, rest.data(), sizeof v);
        used = sizeof v;
    }
    return v;
}

void fuzzPrint(int kind, const char* zone, const std::string& rest) {
    size_t used = 0;
    const long value = take<long>(rest, used);
    const std::string mask = rest.substr(used);
    std::string out;
    switch (kind) {
    case 0: DataTypes::TimestampToString(value, mask.c_str(), zone, out); break;
    case 1: DataTypes::DateToString(value, mask.c_str(), zone, out); break;
    default: DataTypes::BigDateTimeToString(value, mask.c_str(), zone, out); break;
    }
    // Dates from 1970 on, through a mask whose fields all read back.
    if (kind == 1 && value >= 0 && value < 253402300800L && zone != nullptr && std::strcmp(zone, "UTC") == 0) {
        const char* const full = "YYYY-MM-DD HH24:MI:SS";
        std::string text;
        DataTypes::DateToString(value, full, zone, text);
        long back = 0;
        if (!DataTypes::DateFromString(text.c_str(), full, back) || back != value)
            fail("a printed date does not read back");
    }
}

void fuzzRead(int kind, const std::string& rest) {
    const size_t cut = rest.find('\0');
    const std::string text = rest.substr(0, cut);
    const std::string mask = cut == std::string::npos ? std::string("YYYY-MM-DD HH24:MI:SS.FF") : rest.substr(cut + 1);
    const long untouched = 0x5eed;
    long r = untouched;
    bool ok = false;
    switch (kind) {
    case 0: ok = DataTypes::TimestampFromString(text.c_str(), mask.c_str(), r); break;
    case 1: ok = DataTypes::DateFromString(text.c_str(), mask.c_str(), r); break;
    default: ok = DataTypes::BigDateTimeFromString(text.c_str(), mask.c_str(), r); break;
    }
    if (!ok && r != untouched) fail("a failed read changed its result");
}

void fuzzNumber(const std::string& rest) {
    size_t used = 0;
    const double value = take<double>(rest, used);
    const std::string mask = rest.substr(used);
    std::string out;
    DataTypes::NumberToString(value, mask.c_str(), out);
    const size_t n = std::strlen(mask.c_str());
    if (!out.empty() && out[0] == '#' && out != std::string(n + 1, '#')) fail("a broken mask is not '#' times its length + 1");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
    const int op = data[0] % 7;
    const char* zone = kZones[(data[0] >> 3) % 4];
    if (op < 3) fuzzPrint(op, zone, rest);
    else if (op < 6) fuzzRead(op - 3, rest);
    else fuzzNumber(rest);
    return 0;
}
