#include "datatypes/StringConversion.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "datatypes/BinaryHex.h"
#include "datatypes/DataTypes.h"
#include "datatypes/PackedValue.h"
#include "datatypes/internal/DecimalText.h"
#include "datatypes/internal/TextParsers.h"
#include "datatypes/internal/TimeText.h"
#include "host/DataService.h"

namespace DataTypes {

namespace {

using internal::TextFormats;

constexpr unsigned long kConversionFailed = 0xFFFFFFFFul;
constexpr unsigned int kGap = 9;
// Room of unpackToNewString's text, as the callers have always had it.
constexpr std::size_t kNewStringRoom = 1024;

bool isMoneyType(unsigned int type) { return type == MONEY || (type >= MONEY_1 && type <= MONEY_15); }

// Types that print through convertToString; the rest leave `out` alone.
bool isPrintable(unsigned int type) {
    return type < kTypeCount && type != STRING && type != UNKNOWN && type != kGap && type != BINARY;
}

void reverseBytes(unsigned char* p, std::size_t n) {
    for (std::size_t i = 0, j = n; i + 1 < j; ++i, --j) {
        const unsigned char t = p[i];
        p[i] = p[j - 1];
        p[j - 1] = t;
    }
}

// A decimal swaps its high word, its low word and its scale/precision field,
// each in place: the words keep their order.
void swapDecimal(unsigned char* p) {
    reverseBytes(p, 8);
    reverseBytes(p + 8, 8);
    reverseBytes(p + 16, 2);
}

// A 64-bit number from the first `width` packed bytes: width 4 is a signed
// 32-bit number, any other width is copied into the low bytes as it stands.
int64_t readSized(const unsigned char* packed, unsigned long width, bool swap) {
    if (width > 8) width = 8;
    unsigned char bytes[8] = {};
    std::memcpy(bytes, packed, width);
    if (swap) reverseBytes(bytes, width);
    if (width == 4) {
        int32_t narrow;
        std::memcpy(&narrow, bytes, 4);
        return narrow;
    }
    int64_t wide;
    std::memcpy(&wide, bytes, 8);
    return wide;
}

template <typename T>
T readScalar(const unsigned char* packed, bool swap) {
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, packed, sizeof(T));
    if (swap) reverseBytes(bytes, sizeof(T));
    T v;
    std::memcpy(&v, bytes, sizeof(T));
    return v;
}

// The year as a wide number: gmtime_r allows tm_year up to INT_MAX.
long long yearOf(const tm& f) { return static_cast<long long>(f.tm_year) + 1900; }

void printDate(int64_t seconds, bool zoneSuffix, char* out, unsigned long size) {
    tm f;
    if (!internal::utcFields(seconds, f)) {
        out[0] = '\0';
        return;
    }
    intl_snprintf(out, size, zoneSuffix ? "%04lld-%02d-%02d %02d:%02d:%02d+00" : "%04lld-%02d-%02d %02d:%02d:%02d",
                  yearOf(f), f.tm_mon + 1, f.tm_mday, f.tm_hour, f.tm_min, f.tm_sec);
}

void printTime(int64_t seconds, bool zoneSuffix, char* out, unsigned long size) {
    tm f;
    if (!internal::utcFields(seconds, f)) {
        out[0] = '\0';
        return;
    }
    intl_snprintf(out, size, zoneSuffix ? "%02d:%02d:%02d+00" : "%02d:%02d:%02d", f.tm_hour, f.tm_min, f.tm_sec);
}

// TIMESTAMP (unit 1000, 3 digits) and BIGDATETIME (unit 1000000, 6 digits).
void printFractionalTime(int64_t value, int64_t unit, int digits, bool zoneSuffix, char* out, unsigned long size) {
    int64_t whole, fraction;
    internal::splitUnits(value, unit, whole, fraction);
    tm f;
    if (!internal::utcFields(whole, f)) {
        out[0] = '\0';
        return;
    }
    intl_snprintf(out, size,
                  zoneSuffix ? "%04lld-%02d-%02d %02d:%02d:%02d.%0*d+00" : "%04lld-%02d-%02d %02d:%02d:%02d.%0*d",
                  yearOf(f), f.tm_mon + 1, f.tm_mday, f.tm_hour, f.tm_min, f.tm_sec, digits,
                  static_cast<int>(fraction));
}

void printFloat(double v, char* out, unsigned long size) {
    const double a = std::fabs(v);
    if (a < g_tolerance) v = 0.0;  // also turns -0.0 into 0.0
    if (a > 1e80) intl_snprintf(out, size, "%0.25g", v);
    else intl_snprintf(out, size, "%0.*f", static_cast<int>(g_decimalSize), v);
}

void printMoney(int64_t v, unsigned int word, char* out, unsigned long size) {
    const long long factor = getMoneyFactor(word);
    const int places = static_cast<int>(getMoneyPrecision(word));
    if (v >= 0) {
        intl_snprintf(out, size, "%lld.%0*lld", static_cast<long long>(v) / factor, places,
                      static_cast<long long>(v) % factor);
        return;
    }
    // The sign is written by hand and the magnitude behind it, so the
    // digits have one byte less of room. Negated unsigned, the smallest
    // value at factor 1 has a magnitude too.
    if (size < 2) {
        out[0] = '\0';
        return;
    }
    out[0] = '-';
    const unsigned long long quotient = 0ull - static_cast<unsigned long long>(v / factor);
    const unsigned long long remainder = 0ull - static_cast<unsigned long long>(v % factor);
    intl_snprintf(out + 1, size - 1, "%llu.%0*llu", quotient, places, remainder);
}

void printDecimal(const unsigned char* packed, unsigned int word, bool swap, char* out, unsigned long size) {
    unsigned char bytes[sizeof(FixedDecimalValue)];
    std::memcpy(bytes, packed, sizeof bytes);
    if (swap) swapDecimal(bytes);
    FixedDecimalValue d;
    std::memcpy(&d, bytes, sizeof d);
    // A word with a precision carries the scale; plain 30 defers to the value.
    const unsigned scale = (word & kPrecisionMask) != 0 ? scaleOf(word) : d.scale;
    char text[internal::kDecimalTextSize];
    internal::formatDecimal(static_cast<uint64_t>(d.high), d.low, scale, text);
    intl_snprintf(out, size, "%s", text);
}

// One scalar parsed into `bytes`; its packed size, or 0 with `error` set.
std::size_t parseScalar(unsigned int word, const char* text, const TextFormats& formats, unsigned char* bytes,
                        const char*& error) {
    const unsigned int type = typeOf(word);
    int64_t wide = 0;
    bool ok = false;
    switch (type) {
    case INT16: {
        int16_t v = 0;
        if (!internal::parseInt16(text, v, error)) return 0;
        std::memcpy(bytes, &v, 2);
        return 2;
    }
    case INTEGER: {
        int32_t v = 0;
        if (!internal::parseInt32(text, v, error)) return 0;
        std::memcpy(bytes, &v, 4);
        return 4;
    }
    case FLOAT: {
        double v = 0;
        if (!internal::parseDouble(text, v, error)) return 0;
        std::memcpy(bytes, &v, 8);
        return 8;
    }
    case BOOLEAN: {
        bool v = false;
        if (!internal::parseBoolean(text, v, error)) return 0;
        bytes[0] = v ? 1 : 0;
        return 1;
    }
    case FIXEDDECIMAL: {
        FixedDecimalValue d{};  // the six spare bytes stay zero, so equal values hash alike
        if (!d.setDecimalValue(static_cast<int>(precisionOf(word)), static_cast<int>(scaleOf(word)), text)) {
            error = "input exceeds specified precision";
            return 0;
        }
        std::memcpy(bytes, &d, sizeof d);
        return sizeof d;
    }
    case LONG:
        ok = internal::parseInt64(text, wide, error);
        break;
    case INTERVAL:
        ok = internal::parseInterval(text, wide, error);
        break;
    case DATE:
        ok = internal::parseDateSeconds(text, formats.date, false, wide, error);
        break;
    case TIME:
        ok = internal::parseDateSeconds(text, formats.time, true, wide, error);
        break;
    case TIMESTAMP:
        ok = internal::parseTimestamp(text, formats.timestamp, wide, error);
        break;
    case BIGDATETIME:
        ok = internal::parseBigdatetime(text, formats.bigdatetime, wide, error);
        break;
    default:
        if (!isMoneyType(type)) {
            error = "conversion to unknown type";
            return 0;
        }
        ok = internal::parseMoney(text, word, wide, error);
        break;
    }
    if (!ok) return 0;
    std::memcpy(bytes, &wide, 8);
    return 8;
}

unsigned long packBinary(const char* text, unsigned char* out, unsigned long size, const char*& error) {
    const unsigned long n = getBinaryDataSizeFromHexString(text);
    if (out == nullptr || size < 4 || n > size - 4) {
        error = "output buffer overflow";
        return kConversionFailed;
    }
    putLengthOfPackedBinary(out, static_cast<unsigned int>(n));
    const char* hexError = nullptr;
    const long decoded = convertBinaryFromHexString(text, out + 4, static_cast<unsigned int>(n), hexError);
    // Blanks count in n but not in the decoded bytes: a mismatch is a failure.
    if (decoded < 0 || static_cast<unsigned long>(decoded) != n) {
        error = "DataType::convertFromStringAndPack() could not convert binary data from hex.";
        return kConversionFailed;
    }
    return 4 + n;
}

bool convertStringValue(const char* text, DataValue& value, const char*& error) {
    const std::size_t n = std::strlen(text) + 1;
    // The copy is made before the old text goes, so a failed allocation
    // leaves the value as it was instead of pointing at freed memory.
    char* copy = static_cast<char*>(std::malloc(n));
    if (copy == nullptr) {
        error = "DataType::convertFromString() could not allocate memory for string copy.";
        return false;
    }
    std::memcpy(copy, text, n);
    if (!value.isNull) std::free(value.stringValue);
    value.stringValue = copy;
    value.isNull = false;
    return true;
}

bool convertBinaryValue(const char* text, DataValue& value, const char*& error) {
    if (!value.isNull && value.binaryValue.data != nullptr && value.binaryValue.length != 0) {
        std::free(value.binaryValue.data);
    }
    value.binaryValue.data = nullptr;
    value.binaryValue.length = 0;
    value.isNull = true;

    const unsigned long n = getBinaryDataSizeFromHexString(text);
    // An empty value keeps a null pointer: a block of length 0 would never be
    // freed by the next conversion, which frees only blocks with a length.
    unsigned char spare = 0;
    unsigned char* block = &spare;
    if (n != 0) {
        block = static_cast<unsigned char*>(std::malloc(n));
        if (block == nullptr) {
            error = "DataType::convertFromString() could not allocate memory for binary value.";
            return false;
        }
    }
    const char* hexError = nullptr;
    const long decoded = convertBinaryFromHexString(text, block, static_cast<unsigned int>(n), hexError);
    if (decoded < 0 || static_cast<unsigned long>(decoded) != n) {
        if (n != 0) std::free(block);
        error = "DataType::convertFromString() could not convert binary data from hex.";
        return false;
    }
    value.binaryValue.data = n != 0 ? block : nullptr;
    value.binaryValue.length = static_cast<uint32_t>(n);
    value.isNull = false;
    return true;
}

// Seconds as text by a strftime format, or "%ld" for the "%s" form; false
// when not even the epoch has calendar fields.
bool formatSeconds(int64_t seconds, const char* format, char* text) {
    if (internal::isEpochFormat(format)) {
        intl_snprintf(text, kNewStringRoom, "%ld", static_cast<long>(seconds));
        return true;
    }
    tm f;
    text[0] = '\0';
    if (!internal::utcFields(seconds, f)) return false;
    // strftime returns 0 and leaves the buffer undefined when it does not fit.
    if (std::strftime(text, kNewStringRoom, format, &f) == 0) text[0] = '\0';
    return true;
}

char* newFractionalTimeString(const unsigned char* packed, const char* format, int64_t unit, int digits) {
    int64_t value;
    std::memcpy(&value, packed, 8);
    int64_t whole, fraction;
    internal::splitUnits(value, unit, whole, fraction);
    char text[kNewStringRoom];
    formatSeconds(whole, format, text);
    const std::size_t length = std::strlen(text);
    if (length == 0 || length + 1 + static_cast<std::size_t>(digits) >= kNewStringRoom) return strdup("");
    intl_snprintf(text + length, kNewStringRoom - length, ".%0*d", digits, static_cast<int>(fraction));
    return strdup(text);
}

} // namespace

