#include "driver/OdbcConnection.h"

#include "driver/OdbcError.h"
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
} // namespace

OdbcConnection::OdbcConnection(const std::string& dsn, const std::string& databaseType, const std::string& user,
                               const std::string& password, bool writeBigIntAsChar)
    : Connection("", "", user, password, ""), dsn(dsn), databaseType(databaseType),
      writeBigIntAsChar(writeBigIntAsChar), env(ODBC::Odbc::CreateEnv()), dbc(nullptr), statement(nullptr),
      metadata(nullptr) {}

OdbcConnection::~OdbcConnection() {
    // The host ends its statements first; the tree below the environment
    // (connection handles, statements, scans, cells) goes with it.
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

// Statements, batches, catalog questions and table creation come with the
// statement layer; until then they fail without touching the connection.
int OdbcConnection::executeQuery(const std::string&, std::vector<Parameter>&, int, ResultSet*&) { return kFailed; }
int OdbcConnection::executeUpdate(const std::string&, std::vector<Parameter>&, int&) { return kFailed; }
int OdbcConnection::nextResultSet(bool&) { return kFailed; }
int OdbcConnection::getResultSet(ResultSet*&) { return kFailed; }
int OdbcConnection::createBatch(const std::string&) { return kFailed; }
int OdbcConnection::addToBatch(std::vector<Parameter>&) { return kFailed; }
int OdbcConnection::clearBatch() { return kOk; }
int OdbcConnection::executeBatch(std::vector<int>&) { return kFailed; }
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
