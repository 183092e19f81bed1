// The classic connection: owns its own ODBC environment, opens one connection
// handle under it, and turns the object layer's statuses into the host's
// (1 success, 3 failure), logging each failure under a fixed message id and
// appending its text to lastErrors.
#pragma once
#include <string>
#include <vector>

#include "host/Connection.h"
#include "odbc/Odbc.h"

namespace KORVEL { namespace Orl { namespace DB {

class OdbcStatement;
class OdbcDatabaseMetadata;

class OdbcConnection : public Connection {
public:
    // Makes the ODBC environment (left null if that fails); reaches no database.
    OdbcConnection(const std::string& dsn, const std::string& databaseType, const std::string& user,
                   const std::string& password, bool writeBigIntAsChar);
    // Deletes the statement and the metadata, then the environment and so the
    // whole ODBC tree below it.
    ~OdbcConnection() override;

    int open() override;
    // Always 1; rolls back what is open and deletes the connection's ODBC statements.
    int close() override;
    int commit() override;
    int rollback() override;
    int executeQuery(const std::string& sql, std::vector<Parameter>& parameters, int limit,
                     ResultSet*& resultSet) override;
    int executeUpdate(const std::string& sql, std::vector<Parameter>& parameters, int& rowCount) override;
    int nextResultSet(bool& more) override;
    int getResultSet(ResultSet*& resultSet) override;
    int createBatch(const std::string& sql) override;
    int addToBatch(std::vector<Parameter>& parameters) override;
    int clearBatch() override;
    int executeBatch(std::vector<int>& counts) override;
    int getSchemaNames(std::vector<std::string>& names) override;
    int getTableNames(std::vector<std::string>& names) override;
    int getTableNumColumns(const std::string& table, int& count) override;
    int getTableColumnPrimaryKey(const std::string& table, int column, bool& primaryKey) override;
    int getTableColumnInfo(const std::string& table, int column, std::string& name, unsigned int& type) override;
    int getTableColumnInfo(const std::string& table, int column, const Column*& info) override;
    int createTable(const std::string& table, const std::vector<std::string>& names,
                    const std::vector<unsigned int>& types, const std::vector<bool>& primaryKeys, bool rowTable,
                    bool dropExisting) override;
    int getTableNames(const std::string& schema, std::vector<std::string>& names) override;
    int getTableNumColumns(const std::string& schema, const std::string& table, int& count) override;
    int getTableColumnPrimaryKey(const std::string& schema, const std::string& table, int column,
                                 bool& primaryKey) override;
    int getTableColumnInfo(const std::string& schema, const std::string& table, int column, std::string& name,
                           unsigned int& type) override;
    int getTableColumnInfo(const std::string& schema, const std::string& table, int column,
                           const Column*& info) override;
    int createTable(const std::string& schema, const std::string& table, const std::vector<std::string>& names,
                    const std::vector<unsigned int>& types, const std::vector<bool>& primaryKeys, bool rowTable,
                    bool dropExisting) override;
    // The database keyword for PROPERTY_KEY_DATABASE_TYPE: the configured type
    // when there is one, else what the database reported (needs open()).
    std::string getDriverProperty(const std::string& key) override;
    // The SQLHDBC, or null before open().
    void* getHandle() override;

    // Prepares `sql` in a new statement that replaces `statement` (an old one
    // is closed once the new one is prepared). 3 with a log line when it can't
    // be made or prepared; before open() there is nothing to make it on.
    int createStatement(const std::string& sql, bool batch);
    // Closes and deletes the statement, if any; always 1.
    int closeStatement();

    // The CREATE statement for the columns in vector order (the three vectors
    // of equal length): "CREATE TABLE" for a row table, else "CREATE COLUMN
    // TABLE"; names are quoted as they stand. Always 1.
    int getCreateTableSql(const std::string& schema, const std::string& table, const std::vector<std::string>& names,
                          const std::vector<unsigned int>& types, const std::vector<bool>& primaryKeys,
                          bool rowTable, std::string& sql);

    // Seconds of "LoginTimeout" and "QueryTimeout" (0: none), taken at the
    // next open(); a connection made without them asks the driver for neither.
    void setTimeouts(unsigned long loginSeconds, unsigned long querySeconds) {
        loginTimeout = loginSeconds;
        queryTimeout = querySeconds;
    }

    bool getWriteBigIntAsChar() const { return writeBigIntAsChar; }
    ODBC::OdbcDbc* getDbc() const { return dbc; }

private:
    // Logs `id` with the source's diagnostic and appends it to lastErrors.
    void report(const char* id, ODBC::Odbc* source);
    int endTransaction(bool commitWork);
    // closeStatement, then createStatement: one statement alive at a time.
    int replaceStatement(const std::string& sql, bool batch);
    // Runs `question` on the metadata object, made on first use; a failure
    // moves the metadata's error text into lastErrors.
    template <typename F>
    int askMetadata(F&& question);

    std::string dsn;
    std::string databaseType;
    bool writeBigIntAsChar;
    ODBC::OdbcEnv* env;
    ODBC::OdbcDbc* dbc;
    OdbcStatement* statement;
    OdbcDatabaseMetadata* metadata;
    unsigned long loginTimeout = 0;
    unsigned long queryTimeout = 0;
};

}}} // namespace KORVEL::Orl::DB
