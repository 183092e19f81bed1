#include "tools/orlodbc/CopyPlan.h"

#include <memory>
#include <ostream>

#include <sql.h>
#include <sqlext.h>

#include "datatypes/DataTypes.h"
#include "datatypes/TypeEnum.h"
#include "host/Parameter.h"
#include "host/ResultSet.h"
#include "host/Row.h"
#include "tools/orlodbc/CreateTable.h"
#include "tools/orlodbc/QueryColumns.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace orlodbc {

namespace {

// Runs a catalog query whose columns are all texts, with text parameters.
bool readTexts(Connection& c, const std::string& sql, const std::vector<std::string>& args, int n,
               std::vector<std::vector<std::string> >& rows) {
    return eachTextRow(c, sql, args, n, [&rows](const std::vector<const char*>& cells) {
        std::vector<std::string> row;
        for (const char* cell : cells) row.push_back(cell ? cell : "");
        rows.push_back(row);
    });
}

// How a message names a query column's type: as the source's driver calls
// it, with the width and sign the plan took from its description.
std::string describedName(const QueryColumn& about, unsigned int word, const ColumnType& t) {
    if (about.typeName.empty()) return DataTypes::typeToString(word);
    const std::string n = std::to_string(t.size);
    switch (t.kind) {
    case Kind::Decimal:
        if (t.size == 0) return about.typeName;
        if (about.sqlType == SQL_BIGINT) return about.typeName + " unsigned";
        return about.typeName + "(" + n + "," + std::to_string(t.scale) + ")";
    case Kind::Int64:
    case Kind::Int32:
    case Kind::Int16: return about.typeName + (about.unsignedInt ? " unsigned" : "");
    case Kind::Char:
    case Kind::Varchar:
    case Kind::Binary:
    case Kind::Varbinary: return about.typeName + "(" + n + ")";
    default: return about.typeName;
    }
}

} // namespace

bool describeTable(ClassicLink& link, const Dialect& d, const TableName& table, std::vector<SourceColumn>& columns,
                   std::string& why) {
    std::string sql;
    std::vector<std::string> args;
    switch (d.kind) {
    case DbKind::PostgreSQL:
        // The table's name goes in as data, quoted so that its case is kept.
        sql = "SELECT a.attname, format_type(a.atttypid, a.atttypmod), CASE WHEN a.attnotnull THEN '1' ELSE '0' END, "
              "CASE WHEN EXISTS (SELECT 1 FROM pg_index i WHERE i.indrelid = a.attrelid AND i.indisprimary "
              "AND a.attnum = ANY(i.indkey)) THEN '1' ELSE '0' END FROM pg_attribute a "
              "WHERE a.attrelid = CAST(CAST(? AS TEXT) AS regclass) AND a.attnum > 0 AND NOT a.attisdropped "
              "ORDER BY a.attnum";
        args.push_back(quoteTable(d, table));
        break;
    case DbKind::MariaDB:
        sql = "SELECT column_name, column_type, CASE WHEN is_nullable = 'NO' THEN '1' ELSE '0' END, "
              "CASE WHEN column_key = 'PRI' THEN '1' ELSE '0' END FROM information_schema.columns WHERE table_schema = " +
              std::string(table.schema.empty() ? "DATABASE()" : "?") + " AND table_name = ? ORDER BY ordinal_position";
        if (!table.schema.empty()) args.push_back(table.schema);
        args.push_back(table.table);
        break;
    case DbKind::SQLite:
        sql = "SELECT name, type, CAST(\"notnull\" AS TEXT), CAST(pk > 0 AS TEXT) FROM pragma_table_info(?" +
              std::string(table.schema.empty() ? "" : ", ?") + ")";
        args.push_back(table.table);
        if (!table.schema.empty()) args.push_back(table.schema);
        break;
    case DbKind::Other:
        why = "the tool reads the catalogs of PostgreSQL, MariaDB and SQLite only";
        return false;
    }
    std::vector<std::vector<std::string> > rows;
    if (!readTexts(*link.get(), sql, args, 4, rows)) return link.failed(why);
    link.get()->rollback();
    for (const std::vector<std::string>& r : rows) {
        SourceColumn c;
        c.name = r[0];
        c.type = parseDeclared(d.kind, r[1]);
        c.notNull = r[2] == "1";
        c.key = r[3] == "1";
        columns.push_back(c);
    }
    if (columns.empty()) why = "the catalog has no columns of " + shownName(table);
    return !columns.empty();
}

