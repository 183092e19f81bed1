// Parameter arrays of a bulk statement. With "ParamArraySize" P above 1, the
// multi-row execute sends its null-terminated list of rows in chunks of at
// most P, one SQLExecute a chunk: each parameter's values of the chunk go
// column-wise into one array, converted as bindParameter converts a single
// value and bound with the same C type, SQL type, size and digits, so a
// value reads back the same whichever execute wrote it.
//
// A failing row fails the call, and the text names it (zero-based, counted
// over the whole list). Earlier chunks were executed. In the failing chunk the
// driver decides: the rows its status array marks SQL_PARAM_SUCCESS went in,
// the others didn't. PostgreSQL's driver stops at the failing row and the
// server refuses the rest of the transaction. SQLite's keeps the rows before
// it and leaves the status array alone, so its processed count names the row.
// MariaDB's marks the whole array failed without naming a row: the chunk's
// first row is named and none of its rows stays. Nothing is committed here,
// so a rollback undoes the whole call.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "bulk/Connection2Odbc.h"
#include "bulk/PreparedStatement2Odbc.h"
#include "bulk/RowInternal2.h"
#include "bulk/internal/Cells.h"
#include "bulk/internal/ParamBlock.h"
#include "bulk/internal/Report.h"
#include "bulk/internal/RowBlock.h"
#include "datatypes/DataTypes.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

using namespace DataTypes;

namespace {

// The text room of a money or decimal value, as in the single-row bind.
constexpr SQLLEN kDecimalTextBind = 64;

int64_t readInt64(const void* value) {
    int64_t v;
    std::memcpy(&v, value, sizeof v);
    return v;
}

SQLSMALLINT cTypeOf(unsigned int word) {
    auto mapped = PreparedStatement2Odbc::s_orlToSqlTypeMap.find(static_cast<TypeEnum>(typeOf(word)));
    return mapped == PreparedStatement2Odbc::s_orlToSqlTypeMap.end() ? 0 : mapped->second;
}

// Money and fixed decimals go as text, like the single-row bind.
bool goesAsText(unsigned int word) { return typeOf(word) != STRING && cTypeOf(word) == SQL_C_CHAR; }

// Bytes of one value in the array of a parameter of type `word`; `widest` is
// the longest text or binary of the chunk.
SQLLEN strideOf(unsigned int word, size_t widest) {
    switch (typeOf(word)) {
    case DATE:
    case TIMESTAMP:
    case BIGDATETIME: return sizeof(SQL_TIMESTAMP_STRUCT);
    case TIME: return sizeof(SQL_TIME_STRUCT);
    case STRING:
    case BINARY: return widest ? static_cast<SQLLEN>(widest) : 1;
    default: break;
    }
    if (goesAsText(word)) return kDecimalTextBind;
    const unsigned long size = typeOf(word) < kTypeCount ? g_column_lengths[typeOf(word)] : 0;
    return size ? static_cast<SQLLEN>(size) : 1;
}

size_t lengthOf(unsigned int word, const void* value) {
    if (value == nullptr) return 0;
    if (typeOf(word) == STRING) return std::strlen(static_cast<const char*>(value));
    return getLengthFromPackedBinary(static_cast<const unsigned char*>(value));
}

// SQLite's driver (sqlite3odbc) reads the length of an array's first binary
// for all of them, which cuts or pads the others.
bool sharesBinaryLengths(SQLHDBC dbc) {
    char name[64] = "";
    SQLSMALLINT length = 0;
    if (SQLGetInfo(dbc, SQL_DRIVER_NAME, name, sizeof name, &length) != SQL_SUCCESS) return false;
    return std::strncmp(name, "sqlite3odbc", 11) == 0 || std::strncmp(name, "libsqlite3odbc", 14) == 0;
}

// The row of a failed parameter set to name, within the set. A driver that
// fills the status array names it: its first error, else its first warning.
// SQLite's driver leaves the array as it was and counts only the rows it
// got through, which makes the count the failing row. MariaDB's reports
// neither, the array failing as one statement: its first row is named.
size_t failedRow(const ParamBlock& pb, size_t count) {
    for (SQLUSMALLINT marked : {SQL_PARAM_ERROR, SQL_PARAM_SUCCESS_WITH_INFO})
        for (size_t k = 0; k < count; ++k)
            if (pb.status[k] == marked) return k;
    const bool untouched = std::all_of(pb.status.begin(), pb.status.end(),
                                       [](SQLUSMALLINT s) { return s == SQL_PARAM_UNUSED; });
    return untouched && pb.processed < count ? static_cast<size_t>(pb.processed) : 0;
}

} // namespace

