// Reading rows of (integer, double precision, varchar(20), timestamp,
// numeric(12,2)) the way the server does: the driver loaded by dlopen and
// FactoryDriver, then the classic front end (executeQuery, next, getData into
// a Row) and the bulk one (packed rows), each beside a raw loop of SQLFetch and
// one SQLGetData per cell, in the same run. SQLite always, on a temporary
// file; PostgreSQL too when the DSN orl_pg of scripts/odbc-env.sh answers.
// Repetitions are interleaved at random so drift of the machine hits all alike,
// and the medians' ratios to the raw loop are printed at the end.
//
//   ORL_BENCH_ROWS   rows per table (1000000)
//   ORL_BENCH_DSNS   which databases: "sqlite,pg" (default), "sqlite", "pg"
//   ORL_BENCH_REPETITIONS  runs of each benchmark (5)
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <sql.h>
#include <sqlext.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/Connection.h"
#include "host/Connection2.h"
#include "host/DBError.h"
#include "host/DataService.h"
#include "host/Driver.h"
#include "host/LogServiceImpl.h"
#include "host/PreparedStatement.h"
#include "host/ResultSet.h"
#include "host/Row.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace {

constexpr const char* kSelect = "SELECT i, d, s, ts, n FROM orl_read_bench";
constexpr unsigned int kDecimal12_2 = 30u | (2u << 8) | (12u << 14);
const std::vector<unsigned int> kWords = {1 /*INTEGER*/, 3 /*FLOAT*/, 5 /*STRING*/, 8 /*TIMESTAMP*/, kDecimal12_2};

long g_rows = 1000000;
std::string g_directory;
Driver* g_driver = nullptr;
long g_logLines = 0;

struct Database {
    std::string label, dsn, user, password;
};

bool succeeded(SQLRETURN rc) { return rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO; }

// Plain ODBC handles for the raw loop and the table set-up.
struct RawConnection {
    SQLHENV env = SQL_NULL_HENV;
    SQLHDBC dbc = SQL_NULL_HDBC;
    bool open(const Database& db) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
        SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
        // As the classic connection runs: autocommit off.
        SQLSetConnectAttr(dbc, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), SQL_IS_UINTEGER);
        return succeeded(SQLConnect(dbc, (SQLCHAR*)db.dsn.c_str(), SQL_NTS, (SQLCHAR*)db.user.c_str(), SQL_NTS,
                                    (SQLCHAR*)db.password.c_str(), SQL_NTS));
    }
    bool run(const std::string& sql) {
        SQLHSTMT st;
        SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
        bool ok = succeeded(SQLExecDirect(st, (SQLCHAR*)sql.c_str(), SQL_NTS));
        if (!ok) {
            SQLCHAR state[6] = "", text[512] = "";
            SQLINTEGER native = 0;
            SQLSMALLINT length = 0;
            SQLGetDiagRec(SQL_HANDLE_STMT, st, 1, state, &native, text, sizeof text, &length);
            std::fprintf(stderr, "%s\n  [%s] %s\n", sql.c_str(), state, text);
        }
        SQLFreeHandle(SQL_HANDLE_STMT, st);
        return ok;
    }
    ~RawConnection() {
        if (dbc) {
            SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_ROLLBACK);
            SQLDisconnect(dbc);
            SQLFreeHandle(SQL_HANDLE_DBC, dbc);
        }
        if (env) SQLFreeHandle(SQL_HANDLE_ENV, env);
    }
};

