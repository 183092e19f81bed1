// LoginTimeout and QueryTimeout on a classic connection over the object
// layer: asked of the driver at the connect and on every statement and
// catalog scan when set, and not at all when not.
#include "ClassicScript.h"

namespace classicunit {
namespace {

TEST(ClassicTimeouts, AskTheDriverOnlyWhenSet) {
    ScriptDsn& dsn = ScriptDsn::Instance();
    struct Case {
        unsigned long login, query;
        bool connectString;
        size_t queryAttributes;  // one statement and one catalog scan
    };
    const Case cases[] = {{0, 0, false, 0}, {5, 0, true, 0}, {0, 4, false, 2}, {5, 4, true, 2}};
    for (const Case& c : cases) {
        OdbcConnection conn(ScriptDsn::kDsn, "", "orl", "pw", false);
        conn.setTimeouts(c.login, c.query);
        const size_t m = dsn.Mark();
        ASSERT_EQ(1, conn.open()) << conn.lastErrors;
        EXPECT_EQ(c.login ? 1u : 0u, dsn.Since(m, "setconnectattr attr=103 value=5").size());
        EXPECT_EQ(c.connectString ? std::vector<std::string>{"driverconnect DSN=orl_script;UID=orl;PWD=pw;CONN_TIMEOUT=5;"}
                                  : std::vector<std::string>{},
                  dsn.Since(m, "driverconnect"));
        std::vector<Parameter> none;
        int rows = 0;
        EXPECT_EQ(1, conn.executeUpdate("rowcount=1", none, rows));
        std::vector<std::string> tables;
        conn.getTableNames(tables);
        const std::vector<std::string> attributes = dsn.Since(m, "setstmtattr attr=0 ");
        EXPECT_EQ(c.queryAttributes, attributes.size()) << "login " << c.login << ", query " << c.query;
        for (const std::string& a : attributes) EXPECT_EQ("setstmtattr attr=0 value=4", a);
        conn.close();
    }
}

}  // namespace
}  // namespace classicunit