int PreparedStatement2Odbc::execute(const RowInternal2** rows, DBError* error) {
    const size_t chunk = connection->paramArraySize();
    // Only with the property set does the statement's text get looked at.
    bool grouped = false;
    try {
        grouped = connection->insertRowsPerStatement() > 1 && insertsInGroups();
    } catch (const std::bad_alloc&) {
        reportLibrary(error, "memory allocation");
        return -1;
    }
    if (chunk <= 1 && !grouped) return -1;
    if (bound != 1) {
        reportLibrary(error, "No param binding in effect");
        return -1;
    }
    size_t count = 0;
    while (rows != nullptr && rows[count] != nullptr) ++count;
    if (parameters.empty()) {
        // Nothing to put in arrays: the statement runs once a row.
        for (size_t k = 0; k < count; ++k)
            if (executeBound(error) != 0) {
                reportRow(error, k);
                return -1;
            }
        return 0;
    }
    try {
        if (grouped) {
            // One SQLExecute a multi-row statement, never an array of them:
            // PostgreSQL's driver sends each parameter set of an array as a
            // statement of its own, the round trip this path saves.
            if (!paramBlock) {
                paramBlock.reset(new ParamBlock);
                paramBlock->sharedBinaryLengths = sharesBinaryLengths(connection->handle());
            }
            const size_t group = insertRows;
            for (size_t first = 0; first < count; first += group) {
                const int result = insertGroup(rows + first, std::min(group, count - first), first, error);
                if (result != 0) return result;
            }
            return 0;
        }
        if (!paramBlock) {
            paramBlock.reset(new ParamBlock);
            paramBlock->sharedBinaryLengths = sharesBinaryLengths(connection->handle());
        }
        if (paramBlock->sharedBinaryLengths &&
            std::any_of(parameters.begin(), parameters.end(),
                        [](const DATA_XFER_SETTINGS& s) { return typeOf(s.typeWord) == BINARY; })) {
            for (size_t k = 0; k < count; ++k)
                if (execute(rows[k], error) != 0) {
                    reportRow(error, k);
                    return -1;
                }
            return 0;
        }
        for (size_t first = 0; first < count; first += chunk) {
            const int result = executeChunk(rows + first, std::min(chunk, count - first), first, error);
            if (result != 0) return result;
        }
    } catch (const std::bad_alloc&) {
        reportLibrary(error, "memory allocation");
        return -1;
    }
    return 0;
}

// Fills the arrays from `count` rows, the first of which is row `first` of
// the call, and runs them.
int PreparedStatement2Odbc::executeChunk(const RowInternal2* const* rows, size_t count, size_t first,
                                         DBError* error) {
    // A spoilt row ends the chunk; the rows before it go in first, as they
    // would one at a time.
    for (size_t r = 0; r < count; ++r) {
        if (checkRow(rows[r], nullptr) == 0) continue;
        const int result = r ? executeChunk(rows, r, first, error) : 0;
        if (result != 0) return result;
        checkRow(rows[r], error);
        reportRow(error, first + r);
        return -1;
    }
    const size_t filled = fillParamColumns(rows, count, false);
    if (filled < count) {
        // One row at a time the rows before it would have gone in.
        const int result = filled ? runArrays(filled, first, error) : 0;
        if (result != 0) return result;
        reportLibrary(error, "error converting date");
        close(error);
        reportRow(error, first + filled);
        return -1;
    }
    return runArrays(count, first, error);
}

