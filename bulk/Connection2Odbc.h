// A bulk connection: raw ODBC handles, autocommit off, read committed. It owns
// the statements it prepared; disconnect destroys them, so pointers the host
// still holds to them are dead afterwards.
#pragma once
#include <sql.h>

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "host/Connection2.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class Env2Odbc;
class PreparedStatement2Odbc;

// Orders pointers by their value.
template <typename T>
struct compare_ptr {
    bool operator()(const T* a, const T* b) const { return std::less<const T*>()(a, b); }
};

class Connection2Odbc final : public Connection2 {
public:
    // Ends by forcing the process zone to UTC (see the source).
    Connection2Odbc(Env2Odbc* environment, const char* dataSource, const char* user);
    Connection2Odbc(const Connection2Odbc&) = delete;
    Connection2Odbc& operator=(const Connection2Odbc&) = delete;
    // Not virtual: only Env2Odbc::releaseConnection2 destroys a connection.
    ~Connection2Odbc();

    // Allocates the handle and sets autocommit off and read committed; a no-op
    // once the handle exists. 0 or -1.
    int initialize(DBError* error);
    void setConnectionProperty(const char* key, const char* value);
    void clearProperties();

    // "generic odbc v2.0.0".
    const char* getImplementationName() override;
    const char* getService() override;
    // Only SQL_SUCCESS connects; SQL_SUCCESS_WITH_INFO is a failure.
    int connect(DBError* error) override;
    // force: roll back, disconnect, ignore every failure, always 0.
    int disconnect(bool force, DBError* error) override;
    // Not supported: "not implemented".
    PreparedStatement* createPreparedStatement(const char* sql, const RecordType* record, bool flag,
                                               DBError* error) override;
    // `count` result columns of the given type words (0: as the driver describes them).
    PreparedStatement* createPreparedStatement(const char* sql, int count, const unsigned int* types, bool flag,
                                               DBError* error) override;
    PreparedStatement* createPreparedStatement(const char* sql, DBError* error) override;
    int releaseStatement(PreparedStatement* statement, DBError* error) override;
    int commit(DBError* error) override;
    int rollback(DBError* error) override;

    SQLHDBC handle() const { return dbc; }
    // Rows per block of the statements prepared from now on, as "FetchArraySize"
    // and "ParamArraySize" said at the last connect; 1 (or less) means one row
    // per SQLFetch and per SQLExecute, as without the properties.
    unsigned long fetchArraySize() const { return fetchRows; }
    unsigned long paramArraySize() const { return paramRows; }
    // Rows per statement of a plain INSERT's multi-row execute, as
    // "InsertRowsPerStatement" said at the last connect; 1 means off.
    unsigned long insertRowsPerStatement() const { return insertRows; }
    // Parameter markers one statement may carry on this database; asked of
    // the driver at the first call after a connect.
    size_t markersPerStatement();
    // Bounds a statement handle of this connection by "QueryTimeout" as it
    // stood at the last connect; without the property the handle is left alone.
    void limitStatement(SQLHSTMT statement) const;
    bool isConnected() const { return connected; }
    void setService(const std::string& name) { service = name; }

private:
    int endTransaction(SQLSMALLINT completion, DBError* error);
    PreparedStatement* prepare(const char* sql, int count, const unsigned int* types, DBError* error);
    void destroyStatements(bool handlesFreed, DBError* error);

    SQLHDBC dbc = SQL_NULL_HDBC;
    std::string service;
    Env2Odbc* environment;  // not owned
    std::string dataSource;
    std::string user;
    bool connected = false;
    std::map<std::string, std::string> properties;
    std::set<PreparedStatement2Odbc*, compare_ptr<PreparedStatement2Odbc> > statements;  // owned
    unsigned long fetchRows = 1;
    unsigned long paramRows = 1;
    unsigned long insertRows = 1;
    unsigned long queryTimeout = 0;  // seconds; 0: none
    size_t markerLimit = 0;  // 0: not asked yet
};

}}}} // namespace KORVEL::Orl::DB::ODBC
