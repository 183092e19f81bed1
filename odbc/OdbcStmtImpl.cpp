#include "odbc/OdbcStmtImpl.h"

#include <sqlext.h>

#include <new>

#include "odbc/OdbcParamArrayImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

OdbcStmtImpl::OdbcStmtImpl(OdbcDbcImpl* parentDbc)
    : OdbcQueryImpl(parentDbc), prepared(false), batch(false), batchSize(0), paramStatus(nullptr),
      paramStatusRows(0) {}

OdbcStmtImpl::~OdbcStmtImpl() {
    // The cells are children; ~OdbcQueryImpl deletes them and frees the handle.
    delete[] paramStatus;
    paramStatus = nullptr;
}

e_Status OdbcStmtImpl::SetSql(const std::string& text, bool batchFlag) {
    Unprepare();
    sql.assign(text.c_str());
    return Prepare(batchFlag);
}

e_Status OdbcStmtImpl::Parse() {
    Unprepare();
    return Prepare(false);
}

e_Status OdbcStmtImpl::Prepare(bool batchFlag) {
    if (prepared) return Status_Ok;
    e_Status status =
        GetStatus(this, SQLPrepare(hstmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.c_str())), SQL_NTS));
    if (status != Status_Ok) return status;
    status = CreateParams(batchFlag);
    if (status != Status_Ok) return status;
    prepared = true;
    batch = batchFlag;
    batchSize = 0;
    return Status_Ok;
}

void OdbcStmtImpl::ReleaseParamStatus() {
    if (paramStatus == nullptr) return;
    // The driver keeps the addresses; point it away from the freed array and
    // back to single rows, or the next single execution would run as a batch.
    SQLSetStmtAttr(hstmt, SQL_ATTR_PARAM_STATUS_PTR, nullptr, SQL_IS_POINTER);
    SQLSetStmtAttr(hstmt, SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(1), 0);
    delete[] paramStatus;
    paramStatus = nullptr;
    paramStatusRows = 0;
}

e_Status OdbcStmtImpl::Unprepare() {
    prepared = false;
    batch = false;
    batchSize = 0;
    ReleaseParamStatus();
    e_Status status = Close();
    DeleteColumns();
    DeleteParams();
    return status;
}

e_Status OdbcStmtImpl::CreateParams(bool batchFlag) {
    SQLSMALLINT count = 0;
    e_Status status = GetStatus(this, SQLNumParams(hstmt, &count));
    if (status != Status_Ok) return status;
    if (count < 0) count = 0;
    params.assign(static_cast<size_t>(count) + 1, nullptr);
    for (short n = 1; n <= count; ++n) {
        OdbcParamImpl* cell = batchFlag ? new (std::nothrow) OdbcParamArrayImpl(this, n)
                                        : new (std::nothrow) OdbcParamImpl(this, n);
        if (cell == nullptr) {
            DeleteParams();
            return GetStatus(-1);
        }
        params[n] = cell;
        e_Status cellStatus = cell->Initialize();
        if (cellStatus != Status_Ok) {
            DeleteParams();
            return cellStatus;
        }
    }
    return status;
}

e_Status OdbcStmtImpl::DeleteParams() {
    SQLFreeStmt(hstmt, SQL_RESET_PARAMS);
    for (size_t n = 1; n < params.size(); ++n) {
        delete params[n];
        params[n] = nullptr;
    }
    params.clear();
    return Status_Ok;
}

