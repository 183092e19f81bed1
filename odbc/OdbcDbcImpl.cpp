#include "odbc/OdbcDbcImpl.h"

#include <sqlext.h>

#include <cstring>
#include <iostream>
#include <new>
#include <sstream>

#include "odbc/OdbcCatalogImpl.h"
#include "odbc/OdbcEnvImpl.h"
#include "odbc/OdbcStmtImpl.h"
#include "odbc/internal/Timeouts.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

OdbcDbcImpl::OdbcDbcImpl(OdbcEnvImpl* parentEnv)
    : OdbcImpl(parentEnv), hdbc(SQL_NULL_HDBC), henv(parentEnv->GetHandle(Handle_Env)), env(parentEnv),
      connected(false) {}

OdbcDbcImpl::~OdbcDbcImpl() {
    DeleteChildren();
    Finalize();
}

e_Status OdbcDbcImpl::Initialize() {
    // The allocation failure is recorded on the environment, not on a handle
    // that doesn't exist.
    e_Status status = GetStatus(env, SQLAllocHandle(SQL_HANDLE_DBC, henv, &hdbc));
    if (status != Status_Ok) return status;
    status = GetStatus(this, SQLSetConnectAttr(hdbc, SQL_ATTR_AUTOCOMMIT,
                                               reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), SQL_IS_UINTEGER));
    if (status != Status_Ok) return status;
    return GetStatus(this, SQLSetConnectAttr(hdbc, SQL_ATTR_TXN_ISOLATION,
                                             reinterpret_cast<SQLPOINTER>(SQL_TXN_READ_COMMITTED), SQL_IS_UINTEGER));
}

e_Status OdbcDbcImpl::Finalize() {
    Disconnect();
    if (hdbc != SQL_NULL_HDBC) {
        SQLFreeHandle(SQL_HANDLE_DBC, hdbc);
        hdbc = SQL_NULL_HDBC;
    }
    return Status_Ok;
}

SQLHANDLE OdbcDbcImpl::GetHandle(e_Handle which) {
    switch (which) {
    case Handle_Env:
        return henv;
    case Handle_Dbc:
        return hdbc;
    default:
        return SQL_NULL_HANDLE;
    }
}

e_Status OdbcDbcImpl::Connect(const std::string& dsn, const std::string& user, const std::string& password) {
    Disconnect();
    e_Status status = GetStatus(this, internal::connectWithin(hdbc, dsn, user, password, loginTimeout));
    if (status != Status_Ok) return status;
    connected = true;
    internal::boundSessionWhereDriverWont(hdbc, queryTimeout);

    char name[256];
    std::memset(name, 0, sizeof name);
    SQLSMALLINT length = 0;
    status = GetStatus(this, SQLGetInfo(hdbc, SQL_DBMS_NAME, name, sizeof name, &length));
    if (status != Status_Ok) return status;
    name[sizeof name - 1] = 0;  // a driver that fills all 256 bytes still leaves text
    SetDatabaseType(name);
    return Status_Ok;
}

e_Status OdbcDbcImpl::Disconnect() {
    if (!IsConnected()) return Status_Ok;
    Rollback();
    DeleteChildren();
    SQLDisconnect(hdbc);
    connected = false;
    return Status_Ok;
}

e_Status OdbcDbcImpl::SetIsolationLevel(unsigned int level) {
    return GetStatus(this, SQLSetConnectAttr(hdbc, SQL_ATTR_TXN_ISOLATION,
                                             reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(level)),
                                             SQL_IS_UINTEGER));
}

e_Status OdbcDbcImpl::Commit() { return GetStatus(this, SQLEndTran(SQL_HANDLE_DBC, hdbc, SQL_COMMIT)); }

e_Status OdbcDbcImpl::Rollback() { return GetStatus(this, SQLEndTran(SQL_HANDLE_DBC, hdbc, SQL_ROLLBACK)); }

