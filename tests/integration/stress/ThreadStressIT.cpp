// Eight connections on eight threads at once, four classic and four bulk, each
// writing its own key range of every type and reading it back value by value.
// The threads start cold: no connection of the driver exists before them, so
// the bulk environment is made while they race for it. ORL_STRESS_ROWS sets the
// rows per thread (50,000 by default; the race-detector run takes fewer).
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "datatypes/DataTypes.h"
#include "host/Connection.h"
#include "host/Connection2.h"
#include "host/DBError.h"
#include "host/DataService.h"
#include "host/PreparedStatement.h"
#include "host/ResultSet.h"
#include "host/Row.h"
#include "support/DriverLoader.h"
#include "support/TestDsn.h"
#include "unit/bulk/PackedRows.h"

namespace {

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;
using namespace DataTypes;
using namespace packedrows;

constexpr int kThreads = 8;  // even ones classic, odd ones bulk
const unsigned int kDecimal = createFixedDecimal(18, 4);
const unsigned int kWords[] = {LONG, INTEGER, FLOAT, STRING, BINARY, kDecimal, BIGDATETIME, TIME};
constexpr size_t kColumns = sizeof kWords / sizeof kWords[0];
const char* const kColumnList = "k, i, f, s, b, d, ts, tm";

long rowsPerThread() {
    const char* n = std::getenv("ORL_STRESS_ROWS");
    long rows = n && *n ? std::strtol(n, nullptr, 10) : 50000;
    return rows > 0 ? rows : 50000;
}

std::string ddlFor(const std::string& label) {
    if (label == "pg")
        return "CREATE TABLE orl_stress (k BIGINT PRIMARY KEY, i INTEGER, f DOUBLE PRECISION, s VARCHAR(40), "
               "b BYTEA, d NUMERIC(18,4), ts TIMESTAMP(6), tm TIME)";
    if (label == "maria")
        return "CREATE TABLE orl_stress (k BIGINT PRIMARY KEY, i INTEGER, f DOUBLE, s VARCHAR(40), "
               "b VARBINARY(64), d DECIMAL(18,4), ts DATETIME(6), tm TIME)";
    // SQLite keeps a decimal's digits only as text, and timestamps to the millisecond.
    return "CREATE TABLE orl_stress (k BIGINT PRIMARY KEY, i INTEGER, f DOUBLE, s VARCHAR(40), "
           "b BLOB, d DECIMAL(18,4), ts TIMESTAMP, tm TIME)";
}

// The values of row k, a function of k alone, so a row that lands in another
// thread's range or under another key is caught. Texts and bytes live in `keep`.
struct Expected {
    std::vector<DataValue> values = std::vector<DataValue>(kColumns);
    std::string text, bytes;

    explicit Expected(int64_t k) {
        values[0].int64Value = k;
        values[1].int32Value = static_cast<int32_t>((k * 2654435761LL) % 2147483647) * (k % 2 ? -1 : 1);
        values[2].doubleValue = static_cast<double>(k) * 0.5 - 1e6;
        if (k % 11 != 0) text = "row " + std::to_string(k) + std::string(static_cast<size_t>(k % 23), 'x');
        values[3].stringValue = const_cast<char*>(text.c_str());
        for (int64_t j = 0; j < k % 20; ++j) bytes.push_back(static_cast<char>((k + j) % 3 == 0 ? 0 : (k * j) & 0xFF));
        values[4].binaryValue = {reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data())),
                                 static_cast<uint32_t>(bytes.size())};
        std::string digits = (k % 2 ? "-" : "") + std::to_string((k * 7919) % 100000000000000LL) + "." +
                             std::to_string(1000 + k % 9000).substr(0, 4);
        const char* problem = nullptr;
        convertFromString(kDecimal, digits.c_str(), values[5], problem, nullptr, nullptr, nullptr, nullptr);
        // Milliseconds on both sides of 1970, in microseconds.
        values[6].int64Value = (k % 1000000 - 20000) * 86400123LL * 1000;
        values[7].int64Value = (k * 37) % 86400;
        for (size_t j = 0; j < kColumns; ++j) values[j].isNull = j > 0 && (k + static_cast<int64_t>(j)) % 13 == 0;
    }
};

struct Range {
    int64_t first, last;  // inclusive
};

Range rangeOf(int thread) {
    const long n = rowsPerThread();
    return {1 + thread * 1000000LL, thread * 1000000LL + n};
}

std::string selectOf(Range r) {
    return std::string("SELECT ") + kColumnList + " FROM orl_stress WHERE k BETWEEN " + std::to_string(r.first) +
           " AND " + std::to_string(r.last) + " ORDER BY k";
}

