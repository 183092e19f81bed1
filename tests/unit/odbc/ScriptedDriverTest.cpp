// The object layer against the scripted driver: the calls it makes, one by
// one, for what no real driver shows on demand (chunk arithmetic of long
// reads, SQL_NO_TOTAL, connect with information, errors without a record).
#include <gtest/gtest.h>

#include <sqlext.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "odbc/ByteStore.h"
#include "odbc/Odbc.h"
#include "support/scriptdrv/ScriptDsn.h"

using namespace KORVEL::Orl::DB::ODBC;
using orltest::ScriptDsn;

namespace {

class Scripted : public ::testing::Test {
protected:
    void SetUp() override { Connect("orl"); }

    void Connect(const std::string& user, e_Status want = Status_Ok) {
        ScriptDsn::Instance();
        env.reset(Odbc::CreateEnv());
        ASSERT_NE(env, nullptr);
        dbc = env->CreateDbc();
        ASSERT_NE(dbc, nullptr);
        ASSERT_EQ(dbc->Connect(ScriptDsn::kDsn, user, "pw"), want) << Info(dbc);
    }

    static std::string Info(Odbc* o) {
        std::ostringstream s;
        o->DumpInfo(s);
        return s.str();
    }

    // "state code message" of the diagnostic at the root.
    static std::string Diag(Odbc* o) {
        std::string state, message;
        long code = -1;
        o->GetInfo(state, code, message);
        return state + " " + std::to_string(code) + " " + message;
    }

    // Prepares and executes a script; the statement stays with the connection.
    OdbcStmt* Run(const std::string& script) {
        OdbcStmt* st = dbc->CreateStmt();
        EXPECT_NE(st, nullptr);
        if (st == nullptr) return nullptr;
        EXPECT_EQ(st->SetSql(script, false), Status_Ok) << Info(st);
        EXPECT_EQ(st->Execute(), Status_Ok) << Info(st);
        return st;
    }

    // The buffer lengths of the SQLGetData calls since `mark`.
    std::vector<long> BufferLengths(size_t mark) {
        std::vector<long> out;
        for (const std::string& line : ScriptDsn::Instance().Since(mark, "getdata"))
            out.push_back(std::stol(line.substr(line.find("buflen=") + 7)));
        return out;
    }

    std::unique_ptr<OdbcEnv> env;
    OdbcDbc* dbc = nullptr;
};

} // namespace

TEST_F(Scripted, ConnectWithInfoKeepsItsDiagnostic) {
    Connect("info");
    // SQLGetInfo's status call cleared the flag, but the text stays readable.
    EXPECT_FALSE(dbc->HasInfo());
    EXPECT_EQ(Diag(dbc), "01000 7 [unixODBC]scripted connect info");  // the manager's prefix at connect
    EXPECT_TRUE(dbc->IsConnected());
    Connect("dbms=sql server");  // the keyword comes from the driver's DBMS name
    EXPECT_EQ(dbc->GetDatabaseType(), "ADE");
}

TEST_F(Scripted, ErrorWithoutRecordGetsTheFallbackText) {
    Connect("norecord", Status_Error);
    EXPECT_EQ(Diag(dbc), "ORL 0 No error message returned by driver");

    Connect("orl");
    OdbcStmt* st = dbc->CreateStmt();
    ASSERT_NE(st, nullptr);
    ASSERT_EQ(st->SetSql("error;longmsg=1500", false), Status_Ok);
    EXPECT_EQ(st->Execute(), Status_Error);
    EXPECT_EQ(Diag(st), "42000 42 " + std::string(1500, 'm')) << "cut at 512 and read again whole";
}

