#include "tools/orlodbc/Copy.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <ostream>
#include <sstream>
#include <thread>

#include "datatypes/DataTypes.h"
#include "host/Connection.h"
#include "host/Connection2.h"
#include "host/DBError.h"
#include "host/PreparedStatement.h"
#include "tools/orlodbc/Checksum.h"
#include "tools/orlodbc/Progress.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;
using namespace DataTypes;

namespace orlodbc {

namespace {

struct FreeRow {
    void operator()(RowInternal2* row) const { std::free(row); }
};
typedef std::unique_ptr<RowInternal2, FreeRow> RowPtr;

std::string recordText(const DBError* e) {
    std::string text = e->getErrorString();
    return text.empty() ? std::string("(no message)") : text;
}

// One bulk connection with its error record, both given back on every way out.
class BulkLink {
public:
    BulkLink(DriverHost& host, const char* role) : host_(host), role_(role) {}
    ~BulkLink() {
        Driver* d = host_.driver();
        if (connection_) {
            connection_->disconnect(true, error_);  // rolls back what is open
            d->releaseConnection2(connection_, error_);
        }
        if (error_) d->releaseError(error_);
    }
    BulkLink(const BulkLink&) = delete;
    BulkLink& operator=(const BulkLink&) = delete;

    bool open(const DataService& service) {
        std::lock_guard<std::mutex> lock(host_.factoryLock());
        Driver* d = host_.driver();
        error_ = d->createError(service.getName().c_str());
        if (error_ == nullptr) return fail("no error record");
        connection_ = d->createConnection2(service, error_);
        if (connection_ == nullptr) return fail(recordText(error_));
        if (connection_->connect(error_) != 0) return fail(recordText(error_));
        return true;
    }
    Connection2* connection() const { return connection_; }
    DBError* error() const { return error_; }
    // "<role>: <text>" of the last failure.
    const std::string& why() const { return why_; }
    bool fail(const std::string& text) {
        why_ = std::string(role_) + ": " + text;
        return false;
    }
    bool failRecord() { return fail(recordText(error_)); }

private:
    DriverHost& host_;
    const char* role_;
    Connection2* connection_ = nullptr;
    DBError* error_ = nullptr;
    std::string why_;
};

// A prepared statement released through its connection.
class Statement {
public:
    Statement(BulkLink& link, PreparedStatement* st) : link_(link), st_(st) {}
    ~Statement() {
        if (st_) link_.connection()->releaseStatement(st_, link_.error());
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    PreparedStatement* operator->() const { return st_; }
    PreparedStatement* get() const { return st_; }

private:
    BulkLink& link_;
    PreparedStatement* st_;
};

// What a statement gives: column names and the type words the driver reads them with.
struct Shape {
    std::vector<std::string> names;
    std::vector<unsigned int> types;
};

bool shapeOf(BulkLink& link, PreparedStatement* st, Shape& shape) {
    int n = 0;
    if (st->getEffectiveNumberColumns(n, link.error()) != 0) return link.failRecord();
    shape = Shape();
    for (int j = 0; j < n; ++j) {
        unsigned int type = 0;
        if (st->getEffectiveDataType(j, type, link.error()) != 0) return link.failRecord();
        const char* name = st->getColumnName(static_cast<unsigned long>(j), link.error());
        shape.names.push_back(name ? name : "");
        shape.types.push_back(type);
    }
    return true;
}

bool plainName(const std::string& name) { return name.find_first_of(".\"`[") == std::string::npos; }

// Identifiers the tool writes itself are quoted in the database's own way, so
// that names keep their case; a table name with a dot or quotes is the
// user's SQL and goes as written.
std::string quoted(const std::string& keyword, const std::string& name) {
    if (keyword == "MYSQL") return "`" + name + "`";
    return "\"" + name + "\"";
}
std::string tableName(const std::string& keyword, const std::string& name) {
    return plainName(name) ? quoted(keyword, name) : name;
}

std::string sourceFrom(const CopyOptions& o) {
    return o.query.empty() ? o.table : "(" + o.query + ") orl_source";
}

// One connection's worth of reading a query with declared 64-bit columns:
// MIN/MAX and COUNT, whatever integer type the database answers in.
bool readLongs(BulkLink& link, const std::string& sql, std::vector<int64_t>& values, std::vector<bool>& nulls) {
    const int n = static_cast<int>(values.size());
    std::vector<unsigned int> words(values.size(), LONG);
    Statement st(link, link.connection()->createPreparedStatement(sql.c_str(), n, words.data(), false, link.error()));
    if (st.get() == nullptr || st->execute(link.error()) != 0) return link.failRecord();
    bool more = false;
    if (st->nextResultSet(more, link.error()) != 0 || st->hasMoreData(more, link.error()) != 0) return link.failRecord();
    if (!more) return link.fail("no row from: " + sql);
    std::vector<DataValue> row(values.size());
    for (DataValue& v : row) v.isNull = false;
    if (st->nextRow(row, link.error()) != 0) return link.failRecord();
    for (size_t j = 0; j < values.size(); ++j) {
        nulls[j] = row[j].isNull;
        values[j] = row[j].isNull ? 0 : row[j].int64Value;
    }
    return true;
}

// The driver names a MariaDB server "OTHERS"; its version text says what it is.
// Its dialect is MySQL's, and the tool quotes and creates tables by that.
std::string dialectOf(const std::string& keyword, BulkLink& link) {
    if (keyword != "OTHERS") return keyword;
    const unsigned int word = STRING;
    Statement st(link, link.connection()->createPreparedStatement("SELECT VERSION()", 1, &word, false, link.error()));
    std::string version;
    bool more = false;
    if (st.get() != nullptr && st->execute(link.error()) == 0 && st->nextResultSet(more, link.error()) == 0 &&
        st->hasMoreData(more, link.error()) == 0 && more) {
        std::vector<DataValue> row(1);
        row[0].isNull = false;
        if (st->nextRow(row, link.error()) == 0 && !row[0].isNull && row[0].stringValue) {
            version = row[0].stringValue;
            std::free(row[0].stringValue);
        }
    }
    link.connection()->rollback(link.error());
    return version.find("MariaDB") != std::string::npos ? "MYSQL" : keyword;
}

// Classic connection for what only it does: the database keyword and table creation.
class ClassicLink {
public:
    explicit ClassicLink(DriverHost& host) : host_(host) {}
    ~ClassicLink() {
        if (c_) {
            c_->close();
            host_.driver()->releaseConnection(c_);
        }
    }
    bool open(const DataService& service, std::string& why) {
        {
            std::lock_guard<std::mutex> lock(host_.factoryLock());
            c_ = host_.driver()->createConnection(service);
        }
        if (c_ == nullptr) {
            why = "the driver refused the service definition (DSN and User are required)";
            return false;
        }
        if (c_->open() != 1) return failed(why);
        return true;
    }
    Connection* get() const { return c_; }
    bool failed(std::string& why) {
        std::string errors;
        c_->getLastErrors(errors);
        why = printableErrors(errors);
        // Statements log their failure without adding it to the connection's text.
        if (why.empty()) why = host_.lastLog();
        if (why.empty()) why = "the driver gave no text";
        return false;
    }

private:
    DriverHost& host_;
    Connection* c_ = nullptr;
};

struct JobResult {
    uint64_t rows = 0;       // executed on the target
    uint64_t committed = 0;  // of them, committed
    bool failed = false;
    std::string why;
    bool arrays = false;     // the driver took row arrays
};

struct JobPlan {
    std::string selectSql;
    std::string insertSql;
    std::string range;  // how the failure message names the job's part
    const Shape* shape = nullptr;
    int batch = 1;
    long commitEvery = 0;
};

// Copies one query's rows: reads packed rows from the source statement and
// writes them to the target's INSERT, in blocks when the driver runs them.
class CopyJob {
public:
    CopyJob(BulkLink& src, BulkLink& dst, const JobPlan& plan, Progress& progress, std::atomic<bool>& stop)
        : src_(src), dst_(dst), plan_(plan), progress_(progress), stop_(stop) {}

