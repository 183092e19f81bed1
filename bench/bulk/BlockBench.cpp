// Block transfers of the bulk path against raw ODBC loops, in one run.
//
// Reads: 1,000,000 rows of (integer, double precision, varchar(20), timestamp,
// numeric(12,2)) on SQLite and PostgreSQL, the latter through two DSNs ("pg"
// prepares on the server, "pg-plain" on the client), five ways: a raw loop of SQLFetch
// and one SQLGetData per cell; a raw loop over column-wise bound arrays of
// 1024 rows, once after SQLExecDirect and once after the bulk path's prepare,
// describe and execute; the bulk path one row per fetch; the bulk path with
// "FetchArraySize" 1024 (ORL_BENCH_BLOCKS adds other sizes). Both bulk ways go
// through FactoryDriver and yield a packed row per row, as the server reads
// them. On SQLite a sixth way binds every column as text, the bulk path's
// bindings there without its conversions and packing.
// Writes: 100,000 such rows into PostgreSQL through the bulk path, one
// execute a row against the multi-row execute with "ParamArraySize" 1024.
//
// Needs the test databases: . scripts/odbc-env.sh; bash scripts/db-start.sh pg.
// DSNs and credentials: ORL_BENCH_SQLITE (orl_sqlite), ORL_BENCH_PG (orl_pg),
// ORL_BENCH_PG_PLAIN (orl_pg_plain), ORL_BENCH_USER (orl), ORL_BENCH_PASSWORD
// (orl_pw). Prints the ratios of the medians and of the minimums at the end,
// and each run's peak resident size; --benchmark_out=FILE keeps every
// repetition.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
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

// ORL_BENCH_ROWS sets another count, for profiling runs.
int g_readRows = 1000000;
// ORL_BENCH_REPETITIONS sets the reads' repetitions (7), for counting runs.
int g_repetitions = 7;
constexpr int kWriteRows = 100000;
constexpr int kBlock = 1024;
// ORL_BENCH_BLOCKS, a list of rows per fetch ("64,256,4096"), adds a bulk
// block way for each (BulkBlocks64, ...) beside BulkBlocks, to compare block
// sizes; the raw array loops keep kBlock.
std::vector<int> g_moreBlocks;
constexpr const char* kSelect = "SELECT i, d, s, ts, n FROM block_bench";

struct Dsn {
    std::string name, user, password;
};
Dsn g_sqlite, g_pg, g_pgPlain;
Driver* g_driver = nullptr;

// The resident peak since the last resetPeak(): with the ways shuffled, the
// process's lifetime peak would be whichever way ran first at its largest.
void resetPeak() {
    if (std::FILE* f = std::fopen("/proc/self/clear_refs", "w")) {
        std::fputs("5", f);
        std::fclose(f);
    }
}

double peakMegabytes() {
    double kilobytes = 0;
    if (std::FILE* f = std::fopen("/proc/self/status", "r")) {
        char line[256];
        while (std::fgets(line, sizeof line, f))
            if (std::sscanf(line, "VmHWM: %lf kB", &kilobytes) == 1) break;
        std::fclose(f);
    }
    return kilobytes / 1024.0;
}

// A raw connection with the bulk path's settings: autocommit off.
struct RawConnection {
    SQLHENV env = SQL_NULL_HENV;
    SQLHDBC dbc = SQL_NULL_HDBC;
    bool ok = false;
    explicit RawConnection(const Dsn& d) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
        SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
        SQLSetConnectAttr(dbc, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), SQL_IS_UINTEGER);
        ok = SQL_SUCCEEDED(SQLConnect(dbc, (SQLCHAR*)d.name.c_str(), SQL_NTS, (SQLCHAR*)d.user.c_str(), SQL_NTS,
                                      (SQLCHAR*)d.password.c_str(), SQL_NTS));
    }
    ~RawConnection() {
        if (ok) {
            SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_ROLLBACK);
            SQLDisconnect(dbc);
        }
        SQLFreeHandle(SQL_HANDLE_DBC, dbc);
        SQLFreeHandle(SQL_HANDLE_ENV, env);
    }
    bool run(const char* sql) {
        SQLHSTMT st;
        SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
        const bool done = SQL_SUCCEEDED(SQLExecDirect(st, (SQLCHAR*)sql, SQL_NTS));
        SQLFreeHandle(SQL_HANDLE_STMT, st);
        return done;
    }
};

