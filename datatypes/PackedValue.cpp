#include "datatypes/PackedValue.h"

#include <cstring>

#include "datatypes/DataTypes.h"
#include "datatypes/StringConversion.h"

namespace DataTypes {

namespace {

// The common part of both unpackValue overloads; true when a FIXEDDECIMAL
// was copied, so the word overload can put its own scale and precision on it.
bool unpackByType(unsigned int type, unsigned char* packed, DataValue& value) {
    if (packed == nullptr) {
        value.isNull = true;
        return false;
    }
    value.isNull = false;
    switch (type) {
    case INT16:
        std::memcpy(&value.int16Value, packed, 2);
        break;
    case INTEGER:
        std::memcpy(&value.int32Value, packed, 4);
        break;
    case BOOLEAN:
        std::memcpy(&value.boolValue, packed, 1);
        break;
    case LONG:
    case FLOAT:
    case DATE:
    case MONEY:
    case TIMESTAMP:
    case MONEY_1: case MONEY_2: case MONEY_3: case MONEY_4: case MONEY_5:
    case MONEY_6: case MONEY_7: case MONEY_8: case MONEY_9: case MONEY_10:
    case MONEY_11: case MONEY_12: case MONEY_13: case MONEY_14: case MONEY_15:
    case INTERVAL:
    case BIGDATETIME:
    case TIME:
        std::memcpy(&value.int64Value, packed, 8);
        break;
    case FIXEDDECIMAL:
        std::memcpy(&value.decimalValue, packed, sizeof(FixedDecimalValue));
        return true;
    case STRING:
        value.stringValue = reinterpret_cast<char*>(packed);
        break;
    case BINARY:
        value.binaryValue.length = getLengthFromPackedBinary(packed);
        value.binaryValue.data = packed + 4;
        break;
    default:  // UNKNOWN, the gap 9 and anything past 30 have no packed form
        break;
    }
    return false;
}

} // namespace

void unpackValue(const unsigned int& word, unsigned char* packed, DataValue& value) {
    if (unpackByType(typeOf(word), packed, value) && (word & kPrecisionMask) != 0) {
        // Bytes 16 and 17 of the stored form, as the 16-bit field
        // scale | precision << 8 in host order; the precision keeps its low 8 bits.
        uint16_t field = static_cast<uint16_t>(scaleOf(word) | precisionOf(word) << 8);
        std::memcpy(reinterpret_cast<unsigned char*>(&value.decimalValue) + 16, &field, 2);
    }
}

void unpackValue(const TypeEnum& type, unsigned char* packed, DataValue& value) {
    unpackByType(typeOf(type), packed, value);
}

unsigned int getLengthFromPackedBinary(const unsigned char* packed) {
    if (packed == nullptr) return 0;
    return static_cast<unsigned int>(packed[0]) << 24 | static_cast<unsigned int>(packed[1]) << 16 |
           static_cast<unsigned int>(packed[2]) << 8 | static_cast<unsigned int>(packed[3]);
}

unsigned long getPackedSize(const unsigned int& word, const DataValue& value) {
    if (value.isNull) return 0;
    unsigned int type = typeOf(word);
    if (type == STRING) return value.stringValue ? std::strlen(value.stringValue) + 1 : 1;
    if (type == BINARY) return 4ul + (value.binaryValue.data ? value.binaryValue.length : 0);
    return type < kTypeCount ? g_column_lengths[type] : 0;
}

unsigned long packValue(const unsigned int& word, const DataValue& value, unsigned char* out,
                        unsigned long size) {
    unsigned long n = getPackedSize(word, value);
    if (n == 0 || out == nullptr || n > size) return 0;
    switch (typeOf(word)) {
    case STRING:
        // A null text packs as the empty string.
        if (value.stringValue) std::memcpy(out, value.stringValue, n);
        else out[0] = '\0';
        break;
    case BINARY:
        putLengthOfPackedBinary(out, static_cast<unsigned int>(n - 4));
        if (n > 4) std::memcpy(out + 4, value.binaryValue.data, n - 4);
        break;
    default:
        // Every fixed-size member starts at the front of the union, and the
        // decimal, at 24 bytes, spans all of them.
        std::memcpy(out, &value.decimalValue, n);
        break;
    }
    return n;
}

unsigned long packAndAppendValue(unsigned char* out, unsigned long size, const char* text, const unsigned int& word,
                                 const char* dateFormat, const char* timestampFormat, const char* bigdatetimeFormat,
                                 const char* timeFormat, const char*& error) {
    error = nullptr;
    if (typeOf(word) == STRING) {
        const unsigned long n = (text ? std::strlen(text) : 0) + 1;
        if (out == nullptr || n > size) {
            error = "output buffer overflow";
            return 0;
        }
        if (text) std::memcpy(out, text, n);
        else out[0] = '\0';
        return n;
    }
    const unsigned long n = convertFromStringAndPack(word, false, text, out, size, error, dateFormat, timestampFormat,
                                                     bigdatetimeFormat, timeFormat);
    // Callers have always read the result as a signed 32-bit number.
    return static_cast<int32_t>(n) < 0 ? 0 : n;
}

void putLengthOfPackedBinary(unsigned char* packed, unsigned int length) {
    packed[0] = static_cast<unsigned char>(length >> 24);
    packed[1] = static_cast<unsigned char>(length >> 16);
    packed[2] = static_cast<unsigned char>(length >> 8);
    packed[3] = static_cast<unsigned char>(length);
}

} // namespace DataTypes