    JobResult run() {
        if (!copy()) {
            result_.failed = true;
            dst_.connection()->rollback(dst_.error());
            stop_ = true;
        }
        return result_;
    }

private:
    bool copy() {
        Statement sel(src_, src_.connection()->createPreparedStatement(plan_.selectSql.c_str(), src_.error()));
        if (sel.get() == nullptr) return report(src_.failRecord());
        Shape shape;
        if (!shapeOf(src_, sel.get(), shape)) return report(false);
        if (shape.types != plan_.shape->types) return report(src_.fail("the source's columns changed under the copy"));
        Statement ins(dst_, dst_.connection()->createPreparedStatement(plan_.insertSql.c_str(), dst_.error()));
        if (ins.get() == nullptr) return report(dst_.failRecord());
        std::vector<int> columns(shape.types.size());
        for (size_t j = 0; j < columns.size(); ++j) columns[j] = static_cast<int>(j);
        if (ins->setBindings(columns, shape.types.data(), dst_.error()) != 0) return report(dst_.failRecord());
        insert_ = ins.get();

        bool more = false;
        if (sel->execute(src_.error()) != 0 || sel->nextResultSet(more, src_.error()) != 0)
            return report(src_.failRecord());
        arrays_ = plan_.batch > 1;
        while (!stop_) {
            if (sel->hasMoreData(more, src_.error()) != 0) return report(src_.failRecord());
            if (!more) break;
            RowPtr row(sel->nextRow(src_.error()));
            if (!row) return report(src_.fail("row " + std::to_string(result_.rows + pending_.size() + 1) +
                                              plan_.range + ": " + recordText(src_.error())));
            pending_.push_back(std::move(row));
            if (static_cast<int>(pending_.size()) >= flushAt() && !flush()) return false;
        }
        if (stop_) return false;  // another job failed: leave what it committed, drop ours since
        if (!flush()) return false;
        return commit();
    }

