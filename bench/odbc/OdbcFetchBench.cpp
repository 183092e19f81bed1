// Fetching 1,000,000 rows of (integer, double, 20-char text, timestamp,
// decimal) from SQLite through OdbcQuery::Fetch and the cells' GetData, beside
// a raw loop making the same SQLFetch and SQLGetData calls, in one run. The
// table is made once in a temporary SQLite file. Prints the ratio at the end.
#include <benchmark/benchmark.h>
#include <sql.h>
#include <sqlext.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <string>

#include "odbc/ByteStore.h"
#include "odbc/Odbc.h"

using namespace KORVEL::Orl::DB::ODBC;

namespace {

constexpr int kRows = 1000000;
constexpr const char* kDsn = "orl_bench_sqlite";
constexpr const char* kSelect = "SELECT i, d, s, ts, n FROM fetch_bench";

std::string g_directory;

// A private DSN over a temporary database file, filled once by raw ODBC.
bool MakeDatabase() {
    char dir[] = "/tmp/orl_fetch_bench_XXXXXX";
    if (mkdtemp(dir) == nullptr) return false;
    g_directory = dir;
    const char* driver = std::getenv("ORL_SQLITE_ODBC_DRIVER");
    std::ofstream(g_directory + "/odbcinst.ini") << "[BenchSQLite]\nDriver=" << (driver ? driver : ORL_SQLITE_ODBC_DRIVER)
                                                 << "\n";
    std::ofstream(g_directory + "/odbc.ini") << "[" << kDsn << "]\nDriver=BenchSQLite\nDatabase=" << g_directory
                                             << "/bench.db\n";
    setenv("ODBCSYSINI", g_directory.c_str(), 1);
    setenv("ODBCINI", (g_directory + "/odbc.ini").c_str(), 1);

    SQLHENV env;
    SQLHDBC dbc;
    SQLHSTMT st;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
    if (!SQL_SUCCEEDED(SQLConnect(dbc, (SQLCHAR*)kDsn, SQL_NTS, (SQLCHAR*)"", SQL_NTS, (SQLCHAR*)"", SQL_NTS))) {
        std::fprintf(stderr, "cannot connect to %s\n", kDsn);
        return false;
    }
    SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
    const char* sql[] = {
        "CREATE TABLE fetch_bench (i INTEGER, d DOUBLE, s VARCHAR(20), ts TIMESTAMP, n DECIMAL(18,4))",
        "INSERT INTO fetch_bench WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 1000000) "
        "SELECT x, x * 0.5, printf('%020d', x), datetime(1704067200 + x, 'unixepoch'), "
        "printf('%d.%04d', x, x % 10000) FROM c",
    };
    bool ok = true;
    for (const char* s : sql) ok = ok && SQL_SUCCEEDED(SQLExecDirect(st, (SQLCHAR*)s, SQL_NTS));
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    SQLDisconnect(dbc);
    SQLFreeHandle(SQL_HANDLE_DBC, dbc);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
    if (!ok) std::fprintf(stderr, "cannot fill the benchmark table\n");
    return ok;
}

void BM_LayerFetch(benchmark::State& state) {
    std::unique_ptr<OdbcEnv> env(Odbc::CreateEnv());
    OdbcDbc* dbc = env->CreateDbc();
    if (dbc->Connect(kDsn, "", "") != Status_Ok) {
        state.SkipWithError("connect");
        return;
    }
    ByteStore text, stamp, decimal;
    for (auto _ : state) {
        OdbcStmt* st = dbc->CreateStmt();
        st->SetSql(kSelect, false);
        st->Execute();
        long rows = 0;
        int i = 0;
        double d = 0;
        while (st->Fetch() == Status_Ok) {
            st->GetColumn(1)->GetData(i);
            st->GetColumn(2)->GetData(d);
            st->GetColumn(3)->GetData(&text);
            st->GetColumn(4)->GetData(&stamp);
            st->GetColumn(5)->GetData(&decimal);
            benchmark::DoNotOptimize(i);
            benchmark::DoNotOptimize(d);
            ++rows;
        }
        delete st;
        if (rows != kRows) state.SkipWithError("row count");
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

// The same calls by hand: one SQLGetData per column and row, into buffers of
// the sizes the layer uses, and the text values copied out as the layer does.
void BM_RawFetch(benchmark::State& state) {
    SQLHENV env;
    SQLHDBC dbc;
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
    SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
    SQLSetConnectAttr(dbc, SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), SQL_IS_UINTEGER);
    if (!SQL_SUCCEEDED(SQLConnect(dbc, (SQLCHAR*)kDsn, SQL_NTS, (SQLCHAR*)"", SQL_NTS, (SQLCHAR*)"", SQL_NTS))) {
        state.SkipWithError("connect");
        return;
    }
    ByteStore text, stamp, decimal;
    for (auto _ : state) {
        SQLHSTMT st;
        SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
        SQLPrepare(st, (SQLCHAR*)kSelect, SQL_NTS);
        SQLExecute(st);
        SQLULEN size = 0;
        SQLSMALLINT type = 0, digits = 0, nullable = 0, nameLength = 0;
        SQLCHAR name[64];
        SQLDescribeCol(st, 3, name, sizeof name, &nameLength, &type, &size, &digits, &nullable);
        SQLLEN textSize = static_cast<SQLLEN>(size) + 1, display = 0;
        SQLColAttribute(st, 5, SQL_DESC_DISPLAY_SIZE, nullptr, 0, nullptr, &display);
        SQLLEN decimalSize = display + 2;
        char textBuf[8001], decimalBuf[8001];
        SQL_TIMESTAMP_STRUCT ts;
        long rows = 0;
        int i = 0;
        double d = 0;
        SQLLEN ind = 0;
        while (SQL_SUCCEEDED(SQLFetch(st))) {
            SQLGetData(st, 1, SQL_C_LONG, &i, 8, &ind);
            SQLGetData(st, 2, SQL_C_DOUBLE, &d, 8, &ind);
            SQLGetData(st, 3, SQL_C_CHAR, textBuf, textSize, &ind);
            text.Truncate(0, false);
            text.Append(textBuf, static_cast<unsigned int>(ind));
            SQLGetData(st, 4, SQL_C_TYPE_TIMESTAMP, &ts, sizeof ts, &ind);
            stamp.Truncate(0, false);
            stamp.Append(&ts, sizeof ts);
            SQLGetData(st, 5, SQL_C_CHAR, decimalBuf, decimalSize, &ind);
            decimal.Truncate(0, false);
            decimal.Append(decimalBuf, static_cast<unsigned int>(ind));
            benchmark::DoNotOptimize(i);
            benchmark::DoNotOptimize(d);
            ++rows;
        }
        SQLFreeHandle(SQL_HANDLE_STMT, st);
        if (rows != kRows) state.SkipWithError("row count");
    }
    state.SetItemsProcessed(state.iterations() * kRows);
    SQLEndTran(SQL_HANDLE_DBC, dbc, SQL_ROLLBACK);
    SQLDisconnect(dbc);
    SQLFreeHandle(SQL_HANDLE_DBC, dbc);
    SQLFreeHandle(SQL_HANDLE_ENV, env);
}

// Raw and layer alternate so drift of the machine hits both alike.
BENCHMARK(BM_RawFetch)->Unit(benchmark::kMillisecond)->Iterations(3)->Repetitions(3);
BENCHMARK(BM_LayerFetch)->Unit(benchmark::kMillisecond)->Iterations(3)->Repetitions(3);

// Keeps the median time of each benchmark to print the ratio at the end.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.aggregate_name == "median") medians[run.run_name.function_name] = run.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> medians;
};

} // namespace

int main(int argc, char** argv) {
    if (!MakeDatabase()) return 1;
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    double raw = reporter.medians["BM_RawFetch"], layer = reporter.medians["BM_LayerFetch"];
    if (raw > 0 && layer > 0) std::printf("layer / raw (median real time): %.3f (target at most 1.15)\n", layer / raw);
    std::remove((g_directory + "/bench.db").c_str());
    std::remove((g_directory + "/odbc.ini").c_str());
    std::remove((g_directory + "/odbcinst.ini").c_str());
    rmdir(g_directory.c_str());
    benchmark::Shutdown();
    return 0;
}
