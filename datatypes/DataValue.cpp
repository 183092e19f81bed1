#include "datatypes/DataValue.h"

#include <cstring>

namespace DataTypes {

int BinaryValue::compare(const BinaryValue& other) const {
    bool emptyThis = data == nullptr || length == 0;
    bool emptyOther = other.data == nullptr || other.length == 0;
    if (emptyThis || emptyOther) {
        if (emptyThis && emptyOther) return 0;
        return emptyThis ? -1 : 1;
    }
    uint32_t n = length < other.length ? length : other.length;
    int c = std::memcmp(data, other.data, n);
    if (c != 0) return c;
    if (length == other.length) return 0;
    return length > other.length ? 1 : -1;
}

} // namespace DataTypes
