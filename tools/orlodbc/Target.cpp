#include "tools/orlodbc/Target.h"

#include <ostream>
#include <vector>

#include "tools/orlodbc/CreateTable.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace orlodbc {

int createTarget(ClassicLink& target, const Dialect& d, const TableName& table, const Shape& shape,
                 bool dropExisting, std::ostream& err, const std::string& sql) {
    Connection* c = target.get();
    std::vector<Parameter> none;
    int count = 0;
    bool ok;
    if (sql.empty() && driverCreates(d, table, shape.names)) {
        const std::vector<bool> keys(shape.names.size(), false);
        ok = (table.schema.empty()
                  ? c->createTable(table.table, shape.names, shape.types, keys, true, dropExisting)
                  : c->createTable(table.schema, table.table, shape.names, shape.types, keys, true, dropExisting)) == 1;
    } else {
        ok = (!dropExisting || c->executeUpdate("DROP TABLE IF EXISTS " + quoteTable(d, table), none, count) == 1) &&
             c->executeUpdate(sql.empty() ? createTableSql(d, table, shape.names, shape.types) : sql, none, count) == 1;
    }
    if (!ok || c->commit() != 1) {
        std::string why;
        target.failed(why);
        err << "orlodbc: target: cannot create " << shownName(table) << ": " << why << std::endl;
        return 1;
    }
    return 0;
}

} // namespace orlodbc
