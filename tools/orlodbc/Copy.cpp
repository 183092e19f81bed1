#include "tools/orlodbc/Copy.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <ostream>
#include <sstream>
#include <thread>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/Chunks.h"
#include "tools/orlodbc/CopyJob.h"
#include "tools/orlodbc/CopyPlan.h"
#include "tools/orlodbc/Dialect.h"
#include "tools/orlodbc/Interrupt.h"
#include "tools/orlodbc/Links.h"
#include "tools/orlodbc/Progress.h"
#include "tools/orlodbc/Resume.h"
#include "tools/orlodbc/Split.h"
#include "tools/orlodbc/Target.h"
#include "tools/orlodbc/Verify.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;
using namespace DataTypes;

namespace orlodbc {

namespace {

// The dialect of one side, from a classic connection held only for asking.
bool dialectOfSide(DriverHost& host, const DataService& service, const char* role, Dialect& d, std::ostream& err) {
    ClassicLink link(host);
    std::string why;
    if (!link.open(service, why)) {
        err << "orlodbc: " << role << ": " << why << std::endl;
        return false;
    }
    d = link.dialect();
    return true;
}

// The source column the user named for --split-by: the exact name, else the
// one name that differs from it only in case. -1 when there is none.
int findColumn(const Shape& shape, const std::string& name) {
    int found = -1;
    for (size_t j = 0; j < shape.names.size(); ++j)
        if (shape.names[j] == name) return static_cast<int>(j);
    auto lower = [](std::string s) {
        for (char& c : s)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        return s;
    };
    for (size_t j = 0; j < shape.names.size(); ++j)
        if (lower(shape.names[j]) == lower(name)) {
            if (found >= 0) return -1;
            found = static_cast<int>(j);
        }
    return found;
}

// A driver may describe a result column by less than its name: SQLite's
// takes a name with a dot for "table.column" and gives only what follows the
// last dot. The catalog has the whole name; it is taken where it ends in the
// described one, column by column, and only when it lists as many columns.
void wholeNames(DriverHost& host, const DataService& service, const TableName& table, Shape& shape) {
    ClassicLink link(host);
    std::string why;
    if (!link.open(service, why)) return;
    Connection* c = link.get();
    int count = 0;
    const bool ok = (table.schema.empty() ? c->getTableNumColumns(table.table, count)
                                          : c->getTableNumColumns(table.schema, table.table, count)) == 1;
    if (ok && count == static_cast<int>(shape.names.size())) {
        for (int j = 0; j < count; ++j) {
            std::string name;
            unsigned int type = 0;
            if ((table.schema.empty() ? c->getTableColumnInfo(table.table, j, name, type)
                                      : c->getTableColumnInfo(table.schema, table.table, j, name, type)) != 1)
                break;
            std::string& described = shape.names[j];
            if (name.size() > described.size() &&
                name.compare(name.size() - described.size() - 1, std::string::npos, "." + described) == 0)
                described = name;
        }
    }
    c->rollback();
}

// Every name the copy will write on the target must be kept there as it is:
// checked before anything is created or written. 0, or 2 with the names told.
int checkTargetNames(const Dialect& d, const TableName& table, const Shape& shape, std::ostream& err) {
    int status = 0;
    std::string why;
    for (size_t j = 0; j < shape.names.size(); ++j) {
        if (!canHold(d, shape.names[j], why)) {
            err << "orlodbc: target: column " << shownName(shape.names[j]) << " can't be written there: " << why
                << std::endl;
            status = 2;
        }
        for (size_t k = 0; k < j; ++k)
            if (shape.names[k] == shape.names[j]) {
                err << "orlodbc: source: two columns are named " << shownName(shape.names[j])
                    << "; copy from a query that names them apart" << std::endl;
                status = 2;
            }
    }
    if (status != 0)
        err << "orlodbc: nothing was written to " << shownName(table)
            << "; copy from a --query that renames those columns" << std::endl;
    return status;
}

} // namespace

int defaultRowsPerStatement(const Dialect& target) {
    switch (target.kind) {
    // Row arrays cost PostgreSQL's driver a round trip a row and SQLite's a
    // compile a row; 500 rows a statement measured 8.7 and 1.9 times faster.
    case DbKind::PostgreSQL:
    case DbKind::SQLite: return 500;
    // MariaDB's driver sends an array at once, faster than multi-row text.
    default: return 0;
    }
}

int runCopy(DriverHost& host, const CopyOptions& o, std::ostream& out, std::ostream& err) {
    DataService fromService, toService;
    if (!host.service(o.from, fromService) || !host.service(o.to, toService)) {
        err << "orlodbc: " << host.why() << std::endl;
        return 2;
    }
    // Block transfers where the driver has them; a driver without reads neither.
    const std::string batch = std::to_string(o.batch < 1 ? 1 : o.batch);
    for (DataService* s : {&fromService, &toService}) {
        s->setProperty("FetchArraySize", batch);
        s->setProperty("ParamArraySize", batch);
    }

    // Names are parsed in each side's own quoting, then written only through it.
    Dialect fromDialect, toDialect;
    if (!dialectOfSide(host, fromService, "source", fromDialect, err) ||
        !dialectOfSide(host, toService, "target", toDialect, err))
        return 1;
    const int rowsPerStatement = o.rowsPerStatement < 0 ? defaultRowsPerStatement(toDialect) : o.rowsPerStatement;
    if (rowsPerStatement > 1) toService.setProperty("InsertRowsPerStatement", std::to_string(rowsPerStatement));
    TableName fromTable, toTable;
    std::string why;
    if (!o.table.empty() && !parseTableName(fromDialect, o.table, fromTable, why)) {
        err << "orlodbc: source table " << o.table << ": " << why << std::endl;
        return 2;
    }
    if (!o.toTable.empty()) {
        if (!parseTableName(toDialect, o.toTable, toTable, why)) {
            err << "orlodbc: target table " << o.toTable << ": " << why << std::endl;
            return 2;
        }
    } else {
        toTable = fromTable;
        for (const std::string* part : {&toTable.schema, &toTable.table})
            if (!part->empty() && !canHold(toDialect, *part, why)) {
                err << "orlodbc: target table " << shownName(toTable) << " can't be written there: " << why
                    << "; name another with --to-table" << std::endl;
                return 2;
            }
    }
    const std::string fromName = o.query.empty() ? quoteTable(fromDialect, fromTable) : std::string();

    // The source's shape, from a statement prepared but not run.
    BulkLink probe(host, "source");
    if (!probe.open(fromService)) {
        err << "orlodbc: " << probe.why() << std::endl;
        return 1;
    }
    Shape shape;
    {
        const std::string sql = o.query.empty() ? "SELECT * FROM " + fromName : o.query;
        Statement st(probe, probe.connection()->createPreparedStatement(sql.c_str(), probe.error()));
        if (st.get() == nullptr || !shapeOf(probe, st.get(), shape)) {
            if (st.get() == nullptr) probe.failRecord();
            err << "orlodbc: " << probe.why() << std::endl;
            return 1;
        }
    }
    if (shape.types.empty()) {
        err << "orlodbc: source: the query has no columns" << std::endl;
        return 2;
    }
    for (size_t j = 0; j < shape.types.size(); ++j) {
        if ((shape.types[j] & kTypeMask) == UNKNOWN) {
            err << "orlodbc: source: column " << shownName(shape.names[j])
                << " has a type the driver can't read; copy from a query that casts it" << std::endl;
            return 2;
        }
    }
    if (o.query.empty()) wholeNames(host, fromService, fromTable, shape);
    const int named = checkTargetNames(toDialect, toTable, shape, err);
    if (named != 0) return named;
    const std::string source = o.query.empty() ? fromName : "(" + o.query + ") orl_source";
    // A resumed copy goes on in the table as it is: neither made again nor replaced.
    bool create = o.create, dropExisting = o.dropExisting;
    bool resuming = false;
    if (o.resume) {
        ClassicLink target(host);
        if (!target.open(toService, why)) {
            err << "orlodbc: target: " << why << std::endl;
            return 1;
        }
        resuming = tableExists(target, toDialect, toTable);
        if (resuming && create)
            out << "resume: " << shownName(toTable) << " exists: it is neither created nor replaced" << std::endl;
        if (resuming) create = dropExisting = false;
    }
    // Replacing a table: the rows go into a fresh one, and the old one stays until they are whole.
    Replacement replacement(host, toService, toDialect, toTable, err);
    if (!replacement.prepare(create && dropExisting, why)) {
        err << "orlodbc: target: " << why << std::endl;
        return 1;
    }
    const TableName& writeTable = replacement.writeTable();
    CopyPlan plan;
    {
        CopyPlanInput in;
        in.from = &fromDialect;
        in.to = &toDialect;
        in.fromTable = o.query.empty() ? &fromTable : nullptr;
        in.toTable = &toTable;
        in.createAs = &writeTable;
        in.source = source;
        in.shape = &shape;
        in.create = create;
        in.allowLossy = o.allowLossy;
        const int planned = planCopy(host, fromService, toService, probe, in, plan, err);
        if (planned != 0) return planned;
    }
    // A table's columns are named in the SELECT, so that its text is ours alone.
    const std::string plainSql =
        o.query.empty() ? "SELECT " + quoteNames(fromDialect, shape.names) + " FROM " + fromName : o.query;
    std::string items;
    for (const std::string& item : plan.items) items += (items.empty() ? "" : ", ") + item;
    const std::string selectList = o.query.empty() || plan.recast ? items : std::string("*");
    const std::string wholeSql = plan.recast ? "SELECT " + items + " FROM " + source : plainSql;
    // Columns read another way come with the type words of their new reading.
    Shape planned = shape;
    if (plan.recast) {
        Statement st(probe, probe.connection()->createPreparedStatement(wholeSql.c_str(), probe.error()));
        if (st.get() == nullptr || !shapeOf(probe, st.get(), planned)) {
            if (st.get() == nullptr) probe.failRecord();
            err << "orlodbc: " << probe.why() << std::endl;
            return 1;
        }
    }

    // Reading in chunks of an integer key, else whole, saying what that may cost.
    int chunkColumn = -1;
    if (o.chunkRows > 0 || o.resume) {
        const int named = o.splitBy.empty() ? -1 : findColumn(shape, o.splitBy);
        std::string noKey;
        chunkColumn = chunkKey(plan.columns, shape.types, o.splitBy, named, noKey);
        if (chunkColumn < 0 && o.resume) {
            err << "orlodbc: --resume finds where the target ends by an integer key, and the source has none: "
                << noKey << "; nothing was written" << std::endl;
            return 2;
        }
        if (chunkColumn < 0 && o.chunkRows > 0 && (o.splitBy.empty() || o.jobs == 1)) {
            const std::string setting = streamingSetting(fromDialect.kind);
            err << "orlodbc: source: read in one query, not in chunks (" << (o.query.empty() ? noKey : "a query source needs --split-by")
                << "): its ODBC driver may hold the whole result in memory"
                << (setting.empty() ? std::string() : " unless the data source sets " + setting) << std::endl;
        }
    }
    if (o.jobs > 1 && o.splitBy.empty() && chunkColumn < 0) {
        err << "orlodbc: --jobs needs --split-by, or a source table with an integer primary key" << std::endl;
        return 2;
    }

    std::string splitKey;
    bool splitInteger = true;
    if (!o.splitBy.empty() && o.jobs > 1 && chunkColumn < 0) {
        const int k = findColumn(shape, o.splitBy);
        if (k < 0) {
            err << "orlodbc: --split-by " << shownName(o.splitBy) << ": the source has no such column" << std::endl;
            return 2;
        }
        // SQLite's driver reads a NUMERIC column as a double; its catalog knows it as a decimal.
        const bool decimalKey = static_cast<size_t>(k) < plan.columns.size() && plan.columns[k].type.kind == Kind::Decimal;
        if (!splittable(shape.types[k]) && !decimalKey) {
            err << "orlodbc: --split-by " << shownName(shape.names[k]) << ": the jobs divide the rows by ranges of "
                << "an integer or decimal key, and this column is " << typeToString(shape.types[k])
                << "; nothing was written" << std::endl;
            return 2;
        }
        splitKey = quoteName(fromDialect, shape.names[k]);
        splitInteger = integerKey(shape.types[k]) && !decimalKey;
    }

    if (create) {
        ClassicLink target(host);
        if (!target.open(toService, why)) {
            err << "orlodbc: target: " << why << std::endl;
            return 1;
        }
        const int created =
            createTarget(target, toDialect, writeTable, shape, dropExisting && !replacement.active(), err, plan.createSql);
        if (created != 0) return created;
        replacement.made();
    }

    // Work for the jobs: the whole source, or ranges of the split key.
    std::vector<std::string> conditions;
    if (!splitKey.empty()) {
        std::vector<int64_t> v(2);
        std::vector<bool> nulls(2);
        if (!readLongs(probe, boundsSql(fromDialect.kind, splitKey, splitInteger, source), v, nulls)) {
            err << "orlodbc: " << probe.why() << std::endl;
            return 1;
        }
        if (!nulls[0] && !nulls[1]) conditions = splitConditions(splitKey, v[0], v[1], o.jobs);
    }
    if (conditions.empty()) conditions.push_back("");
    uint64_t total = 0;
    bool counted = false;
    if (o.query.empty()) {
        // Counting a table is cheap enough for a percentage and for the check of the jobs' sum; a query may not be.
        std::vector<int64_t> v(1);
        std::vector<bool> nulls(1);
        counted = readLongs(probe, "SELECT COUNT(*) FROM " + fromName, v, nulls) && !nulls[0];
        if (counted) total = static_cast<uint64_t>(v[0]);
    }
    long chunkRows = 0;
    std::vector<KeyChunk> chunks;
    std::vector<size_t> todo;  // the chunks to copy, in key order
    uint64_t kept = 0;         // rows a resumed copy found in the target
    if (chunkColumn >= 0) {
        const std::string key = quoteName(fromDialect, shape.names[chunkColumn]);
        const SourceColumn& col = plan.columns[chunkColumn];
        // Enough chunks that every job has one.
        chunkRows = o.chunkRows > 0 ? o.chunkRows : 50000;
        if (o.jobs > 1 && counted && total > 0)
            chunkRows = std::min<long>(chunkRows, static_cast<long>((total + o.jobs - 1) / o.jobs));
        if (!sourceChunks(probe, key, source, !col.key && !col.notNull, chunkRows, chunks)) {
            err << "orlodbc: " << probe.why() << std::endl;
            return 1;
        }
        for (size_t i = 0; i < chunks.size(); ++i) todo.push_back(i);
        if (resuming) {
            ResumeInput in;
            in.toService = &toService;
            in.targetTable = quoteTable(toDialect, writeTable);
            in.targetKey = quoteName(toDialect, shape.names[chunkColumn]);
            in.source = source;
            in.sourceKey = key;
            in.keyName = shownName(shape.names[chunkColumn]);
            const int found = resumeChunks(host, probe, in, chunks, todo, kept, out, err);
            if (found != 0) return found;
        }
        conditions.assign(std::min<size_t>(static_cast<size_t>(o.jobs < 1 ? 1 : o.jobs), std::max<size_t>(todo.size(), 1)),
                          std::string());
    }
    // Nothing of the set-up stays open: an embedded database locks its file for an open read.
    probe.connection()->rollback(probe.error());

    std::string params;
    for (size_t j = 0; j < shape.names.size(); ++j) params += j ? ", ?" : "?";
    const std::string targetName = quoteTable(toDialect, writeTable);
    const std::string insertSql =
        "INSERT INTO " + targetName + " (" + quoteNames(toDialect, shape.names) + ") VALUES (" + params + ")";

    const size_t jobs = conditions.size();
    // Jobs take the chunks in key order, each the next one left.
    std::atomic<size_t> nextChunk{0};
    const std::string chunkKeyName = chunkColumn >= 0 ? quoteName(fromDialect, shape.names[chunkColumn]) : std::string();
    const auto takeChunk = [&](std::string& sql, std::string& range) {
        const size_t i = nextChunk++;
        if (i >= todo.size()) return false;
        const KeyChunk& c = chunks[todo[i]];
        sql = "SELECT " + selectList + " FROM " + source + " WHERE " + chunkCondition(chunkKeyName, c);
        range = " of the rows " + shownChunk(c);
        return true;
    };
    std::vector<JobPlan> plans(jobs);
    std::vector<std::unique_ptr<BulkLink> > srcLinks, dstLinks;
    for (size_t i = 0; i < jobs; ++i) {
        JobPlan& p = plans[i];
        p.selectSql = conditions[i].empty() ? wholeSql
                                            : "SELECT " + selectList + " FROM " + source + " WHERE " + conditions[i];
        p.insertSql = insertSql;
        p.range = jobs > 1 ? " of job " + std::to_string(i + 1) + " (" + conditions[i] + ")" : "";
        p.shape = &planned;
        p.batch = o.batch < 1 ? 1 : o.batch;
        p.commitEvery = o.commitEvery;
        if (chunkColumn >= 0) p.nextChunk = takeChunk;
        // Every connection is made here, on one thread; each job then owns its pair.
        srcLinks.emplace_back(new BulkLink(host, "source"));
        dstLinks.emplace_back(new BulkLink(host, "target"));
        if (!srcLinks.back()->open(fromService) || !dstLinks.back()->open(toService)) {
            err << "orlodbc: " << (srcLinks.back()->why().empty() ? dstLinks.back()->why() : srcLinks.back()->why())
                << std::endl;
            return 1;
        }
    }

    std::atomic<bool> stop{false};
    std::vector<JobResult> results(jobs);
    Progress progress(stderr, o.progress, total);
    {
        std::vector<std::thread> threads;
        for (size_t i = 0; i < jobs; ++i)
            threads.emplace_back(
                [&, i] { results[i] = runJob(*srcLinks[i], *dstLinks[i], plans[i], progress, stop); });
        for (std::thread& t : threads) t.join();
    }
    progress.finish();
    const double seconds = progress.seconds();
    srcLinks.clear();
    dstLinks.clear();

    uint64_t rows = 0, committed = 0;
    bool failed = false, arrays = false;
    if (Interrupt::happened()) {
        for (const JobResult& r : results) committed += r.committed;
        if (replacement.active())
            err << "orlodbc: interrupted; " << shownName(toTable) << " stays as it was" << std::endl;
        else
            err << "orlodbc: interrupted; the target keeps the " << committed << " rows committed before it"
                << std::endl;
        return Interrupt::exitCode();
    }
    for (const JobResult& r : results) {
        rows += r.rows;
        committed += r.committed;
        arrays = arrays || r.arrays;
        if (r.failed && !r.why.empty()) {
            err << "orlodbc: copy failed at " << r.why << std::endl;
            failed = true;
        }
    }
    if (failed) {
        if (!replacement.active())
            err << "orlodbc: the target keeps the " << committed << " rows committed before the failure" << std::endl;
        return 1;
    }
    if (counted && rows + kept != total) {
        err << "orlodbc: the source counted " << total << " rows before the copy and the " << jobs
            << (jobs == 1 ? " job" : " jobs") << " copied " << rows
            << (kept > 0 ? " to the " + std::to_string(kept) + " the target held" : std::string())
            << "; the source changed during the copy"
            << (jobs > 1 ? " or the jobs' ranges missed rows" : "") << std::endl;
        return 1;
    }

    std::ostringstream line;
    char rate[32];
    std::snprintf(rate, sizeof rate, "%.2f", seconds);
    line << "copied " << rows << " rows from " << fromService.getPropertyValueAsString("DSN", "source") << " to "
         << toService.getPropertyValueAsString("DSN", "target") << "." << shownName(toTable) << " in " << rate
         << " s (" << grouped(seconds > 0 ? static_cast<uint64_t>(rows / seconds) : rows) << " rows/s, " << jobs
         << (jobs == 1 ? " job" : " jobs")
         << (chunkColumn >= 0 ? ", chunks of " + grouped(static_cast<uint64_t>(chunkRows)) +
                                    " rows by " + shownName(shape.names[chunkColumn])
                              : std::string())
         << (!arrays                ? std::string()
             : rowsPerStatement > 1 ? ", INSERTs of up to " + std::to_string(rowsPerStatement) + " rows"
                                    : ", row arrays of " + batch) << ")";
    out << line.str() << std::endl;
    if (o.verify) {
        VerifySide a, b;
        a.service = &fromService;
        a.dialect = fromDialect;
        a.from = source;
        a.readBackSql = plainSql;
        b.service = &toService;
        b.dialect = toDialect;
        b.from = targetName;
        b.readBackSql = "SELECT " + quoteNames(toDialect, shape.names) + " FROM " + targetName;
        // What the databases can't sum themselves is read row by row: a chunk at a time, too.
        if (chunkColumn >= 0) {
            const std::string keyThere = quoteName(toDialect, shape.names[chunkColumn]);
            for (const KeyChunk& c : chunks) {
                a.where.push_back(chunkCondition(chunkKeyName, c));
                b.where.push_back(chunkCondition(keyThere, c));
            }
        }
        const int verified = verifyCopy(host, a, b, shape, plan.columns, plan.targetTypes, out, err);
        if (Interrupt::happened()) {
            err << "orlodbc: interrupted during the check; all " << rows << " rows were committed" << std::endl;
            return Interrupt::exitCode();
        }
        if (verified != 0) return 1;
    }
    return replacement.finish();
}

} // namespace orlodbc
