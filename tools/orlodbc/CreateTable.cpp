#include "tools/orlodbc/CreateTable.h"

#include "datatypes/DataTypes.h"

using namespace DataTypes;

namespace orlodbc {

namespace {

std::string decimalName(unsigned int t) {
    const unsigned int precision = (t & kPrecisionMask) >> kPrecisionShift;
    const unsigned int scale = (t & kScaleMask) >> kScaleShift;
    return "DECIMAL(" + std::to_string(precision) + "," + std::to_string(scale) + ")";
}

std::string moneyName(unsigned int t) {
    const unsigned int code = t & kTypeMask;
    if (code >= MONEY_1 && code <= MONEY_15) return "DECIMAL(19, " + std::to_string(code - MONEY_1 + 1) + ")";
    if (code == MONEY) return "DECIMAL(19, 4)";
    return "error";
}

// The driver dialect's type names: what its own table creation would write.
std::string driverTypeName(unsigned int t) {
    switch (t & kTypeMask) {
    case INTEGER: return "INTEGER";
    case LONG:
    case INTERVAL: return "BIGINT";
    case FLOAT: return "REAL";
    case DATE:
    case TIMESTAMP:
    case BIGDATETIME: return "TIMESTAMP";
    case STRING: return "NVARCHAR(5000)";
    case BOOLEAN: return "TINYINT";
    case BINARY: return "VARBINARY(5000)";
    case TIME: return "TIME";
    case FIXEDDECIMAL: return decimalName(t);
    default: return moneyName(t);
    }
}

std::string ownTypeName(bool pg, unsigned int t) {
    switch (t & kTypeMask) {
    case INT16: return "SMALLINT";
    case INTEGER: return "INTEGER";
    case LONG:
    case INTERVAL: return "BIGINT";
    case FLOAT: return pg ? "DOUBLE PRECISION" : "DOUBLE";
    case DATE: return "DATE";
    case STRING: return pg ? "TEXT" : "LONGTEXT";
    case TIMESTAMP: return pg ? "TIMESTAMP(3)" : "DATETIME(3)";
    case BIGDATETIME: return pg ? "TIMESTAMP(6)" : "DATETIME(6)";
    // A small integer, as the driver's own dialect has it: PostgreSQL's
    // driver would read a BOOLEAN back as text.
    case BOOLEAN: return pg ? "SMALLINT" : "TINYINT";
    case BINARY: return pg ? "BYTEA" : "LONGBLOB";
    case TIME: return "TIME";
    case FIXEDDECIMAL:
        return ((t & kPrecisionMask) >> kPrecisionShift) == 0 ? "DECIMAL(38,10)" : decimalName(t);
    default: return moneyName(t);  // "error": refused by the database, as the driver's dialect does
    }
}

} // namespace

std::string createTableSql(const Dialect& d, const TableName& table, const std::vector<std::string>& names,
                           const std::vector<unsigned int>& types) {
    const bool own = d.kind == DbKind::PostgreSQL || d.kind == DbKind::MariaDB;
    std::string sql = "CREATE TABLE " + quoteTable(d, table) + " (";
    for (size_t j = 0; j < names.size(); ++j) {
        const std::string type = own ? ownTypeName(d.kind == DbKind::PostgreSQL, types[j]) : driverTypeName(types[j]);
        sql += (j ? ", " : "") + quoteName(d, names[j]) + " " + type;
    }
    return sql + ")";
}

std::string createTableSql(const Dialect& d, const TableName& table, const std::vector<SourceColumn>& columns,
                           const std::vector<std::string>& typeNames) {
    std::string sql = "CREATE TABLE " + quoteTable(d, table) + " (", key;
    for (size_t j = 0; j < columns.size(); ++j) {
        sql += (j ? ", " : "") + quoteName(d, columns[j].name) + " " + typeNames[j];
        if (columns[j].notNull || columns[j].key) sql += " NOT NULL";
        if (columns[j].key) key += (key.empty() ? "" : ", ") + quoteName(d, columns[j].name);
    }
    if (!key.empty()) sql += ", PRIMARY KEY (" + key + ")";
    return sql + ")";
}

bool driverCreates(const Dialect& d, const TableName& table, const std::vector<std::string>& names) {
    if (d.kind != DbKind::Other || d.quote != "\"") return false;
    if (!plainName(table.table) || (!table.schema.empty() && !plainName(table.schema))) return false;
    for (const std::string& n : names)
        if (!plainName(n)) return false;
    return true;
}

} // namespace orlodbc
