// orlodbc: a small host for the driver library. It loads the library with
// dlopen and FactoryDriver, exactly as the server does, builds service
// definitions from flags or properties files, and works through the driver:
// connects and runs SQL (query), copies tables between data sources (copy),
// and tries the date, time and number masks of the type core (mask).
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <string>
#include <vector>

#include "host/Connection.h"
#include "host/LogServiceImpl.h"
#include "tools/orlodbc/CatalogLister.h"
#include "tools/orlodbc/Copy.h"
#include "tools/orlodbc/DriverHost.h"
#include "tools/orlodbc/Interrupt.h"
#include "tools/orlodbc/MaskCommand.h"
#include "tools/orlodbc/SqlRunner.h"

#ifndef ORL_VERSION
#define ORL_VERSION "0.0.0"
#endif

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace {

struct Options {
    std::string driverPath;
    std::string service = "orlodbc";
    std::string logFile;
    orlodbc::Endpoint endpoint;    // of the connection without a subcommand, and of query
    std::vector<std::string> sql;  // run in order, then committed
    bool tables = false;
    std::string columnsOf;         // table whose columns to list
    std::string schema;            // of --tables and --columns; empty for none
    std::string output = "tsv";
};

int fail(Connection* c, const char* what) {
    // The failure a signal caused is told by the one line of the interrupt.
    if (orlodbc::Interrupt::happened()) return 1;
    std::string errors;
    if (c) c->getLastErrors(errors);
    std::cerr << "orlodbc: " << what;
    std::string text = orlodbc::printableErrors(errors);
    if (text.empty()) text = orlodbc::DriverHost::lastLog();
    if (!text.empty()) std::cerr << ": " << text;
    std::cerr << std::endl;
    return 1;
}

// One classic connection: the keyword, or the statements and listings asked for.
int runConnection(orlodbc::DriverHost& host, const Options& o) {
    DataService service;
    if (!host.service(o.endpoint, service)) {
        std::cerr << "orlodbc: " << host.why() << std::endl;
        return 2;
    }
    orlodbc::OutputFormat format = o.output == "csv"    ? orlodbc::OutputFormat::Csv
                                   : o.output == "json" ? orlodbc::OutputFormat::Json
                                                        : orlodbc::OutputFormat::Tsv;
    int rc = 0;
    Connection* c = host.driver()->createConnection(service);
    if (c == nullptr) {
        std::cerr << "orlodbc: the driver refused the service definition (DSN and User are required)" << std::endl;
        return 2;
    }
    long noted = 0;
    bool committed = false;
    if (c->open() != 1) {
        rc = fail(c, "cannot open connection");
    } else {
        noted = orlodbc::Interrupt::noteClassic(service, *c);
        bool listing = o.tables || !o.columnsOf.empty();
        if (o.sql.empty() && !listing)
            std::cout << "database: " << c->getDriverProperty(Driver::PROPERTY_KEY_DATABASE_TYPE) << std::endl;
        if (!orlodbc::runStatements(*c, o.sql, std::cout, std::cerr, format)) {
            rc = fail(c, "statement failed");  // close rolls back what ran before it
        } else if (orlodbc::Interrupt::happened() || c->commit() != 1) {
            rc = fail(c, "commit failed");
        } else {
            committed = true;
            if (o.tables && !orlodbc::listTables(*c, o.schema, std::cout))
                rc = fail(c, "cannot list tables");
            else if (!o.columnsOf.empty() && !orlodbc::listColumns(*c, o.schema, o.columnsOf, std::cout))
                rc = fail(c, "cannot list columns");
        }
    }
    orlodbc::Interrupt::forget(noted);
    host.driver()->releaseConnection(c);  // rolls back what isn't committed
    if (orlodbc::Interrupt::happened()) {
        std::cerr << "orlodbc: interrupted; "
                  << (committed ? "every statement was committed before it" : "nothing was committed") << std::endl;
        return orlodbc::Interrupt::exitCode();
    }
    return rc;
}

const CLI::Validator kSeconds(
    [](std::string& text) {
        if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != std::string::npos)
            return std::string("seconds are plain digits");
        return std::string();
    },
    "SECONDS");

