// Peak memory of long reads: the same query read to its end through the
// classic and the bulk front end, the latter also in blocks of 1024 rows
// ("FetchArraySize"), at two result sizes, each run in a process of
// its own so that one run's peak can't hide another's. A reader whose memory
// follows the result size instead of the row size shows as a growing peak.
//
//   long_read [--dsn DSN] [--small N] [--large N] [--limit-mb M]
//
// Prints one line a run and exits 1 when a large read peaks more than M MB
// (default 8) above the small read of the same path. The data source must
// stream its results: the SQLite driver holds a whole result in memory inside a
// transaction, and the PostgreSQL driver does unless it reads through a cursor
// (the test DSN orl_pg_cursor does).
#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host/Connection.h"
#include "host/Connection2.h"
#include "host/DBError.h"
#include "host/DataService.h"
#include "host/Driver.h"
#include "host/PreparedStatement.h"
#include "host/ResultSet.h"
#include "host/Row.h"

namespace {

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

std::string querySql(long rows) {
    return "SELECT k, f, s, ts FROM orl_long_read WHERE k <= " + std::to_string(rows);
}

const unsigned int kWords[] = {2 /* LONG */, 3 /* FLOAT */, 5 /* STRING */, 8 /* TIMESTAMP */};

// The table of (integer, double, text, timestamp), filled by the database itself once.
bool makeTable(Driver* driver, const DataService& service, long rows, bool postgres) {
    Connection* c = driver->createConnection(service);
    if (c == nullptr || c->open() != 1) return false;
    std::vector<Parameter> none;
    int n = 0;
    const std::string count = std::to_string(rows);
    const std::string fill =
        postgres ? "INSERT INTO orl_long_read SELECT x, x * 0.5, 'row number ' || x, "
                   "TIMESTAMP '2024-01-01 00:00:00.123' FROM generate_series(1, " + count + ") x"
                 : "INSERT INTO orl_long_read WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < " +
                       count + ") SELECT x, x * 0.5, 'row number ' || x, '2024-01-01 00:00:00.123' FROM c";
    bool ok = c->executeUpdate("DROP TABLE IF EXISTS orl_long_read", none, n) == 1 &&
              c->executeUpdate("CREATE TABLE orl_long_read (k BIGINT, f DOUBLE PRECISION, s VARCHAR(40), ts TIMESTAMP)",
                               none, n) == 1 &&
              c->executeUpdate(fill, none, n) == 1 && c->commit() == 1;
    driver->releaseConnection(c);
    return ok;
}

Driver* loadDriver() {
    void* lib = dlopen(ORL_DRIVER_PATH, RTLD_NOW | RTLD_LOCAL);
    if (lib == nullptr) return nullptr;
    auto factory = reinterpret_cast<Driver* (*)(const char*)>(dlsym(lib, "FactoryDriver"));
    return factory ? factory("long_read") : nullptr;
}

// Reads the whole result; the count of rows read, or -1.
long readClassic(Driver* driver, const DataService& service, long rows) {
    Connection* c = driver->createConnection(service);
    if (c == nullptr || c->open() != 1) return -1;
    std::vector<Parameter> none;
    ResultSet* rs = nullptr;
    long n = -1;
    if (c->executeQuery(querySql(rows), none, 0, rs) == 1) {
        n = 0;
        RowDescriptor descriptor(std::vector<unsigned int>(kWords, kWords + 4));
        bool more = false;
        while (rs->next(more) == 1 && more) {
            Row* row = nullptr;
            if (rs->getData(descriptor, row) == 1) ++n;
            delete row;
        }
    }
    driver->releaseConnection(c);
    return n;
}

long readBulk(Driver* driver, const DataService& service, long rows) {
    DBError* error = driver->createError("long_read");
    Connection2* c = driver->createConnection2(service, error);
    long n = -1;
    if (c != nullptr && c->connect(error) == 0) {
        PreparedStatement* st = c->createPreparedStatement(querySql(rows).c_str(), 4, kWords, false, error);
        bool more = false;
        if (st != nullptr && st->execute(error) == 0 && st->nextResultSet(more, error) == 0) {
            n = 0;
            while (st->hasMoreData(more, error) == 0 && more) {
                void* row = st->nextRow(error);
                if (row != nullptr) ++n;
                std::free(row);
            }
        }
        if (st) c->releaseStatement(st, error);
        c->disconnect(true, error);
    }
    if (c) driver->releaseConnection2(c, error);
    driver->releaseError(error);
    return n;
}

// Runs one read in a child; its peak resident size in kB, or -1.
long peakOf(const std::string& path, const std::string& dsn, long rows) {
    int fds[2];
    if (pipe(fds) != 0) return -1;
    pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        Driver* driver = loadDriver();
        long read = -1;
        if (driver != nullptr) {
            DataService s("long_read");
            s.setProperty("DSN", dsn);
            s.setProperty("User", "orl");
            s.setProperty("Password", "orl_pw");
            if (path == "blocks") s.setProperty("FetchArraySize", "1024");
            read = path == "classic" ? readClassic(driver, s, rows) : readBulk(driver, s, rows);
        }
        rusage usage;
        getrusage(RUSAGE_SELF, &usage);
        long result[2] = {read, usage.ru_maxrss};
        ssize_t written = write(fds[1], result, sizeof result);
        _exit(written == sizeof result ? 0 : 1);
    }
    close(fds[1]);
    long result[2] = {-1, -1};
    ssize_t got = read(fds[0], result, sizeof result);
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (got != sizeof result || result[0] != rows) {
        std::fprintf(stderr, "%s: read %ld of %ld rows\n", path.c_str(), result[0], rows);
        return -1;
    }
    return result[1];
}

} // namespace

int main(int argc, char** argv) {
    std::string dsn = "orl_pg_cursor";
    long small = 100000, large = 5000000, limitMb = 8;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string flag = argv[i];
        if (flag == "--dsn") dsn = argv[i + 1];
        else if (flag == "--small") small = std::atol(argv[i + 1]);
        else if (flag == "--large") large = std::atol(argv[i + 1]);
        else if (flag == "--limit-mb") limitMb = std::atol(argv[i + 1]);
        else {
            std::fprintf(stderr, "usage: %s [--dsn DSN] [--small N] [--large N] [--limit-mb M]\n", argv[0]);
            return 2;
        }
    }
    // Made in a child too: a forked reader starts with its parent's peak.
    pid_t maker = fork();
    if (maker == 0) {
        Driver* driver = loadDriver();
        DataService s("long_read");
        s.setProperty("DSN", dsn);
        s.setProperty("User", "orl");
        s.setProperty("Password", "orl_pw");
        _exit(driver != nullptr && makeTable(driver, s, large > small ? large : small, dsn.find("pg") != std::string::npos) ? 0 : 1);
    }
    int made = 1;
    waitpid(maker, &made, 0);
    if (made != 0) {
        std::fprintf(stderr, "could not make the table orl_long_read on %s\n", dsn.c_str());
        return 1;
    }
    int failed = 0;
    for (const char* path : {"classic", "bulk", "blocks"}) {
        long a = peakOf(path, dsn, small), b = peakOf(path, dsn, large);
        if (a < 0 || b < 0) return 1;
        std::printf("%-8s peak RSS: %ld rows %.1f MB, %ld rows %.1f MB, growth %.1f MB\n", path, small, a / 1024.0,
                    large, b / 1024.0, (b - a) / 1024.0);
        if (b - a > limitMb * 1024) failed = 1;
    }
    if (failed) std::printf("a large read grew past %ld MB over the small one\n", limitMb);
    return failed;
}