bool makeTable(const Dsn& d, bool sqlite) {
    RawConnection c(d);
    if (!c.ok) return false;
    c.run("DROP TABLE IF EXISTS block_bench");
    const char* create = "CREATE TABLE block_bench (i INTEGER, d DOUBLE PRECISION, s VARCHAR(20), ts TIMESTAMP, "
                         "n NUMERIC(12,2))";
    const std::string rows = std::to_string(g_readRows);
    const std::string fill =
        sqlite ? "INSERT INTO block_bench WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < " +
                     rows + ") SELECT x, x * 0.5, printf('%020d', x), datetime(1704067200 + x, 'unixepoch'), " +
                     "printf('%d.%02d', x, x % 100) FROM c"
               : "INSERT INTO block_bench SELECT x, x * 0.5, lpad(x::text, 20, '0'), timestamp '2024-01-01' + x * "
                 "interval '1 second', x + (x % 100) / 100.0 FROM generate_series(1, " + rows + ") AS x";
    bool ok = c.run(create) && c.run(fill.c_str());
    ok = ok && SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, c.dbc, SQL_COMMIT));
    return ok;
}

void dropTable(const Dsn& d, const char* table) {
    RawConnection c(d);
    if (!c.ok) return;
    c.run((std::string("DROP TABLE IF EXISTS ") + table).c_str());
    SQLEndTran(SQL_HANDLE_DBC, c.dbc, SQL_COMMIT);
}

// The C type the bulk path reads the numeric(12,2) column with: SQLite's
// driver describes it as a double, PostgreSQL's as a decimal, read as text.
SQLSMALLINT decimalCType(SQLHSTMT st) {
    SQLCHAR name[64];
    SQLSMALLINT nameLength = 0, type = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    SQLDescribeCol(st, 5, name, sizeof name, &nameLength, &type, &size, &digits, &nullable);
    return type == SQL_NUMERIC || type == SQL_DECIMAL ? SQL_C_CHAR : SQL_C_DOUBLE;
}

// One SQLGetData per cell, with the C types and into buffers of the sizes the
// bulk path reads with.
// A pass of each way is a function of its own, which the instruction counts
// of scripts/bench-instructions.sh measure without the connect.
#define PASS __attribute__((noinline))

PASS long rawRowsPass(SQLHDBC dbc) {
    SQLHSTMT st;
    SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
    SQLExecDirect(st, (SQLCHAR*)kSelect, SQL_NTS);
    const SQLSMALLINT cType = decimalCType(st);
    long rows = 0;
    SQLINTEGER i = 0;
    double dbl = 0;
    char text[128], decimal[32];
    SQL_TIMESTAMP_STRUCT ts;
    SQLLEN ind = 0;
    while (SQLFetch(st) == SQL_SUCCESS) {
        SQLGetData(st, 1, SQL_C_SLONG, &i, sizeof i, &ind);
        SQLGetData(st, 2, SQL_C_DOUBLE, &dbl, sizeof dbl, &ind);
        SQLGetData(st, 3, SQL_C_CHAR, text, sizeof text, &ind);
        SQLGetData(st, 4, SQL_C_TYPE_TIMESTAMP, &ts, sizeof ts, &ind);
        SQLGetData(st, 5, cType, decimal, sizeof decimal, &ind);
        benchmark::DoNotOptimize(i);
        benchmark::DoNotOptimize(dbl);
        benchmark::DoNotOptimize(text[0]);
        ++rows;
    }
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_COMMIT);
    return rows;
}

// Times `pass` (one whole read on the connection, giving its row count) on a
// raw connection of its own, with the process's peak memory over the passes.
template <class Pass>
void timeRawPasses(benchmark::State& state, const Dsn* d, Pass pass) {
    RawConnection c(*d);
    if (!c.ok) return state.SkipWithError("connect");
    resetPeak();
    for (auto _ : state)
        if (pass(c.dbc) != g_readRows) state.SkipWithError("row count");
    state.counters["peak_MB"] = peakMegabytes();
    state.SetItemsProcessed(state.iterations() * g_readRows);
}

void RawRows(benchmark::State& state, const Dsn* d) {
    timeRawPasses(state, d, rawRowsPass);
}