void addEndpoint(CLI::App& app, orlodbc::Endpoint& e, const std::string& prefix, const std::string& whose) {
    const bool plain = prefix.empty();
    app.add_option(plain ? "-f,--properties" : "--" + prefix + "-properties", e.propertiesFile,
                   "service definition of " + whose + ": key=value lines (DSN, User, ...)");
    app.add_option(plain ? "-d,--dsn" : "--" + prefix, e.dsn, "ODBC data source name of " + whose);
    app.add_option(plain ? "-u,--user" : "--" + prefix + "-user", e.user, "user name");
    app.add_option(plain ? "-p,--password" : "--" + prefix + "-password", e.password, "password");
    app.add_option(plain ? "-t,--database-type" : "--" + prefix + "-database-type", e.databaseType,
                   "configured database type keyword");
    app.add_flag(plain ? "--write-bigint-as-char" : "--" + prefix + "-write-bigint-as-char", e.writeBigIntAsChar,
                 "send 64-bit integers as text");
    // Digits only, as the driver reads the properties: anything else would
    // silently mean no timeout there.
    app.add_option(plain ? "--login-timeout" : "--" + prefix + "-login-timeout", e.loginTimeout,
                   "seconds to wait for the connect of " + whose + " (LoginTimeout; default: the driver's)")
        ->check(kSeconds);
    app.add_option(plain ? "--query-timeout" : "--" + prefix + "-query-timeout", e.queryTimeout,
                   "seconds a statement of " + whose + " may run (QueryTimeout; default: no limit)")
        ->check(kSeconds);
}

void addStatements(CLI::App& app, Options& o) {
    app.add_option("-e,--sql", o.sql,
                   "SQL to run through the classic connection (repeatable); queries print their rows, "
                   "updates their row count; all is committed at the end");
    app.add_flag("--tables", o.tables, "list the tables and views (after any --sql)");
    app.add_option("--columns", o.columnsOf, "list the columns of this table (after any --sql)");
    app.add_option("--schema", o.schema, "schema for --tables and --columns");
}

// The driver installed beside the tool, else the one of the build it came from.
std::string defaultDriver() {
    char self[4096];
    const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n > 0) {
        std::string dir(self, static_cast<size_t>(n));
        dir.erase(dir.rfind('/'));
        const std::string installed = dir + "/" + ORL_BIN_TO_LIB + "/" + ORL_DRIVER_FILE;
        if (access(installed.c_str(), R_OK) == 0) return installed;
    }
    return ORL_DEFAULT_DRIVER;
}

} // namespace

