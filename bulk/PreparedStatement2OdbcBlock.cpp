// Row blocks of a bulk statement. With "FetchArraySize" N above 1, a statement
// whose columns all have a bounded size binds them column-wise and reads N
// rows per SQLFetch; hasMoreData then moves through the block, and both
// nextRow forms turn its cells into values through the same conversions as
// the row-at-a-time fetchers, so a row is the same either way. A cell the
// block can't give as those fetchers would (a value longer than its room,
// which SQLite's declared sizes allow, or one of a length the row path fails
// on) is read again by the column's own fetcher, the cursor put on its row.
// A statement that can't be bound so, or a driver that refuses an attribute
// or a binding, keeps the row-at-a-time reads, silently.
#include <cstdint>
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

// As the row path: text and binary fetchers hand back a block of their own.
bool getsBlock(unsigned int word) {
    const unsigned int type = typeOf(word);
    return type == STRING || type == BINARY;
}

// A text or binary column described above this size (characters or bytes),
// and a long text or binary of any size, gets kLongCellRoom in a block where
// the driver can put its cursor on a row of the block to read a longer value
// again; elsewhere it keeps its statement on the row-at-a-time reads. A block
// holds every value at its full room for each of its rows, so room times rows
// is its memory.
constexpr SQLULEN kBlockColumnLimit = 1024;
constexpr SQLLEN kLongCellRoom = 256;
// Least room of a text or binary cell. SQLite doesn't hold values to their
// declared size; a short value that outgrows a tiny declaration still fits
// without being read again. Not more: SQLite's driver pads every cell to it.
constexpr SQLLEN kLeastCellRoom = 64;
// Rooms of numbers and times bound as text: the longest plain forms and the
// NUL (SQLite prints a double with 15 digits), a little over; the driver
// pads each cell to its room. A longer value is read again.
constexpr SQLLEN kInt32TextRoom = 16;
constexpr SQLLEN kNumberTextRoom = 24;
constexpr SQLLEN kTimeTextRoom = 32;

typedef PreparedStatement2Odbc P;

bool isLong(SQLSMALLINT sqlType) {
    return sqlType == SQL_LONGVARCHAR || sqlType == SQL_WLONGVARCHAR || sqlType == SQL_LONGVARBINARY;
}

// The block form of a column of `kind`; false when it has none. The C types
// and the decimal room are those its row-path fetcher asks SQLGetData for.
// With `textNumbers`, integers and times are bound as text and converted here.
bool blockColumnOf(ColumnKind kind, const P::DATA_XFER_SETTINGS& c, bool textNumbers, bool rereads,
                   BlockColumn& out) {
    out = BlockColumn();
    switch (kind) {
    case ColumnKind::None: return true;  // never read: NULL in every row
    case ColumnKind::Int32:
        out = textNumbers ? BlockColumn{CellKind::IntText, SQL_C_CHAR, kInt32TextRoom}
                          : BlockColumn{CellKind::Fixed, SQL_C_SLONG, sizeof(SQLINTEGER)};
        return true;
    case ColumnKind::Int64:
        out = textNumbers ? BlockColumn{CellKind::IntText, SQL_C_CHAR, kNumberTextRoom}
                          : BlockColumn{CellKind::Fixed, SQL_C_SBIGINT, sizeof(SQLBIGINT)};
        out.wide = true;
        return true;
    case ColumnKind::Double:
        out = textNumbers ? BlockColumn{CellKind::DoubleText, SQL_C_CHAR, kNumberTextRoom}
                          : BlockColumn{CellKind::Fixed, SQL_C_DOUBLE, sizeof(SQLDOUBLE)};
        return true;
    case ColumnKind::Bit: out = {CellKind::Fixed, SQL_C_BIT, sizeof(SQLCHAR)}; return true;
    case ColumnKind::Timestamp:
        out = textNumbers ? BlockColumn{CellKind::TimeText, SQL_C_CHAR, kTimeTextRoom}
                          : BlockColumn{CellKind::Time, SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT)};
        return true;
    case ColumnKind::DecimalText: out = {CellKind::Decimal, SQL_C_CHAR, kDecimalTextRoom}; return true;
    case ColumnKind::Text:
    case ColumnKind::Binary: {
        const bool unbounded = isLong(c.sqlDataType) || c.columnSize == 0 || c.columnSize > kBlockColumnLimit;
        if (unbounded && !rereads) return false;
        // A text's room: four bytes a character (UTF-8 at its widest) and the NUL.
        const bool text = kind == ColumnKind::Text;
        const SQLLEN room = unbounded ? kLongCellRoom
                            : text    ? static_cast<SQLLEN>(4 * c.columnSize + 1)
                                      : static_cast<SQLLEN>(c.columnSize);
        out = {text ? CellKind::Text : CellKind::Binary, static_cast<SQLSMALLINT>(text ? SQL_C_CHAR : SQL_C_BINARY),
               room < kLeastCellRoom ? kLeastCellRoom : room};
        return true;
    }
    case ColumnKind::Date: break;
    }
    return false;
}

