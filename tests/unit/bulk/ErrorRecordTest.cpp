// Filling a bulk error record from ODBC return codes and diagnostics, and the
// lost-connection classification.
#include "BulkFixture.h"

namespace bulktest {
namespace {

TEST(ErrorRecord, CodesWithoutDiagnosticsLeaveNativeAndFlagAlone) {
    const std::pair<short, const char*> cases[] = {
        {100, "[100]No data"},   {0, "[0]"},           {-2, "[-2]Invalid handle"}, {2, "[2]Still executing"},
        {99, "[99]Need data"},   {3, "[3]Unknown error"}, {-3, "[-3]Unknown error"},
    };
    for (const auto& c : cases) {
        DBError2Odbc e("svc");
        e.nativeErrorCode = 5;
        e.errorSource = "odbc";
        e.processOdbcError(SQL_HANDLE_STMT, nullptr, c.first);
        EXPECT_EQ(std::string("odbc|") + c.second, said(e)) << "the source is the caller's";
        EXPECT_STREQ(c.second, e.toString());
        EXPECT_EQ(c.first == 0 ? 0 : 5, e.getNativeErrorCode()) << c.second;
        EXPECT_FALSE(e.isConnectionError()) << c.second;
    }
}

TEST_F(Bulk, ExecuteFailureClassifiesLostConnections) {
    struct Case { const char *script, *text; int native; bool lost; };
    const Case cases[] = {
        {"error=08S01:0", "[-1][08S01]scripted failure", 0, true},
        {"error=08003:1", "[-1][08003]scripted failure", 1, true},
        {"error=08007:1", "[-1][08007]scripted failure", 1, true},
        {"error=HY000:-10821", "[-1][HY000]scripted failure", -10821, true},
        {"error=HY000:-10807", "[-1][HY000]scripted failure", -10807, true},
        {"error=HY000:5", "[-1][HY000]scripted failure", 5, false},
        {"error=42000:-10821", "[-1][42000]scripted failure", -10821, false},
        {"error=08S0:0", "[-1][08S0]scripted failure", 0, false},
        // The driver manager reports state 00000 when the driver left no record.
        {"error-norecord", "[-1][00000]", 0, false},
    };
    DBError2Odbc shared("svc");
    for (const Case& c : cases) {
        DBError2Odbc e("svc");
        PreparedStatement2Odbc* st = prepare(c.script);
        ASSERT_NE(nullptr, st);
        EXPECT_EQ(-1, st->execute(&e)) << c.script;
        EXPECT_EQ(std::string("odbc|") + c.text, said(e)) << c.script;
        EXPECT_EQ(c.native, e.getNativeErrorCode()) << c.script;
        EXPECT_EQ(c.lost, e.isConnectionError()) << c.script;
        EXPECT_FALSE(e.isSuccessWithInfo());
        st->execute(&shared);
    }
    EXPECT_TRUE(shared.isConnectionError()) << "set by the first rows, never cleared by the later ones";
}

} // namespace
} // namespace bulktest