void convertToString(const unsigned int& word, bool swap, bool zoneSuffix, unsigned char* packed, char* out,
                     unsigned long size) {
    const unsigned int type = typeOf(word);
    if (!isPrintable(type) || packed == nullptr || out == nullptr || size == 0) return;
    switch (type) {
    case INT16:
        intl_snprintf(out, size, "%d", readScalar<int16_t>(packed, swap));
        break;
    case INTEGER:
        intl_snprintf(out, size, "%d", readScalar<int32_t>(packed, swap));
        break;
    case LONG:
    case INTERVAL:
        intl_snprintf(out, size, "%lld", static_cast<long long>(readScalar<int64_t>(packed, swap)));
        break;
    case FLOAT:
        printFloat(readScalar<double>(packed, swap), out, size);
        break;
    case DATE:
        printDate(readSized(packed, g_dateSize, swap), zoneSuffix, out, size);
        break;
    case TIME:
        printTime(readSized(packed, g_timeSize, swap), zoneSuffix, out, size);
        break;
    case TIMESTAMP:
        printFractionalTime(readScalar<int64_t>(packed, swap), 1000, 3, zoneSuffix, out, size);
        break;
    case BIGDATETIME:
        printFractionalTime(readScalar<int64_t>(packed, swap), 1000000, 6, zoneSuffix, out, size);
        break;
    case BOOLEAN:
        intl_snprintf(out, size, "%s", packed[0] != 0 ? "true" : "false");
        break;
    case FIXEDDECIMAL:
        printDecimal(packed, word, swap, out, size);
        break;
    default:  // the money types
        printMoney(readScalar<int64_t>(packed, swap), word, out, size);
        break;
    }
}