// Whether numbers and times are read as text and converted here: on SQLite,
// whose driver's own conversions to SQL_C_SLONG, SQL_C_SBIGINT, SQL_C_DOUBLE
// and SQL_C_TYPE_TIMESTAMP cost more than the whole read of the text. Its
// double is strtod of the very text it gives for SQL_C_CHAR.
bool readsNumbersAsText(SQLHDBC dbc) {
    char name[32] = "";
    SQLSMALLINT length = 0;
    return SQLGetInfo(dbc, SQL_DBMS_NAME, name, sizeof name, &length) == SQL_SUCCESS &&
           std::strcmp(name, "SQLite") == 0;
}

// As SQLGetData stores an SQL_C_SLONG or SQL_C_SBIGINT.
inline void storeInteger(const BlockColumn& c, int64_t number, void* target) {
    if (c.wide) {
        std::memcpy(target, &number, sizeof number);
    } else {
        const int32_t narrow = static_cast<int32_t>(number);
        std::memcpy(target, &narrow, sizeof narrow);
    }
}

// Whether SQLGetData reads the row SQLSetPos chose within a block of bound
// columns. SQLite's driver says no (no SQL_GD_BLOCK): its SQLSetPos succeeds
// and SQLGetData then reads some other row.
bool repositionsInBlocks(SQLHDBC dbc) {
    SQLUINTEGER extensions = 0;
    SQLUSMALLINT setPos = SQL_FALSE;
    if (SQLGetInfo(dbc, SQL_GETDATA_EXTENSIONS, &extensions, sizeof extensions, nullptr) != SQL_SUCCESS) return false;
    if ((extensions & SQL_GD_BLOCK) == 0 || (extensions & SQL_GD_BOUND) == 0) return false;
    return SQLGetFunctions(dbc, SQL_API_SQLSETPOS, &setPos) == SQL_SUCCESS && setPos == SQL_TRUE;
}

} // namespace

void PreparedStatement2Odbc::setUpRowBlock() {
    const SQLULEN rows = connection->fetchArraySize();
    if (rows <= 1 || columns.empty()) return;
    try {
        std::unique_ptr<RowBlock> block(new RowBlock);
        block->columns.resize(columns.size());
        const bool textNumbers = readsNumbersAsText(connection->handle());
        const bool rereads = repositionsInBlocks(connection->handle());
        for (size_t j = 0; j < columns.size(); ++j)
            if (!blockColumnOf(kinds[j], columns[j], textNumbers, rereads, block->columns[j])) return;
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
    b.positioned = false;
    if (b.current + 1 < b.fetched) {
        ++b.current;
        more = true;
        return 0;
    }
    if (b.moved && !resumeBlocks()) {
        reportOdbc(error, SQL_HANDLE_STMT, stmt, SQL_ERROR);
        return -1;
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
    b.before += b.fetched;
    b.fetched = 0;
    b.current = 0;
    SQLRETURN rc = SQLFetch(stmt);
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

bool PreparedStatement2Odbc::positionOnBlockRow() {
    RowBlock& b = *rowBlock;
    typedef RowBlock::Reposition R;
    if (b.positioned) return true;
    if (b.reposition == R::Untried || b.reposition == R::Scroll) {
        // One row a rowset and nothing bound, so that the block's cells and
        // counts stay as they are; the fetch still writes the fetched count
        // and the first status.
        const SQLULEN fetched = b.fetched;
        const SQLUSMALLINT first = b.status[0];
        SQLRETURN rc = SQL_SUCCESS;
        if (!b.moved) {
            rc = SQLFreeStmt(stmt, SQL_UNBIND);
            b.bound = false;
            b.moved = true;
            if (rc == SQL_SUCCESS)
                rc = SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(1), 0);
        }
        b.at = b.before + b.current + 1;
        if (rc == SQL_SUCCESS) rc = SQLFetchScroll(stmt, SQL_FETCH_ABSOLUTE, static_cast<SQLLEN>(b.at));
        b.fetched = fetched;
        b.status[0] = first;
        b.positioned = rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO;
        if (b.positioned) b.reposition = R::Scroll;
        if (b.positioned || b.reposition == R::Scroll) return b.positioned;
        // Refused, the cursor where it was: the block's rowset size again,
        // and its columns bound again at the next fetch.
        b.moved = false;
        if (SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(b.rows), 0) != SQL_SUCCESS) {
            b.reposition = R::None;
            return false;
        }
        b.reposition = repositionsInBlocks(connection->handle()) ? R::SetPos : R::None;
    }
    if (b.reposition != R::SetPos) return false;
    b.positioned =
        SQLSetPos(stmt, static_cast<SQLSETPOSIROW>(b.current + 1), SQL_POSITION, SQL_LOCK_NO_CHANGE) == SQL_SUCCESS;
    return b.positioned;
}

bool PreparedStatement2Odbc::resumeBlocks() {
    RowBlock& b = *rowBlock;
    // The next SQLFetch follows the rowset the cursor is on: the block's last row.
    const SQLULEN last = b.before + b.fetched;
    if (b.at != last) {
        const SQLULEN fetched = b.fetched;
        const SQLUSMALLINT first = b.status[0];
        const SQLRETURN rc = SQLFetchScroll(stmt, SQL_FETCH_ABSOLUTE, static_cast<SQLLEN>(last));
        b.fetched = fetched;
        b.status[0] = first;
        if (rc != SQL_SUCCESS && rc != SQL_SUCCESS_WITH_INFO) return false;
    }
    b.moved = false;
    return SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(b.rows), 0) == SQL_SUCCESS;
}

