#include "tools/orlodbc/Copy.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <thread>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/Chunks.h"
#include "tools/orlodbc/ColumnArrays.h"
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

namespace {

// One copy, stage by stage. The state each stage fills is kept in the order
// the stages make it, so that what closes on the way out (the jobs' links,
// the fresh table a replacement drops, the probe) closes in that same order.
class CopyRun {
public:
    CopyRun(DriverHost& host, const CopyOptions& o, std::ostream& out, std::ostream& err)
        : host_(host), o_(o), out_(out), err_(err) {}
    CopyRun(const CopyRun&) = delete;
    CopyRun& operator=(const CopyRun&) = delete;

    // Each stage returns false when the copy ends there, with status().
    bool setUpServices();
    bool nameTables();
    bool probeShape();
    bool prepareTarget();
    bool planReading();
    bool chooseKeys();
    bool createTable();
    bool divideWork();
    bool openJobs();
    void runJobs();
    bool checkResults();
    void printSummary();
    bool verify();
    int finish() { return replacement_->finish(); }

    int status() const { return status_; }

private:
    bool end(int status) {
        status_ = status;
        return false;
    }
    bool failOnProbe() {
        err_ << "orlodbc: " << probe_->why() << std::endl;
        return end(1);
    }
    bool splitByColumn();
    bool chunkSource();
    void chooseColumnArrays();

    DriverHost& host_;
    const CopyOptions& o_;
    std::ostream& out_;
    std::ostream& err_;
    int status_ = 0;

