#include "tools/orlodbc/CatalogLister.h"

#include <ostream>
#include <vector>

#include "datatypes/DataTypes.h"
#include "host/Column.h"

using KORVEL::Orl::DB::Column;
using KORVEL::Orl::DB::Connection;

namespace orlodbc {

bool listTables(Connection& connection, const std::string& schema, std::ostream& out) {
    std::vector<std::string> names;
    if (connection.getTableNames(schema, names) != 1) return false;
    for (const std::string& name : names) out << name << "\n";
    return true;
}

bool listColumns(Connection& connection, const std::string& schema, const std::string& table, std::ostream& out) {
    int count = 0;
    if (connection.getTableNumColumns(schema, table, count) != 1) return false;
    for (int i = 0; i < count; ++i) {
        const Column* column = nullptr;
        if (connection.getTableColumnInfo(schema, table, i, column) != 1 || column == nullptr) return false;
        out << column->name << "\t" << DataTypes::typeToString(column->type) << "\t" << column->type
            << (column->primaryKey ? "\tkey" : "") << (column->nullable ? "\tnull" : "") << "\n";
    }
    return true;
}

} // namespace orlodbc
