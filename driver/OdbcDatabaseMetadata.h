// The catalog questions of one classic connection, answered from ODBC catalog
// scans and kept: one scan per table fills a cache that the per-column
// questions (zero-based indexes) then read. Statuses: 1 success, 3 failure.
// An empty schema stands for "no schema given" and is a key of its own.
#pragma once
#include <map>
#include <string>
#include <vector>

#include "driver/OdbcColumn.h"
#include "host/DatabaseMetadata.h"

namespace KORVEL { namespace Orl { namespace DB {

namespace ODBC {
class OdbcDbc;
class OdbcCatalog;
}

class OdbcDatabaseMetadata : public DatabaseMetadata {
public:
    // `connection` must be an OdbcConnection; it outlives this object.
    explicit OdbcDatabaseMetadata(Connection& connection);
    ~OdbcDatabaseMetadata() override;

    // Sorted distinct schema names. Filled once; an empty answer is asked again next time.
    int getSchemaNames(std::vector<std::string>& names) override;
    int getTableNames(std::vector<std::string>& names) override;
    int getTableNumColumns(const std::string& table, int& count) override;
    int getTableColumnName(const std::string& table, int column, std::string& name) override;
    int getTableColumnType(const std::string& table, int column, unsigned int& type) override;
    // The index is not checked: the caller's must be good.
    int getTableColumnPrimaryKey(const std::string& table, int column, bool& primaryKey) override;
    int getTableColumnInfo(const std::string& table, int column, std::string& name, unsigned int& type) override;
    // The pointer stays valid until the next column scan in the same schema.
    int getTableColumnInfo(const std::string& table, int column, const Column*& info) override;
    // Moves the gathered error text to `out`; always 1.
    int getLastErrors(std::string& out) override;
    // Scans the table's columns unless cached (or refresh); then its primary key.
    int getTableAllColumnInfo(const std::string& table, bool refresh) override;

    // Tables and views of `schema` in scan order; cached per schema for good.
    int getTableNames(const std::string& schema, std::vector<std::string>& names);
    int getTableNumColumns(const std::string& schema, const std::string& table, int& count);
    int getTableColumnName(const std::string& schema, const std::string& table, int column, std::string& name);
    int getTableColumnType(const std::string& schema, const std::string& table, int column, unsigned int& type);
    int getTableColumnPrimaryKey(const std::string& schema, const std::string& table, int column, bool& primaryKey);
    int getTableColumnInfo(const std::string& schema, const std::string& table, int column, std::string& name,
                           unsigned int& type);
    int getTableColumnInfo(const std::string& schema, const std::string& table, int column, const Column*& info);
    int getTableAllColumnInfo(const std::string& schema, const std::string& table, bool refresh);
    // Marks the cached columns of the table's primary key; 3 only when the scan can't be made.
    int updatePrimaryKeyInfo(const std::string& schema, const std::string& table);

    // Whether a catalog row of schema `rowSchema` belongs to a listing asked
    // for `wanted`, on a database of keyword `keyword`. On DB2 only the system
    // schemas are left out, whatever was asked for; elsewhere an empty
    // `wanted` takes all, else the names must match byte for byte.
    static bool acceptsSchema(const std::string& keyword, const std::string& wanted, const std::string& rowSchema);

private:
    ODBC::OdbcDbc* dbc();
    // Logs `id` (behind `table`, when given) with the diagnostic of `source`
    // and, when `keep`, appends it to lastErrors.
    void report(const char* id, const std::string* table, ODBC::OdbcDbc* dbc, ODBC::OdbcCatalog* source, bool keep);
    // The cached columns, or null when the table is not in the cache.
    std::vector<OdbcColumn>* cached(const std::string& schema, const std::string& table);
    OdbcColumn* cachedColumn(const std::string& schema, const std::string& table, int column);

    std::vector<std::string> schemaNames;
    std::map<std::string, std::vector<std::string>> tableNames;
    std::map<std::string, std::map<std::string, std::vector<OdbcColumn>>> columns;
    std::string lastErrors;
};

}}} // namespace KORVEL::Orl::DB
