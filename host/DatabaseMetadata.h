// The host's abstract catalog questions about one connection. 1 success, 3 failure.
// Column indexes are zero-based.
#pragma once
#include <string>
#include <vector>

namespace KORVEL { namespace Orl { namespace DB {

class Connection;
class Column;

class DatabaseMetadata {
public:
    explicit DatabaseMetadata(Connection& connection) : connection(connection) {}
    virtual ~DatabaseMetadata() = default;

    virtual int getSchemaNames(std::vector<std::string>& names) = 0;
    virtual int getTableNames(std::vector<std::string>& names) = 0;
    virtual int getTableNumColumns(const std::string& table, int& count) = 0;
    virtual int getTableColumnName(const std::string& table, int column, std::string& name) = 0;
    virtual int getTableColumnType(const std::string& table, int column, unsigned int& type) = 0;
    virtual int getTableColumnPrimaryKey(const std::string& table, int column, bool& primaryKey) = 0;
    virtual int getTableColumnInfo(const std::string& table, int column, std::string& name, unsigned int& type) = 0;
    virtual int getTableColumnInfo(const std::string& table, int column, const Column*& info) = 0;
    virtual int getLastErrors(std::string& out) = 0;
    virtual int getTableAllColumnInfo(const std::string& table, bool refresh) = 0;

protected:
    Connection& connection;
};

}}} // namespace KORVEL::Orl::DB