int main(int argc, char** argv) {
    Options o;
    const char* envDriver = std::getenv("ORL_DRIVER_PATH");
    o.driverPath = envDriver && *envDriver ? envDriver : defaultDriver();

    CLI::App app{"Loads the ODBC driver library as the data server does and works through it.\n"
                 "Without a subcommand: connects and prints the database keyword, or runs --sql."};
    app.set_version_flag("--version", std::string("orlodbc ") + ORL_VERSION);
    app.add_option("--driver", o.driverPath, "path of the driver library")->capture_default_str();
    app.add_option("--service", o.service, "service name")->capture_default_str();
    app.add_option("--log-file", o.logFile, "append the driver's log lines here instead of stderr");
    addEndpoint(app, o.endpoint, "", "the connection");
    addStatements(app, o);

    CLI::App* query = app.add_subcommand("query", "run SQL and print the rows as tsv, csv or json");
    addEndpoint(*query, o.endpoint, "", "the connection");
    addStatements(*query, o);
    query->add_option("-o,--output", o.output, "row format of queries")
        ->check(CLI::IsMember({"tsv", "csv", "json"}))
        ->capture_default_str();

    orlodbc::CopyOptions copy;
    CLI::App* copyCmd = app.add_subcommand("copy", "copy a table or query's rows into a table of another data source");
    addEndpoint(*copyCmd, copy.from, "from", "the source");
    addEndpoint(*copyCmd, copy.to, "to", "the target");
    auto* table = copyCmd->add_option("--table", copy.table, "source table (also the target's name by default)");
    copyCmd->add_option("--query", copy.query, "source query instead of a table")->excludes(table);
    copyCmd->add_option("--to-table", copy.toTable, "target table");
    auto* create = copyCmd->add_flag("--create", copy.create, "create the target table from the source's columns");
    copyCmd->add_flag("--drop-existing", copy.dropExisting, "replace the target table, once the new rows are whole (with --create)")
        ->needs(create);
    copyCmd->add_option("--commit-every", copy.commitEvery, "commit every N rows (default: once at the end)")
        ->check(CLI::NonNegativeNumber);
    copyCmd->add_option("--batch", copy.batch, "rows per block transfer where the driver has them")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    copyCmd
        ->add_option("--rows-per-statement", copy.rowsPerStatement,
                     "rows a statement carries on the target: column arrays into PostgreSQL (default 10000), "
                     "else multi-row INSERTs (default 500 into PostgreSQL and SQLite, where they are faster than "
                     "row arrays); 0 for row arrays only")
        ->check(CLI::Range(0, 100000));
    bool noColumnArrays = false;
    copyCmd->add_flag("--no-column-arrays", noColumnArrays,
                      "into PostgreSQL, send multi-row INSERTs rather than one array a column");
    copyCmd->add_option("--jobs", copy.jobs, "parallel connections, each copying one key range")
        ->check(CLI::Range(1, 64))
        ->capture_default_str();
    copyCmd->add_option("--split-by", copy.splitBy, "integer or decimal key column that divides the rows among the jobs");
    copyCmd->add_option("--chunk-rows", copy.chunkRows,
                        "read a table with an integer key (its primary key or --split-by) this many rows a query, "
                        "committing at chunk ends; 0 reads it in one query")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    copyCmd->add_flag("--resume", copy.resume,
                      "go on after the chunks the target table holds (it is then neither created nor replaced)");
    copyCmd->add_flag("--allow-lossy", copy.allowLossy,
                      "copy even where the target can't hold the source's values exactly, telling which");
    copyCmd->add_flag("--verify", copy.verify, "compare what each database computes of its own rows: counts, sums, hashes");
    std::string progress = "auto";
    copyCmd->add_option("--progress", progress, "progress line on standard error: auto (on a terminal), always, never")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->capture_default_str();

    orlodbc::MaskOptions mask;
    CLI::App* maskCmd = app.add_subcommand("mask", "try the date, time and number masks of the type core");
    orlodbc::addMaskOptions(*maskCmd, mask);

    app.require_subcommand(0, 1);
    CLI11_PARSE(app, argc, argv);

    if (maskCmd->parsed()) return orlodbc::runMask(mask, std::cout, std::cerr);
    if (copyCmd->parsed()) {
        if (copy.table.empty() && copy.query.empty()) {
            std::cerr << "orlodbc: copy needs --table or --query" << std::endl;
            return 2;
        }
        if (copy.toTable.empty() && copy.table.empty()) {
            std::cerr << "orlodbc: copy from a query needs --to-table" << std::endl;
            return 2;
        }
        copy.columnArrays = !noColumnArrays;
        copy.progress = progress == "always" || (progress == "auto" && isatty(fileno(stderr)) == 1);
    }

    FILE* logTarget = stderr;
    if (!o.logFile.empty()) {
        logTarget = std::fopen(o.logFile.c_str(), "a");
        if (logTarget == nullptr) {
            std::cerr << "orlodbc: cannot open log file " << o.logFile << std::endl;
            return 2;
        }
    }
    // Lines go where they would have gone, and the last one is kept for the failure messages.
    LogServiceImpl::setSink([logTarget](const std::string& id, const std::string& text) {
        std::fprintf(logTarget, "%s %s\n", id.c_str(), text.c_str());
        std::fflush(logTarget);
        orlodbc::DriverHost::noteLog(text);
    });

    if (!copyCmd->parsed()) {
        // The classic read turns the fields of a date before 1970 into a
        // moment by the process zone; in UTC that moment is the fields
        // themselves, which the rows print back, on any machine.
        setenv("TZ", "UTC", 1);
        tzset();
    }

    int rc;
    {
        orlodbc::DriverHost host;
        if (!host.load(o.driverPath, o.service)) {
            std::cerr << "orlodbc: " << host.why() << std::endl;
            rc = 2;
        } else {
            orlodbc::Interrupt::install(host);
            rc = copyCmd->parsed() ? orlodbc::runCopy(host, copy, std::cout, std::cerr) : runConnection(host, o);
            orlodbc::Interrupt::uninstall();
            if (orlodbc::Interrupt::happened() && rc != orlodbc::Interrupt::exitCode()) {
                // Only a copy still setting up ends here: later steps tell their own line.
                std::cerr << "orlodbc: interrupted; no rows were copied" << std::endl;
                rc = orlodbc::Interrupt::exitCode();
            }
        }
    }
    LogServiceImpl::setSink(nullptr);
    if (logTarget != stderr) std::fclose(logTarget);
    return rc;
}