// Each case: one column, its value, and the buffer lengths of every SQLGetData.
TEST_F(Scripted, ChunkedReadsCallByCall) {
    struct Case {
        const char* name;
        std::string column;  // col= directive without the name
        std::string kind;
        size_t valueLength;  // bytes the cell must hold
        std::vector<long> calls;
    };
    const std::vector<Case> cases = {
        {"text of cLength-1", "12:20000:text:8000", "text", 8000, {8001}},
        {"text one past the first chunk", "12:20000:text:8001", "text", 8001, {8001, 4}},
        {"text 20000", "-1:20000:text:20000", "text", 20000, {8001, 12000, 4}},
        {"binary of exactly the chunk", "-3:8000:bin:8000", "bin", 8000, {8000}},
        {"binary 100000", "-4:2147483647:bin:100000", "bin", 100000, {8000, 92000}},
        {"text without total", "-1:20000:text:250000:nototal", "text", 250000, {8001, 100000, 100000, 100000}},
        {"binary without total", "-4:20000:bin:250000:nototal", "bin", 250000, {8000, 100000, 100000, 100000}},
        // Wide text keeps even offsets: the byte-wide script loses one at the seam.
        {"wide text 20000", "-9:20000:text:20000", "text", 19999, {8002, 12000}},
        {"odd wide size rounds up", "-9:5:text:3", "text", 3, {8}},
        {"tiny chunk grows to 4", "12:1:text:1", "text", 1, {4}},
        {"unknown type reads binary unlimited", "-11:36:bin:36", "bin", 36, {36}},
        {"decimal with no display size", "3:70000:num:12.5:disp=0", "num", 4, {4466}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        size_t mark = ScriptDsn::Instance().Mark();
        OdbcStmt* st = Run("col=v:" + c.column);
        ASSERT_NE(st, nullptr);
        ASSERT_EQ(st->Fetch(), Status_Ok) << Info(st);
        EXPECT_EQ(BufferLengths(mark), c.calls);
        ByteStore value;
        ASSERT_EQ(st->GetColumn(1)->GetData(&value), Status_Ok);
        ASSERT_EQ(value.Size(), c.valueLength);
        std::string expected(c.valueLength, '\0');
        for (size_t i = 0; i < c.valueLength; ++i) expected[i] = c.kind == "text" ? 'a' + i % 26 : i % 251;
        if (c.kind != "num" && c.name[0] != 'w') {
            EXPECT_EQ(std::string(value.Text(), value.Size()), expected);
        }
        delete st;
    }
}

// Only the signedness-dependent choices; the others show in the chunked reads
// and in the round trips through real databases.
TEST_F(Scripted, CTypeChoiceFollowsSignedness) {
    const std::vector<std::pair<std::string, short>> cases = {
        {"-6:3:num:1", SQL_C_TINYINT}, {"-6:3:num:1:unsigned", SQL_C_UTINYINT}, {"-5:19:num:1:unsigned", SQL_C_SBIGINT},
        {"4:10:num:1", SQL_C_LONG},    {"4:10:num:1:unsigned", SQL_C_ULONG},    {"5:5:num:1:unsigned", SQL_C_USHORT},
    };
    std::string script;
    for (const auto& c : cases) script += "col=c:" + c.first + ";";
    OdbcStmt* st = Run(script);
    ASSERT_EQ(st->Fetch(), Status_Ok) << Info(st);
    for (int column = 1; column <= static_cast<int>(cases.size()); ++column) {
        short type = 0;
        ASSERT_NE(st->GetColumn(column), nullptr);
        st->GetColumn(column)->GetCType(type);
        EXPECT_EQ(type, cases[column - 1].second) << cases[column - 1].first;
    }
    EXPECT_EQ(st->GetColumn(0), nullptr);
    EXPECT_EQ(st->GetColumn(static_cast<int>(cases.size()) + 1), nullptr);
}

TEST_F(Scripted, FixedValuesNullsAndBigIntText) {
    OdbcStmt* st = Run(
        "rows=2;col=i:4:10:num:-7;col=n:12:10:text:3:nullrow=1;col=b:-5:19:num:9223372036854775807:disp=20;"
        "col=bn:-5:19:num:1:nullrow=-1:disp=20;col=ts:93:23:ts:0;col=t:92:8:time:0;col=d:8:15:num:2");
    ASSERT_EQ(st->Fetch(), Status_Ok);
    int i = 0;
    long big = 0;
    double d = 0;
    ByteStore text;
    EXPECT_EQ(st->GetColumn(1)->GetData(i), Status_Ok);
    EXPECT_EQ(i, -7);
    EXPECT_EQ(st->GetColumn(3)->GetData(big), Status_Ok);
    EXPECT_EQ(big, 9223372036854775807L);
    EXPECT_EQ(st->GetColumn(3)->GetData(&text), Status_Ok);
    EXPECT_STREQ(text.Text(), "9223372036854775807");
    // After a NULL bigint the target gets the zeroed text area of displaySize + 1.
    EXPECT_EQ(st->GetColumn(4)->GetData(big), Status_Null);
    EXPECT_EQ(st->GetColumn(4)->GetData(&text), Status_Ok);
    EXPECT_EQ(text.Size(), 21u);
    EXPECT_EQ(st->GetColumn(5)->GetData(&text), Status_Ok);
    EXPECT_EQ(text.Size(), 16u) << "a timestamp read as its structure";
    EXPECT_EQ(st->GetColumn(6)->GetData(&text), Status_Ok);
    EXPECT_EQ(text.Size(), 6u) << "a time read as its structure";
    EXPECT_EQ(st->GetColumn(7)->GetData(d), Status_Ok);
    EXPECT_EQ(d, 2.0);
    ASSERT_EQ(st->Fetch(), Status_Ok);
    EXPECT_EQ(st->GetColumn(2)->GetData(&text), Status_Null);
    EXPECT_EQ(st->Fetch(), Status_NoData);
    // Name, count and type straight from the driver; the column's own name.
    std::string name, own;
    int count = 0, type = 0;
    EXPECT_EQ(st->GetColumnName(3, name), Status_Ok);
    st->GetColumn(3)->GetName(own);
    EXPECT_EQ(name, "b");
    EXPECT_EQ(own, "b");
    EXPECT_EQ(st->GetColumnCount(count), Status_Ok);
    EXPECT_EQ(count, 7);
    EXPECT_EQ(st->GetColumnType(1, type), Status_Ok);
    EXPECT_EQ(type, SQL_INTEGER);
}

// A display size below zero, given or narrowed from the column size, once
// asked for a 4 GB text area.
TEST_F(Scripted, BigIntWithoutAUsableDisplaySize) {
    OdbcStmt* st = Run(
        "rows=2;col=a:-5:100001:num:-9223372036854775808:disp=0:nullrow=1;col=b:-5:19:num:42:disp=-30;"
        "col=c:-5:19:num:7:disp=4294967296");
    ASSERT_EQ(st->Fetch(), Status_Ok);
    long big = 0;
    ByteStore text;
    EXPECT_EQ(st->GetColumn(1)->GetData(big), Status_Ok);
    EXPECT_EQ(big, std::numeric_limits<long>::min());
    EXPECT_EQ(st->GetColumn(2)->GetData(big), Status_Ok);
    EXPECT_EQ(big, 42);
    EXPECT_EQ(st->GetColumn(3)->GetData(big), Status_Ok);
    EXPECT_EQ(big, 7);
    ASSERT_EQ(st->Fetch(), Status_Ok);
    EXPECT_EQ(st->GetColumn(1)->GetData(big), Status_Null);
    EXPECT_EQ(st->GetColumn(1)->GetData(&text), Status_Ok);
    EXPECT_EQ(text.Size(), 21u);
}

TEST_F(Scripted, MoreResultsRebuildsTheColumns) {
    OdbcStmt* st = Run("col=a:4:10:num:1;next;col=b:12:10:text:2;col=c:4:10:num:3");
    ASSERT_EQ(st->Fetch(), Status_Ok);
    EXPECT_EQ(st->GetColumn(2), nullptr);
    ASSERT_EQ(st->MoreResults(), Status_Ok);
    EXPECT_EQ(st->GetColumn(1), nullptr) << "columns are dropped until the next Fetch";
    ASSERT_EQ(st->Fetch(), Status_Ok);
    std::string name;
    st->GetColumn(2)->GetName(name);
    EXPECT_EQ(name, "c");
    EXPECT_EQ(st->MoreResults(), Status_NoData);
}

TEST_F(Scripted, CatalogArgumentsAreCounted) {
    char empty[] = "", tab[] = "T1", col[] = "C%", other[] = "ignored";
    using D = OdbcDbc*;
    const std::vector<std::pair<std::function<OdbcCatalog*(D)>, std::string>> cases = {
        {[](D d) { return d->ScanTables(nullptr, nullptr, nullptr, nullptr); },
         "tables <null>/0 <null>/0 <null>/0 <null>/0"},
        {[&](D d) { return d->ScanTables(empty, nullptr, tab, empty); }, "tables ''/0 <null>/0 'T1'/2 ''/0"},
        {[&](D d) { return d->ScanTableColumns(nullptr, empty, tab, col); }, "columns <null>/0 ''/0 'T1'/2 'C%'/2"},
        {[&](D d) { return d->ScanTablePrimaryKey(nullptr, nullptr, tab, other); },
         "primarykeys <null>/0 <null>/0 'T1'/2"},
        {[&](D d) { return d->ScanProcedures(nullptr, nullptr, col); }, "procedures <null>/0 <null>/0 'C%'/2"},
        {[&](D d) { return d->ScanProcedureColumns(empty, nullptr, tab, col); },
         "procedurecolumns ''/0 <null>/0 'T1'/2 'C%'/2"},
    };
    for (const auto& c : cases) {
        size_t mark = ScriptDsn::Instance().Mark();
        OdbcCatalog* scan = c.first(dbc);
        ASSERT_NE(scan, nullptr) << c.second;
        EXPECT_EQ(ScriptDsn::Instance().Since(mark, c.second.substr(0, 5)), std::vector<std::string>{c.second});
        EXPECT_EQ(scan->Fetch(), Status_NoData);
        delete scan;  // leaves the connection's children; Disconnect won't delete it again
    }
    OdbcCatalog* kept = dbc->ScanTables(nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(kept, nullptr);
    OdbcStmt* st = dbc->CreateStmt();
    ASSERT_NE(st, nullptr);
    EXPECT_EQ(dbc->Disconnect(), Status_Ok);  // deletes `kept` and `st`; the sanitizer build checks it
}

TEST_F(Scripted, BatchBindsColumnWiseArrays) {
    OdbcStmt* st = dbc->CreateStmt();
    ASSERT_EQ(st->SetSql("insert ? ?;failrow=1", true), Status_Ok);
    EXPECT_EQ(st->GetParam(0), nullptr);
    EXPECT_EQ(st->GetParam(3), nullptr);
    OdbcParam* n = st->GetParam(1);
    OdbcParam* s = st->GetParam(2);
    n->SetSqlType(SQL_INTEGER, 0, 0);
    n->SetCType(SQL_C_SLONG, 0);
    s->SetSqlType(SQL_VARCHAR, 10, 0);
    s->SetCType(SQL_C_CHAR, 0);
    const char* words[] = {"a", "abc", nullptr};
    for (int row = 0; row < 3; ++row) {
        DataTypes::DataValue v;
        v.stringValue = const_cast<char*>(words[row]);
        EXPECT_EQ(n->SetData(row * 10, row == 2), Status_Ok);
        EXPECT_EQ(s->SetData(5, v, words[row] == nullptr), Status_Ok);
        st->IncrementBatchSize();
    }
    int size = -1;
    st->GetBatchSize(size);
    EXPECT_EQ(size, 3);
    size_t mark = ScriptDsn::Instance().Mark();
    EXPECT_EQ(st->Execute(), Status_Ok);
    std::vector<std::string> binds = ScriptDsn::Instance().Since(mark, "bindparam");
    ASSERT_EQ(binds.size(), 2u);
    EXPECT_NE(binds[1].find("ctype=1 sqltype=12 size=10 digits=0 buflen=4"), std::string::npos) << binds[1];
    EXPECT_EQ(ScriptDsn::Instance().Since(mark, "execute"),
              (std::vector<std::string>{"execute param=1 paramset=3 ind= 0 0 -1",
                                        "execute param=2 paramset=3 ind= -3 -3 -1"}));
    std::vector<int> statuses(4, 5);
    for (int row = 0; row < 4; ++row) st->GetBatchParamStatus(row, statuses[row]);
    EXPECT_EQ(statuses, (std::vector<int>{0, -1, 0, 5})) << "the row beyond the batch is untouched";
    // A row added after the bind moves the arrays: bound again, all rows sent.
    n->SetData(30, false);
    s->SetData(5, DataTypes::DataValue(), true);
    st->IncrementBatchSize();
    mark = ScriptDsn::Instance().Mark();
    EXPECT_EQ(st->Execute(), Status_Ok);
    EXPECT_EQ(ScriptDsn::Instance().Since(mark, "execute"),
              (std::vector<std::string>{"execute param=1 paramset=4 ind= 0 0 -1 0",
                                        "execute param=2 paramset=4 ind= -3 -3 -1 -1"}));
    EXPECT_EQ(ScriptDsn::Instance().Since(mark, "bindparam").size(), 2u);

    // Back to single execution: the driver no longer sees a parameter array.
    ASSERT_EQ(st->SetSql("insert ?", false), Status_Ok);
    st->GetBatchSize(size = -1);
    EXPECT_EQ(size, -1);
    st->GetParam(1)->SetSqlType(SQL_INTEGER, 0, 0);
    st->GetParam(1)->SetData(5, false);
    mark = ScriptDsn::Instance().Mark();
    EXPECT_EQ(st->Execute(), Status_Ok);
    EXPECT_EQ(ScriptDsn::Instance().Since(mark, "execute"),
              std::vector<std::string>{"execute param=1 paramset=1 ind= 0"});
    // An unchanged cell isn't bound again.
    st->GetParam(1)->SetData(6, false);
    mark = ScriptDsn::Instance().Mark();
    EXPECT_EQ(st->Execute(), Status_Ok);
    EXPECT_TRUE(ScriptDsn::Instance().Since(mark, "bindparam").empty());
}

TEST_F(Scripted, NoResultAndNoConnection) {
    // No columns: CreateColumns succeeds, and the status is SQLFetch's own.
    OdbcStmt* st = Run("rows=0");
    EXPECT_EQ(st->Fetch(), Status_Error);
    EXPECT_EQ(Diag(st), "24000 42 no result set");
    EXPECT_EQ(st->GetColumn(1), nullptr);

    // Without a session no statement handle can be made: factories give null
    // and the reason stays at the root.
    dbc->Disconnect();
    EXPECT_EQ(dbc->CreateStmt(), nullptr);
    EXPECT_TRUE(dbc->HasInfo());
    EXPECT_EQ(dbc->ScanTables(nullptr, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(dbc->ScanProcedures(nullptr, nullptr, nullptr), nullptr);
}

TEST_F(Scripted, NoDataFromTheLastColumnEndsTheRows) {
    // Only the status of the last column read comes out of Fetch.
    OdbcStmt* st = Run("col=a:4:10:num:1;col=b:12:10:nodata:0");
    EXPECT_EQ(st->Fetch(), Status_NoData);
    st = Run("col=a:12:10:nodata:0;col=b:4:10:num:1");
    EXPECT_EQ(st->Fetch(), Status_Ok);
    ByteStore value;
    EXPECT_EQ(st->GetColumn(1)->GetData(&value), Status_Null) << "a column without data reads as NULL";
}