// Column-wise bound arrays of 1024 rows, C types as above, each row's cells
// touched once. `prepared` runs the bulk path's own calls ahead of the fetches
// (SQLPrepare, the columns described, SQLExecute) in place of SQLExecDirect:
// PostgreSQL's driver then waits on the server during the execute, where the
// direct execute keeps the client busy instead.
struct Arrays {
    std::vector<SQLINTEGER> ints = std::vector<SQLINTEGER>(kBlock);
    std::vector<double> dbls = std::vector<double>(kBlock);
    std::vector<char> texts = std::vector<char>(kBlock * 84), decimals = std::vector<char>(kBlock * 32);
    std::vector<SQL_TIMESTAMP_STRUCT> stamps = std::vector<SQL_TIMESTAMP_STRUCT>(kBlock);
    std::vector<SQLLEN> lengths = std::vector<SQLLEN>(5 * kBlock);
};

PASS long rawArraysPass(SQLHDBC dbc, Arrays& a, bool prepared) {
    std::vector<SQLINTEGER>& ints = a.ints;
    std::vector<double>& dbls = a.dbls;
    std::vector<char>& texts = a.texts;
    std::vector<char>& decimals = a.decimals;
    std::vector<SQL_TIMESTAMP_STRUCT>& stamps = a.stamps;
    std::vector<SQLLEN>& lengths = a.lengths;
    SQLHSTMT st;
    SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
    SQLULEN fetched = 0;
    SQLSetStmtAttr(st, SQL_ATTR_ROW_BIND_TYPE, reinterpret_cast<SQLPOINTER>(SQL_BIND_BY_COLUMN), 0);
    SQLSetStmtAttr(st, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(kBlock)), 0);
    SQLSetStmtAttr(st, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
    if (prepared) {
        SQLPrepare(st, (SQLCHAR*)kSelect, SQL_NTS);
        SQLSMALLINT columns = 0;
        SQLNumResultCols(st, &columns);
        for (SQLUSMALLINT c = 1; c <= columns; ++c) {
            SQLCHAR name[64];
            SQLSMALLINT nameLength = 0, type = 0, digits = 0, nullable = 0;
            SQLULEN size = 0;
            SQLDescribeCol(st, c, name, sizeof name, &nameLength, &type, &size, &digits, &nullable);
        }
        SQLExecute(st);
    } else {
        SQLExecDirect(st, (SQLCHAR*)kSelect, SQL_NTS);
    }
    SQLBindCol(st, 1, SQL_C_SLONG, ints.data(), sizeof(SQLINTEGER), &lengths[0]);
    SQLBindCol(st, 2, SQL_C_DOUBLE, dbls.data(), sizeof(double), &lengths[kBlock]);
    SQLBindCol(st, 3, SQL_C_CHAR, texts.data(), 84, &lengths[2 * kBlock]);
    SQLBindCol(st, 4, SQL_C_TYPE_TIMESTAMP, stamps.data(), sizeof(SQL_TIMESTAMP_STRUCT), &lengths[3 * kBlock]);
    SQLBindCol(st, 5, decimalCType(st), decimals.data(), 32, &lengths[4 * kBlock]);
    long rows = 0;
    while (SQL_SUCCEEDED(SQLFetch(st))) {
        for (SQLULEN r = 0; r < fetched; ++r) {
            benchmark::DoNotOptimize(ints[r]);
            benchmark::DoNotOptimize(dbls[r]);
            benchmark::DoNotOptimize(texts[r * 84]);
            benchmark::DoNotOptimize(stamps[r].second);
            benchmark::DoNotOptimize(decimals[r * 32]);
        }
        rows += static_cast<long>(fetched);
    }
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_COMMIT);
    return rows;
}

// Every column bound as text, in the rooms the bulk path gives them on
// SQLite (16, 24, 81, 32, 24 bytes), nothing converted: what the driver
// alone costs for the bulk path's bindings there, the floor of its block
// reads.
struct TextArrays {
    static constexpr SQLLEN kRooms[5] = {16, 24, 81, 32, 24};
    std::vector<char> cells[5];
    std::vector<SQLLEN> lengths = std::vector<SQLLEN>(5 * kBlock);
    TextArrays() {
        for (int c = 0; c < 5; ++c) cells[c].resize(static_cast<size_t>(kRooms[c]) * kBlock);
    }
};