bool fillTable(const Database& db) {
    RawConnection c;
    if (!c.open(db)) {
        std::fprintf(stderr, "%s: cannot connect, left out\n", db.dsn.c_str());
        return false;
    }
    std::ostringstream insert;
    const long n = g_rows;
    if (db.label == "sqlite") {
        insert << "INSERT INTO orl_read_bench WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < "
               << n << ") SELECT x, x * 0.5, printf('%020d', x), "
               << "strftime('%Y-%m-%d %H:%M:%f', 1704067200 + x + (x % 1000) / 1000.0, 'unixepoch'), "
               << "printf('%d.%02d', x % 10000000, x % 100) FROM c";
    } else {
        insert << "INSERT INTO orl_read_bench SELECT x, x * 0.5, lpad(x::text, 20, '0'), "
               << "timestamp '2024-01-01' + x * interval '1 second' + (x % 1000) * interval '1 millisecond', "
               << "(x % 1000000000)::numeric / 100 FROM generate_series(1, " << n << ") x";
    }
    bool ok = c.run("DROP TABLE IF EXISTS orl_read_bench") &&
              c.run("CREATE TABLE orl_read_bench (i INTEGER, d DOUBLE PRECISION, s VARCHAR(20), ts TIMESTAMP, "
                    "n NUMERIC(12,2))") &&
              c.run(insert.str()) && succeeded(SQLEndTran(SQL_HANDLE_DBC, c.dbc, SQL_COMMIT));
    if (!ok) std::fprintf(stderr, "%s: cannot fill the table, left out\n", db.dsn.c_str());
    return ok;
}

void dropTable(const Database& db) {
    RawConnection c;
    if (c.open(db) && c.run("DROP TABLE IF EXISTS orl_read_bench")) SQLEndTran(SQL_HANDLE_DBC, c.dbc, SQL_COMMIT);
}

// The C type the classic path reads a column of this SQL type as, and the
// bytes it offers: the raw loop asks the driver for the same conversions, so
// that the two differ only by what the driver library does around them.
struct RawColumn {
    SQLSMALLINT cType;
    SQLLEN size;
};

RawColumn rawColumnFor(SQLSMALLINT sqlType, SQLULEN columnSize, SQLLEN displaySize) {
    const SQLLEN text = static_cast<SQLLEN>(columnSize < 8000 ? columnSize : 8000);
    switch (sqlType) {
    case SQL_WCHAR:
    case SQL_WVARCHAR:
    case SQL_WLONGVARCHAR:
        return {SQL_C_CHAR, text + 2};
    case SQL_CHAR:
    case SQL_VARCHAR:
    case SQL_LONGVARCHAR:
        return {SQL_C_CHAR, text + 1};
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        return {SQL_C_CHAR, displaySize + 2};
    case SQL_INTEGER:
        return {SQL_C_LONG, 8};
    case SQL_FLOAT:
    case SQL_REAL:
    case SQL_DOUBLE:
        return {SQL_C_DOUBLE, 8};
    case SQL_TYPE_TIME:
        return {SQL_C_TYPE_TIME, 6};
    case SQL_DATE:
    case SQL_TIME:
    case SQL_TIMESTAMP:
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIMESTAMP:
        return {SQL_C_TYPE_TIMESTAMP, 16};
    default:
        return {SQL_C_CHAR, text + 1};
    }
}

// SQLFetch and one SQLGetData per cell into a stack buffer; nothing is kept.
void rawLoop(benchmark::State& state, const Database& db) {
    RawConnection c;
    if (!c.open(db)) {
        state.SkipWithError("connect");
        return;
    }
    for (auto _ : state) {
        SQLHSTMT st;
        SQLAllocHandle(SQL_HANDLE_STMT, c.dbc, &st);
        SQLPrepare(st, (SQLCHAR*)kSelect, SQL_NTS);
        SQLExecute(st);
        RawColumn columns[5];
        for (SQLUSMALLINT k = 0; k < 5; ++k) {
            SQLCHAR name[64];
            SQLSMALLINT nameLength = 0, type = 0, digits = 0, nullable = 0;
            SQLULEN size = 0;
            SQLLEN display = 0;
            SQLDescribeCol(st, k + 1, name, sizeof name, &nameLength, &type, &size, &digits, &nullable);
            SQLColAttribute(st, k + 1, SQL_DESC_DISPLAY_SIZE, nullptr, 0, nullptr, &display);
            columns[k] = rawColumnFor(type, size, display);
        }
        alignas(8) char buffer[8002];
        long rows = 0;
        SQLLEN ind = 0;
        while (succeeded(SQLFetch(st))) {
            for (SQLUSMALLINT k = 0; k < 5; ++k) {
                SQLGetData(st, k + 1, columns[k].cType, buffer, columns[k].size, &ind);
                benchmark::DoNotOptimize(buffer);
            }
            ++rows;
        }
        // The front ends let go of a result only at the next query or at the
        // end, outside the timing; SQLite's driver frees all its rows here.
        state.PauseTiming();
        SQLFreeHandle(SQL_HANDLE_STMT, st);
        state.ResumeTiming();
        if (rows != g_rows) state.SkipWithError("row count");
    }
    state.SetItemsProcessed(state.iterations() * g_rows);
}

