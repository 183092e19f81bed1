#include "driver/OdbcConnection.h"

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

// Catalog questions and table creation come with the metadata layer; until
// then they fail without touching the connection.
int OdbcConnection::getSchemaNames(std::vector<std::string>&) { return kFailed; }
int OdbcConnection::getTableNames(std::vector<std::string>&) { return kFailed; }
int OdbcConnection::getTableNumColumns(const std::string&, int&) { return kFailed; }
int OdbcConnection::getTableColumnPrimaryKey(const std::string&, int, bool&) { return kFailed; }
int OdbcConnection::getTableColumnInfo(const std::string&, int, std::string&, unsigned int&) { return kFailed; }
int OdbcConnection::getTableColumnInfo(const std::string&, int, const Column*&) { return kFailed; }
int OdbcConnection::createTable(const std::string&, const std::vector<std::string>&,
                                const std::vector<unsigned int>&, const std::vector<bool>&, bool, bool) {
    return kFailed;
}
int OdbcConnection::getTableNames(const std::string&, std::vector<std::string>&) { return kFailed; }
int OdbcConnection::getTableNumColumns(const std::string&, const std::string&, int&) { return kFailed; }
int OdbcConnection::getTableColumnPrimaryKey(const std::string&, const std::string&, int, bool&) { return kFailed; }
int OdbcConnection::getTableColumnInfo(const std::string&, const std::string&, int, std::string&, unsigned int&) {
    return kFailed;
}
int OdbcConnection::getTableColumnInfo(const std::string&, const std::string&, int, const Column*&) {
    return kFailed;
}
int OdbcConnection::createTable(const std::string&, const std::string&, const std::vector<std::string>&,
                                const std::vector<unsigned int>&, const std::vector<bool>&, bool, bool) {
    return kFailed;
}

}}} // namespace KORVEL::Orl::DB
