// Row blocks of a bulk statement. With "FetchArraySize" N above 1, a statement
// whose columns all have a bounded size binds them column-wise and reads N
// rows per SQLFetch; hasMoreData then moves through the block, and both
// nextRow forms turn its cells into values through the same conversions as
// the row-at-a-time fetchers, so a row is the same either way. A statement
// that can't be bound so, or a driver that refuses an attribute or a binding,
// keeps the row-at-a-time reads, silently.
#include <cstdlib>
#include <cstring>
#include <new>

#include "bulk/Connection2Odbc.h"
#include "bulk/PreparedStatement2Odbc.h"
#include "bulk/RowInternal2.h"
#include "bulk/internal/Cells.h"
#include "bulk/internal/Report.h"
#include "bulk/internal/RowBlock.h"
#include "datatypes/DataTypes.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

using namespace DataTypes;

namespace {

// A text or binary column described above this size (characters or bytes),
// and a long text or binary of any size, keeps its statement on the
// row-at-a-time reads: a block holds every value at its full room for each
// of its rows, so room times rows is its memory.
constexpr SQLULEN kBlockColumnLimit = 1024;
// Least room of a text or binary cell. SQLite doesn't hold values to their
// declared size; a short value that outgrows a tiny declaration still fits.
constexpr SQLLEN kLeastCellRoom = 256;

typedef PreparedStatement2Odbc P;

bool isLong(SQLSMALLINT sqlType) {
    return sqlType == SQL_LONGVARCHAR || sqlType == SQL_WLONGVARCHAR || sqlType == SQL_LONGVARBINARY;
}

// The block form of a column read by `fetcher`; false when it has none. The
// C types and the decimal room are those the fetcher asks SQLGetData for.
bool blockColumnOf(P::Fetcher fetcher, const P::DATA_XFER_SETTINGS& c, BlockColumn& out) {
    struct Kind {
        P::Fetcher fetcher;
        CellKind kind;
        SQLSMALLINT cType;
        SQLLEN stride;
    };
    static const Kind kinds[] = {
        {&P::getDataColumn<-16>, CellKind::Fixed, SQL_C_SLONG, sizeof(SQLINTEGER)},
        {&P::getDataColumn<-25>, CellKind::Fixed, SQL_C_SBIGINT, sizeof(SQLBIGINT)},
        {&P::getDataColumn<8>, CellKind::Fixed, SQL_C_DOUBLE, sizeof(SQLDOUBLE)},
        {&P::getDataColumn<-7>, CellKind::Fixed, SQL_C_BIT, sizeof(SQLCHAR)},
        {&P::getDataColumn<93>, CellKind::Time, SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT)},
        {&P::getDataColumn<2>, CellKind::Decimal, SQL_C_CHAR, kDecimalTextRoom},
        {&P::getDataColumn<1>, CellKind::Text, SQL_C_CHAR, 0},
        {&P::getDataColumn<-2>, CellKind::Binary, SQL_C_BINARY, 0},
    };
    out = BlockColumn();
    if (fetcher == nullptr) return true;  // never read: NULL in every row
    for (const Kind& k : kinds) {
        if (k.fetcher != fetcher) continue;
        out.kind = k.kind;
        out.cType = k.cType;
        out.stride = k.stride;
        if (k.stride != 0) return true;
        if (isLong(c.sqlDataType) || c.columnSize == 0 || c.columnSize > kBlockColumnLimit) return false;
        // A text's room: four bytes a character (UTF-8 at its widest) and the NUL.
        const SQLLEN room = k.kind == CellKind::Text ? static_cast<SQLLEN>(4 * c.columnSize + 1)
                                                     : static_cast<SQLLEN>(c.columnSize);
        out.stride = room < kLeastCellRoom ? kLeastCellRoom : room;
        return true;
    }
    return false;
}

} // namespace

void PreparedStatement2Odbc::setUpRowBlock() {
    const SQLULEN rows = connection->fetchArraySize();
    if (rows <= 1 || columns.empty()) return;
    try {
        std::unique_ptr<RowBlock> block(new RowBlock);
        block->columns.resize(columns.size());
        for (size_t j = 0; j < columns.size(); ++j)
            if (!blockColumnOf(fetchers[j], columns[j], block->columns[j])) return;
        if (!block->allocate(rows)) return;
        rowBlock = std::move(block);
    } catch (const std::bad_alloc&) {
        return;
    }
    // SQL_SUCCESS_WITH_INFO here means the driver took another value (01S02):
    // row-at-a-time too.
    SQLRETURN rc = SQLSetStmtAttr(stmt, SQL_ATTR_ROW_BIND_TYPE, reinterpret_cast<SQLPOINTER>(SQL_BIND_BY_COLUMN), 0);
    if (rc == SQL_SUCCESS) rc = SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(rows), 0);
    if (rc == SQL_SUCCESS) rc = SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &rowBlock->fetched, 0);
    if (rc == SQL_SUCCESS) rc = SQLSetStmtAttr(stmt, SQL_ATTR_ROW_STATUS_PTR, rowBlock->status.data(), 0);
    if (rc != SQL_SUCCESS) dropRowBlock();
}

