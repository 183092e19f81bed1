// Packed rows for tests, built and read by hand from their documented layout
// (header of 48 bytes, offset table, values), independent of the library.
#pragma once
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "datatypes/DataTypes.h"

namespace KORVEL { namespace Orl { namespace DB {
struct RowInternal2;
}}} // namespace KORVEL::Orl::DB

namespace packedrows {

using KORVEL::Orl::DB::RowInternal2;

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
typedef std::unique_ptr<RowInternal2, FreeDeleter> RowPtr;

inline uint32_t word(const RowInternal2* row, size_t at) {
    uint32_t v;
    std::memcpy(&v, reinterpret_cast<const unsigned char*>(row) + at, 4);
    return v;
}
inline uint32_t rowSize(const RowInternal2* row) { return word(row, 0); }
inline uint32_t rowColumns(const RowInternal2* row) { return word(row, 12); }
inline int32_t offsetOf(const RowInternal2* row, size_t j) { return static_cast<int32_t>(word(row, 48 + 4 * j)); }
inline std::vector<int32_t> offsetsOf(const RowInternal2* row) {
    std::vector<int32_t> table;
    for (size_t j = 0; j <= word(row, 12); ++j) table.push_back(offsetOf(row, j));
    return table;
}
// Column j's packed bytes, or null for NULL.
inline unsigned char* columnOf(const RowInternal2* row, size_t j) {
    const int32_t o = offsetOf(row, j);
    return o == 0 ? nullptr : reinterpret_cast<unsigned char*>(const_cast<RowInternal2*>(row)) + o;
}

// A row of (type word, value) pairs; NULL values take no room.
inline RowPtr makeRow(const std::vector<std::pair<unsigned int, DataTypes::DataValue> >& values) {
    const size_t n = values.size();
    size_t size = 56 + 4 * n;
    for (const auto& v : values)
        if (!v.second.isNull) size += DataTypes::getPackedSize(v.first, v.second);
    unsigned char* block = static_cast<unsigned char*>(std::calloc(1, size));
    int32_t offset = static_cast<int32_t>(56 + 4 * n);
    for (size_t j = 0; j <= n; ++j) {
        int32_t entry = j == n ? offset : 0;
        if (j < n && !values[j].second.isNull) {
            entry = offset;
            offset += static_cast<int32_t>(
                DataTypes::packValue(values[j].first, values[j].second, block + offset, size - offset));
        }
        std::memcpy(block + 48 + 4 * j, &entry, 4);
    }
    const uint32_t header[4] = {static_cast<uint32_t>(size), 1, 0, static_cast<uint32_t>(n)};
    std::memcpy(block, header, sizeof header);
    return RowPtr(reinterpret_cast<RowInternal2*>(block));
}

inline DataTypes::DataValue int64Value(int64_t v) {
    DataTypes::DataValue d;
    d.int64Value = v;
    d.isNull = false;
    return d;
}

} // namespace packedrows
