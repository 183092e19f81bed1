// orlodbc: a small host for the driver library. It loads the library with
// dlopen and FactoryDriver, exactly as the server does, builds a service
// definition from flags or a properties file, and works through the driver.
#include <dlfcn.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "host/Connection.h"
#include "host/DataService.h"
#include "host/Driver.h"
#include "host/LogServiceImpl.h"
#include "tools/orlodbc/CatalogLister.h"
#include "tools/orlodbc/SqlRunner.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace {

struct Options {
    std::string driverPath;
    std::string propertiesFile;
    std::string service = "orlodbc";
    std::string dsn;
    std::string user;
    std::string password;
    std::string databaseType;
    std::string logFile;
    bool writeBigIntAsChar = false;
    std::vector<std::string> sql;  // run in order, then committed
    bool tables = false;
    std::string columnsOf;         // table whose columns to list
    std::string schema;            // of --tables and --columns; empty for none
};

// lastErrors holds each failure behind a newline with its NUL; show it as lines.
std::string printable(const std::string& errors) {
    std::string out;
    for (char c : errors) {
        if (c == '\0') continue;
        out += c;
    }
    while (!out.empty() && out.front() == '\n') out.erase(out.begin());
    return out;
}

// The statement path logs its failures without adding them to the
// connection's error text; the last log line stands in for it then.
std::string g_lastLogText;

int fail(Connection* c, const char* what) {
    std::string errors;
    if (c) c->getLastErrors(errors);
    std::cerr << "orlodbc: " << what;
    std::string text = printable(errors);
    if (text.empty()) text = g_lastLogText;
    if (!text.empty()) std::cerr << ": " << text;
    std::cerr << std::endl;
    return 1;
}

int run(const Options& o) {
    DataService service(o.service);
    if (!o.propertiesFile.empty() && !service.loadProperties(o.propertiesFile)) {
        std::cerr << "orlodbc: cannot read " << o.propertiesFile << std::endl;
        return 2;
    }
    // Flags win over the file.
    if (!o.dsn.empty()) service.setProperty("DSN", o.dsn);
    if (!o.user.empty()) service.setProperty("User", o.user);
    if (!o.password.empty()) service.setProperty("Password", o.password);
    if (!o.databaseType.empty()) service.setProperty("DatabaseType", o.databaseType);
    if (o.writeBigIntAsChar) service.setProperty("WriteBigIntAsChar", "true");
    FILE* logTarget = stderr;
    if (!o.logFile.empty()) {
        logTarget = std::fopen(o.logFile.c_str(), "a");
        if (logTarget == nullptr) {
            std::cerr << "orlodbc: cannot open log file " << o.logFile << std::endl;
            return 2;
        }
    }
    // Lines go where they would have gone, and the last one is kept for fail().
    LogServiceImpl::setSink([logTarget](const std::string& id, const std::string& text) {
        std::fprintf(logTarget, "%s %s\n", id.c_str(), text.c_str());
        std::fflush(logTarget);
        g_lastLogText = text;
    });

    void* lib = dlopen(o.driverPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (lib == nullptr) {
        std::cerr << "orlodbc: cannot load driver: " << dlerror() << std::endl;
        return 2;
    }
    auto factory = reinterpret_cast<FactoryDriverFn>(dlsym(lib, "FactoryDriver"));
    if (factory == nullptr) {
        std::cerr << "orlodbc: " << o.driverPath << " exports no FactoryDriver" << std::endl;
        return 2;
    }
    Driver* driver = factory(o.service.c_str());
    if (driver == nullptr || driver->initialize() != 1) {
        std::cerr << "orlodbc: the driver did not initialise" << std::endl;
        return 2;
    }

    int rc = 0;
    Connection* c = driver->createConnection(service);
    if (c == nullptr) {
        std::cerr << "orlodbc: the driver refused the service definition (DSN and User are required)" << std::endl;
        rc = 2;
    } else {
        if (c->open() != 1) {
            rc = fail(c, "cannot open connection");
        } else {
            bool listing = o.tables || !o.columnsOf.empty();
            if (o.sql.empty() && !listing)
                std::cout << "database: " << c->getDriverProperty(Driver::PROPERTY_KEY_DATABASE_TYPE) << std::endl;
            if (!orlodbc::runStatements(*c, o.sql, std::cout, std::cerr))
                rc = fail(c, "statement failed");  // close rolls back what ran before it
            else if (c->commit() != 1)
                rc = fail(c, "commit failed");
            else if (o.tables && !orlodbc::listTables(*c, o.schema, std::cout))
                rc = fail(c, "cannot list tables");
            else if (!o.columnsOf.empty() && !orlodbc::listColumns(*c, o.schema, o.columnsOf, std::cout))
                rc = fail(c, "cannot list columns");
        }
        driver->releaseConnection(c);
    }
    delete driver;
    LogServiceImpl::setSink(nullptr);
    if (logTarget != stderr) std::fclose(logTarget);
    return rc;
}

} // namespace

int main(int argc, char** argv) {
    Options o;
    const char* envDriver = std::getenv("ORL_DRIVER_PATH");
    o.driverPath = envDriver && *envDriver ? envDriver : ORL_DEFAULT_DRIVER;

    CLI::App app{"Loads the ODBC driver library as the data server does and connects through it."};
    app.add_option("--driver", o.driverPath, "path of the driver library")->capture_default_str();
    app.add_option("-f,--properties", o.propertiesFile, "service definition: key=value lines (DSN, User, ...)");
    app.add_option("--service", o.service, "service name")->capture_default_str();
    app.add_option("-d,--dsn", o.dsn, "ODBC data source name");
    app.add_option("-u,--user", o.user, "user name");
    app.add_option("-p,--password", o.password, "password");
    app.add_option("-t,--database-type", o.databaseType, "configured database type keyword");
    app.add_flag("--write-bigint-as-char", o.writeBigIntAsChar, "send 64-bit integers as text");
    app.add_option("--log-file", o.logFile, "append the driver's log lines here instead of stderr");
    app.add_option("-e,--sql", o.sql,
                   "SQL to run through the classic connection (repeatable); queries print tab-separated "
                   "rows, updates their row count; all is committed at the end");
    app.add_flag("--tables", o.tables, "list the tables and views (after any --sql)");
    app.add_option("--columns", o.columnsOf, "list the columns of this table (after any --sql)");
    app.add_option("--schema", o.schema, "schema for --tables and --columns");
    CLI11_PARSE(app, argc, argv);
    return run(o);
}
