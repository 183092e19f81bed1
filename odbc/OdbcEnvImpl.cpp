#include "odbc/OdbcEnvImpl.h"

#include <sqlext.h>

#include <new>

#include "odbc/OdbcDbcImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

OdbcEnvImpl::OdbcEnvImpl() : OdbcImpl(nullptr), henv(SQL_NULL_HENV) {}

OdbcEnvImpl::~OdbcEnvImpl() {
    DeleteChildren();
    Finalize();
}

e_Status OdbcEnvImpl::Initialize() {
    // No handle exists yet to hold a diagnostic, so the allocation has no source.
    e_Status status = GetStatus(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &henv));
    if (status != Status_Ok) return status;
    return GetStatus(this, SQLSetEnvAttr(henv, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3),
                                         SQL_IS_UINTEGER));
}

e_Status OdbcEnvImpl::Finalize() {
    if (henv != SQL_NULL_HENV) {
        SQLFreeHandle(SQL_HANDLE_ENV, henv);
        henv = SQL_NULL_HENV;
    }
    return Status_Ok;
}

SQLHANDLE OdbcEnvImpl::GetHandle(e_Handle which) { return which == Handle_Env ? henv : SQL_NULL_HANDLE; }

OdbcDbc* OdbcEnvImpl::CreateDbc() {
    OdbcDbcImpl* dbc = new (std::nothrow) OdbcDbcImpl(this);
    if (dbc != nullptr && dbc->Initialize() == Status_Ok) return dbc;
    PrintFactoryFailure(dbc, "OdbcEnvImpl::CreateDbc()  Failed to initialize dbc");
    delete dbc;
    return nullptr;
}

e_Status OdbcEnvImpl::Commit() { return GetStatus(this, SQLEndTran(SQL_HANDLE_ENV, henv, SQL_COMMIT)); }

e_Status OdbcEnvImpl::Rollback() { return GetStatus(this, SQLEndTran(SQL_HANDLE_ENV, henv, SQL_ROLLBACK)); }

}}}} // namespace KORVEL::Orl::DB::ODBC