size_t PreparedStatement2Odbc::fillParamColumns(const RowInternal2* const* rows, size_t count, bool keepStrides) {
    ParamBlock& pb = *paramBlock;
    pb.columns.resize(parameters.size());
    for (size_t i = 0; i < parameters.size(); ++i) {
        const unsigned int word = parameters[i].typeWord;
        size_t widest = 0;
        if (typeOf(word) == STRING || typeOf(word) == BINARY)
            for (size_t r = 0; r < count; ++r) widest = std::max(widest, lengthOf(word, valueInRow(rows[r], parameters[i])));
        ParamColumn& c = pb.columns[i];
        const SQLLEN stride = strideOf(word, widest);
        c.stride = keepStrides ? std::max(c.stride, stride) : stride;
        c.data.resize((static_cast<size_t>(c.stride) * count + 7) / 8);
        c.lengths.resize(count);
    }
    for (size_t r = 0; r < count; ++r) {
        for (size_t i = 0; i < parameters.size(); ++i) {
            const unsigned int word = parameters[i].typeWord;
            const void* value = valueInRow(rows[r], parameters[i]);
            ParamColumn& c = pb.columns[i];
            unsigned char* at = c.at(r);
            SQLLEN& length = c.lengths[r];
            if (value == nullptr) {
                length = SQL_NULL_DATA;
                continue;
            }
            switch (typeOf(word)) {
            case DATE:
            case TIMESTAMP:
            case BIGDATETIME: {
                SQL_TIMESTAMP_STRUCT ts;
                if (!timestampOf(word, readInt64(value), ts)) return r;
                std::memcpy(at, &ts, sizeof ts);
                length = sizeof ts;
                break;
            }
            case TIME: {
                SQL_TIME_STRUCT t;
                timeOf(readInt64(value), t);
                std::memcpy(at, &t, sizeof t);
                length = sizeof t;
                break;
            }
            case STRING:
            case BINARY: {
                const size_t n = lengthOf(word, value);
                const unsigned char* bytes = static_cast<const unsigned char*>(value) + (typeOf(word) == BINARY ? 4 : 0);
                std::memcpy(at, bytes, n);
                length = static_cast<SQLLEN>(n);
                break;
            }
            default:
                if (goesAsText(word)) {
                    char* text = reinterpret_cast<char*>(at);
                    text[0] = '\0';
                    convertToString(word, false, false, static_cast<unsigned char*>(const_cast<void*>(value)), text,
                                    kDecimalTextBind - 1);
                    length = static_cast<SQLLEN>(std::strlen(text));
                } else {
                    // The value itself, as the single-row bind passes it in place.
                    std::memcpy(at, value, static_cast<size_t>(c.stride));
                    length = 0;
                }
                break;
            }
        }
    }
    return count;
}

// Binds the arrays' first `count` rows and executes them as one parameter
// set; the statement is a single-row one again afterwards.
int PreparedStatement2Odbc::runArrays(size_t count, size_t first, DBError* error) {
    ParamBlock& pb = *paramBlock;
    pb.status.assign(count, static_cast<SQLUSMALLINT>(SQL_PARAM_UNUSED));
    pb.processed = 0;
    auto restore = [this]() {
        SQLSetStmtAttr(stmt, SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(1), 0);
        SQLSetStmtAttr(stmt, SQL_ATTR_PARAM_STATUS_PTR, nullptr, 0);
        SQLSetStmtAttr(stmt, SQL_ATTR_PARAMS_PROCESSED_PTR, nullptr, 0);
    };
    SQLRETURN rc =
        SQLSetStmtAttr(stmt, SQL_ATTR_PARAM_BIND_TYPE, reinterpret_cast<SQLPOINTER>(SQL_PARAM_BIND_BY_COLUMN), 0);
    if (rc == SQL_SUCCESS) rc = SQLSetStmtAttr(stmt, SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(count), 0);
    if (rc == SQL_SUCCESS) rc = SQLSetStmtAttr(stmt, SQL_ATTR_PARAM_STATUS_PTR, pb.status.data(), 0);
    if (rc == SQL_SUCCESS) rc = SQLSetStmtAttr(stmt, SQL_ATTR_PARAMS_PROCESSED_PTR, &pb.processed, 0);
    for (size_t i = 0; rc == SQL_SUCCESS && i < parameters.size(); ++i)
        rc = bindParamColumn(stmt, static_cast<SQLUSMALLINT>(i + 1), i, 0);
    if (rc != SQL_SUCCESS) {
        // As a failed single-row bind: the bindings go.
        reportOdbc(error, SQL_HANDLE_STMT, stmt, rc);
        restore();
        close(error);
        reportRow(error, first);
        return -1;
    }
    if (rowBlock) rowBlock->newResult(stmt);
    rc = SQLExecute(stmt);
    if (rc == SQL_SUCCESS) {
        restore();
        resultState = -1;
        return 0;
    }
    // With info counts as a failure, as for one row.
    reportOdbc(error, SQL_HANDLE_STMT, stmt, rc);
    const size_t failed = failedRow(pb, count);
    restore();
    reportRow(error, first + failed);
    return -1;
}

bool PreparedStatement2Odbc::bindsBinary(size_t parameter) const {
    return typeOf(parameters[parameter].typeWord) == BINARY;
}

SQLRETURN PreparedStatement2Odbc::bindParamColumn(SQLHSTMT handle, SQLUSMALLINT number, size_t parameter,
                                                  size_t row) {
    const DATA_XFER_SETTINGS& s = parameters[parameter];
    ParamColumn& c = paramBlock->columns[parameter];
    return SQLBindParameter(handle, number, SQL_PARAM_INPUT, cTypeOf(s.typeWord), s.sqlDataType, s.columnSize,
                            s.decimalDigits, c.at(row), c.stride, &c.lengths[row]);
}

}}}} // namespace KORVEL::Orl::DB::ODBC