DataService serviceFor(const Database& db) {
    DataService service("orl-read-bench");
    service.setProperty("DSN", db.dsn);
    service.setProperty("User", db.user);
    if (!db.password.empty()) service.setProperty("Password", db.password);
    return service;
}

void classicRead(benchmark::State& state, const Database& db) {
    Connection* conn = g_driver->createConnection(serviceFor(db));
    if (conn == nullptr || conn->open() != 1) {
        state.SkipWithError("connect");
        if (conn) g_driver->releaseConnection(conn);
        return;
    }
    const RowDescriptor descriptor(kWords);
    std::vector<Parameter> none;
    for (auto _ : state) {
        ResultSet* rs = nullptr;
        if (conn->executeQuery(kSelect, none, 0, rs) != 1) {
            state.SkipWithError("executeQuery");
            break;
        }
        long rows = 0;
        bool more = false;
        while (rs->next(more) == 1 && more) {
            Row* row = nullptr;
            if (rs->getData(descriptor, row) != 1) {
                state.SkipWithError("row skipped");
                break;
            }
            benchmark::DoNotOptimize(row->getColumnValue(3).int64Value);
            delete row;
            ++rows;
        }
        if (rows != g_rows) state.SkipWithError("row count");
    }
    state.SetItemsProcessed(state.iterations() * g_rows);
    conn->close();
    g_driver->releaseConnection(conn);
}

void bulkRead(benchmark::State& state, const Database& db) {
    DBError* error = g_driver->createError("orl-read-bench");
    Connection2* conn = g_driver->createConnection2(serviceFor(db), error);
    PreparedStatement* st = nullptr;
    if (conn == nullptr || conn->connect(error) != 0 ||
        (st = conn->createPreparedStatement(kSelect, static_cast<int>(kWords.size()), kWords.data(), false, error)) ==
            nullptr) {
        state.SkipWithError(error->getErrorString());
    } else {
        for (auto _ : state) {
            bool more = false;
            if (st->execute(error) != 0 || st->nextResultSet(more, error) != 0) {
                state.SkipWithError(error->getErrorString());
                break;
            }
            long rows = 0;
            while (st->hasMoreData(more, error) == 0 && more) {
                RowInternal2* row = st->nextRow(error);
                if (row == nullptr) {
                    state.SkipWithError(error->getErrorString());
                    break;
                }
                benchmark::DoNotOptimize(row);
                std::free(row);
                ++rows;
            }
            if (rows != g_rows) state.SkipWithError("row count");
        }
        state.SetItemsProcessed(state.iterations() * g_rows);
        conn->releaseStatement(st, error);
    }
    if (conn) {
        conn->rollback(error);
        conn->disconnect(false, error);
        g_driver->releaseConnection2(conn, error);
    }
    g_driver->releaseError(error);
}

// A private odbcinst.ini and odbc.ini: the project's own entries (when
// scripts/odbc-env.sh was sourced) and a SQLite DSN over a temporary file.
bool writeOdbcFiles() {
    char dir[] = "/tmp/orl_read_bench_XXXXXX";
    if (mkdtemp(dir) == nullptr) return false;
    g_directory = dir;
    std::ostringstream inst, ini;
    const char* sys = std::getenv("ODBCSYSINI");
    const char* user = std::getenv("ODBCINI");
    if (sys) inst << std::ifstream(std::string(sys) + "/odbcinst.ini").rdbuf() << "\n";
    if (user) ini << std::ifstream(user).rdbuf() << "\n";
    const char* driver = std::getenv("ORL_SQLITE_ODBC_DRIVER");
    inst << "[OrlBenchSQLite]\nDriver=" << (driver ? driver : ORL_SQLITE_ODBC_DRIVER) << "\n";
    ini << "[orl_read_bench_sqlite]\nDriver=OrlBenchSQLite\nDatabase=" << g_directory << "/bench.db\n";
    std::ofstream(g_directory + "/odbcinst.ini") << inst.str();
    std::ofstream(g_directory + "/odbc.ini") << ini.str();
    setenv("ODBCSYSINI", g_directory.c_str(), 1);
    setenv("ODBCINI", (g_directory + "/odbc.ini").c_str(), 1);
    return true;
}

