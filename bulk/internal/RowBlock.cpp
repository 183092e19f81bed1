#include "bulk/internal/RowBlock.h"

#include <new>

#include "bulk/internal/Cells.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

bool RowBlock::allocate(SQLULEN count) {
    try {
        size_t words = 0, packedBytes = 0;
        for (const BlockColumn& c : columns) {
            words += (static_cast<size_t>(c.stride) * count + 7) / 8;
            if (c.kind == CellKind::Binary) packedBytes += 4 + static_cast<size_t>(c.stride);
        }
        storage.assign(words, 0);
        lengthStorage.assign(columns.size() * count, 0);
        packedStorage.assign(packedBytes, 0);
        status.assign(count, SQL_ROW_SUCCESS);
        sources.assign(columns.size(), nullptr);
        size_t word = 0, packedAt = 0;
        for (size_t j = 0; j < columns.size(); ++j) {
            BlockColumn& c = columns[j];
            c.data = reinterpret_cast<unsigned char*>(storage.data() + word);
            c.lengths = lengthStorage.data() + j * count;
            word += (static_cast<size_t>(c.stride) * count + 7) / 8;
            if (c.kind == CellKind::Binary) {
                c.packed = packedStorage.data() + packedAt;
                packedAt += 4 + static_cast<size_t>(c.stride);
            }
        }
    } catch (const std::bad_alloc&) {
        return false;
    }
    rows = count;
    return true;
}

bool RowBlock::servable(size_t column) const {
    const BlockColumn& c = columns[column];
    const SQLLEN n = c.lengths[current];
    if (c.kind == CellKind::Skip || n == SQL_NULL_DATA) return true;
    if (n < 0) return false;  // SQL_NO_TOTAL, on which the row-at-a-time reads fail too
    switch (c.kind) {
    case CellKind::Text: return n < c.stride && n != kTextFirstRead;
    case CellKind::Binary: return n <= c.stride;
    case CellKind::Decimal: return n < kDecimalTextRoom;
    default: return true;
    }
}

}}}} // namespace KORVEL::Orl::DB::ODBC