e_Status OdbcStmtImpl::Bind() {
    if (params.size() < 2) return Status_Ok;
    if (batch) {
        // Both attribute failures are hidden on purpose: SQLExecute then runs
        // with what the statement has.
        if (GetStatus(this, SQLSetStmtAttr(hstmt, SQL_ATTR_PARAM_BIND_TYPE,
                                           reinterpret_cast<SQLPOINTER>(SQL_PARAM_BIND_BY_COLUMN), 0)) != Status_Ok)
            return GetStatus(0);
        if (GetStatus(this, SQLSetStmtAttr(hstmt, SQL_ATTR_PARAMSET_SIZE,
                                           reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(batchSize)), 0)) !=
            Status_Ok)
            return GetStatus(0);
        if (batchSize > 0) {
            SQLUSMALLINT* fresh = new (std::nothrow) SQLUSMALLINT[static_cast<size_t>(batchSize)];
            if (fresh == nullptr) return GetStatus(-1);
            // Marked unwritten; Execute settles what the driver leaves so.
            for (int row = 0; row < batchSize; ++row) fresh[row] = kStatusUnwritten;
            delete[] paramStatus;
            paramStatus = fresh;
            paramStatusRows = batchSize;
        }
        e_Status status = GetStatus(this, SQLSetStmtAttr(hstmt, SQL_ATTR_PARAM_STATUS_PTR, paramStatus, SQL_IS_POINTER));
        if (status != Status_Ok) {
            delete[] paramStatus;
            paramStatus = nullptr;
            paramStatusRows = 0;
            return status;
        }
    }
    for (size_t n = 1; n < params.size(); ++n) {
        if (params[n] == nullptr) continue;
        e_Status status = params[n]->Bind();
        if (status != Status_Ok) return status;
    }
    return Status_Ok;
}

e_Status OdbcStmtImpl::Unbind() {
    for (size_t n = 1; n < params.size(); ++n)
        if (params[n] != nullptr) params[n]->Unbind();
    return Status_Ok;
}

e_Status OdbcStmtImpl::Execute() {
    e_Status status = Prepare(false);
    if (status != Status_Ok) return status;
    status = Bind();
    if (status != Status_Ok) return status;
    SQLRETURN rc = SQLExecute(hstmt);
    SettleUnwrittenStatuses(rc);
    return GetStatus(this, rc);
}

// Some drivers (SQLite's) never write the parameter status array. A batch whose
// execution came back clean stored every row such a driver left unreported;
// after anything less than that, an unreported row can't be vouched for.
void OdbcStmtImpl::SettleUnwrittenStatuses(SQLRETURN rc) {
    if (!batch || paramStatus == nullptr) return;
    for (int row = 0; row < paramStatusRows; ++row)
        if (paramStatus[row] == kStatusUnwritten) paramStatus[row] = rc == SQL_SUCCESS ? SQL_PARAM_SUCCESS : SQL_PARAM_UNUSED;
}

e_Status OdbcStmtImpl::Close() { return GetStatus(this, SQLFreeStmt(hstmt, SQL_CLOSE)); }

e_Status OdbcStmtImpl::RowCount(long& rows) {
    SQLLEN n = 0;
    e_Status status = GetStatus(this, SQLRowCount(hstmt, &n));
    // As if the driver wrote the caller's variable: untouched on a failure.
    if (status == Status_Ok) rows = static_cast<long>(n);
    return status;
}

OdbcParam* OdbcStmtImpl::GetParam(int number) {
    if (number < 1 || static_cast<size_t>(number) >= params.size()) return nullptr;
    return params[number];
}

e_Status OdbcStmtImpl::IncrementBatchSize() {
    if (batch) ++batchSize;
    return Status_Ok;
}

e_Status OdbcStmtImpl::GetBatchSize(int& size) {
    if (batch) size = batchSize;
    return Status_Ok;
}

e_Status OdbcStmtImpl::GetBatchParamStatus(int row, int& status) {
    if (batch && paramStatus != nullptr && row >= 0 && row < batchSize &&
        row < paramStatusRows) {
        SQLUSMALLINT entry = paramStatus[row];
        status = (entry == SQL_PARAM_SUCCESS || entry == SQL_PARAM_SUCCESS_WITH_INFO) ? 0 : -1;
    }
    return Status_Ok;
}

}}}} // namespace KORVEL::Orl::DB::ODBC