    // A block ends where a commit is due, so that commits fall on exact counts.
    int flushAt() const {
        long room = plan_.batch;
        if (plan_.commitEvery > 0) {
            long due = plan_.commitEvery - static_cast<long>(sinceCommit_);
            if (due < room) room = due;
        }
        return room < 1 ? 1 : static_cast<int>(room);
    }

    bool flush() {
        if (pending_.empty()) return true;
        bool done = false;
        if (arrays_) {
            std::vector<const RowInternal2*> block;
            for (const RowPtr& r : pending_) block.push_back(r.get());
            block.push_back(nullptr);  // the block ends at the first null row
            if (insert_->execute(block.data(), dst_.error()) == 0) {
                done = true;
                result_.arrays = true;
            } else if (std::strlen(dst_.error()->getErrorString()) == 0) {
                arrays_ = false;  // the driver has no row arrays: one row per execute from now on
            } else {
                return blockFailed();
            }
        }
        if (!done) {
            for (size_t i = 0; i < pending_.size(); ++i)
                if (insert_->execute(pending_[i].get(), dst_.error()) != 0) return rowFailed(i);
        }
        result_.rows += pending_.size();
        sinceCommit_ += pending_.size();
        progress_.advance(pending_.size());
        pending_.clear();
        if (plan_.commitEvery > 0 && sinceCommit_ >= static_cast<uint64_t>(plan_.commitEvery)) return commit();
        return true;
    }

    bool commit() {
        if (dst_.connection()->commit(dst_.error()) != 0) return report(dst_.fail("commit: " + recordText(dst_.error())));
        result_.committed = result_.rows;
        sinceCommit_ = 0;
        return true;
    }

    bool rowFailed(size_t i) {
        const uint64_t number = result_.rows + i + 1;
        return report(dst_.fail("row " + std::to_string(number) + plan_.range + ": " + recordText(dst_.error())));
    }

    // A block names no row: after the rollback, its rows go again one by one
    // to find the one the database refuses, and that is rolled back too.
    bool blockFailed() {
        const std::string blockText = recordText(dst_.error());
        dst_.connection()->rollback(dst_.error());
        for (size_t i = 0; i < pending_.size(); ++i)
            if (insert_->execute(pending_[i].get(), dst_.error()) != 0) return rowFailed(i);
        dst_.connection()->rollback(dst_.error());
        return report(dst_.fail("rows " + std::to_string(result_.rows + 1) + " to " +
                                std::to_string(result_.rows + pending_.size()) + plan_.range + ": " + blockText));
    }

    bool report(bool ok) {
        if (!ok) {
            result_.why = !dst_.why().empty() ? dst_.why() : src_.why();
        }
        return ok;
    }

