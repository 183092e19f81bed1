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

}}}} // namespace KORVEL::Orl::DB::ODBC
