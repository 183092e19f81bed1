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
        reread.assign(columns.size(), 0);
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

void RowBlock::newResult(SQLHSTMT stmt) {
    fetched = 0;
    current = 0;
    before = 0;
    positioned = false;
    if (!moved) return;
    moved = false;
    bound = false;
    SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(rows), 0);
}

}}}} // namespace KORVEL::Orl::DB::ODBC
