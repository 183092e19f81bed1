#include "odbc/OdbcQueryImpl.h"

#include <sqlext.h>

#include <cstring>
#include <new>

#include "odbc/OdbcColImpl.h"
#include "odbc/OdbcDbcImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

OdbcQueryImpl::OdbcQueryImpl(OdbcDbcImpl* parentDbc)
    : OdbcImpl(parentDbc), hstmt(SQL_NULL_HSTMT), hdbc(parentDbc->GetHandle(Handle_Dbc)),
      henv(parentDbc->GetHandle(Handle_Env)), dbc(parentDbc) {}

OdbcQueryImpl::~OdbcQueryImpl() {
    // The columns are children: deleted here, and the vector isn't followed.
    DeleteChildren();
    OdbcQueryImpl::Finalize();
}

e_Status OdbcQueryImpl::Initialize() { return GetStatus(dbc, SQLAllocHandle(SQL_HANDLE_STMT, hdbc, &hstmt)); }

e_Status OdbcQueryImpl::Finalize() {
    if (hstmt != SQL_NULL_HSTMT) {
        SQLFreeHandle(SQL_HANDLE_STMT, hstmt);
        hstmt = SQL_NULL_HSTMT;
    }
    return Status_Ok;
}

SQLHANDLE OdbcQueryImpl::GetHandle(e_Handle which) {
    switch (which) {
    case Handle_Env:
        return henv;
    case Handle_Dbc:
        return hdbc;
    case Handle_Stmt:
        return hstmt;
    }
    return SQL_NULL_HANDLE;
}

e_Status OdbcQueryImpl::MaxRows(int rows) {
    return GetStatus(this, SQLSetStmtAttr(hstmt, SQL_ATTR_MAX_ROWS,
                                          reinterpret_cast<SQLPOINTER>(static_cast<SQLLEN>(rows)), SQL_IS_UINTEGER));
}

e_Status OdbcQueryImpl::CreateColumns() {
    // A result without columns leaves its one null slot, which counts too.
    if (!columns.empty()) return Status_Ok;
    SQLSMALLINT count = 0;
    e_Status status = GetStatus(this, SQLNumResultCols(hstmt, &count));
    if (status != Status_Ok) return status;
    if (count < 0) count = 0;
    columns.assign(static_cast<size_t>(count) + 1, nullptr);
    for (short n = 1; n <= count; ++n) {
        OdbcColImpl* column = new (std::nothrow) OdbcColImpl(this, n);
        if (column == nullptr) {
            DeleteColumns();
            return GetStatus(-1);
        }
        columns[n] = column;
        status = column->Initialize();
        if (status != Status_Ok) {
            DeleteColumns();
            return status;
        }
    }
    return Status_Ok;
}

e_Status OdbcQueryImpl::DeleteColumns() {
    SQLFreeStmt(hstmt, SQL_UNBIND);
    for (size_t n = 1; n < columns.size(); ++n) {
        delete columns[n];
        columns[n] = nullptr;
    }
    columns.clear();
    return Status_Ok;
}

e_Status OdbcQueryImpl::Fetch() {
    e_Status status = CreateColumns();
    if (status != Status_Ok) return status;
    status = GetStatus(this, SQLFetch(hstmt));
    if (status != Status_Ok) return status;
    return FetchData();
}

e_Status OdbcQueryImpl::FetchData() {
    // The status of the last column read is the result, so a Status_NoData
    // from the last column reads as the end of the rows; kept as it is.
    e_Status status = Status_Ok;
    for (size_t n = 1; n < columns.size(); ++n) {
        if (columns[n] == nullptr) continue;
        status = columns[n]->GetData();
        if (status == Status_Error) break;
    }
    return status;
}

e_Status OdbcQueryImpl::MoreResults() {
    DeleteColumns();
    return GetStatus(this, SQLMoreResults(hstmt));
}

e_Status OdbcQueryImpl::GetColumnCount(int& count) {
    SQLSMALLINT n = 0;
    e_Status status = GetStatus(this, SQLNumResultCols(hstmt, &n));
    if (status == Status_Ok) count = n;
    return status;
}

e_Status OdbcQueryImpl::GetColumnType(int column, int& type) {
    SQLLEN value = 0;
    e_Status status = GetStatus(
        this, SQLColAttribute(hstmt, static_cast<SQLUSMALLINT>(column), SQL_DESC_TYPE, nullptr, 0, nullptr, &value));
    if (status == Status_Ok) type = static_cast<int>(value);
    return status;
}

e_Status OdbcQueryImpl::GetColumnName(int column, std::string& name) {
    char buffer[256];
    std::memset(buffer, 0, sizeof buffer);
    SQLSMALLINT length = 0;
    e_Status status = GetStatus(
        this, SQLColAttribute(hstmt, static_cast<SQLUSMALLINT>(column), SQL_DESC_NAME, buffer, 255, &length, nullptr));
    if (status == Status_Ok) name = buffer;
    return status;
}

OdbcCol* OdbcQueryImpl::GetColumn(int column) {
    if (column < 1 || static_cast<size_t>(column) >= columns.size()) return nullptr;
    return columns[column];
}

}}}} // namespace KORVEL::Orl::DB::ODBC
