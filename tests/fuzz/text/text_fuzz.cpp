// Fuzz target: text the host hands in unchecked, through the parsers that
// are not conversions of a value.
//
// Input layout: byte 0 picks the parser; for strptime the rest is split at
// the first NUL into input and mask. Beyond the sanitizers it checks that
// decoded hex re-encodes to the same bytes and that strptime's result points
// into its input.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "datatypes/DataTypes.h"
#include "format/Calendar.h"

namespace {

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "text_fuzz: %s\n", what);
    std::abort();
}

void fuzzStrptime(const std::string& rest) {
    size_t cut = rest.find('\0');
    std::string input = rest.substr(0, cut);
    std::string mask = cut == std::string::npos ? std::string("%Y-%m-%d %H:%M:%S") : rest.substr(cut + 1);
    tm t;
    const char* end = DataTypes::strptime(input.c_str(), mask.c_str(), &t);
    if (end != nullptr && (end < input.c_str() || end > input.c_str() + input.size()))
        fail("strptime returned a position outside its input");
    if (end != nullptr) (void)DataTypes::tm2sec(&t);
}

void fuzzHex(const std::string& text) {
    const char* error = nullptr;
    std::vector<unsigned char> bytes(DataTypes::getBinaryDataSizeFromHexString(text.c_str()) + 1);
    long n = DataTypes::convertBinaryFromHexString(text.c_str(), bytes.data(), static_cast<unsigned int>(bytes.size()),
                                                  error);
    if (n < 0) {
        if (error == nullptr) fail("hex decode failed without a message");
        return;
    }
    std::string again;
    DataTypes::convertBinaryToHexString(bytes.data(), static_cast<unsigned int>(n), again);
    std::vector<unsigned char> back(static_cast<size_t>(n) + 1);
    error = nullptr;
    long m = DataTypes::convertBinaryFromHexString(again.c_str(), back.data(), static_cast<unsigned int>(back.size()),
                                                  error);
    if (m != n || std::memcmp(back.data(), bytes.data(), static_cast<size_t>(n)) != 0)
        fail("hex text does not read back to the same bytes");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
    switch (data[0] % 3) {
    case 0:
        fuzzStrptime(rest);
        break;
    case 1:
        (void)DataTypes::stringToType(rest.c_str());
        break;
    default:
        fuzzHex(rest.substr(0, rest.find('\0')));
        break;
    }
    return 0;
}