PASS long rawTextArraysPass(SQLHDBC dbc, TextArrays& a) {
    SQLHSTMT st;
    SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
    SQLULEN fetched = 0;
    SQLSetStmtAttr(st, SQL_ATTR_ROW_BIND_TYPE, reinterpret_cast<SQLPOINTER>(SQL_BIND_BY_COLUMN), 0);
    SQLSetStmtAttr(st, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(kBlock)), 0);
    SQLSetStmtAttr(st, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
    SQLExecDirect(st, (SQLCHAR*)kSelect, SQL_NTS);
    for (int c = 0; c < 5; ++c)
        SQLBindCol(st, static_cast<SQLUSMALLINT>(c + 1), SQL_C_CHAR, a.cells[c].data(), TextArrays::kRooms[c],
                   &a.lengths[static_cast<size_t>(c) * kBlock]);
    long rows = 0;
    while (SQL_SUCCEEDED(SQLFetch(st))) {
        for (SQLULEN r = 0; r < fetched; ++r)
            for (int c = 0; c < 5; ++c) benchmark::DoNotOptimize(a.cells[c][r * TextArrays::kRooms[c]]);
        rows += static_cast<long>(fetched);
    }
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_COMMIT);
    return rows;
}

void RawTextArrays(benchmark::State& state, const Dsn* d) {
    TextArrays arrays;
    timeRawPasses(state, d, [&](SQLHDBC dbc) { return rawTextArraysPass(dbc, arrays); });
}

void RawArrays(benchmark::State& state, const Dsn* d, bool prepared) {
    Arrays arrays;
    timeRawPasses(state, d, [&](SQLHDBC dbc) { return rawArraysPass(dbc, arrays, prepared); });
}

// A bulk connection through the driver, with the block properties at `rows`.
Connection2* connect2(const Dsn& d, int rows, DBError* error) {
    DataService service("bench");
    service.setProperty("DSN", d.name);
    service.setProperty("User", d.user);
    service.setProperty("Password", d.password);
    if (rows > 1) {
        service.setProperty("FetchArraySize", std::to_string(rows));
        service.setProperty("ParamArraySize", std::to_string(rows));
    }
    Connection2* c = g_driver->createConnection2(service, error);
    if (c && c->connect(error) != 0) {
        g_driver->releaseConnection2(c, error);
        return nullptr;
    }
    return c;
}

// A statement per pass, as the raw loops have: its release closes the cursor,
// so that no driver keeps two results at once. -1 when it fails.
PASS long bulkPass(Connection2* c, DBError* error) {
    PreparedStatement* st = c->createPreparedStatement(kSelect, error);
    bool more = false;
    long count = 0;
    if (!st || st->execute(error) != 0 || st->nextResultSet(more, error) != 0) return -1;
    while (st->hasMoreData(more, error) == 0 && more) {
        RowInternal2* row = st->nextRow(error);
        benchmark::DoNotOptimize(row);
        std::free(row);
        ++count;
    }
    c->releaseStatement(st, error);
    c->commit(error);
    return count;
}

// Packed rows through the bulk path; `rows` 1 is one SQLFetch a row.
void BulkRead(benchmark::State& state, const Dsn* d, int rows) {
    DBError* error = g_driver->createError("bench");
    Connection2* c = connect2(*d, rows, error);
    if (!c) {
        state.SkipWithError(error->getErrorString());
        g_driver->releaseError(error);
        return;
    }
    resetPeak();
    for (auto _ : state) {
        const long count = bulkPass(c, error);
        if (count < 0) {
            state.SkipWithError(error->getErrorString());
            break;
        }
        if (count != g_readRows) state.SkipWithError("row count");
    }
    c->disconnect(true, error);
    g_driver->releaseConnection2(c, error);
    g_driver->releaseError(error);
    state.counters["peak_MB"] = peakMegabytes();
    state.SetItemsProcessed(state.iterations() * g_readRows);
}

// 100,000 packed rows, made once.
std::vector<RowInternal2*> writeRows() {
    static const std::vector<RowInternal2*> rows = packedWriteRows(kWriteRows);
    return rows;
}

