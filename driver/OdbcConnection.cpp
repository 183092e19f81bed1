#include "driver/OdbcConnection.h"

#include "driver/OdbcColumn.h"
#include "driver/OdbcDatabaseMetadata.h"
#include "driver/OdbcError.h"
#include "driver/OdbcStatement.h"
#include "host/Driver.h"
#include "host/LogServiceImpl.h"
#include "odbc/OdbcDbcImpl.h"

namespace KORVEL { namespace Orl { namespace DB {

namespace {
constexpr int kOk = 1;
constexpr int kFailed = 3;

const char* const kErrOpen = "801000-3_ERROR_OPENING_DB_CONNECTION";
const char* const kErrClose = "801001-4_ERROR_CLOSING_DB_CONNECTION";
const char* const kErrCommit = "801002-3_ERROR_COMMITTING_TRANSACTION";
const char* const kErrRollback = "801003-3_ERROR_ROLLING_BACK_TRANSACTION";
const char* const kErrCreateStatement = "801004-3_ERROR_CREATING_STATEMENT";
// Only memory can run out below here (strings of the log and error text, the
// statement and result objects); that fails the call, as the host expects.
template <typename F>
int guarded(F&& call) {
    try {
        return call();
    } catch (...) {
        return kFailed;
    }
}
} // namespace

OdbcConnection::OdbcConnection(const std::string& dsn, const std::string& databaseType, const std::string& user,
                               const std::string& password, bool writeBigIntAsChar)
    : Connection("", "", user, password, ""), dsn(dsn), databaseType(databaseType),
      writeBigIntAsChar(writeBigIntAsChar), env(ODBC::Odbc::CreateEnv()), dbc(nullptr), statement(nullptr),
      metadata(nullptr) {}

OdbcConnection::~OdbcConnection() {
    // The statement first, while the ODBC statement it closes is still in the
    // tree (close() has already detached it if a disconnect deleted it); then
    // the environment, which takes the whole tree below it.
    delete statement;
    statement = nullptr;
    // The metadata holds no ODBC object between calls, but it reaches the tree
    // through this connection: it goes before the environment does.
    delete metadata;
    metadata = nullptr;
    delete env;
}

void OdbcConnection::report(const char* id, ODBC::Odbc* source) {
    std::string text = getOdbcError(source);
    LogServiceImpl::log(id, text.c_str());
    // The trailing NUL goes into lastErrors with the text: the host sees it there.
    lastErrors += "\n";
    lastErrors += text;
}

int OdbcConnection::open() {
    if (env == nullptr) {
        LogServiceImpl::log(kErrOpen, "");
        return kFailed;
    }
    dbc = env->CreateDbc();
    if (dbc == nullptr) {
        report(kErrOpen, env);
        return kFailed;
    }
    if (ODBC::OdbcDbcImpl* impl = dynamic_cast<ODBC::OdbcDbcImpl*>(dbc)) impl->SetTimeouts(loginTimeout, queryTimeout);
    if (dbc->Connect(dsn, user, password) != ODBC::Status_Ok) {
        // The failed handle stays in the tree until the environment goes.
        report(kErrOpen, dbc);
        return kFailed;
    }
    // The reported keyword decides, not the configured one; flags are only set.
    std::string keyword = dbc->GetDatabaseType();
    if (keyword == "ZANA") {
        capabilityFlag1 = capabilityFlag2 = capabilityFlag3 = true;
    } else if (keyword == "WQ" || keyword == "ADE") {
        capabilityFlag1 = true;
    }
    return kOk;
}

int OdbcConnection::close() {
    if (dbc == nullptr) return kOk;
    // The disconnect deletes every ODBC statement of the connection: the
    // statement object stays for the host, but must not reach its handle again.
    if (statement != nullptr) statement->detachStmt();
    if (dbc->Disconnect() != ODBC::Status_Ok) report(kErrClose, dbc);
    return kOk;
}

int OdbcConnection::endTransaction(bool commitWork) {
    const char* id = commitWork ? kErrCommit : kErrRollback;
    if (dbc == nullptr) {
        LogServiceImpl::log(id, "");
        return kFailed;
    }
    if ((commitWork ? dbc->Commit() : dbc->Rollback()) == ODBC::Status_Ok) return kOk;
    report(id, dbc);
    return kFailed;
}

int OdbcConnection::commit() { return endTransaction(true); }

int OdbcConnection::rollback() { return endTransaction(false); }

std::string OdbcConnection::getDriverProperty(const std::string& key) {
    if (key == Driver::PROPERTY_KEY_DATABASE_TYPE) {
        if (!databaseType.empty()) return databaseType;
        // Unopened and unconfigured: there is no keyword to give.
        return dbc ? dbc->GetDatabaseType() : std::string();
    }
    return Connection::getDriverProperty(key);
}

void* OdbcConnection::getHandle() {
    if (dbc == nullptr) return nullptr;
    ODBC::OdbcDbcImpl* impl = dynamic_cast<ODBC::OdbcDbcImpl*>(dbc);
    return impl ? impl->GetHandle() : nullptr;
}

// ---- Statements and batches --------------------------------------------------

int OdbcConnection::createStatement(const std::string& sql, bool batch) {
    ODBC::OdbcStmt* stmt = dbc ? dbc->CreateStmt() : nullptr;
    if (stmt == nullptr) {
        // This path leaves lastErrors as it was, unlike all the others.
        std::string text = dbc ? getOdbcError(dbc) : std::string();
        LogServiceImpl::log(kErrCreateStatement, sql.c_str(), text.c_str());
        return kFailed;
    }
    if (stmt->SetSql(sql, batch) == ODBC::Status_Ok) {
        // Callers clear the old statement first; one left behind would only leak.
        closeStatement();
        try {
            statement = new OdbcStatement(*this, stmt, sql);
        } catch (...) {
            delete stmt;  // out of memory: the handle goes back at once
            return kFailed;
        }
        return kOk;
    }
    std::string text = getOdbcError(stmt);
    LogServiceImpl::log(kErrCreateStatement, sql.c_str(), text.c_str());
    delete stmt;
    lastErrors += "\n";
    lastErrors += text;
    return kFailed;
}

int OdbcConnection::closeStatement() {
    if (statement == nullptr) return kOk;
    statement->close();
    delete statement;
    statement = nullptr;
    return kOk;
}

int OdbcConnection::replaceStatement(const std::string& sql, bool batch) {
    if (statement != nullptr && closeStatement() != kOk) return kFailed;
    return createStatement(sql, batch);
}

int OdbcConnection::executeQuery(const std::string& sql, std::vector<Parameter>& parameters, int limit,
                                 ResultSet*& resultSet) {
    return guarded([&] {
        if (replaceStatement(sql, false) != kOk) return kFailed;
        return statement->executeQuery(parameters, limit, resultSet);
    });
}

int OdbcConnection::executeUpdate(const std::string& sql, std::vector<Parameter>& parameters, int& rowCount) {
    return guarded([&] {
        if (replaceStatement(sql, false) != kOk) return kFailed;
        return statement->executeUpdate(parameters, rowCount);
    });
}

int OdbcConnection::nextResultSet(bool& more) {
    return statement ? guarded([&] { return statement->nextResultSet(more); }) : kFailed;
}

int OdbcConnection::getResultSet(ResultSet*& resultSet) {
    // A new result set object: the one allocation that can fail here.
    return statement ? guarded([&] { return statement->getResultSet(resultSet); }) : kFailed;
}

int OdbcConnection::createBatch(const std::string& sql) {
    if (batchOpen) return kFailed;
    if (guarded([&] { return replaceStatement(sql, true); }) != kOk) return kFailed;
    batchOpen = true;
    batchParameterCount = -1;
    return kOk;
}

int OdbcConnection::addToBatch(std::vector<Parameter>& parameters) {
    if (!batchOpen || statement == nullptr) return kFailed;
    int count = static_cast<int>(parameters.size());
    if (batchParameterCount == -1)
        batchParameterCount = count;
    else if (batchParameterCount > count)
        return kFailed;  // a longer row than the first passes; only a shorter one is refused
    return guarded([&] { return statement->addToBatch(parameters); });
}

int OdbcConnection::clearBatch() {
    if (!batchOpen) return kOk;
    if (statement != nullptr) statement->clearBatch();
    batchOpen = false;
    batchParameterCount = -1;
    return kOk;
}

int OdbcConnection::executeBatch(std::vector<int>& counts) {
    if (statement == nullptr) return kFailed;
    int status = guarded([&] { return statement->executeBatch(counts); });
    batchOpen = false;
    batchParameterCount = -1;
    return status;  // the statement stays alive
}

// ---- Catalog questions and table creation -----------------------------------

template <typename F>
int OdbcConnection::askMetadata(F&& question) {
    return guarded([&] {
        if (metadata == nullptr) metadata = new OdbcDatabaseMetadata(*this);
        int status = question(*metadata);
        // The metadata's text replaces what the connection had gathered.
        if (status != kOk) metadata->getLastErrors(lastErrors);
        return status;
    });
}

int OdbcConnection::getSchemaNames(std::vector<std::string>& names) {
    return askMetadata([&](OdbcDatabaseMetadata& m) { return m.getSchemaNames(names); });
}

int OdbcConnection::getTableNames(std::vector<std::string>& names) {
    return askMetadata([&](OdbcDatabaseMetadata& m) { return m.getTableNames(names); });
}

int OdbcConnection::getTableNumColumns(const std::string& table, int& count) {
    return askMetadata([&](OdbcDatabaseMetadata& m) { return m.getTableNumColumns(table, count); });
}

int OdbcConnection::getTableColumnPrimaryKey(const std::string& table, int column, bool& primaryKey) {
    return askMetadata([&](OdbcDatabaseMetadata& m) { return m.getTableColumnPrimaryKey(table, column, primaryKey); });
}

int OdbcConnection::getTableColumnInfo(const std::string& table, int column, std::string& name, unsigned int& type) {
    return askMetadata([&](OdbcDatabaseMetadata& m) { return m.getTableColumnInfo(table, column, name, type); });
}

int OdbcConnection::getTableColumnInfo(const std::string& table, int column, const Column*& info) {
    return askMetadata([&](OdbcDatabaseMetadata& m) { return m.getTableColumnInfo(table, column, info); });
}

int OdbcConnection::getTableNames(const std::string& schema, std::vector<std::string>& names) {
    return askMetadata([&](OdbcDatabaseMetadata& m) { return m.getTableNames(schema, names); });
}

int OdbcConnection::getTableNumColumns(const std::string& schema, const std::string& table, int& count) {
    return askMetadata([&](OdbcDatabaseMetadata& m) { return m.getTableNumColumns(schema, table, count); });
}

int OdbcConnection::getTableColumnPrimaryKey(const std::string& schema, const std::string& table, int column,
                                             bool& primaryKey) {
    return askMetadata(
        [&](OdbcDatabaseMetadata& m) { return m.getTableColumnPrimaryKey(schema, table, column, primaryKey); });
}

int OdbcConnection::getTableColumnInfo(const std::string& schema, const std::string& table, int column,
                                       std::string& name, unsigned int& type) {
    return askMetadata([&](OdbcDatabaseMetadata& m) { return m.getTableColumnInfo(schema, table, column, name, type); });
}

int OdbcConnection::getTableColumnInfo(const std::string& schema, const std::string& table, int column,
                                       const Column*& info) {
    return askMetadata([&](OdbcDatabaseMetadata& m) { return m.getTableColumnInfo(schema, table, column, info); });
}

int OdbcConnection::getCreateTableSql(const std::string& schema, const std::string& table,
                                      const std::vector<std::string>& names, const std::vector<unsigned int>& types,
                                      const std::vector<bool>& primaryKeys, bool rowTable, std::string& sql) {
    return guarded([&] {
        OdbcColumn namer;  // only for its type names
        std::string text = rowTable ? "CREATE TABLE \"" : "CREATE COLUMN TABLE \"";
        if (!schema.empty()) text += schema + "\".\"";
        text += table + "\" (";
        // Callers give vectors of one length; a short one counts as an unknown
        // type or a non-key column rather than a read past its end.
        for (size_t i = 0; i < names.size(); ++i) {
            unsigned int type = i < types.size() ? types[i] : 6u;
            bool key = i < primaryKeys.size() && primaryKeys[i];
            text += "\"" + names[i] + "\" " + namer.getSqlTypeString(type, key);
            if (i + 1 < names.size()) text += ", ";
        }
        bool anyKey = false;
        for (size_t i = 0; i < primaryKeys.size() && i < names.size(); ++i) {
            if (!primaryKeys[i]) continue;
            text += anyKey ? ", \"" : ", PRIMARY KEY (\"";
            text += names[i] + "\"";
            anyKey = true;
        }
        if (anyKey) text += ")";
        text += ")";
        sql = text;
        return kOk;
    });
}

int OdbcConnection::createTable(const std::string& table, const std::vector<std::string>& names,
                                const std::vector<unsigned int>& types, const std::vector<bool>& primaryKeys,
                                bool rowTable, bool dropExisting) {
    return createTable("", table, names, types, primaryKeys, rowTable, dropExisting);
}

int OdbcConnection::createTable(const std::string& schema, const std::string& table,
                                const std::vector<std::string>& names, const std::vector<unsigned int>& types,
                                const std::vector<bool>& primaryKeys, bool rowTable, bool dropExisting) {
    std::vector<Parameter> none;
    int rows = 0;
    if (dropExisting) {
        int status = guarded([&] {
            if (metadata == nullptr) metadata = new OdbcDatabaseMetadata(*this);
            std::vector<std::string> tables;
            // The list may come from the cache, so a table made since is not seen.
            int listed = schema.empty() ? metadata->getTableNames(tables) : metadata->getTableNames(schema, tables);
            if (listed != kOk) {
                metadata->getLastErrors(lastErrors);
                return listed;
            }
            bool found = false;
            for (const std::string& t : tables) found = found || t == table;
            if (!found) return kOk;
            // Sized to the names: no fixed buffer to overrun.
            std::string drop = schema.empty() ? "drop table \"" + table + "\""
                                              : "drop table \"" + schema + "\".\"" + table + "\"";
            return executeUpdate(drop, none, rows);
        });
        if (status != kOk) return status;
    }
    std::string sql;
    if (getCreateTableSql(schema, table, names, types, primaryKeys, rowTable, sql) != kOk) return kFailed;
    return executeUpdate(sql, none, rows);
}

}}} // namespace KORVEL::Orl::DB
