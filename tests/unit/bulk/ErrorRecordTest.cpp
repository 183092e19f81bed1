// Filling a bulk error record from ODBC return codes and diagnostics, and the
// lost-connection classification.
#include "BulkFixture.h"

#include <sql.h>

namespace bulktest {
namespace {

TEST(ErrorRecord, CodesWithoutDiagnosticsLeaveNativeAndFlagAlone) {
    struct Case {
        short code;
        const char* text;
        int native;  // after the call; the record starts with 5
    };
    const Case cases[] = {
        {100, "[100]No data", 5},          {0, "[0]", 0},
        {-2, "[-2]Invalid handle", 5},     {2, "[2]Still executing", 5},
        {99, "[99]Need data", 5},          {3, "[3]Unknown error", 5},
        {-3, "[-3]Unknown error", 5},
    };
    for (const Case& c : cases) {
        DBError2Odbc e("svc");
        e.nativeErrorCode = 5;
        e.errorSource = "odbc";
        e.processOdbcError(SQL_HANDLE_STMT, nullptr, c.code);
        EXPECT_EQ(c.text, std::string(e.getErrorString())) << "code " << c.code;
        EXPECT_EQ(c.text, std::string(e.toString())) << "code " << c.code;
        EXPECT_EQ(c.native, e.getNativeErrorCode()) << "code " << c.code;
        EXPECT_FALSE(e.isConnectionError()) << "code " << c.code;
        EXPECT_STREQ("odbc", e.getErrorSource()) << "the source is the caller's";
    }
}

TEST(ErrorRecord, FreshRecordCarriesOnlyItsService) {
    DBError2Odbc e("billing");
    EXPECT_STREQ("billing", e.getService());
    EXPECT_STREQ("", e.getErrorSource());
    EXPECT_STREQ("", e.getErrorString());
    EXPECT_FALSE(e.isConnectionError());
    EXPECT_FALSE(e.isSuccessWithInfo());
}

TEST_F(Bulk, ExecuteFailureClassifiesLostConnections) {
    struct Case {
        const char* script;
        const char* text;
        int native;
        bool lost;
    };
    const Case cases[] = {
        {"error=08S01:0", "[-1][08S01]scripted failure", 0, true},
        {"error=08003:1", "[-1][08003]scripted failure", 1, true},
        {"error=08007:1", "[-1][08007]scripted failure", 1, true},
        {"error=HY000:-10821", "[-1][HY000]scripted failure", -10821, true},
        {"error=HY000:-10807", "[-1][HY000]scripted failure", -10807, true},
        // The driver manager hands an ODBC 3 application HY000 for S1000.
        {"error=S1000:-10821", "[-1][HY000]scripted failure", -10821, true},
        {"error=HY000:5", "[-1][HY000]scripted failure", 5, false},
        {"error=42000:-10821", "[-1][42000]scripted failure", -10821, false},
        {"error=08S0:0", "[-1][08S0]scripted failure", 0, false},
    };
    open("orl");
    for (const Case& c : cases) {
        DBError2Odbc e("svc");
        PreparedStatement2Odbc* st = prepare(c.script);
        ASSERT_NE(nullptr, st);
        EXPECT_EQ(-1, st->execute(&e)) << c.script;
        EXPECT_EQ(std::string("odbc|") + c.text, said(e)) << c.script;
        EXPECT_EQ(c.native, e.getNativeErrorCode()) << c.script;
        EXPECT_EQ(c.lost, e.isConnectionError()) << c.script;
        EXPECT_EQ(0, connection->releaseStatement(st, &e));
    }
}

TEST_F(Bulk, ConnectionFlagIsNeverCleared) {
    open("orl");
    PreparedStatement2Odbc* lost = prepare("error=08S01");
    PreparedStatement2Odbc* plain = prepare("error=42000");
    EXPECT_EQ(-1, lost->execute(&error));
    EXPECT_EQ(-1, plain->execute(&error));
    EXPECT_EQ("odbc|[-1][42000]scripted failure", said(error));
    EXPECT_TRUE(error.isConnectionError());
}

} // namespace
} // namespace bulktest