    struct Sides {
        DataService fromService, toService;
        std::string batch;  // rows per block transfer, as the property says it
        Dialect fromDialect, toDialect;
        int rowsPerStatement = 0;
        TableName fromTable, toTable;
        std::string fromName;  // the quoted source table; empty for a query
    } s_;
    std::string why_;
    std::optional<BulkLink> probe_;
    struct Source {
        Shape shape;
        std::string from;  // what follows FROM: the table, or the query as a derived table
    } src_;
    struct TargetChoice {
        bool create = false, dropExisting = false, resuming = false;
    } target_;
    std::optional<Replacement> replacement_;
    const TableName* writeTable_ = nullptr;
    struct Reading {
        CopyPlan plan;
        std::string plainSql, selectList, wholeSql;
        Shape planned;  // the shape as the plan reads it
    } read_;
    struct Work {
        int chunkColumn = -1;
        std::string splitKey;
        bool splitInteger = true;
        std::vector<std::string> conditions;
        uint64_t total = 0;
        bool counted = false;
        long chunkRows = 0;
        std::vector<KeyChunk> chunks;
        std::vector<size_t> todo;  // the chunks to copy, in key order
        uint64_t kept = 0;         // rows a resumed copy found in the target
    } work_;
    struct Jobs {
        std::string targetName, insertSql;
        std::string arraySql;  // empty: no column arrays
        size_t arrayRows = 0;
        size_t count = 0;
        std::atomic<size_t> nextChunk{0};
        std::string chunkKeyName;
        std::vector<JobPlan> plans;
        std::vector<std::unique_ptr<BulkLink> > srcLinks, dstLinks;
        std::atomic<bool> stop{false};
        std::vector<JobResult> results;
    } jobs_;
    std::optional<Progress> progress_;
    struct Tally {
        double seconds = 0;
        uint64_t rows = 0, committed = 0;
        bool arrays = false, columnArrays = false;
    } tally_;
};

bool CopyRun::setUpServices() {
    if (!host_.service(o_.from, s_.fromService) || !host_.service(o_.to, s_.toService)) {
        err_ << "orlodbc: " << host_.why() << std::endl;
        return end(2);
    }
    // Block transfers where the driver has them; a driver without reads neither.
    s_.batch = std::to_string(o_.batch < 1 ? 1 : o_.batch);
    for (DataService* s : {&s_.fromService, &s_.toService}) {
        s->setProperty("FetchArraySize", s_.batch);
        s->setProperty("ParamArraySize", s_.batch);
    }
    return true;
}

bool CopyRun::nameTables() {
    // Names are parsed in each side's own quoting, then written only through it.
    if (!dialectOfSide(host_, s_.fromService, "source", s_.fromDialect, err_) ||
        !dialectOfSide(host_, s_.toService, "target", s_.toDialect, err_))
        return end(1);
    s_.rowsPerStatement = o_.rowsPerStatement < 0 ? defaultRowsPerStatement(s_.toDialect) : o_.rowsPerStatement;
    if (s_.rowsPerStatement > 1)
        s_.toService.setProperty("InsertRowsPerStatement", std::to_string(s_.rowsPerStatement));
    if (!o_.table.empty() && !parseTableName(s_.fromDialect, o_.table, s_.fromTable, why_)) {
        err_ << "orlodbc: source table " << o_.table << ": " << why_ << std::endl;
        return end(2);
    }
    if (!o_.toTable.empty()) {
        if (!parseTableName(s_.toDialect, o_.toTable, s_.toTable, why_)) {
            err_ << "orlodbc: target table " << o_.toTable << ": " << why_ << std::endl;
            return end(2);
        }
    } else {
        s_.toTable = s_.fromTable;
        for (const std::string* part : {&s_.toTable.schema, &s_.toTable.table})
            if (!part->empty() && !canHold(s_.toDialect, *part, why_)) {
                err_ << "orlodbc: target table " << shownName(s_.toTable) << " can't be written there: " << why_
                     << "; name another with --to-table" << std::endl;
                return end(2);
            }
    }
    s_.fromName = o_.query.empty() ? quoteTable(s_.fromDialect, s_.fromTable) : std::string();
    return true;
}

bool CopyRun::probeShape() {
    // The source's shape, from a statement prepared but not run.
    probe_.emplace(host_, "source");
    if (!probe_->open(s_.fromService)) return failOnProbe();
    Shape& shape = src_.shape;
    {
        const std::string sql = o_.query.empty() ? "SELECT * FROM " + s_.fromName : o_.query;
        Statement st(*probe_, probe_->connection()->createPreparedStatement(sql.c_str(), probe_->error()));
        if (st.get() == nullptr || !shapeOf(*probe_, st.get(), shape)) {
            if (st.get() == nullptr) probe_->failRecord();
            return failOnProbe();
        }
    }
    if (shape.types.empty()) {
        err_ << "orlodbc: source: the query has no columns" << std::endl;
        return end(2);
    }
    for (size_t j = 0; j < shape.types.size(); ++j) {
        if ((shape.types[j] & kTypeMask) == UNKNOWN) {
            err_ << "orlodbc: source: column " << shownName(shape.names[j])
                 << " has a type the driver can't read; copy from a query that casts it" << std::endl;
            return end(2);
        }
    }
    if (o_.query.empty()) wholeNames(host_, s_.fromService, s_.fromTable, shape);
    const int named = checkTargetNames(s_.toDialect, s_.toTable, shape, err_);
    if (named != 0) return end(named);
    src_.from = o_.query.empty() ? s_.fromName : "(" + o_.query + ") orl_source";
    return true;
}

bool CopyRun::prepareTarget() {
    // A resumed copy goes on in the table as it is: neither made again nor replaced.
    target_.create = o_.create;
    target_.dropExisting = o_.dropExisting;
    if (o_.resume) {
        ClassicLink target(host_);
        if (!target.open(s_.toService, why_)) {
            err_ << "orlodbc: target: " << why_ << std::endl;
            return end(1);
        }
        target_.resuming = tableExists(target, s_.toDialect, s_.toTable);
        if (target_.resuming && target_.create)
            out_ << "resume: " << shownName(s_.toTable) << " exists: it is neither created nor replaced" << std::endl;
        if (target_.resuming) target_.create = target_.dropExisting = false;
    }
    // Replacing a table: the rows go into a fresh one, and the old one stays until they are whole.
    replacement_.emplace(host_, s_.toService, s_.toDialect, s_.toTable, err_);
    if (!replacement_->prepare(target_.create && target_.dropExisting, why_)) {
        err_ << "orlodbc: target: " << why_ << std::endl;
        return end(1);
    }
    writeTable_ = &replacement_->writeTable();
    return true;
}

bool CopyRun::planReading() {
    const Shape& shape = src_.shape;
    {
        CopyPlanInput in;
        in.from = &s_.fromDialect;
        in.to = &s_.toDialect;
        in.fromTable = o_.query.empty() ? &s_.fromTable : nullptr;
        in.toTable = &s_.toTable;
        in.createAs = writeTable_;
        in.source = src_.from;
        in.query = o_.query;
        in.shape = &shape;
        in.create = target_.create;
        in.allowLossy = o_.allowLossy;
        const int planned = planCopy(host_, s_.fromService, s_.toService, *probe_, in, read_.plan, err_);
        if (planned != 0) return end(planned);
    }
    // A table's columns are named in the SELECT, so that its text is ours alone.
    read_.plainSql = o_.query.empty()
                         ? "SELECT " + quoteNames(s_.fromDialect, shape.names) + " FROM " + s_.fromName
                         : o_.query;
    std::string items;
    for (const std::string& item : read_.plan.items) items += (items.empty() ? "" : ", ") + item;
    read_.selectList = o_.query.empty() || read_.plan.recast ? items : std::string("*");
    read_.wholeSql = read_.plan.recast ? "SELECT " + items + " FROM " + src_.from : read_.plainSql;
    // Columns read another way come with the type words of their new reading.
    read_.planned = shape;
    if (read_.plan.recast) {
        Statement st(*probe_, probe_->connection()->createPreparedStatement(read_.wholeSql.c_str(), probe_->error()));
        if (st.get() == nullptr || !shapeOf(*probe_, st.get(), read_.planned)) {
            if (st.get() == nullptr) probe_->failRecord();
            return failOnProbe();
        }
    }
    // A mark is taken off a text: a column read with one must come as a text.
    for (size_t j : read_.plan.marked) {
        if ((read_.planned.types[j] & kTypeMask) != STRING) {
            err_ << "orlodbc: source: column " << shownName(shape.names[j]) << " read with a mark comes as "
                 << typeToString(read_.planned.types[j]) << ", not as a text; nothing was written" << std::endl;
            return end(1);
        }
    }
    return true;
}

bool CopyRun::chooseKeys() {
    const Shape& shape = src_.shape;
    // Reading in chunks of an integer key, else whole, saying what that may cost.
    if (o_.chunkRows > 0 || o_.resume) {
        const int named = o_.splitBy.empty() ? -1 : findColumn(shape, o_.splitBy);
        std::string noKey;
        work_.chunkColumn = chunkKey(read_.plan.columns, shape.types, o_.splitBy, named, noKey);
        if (work_.chunkColumn < 0 && o_.resume) {
            err_ << "orlodbc: --resume finds where the target ends by an integer key, and the source has none: "
                 << noKey << "; nothing was written" << std::endl;
            return end(2);
        }
        if (work_.chunkColumn < 0 && o_.chunkRows > 0 && (o_.splitBy.empty() || o_.jobs == 1)) {
            const std::string setting = streamingSetting(s_.fromDialect.kind);
            err_ << "orlodbc: source: read in one query, not in chunks ("
                 << (o_.query.empty() ? noKey : "a query source needs --split-by")
                 << "): its ODBC driver may hold the whole result in memory"
                 << (setting.empty() ? std::string() : " unless the data source sets " + setting) << std::endl;
        }
    }
    if (o_.jobs > 1 && o_.splitBy.empty() && work_.chunkColumn < 0) {
        err_ << "orlodbc: --jobs needs --split-by, or a source table with an integer primary key" << std::endl;
        return end(2);
    }
    if (!o_.splitBy.empty() && o_.jobs > 1 && work_.chunkColumn < 0) return splitByColumn();
    return true;
}

// Jobs without chunks divide the rows by ranges of the column the user named.
bool CopyRun::splitByColumn() {
    const Shape& shape = src_.shape;
    const int k = findColumn(shape, o_.splitBy);
    if (k < 0) {
        err_ << "orlodbc: --split-by " << shownName(o_.splitBy) << ": the source has no such column" << std::endl;
        return end(2);
    }
    // SQLite's driver reads a NUMERIC column as a double; its catalog knows it as a decimal.
    const bool decimalKey =
        static_cast<size_t>(k) < read_.plan.columns.size() && read_.plan.columns[k].type.kind == Kind::Decimal;
    if (!splittable(shape.types[k]) && !decimalKey) {
        err_ << "orlodbc: --split-by " << shownName(shape.names[k]) << ": the jobs divide the rows by ranges of "
             << "an integer or decimal key, and this column is " << typeToString(shape.types[k])
             << "; nothing was written" << std::endl;
        return end(2);
    }
    work_.splitKey = quoteName(s_.fromDialect, shape.names[k]);
    work_.splitInteger = integerKey(shape.types[k]) && !decimalKey;
    return true;
}

bool CopyRun::createTable() {
    if (!target_.create) return true;
    ClassicLink target(host_);
    if (!target.open(s_.toService, why_)) {
        err_ << "orlodbc: target: " << why_ << std::endl;
        return end(1);
    }
    const int created = createTarget(target, s_.toDialect, *writeTable_, src_.shape,
                                     target_.dropExisting && !replacement_->active(), err_, read_.plan.createSql);
    if (created != 0) return end(created);
    replacement_->made();
    return true;
}

bool CopyRun::divideWork() {
    // Work for the jobs: the whole source, or ranges of the split key.
    if (!work_.splitKey.empty()) {
        std::vector<int64_t> v(2);
        std::vector<bool> nulls(2);
        if (!readLongs(*probe_, boundsSql(s_.fromDialect.kind, work_.splitKey, work_.splitInteger, src_.from), v,
                       nulls))
            return failOnProbe();
        if (!nulls[0] && !nulls[1]) work_.conditions = splitConditions(work_.splitKey, v[0], v[1], o_.jobs);
    }
    if (work_.conditions.empty()) work_.conditions.push_back("");
    // One job walking a unique key counts the rows as it finds the chunks: a second count would only cost
    // another pass over the table (a quarter of a second a million rows on MariaDB).
    const bool countedByChunks =
        work_.chunkColumn >= 0 && o_.jobs <= 1 && soleKeyColumn(read_.plan.columns) == work_.chunkColumn;
    if (o_.query.empty() && !countedByChunks) {
        // Counting a table is cheap enough for a percentage and for the check of the jobs' sum; a query may not be.
        std::vector<int64_t> v(1);
        std::vector<bool> nulls(1);
        work_.counted = readLongs(*probe_, "SELECT COUNT(*) FROM " + s_.fromName, v, nulls) && !nulls[0];
        if (work_.counted) work_.total = static_cast<uint64_t>(v[0]);
    }
    if (work_.chunkColumn >= 0 && !chunkSource()) return false;
    if (o_.query.empty() && countedByChunks) {
        work_.total = 0;
        for (const KeyChunk& c : work_.chunks) work_.total += c.rows;
        work_.counted = true;
    }
    // Nothing of the set-up stays open: an embedded database locks its file for an open read.
    probe_->connection()->rollback(probe_->error());
    return true;
}

// The key ranges of the chunks, and which of them a resumed copy still needs.
bool CopyRun::chunkSource() {
    const Shape& shape = src_.shape;
    const std::string key = quoteName(s_.fromDialect, shape.names[work_.chunkColumn]);
    const SourceColumn& col = read_.plan.columns[work_.chunkColumn];
    // Enough chunks that every job has one.
    work_.chunkRows = o_.chunkRows > 0 ? o_.chunkRows : 50000;
    if (o_.jobs > 1 && work_.counted && work_.total > 0)
        work_.chunkRows = std::min<long>(work_.chunkRows, static_cast<long>((work_.total + o_.jobs - 1) / o_.jobs));
    if (!sourceChunks(*probe_, key, src_.from, !col.key && !col.notNull, work_.chunkRows, work_.chunks))
        return failOnProbe();
    for (size_t i = 0; i < work_.chunks.size(); ++i) work_.todo.push_back(i);
    if (target_.resuming) {
        ResumeInput in;
        in.toService = &s_.toService;
        in.targetTable = quoteTable(s_.toDialect, *writeTable_);
        in.targetKey = quoteName(s_.toDialect, shape.names[work_.chunkColumn]);
        in.source = src_.from;
        in.sourceKey = key;
        in.keyName = shownName(shape.names[work_.chunkColumn]);
        const int found = resumeChunks(host_, *probe_, in, work_.chunks, work_.todo, work_.kept, out_, err_);
        if (found != 0) return end(found);
    }
    work_.conditions.assign(
        std::min<size_t>(static_cast<size_t>(o_.jobs < 1 ? 1 : o_.jobs), std::max<size_t>(work_.todo.size(), 1)),
        std::string());
    return true;
}

bool CopyRun::openJobs() {
    const Shape& shape = src_.shape;
    std::string params;
    for (size_t j = 0; j < shape.names.size(); ++j) params += j ? ", ?" : "?";
    jobs_.targetName = quoteTable(s_.toDialect, *writeTable_);
    jobs_.insertSql = "INSERT INTO " + jobs_.targetName + " (" + quoteNames(s_.toDialect, shape.names) +
                      ") VALUES (" + params + ")";

    chooseColumnArrays();

    const size_t jobs = jobs_.count = work_.conditions.size();
    // Jobs take the chunks in key order, each the next one left.
    jobs_.chunkKeyName =
        work_.chunkColumn >= 0 ? quoteName(s_.fromDialect, shape.names[work_.chunkColumn]) : std::string();
    const auto takeChunk = [this](std::string& sql, std::string& range) {
        const size_t i = jobs_.nextChunk++;
        if (i >= work_.todo.size()) return false;
        const KeyChunk& c = work_.chunks[work_.todo[i]];
        sql = "SELECT " + read_.selectList + " FROM " + src_.from + " WHERE " + chunkCondition(jobs_.chunkKeyName, c);
        range = " of the rows " + shownChunk(c);
        return true;
    };
    jobs_.plans.resize(jobs);
    for (size_t i = 0; i < jobs; ++i) {
        JobPlan& p = jobs_.plans[i];
        const std::string& condition = work_.conditions[i];
        p.selectSql = condition.empty() ? read_.wholeSql
                                        : "SELECT " + read_.selectList + " FROM " + src_.from + " WHERE " + condition;
        p.insertSql = jobs_.insertSql;
        p.arraySql = jobs_.arraySql;
        p.arrayRows = jobs_.arrayRows;
        p.range = jobs > 1 ? " of job " + std::to_string(i + 1) + " (" + condition + ")" : "";
        p.shape = &read_.planned;
        p.marked = &read_.plan.marked;
        p.batch = o_.batch < 1 ? 1 : o_.batch;
        p.commitEvery = o_.commitEvery;
        if (work_.chunkColumn >= 0) p.nextChunk = takeChunk;
        // Every connection is made here, on one thread; each job then owns its pair.
        std::vector<std::unique_ptr<BulkLink> >& src = jobs_.srcLinks;
        std::vector<std::unique_ptr<BulkLink> >& dst = jobs_.dstLinks;
        src.emplace_back(new BulkLink(host_, "source"));
        dst.emplace_back(new BulkLink(host_, "target"));
        if (!src.back()->open(s_.fromService) || !dst.back()->open(s_.toService)) {
            err_ << "orlodbc: " << (src.back()->why().empty() ? dst.back()->why() : src.back()->why()) << std::endl;
            return end(1);
        }
    }
    return true;
}

// Into PostgreSQL the rows go as column arrays where every column's values
// are known to arrive as a direct INSERT writes them; otherwise, or when the
// catalog can't be read, as multi-row INSERTs, which the summary line tells.
void CopyRun::chooseColumnArrays() {
    if (s_.toDialect.kind != DbKind::PostgreSQL || !o_.columnArrays || o_.rowsPerStatement == 0 ||
        o_.rowsPerStatement == 1)
        return;
    ClassicLink target(host_);
    std::vector<ArrayElement> elements;
    std::string why;
    if (!target.open(s_.toService, why) ||
        !readArrayElements(target, s_.toDialect, *writeTable_, src_.shape.names, elements, why))
        return;
    for (size_t j = 0; j < elements.size(); ++j)
        if (!elementFits(read_.planned.types[j], elements[j])) return;
    jobs_.arraySql = arrayInsertSql(s_.toDialect, jobs_.targetName, src_.shape.names, elements);
    jobs_.arrayRows = static_cast<size_t>(o_.rowsPerStatement > 1 ? o_.rowsPerStatement : kArrayRowsPerStatement);
}

void CopyRun::runJobs() {
    jobs_.results.resize(jobs_.count);
    progress_.emplace(stderr, o_.progress, work_.total);
    {
        std::vector<std::thread> threads;
        for (size_t i = 0; i < jobs_.count; ++i)
            threads.emplace_back([this, i] {
                jobs_.results[i] =
                    runJob(*jobs_.srcLinks[i], *jobs_.dstLinks[i], jobs_.plans[i], *progress_, jobs_.stop);
            });
        for (std::thread& t : threads) t.join();
    }
    progress_->finish();
    tally_.seconds = progress_->seconds();
    jobs_.srcLinks.clear();
    jobs_.dstLinks.clear();
}

bool CopyRun::checkResults() {
    const size_t jobs = jobs_.count;
    if (Interrupt::happened()) {
        for (const JobResult& r : jobs_.results) tally_.committed += r.committed;
        if (replacement_->active())
            err_ << "orlodbc: interrupted; " << shownName(s_.toTable) << " stays as it was" << std::endl;
        else
            err_ << "orlodbc: interrupted; the target keeps the " << tally_.committed
                 << " rows committed before it" << std::endl;
        return end(Interrupt::exitCode());
    }
    bool failed = false;
    for (const JobResult& r : jobs_.results) {
        tally_.rows += r.rows;
        tally_.committed += r.committed;
        tally_.arrays = tally_.arrays || r.arrays;
        tally_.columnArrays = tally_.columnArrays || r.columnArrays;
        if (r.failed && !r.why.empty()) {
            err_ << "orlodbc: copy failed at " << r.why << std::endl;
            failed = true;
        }
    }
    if (failed) {
        if (!replacement_->active())
            err_ << "orlodbc: the target keeps the " << tally_.committed << " rows committed before the failure"
                 << std::endl;
        return end(1);
    }
    const uint64_t rows = tally_.rows, kept = work_.kept;
    if (work_.counted && rows + kept != work_.total) {
        err_ << "orlodbc: the source counted " << work_.total << " rows before the copy and the " << jobs
             << (jobs == 1 ? " job" : " jobs") << " copied " << rows
             << (kept > 0 ? " to the " + std::to_string(kept) + " the target held" : std::string())
             << "; the source changed during the copy"
             << (jobs > 1 ? " or the jobs' ranges missed rows" : "") << std::endl;
        return end(1);
    }
    return true;
}

void CopyRun::printSummary() {
    const size_t jobs = jobs_.count;
    const uint64_t rows = tally_.rows;
    const double seconds = tally_.seconds;
    std::ostringstream line;
    char rate[32];
    std::snprintf(rate, sizeof rate, "%.2f", seconds);
    line << "copied " << rows << " rows from " << s_.fromService.getPropertyValueAsString("DSN", "source") << " to "
         << s_.toService.getPropertyValueAsString("DSN", "target") << "." << shownName(s_.toTable) << " in " << rate
         << " s (" << grouped(seconds > 0 ? static_cast<uint64_t>(rows / seconds) : rows) << " rows/s, " << jobs
         << (jobs == 1 ? " job" : " jobs")
         << (work_.chunkColumn >= 0 ? ", chunks of " + grouped(static_cast<uint64_t>(work_.chunkRows)) +
                                          " rows by " + shownName(src_.shape.names[work_.chunkColumn])
                                    : std::string())
         << (tally_.columnArrays ? ", column arrays of up to " + grouped(jobs_.arrayRows) + " rows"
             : !tally_.arrays    ? std::string()
             : s_.rowsPerStatement > 1 ? ", INSERTs of up to " + std::to_string(s_.rowsPerStatement) + " rows"
                                       : ", row arrays of " + s_.batch) << ")";
    out_ << line.str() << std::endl;
}

bool CopyRun::verify() {
    if (!o_.verify) return true;
    const Shape& shape = src_.shape;
    VerifySide a, b;
    a.service = &s_.fromService;
    a.dialect = s_.fromDialect;
    a.from = src_.from;
    a.readBackSql = read_.plainSql;
    b.service = &s_.toService;
    b.dialect = s_.toDialect;
    b.from = jobs_.targetName;
    b.readBackSql = "SELECT " + quoteNames(s_.toDialect, shape.names) + " FROM " + jobs_.targetName;
    // What the databases can't sum themselves is read row by row: a chunk at a time, too.
    if (work_.chunkColumn >= 0) {
        const std::string keyThere = quoteName(s_.toDialect, shape.names[work_.chunkColumn]);
        for (const KeyChunk& c : work_.chunks) {
            a.where.push_back(chunkCondition(jobs_.chunkKeyName, c));
            b.where.push_back(chunkCondition(keyThere, c));
        }
    }
    const int verified = verifyCopy(host_, a, b, shape, read_.plan.columns, read_.plan.targetTypes, out_, err_);
    if (Interrupt::happened()) {
        err_ << "orlodbc: interrupted during the check; all " << tally_.rows << " rows were committed" << std::endl;
        return end(Interrupt::exitCode());
    }
    if (verified != 0) return end(1);
    return true;
}

} // namespace

int runCopy(DriverHost& host, const CopyOptions& o, std::ostream& out, std::ostream& err) {
    CopyRun run(host, o, out, err);
    if (!run.setUpServices() || !run.nameTables() || !run.probeShape() || !run.prepareTarget() ||
        !run.planReading() || !run.chooseKeys() || !run.createTable() || !run.divideWork() || !run.openJobs())
        return run.status();
    run.runJobs();
    if (!run.checkResults()) return run.status();
    run.printSummary();
    if (!run.verify()) return run.status();
    return run.finish();
}

} // namespace orlodbc