void convertToString(const unsigned int& word, bool swap, bool zoneSuffix, DataValue& value, char* out,
                     unsigned long size) {
    if (value.isNull || !isPrintable(typeOf(word))) return;
    // Every member starts at the front of the union, so the value is its own packed form.
    convertToString(word, swap, zoneSuffix, reinterpret_cast<unsigned char*>(&value), out, size);
}

void convertDoubleToString(const unsigned int& /*word*/, bool swap, DataValue& value, char* out,
                           unsigned long size) {
    if (out == nullptr || size == 0) return;
    if (value.isNull) {
        out[0] = '\0';
        return;
    }
    const double v = readScalar<double>(reinterpret_cast<const unsigned char*>(&value.doubleValue), swap);
    const double a = std::fabs(v);
    char text[50];
    if (a > 1e-15 && a < 1) {
        intl_snprintf(text, sizeof text, "%0.*f", 15, v);
    } else if (a >= 1 && a < 1e16) {
        intl_snprintf(text, sizeof text, "%0.*f", 14 - static_cast<int>(std::floor(std::log10(a))), v);
    } else {
        // Tiny, huge, infinite and NaN; NaN prints the same in every form.
        intl_snprintf(text, sizeof text, "%0.*e", 15, v);
    }
    intl_strlcpy(out, text, size);
}

