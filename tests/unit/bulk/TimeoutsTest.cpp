// LoginTimeout and QueryTimeout on a bulk connection: what the driver is
// asked with each value, and that anything but plain digits asks nothing.
#include "BulkFixture.h"
#include "odbc/internal/Timeouts.h"

namespace bulktest {
namespace {

using KORVEL::Orl::DB::ODBC::internal::timeoutSeconds;

TEST(TimeoutSeconds, OnlyPlainDigitsAboveZeroCount) {
    const std::pair<const char*, unsigned long> cases[] = {
        {"", 0},  {"0", 0},  {"000", 0}, {"abc", 0}, {"-1", 0}, {"+5", 0}, {" 5", 0}, {"5 ", 0},
        {"5s", 0}, {"1.5", 0}, {"1", 1},  {"007", 7}, {"30", 30}, {"2147483647", 2147483647UL},
        {"99999999999999999999", 2147483647UL},
    };
    for (const auto& c : cases) EXPECT_EQ(c.second, timeoutSeconds(c.first)) << "'" << c.first << "'";
}

TEST_F(Bulk, TimeoutsAskTheDriverOnlyWhenSet) {
    struct Case {
        const char *login, *query;  // null: property absent
        std::vector<std::string> connect;
        size_t queryAttributes;     // "setstmtattr attr=0" lines for one prepared statement
    };
    const std::vector<std::string> plain{"connect dsn=orl_script user=orl password="};
    const Case cases[] = {
        {nullptr, nullptr, plain, 0},
        {"", "", plain, 0},
        {"0", "0", plain, 0},
        {"soon", "-3", plain, 0},
        {"7", nullptr,
         {"setconnectattr attr=103 value=7", "driverconnect DSN=orl_script;UID=orl;PWD=;CONN_TIMEOUT=7;",
          "connect dsn=orl_script user=orl password="},
         0},
        {nullptr, "3", plain, 1},
    };
    for (const Case& c : cases) {
        size_t m = mark();
        open("orl", false);
        if (c.login) connection->setConnectionProperty("LoginTimeout", c.login);
        if (c.query) connection->setConnectionProperty("QueryTimeout", c.query);
        ASSERT_EQ(0, connection->connect(&error)) << said(error);
        std::vector<std::string> connect;
        for (const std::string& line : since(m, ""))
            if (line.find("connect") == 0 || line.find("driverconnect") == 0 ||
                line.find("setconnectattr attr=103") == 0)
                connect.push_back(line);
        EXPECT_EQ(c.connect, connect) << (c.login ? c.login : "(absent)");
        size_t before = mark();
        prepare("col=n:4:10:num:1");
        const std::vector<std::string> attributes = since(before, "setstmtattr attr=0 ");
        EXPECT_EQ(c.queryAttributes, attributes.size()) << (c.query ? c.query : "(absent)");
        for (const std::string& a : attributes) EXPECT_EQ("setstmtattr attr=0 value=3", a);
    }
}

}  // namespace
}  // namespace bulktest
