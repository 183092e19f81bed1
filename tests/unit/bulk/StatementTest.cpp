// Statement set-up, parameter binding and row retrieval against the scripted
// driver: type words per SQL type, the bind calls per value, the SQLGetData
// arithmetic of long values, and the library's own refusals.
#include "BulkFixture.h"

#include <cstring>

namespace bulktest {
namespace {

using namespace DataTypes;

TEST_F(Bulk, ColumnTypesFollowTheSqlType) {
    struct Case {
        int sqlType;
        unsigned int word;
    };
    // The old codes 9, 10 and 11 reach an ODBC 3 application as 91, 92 and
    // 93 through the driver manager, so only their new forms can show here.
    const Case cases[] = {
        {1, STRING},   {12, STRING},  {-1, STRING},       {-8, STRING},       {-9, STRING},
        {-10, STRING}, {-7, BOOLEAN}, {-6, INTEGER},      {4, INTEGER},       {5, INTEGER},
        {-5, LONG},    {-2, BINARY},  {-3, BINARY},       {-4, BINARY},       {6, FLOAT},
        {7, FLOAT},    {8, FLOAT},    {91, DATE},         {10, TIME},
        {92, TIME},    {11, BIGDATETIME}, {93, BIGDATETIME}, {-11, UNKNOWN},
        {2, createFixedDecimal(12, 0)}, {3, createFixedDecimal(12, 0)},
    };
    std::string sql;
    for (const Case& c : cases) sql += "col=c" + std::to_string(c.sqlType) + ":" + std::to_string(c.sqlType) + ":12:num:1;";
    PreparedStatement2Odbc* st = prepare(sql);
    ASSERT_NE(nullptr, st);
    int n = -1;
    EXPECT_EQ(0, st->getEffectiveNumberColumns(n, &error));
    ASSERT_EQ(static_cast<int>(sizeof cases / sizeof cases[0]), n);
    for (int j = 0; j < n; ++j) {
        unsigned int word = 0;
        EXPECT_EQ(0, st->getEffectiveDataType(j, word, &error));
        EXPECT_EQ(cases[j].word, word) << "SQL type " << cases[j].sqlType;
        EXPECT_EQ("c" + std::to_string(cases[j].sqlType), st->getColumnName(j, &error));
    }
    unsigned int word = 123;
    EXPECT_EQ(0, st->getEffectiveDataType(n, word, &error)) << "one past the end has always passed";
    EXPECT_EQ(static_cast<unsigned int>(UNKNOWN), word);
    EXPECT_STREQ("", st->getColumnName(n, &error));
    for (int bad : {n + 1, -1}) {
        DBError2Odbc e("svc");
        EXPECT_EQ(-1, st->getEffectiveDataType(bad, word, &e));
        EXPECT_EQ("dbaccess|invalid column", said(e)) << bad;
    }
}

TEST_F(Bulk, SetUpRefusals) {
    const unsigned int three[] = {INTEGER, INTEGER, INTEGER};
    open("orl");
    struct Case {
        const char* what;
        std::function<PreparedStatement*(DBError*)> make;
        const char* said;  // null: succeeds
    };
    RecordType record;
    const Case cases[] = {
        {"count 3 for 2 columns",
         [&](DBError* e) { return connection->createPreparedStatement("col=a:4:1:num:1;col=b:4:1:num:1", 3, three, false, e); },
         "dbaccess|specified column count does not match query"},
        {"count ignored without columns",
         [&](DBError* e) { return connection->createPreparedStatement("delete ?", 3, three, false, e); }, nullptr},
        {"record type", [&](DBError* e) { return connection->createPreparedStatement("x", &record, false, e); },
         "dbaccess|not implemented"},
    };
    for (const Case& c : cases) {
        DBError2Odbc e("svc");
        PreparedStatement* st = c.make(&e);
        EXPECT_EQ(c.said == nullptr, st != nullptr) << c.what;
        EXPECT_EQ(c.said ? c.said : "|", said(e)) << c.what;
        if (st) {
            EXPECT_EQ(0, connection->releaseStatement(st, &e));
        }
    }
    EXPECT_EQ(nullptr, connection->createPreparedStatement("x", static_cast<RecordType*>(nullptr), false, &error));
    EXPECT_EQ("|", said(error)) << "a null record type is refused silently";
    int stranger = 0;
    for (PreparedStatement* p : {static_cast<PreparedStatement*>(nullptr), reinterpret_cast<PreparedStatement*>(&stranger)}) {
        DBError2Odbc e("svc");
        EXPECT_EQ(-1, connection->releaseStatement(p, &e));
        EXPECT_EQ("dbaccess|statement not found", said(e));
        EXPECT_EQ(-1, connection->releaseStatement(p, nullptr));
    }
}

TEST_F(Bulk, RowParametersBindPerTypeEachWithItsOwnStorage) {
    FixedDecimalValue dec{};
    DataValue money = int64Value(-123456);
    DataValue text;
    text.stringValue = const_cast<char*>("abc");
    text.isNull = false;
    unsigned char bytes[] = {'x', 'y'};
    DataValue bin;
    bin.binaryValue = {bytes, 2};
    bin.isNull = false;
    (void)dec;
    struct Case {
        unsigned int word;
        DataValue value;
        const char* bind;   // the scripted driver's bindparam line, after "n=1 dir=1 "
        const char* seen;   // what it read at SQLExecute ("" for nothing)
        const char* ind;
    };
    const Case cases[] = {
        {TIMESTAMP, int64Value(1500), "ctype=93 sqltype=12 size=10 digits=0 buflen=16",
         "1970-01-01 00:00:01.500000000", "16"},
        {TIMESTAMP, int64Value(-1), "ctype=93 sqltype=12 size=10 digits=0 buflen=16",
         "1969-12-31 23:59:59.999000000", "16"},
        {TIMESTAMP, int64Value(-2000), "ctype=93 sqltype=12 size=10 digits=0 buflen=16",
         "1969-12-31 23:59:58.000000000", "16"},
        {BIGDATETIME, int64Value(-1), "ctype=93 sqltype=12 size=10 digits=0 buflen=16",
         "1969-12-31 23:59:59.999999000", "16"},
        {DATE, int64Value(86400 + 5), "ctype=93 sqltype=12 size=10 digits=0 buflen=16",
         "1970-01-02 00:00:05.000000000", "16"},
        {TIME, int64Value(3661), "ctype=92 sqltype=12 size=10 digits=0 buflen=6", "01:01:01", "6"},
        {STRING, text, "ctype=1 sqltype=12 size=10 digits=0 buflen=3", "abc", "3"},
        {MONEY_2, money, "ctype=1 sqltype=12 size=10 digits=0 buflen=8", "-1234.56", "8"},
        {BINARY, bin, "ctype=-2 sqltype=12 size=10 digits=0 buflen=2", "xy", "2"},
        {LONG, int64Value(7), "ctype=-25 sqltype=12 size=10 digits=0 buflen=0", "", "0"},
        {LONG, DataValue(), "ctype=-25 sqltype=12 size=1 digits=0 buflen=0", "", "-1"},
    };
    PreparedStatement2Odbc* st = prepare("insert ? ?");
    ASSERT_NE(nullptr, st);
    for (const Case& c : cases) {
        // The same value twice, from two columns in reverse order: each
        // parameter must see its own.
        RowPtr row = makeRow({{c.word, c.value}, {c.word, c.value}});
        std::vector<int> columns = {1, 0};
        unsigned int types[] = {c.word, c.word};
        ASSERT_EQ(0, st->setBindings(columns, types, &error));
        size_t m = mark();
        EXPECT_EQ(0, st->execute(row.get(), &error)) << said(error);
        std::vector<std::string> binds = since(m, "bindparam");
        ASSERT_EQ(2u, binds.size());
        EXPECT_EQ(std::string("bindparam n=1 dir=1 ") + c.bind, binds[0]) << c.seen;
        std::vector<std::string> want = {std::string("execute param=1 paramset=1 ind= ") + c.ind,
                                         std::string("execute param=2 paramset=1 ind= ") + c.ind};
        EXPECT_EQ(want, since(m, "execute")) << c.seen;
        std::vector<std::string> seen;
        if (*c.seen) seen = {std::string("value param=1 ") + c.seen, std::string("value param=2 ") + c.seen};
        EXPECT_EQ(seen, since(m, "value")) << c.bind;
    }
}

TEST_F(Bulk, ExecutionRefusals) {
    PreparedStatement2Odbc* st = prepare("insert ? ? ?");
    ASSERT_NE(nullptr, st);
    RowPtr row = makeRow({{INTEGER, int64Value(1)}});
    std::vector<DataValue> two(2, int64Value(1));
    std::vector<unsigned int> words(3, LONG);
    std::vector<int> short2 = {0, 0};
    int count = 0;
    struct Case {
        const char* what;
        std::function<int(DBError*)> call;
        const char* said;
    };
    const Case cases[] = {
        {"row without bindings", [&](DBError* e) { return st->execute(row.get(), e); },
         "dbaccess|No param binding in effect"},
        {"bare execute", [&](DBError* e) { return st->execute(e); }, "dbaccess|unbound parameter(s)"},
        {"two values for three", [&](DBError* e) { return st->execute(two, words, e); },
         "dbaccess|param count mismatch"},
        {"short bindings", [&](DBError* e) { return st->setBindings(short2, nullptr, e); },
         "dbaccess|Invalid number of columns"},
        {"next count", [&](DBError* e) { return st->nextCount(count, e); }, "dbaccess|not implemented"},
        {"row before any result", [&](DBError* e) { return st->nextRow(e) == nullptr ? -1 : 0; }, "dbaccess|no data"},
        {"multi-row", [&](DBError* e) { return st->execute(static_cast<const RowInternal2**>(nullptr), e); }, "|"},
    };
    for (const Case& c : cases) {
        DBError2Odbc e("svc");
        EXPECT_EQ(-1, c.call(&e)) << c.what;
        EXPECT_EQ(c.said, said(e)) << c.what;
        EXPECT_EQ(-1, c.call(nullptr)) << c.what << " without a record";
    }
    EXPECT_EQ(0, pthread_mutex_trylock(&PreparedStatement2Odbc::m_mx)) << "the mismatch let the mutex go";
    pthread_mutex_unlock(&PreparedStatement2Odbc::m_mx);
}

TEST_F(Bulk, ValueExecuteKeepsBinariesForTheDriverAndClosesTheLastCursor) {
    PreparedStatement2Odbc* st = prepare("insert ? ?");
    ASSERT_NE(nullptr, st);
    unsigned char a[] = {'p', 'q', 'r'};
    std::vector<DataValue> values(2);
    values[0].binaryValue = {a, 3};
    values[1].stringValue = nullptr;  // binds as NULL
    for (DataValue& v : values) v.isNull = false;
    std::vector<unsigned int> words = {BINARY, STRING};
    size_t m = mark();
    ASSERT_EQ(0, st->execute(values, words, &error)) << said(error);
    EXPECT_EQ(since(m, "value"), std::vector<std::string>{"value param=1 pqr"});
    EXPECT_EQ(since(m, "execute"), (std::vector<std::string>{"execute param=1 paramset=1 ind= 3",
                                                             "execute param=2 paramset=1 ind= -1"}));
    m = mark();
    ASSERT_EQ(0, st->execute(&error)) << "the bound data again: " << said(error);
    EXPECT_EQ(since(m, "value"), std::vector<std::string>{"value param=1 pqr"});
    m = mark();
    ASSERT_EQ(0, st->execute(values, words, &error));
    EXPECT_EQ(since(m, "freestmt").size(), 3u) << "the second pass closes the first";
}

TEST_F(Bulk, UnmappedParameterTypeFailsTheBindAndCloses) {
    PreparedStatement2Odbc* st = prepare("insert ?");
    ASSERT_NE(nullptr, st);
    DataValue v;
    v.int16Value = 3;
    v.isNull = false;
    RowPtr row = makeRow({{INT16, v}});
    std::vector<int> columns = {0};
    unsigned int types[] = {INT16};
    ASSERT_EQ(0, st->setBindings(columns, types, &error));
    EXPECT_EQ(-1, st->execute(row.get(), &error));
    EXPECT_EQ(0, std::string(error.getErrorString()).find("[-1][HY003]")) << said(error);
    EXPECT_EQ(-1, st->execute(row.get(), &error));
    EXPECT_EQ("dbaccess|No param binding in effect", said(error)) << "the failed bind closed the statement";
}

// ---- Retrieval ---------------------------------------------------------------

// The SQLGetData buffer lengths of column 1 since `m`.
std::vector<long> reads(const std::vector<std::string>& lines) {
    std::vector<long> out;
    for (const std::string& l : lines) out.push_back(std::atol(l.c_str() + l.find("buflen=") + 7));
    return out;
}

TEST_F(Bulk, LongValuesCostOneReadOrTwo) {
    struct Case {
        const char* column;
        std::vector<long> buffers;
        long packed;  // bytes in the row; -1: the row fails
    };
    const Case cases[] = {
        {"col=t:12:500:text:127", {128}, 128},
        {"col=t:12:500:text:128", {128}, -1},
        {"col=t:12:500:text:129", {128, 3}, 130},
        {"col=t:12:500:text:1000", {128, 874}, 1001},
        {"col=t:12:500:text:0", {128}, 1},
        {"col=t:12:500:text:300:nototal", {128}, -1},
        {"col=b:-3:500:bin:60", {60}, 64},
        {"col=b:-3:500:bin:100", {60, 40}, 104},
        {"col=b:-3:500:bin:61", {60, 1}, 65},
        {"col=b:-3:500:bin:100:nototal", {60}, -1},
    };
    for (const Case& c : cases) {
        PreparedStatement2Odbc* st = query(c.column);
        ASSERT_NE(nullptr, st);
        bool more = false;
        ASSERT_EQ(0, st->hasMoreData(more, &error));
        size_t m = mark();
        DBError2Odbc e("svc");
        RowPtr row(st->nextRow(&e));
        EXPECT_EQ(c.buffers, reads(since(m, "getdata"))) << c.column;
        if (c.packed < 0) {
            EXPECT_EQ(nullptr, row) << c.column;
            EXPECT_EQ(0, std::string(e.getErrorString()).find("[1][01004]")) << said(e);
        } else {
            ASSERT_NE(nullptr, row) << c.column << ": " << said(e);
            EXPECT_EQ(60u + c.packed, row->size) << c.column;
            const unsigned char* v = columnOf(row.get(), 0);
            if (c.column[4] == 't') {
                std::string s(reinterpret_cast<const char*>(v));
                EXPECT_EQ(static_cast<size_t>(c.packed - 1), s.size());
                for (size_t i = 0; i < s.size(); ++i) ASSERT_EQ('a' + i % 26, s[i]) << c.column << " at " << i;
            } else {
                unsigned int n = getLengthFromPackedBinary(v);
                EXPECT_EQ(static_cast<unsigned int>(c.packed - 4), n);
                for (unsigned int i = 0; i < n; ++i) ASSERT_EQ(i % 251, v[4 + i]) << c.column << " at " << i;
            }
        }
        EXPECT_EQ(0, connection->releaseStatement(st, &error));
    }
}

TEST_F(Bulk, RowLayoutNullsAndColumnsWithoutFetcher) {
    PreparedStatement2Odbc* st = query("col=a:4:10:num:1:nullrow=-1;col=b:12:10:text:3:nullrow=-1;"
                                       "col=c:-3:10:bin:3:nullrow=-1;rows=2");
    bool more = false;
    ASSERT_EQ(0, st->hasMoreData(more, &error));
    RowPtr row(st->nextRow(&error));
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(68u, row->size);
    EXPECT_EQ(1u, row->one);
    EXPECT_EQ(3u, row->columnCount);
    for (size_t j = 0; j < 3; ++j) EXPECT_EQ(0, offsetOf(row.get(), j));
    EXPECT_EQ(68, offsetOf(row.get(), 3));

    st = query("col=a:4:10:num:-7;col=g:-11:16:text:5;col=s:12:10:text:3");
    ASSERT_EQ(0, st->hasMoreData(more, &error));
    row.reset(st->nextRow(&error));
    ASSERT_NE(nullptr, row);
    const int32_t first = 56 + 4 * 3;
    EXPECT_EQ(first, offsetOf(row.get(), 0));
    EXPECT_EQ(0, offsetOf(row.get(), 1)) << "a GUID has no fetcher and reads as NULL";
    EXPECT_EQ(first + 4, offsetOf(row.get(), 2));
    EXPECT_EQ(first + 8, offsetOf(row.get(), 3));
    int32_t a;
    std::memcpy(&a, columnOf(row.get(), 0), 4);
    EXPECT_EQ(-7, a);
    EXPECT_STREQ("abc", reinterpret_cast<const char*>(columnOf(row.get(), 2)));
    ASSERT_EQ(0, st->hasMoreData(more, &error));
    EXPECT_FALSE(more);

    st = query("delete");  // no columns: the bare header
    row.reset(st->nextRow(&error));
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(56u, row->size);
    EXPECT_EQ(56, offsetOf(row.get(), 0));
}

TEST_F(Bulk, ResultSetsAndTheCursor) {
    PreparedStatement2Odbc* st = prepare("col=a:4:10:num:1;next;col=b:4:10:num:2");
    bool more = false;
    DataValue v;
    std::vector<DataValue> values(1, v);
    EXPECT_EQ(-1, st->nextRow(values, &error));
    EXPECT_EQ("dbaccess|no data", said(error)) << "before the first result set";
    ASSERT_EQ(0, st->execute(&error));
    EXPECT_EQ(-1, st->nextRow(values, &error)) << "executed, not yet entered";
    std::vector<bool> seen;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(0, st->nextResultSet(more, &error));
        seen.push_back(more);
    }
    EXPECT_EQ((std::vector<bool>{true, true, false}), seen);
    std::vector<DataValue> wrong(2);
    EXPECT_EQ(-1, st->nextRow(wrong, &error));
    EXPECT_EQ("dbaccess|invalid column count", said(error));
}

TEST_F(Bulk, DeclaredTypesWinOverTheDescription) {
    const unsigned int types[] = {MONEY_2, INT16, createFixedDecimal(10, 2), DATE, TIME, BIGDATETIME};
    PreparedStatement2Odbc* st =
        query("col=m:12:10:num:12.5;col=s:5:5:num:3;col=d:12:10:num:-3.25;col=t:93:10:ts;col=u:93:10:ts;col=v:93:10:ts",
              6, types);
    ASSERT_NE(nullptr, st);
    bool more = false;
    ASSERT_EQ(0, st->hasMoreData(more, &error));
    std::vector<DataValue> values(6);
    for (DataValue& v : values) v.isNull = false;
    ASSERT_EQ(0, st->nextRow(values, &error)) << said(error);
    EXPECT_EQ(1250, values[0].int64Value);
    EXPECT_FALSE(values[1].isNull) << "no fetcher: left as handed in";
    char text[64] = "";
    convertToString(types[2], false, false, values[2], text, sizeof text);
    EXPECT_STREQ("-3.25", text);
    const int64_t day = 1709164800;  // 2024-02-29 00:00:00 UTC
    EXPECT_EQ(day + 86398, values[3].int64Value) << "a DATE keeps the driver's time of day";
    EXPECT_EQ(86398, values[4].int64Value);
    EXPECT_EQ((day + 86398) * 1000000 + 123000, values[5].int64Value);

    int64_t date = 0;
    long length = 8;
    EXPECT_EQ(0, st->getDataColumn<91>(3, &date, length, &error)) << said(error);
    EXPECT_EQ(day, date);

    const unsigned int money[] = {MONEY_2};
    st = query("col=m:12:10:num:abc", 1, money);
    ASSERT_EQ(0, st->hasMoreData(more, &error));
    EXPECT_EQ(nullptr, st->nextRow(&error));
    EXPECT_EQ("dbaccess", std::string(error.getErrorSource()));
    EXPECT_NE("", std::string(error.getErrorString()));
}

TEST_F(Bulk, CloseDropsTheBindings) {
    PreparedStatement2Odbc* st = prepare("insert ?");
    std::vector<int> columns = {0};
    unsigned int types[] = {LONG};
    RowPtr row = makeRow({{LONG, int64Value(1)}});
    ASSERT_EQ(0, st->setBindings(columns, types, &error));
    ASSERT_EQ(0, st->execute(row.get(), &error));
    ASSERT_EQ(0, st->close(&error));
    EXPECT_EQ(-1, st->execute(row.get(), &error));
    EXPECT_EQ("dbaccess|No param binding in effect", said(error));
    std::vector<int> none;
    PreparedStatement2Odbc* bare = prepare("delete");
    EXPECT_EQ(0, bare->setBindings(none, nullptr, &error));
    EXPECT_EQ(0, bare->execute(row.get(), &error)) << "no parameters: straight to SQLExecute";
}

} // namespace
} // namespace bulktest
