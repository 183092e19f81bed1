// One ODBC environment handle (ODBC 3 behaviour), root of a classic connection's tree.
#pragma once
#include "odbc/OdbcImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class OdbcEnvImpl : public OdbcImpl, public OdbcEnv {
public:
    OdbcEnvImpl();
    ~OdbcEnvImpl() override;

    e_Status Initialize() override;
    e_Status Finalize() override;
    SQLHANDLE GetHandle(e_Handle which) override;
    SQLHANDLE GetHandle() override { return henv; }
    SQLSMALLINT GetHandleType() override { return SQL_HANDLE_ENV; }

    // A connection handle owned by this environment, or null with the reason
    // printed to standard output (its diagnostic stays readable here).
    OdbcDbc* CreateDbc() override;
    e_Status Commit() override;
    e_Status Rollback() override;

private:
    SQLHENV henv;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