// Rows into PostgreSQL: one execute a row (`rows` 1) or parameter arrays.
void BulkWrite(benchmark::State& state, const Dsn* d, int rows) {
    DBError* error = g_driver->createError("bench");
    Connection2* c = connect2(*d, rows, error);
    if (!c) {
        state.SkipWithError(error->getErrorString());
        g_driver->releaseError(error);
        return;
    }
    std::vector<RowInternal2*> data = writeRows();
    std::vector<const RowInternal2*> list(data.begin(), data.end());
    list.push_back(nullptr);
    const unsigned int words[] = {DataTypes::INTEGER, DataTypes::FLOAT, DataTypes::STRING, DataTypes::BIGDATETIME,
                                  DataTypes::createFixedDecimal(12, 2)};
    std::vector<int> columns = {0, 1, 2, 3, 4};
    PreparedStatement* clear = c->createPreparedStatement("DELETE FROM block_write", error);
    PreparedStatement* st = c->createPreparedStatement("INSERT INTO block_write VALUES (?, ?, ?, ?, ?)", error);
    if (!st || !clear || st->setBindings(columns, words, error) != 0) state.SkipWithError(error->getErrorString());
    for (auto _ : state) {
        if (!st || !clear) break;
        int result = 0;
        if (rows > 1) {
            result = st->execute(list.data(), error);
        } else {
            for (int k = 0; k < kWriteRows && result == 0; ++k) result = st->execute(data[k], error);
        }
        if (result != 0 || c->commit(error) != 0) {
            state.SkipWithError(error->getErrorString());
            break;
        }
        state.PauseTiming();
        clear->execute(error);
        c->commit(error);
        state.ResumeTiming();
    }
    if (st) c->releaseStatement(st, error);
    if (clear) c->releaseStatement(clear, error);
    c->disconnect(true, error);
    g_driver->releaseConnection2(c, error);
    g_driver->releaseError(error);
    state.SetItemsProcessed(state.iterations() * kWriteRows);
}

// Keeps the median real time of each benchmark for the ratios.
// The CPU time is this process's alone: on a shared machine it is the
// steadier figure for SQLite, which runs inside the process; PostgreSQL's
// server work shows only in the real time.
// The minimum is the steadier figure where a neighbour's load only ever adds
// time: repetitions of one way here vary by up to a third.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.aggregate_name != "median" && run.aggregate_name != "min") continue;
            const std::string key = run.aggregate_name + " " + run.run_name.function_name;
            real[key] = run.GetAdjustedRealTime();
            cpu[key] = run.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> real, cpu;
};

void printRatio(RatioReporter& r, const std::string& a, const std::string& b, const char* target) {
    for (const char* statistic : {"median", "min"}) {
        const std::string ka = std::string(statistic) + " " + a, kb = std::string(statistic) + " " + b;
        const double x = r.real[ka], y = r.real[kb], u = r.cpu[ka], v = r.cpu[kb];
        if (x > 0 && y > 0 && u > 0 && v > 0)
            std::printf("%-6s %-22s / %-26s real %.3f  cpu %.3f  (%s)\n", statistic, a.c_str(), b.c_str(), x / y,
                        u / v, target);
    }
}

double least(const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); }

} // namespace

