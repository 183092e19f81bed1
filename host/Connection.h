// The host's abstract classic connection. Status values of the classic
// interface: 1 success, 3 failure.
#pragma once
#include <string>
#include <vector>

#include "host/Parameter.h"

namespace KORVEL { namespace Orl { namespace DB {

class Driver;
class ResultSet;
class Column;

class Connection {
public:
    Connection(const std::string& name, const std::string& url, const std::string& user,
               const std::string& password, const std::string& options);
    virtual ~Connection();

    virtual int open() = 0;
    virtual int close() = 0;
    virtual int commit() = 0;
    virtual int rollback() = 0;
    virtual int executeQuery(const std::string& sql, std::vector<Parameter>& parameters, int limit,
                             ResultSet*& resultSet) = 0;
    virtual int executeUpdate(const std::string& sql, std::vector<Parameter>& parameters, int& rowCount) = 0;
    virtual int nextResultSet(bool& more) = 0;
    virtual int getResultSet(ResultSet*& resultSet) = 0;
    virtual int createBatch(const std::string& sql) = 0;
    virtual int addToBatch(std::vector<Parameter>& parameters) = 0;
    virtual int clearBatch() = 0;
    virtual int executeBatch(std::vector<int>& counts) = 0;
    virtual int getSchemaNames(std::vector<std::string>& names) = 0;
    virtual int getTableNames(std::vector<std::string>& names) = 0;
    virtual int getTableNumColumns(const std::string& table, int& count) = 0;
    virtual int getTableColumnPrimaryKey(const std::string& table, int column, bool& primaryKey) = 0;
    virtual int getTableColumnInfo(const std::string& table, int column, std::string& name, unsigned int& type) = 0;
    virtual int getTableColumnInfo(const std::string& table, int column, const Column*& info) = 0;
    virtual int createTable(const std::string& table, const std::vector<std::string>& names,
                            const std::vector<unsigned int>& types, const std::vector<bool>& primaryKeys,
                            bool rowTable, bool dropExisting) = 0;
    virtual int getTableNames(const std::string& schema, std::vector<std::string>& names) = 0;
    virtual int getTableNumColumns(const std::string& schema, const std::string& table, int& count) = 0;
    virtual int getTableColumnPrimaryKey(const std::string& schema, const std::string& table, int column,
                                         bool& primaryKey) = 0;
    virtual int getTableColumnInfo(const std::string& schema, const std::string& table, int column,
                                   std::string& name, unsigned int& type) = 0;
    virtual int getTableColumnInfo(const std::string& schema, const std::string& table, int column,
                                   const Column*& info) = 0;
    virtual int createTable(const std::string& schema, const std::string& table,
                            const std::vector<std::string>& names, const std::vector<unsigned int>& types,
                            const std::vector<bool>& primaryKeys, bool rowTable, bool dropExisting) = 0;
    // Properties the host's own code knows; an unknown key gives "".
    virtual std::string getDriverProperty(const std::string& key);
    // Moves the accumulated error text to `out`, leaving none behind. Always 1.
    virtual int getLastErrors(std::string& out);
    // The native connection handle, or null while there is none.
    virtual void* getHandle() = 0;

    // What the driver found the database able to do; the host picks SQL
    // dialect features by them. Bit 0..2 are capabilityFlag1..3.
    unsigned int getCapabilities() const {
        return (capabilityFlag1 ? 1u : 0u) | (capabilityFlag2 ? 2u : 0u) | (capabilityFlag3 ? 4u : 0u);
    }
    const std::string& getName() const { return name; }

    Driver* driver = nullptr;
    std::string user;
    std::string password;
    std::string lastErrors;
    bool batchOpen = false;
    int batchParameterCount = -1;
    bool capabilityFlag1 = false;  // transactions and statements may be pipelined
    bool capabilityFlag2 = false;  // column-store tables can be created
    bool capabilityFlag3 = false;  // bulk loads may skip per-row logging

protected:
    std::string name;
    std::string url;
    std::string options;
};

}}} // namespace KORVEL::Orl::DB