// Compares one row read back with what row `want` must hold; the first
// differences go to `failures`.
void check(int64_t want, std::vector<DataValue>& got, std::vector<std::string>& failures, long& checked) {
    Expected e(want);
    if (got[0].isNull || got[0].int64Value != want) {
        failures.push_back("expected key " + std::to_string(want) + ", read " +
                           (got[0].isNull ? std::string("NULL") : std::to_string(got[0].int64Value)));
        return;
    }
    for (size_t j = 1; j < kColumns; ++j) {
        ++checked;
        bool same = e.values[j].isNull == got[j].isNull &&
                    (got[j].isNull || equalValues(e.values[j], got[j], kWords[j]));
        if (!same && failures.size() < 10)
            failures.push_back("key " + std::to_string(want) + " column " + std::to_string(j));
    }
}

class ThreadStress : public ::testing::TestWithParam<orltest::TestDsn> {
protected:
    // SQLite: one file per thread; servers: one table shared by all threads.
    std::string dsnOf(int thread) const {
        const orltest::TestDsn& d = GetParam();
        return std::string(d.label) == "sqlite" ? "orl_sqlite_t" + std::to_string(thread) : d.dsn;
    }

    DataService service(int thread) const {
        DataService s("stress");
        s.setProperty("DSN", dsnOf(thread));
        s.setProperty("User", GetParam().user);
        if (*GetParam().password) s.setProperty("Password", GetParam().password);
        return s;
    }

    // A fresh table through a plain classic connection, made and released
    // before the threads start. The driver is a separate one, so the
    // threads' driver still starts without any connection.
    void prepareTable(const std::string& dsn) {
        orltest::DriverLoader setup;
        DataService s("stress");
        s.setProperty("DSN", dsn);
        s.setProperty("User", GetParam().user);
        if (*GetParam().password) s.setProperty("Password", GetParam().password);
        Connection* c = setup.driver()->createConnection(s);
        ASSERT_NE(nullptr, c);
        ASSERT_EQ(1, c->open());
        std::vector<Parameter> none;
        int count = 0;
        c->executeUpdate("DROP TABLE IF EXISTS orl_stress", none, count);
        ASSERT_EQ(1, c->executeUpdate(ddlFor(GetParam().label), none, count));
        ASSERT_EQ(1, c->commit());
        setup.driver()->releaseConnection(c);
    }

    static void classicThread(Driver* driver, const DataService& s, Range r, std::vector<std::string>& failures,
                              long& checked);
    static void bulkThread(Driver* driver, const DataService& s, Range r, std::vector<std::string>& failures,
                           long& checked);
};

void ThreadStress::classicThread(Driver* driver, const DataService& s, Range r, std::vector<std::string>& failures,
                                 long& checked) {
    Connection* c = driver->createConnection(s);
    if (c == nullptr || c->open() != 1) {
        failures.push_back("classic connect failed");
        if (c) driver->releaseConnection(c);
        return;
    }
    const std::string insert = std::string("INSERT INTO orl_stress (") + kColumnList + ") VALUES (?, ?, ?, ?, ?, ?, ?, ?)";
    std::vector<Parameter> params(kColumns);
    for (int64_t k = r.first; k <= r.last && failures.empty(); ++k) {
        Expected e(k);
        for (size_t j = 0; j < kColumns; ++j) {
            params[j].type = kWords[j];
            params[j].value = e.values[j];
        }
        int count = 0;
        if (c->executeUpdate(insert, params, count) != 1 || count != 1) {
            std::string why;
            c->getLastErrors(why);
            failures.push_back("classic insert of key " + std::to_string(k) + ": " + why);
        }
        if ((k - r.first) % 5000 == 4999 && c->commit() != 1) failures.push_back("classic commit");
    }
    if (failures.empty() && c->commit() != 1) failures.push_back("classic commit");
    std::vector<Parameter> none;
    ResultSet* rs = nullptr;
    if (failures.empty() && (c->executeQuery(selectOf(r), none, 0, rs) != 1 || rs == nullptr))
        failures.push_back("classic query failed");
    int64_t want = r.first;
    RowDescriptor descriptor(std::vector<unsigned int>(kWords, kWords + kColumns));
    bool more = false;
    while (failures.empty() && rs->next(more) == 1 && more) {
        Row* row = nullptr;
        if (rs->getData(descriptor, row) != 1 || row == nullptr) {
            failures.push_back("classic row after key " + std::to_string(want - 1) + " skipped");
            break;
        }
        std::vector<DataValue> got;
        for (size_t j = 0; j < kColumns; ++j) got.push_back(row->getColumnValue(static_cast<int>(j)));
        check(want++, got, failures, checked);
        delete row;
    }
    if (failures.empty() && want != r.last + 1)
        failures.push_back("classic read " + std::to_string(want - r.first) + " rows");
    c->commit();
    driver->releaseConnection(c);
}