    BulkLink& src_;
    BulkLink& dst_;
    const JobPlan& plan_;
    Progress& progress_;
    std::atomic<bool>& stop_;
    PreparedStatement* insert_ = nullptr;
    std::vector<RowPtr> pending_;
    uint64_t sinceCommit_ = 0;
    bool arrays_ = false;
    JobResult result_;
};

// Reads a whole query back and sums it up; false with the link's why().
bool checksumOf(BulkLink& link, const std::string& sql, TableChecksum& sum) {
    Statement st(link, link.connection()->createPreparedStatement(sql.c_str(), link.error()));
    if (st.get() == nullptr) return link.failRecord();
    Shape shape;
    if (!shapeOf(link, st.get(), shape)) return false;
    sum = TableChecksum(shape.types);
    bool more = false;
    if (st->execute(link.error()) != 0 || st->nextResultSet(more, link.error()) != 0) return link.failRecord();
    while (true) {
        if (st->hasMoreData(more, link.error()) != 0) return link.failRecord();
        if (!more) break;
        RowPtr row(st->nextRow(link.error()));
        if (!row) return link.failRecord();
        sum.add(row.get());
    }
    return true;
}

std::string joinNames(const std::string& keyword, const std::vector<std::string>& names) {
    std::string out;
    for (size_t j = 0; j < names.size(); ++j) out += (j ? ", " : "") + quoted(keyword, names[j]);
    return out;
}

// The target's dialect, and with --create its table, made through its
// classic connection. 0, or the exit status of a failure told on `err`.
int prepareTarget(DriverHost& host, const DataService& toService, const std::string& toTable, const Shape& shape,
                  const CopyOptions& o, std::string& toKeyword, std::ostream& err) {
    std::string why;
    ClassicLink dst(host);
    if (!dst.open(toService, why)) {
        err << "orlodbc: target: " << why << std::endl;
        return 1;
    }
    toKeyword = dst.get()->getDriverProperty(Driver::PROPERTY_KEY_DATABASE_TYPE);
    {
        BulkLink target(host, "target");
        if (!target.open(toService)) {
            err << "orlodbc: " << target.why() << std::endl;
            return 1;
        }
        toKeyword = dialectOf(toKeyword, target);
    }
    if (!o.create) return 0;
    Connection* c = dst.get();
    const std::string ddl = createTableSql(toKeyword, tableName(toKeyword, toTable), shape.names, shape.types);
    std::vector<Parameter> none;
    int count = 0;
    bool ok;
    if (ddl.empty()) {
        ok = c->createTable(toTable, shape.names, shape.types, std::vector<bool>(shape.names.size(), false), true,
                            o.dropExisting) == 1;
    } else {
        ok = (!o.dropExisting ||
              c->executeUpdate("DROP TABLE IF EXISTS " + tableName(toKeyword, toTable), none, count) == 1) &&
             c->executeUpdate(ddl, none, count) == 1;
    }
    if (!ok || c->commit() != 1) {
        dst.failed(why);
        err << "orlodbc: target: cannot create " << toTable << ": " << why << std::endl;
        return 1;
    }
    return 0;
}

// The WHERE conditions of the jobs over the split key's MIN to MAX; none for
// an empty source. False with the link's why().
bool splitConditions(BulkLink& probe, const CopyOptions& o, const std::string& source,
                     std::vector<std::string>& conditions) {
    std::vector<int64_t> v(2);
    std::vector<bool> nulls(2);
    if (!readLongs(probe, "SELECT MIN(" + o.splitBy + "), MAX(" + o.splitBy + ") FROM " + source, v, nulls))
        return false;
    if (nulls[0] || nulls[1]) return true;
    const std::vector<int64_t> starts = splitRanges(v[0], v[1], o.jobs);
    for (size_t i = 0; i < starts.size(); ++i) {
        std::string c = o.splitBy + " >= " + std::to_string(starts[i]);
        c += i + 1 < starts.size() ? " AND " + o.splitBy + " < " + std::to_string(starts[i + 1])
                                   : " AND " + o.splitBy + " <= " + std::to_string(v[1]);
        // Rows without a key belong to the first job.
        if (i == 0) c = "(" + c + ") OR " + o.splitBy + " IS NULL";
        conditions.push_back(c);
    }
    return true;
}

// Both sides read back through the driver at once, each on its own
// connection, and compared by row count and column checksums.
int verifyCopy(DriverHost& host, const DataService& fromService, const std::string& sourceSql,
               const DataService& toService, const std::string& targetSql, const Shape& shape, std::ostream& out,
               std::ostream& err) {
    BulkLink vsrc(host, "source"), vdst(host, "target");
    if (!vsrc.open(fromService) || !vdst.open(toService)) {
        err << "orlodbc: verify: " << (vsrc.why().empty() ? vdst.why() : vsrc.why()) << std::endl;
        return 1;
    }
    TableChecksum a, b;
    bool okA = false, okB = false;
    std::thread reader([&] { okA = checksumOf(vsrc, sourceSql, a); });
    okB = checksumOf(vdst, targetSql, b);
    reader.join();
    if (!okA || !okB) {
        err << "orlodbc: verify: " << (okA ? vdst.why() : vsrc.why()) << std::endl;
        return 1;
    }
    bool same = a.rows() == b.rows();
    if (!same) err << "orlodbc: verify: the source has " << a.rows() << " rows, the target " << b.rows() << std::endl;
    for (size_t j = 0; j < shape.names.size() && j < b.columnSums().size(); ++j) {
        if (a.columnSums()[j] != b.columnSums()[j]) {
            err << "orlodbc: verify: column " << shape.names[j] << " differs (" << typeToString(shape.types[j])
                << " in the source)" << std::endl;
            same = false;
        }
    }
    if (!same) return 1;
    out << "verified " << b.rows() << " rows, checksum " << b.text() << std::endl;
    return 0;
}

} // namespace

std::string createTableSql(const std::string& keyword, const std::string& quotedTable,
                           const std::vector<std::string>& names, const std::vector<unsigned int>& types) {
    const bool pg = keyword == "POSTGRESQL";
    if (!pg && keyword != "MYSQL") return "";
    std::string sql = "CREATE TABLE " + quotedTable + " (";
    for (size_t j = 0; j < names.size(); ++j) {
        const unsigned int t = types[j];
        std::string name;
        switch (t & kTypeMask) {
        case INT16: name = "SMALLINT"; break;
        case INTEGER: name = "INTEGER"; break;
        case LONG:
        case INTERVAL: name = "BIGINT"; break;
        case FLOAT: name = pg ? "DOUBLE PRECISION" : "DOUBLE"; break;
        case DATE: name = "DATE"; break;
        case STRING: name = pg ? "TEXT" : "LONGTEXT"; break;
        case TIMESTAMP: name = pg ? "TIMESTAMP(3)" : "DATETIME(3)"; break;
        case BIGDATETIME: name = pg ? "TIMESTAMP(6)" : "DATETIME(6)"; break;
        // A small integer, as the driver's own dialect has it: PostgreSQL's
        // driver would read a BOOLEAN back as text.
        case BOOLEAN: name = pg ? "SMALLINT" : "TINYINT"; break;
        case BINARY: name = pg ? "BYTEA" : "LONGBLOB"; break;
        case TIME: name = "TIME"; break;
        case FIXEDDECIMAL: {
            const unsigned int precision = (t & kPrecisionMask) >> kPrecisionShift;
            const unsigned int scale = (t & kScaleMask) >> kScaleShift;
            name = precision == 0 ? "DECIMAL(38,10)"
                                  : "DECIMAL(" + std::to_string(precision) + "," + std::to_string(scale) + ")";
            break;
        }
        default:
            if ((t & kTypeMask) >= MONEY_1 && (t & kTypeMask) <= MONEY_15)
                name = "DECIMAL(19," + std::to_string(getMoneyPrecision(t)) + ")";
            else if ((t & kTypeMask) == MONEY)
                name = "DECIMAL(19,4)";
            else
                name = "error";  // refused by the database, as the driver's own dialect does
        }
        sql += (j ? ", " : "") + quoted(keyword, names[j]) + " " + name;
    }
    return sql + ")";
}

std::vector<int64_t> splitRanges(int64_t min, int64_t max, int jobs) {
    std::vector<int64_t> starts;
    if (jobs < 1) jobs = 1;
    const __int128 span = static_cast<__int128>(max) - min + 1;
    for (int i = 0; i < jobs; ++i) {
        const int64_t start = static_cast<int64_t>(min + span * i / jobs);
        // Fewer keys than jobs: the empty ranges are dropped.
        if (starts.empty() || start > starts.back()) starts.push_back(start);
    }
    return starts;
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
    const std::string toTable = o.toTable.empty() ? o.table : o.toTable;

    std::string toKeyword;  // the target's dialect: quoting and the tool's own CREATE TABLE
    const std::string source = sourceFrom(o);
    const std::string wholeSql = o.query.empty() ? "SELECT * FROM " + o.table : o.query;

    // The source's shape, from a statement prepared but not run.
    BulkLink probe(host, "source");
    if (!probe.open(fromService)) {
        err << "orlodbc: " << probe.why() << std::endl;
        return 1;
    }
    Shape shape;
    {
        Statement st(probe, probe.connection()->createPreparedStatement(wholeSql.c_str(), probe.error()));
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
            err << "orlodbc: source: column " << shape.names[j]
                << " has a type the driver can't read; copy from a query that casts it" << std::endl;
            return 2;
        }
    }

