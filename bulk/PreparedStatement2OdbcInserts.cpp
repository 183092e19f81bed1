// Multi-row statements of a plain INSERT. With "InsertRowsPerStatement" R
// above 1, the multi-row execute of `INSERT INTO t [(c, ...)] VALUES (?, ...)`
// sends its rows as `INSERT INTO t [(c, ...)] VALUES (?, ...), (?, ...), ...`
// of up to R rows each, one SQLExecute a statement: a parameter array costs
// PostgreSQL's driver a round trip a row and SQLite's a compile a row, a
// multi-row statement one of each. The values are the parameter arrays'
// column buffers, row r's value of parameter i bound as marker r * n + i + 1
// with the single-row statement's description of parameter i, so a value
// reads back the same whichever way it went. SQLite's driver reads one
// binary length for a whole array; here every statement is one parameter
// set, each marker with its own length, but the driver takes that length
// at the bind, so there binaries are bound for each statement.
//
// R is cut so that a statement carries no more markers than its database
// takes. A failing statement fails the call with the zero-based rows it
// carried; the earlier statements went in, nothing is committed here.
#include <algorithm>
#include <new>

#include "bulk/Connection2Odbc.h"
#include "bulk/PreparedStatement2Odbc.h"
#include "bulk/internal/InsertGroups.h"
#include "bulk/internal/ParamBlock.h"
#include "bulk/internal/Report.h"
#include "bulk/internal/RowBlock.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

namespace {

void freeGroup(GroupStatement& g, bool handleLives) {
    if (handleLives && g.stmt != SQL_NULL_HSTMT) SQLFreeHandle(SQL_HANDLE_STMT, g.stmt);
    g.stmt = SQL_NULL_HSTMT;
    g.rows = 0;
    g.bound.clear();
}

} // namespace

void PreparedStatement2Odbc::forgetHandle() {
    stmt = SQL_NULL_HSTMT;
    if (inserts) {
        freeGroup(inserts->full, false);
        freeGroup(inserts->tail, false);
    }
}

void PreparedStatement2Odbc::releaseGroups() {
    if (!inserts) return;
    freeGroup(inserts->full, true);
    freeGroup(inserts->tail, true);
}

bool PreparedStatement2Odbc::insertsInGroups() {
    if (!inserts) {
        std::unique_ptr<InsertGroups> made(new InsertGroups);
        // The driver's count of markers must agree with ours, or the text is
        // not what it seemed.
        if (!parameters.empty() && parsePlainInsert(sql.c_str(), made->form) &&
            made->form.markers == parameters.size()) {
            const size_t fit = connection->markersPerStatement() / parameters.size();
            const size_t rows = std::min<size_t>(connection->insertRowsPerStatement(), fit);
            insertRows = rows > 1 ? rows : 0;
        }
        inserts = std::move(made);
    }
    return insertRows != 0;
}

// Sends `count` rows, the first of which is row `first` of the call, as one
// statement.
int PreparedStatement2Odbc::insertGroup(const RowInternal2* const* rows, size_t count, size_t first,
                                        DBError* error) {
    if (count == 1) {
        // A last group of one is the statement as prepared.
        if (execute(rows[0], error) == 0) return 0;
        reportRow(error, first);
        return -1;
    }
    // A spoilt row ends the group; the rows before it go in first, as they
    // would one at a time.
    for (size_t r = 0; r < count; ++r) {
        if (checkRow(rows[r], nullptr) == 0) continue;
        const int result = r ? insertGroup(rows, r, first, error) : 0;
        if (result != 0) return result;
        checkRow(rows[r], error);
        reportRow(error, first + r);
        return -1;
    }
    const size_t filled = fillParamColumns(rows, count, true);
    if (filled < count) {
        const int result = filled ? insertGroup(rows, filled, first, error) : 0;
        if (result != 0) return result;
        reportLibrary(error, "error converting date");
        close(error);
        reportRow(error, first + filled);
        return -1;
    }
    return runGroup(count, first, error);
}

// Prepares (when it must), binds (when the buffers moved) and executes the
// statement of `count` rows over the block's first `count` rows.
int PreparedStatement2Odbc::runGroup(size_t count, size_t first, DBError* error) {
    GroupStatement& g = count == insertRows ? inserts->full : inserts->tail;
    SQLRETURN rc = SQL_SUCCESS;
    if (g.stmt == SQL_NULL_HSTMT) {
        rc = SQLAllocHandle(SQL_HANDLE_STMT, connection->handle(), &g.stmt);
        if (rc != SQL_SUCCESS) {
            g.stmt = SQL_NULL_HSTMT;
            reportOdbc(error, SQL_HANDLE_DBC, connection->handle(), rc);
            reportRows(error, first, first + count - 1);
            return -1;
        }
        connection->limitStatement(g.stmt);
    }
    if (g.rows != count) {
        g.rows = 0;
        g.bound.clear();
        const std::string text = multiRowInsert(inserts->form, count);
        rc = SQLPrepare(g.stmt, (SQLCHAR*)text.c_str(), static_cast<SQLINTEGER>(text.size()));
        if (rc == SQL_SUCCESS) g.rows = count;
    }
    const ParamBlock& pb = *paramBlock;
    const size_t n = parameters.size();
    bool same = rc == SQL_SUCCESS && g.bound.size() == n;
    for (size_t i = 0; same && i < n; ++i)
        same = g.bound[i] == GroupStatement::Bound{pb.columns[i].data.data(), pb.columns[i].stride,
                                                   pb.columns[i].lengths.data()};
    if (rc == SQL_SUCCESS && !same) {
        g.bound.clear();
        for (size_t r = 0; rc == SQL_SUCCESS && r < count; ++r)
            for (size_t i = 0; rc == SQL_SUCCESS && i < n; ++i)
                rc = bindParamColumn(g.stmt, static_cast<SQLUSMALLINT>(r * n + i + 1), i, r);
        for (size_t i = 0; rc == SQL_SUCCESS && i < n; ++i)
            g.bound.push_back({pb.columns[i].data.data(), pb.columns[i].stride, pb.columns[i].lengths.data()});
    } else if (rc == SQL_SUCCESS && pb.sharedBinaryLengths) {
        // SQLite's driver takes a binary's length when it is bound, not at
        // each SQLExecute: binaries are bound again for every statement.
        for (size_t r = 0; rc == SQL_SUCCESS && r < count; ++r)
            for (size_t i = 0; rc == SQL_SUCCESS && i < n; ++i)
                if (bindsBinary(i)) rc = bindParamColumn(g.stmt, static_cast<SQLUSMALLINT>(r * n + i + 1), i, r);
        if (rc != SQL_SUCCESS) g.bound.clear();
    }
    if (rc == SQL_SUCCESS) {
        if (rowBlock) rowBlock->newResult(stmt);
        rc = SQLExecute(g.stmt);
    }
    if (rc == SQL_SUCCESS) {
        resultState = -1;
        return 0;
    }
    // With info counts as a failure, as for one row. A refused prepare or
    // bind leaves the statement to be made again at the next group.
    reportOdbc(error, SQL_HANDLE_STMT, g.stmt, rc);
    if (g.bound.empty()) g.rows = 0;
    reportRows(error, first, first + count - 1);
    return -1;
}

}}}} // namespace KORVEL::Orl::DB::ODBC