void ThreadStress::bulkThread(Driver* driver, const DataService& s, Range r, std::vector<std::string>& failures,
                              long& checked) {
    DBError* error = driver->createError("stress");
    auto said = [&](const char* what) { return std::string(what) + ": " + error->getErrorString(); };
    Connection2* c = driver->createConnection2(s, error);
    if (c == nullptr || c->connect(error) != 0) {
        failures.push_back(said("bulk connect"));
        if (c) driver->releaseConnection2(c, error);
        driver->releaseError(error);
        return;
    }
    const std::string insertSql = std::string("INSERT INTO orl_stress (") + kColumnList + ") VALUES (?, ?, ?, ?, ?, ?, ?, ?)";
    PreparedStatement* insert = c->createPreparedStatement(insertSql.c_str(), error);
    std::vector<int> order(kColumns);
    for (size_t j = 0; j < kColumns; ++j) order[j] = static_cast<int>(j);
    if (insert == nullptr || insert->setBindings(order, kWords, error) != 0) failures.push_back(said("bulk prepare"));
    for (int64_t k = r.first; k <= r.last && failures.empty(); ++k) {
        Expected e(k);
        std::vector<std::pair<unsigned int, DataValue> > values;
        for (size_t j = 0; j < kColumns; ++j) values.push_back({kWords[j], e.values[j]});
        RowPtr row = makeRow(values);
        if (insert->execute(row.get(), error) != 0) failures.push_back(said(("bulk insert of key " + std::to_string(k)).c_str()));
        if ((k - r.first) % 5000 == 4999 && c->commit(error) != 0) failures.push_back(said("bulk commit"));
    }
    if (insert) c->releaseStatement(insert, error);
    if (failures.empty() && c->commit(error) != 0) failures.push_back(said("bulk commit"));
    PreparedStatement* select = nullptr;
    if (failures.empty()) {
        select = c->createPreparedStatement(selectOf(r).c_str(), static_cast<int>(kColumns), kWords, false, error);
        bool more = false;
        if (select == nullptr || select->execute(error) != 0 || select->nextResultSet(more, error) != 0 || !more)
            failures.push_back(said("bulk query"));
    }
    int64_t want = r.first;
    while (failures.empty()) {
        bool more = false;
        if (select->hasMoreData(more, error) != 0) {
            failures.push_back(said("bulk fetch"));
            break;
        }
        if (!more) break;
        RowPtr row(select->nextRow(error));
        if (!row) {
            failures.push_back(said("bulk row"));
            break;
        }
        std::vector<DataValue> got(kColumns);
        for (size_t j = 0; j < kColumns; ++j) unpackValue(kWords[j], columnOf(row.get(), j), got[j]);
        check(want++, got, failures, checked);
    }
    if (failures.empty() && want != r.last + 1)
        failures.push_back("bulk read " + std::to_string(want - r.first) + " rows");
    if (select) c->releaseStatement(select, error);
    c->commit(error);
    c->disconnect(true, error);
    driver->releaseConnection2(c, error);
    driver->releaseError(error);
}

TEST_P(ThreadStress, EightConnectionsOnEightThreadsKeepTheirRows) {
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    const bool perThreadFile = std::string(d.label) == "sqlite";
    for (int t = 0; t < (perThreadFile ? kThreads : 1); ++t) {
        prepareTable(dsnOf(t));
        if (HasFatalFailure()) return;
    }
    orltest::DriverLoader loader;  // no connection made by this driver yet
    ASSERT_NE(nullptr, loader.driver()) << loader.error();
    std::vector<std::vector<std::string> > failures(kThreads);
    std::vector<long> checked(kThreads, 0);
    std::atomic<int> waiting{kThreads};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            DataService s = service(t);
            if (--waiting > 0)
                while (waiting.load() > 0) std::this_thread::yield();
            if (t % 2 == 0)
                classicThread(loader.driver(), s, rangeOf(t), failures[t], checked[t]);
            else
                bulkThread(loader.driver(), s, rangeOf(t), failures[t], checked[t]);
        });
    }
    for (std::thread& th : threads) th.join();
    long total = 0;
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(std::vector<std::string>{}, failures[t]) << (t % 2 ? "bulk" : "classic") << " thread " << t;
        EXPECT_EQ(rowsPerThread() * static_cast<long>(kColumns - 1), checked[t]) << "thread " << t;
        total += checked[t];
    }
    std::printf("%s: %d threads, %ld rows each, %ld values checked\n", d.label, kThreads, rowsPerThread(), total);
}

INSTANTIATE_TEST_SUITE_P(Dsn, ThreadStress, ::testing::ValuesIn(orltest::testDsns()),
                         [](const ::testing::TestParamInfo<orltest::TestDsn>& i) { return std::string(i.param.label); });

} // namespace
