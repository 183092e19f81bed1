// A block of rows bound column by column: what one SQLFetch fills when a
// statement reads several rows per call. Each column has a kind (how its
// fetcher turns the driver's bytes into a value), an array of `rows` values of
// `stride` bytes and an array of lengths or indicators.
#pragma once
#include <sql.h>
#include <sqlext.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "bulk/internal/Cells.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

// How a column is bound and served. IntText and TimeText: an integer or a
// time bound as text and converted here (see plainInteger).
enum class CellKind : unsigned char { Skip, Fixed, Time, Decimal, Text, Binary, IntText, DoubleText, TimeText };

struct BlockColumn {
    CellKind kind = CellKind::Skip;
    SQLSMALLINT cType = 0;
    SQLLEN stride = 0;              // bytes per row
    bool wide = false;              // IntText: 64 bits, else 32
    unsigned char* data = nullptr;  // rows * stride bytes, inside the block's storage
    SQLLEN* lengths = nullptr;      // one per row
    unsigned char* packed = nullptr;  // binary: room for one value in packed form
};

struct RowBlock {
    // Lays out `count` rows of the columns' strides; false when the memory
    // can't be had.
    bool allocate(SQLULEN count);

    bool onRow() const { return current < fetched; }
    unsigned char* cell(size_t column) const {
        return columns[column].data + current * static_cast<SQLULEN>(columns[column].stride);
    }
    SQLLEN length(size_t column) const { return columns[column].lengths[current]; }
    // True when the current row's value of `column`, not NULL, reads from
    // the block exactly as SQLGetData gives it row by row: not cut at the
    // block's room, not of a length at which the row-at-a-time read fails,
    // and for a number or time bound as text, of a plain form, whose value
    // it leaves in `number`, `real` or `ts`. Inline: it runs for every cell
    // of every row.
    bool servable(size_t column, int64_t& number, double& real, SQL_TIMESTAMP_STRUCT& ts) const {
        const BlockColumn& c = columns[column];
        const SQLLEN n = c.lengths[current];
        if (n < 0) return false;  // SQL_NO_TOTAL, on which the row-at-a-time reads fail too
        const char* text = reinterpret_cast<const char*>(cell(column));
        switch (c.kind) {
        case CellKind::Text: return n < c.stride && n != kTextFirstRead;
        case CellKind::Binary: return n <= c.stride;
        case CellKind::Decimal: return n < kDecimalTextRoom;
        case CellKind::IntText:
            return n < c.stride && (c.wide ? plainInteger(text, n, INT64_MIN, INT64_MAX, number)
                                           : plainInteger(text, n, INT32_MIN, INT32_MAX, number));
        case CellKind::DoubleText: return n < c.stride && plainDouble(text, n, real);
        case CellKind::TimeText: return n < c.stride && plainTimestamp(text, n, ts);
        default: return true;
        }
    }

    // Forgets the block at a new result or a closed cursor; a cursor that
    // was moved to re-read a cell gets its rowset size back.
    void newResult(SQLHSTMT stmt);

    std::vector<BlockColumn> columns;
    SQLULEN rows = 0;     // SQL_ATTR_ROW_ARRAY_SIZE
    SQLULEN fetched = 0;  // rows of the last SQLFetch (SQL_ATTR_ROWS_FETCHED_PTR)
    SQLULEN current = 0;  // the row hasMoreData moved to
    SQLULEN before = 0;   // rows of the result set ahead of the block
    // How the cursor is put on a block's row so that a cell the block
    // couldn't hold is read again as the row path reads it. Tried in this
    // order at the first such cell, by what the driver does rather than what
    // it claims: SQLFetchScroll to the row, one row a rowset and nothing
    // bound (SQLite's and MariaDB's drivers; their SQLSetPos answers, then
    // SQLGetData reads another row), then SQLSetPos where SQLGetData may
    // follow it in a block (PostgreSQL's driver, which refuses the scroll on
    // a forward-only cursor). After a scroll the cursor goes to the block's
    // last row and the next fetch restores the block.
    enum class Reposition : unsigned char { Untried, Scroll, SetPos, None };
    Reposition reposition = Reposition::Untried;
    bool positioned = false;  // the driver's cursor is on the current row
    bool moved = false;       // the rowset is one row and no column is bound
    SQLULEN at = 0;           // while moved: the row (from 1) the cursor is on
    bool bound = false;   // SQLBindCol done since the last unbind
    std::vector<SQLUSMALLINT> status;     // SQL_ATTR_ROW_STATUS_PTR
    std::vector<void*> sources;           // where each value of a packed row comes from
    std::vector<unsigned char> reread;    // per column: read again for the packed row being made

private:
    std::vector<uint64_t> storage;  // 8-byte aligned for the numeric arrays
    std::vector<SQLLEN> lengthStorage;
    std::vector<unsigned char> packedStorage;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