void PreparedStatement2Odbc::dropRowBlock() {
    if (!rowBlock) return;
    if (stmt != SQL_NULL_HSTMT) {
        // Back to what a fresh statement has; failures change nothing more.
        SQLFreeStmt(stmt, SQL_UNBIND);
        SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(1), 0);
        SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, nullptr, 0);
        SQLSetStmtAttr(stmt, SQL_ATTR_ROW_STATUS_PTR, nullptr, 0);
    }
    rowBlock.reset();
}

// Again after each close, which unbinds the columns.
bool PreparedStatement2Odbc::bindRowBlock() {
    RowBlock& b = *rowBlock;
    for (size_t j = 0; j < b.columns.size(); ++j) {
        const BlockColumn& c = b.columns[j];
        if (c.kind == CellKind::Skip) continue;
        if (SQLBindCol(stmt, static_cast<SQLUSMALLINT>(j + 1), c.cType, c.data, c.stride, c.lengths) != SQL_SUCCESS)
            return false;
    }
    b.bound = true;
    return true;
}

int PreparedStatement2Odbc::fetchBlock(bool& more, DBError* error) {
    RowBlock& b = *rowBlock;
    more = false;
    if (b.current + 1 < b.fetched) {
        ++b.current;
        more = true;
        return 0;
    }
    if (!b.bound && !bindRowBlock()) {
        dropRowBlock();
        return hasMoreData(more, error);
    }
    std::fill(b.status.begin(), b.status.end(), static_cast<SQLUSMALLINT>(SQL_ROW_SUCCESS));
    // MariaDB's driver writes the indicator of a bound bit only for a NULL:
    // without this an earlier block's NULL would stand for a later value.
    for (const BlockColumn& c : b.columns)
        if (c.kind == CellKind::Fixed) std::fill(c.lengths, c.lengths + b.rows, c.stride);
    b.fetched = 0;
    b.current = 0;
    SQLRETURN rc = SQLFetch(stmt);
    b.fetchResult = rc;
    if (rc == SQL_NO_DATA) {
        b.fetched = 0;
        return 0;
    }
    // With info, a cell was cut at the block's room or the driver warns about
    // a row: the row's status and lengths say which when it is served.
    if (rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO) {
        more = b.fetched > 0;
        return 0;
    }
    b.fetched = 0;
    reportOdbc(error, SQL_HANDLE_STMT, stmt, rc);
    return -1;
}

namespace {

// The failure of a value that the block can't give as the row-at-a-time read
// would: that read fails on it with a truncation (a text of exactly 128 bytes,
// a decimal text of 32 characters or more), or the value outgrew its room.
// The driver's own words are used when the fetch left them.
void reportCut(DBError* error, const RowBlock& b, SQLHSTMT stmt) {
    if (b.fetchResult == SQL_SUCCESS_WITH_INFO) reportOdbc(error, SQL_HANDLE_STMT, stmt, SQL_SUCCESS_WITH_INFO);
    else reportTruncation(error);
}

// A row the driver marks as failed: its diagnostic, as the fetch left it.
bool rowFailed(const RowBlock& b) {
    const SQLUSMALLINT s = b.status[b.current];
    return s == SQL_ROW_ERROR || s == SQL_ROW_NOROW;
}

} // namespace

