// Rows per second of the bulk path's multi-row execute into each test
// database: 100,000 rows of (integer, double, varchar(20), timestamp,
// numeric(12,2)) as parameter arrays of 1024 rows ("ParamArraySize") against
// multi-row statements of 100, 500 and 1000 rows ("InsertRowsPerStatement"),
// each way committed once, the ways interleaved, three runs each; the best run
// is reported, a neighbour's load only ever adding time.
//
// Needs the test databases: . scripts/odbc-env.sh; bash scripts/db-start.sh all.
// DSNs: ORL_BENCH_SQLITE (orl_sqlite), ORL_BENCH_PG (orl_pg), ORL_BENCH_MARIA
// (orl_maria); ORL_BENCH_USER (orl), ORL_BENCH_PASSWORD (orl_pw).
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/bulk/WriteRows.h"
#include "datatypes/DataTypes.h"
#include "host/Connection2.h"
#include "host/DBError.h"
#include "host/DataService.h"
#include "host/Driver.h"
#include "host/PreparedStatement.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace {

constexpr int kRows = 100000;
constexpr int kRuns = 3;

struct Database {
    const char* label;
    std::string dsn;
    const char* ddl;
};

struct Way {
    const char* name;
    int arrays, insertRows;
};

const Way kWays[] = {{"arrays 1024", 1024, 0}, {"R=100", 0, 100}, {"R=500", 0, 500}, {"R=1000", 0, 1000}};

std::vector<RowInternal2*> makeRows() { return packedWriteRows(kRows); }

Driver* g_driver = nullptr;

Connection2* connect(const Database& db, const Way& w, DBError* error) {
    DataService service("bench");
    service.setProperty("DSN", db.dsn);
    service.setProperty("User", env("ORL_BENCH_USER", "orl"));
    service.setProperty("Password", env("ORL_BENCH_PASSWORD", "orl_pw"));
    if (w.arrays) service.setProperty("ParamArraySize", std::to_string(w.arrays));
    if (w.insertRows) service.setProperty("InsertRowsPerStatement", std::to_string(w.insertRows));
    Connection2* c = g_driver->createConnection2(service, error);
    if (c && c->connect(error) != 0) {
        g_driver->releaseConnection2(c, error);
        return nullptr;
    }
    return c;
}

bool run(Connection2* c, const std::string& sql, DBError* error) {
    PreparedStatement* st = c->createPreparedStatement(sql.c_str(), error);
    const bool ok = st && st->execute(error) == 0 && c->commit(error) == 0;
    if (st) c->releaseStatement(st, error);
    return ok;
}

// Seconds for one way's rows, committed; negative when it fails.
double once(const Database& db, const Way& w, std::vector<const RowInternal2*>& list, DBError* error) {
    Connection2* c = connect(db, w, error);
    if (!c) return -1;
    double seconds = -1;
    const unsigned int words[] = {DataTypes::INTEGER, DataTypes::FLOAT, DataTypes::STRING, DataTypes::BIGDATETIME,
                                  DataTypes::createFixedDecimal(12, 2)};
    std::vector<int> columns = {0, 1, 2, 3, 4};
    PreparedStatement* st = nullptr;
    // An empty table's DELETE answers "no data", which fails an execute.
    run(c, "DELETE FROM insert_bench", error);
    if (c->commit(error) == 0 &&
        (st = c->createPreparedStatement("INSERT INTO insert_bench VALUES (?, ?, ?, ?, ?)", error)) != nullptr &&
        st->setBindings(columns, words, error) == 0) {
        const auto start = std::chrono::steady_clock::now();
        if (st->execute(list.data(), error) == 0 && c->commit(error) == 0)
            seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    if (st) c->releaseStatement(st, error);
    c->disconnect(true, error);
    g_driver->releaseConnection2(c, error);
    return seconds;
}

} // namespace

int main() {
    g_driver = loadBenchDriver(ORL_DRIVER_PATH);
    if (!g_driver) return 1;
    DBError* error = g_driver->createError("bench");
    const Database databases[] = {
        {"sqlite", env("ORL_BENCH_SQLITE", "orl_sqlite"),
         "CREATE TABLE insert_bench (i INTEGER, d DOUBLE, s VARCHAR(20), ts TIMESTAMP, n NUMERIC(12,2))"},
        {"pg", env("ORL_BENCH_PG", "orl_pg"),
         "CREATE TABLE insert_bench (i INTEGER, d DOUBLE PRECISION, s VARCHAR(20), ts TIMESTAMP, n NUMERIC(12,2))"},
        {"maria", env("ORL_BENCH_MARIA", "orl_maria"),
         "CREATE TABLE insert_bench (i INTEGER, d DOUBLE, s VARCHAR(20), ts DATETIME(6), n DECIMAL(12,2))"},
    };
    std::vector<RowInternal2*> rows = makeRows();
    std::vector<const RowInternal2*> list(rows.begin(), rows.end());
    list.push_back(nullptr);
    for (const Database& db : databases) {
        Connection2* c = connect(db, kWays[0], error);
        if (!c || !(run(c, "DROP TABLE IF EXISTS insert_bench", error), run(c, db.ddl, error))) {
            std::fprintf(stderr, "%s: %s; skipped\n", db.label, error->getErrorString());
            if (c) g_driver->releaseConnection2(c, error);
            continue;
        }
        std::vector<double> best(sizeof kWays / sizeof kWays[0], 0);
        for (int r = 0; r < kRuns; ++r)
            for (size_t w = 0; w < best.size(); ++w) {
                const double s = once(db, kWays[w], list, error);
                if (s < 0) std::fprintf(stderr, "%s, %s: %s\n", db.label, kWays[w].name, error->getErrorString());
                else if (best[w] == 0 || s < best[w]) best[w] = s;
            }
        for (size_t w = 0; w < best.size(); ++w)
            if (best[w] > 0)
                std::printf("%-7s %-12s %9.0f rows/s  (%.3f s, best of %d)\n", db.label, kWays[w].name, kRows / best[w],
                            best[w], kRuns);
        run(c, "DROP TABLE insert_bench", error);
        c->disconnect(true, error);
        g_driver->releaseConnection2(c, error);
    }
    g_driver->releaseError(error);
    for (RowInternal2* row : rows) std::free(row);
    return 0;
}