namespace {

// The failure of a value that the block can't give as the row-at-a-time read
// would, on a driver whose cursor can't be put on the row to read it again:
// that read fails on it with a truncation (a text of exactly 128 bytes, a
// decimal text of 32 characters or more), or the value outgrew its room.
// The fetch's own record is gone with the calls that tried to move the
// cursor, and may be another row's: the words are ours.
void reportCut(DBError* error) { reportTruncation(error); }

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
    long running = packedHeaderSize(n);
    // Texts and binaries read again come in blocks of their own, which go
    // once the row is packed or has failed.
    bool reread = false;
    auto freeReread = [&]() {
        for (size_t k = 0; reread && k < n; ++k) {
            if (b.reread[k] && getsBlock(columnTypes[k])) freeBlock(k);
            b.reread[k] = 0;
        }
    };
    // Raw pointers: the stores below would otherwise reload each vector's.
    void** sources = b.sources.data();
    int* rowOffsets = offsets.data();
    long* rowLengths = lengths.data();
    for (size_t j = 0; j < n; ++j) {
        const BlockColumn& c = b.columns[j];
        const SQLLEN got = c.kind == CellKind::Skip ? SQL_NULL_DATA : b.length(j);
        if (got == SQL_NULL_DATA) {
            rowOffsets[j] = 0;
            rowLengths[j] = 0;
            continue;
        }
        unsigned char* cell = b.cell(j);
        int64_t number;  // set by servable for the kinds that read them
        double real;
        SQL_TIMESTAMP_STRUCT ts;
        if (!b.servable(j, number, real, ts)) {
            if (!positionOnBlockRow()) {
                freeReread();
                reportCut(error);
                return nullptr;
            }
            const unsigned int word = columnTypes[j];
            unsigned char decimal[24];
            void* target = getsBlock(word)                 ? static_cast<void*>(&valueBuffers[j])
                           : typeOf(word) == FIXEDDECIMAL ? static_cast<void*>(decimal)
                                                             : valueBuffers[j];
            long& length = lengths[j];
            length = static_cast<long>(g_column_lengths[typeOf(word) < kTypeCount ? typeOf(word) : UNKNOWN]);
            if ((this->*fetchers[j])(j, target, length, error) != 0) {
                freeReread();
                return nullptr;
            }
            reread = true;
            b.reread[j] = 1;
            b.sources[j] = valueBuffers[j];
            if (length == SQL_NULL_DATA) {
                offsets[j] = 0;
                length = 0;
                continue;
            }
            if (typeOf(word) == FIXEDDECIMAL) std::memcpy(valueBuffers[j], decimal, sizeof decimal);
            offsets[j] = static_cast<int>(running);
            running += length;
            continue;
        }
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
        case CellKind::IntText:
            storeInteger(c, number, valueBuffers[j]);
            length = c.wide ? 8 : 4;
            break;
        case CellKind::DoubleText:
            std::memcpy(valueBuffers[j], &real, sizeof real);
            length = sizeof real;
            break;
        case CellKind::TimeText:
            if (storeTimeValue(columnTypes[j], ts, valueBuffers[j])) length = 8;
            break;
        case CellKind::Decimal: {
            // A fixed decimal goes through a scratch, as row by row: a text
            // the parser refuses leaves the column's buffer as it was.
            unsigned char decimal[24];
            const bool fixed = typeOf(columnTypes[j]) == FIXEDDECIMAL;
            if (packDecimalText(columnTypes[j], reinterpret_cast<const char*>(cell), fixed ? decimal : valueBuffers[j],
                                length, error) != 0) {
                freeReread();  // a text read again earlier in the row
                return nullptr;
            }
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
        sources[j] = source;
        rowOffsets[j] = static_cast<int>(running);
        rowLengths[j] = length;
        running += length;
    }
    offsets[n] = static_cast<int>(running);
    RowInternal2* row = packValues(b.sources, static_cast<unsigned long>(running), error);
    freeReread();
    return row;
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
        unsigned char* cell = b.cell(j);
        int64_t number = 0;
        double real = 0;
        SQL_TIMESTAMP_STRUCT ts;
        if (!b.servable(j, number, real, ts)) {
            if (!positionOnBlockRow()) {
                reportCut(error);
                return -1;
            }
            if (fetchValue(j, value, error) != 0) return -1;
            continue;
        }
        const unsigned int word = columnTypes[j];
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
        case CellKind::IntText: storeInteger(c, number, &value); break;
        case CellKind::DoubleText: std::memcpy(static_cast<void*>(&value), &real, sizeof real); break;
        case CellKind::TimeText: storeTimeValue(word, ts, &value); break;
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