int main(int argc, char** argv) {
    g_readRows = std::atoi(env("ORL_BENCH_ROWS", "1000000").c_str());
    g_repetitions = std::max(1, std::atoi(env("ORL_BENCH_REPETITIONS", "7").c_str()));
    for (const char* p = std::getenv("ORL_BENCH_BLOCKS"); p && *p;) {
        char* end = nullptr;
        const long n = std::strtol(p, &end, 10);
        if (end == p) break;
        if (n > 1) g_moreBlocks.push_back(static_cast<int>(n));
        p = *end == ',' ? end + 1 : end;
    }
    g_sqlite = {env("ORL_BENCH_SQLITE", "orl_sqlite"), env("ORL_BENCH_USER", "orl"), ""};
    g_pg = {env("ORL_BENCH_PG", "orl_pg"), env("ORL_BENCH_USER", "orl"), env("ORL_BENCH_PASSWORD", "orl_pw")};
    g_pgPlain = {env("ORL_BENCH_PG_PLAIN", "orl_pg_plain"), g_pg.user, g_pg.password};
    g_driver = loadBenchDriver(ORL_DRIVER_PATH);
    if (!g_driver) return 1;
    // The repetitions of all ways run shuffled together, so that a slow spell
    // of this shared machine hits each way alike instead of one way's run.
    std::vector<char*> args(argv, argv + argc);
    const std::string flag = "--benchmark_enable_random_interleaving";
    std::string interleave = flag + "=true";
    bool chosen = false;
    for (char* a : args) chosen = chosen || std::strncmp(a, flag.c_str(), flag.size()) == 0;
    if (!chosen) args.push_back(&interleave[0]);
    int count = static_cast<int>(args.size());
    args.push_back(nullptr);
    benchmark::Initialize(&count, args.data());

    // "pg-plain" reads the same table as "pg" through the DSN that prepares
    // on the client; it can't describe parameters, so the writes use "pg".
    bool pgTable = false;
    for (const auto& db : {std::make_pair("sqlite", &g_sqlite), std::make_pair("pg", &g_pg),
                           std::make_pair("pg-plain", &g_pgPlain)}) {
        const std::string name = db.first;
        bool ready = name == "pg-plain" ? pgTable && RawConnection(*db.second).ok
                                        : makeTable(*db.second, name == "sqlite");
        if (name == "pg") pgTable = ready;
        if (!ready) {
            std::fprintf(stderr, "%s: cannot make or reach the table; skipped\n", db.second->name.c_str());
            continue;
        }
        const std::string p = db.first;
        auto tune = [](benchmark::internal::Benchmark* b) {
            b->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(g_repetitions)->DisplayAggregatesOnly(true);
            b->ComputeStatistics("min", least);
        };
        tune(benchmark::RegisterBenchmark((p + "/RawRows").c_str(), RawRows, db.second));
        tune(benchmark::RegisterBenchmark((p + "/RawArrays").c_str(), RawArrays, db.second, false));
        tune(benchmark::RegisterBenchmark((p + "/RawPreparedArrays").c_str(), RawArrays, db.second, true));
        tune(benchmark::RegisterBenchmark((p + "/BulkRows").c_str(), BulkRead, db.second, 1));
        tune(benchmark::RegisterBenchmark((p + "/BulkBlocks").c_str(), BulkRead, db.second, kBlock));
        for (int n : g_moreBlocks)
            tune(benchmark::RegisterBenchmark((p + "/BulkBlocks" + std::to_string(n)).c_str(), BulkRead, db.second, n));
        if (name == "sqlite")
            tune(benchmark::RegisterBenchmark((p + "/RawTextArrays").c_str(), RawTextArrays, db.second));
    }
    bool writes = false;
    {
        RawConnection c(g_pg);
        writes = c.ok && (c.run("DROP TABLE IF EXISTS block_write"), true) &&
                 c.run("CREATE TABLE block_write (i INTEGER, d DOUBLE PRECISION, s VARCHAR(20), ts TIMESTAMP, "
                       "n NUMERIC(12,2))") &&
                 SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, c.dbc, SQL_COMMIT));
    }
    if (writes) {
        auto tune = [](benchmark::internal::Benchmark* b) {
            b->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3)->DisplayAggregatesOnly(true);
            b->ComputeStatistics("min", least);
        };
        tune(benchmark::RegisterBenchmark("pg/WriteRows", BulkWrite, &g_pg, 1));
        tune(benchmark::RegisterBenchmark("pg/WriteArrays", BulkWrite, &g_pg, kBlock));
    }

    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nratios of the medians and of the minimums:\n");
    for (const char* p : {"sqlite", "pg", "pg-plain"}) {
        const std::string s(p);
        printRatio(reporter, s + "/BulkBlocks", s + "/RawRows", "target at most 0.80");
        printRatio(reporter, s + "/BulkBlocks", s + "/RawArrays", "target at most 1.10");
        printRatio(reporter, s + "/BulkBlocks", s + "/RawPreparedArrays", "the same calls as the bulk path");
        printRatio(reporter, s + "/BulkRows", s + "/RawRows", "the row-at-a-time path, for reference");
    }
    printRatio(reporter, "sqlite/RawTextArrays", "sqlite/RawRows", "the driver's floor for text bindings");
    printRatio(reporter, "sqlite/BulkBlocks", "sqlite/RawTextArrays", "ours on top of that floor");
    printRatio(reporter, "pg/WriteArrays", "pg/WriteRows", "target at most 0.50");
    dropTable(g_sqlite, "block_bench");
    dropTable(g_pg, "block_bench");
    dropTable(g_pg, "block_write");
    benchmark::Shutdown();
    delete g_driver;
    return 0;
}
