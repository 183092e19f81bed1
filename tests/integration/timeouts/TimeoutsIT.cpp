// LoginTimeout and QueryTimeout through the loaded driver, on both front
// ends, against PostgreSQL and MariaDB: a server that accepts and never
// answers, and statements that sleep past their timeout.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "host/Connection.h"
#include "host/Connection2.h"
#include "host/DBError.h"
#include "host/DataService.h"
#include "host/PreparedStatement.h"
#include "support/DriverLoader.h"
#include "support/TestDsn.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace {

double since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Accepts on a loopback port and never writes a byte.
class SilentServer {
public:
    SilentServer() {
        fd_ = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t n = sizeof a;
        if (bind(fd_, reinterpret_cast<sockaddr*>(&a), n) != 0 || listen(fd_, 16) != 0 ||
            getsockname(fd_, reinterpret_cast<sockaddr*>(&a), &n) != 0)
            std::abort();
        port_ = ntohs(a.sin_port);
        thread_ = std::thread([this] {
            for (;;) {
                int c = accept(fd_, nullptr, nullptr);
                if (c < 0 || done_) break;
                held_.push_back(c);
            }
        });
    }
    ~SilentServer() {
        done_ = true;
        shutdown(fd_, SHUT_RDWR);
        close(fd_);
        thread_.join();
        for (int c : held_) close(c);
    }
    int port() const { return port_; }

private:
    int fd_ = -1;
    int port_ = 0;
    std::atomic<bool> done_{false};
    std::vector<int> held_;
    std::thread thread_;
};

// The test DSNs and one per driver at the silent port, in a file of our own,
// named before the process's first ODBC call.
SilentServer& silent() {
    static SilentServer* server = [] {
        SilentServer* s = new SilentServer();
        std::string text;
        if (const char* ini = std::getenv("ODBCINI")) {
            std::ifstream in(ini);
            std::stringstream all;
            all << in.rdbuf();
            text = all.str();
        }
        const std::string path = "/tmp/orl_timeouts_" + std::to_string(getpid()) + ".ini";
        std::ofstream(path) << text << "\n[orl_pg_silent]\nDriver=ORL PostgreSQL Unicode\nServername=127.0.0.1\nPort="
                            << s->port() << "\nDatabase=orl_test\nSSLmode=disable\n"
                            << "\n[orl_maria_silent]\nDriver=ORL MariaDB Unicode\nServer=127.0.0.1\nPort=" << s->port()
                            << "\nDatabase=orl_test\n";
        setenv("ODBCINI", path.c_str(), 1);
        static const std::string kept = path;
        std::atexit([] { std::remove(kept.c_str()); });
        return s;
    }();
    return *server;
}
const int kForceEarly = (silent(), 0);

DataService serviceOf(const std::string& dsn, const char* user, const char* password, const char* login,
                      const char* query) {
    DataService s("timeouts");
    s.setProperty("DSN", dsn);
    s.setProperty("User", user);
    if (*password) s.setProperty("Password", password);
    if (*login) s.setProperty("LoginTimeout", login);
    if (*query) s.setProperty("QueryTimeout", query);
    return s;
}

struct Db {
    const char* label;
    const char* sleep10;  // a statement of 10 seconds
};
const Db kDbs[] = {{"pg", "SELECT pg_sleep(10)"}, {"maria", "SELECT SLEEP(10)"}};

class Timeouts : public ::testing::TestWithParam<Db> {
protected:
    orltest::DriverLoader loader;
};

TEST_P(Timeouts, ConnectToASilentServerEndsWithinTheLoginTimeoutOnBothFrontEnds) {
    const std::string dsn = std::string("orl_") + GetParam().label + "_silent";
    Driver* d = loader.driver();
    ASSERT_NE(nullptr, d) << loader.error();
    DataService s = serviceOf(dsn, "orl", "x", "2", "");

    auto start = std::chrono::steady_clock::now();
    Connection* c = d->createConnection(s);
    ASSERT_NE(nullptr, c);
    EXPECT_EQ(3, c->open());
    const double classic = since(start);
    std::string errors;
    c->getLastErrors(errors);
    EXPECT_NE(std::string::npos, errors.find('[')) << "the diagnostic of the failed connect";
    d->releaseConnection(c);

    DBError* e = d->createError("timeouts");
    start = std::chrono::steady_clock::now();
    Connection2* c2 = d->createConnection2(s, e);
    ASSERT_NE(nullptr, c2);
    EXPECT_EQ(-1, c2->connect(e));
    const double bulk = since(start);
    EXPECT_STRNE("", e->getErrorString());
    std::printf("%s: connect to a silent server failed after %.2f s (classic: %s), %.2f s (bulk: %s)\n",
                GetParam().label, classic, errors.c_str() + (errors.empty() ? 0 : 1), bulk, e->getErrorString());
    d->releaseConnection2(c2, e);
    d->releaseError(e);
    EXPECT_LT(classic, 2 + 2);
    EXPECT_LT(bulk, 2 + 2);
}

TEST_P(Timeouts, AStatementPastItsTimeoutFailsAndTheNextRunsOnTheSameConnection) {
    const orltest::TestDsn& t = orltest::testDsn(GetParam().label);
    ORL_REQUIRE_DSN(t);
    Driver* d = loader.driver();
    ASSERT_NE(nullptr, d) << loader.error();
    DataService s = serviceOf(t.dsn, t.user, t.password, "5", "1");

    Connection* c = d->createConnection(s);
    ASSERT_EQ(1, c->open());
    std::vector<Parameter> none;
    int rows = 0;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(3, c->executeUpdate(GetParam().sleep10, none, rows));
    const double classic = since(start);
    std::string errors;
    c->getLastErrors(errors);
    EXPECT_EQ(1, c->rollback());
    EXPECT_EQ(1, c->executeUpdate("SELECT 1", none, rows)) << "the connection stays usable";
    d->releaseConnection(c);

    DBError* e = d->createError("timeouts");
    Connection2* c2 = d->createConnection2(s, e);
    ASSERT_EQ(0, c2->connect(e)) << e->getErrorString();
    PreparedStatement* st = c2->createPreparedStatement(GetParam().sleep10, e);
    ASSERT_NE(nullptr, st) << e->getErrorString();
    start = std::chrono::steady_clock::now();
    EXPECT_NE(0, st->execute(e));
    const double bulk = since(start);
    const std::string bulkText = e->getErrorString();
    EXPECT_EQ(0, c2->rollback(e));
    PreparedStatement* next = c2->createPreparedStatement("SELECT 1", e);
    ASSERT_NE(nullptr, next) << e->getErrorString();
    EXPECT_EQ(0, next->execute(e)) << "the connection stays usable: " << e->getErrorString();
    c2->disconnect(true, e);
    d->releaseConnection2(c2, e);
    d->releaseError(e);
    std::printf("%s: 10 s statement with QueryTimeout=1 failed after %.2f s (classic: %s), %.2f s (bulk: %s)\n",
                GetParam().label, classic, errors.c_str() + (errors.empty() ? 0 : 1), bulk, bulkText.c_str());
    EXPECT_LT(classic, 1 + 3);
    EXPECT_LT(bulk, 1 + 3);
}

INSTANTIATE_TEST_SUITE_P(Db, Timeouts, ::testing::ValuesIn(kDbs),
                         [](const ::testing::TestParamInfo<Db>& i) { return std::string(i.param.label); });

} // namespace