unsigned long convertFromStringAndPack(const unsigned int& word, bool swap, const char* text, unsigned char* out,
                                       unsigned long size, const char*& error, const char* dateFormat,
                                       const char* timestampFormat, const char* bigdatetimeFormat,
                                       const char* timeFormat) {
    if (text == nullptr) text = "";
    const unsigned int type = typeOf(word);
    if (type == STRING) {
        const std::size_t n = std::strlen(text) + 1;
        if (out == nullptr || n > size) {
            error = "output buffer overflow";
            return kConversionFailed;
        }
        std::memcpy(out, text, n);
        return n;
    }
    if (type == BINARY) return packBinary(text, out, size, error);

    // Only the dates and times read the formats; numbers and decimals, the
    // bulk of a read's cells, skip resolving them.
    const bool timeType = type == DATE || type == TIME || type == TIMESTAMP || type == BIGDATETIME;
    const TextFormats formats = timeType ? internal::resolveFormats(dateFormat, timestampFormat, bigdatetimeFormat,
                                                                    timeFormat)
                                         : TextFormats{nullptr, nullptr, nullptr, nullptr};
    alignas(8) unsigned char bytes[sizeof(FixedDecimalValue)];
    const std::size_t n = parseScalar(word, text, formats, bytes, error);
    if (n == 0) return kConversionFailed;
    if (swap) {
        if (type == FIXEDDECIMAL) swapDecimal(bytes);
        else reverseBytes(bytes, n);
    }
    if (out == nullptr || n > size) {
        error = "output buffer overflow";
        return kConversionFailed;
    }
    std::memcpy(out, bytes, n);
    return n;
}