void OdbcDbcImpl::SetDatabaseType(const std::string& name) {
    std::string upper(name);
    for (char& c : upper) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    // Order matters: a name with MICROSOFT in it never reaches the bare
    // "SQL SERVER" row, which deliberately maps to ADE. ZDBODBC is subsumed
    // by ZDB and kept as the table stands.
    static const struct {
        const char* search;
        const char* keyword;
    } kTable[] = {
        {"MICROSOFT", "MSSQL"}, {"SQL SERVER", "ADE"},      {"KORVEL WQ", "WQ"},
        {"DB2", "DB2"},         {"ORACLE", "ORACLE"},       {"POSTGRESQL", "POSTGRESQL"},
        {"MYSQL", "MYSQL"},     {"ZDBODBC", "ZANA"},        {"ZDB", "ZANA"},
    };
    for (const auto& row : kTable) {
        if (upper.find(row.search) != std::string::npos) {
            databaseType = row.keyword;
            return;
        }
    }
    databaseType = "OTHERS";
}

OdbcStmt* OdbcDbcImpl::CreateStmt() {
    OdbcStmtImpl* stmt = new (std::nothrow) OdbcStmtImpl(this);
    if (stmt == nullptr) return nullptr;
    if (stmt->Initialize() == Status_Ok) {
        internal::applyQueryTimeout(stmt->GetHandle(), queryTimeout);
        return stmt;
    }
    if (stmt->HasInfo()) {
        std::ostringstream stream;
        stmt->DumpInfo(stream);
        std::cout << "OdbcDbcImpl::CreateStmt()  Failed to initialize stmt." << stream.str() << std::endl;
    }
    delete stmt;
    return nullptr;
}

OdbcCatalog* OdbcDbcImpl::InitCatalog(OdbcCatalogImpl* catalog) {
    if (catalog == nullptr) return nullptr;
    if (catalog->Initialize() != Status_Ok) {
        // The prefix names CreateStmt for every scan; the text stands as it is.
        if (catalog->HasInfo()) {
            std::string state, message;
            long code = 0;
            catalog->GetInfo(state, code, message);
            std::cout << "OdbcDbcImpl::CreateStmt()  state: " << state << std::endl;
            std::cout << "OdbcDbcImpl::CreateStmt()  error: " << code << std::endl;
            std::cout << "OdbcDbcImpl::CreateStmt()  message: " << message << std::endl;
        }
        delete catalog;
        return nullptr;  // going on would call through the deleted scan
    }
    internal::applyQueryTimeout(catalog->GetHandle(), queryTimeout);
    if (catalog->Execute() == Status_Ok) return catalog;
    delete catalog;
    return nullptr;
}

OdbcCatalog* OdbcDbcImpl::ScanTables(char* catalog, char* schema, char* table, char* type) {
    return InitCatalog(new (std::nothrow) OdbcTableCatalogImpl(this, catalog, schema, table, type));
}

OdbcCatalog* OdbcDbcImpl::ScanTableColumns(char* catalog, char* schema, char* table, char* column) {
    return InitCatalog(new (std::nothrow) OdbcTableColumnCatalogImpl(this, catalog, schema, table, column));
}

OdbcCatalog* OdbcDbcImpl::ScanTablePrimaryKey(char* catalog, char* schema, char* table, char* unused) {
    return InitCatalog(new (std::nothrow) OdbcTablePrimaryKeyCatalogImpl(this, catalog, schema, table, unused));
}

OdbcCatalog* OdbcDbcImpl::ScanProcedures(char* catalog, char* schema, char* procedure) {
    return InitCatalog(new (std::nothrow) OdbcProcedureCatalogImpl(this, catalog, schema, procedure));
}

OdbcCatalog* OdbcDbcImpl::ScanProcedureColumns(char* catalog, char* schema, char* procedure, char* column) {
    return InitCatalog(new (std::nothrow) OdbcProcedureColumnCatalogImpl(this, catalog, schema, procedure, column));
}

}}}} // namespace KORVEL::Orl::DB::ODBC
