#include "datatypes/Comparison.h"

#include <cstring>

#include "datatypes/DataTypes.h"
#include "datatypes/PackedValue.h"

namespace DataTypes {

namespace {

bool isMoney(unsigned int type) { return type == MONEY || (type >= MONEY_1 && type <= MONEY_15); }

bool isWide(unsigned int type) {
    return type == LONG || type == DATE || type == TIMESTAMP || type == INTERVAL || type == BIGDATETIME ||
           type == TIME || isMoney(type);
}

// The bytes of a binary value; a value without data counts as empty, with
// any length it may claim.
uint32_t binaryLength(const BinaryValue& b) { return b.data != nullptr ? b.length : 0; }

template <typename T>
T load(const unsigned char* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <typename T>
int threeWay(T a, T b) {
    return a < b ? -1 : (b < a ? 1 : 0);
}

} // namespace

bool equalValues(DataValue& a, DataValue& b, const unsigned int& type) {
    const unsigned int t = typeOf(type);
    if (t >= kTypeCount || a.isNull || b.isNull) return false;
    switch (t) {
    case INT16:
        return a.int16Value == b.int16Value;
    case INTEGER:
        return a.int32Value == b.int32Value;
    case FLOAT:
        return a.doubleValue == b.doubleValue;  // no tolerance: that is for printing
    case BOOLEAN:
        return load<uint8_t>(reinterpret_cast<const unsigned char*>(&a.boolValue)) ==
               load<uint8_t>(reinterpret_cast<const unsigned char*>(&b.boolValue));
    case STRING: {
        const char* x = a.stringValue ? a.stringValue : "";
        const char* y = b.stringValue ? b.stringValue : "";
        const std::size_t n = std::strlen(x);
        return n == std::strlen(y) && std::memcmp(x, y, n) == 0;
    }
    case BINARY: {
        const uint32_t n = binaryLength(a.binaryValue);
        return n == binaryLength(b.binaryValue) && (n == 0 || std::memcmp(a.binaryValue.data, b.binaryValue.data, n) == 0);
    }
    case FIXEDDECIMAL:
        // Scale and precision count: 1.0 and 1.00 are different values here.
        return a.decimalValue.high == b.decimalValue.high && a.decimalValue.low == b.decimalValue.low &&
               a.decimalValue.precisionScale() == b.decimalValue.precisionScale();
    default:
        if (isWide(t)) return a.int64Value == b.int64Value;
        return false;  // UNKNOWN and the gap
    }
}

int lessThan(unsigned char* a, unsigned char* b, const unsigned int& type) {
    const unsigned int t = typeOf(type);
    if (a == nullptr || b == nullptr || t >= kTypeCount) return 0;
    switch (t) {
    case INT16:
        return threeWay(load<int16_t>(a), load<int16_t>(b));
    case INTEGER:
        return threeWay(load<int32_t>(a), load<int32_t>(b));
    case FLOAT: {
        const double x = load<double>(a), y = load<double>(b);
        if (y > x) return -1;
        return x > y ? 1 : 0;  // NaN against anything is 0
    }
    case BOOLEAN:
        return threeWay(a[0], b[0]);
    case STRING:
        return strcoll(reinterpret_cast<const char*>(a), reinterpret_cast<const char*>(b));
    case BINARY: {
        const BinaryValue x{a + 4, getLengthFromPackedBinary(a)};
        const BinaryValue y{b + 4, getLengthFromPackedBinary(b)};
        return x.compare(y);
    }
    case FIXEDDECIMAL: {
        // Raw integers only: the operands must share a scale.
        const int high = threeWay(load<int64_t>(a), load<int64_t>(b));
        return high != 0 ? high : threeWay(load<uint64_t>(a + 8), load<uint64_t>(b + 8));
    }
    default:
        if (isWide(t)) return threeWay(load<int64_t>(a), load<int64_t>(b));
        return 0;
    }
}

const void* getRawValueForHash(DataValue& value, const unsigned int& type, int& size) {
    const unsigned int t = typeOf(type);
    size = 0;
    if (value.isNull || t >= kTypeCount) return nullptr;
    switch (t) {
    case INT16:
        size = 2;
        return &value.int16Value;
    case INTEGER:
        size = 4;
        return &value.int32Value;
    case BOOLEAN:
        size = 1;
        return &value.boolValue;
    case FLOAT:
        // The stored bytes, so -0.0 hashes apart from 0.0 although == joins them.
        size = 8;
        return &value.doubleValue;
    case STRING:
        if (value.stringValue == nullptr) return nullptr;
        size = static_cast<int>(std::strlen(value.stringValue));
        return value.stringValue;
    case BINARY: {
        const uint32_t n = binaryLength(value.binaryValue);
        if (n == 0) return nullptr;
        size = static_cast<int>(n);
        return value.binaryValue.data;
    }
    case FIXEDDECIMAL:
        size = 24;
        return &value.decimalValue;
    default:
        if (!isWide(t)) return nullptr;  // UNKNOWN and the gap
        size = 8;
        return &value.int64Value;
    }
}

} // namespace DataTypes