    const int prepared = prepareTarget(host, toService, toTable, shape, o, toKeyword, err);
    if (prepared != 0) return prepared;

    // Work for the jobs: the whole source, or ranges of the split key.
    std::vector<std::string> conditions;
    if (!o.splitBy.empty() && o.jobs > 1 && !splitConditions(probe, o, source, conditions)) {
        err << "orlodbc: " << probe.why() << std::endl;
        return 1;
    }
    if (conditions.empty()) conditions.push_back("");
    uint64_t total = 0;
    if (o.query.empty()) {
        // Counting a table is cheap enough for a percentage; a query may not be.
        std::vector<int64_t> v(1);
        std::vector<bool> nulls(1);
        if (readLongs(probe, "SELECT COUNT(*) FROM " + o.table, v, nulls) && !nulls[0]) total = static_cast<uint64_t>(v[0]);
    }
    // Nothing of the set-up stays open: an embedded database locks its file for an open read.
    probe.connection()->rollback(probe.error());

    std::string params;
    for (size_t j = 0; j < shape.names.size(); ++j) params += j ? ", ?" : "?";
    const std::string insertSql = "INSERT INTO " + tableName(toKeyword, toTable) + " (" +
                                  joinNames(toKeyword, shape.names) + ") VALUES (" + params + ")";