bool convertFromString(const unsigned int& word, const char* text, DataValue& value, const char*& error,
                       const char* dateFormat, const char* timestampFormat, const char* bigdatetimeFormat,
                       const char* timeFormat) {
    if (text == nullptr) text = "";
    const unsigned int type = typeOf(word);
    if (type == STRING) return convertStringValue(text, value, error);
    if (type == BINARY) return convertBinaryValue(text, value, error);

    value.isNull = false;
    if (type == FIXEDDECIMAL) {
        // The drivers read every decimal this way, so it goes straight to the
        // reader; the value changes only on success, as through the packed form.
        FixedDecimalValue d{};
        if (!d.setDecimalValue(static_cast<int>(precisionOf(word)), static_cast<int>(scaleOf(word)), text)) {
            error = "input exceeds specified precision";
            return false;
        }
        std::memcpy(&value.decimalValue, &d, sizeof d);
        return true;
    }
    alignas(8) unsigned char bytes[sizeof(FixedDecimalValue)];
    const unsigned long n = convertFromStringAndPack(word, false, text, bytes, sizeof bytes, error, dateFormat,
                                                     timestampFormat, bigdatetimeFormat, timeFormat);
    if (static_cast<int32_t>(n) < 0) return false;
    // The packed form of a scalar is the front of the union.
    std::memcpy(reinterpret_cast<unsigned char*>(&value), bytes, n);
    return true;
}

char* unpackToNewString(unsigned char* packed, const unsigned int& word, const char* dateFormat,
                        const char* timestampFormat, const char* bigdatetimeFormat, const char* timeFormat) {
    if (packed == nullptr) return strdup("");
    // The caller is meant to pass the formats its type needs; a missing one
    // takes the default of the conversions in rather than faulting.
    const TextFormats formats = internal::resolveFormats(dateFormat, timestampFormat, bigdatetimeFormat, timeFormat);
    char text[kNewStringRoom];
    switch (word) {  // the whole word: these types carry no extra bits
    case DATE:
    case TIME: {
        int64_t seconds;
        std::memcpy(&seconds, packed, 8);
        formatSeconds(seconds, word == DATE ? formats.date : formats.time, text);
        return strdup(text);
    }
    case STRING:
        return strdup(reinterpret_cast<const char*>(packed));
    case TIMESTAMP:
        return newFractionalTimeString(packed, formats.timestamp, 1000, 3);
    case BIGDATETIME:
        return newFractionalTimeString(packed, formats.bigdatetime, 1000000, 6);
    case BINARY: {
        const unsigned int n = getLengthFromPackedBinary(packed);
        const unsigned long room = getHexStringSizeForBuffer(n, 0, 0);
        char* hex = static_cast<char*>(std::malloc(room));
        if (hex == nullptr) return nullptr;
        const char* hexError = nullptr;
        convertBinaryToHexString(room, packed + 4, n, hex, hexError);
        return hex;
    }
    default:
        text[0] = '\0';
        convertToString(word, false, false, packed, text, sizeof text);
        return strdup(text);
    }
}

} // namespace DataTypes
