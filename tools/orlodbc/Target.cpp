#include "tools/orlodbc/Target.h"

#include <ostream>
#include <unistd.h>
#include <vector>

#include "datatypes/TypeEnum.h"
#include "host/ResultSet.h"
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

bool tableExists(ClassicLink& target, const Dialect& d, const TableName& table) {
    // The catalog is asked where the tool knows it, so that a missing table is no error in the log.
    std::string sql;
    std::vector<std::string> args;
    switch (d.kind) {
    case DbKind::PostgreSQL:
        sql = "SELECT 1 WHERE to_regclass(CAST(? AS TEXT)) IS NOT NULL";
        args.push_back(quoteTable(d, table));
        break;
    case DbKind::MariaDB:
        sql = "SELECT 1 FROM information_schema.tables WHERE table_schema = " +
              std::string(table.schema.empty() ? "DATABASE()" : "?") + " AND table_name = ?";
        if (!table.schema.empty()) args.push_back(table.schema);
        args.push_back(table.table);
        break;
    case DbKind::SQLite:
        sql = "SELECT 1 FROM " + (table.schema.empty() ? std::string() : quoteName(d, table.schema) + ".") +
              "sqlite_master WHERE type = 'table' AND name = ?";
        args.push_back(table.table);
        break;
    case DbKind::Other: sql = "SELECT 1 FROM " + quoteTable(d, table) + " WHERE 1 = 0"; break;
    }
    std::vector<Parameter> params = textParameters(args);
    ResultSet* rs = nullptr;
    bool found = target.get()->executeQuery(sql, params, 0, rs) == 1 && rs != nullptr;
    if (found && d.kind != DbKind::Other) {
        bool row = false;
        found = rs->next(row) == 1 && row;
    }
    // PostgreSQL refuses the rest of a transaction after a failed statement.
    target.get()->rollback();
    return found;
}

TableName freshName(const TableName& table, long id) {
    TableName t;
    t.schema = table.schema;
    t.table = "orl_new_" + std::to_string(id);
    return t;
}

std::vector<std::string> swapSql(const Dialect& d, const TableName& fresh, const TableName& table, long id) {
    const std::string name = quoteName(d, table.table);
    switch (d.kind) {
    case DbKind::MariaDB: {
        TableName old = table;
        old.table = "orl_old_" + std::to_string(id);
        // Both renames happen at once: no session sees the name missing.
        return {"RENAME TABLE " + quoteTable(d, table) + " TO " + quoteTable(d, old) + ", " + quoteTable(d, fresh) +
                    " TO " + quoteTable(d, table),
                "DROP TABLE " + quoteTable(d, old)};
    }
    case DbKind::PostgreSQL: {
        std::vector<std::string> sql = {"DROP TABLE " + quoteTable(d, table),
                                        "ALTER TABLE " + quoteTable(d, fresh) + " RENAME TO " + name};
        // The key's index keeps the fresh table's name unless told; the name it would have had fits 63 bytes.
        if (table.table.size() + 5 <= 63) {
            TableName index = fresh;
            index.table = fresh.table + "_pkey";
            sql.push_back("ALTER INDEX IF EXISTS " + quoteTable(d, index) + " RENAME TO " +
                          quoteName(d, table.table + "_pkey"));
        }
        return sql;
    }
    default:
        return {"DROP TABLE " + quoteTable(d, table), "ALTER TABLE " + quoteTable(d, fresh) + " RENAME TO " + name};
    }
}

int swapIn(ClassicLink& target, const Dialect& d, const TableName& fresh, const TableName& table, long id,
           std::ostream& err) {
    Connection* c = target.get();
    std::vector<Parameter> none;
    int count = 0;
    const std::vector<std::string> sql = swapSql(d, fresh, table, id);
    for (size_t i = 0; i < sql.size(); ++i) {
        if (c->executeUpdate(sql[i], none, count) == 1) continue;
        std::string why;
        target.failed(why);
        c->rollback();
        if (d.kind == DbKind::MariaDB && i > 0) {
            err << "orlodbc: target: " << shownName(table) << " holds the new rows, but the old table, renamed to "
                << "orl_old_" << id << ", could not be dropped: " << why << std::endl;
            return 2;
        }
        err << "orlodbc: target: cannot put the new rows in place of " << shownName(table) << ": " << why << std::endl;
        return 1;
    }
    if (c->commit() != 1) {
        std::string why;
        target.failed(why);
        err << "orlodbc: target: cannot put the new rows in place of " << shownName(table) << ": " << why << std::endl;
        return 1;
    }
    return 0;
}

bool dropFresh(ClassicLink& target, const Dialect& d, const TableName& fresh) {
    Connection* c = target.get();
    c->rollback();
    std::vector<Parameter> none;
    int count = 0;
    return c->executeUpdate("DROP TABLE " + quoteTable(d, fresh), none, count) == 1 && c->commit() == 1;
}

Replacement::Replacement(DriverHost& host, const DataService& service, const Dialect& d, const TableName& table,
                         std::ostream& err)
    : host_(host), service_(service), d_(d), table_(table), id_(static_cast<long>(getpid())), err_(err) {
    fresh_ = freshName(table, id_);
}

bool Replacement::prepare(bool wanted, std::string& why) {
    if (!wanted) return true;
    ClassicLink target(host_);
    if (!target.open(service_, why)) return false;
    active_ = tableExists(target, d_, table_);
    return true;
}

int Replacement::finish() {
    if (!made_) return 0;
    ClassicLink target(host_);
    std::string why;
    if (!target.open(service_, why)) {
        err_ << "orlodbc: target: " << why << std::endl;
        return 1;
    }
    const int swapped = swapIn(target, d_, fresh_, table_, id_, err_);
    // 2: the new rows are in place, only the old table's drop failed.
    if (swapped != 1) made_ = false;
    return swapped == 0 ? 0 : 1;
}

Replacement::~Replacement() {
    if (!made_) return;
    err_ << "orlodbc: " << shownName(table_) << " is as it was: the rows went into a fresh table" << std::endl;
    ClassicLink target(host_);
    std::string why;
    if (!target.open(service_, why) || !dropFresh(target, d_, fresh_))
        err_ << "orlodbc: target: the fresh table " << shownName(fresh_) << " is left behind" << std::endl;
}

} // namespace orlodbc
