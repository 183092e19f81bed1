// Fuzz target: any text through the conversions in, for every type word.
//
// Input layout: byte 0 picks the type word, byte 1 the options (bit 0 swap,
// bits 1-2 the date formats, bits 3-5 the room at `out`), the rest is the text.
// Beyond the sanitizers it checks that what is printed reads back to the same
// packed bytes for the types whose printing is exact.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "datatypes/DataTypes.h"

using namespace DataTypes;

namespace {

const unsigned int kWords[] = {
    INT16, INTEGER, LONG, FLOAT, DATE, STRING, UNKNOWN, MONEY, TIMESTAMP, 9, BOOLEAN,
    MONEY_1, MONEY_2, MONEY_3, MONEY_4, MONEY_5, MONEY_6, MONEY_7, MONEY_8, MONEY_9, MONEY_10,
    MONEY_11, MONEY_12, MONEY_13, MONEY_14, MONEY_15, INTERVAL, BIGDATETIME, BINARY, TIME,
    FIXEDDECIMAL, 31, 255,
    createFixedDecimal(1, 0), createFixedDecimal(5, 2), createFixedDecimal(10, 10), createFixedDecimal(19, 4),
    createFixedDecimal(34, 0), createFixedDecimal(34, 17), createFixedDecimal(34, 34), createFixedDecimal(38, 2),
    createFixedDecimal(2, 5), createFixedDecimal(63, 63),
};
constexpr std::size_t kWordCount = sizeof kWords / sizeof kWords[0];

const char* const kFormats[4] = {nullptr, "%s", "%Y-%m-%d %H:%M:%S", "%d/%m/%y %I:%M %p"};
const unsigned long kRooms[8] = {0, 1, 2, 4, 7, 8, 24, 4096};

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "conversion_fuzz: %s\n", what);
    std::abort();
}

bool exactPrinting(unsigned int word) {
    const unsigned int t = typeOf(word);
    if (t == INT16 || t == INTEGER || t == LONG || t == INTERVAL || t == BOOLEAN) return true;
    if (t == MONEY || (t >= MONEY_1 && t <= MONEY_15)) return true;
    // Decimals with a valid name print every digit of their value.
    return t == FIXEDDECIMAL && precisionOf(word) != 0 && precisionOf(word) <= 34 && scaleOf(word) <= precisionOf(word);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // As the driver does: dates before 1970 go through mktime.
    setenv("TZ", "UTC", 1);
    tzset();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const unsigned int word = kWords[data[0] % kWordCount];
    const uint8_t options = data[1];
    const bool swap = options & 1;
    const char* format = kFormats[(options >> 1) & 3];
    const unsigned long room = kRooms[(options >> 3) & 7];
    const std::string text(reinterpret_cast<const char*>(data + 2), size - 2);  // stops at an inner NUL below

    // Exactly `room` bytes on the heap, so any overrun is reported.
    unsigned char* out = static_cast<unsigned char*>(std::malloc(room ? room : 1));
    const char* error = nullptr;
    const unsigned long n =
        convertFromStringAndPack(word, swap, text.c_str(), out, room, error, format, nullptr, nullptr, format);
    if (static_cast<int32_t>(n) < 0) {
        if (error == nullptr) fail("failure without a message");
    } else {
        if (n > room) fail("wrote more than its room");
        char printed[512];
        std::strcpy(printed, "-");
        convertToString(word, swap, true, out, printed, sizeof printed);
        if (std::memchr(printed, '\0', sizeof printed) == nullptr) fail("unterminated text");
        // `out` holds exactly one packed value, which is all unpackToNewString reads.
        std::free(unpackToNewString(out, word, format, format, format, format));
        if (!swap && exactPrinting(word)) {
            unsigned char again[24] = {};
            const char* error2 = nullptr;
            const unsigned long m = convertFromStringAndPack(word, false, printed, again, sizeof again, error2,
                                                             nullptr, nullptr, nullptr, nullptr);
            // Money prints "-0.50" for -50 and "1.0" at precision 0; both read back.
            if (m != n || std::memcmp(out, again, n) != 0) fail("printed text does not read back");
        }
    }
    std::free(out);

    DataValue value;
    if (convertFromString(word, text.c_str(), value, error, format, nullptr, nullptr, format)) {
        char printed[512] = "";
        convertToString(word, false, false, value, printed, sizeof printed);
        DataValue copy = value;
        int hashSize = 0;
        getRawValueForHash(value, word, hashSize);
        const unsigned int t = typeOf(word);
        if (t != FLOAT && !equalValues(value, copy, word)) fail("a value is not equal to its copy");
        if (t == STRING) std::free(value.stringValue);
        if (t == BINARY) std::free(value.binaryValue.data);
    }
    return 0;
}