RowInternal2* PreparedStatement2Odbc::packBlockRow(DBError* error) {
    RowBlock& b = *rowBlock;
    if (rowFailed(b)) {
        reportOdbc(error, SQL_HANDLE_STMT, stmt, SQL_ERROR);
        return nullptr;
    }
    const size_t n = columns.size();
    long running = static_cast<long>(4 * n + 56);
    for (size_t j = 0; j < n; ++j) {
        const BlockColumn& c = b.columns[j];
        const SQLLEN got = c.kind == CellKind::Skip ? SQL_NULL_DATA : b.length(j);
        if (got == SQL_NULL_DATA) {
            offsets[j] = 0;
            lengths[j] = 0;
            continue;
        }
        if (!b.servable(j)) {
            reportCut(error, b, stmt);
            return nullptr;
        }
        unsigned char* cell = b.cell(j);
        void* source = valueBuffers[j];
        long length = static_cast<long>(got);
        switch (c.kind) {
        case CellKind::Fixed:
            // The size of the C type, as SQLGetData reports it: a bound
            // indicator may say 0 here (MariaDB's bit).
            source = cell;
            length = static_cast<long>(c.stride);
            break;
        case CellKind::Time: {
            SQL_TIMESTAMP_STRUCT ts;
            std::memcpy(&ts, cell, sizeof ts);
            if (storeTimeValue(columnTypes[j], ts, valueBuffers[j])) length = 8;
            break;
        }
        case CellKind::Decimal: {
            // A fixed decimal goes through a scratch, as row by row: a text
            // the parser refuses leaves the column's buffer as it was.
            unsigned char decimal[24];
            const bool fixed = typeOf(columnTypes[j]) == FIXEDDECIMAL;
            if (packDecimalText(columnTypes[j], reinterpret_cast<const char*>(cell), fixed ? decimal : valueBuffers[j],
                                length, error) != 0)
                return nullptr;
            if (fixed) std::memcpy(valueBuffers[j], decimal, sizeof decimal);
            break;
        }
        case CellKind::Text:
            cell[got] = '\0';  // room was left for it: got is below the stride
            source = cell;
            length += 1;
            break;
        case CellKind::Binary:
            putLengthOfPackedBinary(c.packed, static_cast<unsigned int>(got));
            std::memcpy(c.packed + 4, cell, static_cast<size_t>(got));
            source = c.packed;
            length += 4;
            break;
        case CellKind::Skip:
            break;
        }
        b.sources[j] = source;
        offsets[j] = static_cast<int>(running);
        lengths[j] = length;
        running += length;
    }
    offsets[n] = static_cast<int>(running);
    return packValues(b.sources, static_cast<unsigned long>(running), error);
}

int PreparedStatement2Odbc::blockValues(std::vector<DataValue>& values, DBError* error) {
    RowBlock& b = *rowBlock;
    if (rowFailed(b)) {
        reportOdbc(error, SQL_HANDLE_STMT, stmt, SQL_ERROR);
        return -1;
    }
    for (size_t j = 0; j < columns.size(); ++j) {
        const BlockColumn& c = b.columns[j];
        if (c.kind == CellKind::Skip) continue;
        DataValue& value = values[j];
        const SQLLEN got = b.length(j);
        if (got == SQL_NULL_DATA) {
            value.isNull = true;
            continue;
        }
        // Earlier columns stay filled, as when the row-at-a-time read fails.
        if (!b.servable(j)) {
            reportCut(error, b, stmt);
            return -1;
        }
        const unsigned int word = columnTypes[j];
        unsigned char* cell = b.cell(j);
        switch (c.kind) {
        case CellKind::Fixed:
            std::memcpy(static_cast<void*>(&value), cell, static_cast<size_t>(c.stride));
            break;
        case CellKind::Time: {
            SQL_TIMESTAMP_STRUCT ts;
            std::memcpy(&ts, cell, sizeof ts);
            storeTimeValue(word, ts, &value);
            break;
        }
        case CellKind::Decimal: {
            long length = 0;
            if (packDecimalText(word, reinterpret_cast<const char*>(cell), &value, length, error) != 0) return -1;
            break;
        }
        case CellKind::Text: {
            char* text = static_cast<char*>(std::malloc(static_cast<size_t>(got) + 1));
            if (text == nullptr) {
                reportLibrary(error, "memory allocation");
                return -1;
            }
            std::memcpy(text, cell, static_cast<size_t>(got));
            text[got] = '\0';
            value.stringValue = text;  // the caller's from now on
            break;
        }
        case CellKind::Binary: {
            const size_t bytes = static_cast<size_t>(got);
            if (word != BINARY) {
                // Row by row such a word receives the packed block itself.
                unsigned char* packed = static_cast<unsigned char*>(std::malloc(bytes + 4));
                if (packed == nullptr) {
                    reportLibrary(error, "memory allocation");
                    return -1;
                }
                putLengthOfPackedBinary(packed, static_cast<unsigned int>(bytes));
                std::memcpy(packed + 4, cell, bytes);
                std::memcpy(static_cast<void*>(&value), &packed, sizeof packed);
                break;
            }
            unsigned char* data = static_cast<unsigned char*>(std::malloc(bytes ? bytes : 1));
            if (data == nullptr) {
                reportLibrary(error, "memory allocation");
                return -1;
            }
            std::memcpy(data, cell, bytes);
            value.binaryValue.length = static_cast<uint32_t>(bytes);
            value.binaryValue.data = data;
            break;
        }
        case CellKind::Skip:
            break;
        }
    }
    return 0;
}

}}}} // namespace KORVEL::Orl::DB::ODBC