int planCopy(DriverHost& host, const DataService& fromService, const DataService& toService, BulkLink& probe,
             const CopyPlanInput& in, CopyPlan& plan, std::ostream& err) {
    const Shape& shape = *in.shape;
    const size_t n = shape.names.size();
    std::string why;

    // The source as its catalog has it, or as the driver reads a query.
    std::vector<SourceColumn> src;
    bool described = false;
    if (in.fromTable != nullptr && in.from->kind != DbKind::Other) {
        ClassicLink link(host);
        if (!link.open(fromService, why) || !describeTable(link, *in.from, *in.fromTable, src, why)) {
            err << "orlodbc: source: cannot describe " << shownName(*in.fromTable) << ": " << why << std::endl;
            return 1;
        }
        described = src.size() == n;
        for (size_t j = 0; described && j < n; ++j) described = src[j].name == shape.names[j];
    }
    if (!described) {
        // A query is known by what the source's ODBC driver describes of its columns.
        std::vector<QueryColumn> about;
        if (in.fromTable == nullptr) {
            ClassicLink link(host);
            if (link.open(fromService, why)) {
                about = describeQueryColumns(link.get()->getHandle(), in.query);
                link.get()->rollback();
            }
        }
        if (about.size() != n) about.assign(n, QueryColumn());
        src.assign(n, SourceColumn());
        for (size_t j = 0; j < n; ++j) {
            src[j].name = shape.names[j];
            src[j].type = fromDescription(in.from->kind, shape.types[j], about[j]);
            src[j].type.declared = describedName(about[j], shape.types[j], src[j].type);
        }
    }
    const std::string from = in.fromTable ? std::string() : "orl_source";

    // The target's columns: the ones the copy makes, or the catalog's.
    std::vector<ColumnType> dst(n);
    std::vector<std::string> typeNames(n);
    const bool own = in.create && (described || in.fromTable == nullptr) && in.to->kind != DbKind::Other;
    if (own) {
        for (size_t j = 0; j < n; ++j) {
            const TargetType t = targetType(in.to->kind, src[j].type);
            typeNames[j] = t.sql;
            dst[j] = parseDeclared(in.to->kind, t.sql);
            if (!t.note.empty())
                err << "orlodbc: column " << shownName(src[j].name) << ": " << src[j].type.declared << " becomes "
                    << t.sql << " (" << t.note << ")" << std::endl;
        }
        plan.createSql = createTableSql(*in.to, in.createAs ? *in.createAs : *in.toTable, src, typeNames);
    } else if (in.create) {
        for (size_t j = 0; j < n; ++j) dst[j] = fromTypeWord(shape.types[j]);
    } else {
        std::vector<SourceColumn> have;
        ClassicLink link(host);
        if (in.to->kind != DbKind::Other && link.open(toService, why) &&
            describeTable(link, *in.to, *in.toTable, have, why)) {
            for (size_t j = 0; j < n; ++j)
                for (const SourceColumn& c : have)
                    if (c.name == src[j].name) dst[j] = c.type;
        }
    }

    // How each column travels, and what would change on the way.
    int losses = 0;
    plan.items.clear();
    for (size_t j = 0; j < n; ++j) {
        const ColumnPlan p = planColumn(in.from->kind, src[j].type, shape.types[j], in.to->kind, dst[j]);
        // A database the tool has no marked read for reads its texts as the driver does.
        std::string item = p.marked ? markedItem(*in.from, src[j].name, p.read, src[j].type, from) : std::string();
        const bool marked = !item.empty();
        if (marked) plan.marked.push_back(j);
        else item = readItem(*in.from, src[j].name, p.read, from);
        if (p.marked && !marked)
            err << "orlodbc: source: column " << shownName(src[j].name)
                << ": a text of exactly 128 bytes would stop the copy at its row (the bulk read refuses that "
                   "length, and the tool knows no SQL of this database that reads it another way)"
                << std::endl;
        plan.items.push_back(item);
        plan.recast = plan.recast || p.read != Read::AsIs || marked;
        std::string loss = dst[j].kind == Kind::Other ? std::string() : p.loss;
        const ValueCheck check = valueCheck(*in.from, src[j].name, src[j].type, in.to->kind, dst[j], from);
        if (loss.empty() && !check.condition.empty()) {
            std::vector<int64_t> v(1);
            std::vector<bool> nulls(1);
            if (!readLongs(probe, "SELECT COUNT(*) FROM " + in.source + " WHERE " + check.condition, v, nulls)) {
                err << "orlodbc: " << probe.why() << std::endl;
                return 1;
            }
            if (!nulls[0] && v[0] > 0) {
                loss = std::to_string(v[0]) + (v[0] == 1 ? " row holds " : " rows hold ") + check.what;
                // Written as NULL rather than stopping the copy half-way at the first of them.
                if (check.refused && in.allowLossy) {
                    const std::string q = quoteName(*in.from, src[j].name);
                    std::string value = plan.items.back();
                    if (value.size() > q.size() + 4 && value.compare(value.size() - q.size() - 4, 4, " AS ") == 0)
                        value.erase(value.size() - q.size() - 4);
                    plan.items.back() = "CASE WHEN " + check.condition + " THEN NULL ELSE " + value + " END AS " + q;
                    plan.recast = true;
                }
            }
        }
        if (loss.empty()) continue;
        ++losses;
        err << "orlodbc: column " << shownName(src[j].name) << (in.allowLossy ? " will change: " : ": ") << loss
            << std::endl;
    }
    probe.connection()->rollback(probe.error());
    plan.columns = src;
    plan.targetTypes = dst;
    if (losses > 0 && !in.allowLossy) {
        err << "orlodbc: nothing was written to " << shownName(*in.toTable) << "; "
            << (in.create ? "copy from a --query that casts " : "give the target wider types for ")
            << (losses == 1 ? "that column" : "those columns") << ", or copy with --allow-lossy" << std::endl;
        return 2;
    }
    return 0;
}

} // namespace orlodbc
