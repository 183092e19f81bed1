// One ODBC connection handle. Every classic connection starts with autocommit
// off and read-committed isolation, both set before SQLConnect.
#pragma once
#include <string>

#include "odbc/OdbcImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class OdbcEnvImpl;
class OdbcCatalogImpl;

class OdbcDbcImpl : public OdbcImpl, public OdbcDbc {
public:
    explicit OdbcDbcImpl(OdbcEnvImpl* parentEnv);
    ~OdbcDbcImpl() override;

    e_Status Initialize() override;
    e_Status Finalize() override;
    SQLHANDLE GetHandle(e_Handle which) override;
    SQLHANDLE GetHandle() override { return hdbc; }
    SQLSMALLINT GetHandleType() override { return SQL_HANDLE_DBC; }

    std::string GetDatabaseType() override { return databaseType; }
    OdbcStmt* CreateStmt() override;
    // Takes down a live session first. A failure at SQLGetInfo leaves the
    // session up with an empty keyword.
    e_Status Connect(const std::string& dsn, const std::string& user, const std::string& password) override;
    // Always Status_Ok: rolls back, deletes all statements and scans, closes.
    e_Status Disconnect() override;
    bool IsConnected() override { return connected; }
    e_Status SetIsolationLevel(unsigned int level) override;
    e_Status Commit() override;
    e_Status Rollback() override;
    OdbcCatalog* ScanTables(char* catalog, char* schema, char* table, char* type) override;
    OdbcCatalog* ScanTableColumns(char* catalog, char* schema, char* table, char* column) override;
    OdbcCatalog* ScanTablePrimaryKey(char* catalog, char* schema, char* table, char* unused) override;
    OdbcCatalog* ScanProcedures(char* catalog, char* schema, char* procedure) override;
    OdbcCatalog* ScanProcedureColumns(char* catalog, char* schema, char* procedure, char* column) override;

    void IsConnected(bool value) { connected = value; }
    // Seconds for SQL_ATTR_LOGIN_TIMEOUT at the next Connect and for
    // SQL_ATTR_QUERY_TIMEOUT on every statement and scan made from now on;
    // 0 (the default) asks the driver for neither.
    void SetTimeouts(unsigned long loginSeconds, unsigned long querySeconds) {
        loginTimeout = loginSeconds;
        queryTimeout = querySeconds;
    }
    // Maps a DBMS name to the database keyword by the first matching search text.
    void SetDatabaseType(const std::string& name);
    OdbcCatalog* InitCatalog(OdbcCatalogImpl* catalog);

private:
    SQLHDBC hdbc;
    SQLHENV henv;
    OdbcEnvImpl* env;  // the parent; source of diagnostics while there is no hdbc
    bool connected;
    std::string databaseType;
    unsigned long loginTimeout = 0;
    unsigned long queryTimeout = 0;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