void removeOdbcFiles() {
    for (const char* f : {"/bench.db", "/odbc.ini", "/odbcinst.ini"}) std::remove((g_directory + f).c_str());
    rmdir(g_directory.c_str());
}

// Keeps the median time of each benchmark for the ratios at the end.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.aggregate_name == "median") {
                medians[run.run_name.function_name] = run.GetAdjustedRealTime();
                cpuMedians[run.run_name.function_name] = run.GetAdjustedCPUTime();
            }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> medians, cpuMedians;
};

} // namespace

int main(int argc, char** argv) {
    if (const char* rows = std::getenv("ORL_BENCH_ROWS")) g_rows = std::atol(rows);
    const char* only = std::getenv("ORL_BENCH_DSNS");
    const std::string wanted = only ? only : "sqlite,pg";
    const char* reps = std::getenv("ORL_BENCH_REPETITIONS");
    const int repetitions = reps ? std::atoi(reps) : 5;
    if (g_rows < 1 || repetitions < 1 || !writeOdbcFiles()) return 1;

    void* library = dlopen(ORL_DRIVER_PATH, RTLD_NOW | RTLD_LOCAL);
    auto factory = library ? reinterpret_cast<FactoryDriverFn>(dlsym(library, "FactoryDriver")) : nullptr;
    if (factory == nullptr || (g_driver = factory("orl-read-bench")) == nullptr) {
        std::fprintf(stderr, "cannot load %s: %s\n", ORL_DRIVER_PATH, dlerror());
        return 1;
    }
    // A skipped row or a failure would show here; the loops stop on them too.
    LogServiceImpl::setSink([](const std::string&, const std::string&) { ++g_logLines; });

    std::vector<Database> databases;
    for (const Database& db : {Database{"sqlite", "orl_read_bench_sqlite", "orl", ""},
                               Database{"pg", "orl_pg", "orl", "orl_pw"}}) {
        if (wanted.find(db.label) == std::string::npos || !fillTable(db)) continue;
        databases.push_back(db);
        benchmark::RegisterBenchmark(("raw/" + db.label).c_str(), rawLoop, db)
            ->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(repetitions);
        benchmark::RegisterBenchmark(("classic/" + db.label).c_str(), classicRead, db)
            ->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(repetitions);
        benchmark::RegisterBenchmark(("bulk/" + db.label).c_str(), bulkRead, db)
            ->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(repetitions);
    }
    // Interleaved unless the caller says otherwise.
    std::vector<char*> args(argv, argv + argc);
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    args.insert(args.begin() + 1, &interleave[0]);
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    // The process's CPU time leaves out the database server's share, which
    // both sides pay alike; on a busy machine it is the steadier figure.
    std::printf("\n%ld rows; medians against the raw loop (target: classic at most 1.25)\n", g_rows);
    std::printf("  %-8s %-7s %9s %9s\n", "database", "path", "real", "cpu");
    for (const Database& db : databases) {
        const double raw = reporter.medians["raw/" + db.label], rawCpu = reporter.cpuMedians["raw/" + db.label];
        for (const char* path : {"classic", "bulk"}) {
            const std::string name = std::string(path) + "/" + db.label;
            const double t = reporter.medians[name], c = reporter.cpuMedians[name];
            if (raw > 0 && rawCpu > 0 && t > 0) std::printf("  %-8s %-7s %9.3f %9.3f\n", db.label.c_str(), path, t / raw, c / rawCpu);
        }
    }
    if (g_logLines != 0) std::printf("driver log lines: %ld (none expected)\n", g_logLines);
    for (const Database& db : databases)
        if (db.label != "sqlite") dropTable(db);
    delete g_driver;
    removeOdbcFiles();
    benchmark::Shutdown();
    return 0;
}