    const size_t jobs = conditions.size();
    std::vector<JobPlan> plans(jobs);
    std::vector<std::unique_ptr<BulkLink> > srcLinks, dstLinks;
    for (size_t i = 0; i < jobs; ++i) {
        JobPlan& p = plans[i];
        p.selectSql = conditions[i].empty() ? wholeSql : "SELECT * FROM " + source + " WHERE " + conditions[i];
        p.insertSql = insertSql;
        p.range = jobs > 1 ? " of job " + std::to_string(i + 1) + " (" + conditions[i] + ")" : "";
        p.shape = &shape;
        p.batch = o.batch < 1 ? 1 : o.batch;
        p.commitEvery = o.commitEvery;
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
            threads.emplace_back([&, i] {
                CopyJob job(*srcLinks[i], *dstLinks[i], plans[i], progress, stop);
                results[i] = job.run();
            });
        for (std::thread& t : threads) t.join();
    }
    progress.finish();
    const double seconds = progress.seconds();
    srcLinks.clear();
    dstLinks.clear();

    uint64_t rows = 0, committed = 0;
    bool failed = false, arrays = false;
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
        err << "orlodbc: the target keeps the " << committed << " rows committed before the failure" << std::endl;
        return 1;
    }

    std::ostringstream line;
    char rate[32];
    std::snprintf(rate, sizeof rate, "%.2f", seconds);
    line << "copied " << rows << " rows from " << fromService.getPropertyValueAsString("DSN", "source") << " to "
         << toService.getPropertyValueAsString("DSN", "target") << "." << toTable << " in " << rate << " s ("
         << grouped(seconds > 0 ? static_cast<uint64_t>(rows / seconds) : rows) << " rows/s, " << jobs
         << (jobs == 1 ? " job" : " jobs") << (arrays ? ", row arrays of " + batch : "") << ")";
    out << line.str() << std::endl;
    if (!o.verify) return 0;

    const std::string targetSql =
        "SELECT " + joinNames(toKeyword, shape.names) + " FROM " + tableName(toKeyword, toTable);
    return verifyCopy(host, fromService, wholeSql, toService, targetSql, shape, out, err);
}

} // namespace orlodbc
