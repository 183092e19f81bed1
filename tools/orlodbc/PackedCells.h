// Where a packed row of the driver keeps its cells, for the tool's passes
// over rows it read: a 48-byte header, then one 32-bit offset a column from
// the row's start (0 for NULL), then one more for the end of the last value.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace orlodbc {

constexpr size_t kPackedOffsets = 48;

// The offset of column `j`'s value in the row at `base`; 0 or less: NULL.
inline int32_t packedOffset(const void* base, size_t j) {
    int32_t offset;
    std::memcpy(&offset, static_cast<const unsigned char*>(base) + kPackedOffsets + 4 * j, sizeof offset);
    return offset;
}

} // namespace orlodbc
