// Statement set-up, parameter binding and row retrieval against the scripted
// driver: type words per SQL type, the bind calls per value, the SQLGetData
// arithmetic of long values, and the library's own refusals.
#include "BulkFixture.h"

namespace bulktest {
namespace {

using namespace DataTypes;

TEST_F(Bulk, ColumnTypesFollowTheSqlType) {
    // The old codes 9, 10 and 11 reach an ODBC 3 application as 91, 92 and 93
    // through the driver manager, so only the new ones can show here.
    // Type code, or type:size:kind:value:digits=scale.
    const std::pair<const char*, unsigned int> cases[] = {
        {"1", STRING},   {"12", STRING},  {"-1", STRING},  {"-8", STRING},  {"-9", STRING},    {"-10", STRING},
        {"-7", BOOLEAN}, {"-6", INTEGER}, {"4", INTEGER},  {"5", INTEGER},  {"-5", LONG},      {"-2", BINARY},
        {"-3", BINARY},  {"-4", BINARY},  {"6", FLOAT},    {"7", FLOAT},    {"8", FLOAT},      {"91", DATE},
        {"92", TIME},    {"93", BIGDATETIME}, {"-11", UNKNOWN}, {"3", createFixedDecimal(12, 0)},
        {"2:10:num:1:digits=2", createFixedDecimal(10, 2)},
        {"2:38:num:1:digits=35", FLOAT},
        {"3:38:num:1:digits=34", createFixedDecimal(38, 34)},
    };
    std::string sql;
    for (size_t j = 0; j < sizeof cases / sizeof cases[0]; ++j)
        sql += "col=c" + std::to_string(j) + ":" + cases[j].first + (std::strchr(cases[j].first, ':') ? ";" : ":12:num:1;");
    PreparedStatement2Odbc* st = prepare(sql);
    ASSERT_NE(nullptr, st);
    int n = -1;
    EXPECT_EQ(0, st->getEffectiveNumberColumns(n, &error));
    ASSERT_EQ(static_cast<int>(sizeof cases / sizeof cases[0]), n);
    for (int j = 0; j <= n; ++j) {
        unsigned int word = 123;
        EXPECT_EQ(0, st->getEffectiveDataType(j, word, &error)) << "one past the end has always passed";
        EXPECT_EQ(j < n ? cases[j].second : static_cast<unsigned int>(UNKNOWN), word) << "column " << j;
        EXPECT_EQ(j < n ? "c" + std::to_string(j) : "", st->getColumnName(j, &error)) << cases[j].first;
    }
}

TEST_F(Bulk, Refusals) {
    open("orl");
    PreparedStatement2Odbc* st = prepare("insert ? ? ?");
    ASSERT_NE(nullptr, st);
    const unsigned int three[] = {INTEGER, INTEGER, INTEGER};
    RowPtr row = makeRow({{INTEGER, int64Value(1)}});
    std::vector<DataValue> two(2, int64Value(1)), one(1);
    std::vector<unsigned int> words(3, LONG);
    std::vector<int> short2 = {0, 0}, zeros = {0, 0, 0};
    const unsigned int int16s[] = {INT16, INT16, INT16};
    int count = 0, stranger = 0;
    unsigned int word = 0;
    const std::pair<const char*, std::function<bool(DBError*)> > cases[] = {
        {"dbaccess|specified column count does not match query",
         [&](DBError* e) { return !connection->createPreparedStatement("col=a:4:1:num:1;col=b:4:1:num:1", 3, three, false, e); }},
        {"dbaccess|not implemented",
         [&](DBError* e) { return !connection->createPreparedStatement("x", static_cast<RecordType*>(nullptr), false, e); }},
        {"dbaccess|statement not found", [&](DBError* e) { return connection->releaseStatement(nullptr, e) == -1; }},
        {"dbaccess|statement not found",
         [&](DBError* e) { return connection->releaseStatement(reinterpret_cast<PreparedStatement*>(&stranger), e) == -1; }},
        {"dbaccess|invalid column", [&](DBError* e) { return st->getEffectiveDataType(-1, word, e) == -1; }},
        // INT16 has no C type: the driver manager refuses the bind, which
        // drops the bindings (so the next row must say so).
        {"odbc|[-1][HY003][unixODBC][Driver Manager]Program type out of range",
         [&](DBError* e) { return st->setBindings(zeros, int16s, e) == 0 && st->execute(row.get(), e) == -1; }},
        {"dbaccess|No param binding in effect", [&](DBError* e) { return st->execute(row.get(), e) == -1; }},
        {"dbaccess|unbound parameter(s)", [&](DBError* e) { return st->execute(e) == -1; }},
        {"dbaccess|param count mismatch", [&](DBError* e) { return st->execute(two, words, e) == -1; }},
        {"dbaccess|Invalid number of columns", [&](DBError* e) { return st->setBindings(short2, nullptr, e) == -1; }},
        {"dbaccess|not implemented", [&](DBError* e) { return st->nextCount(count, e) == -1; }},
        {"dbaccess|no data", [&](DBError* e) { return st->nextRow(e) == nullptr; }},
        {"dbaccess|no data", [&](DBError* e) { return st->nextRow(one, e) == -1; }},
        {"|", [&](DBError* e) { return st->execute(static_cast<const RowInternal2**>(nullptr), e) == -1; }},
    };
    for (const auto& c : cases) {
        DBError2Odbc e("svc");
        EXPECT_TRUE(c.second(&e)) << c.first;
        EXPECT_EQ(c.first, said(e));
        EXPECT_TRUE(c.second(nullptr)) << c.first << " without a record";
    }
    EXPECT_EQ(0, pthread_mutex_trylock(&PreparedStatement2Odbc::m_mx)) << "the mismatch let the mutex go";
    pthread_mutex_unlock(&PreparedStatement2Odbc::m_mx);
    EXPECT_NE(nullptr, connection->createPreparedStatement("delete ?", 5, three, false, &error))
        << "a count for a statement without columns is ignored";
}

TEST_F(Bulk, RowParametersBindPerTypeEachWithItsOwnStorage) {
    DataValue text, bin;
    text.stringValue = const_cast<char*>("abc");
    unsigned char bytes[] = {'x', 'y'};
    bin.binaryValue = {bytes, 2};
    text.isNull = bin.isNull = false;
    // bind: the tail of the scripted driver's bindparam line; seen: what it
    // read at SQLExecute ("" for nothing); ind: the length or indicator.
    struct Case { unsigned int word; DataValue value; const char *bind, *seen, *ind; };
    const Case cases[] = {
        {TIMESTAMP, int64Value(1500), "ctype=93 sqltype=12 size=10 digits=0 buflen=16", "1970-01-01 00:00:01.500000000", "16"},
        {TIMESTAMP, int64Value(-1), "ctype=93 sqltype=12 size=10 digits=0 buflen=16", "1969-12-31 23:59:59.999000000", "16"},
        {TIMESTAMP, int64Value(-2000), "ctype=93 sqltype=12 size=10 digits=0 buflen=16", "1969-12-31 23:59:58.000000000", "16"},
        {BIGDATETIME, int64Value(-1), "ctype=93 sqltype=12 size=10 digits=0 buflen=16", "1969-12-31 23:59:59.999999000", "16"},
        {DATE, int64Value(86405), "ctype=93 sqltype=12 size=10 digits=0 buflen=16", "1970-01-02 00:00:05.000000000", "16"},
        {TIME, int64Value(3661), "ctype=92 sqltype=12 size=10 digits=0 buflen=6", "01:01:01", "6"},
        {STRING, text, "ctype=1 sqltype=12 size=10 digits=0 buflen=3", "abc", "3"},
        {MONEY_2, int64Value(-123456), "ctype=1 sqltype=12 size=10 digits=0 buflen=8", "-1234.56", "8"},
        {MONEY_2, int64Value(INT64_MIN), "ctype=1 sqltype=12 size=10 digits=0 buflen=21", "-92233720368547758.08", "21"},
        {BINARY, bin, "ctype=-2 sqltype=12 size=10 digits=0 buflen=2", "xy", "2"},
        {LONG, int64Value(7), "ctype=-25 sqltype=12 size=10 digits=0 buflen=0", "", "0"},
        {LONG, DataValue(), "ctype=-25 sqltype=12 size=1 digits=0 buflen=0", "", "-1"},
    };
    PreparedStatement2Odbc* st = prepare("insert ? ?");
    ASSERT_NE(nullptr, st);
    for (const Case& c : cases) {
        // The same value from two columns, bound in reverse order: each
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
        EXPECT_EQ(since(m, "execute"), (std::vector<std::string>{std::string("execute param=1 paramset=1 ind= ") + c.ind,
                                                                 std::string("execute param=2 paramset=1 ind= ") + c.ind}));
        std::vector<std::string> seen;
        if (*c.seen) seen = {std::string("value param=1 ") + c.seen, std::string("value param=2 ") + c.seen};
        EXPECT_EQ(seen, since(m, "value")) << c.bind;
    }
}

TEST_F(Bulk, ValueExecuteKeepsBinariesForTheDriverAndClosesTheLastCursor) {
    PreparedStatement2Odbc* st = prepare("insert ? ?");
    ASSERT_NE(nullptr, st);
    unsigned char a[] = {'p', 'q', 'r'};
    std::vector<DataValue> values(2);
    values[0].binaryValue = {a, 3};
    values[1].stringValue = nullptr;  // binds as NULL
    values[0].isNull = values[1].isNull = false;
    std::vector<unsigned int> words = {BINARY, STRING};
    size_t m = mark();
    ASSERT_EQ(0, st->execute(values, words, &error)) << said(error);
    ASSERT_EQ(0, st->execute(&error)) << "the bound data again: " << said(error);
    EXPECT_EQ(since(m, "value"), (std::vector<std::string>{"value param=1 pqr", "value param=1 pqr"}));
    EXPECT_EQ(since(m, "execute param=2"), std::vector<std::string>(2, "execute param=2 paramset=1 ind= -1"));
    m = mark();
    ASSERT_EQ(0, st->execute(values, words, &error));
    EXPECT_EQ(since(m, "freestmt").size(), 3u) << "the second pass closes the first";
}

TEST_F(Bulk, LongValuesCostOneReadOrTwo) {
    // The buffer lengths of the SQLGetData calls; bytes in the row, -1: the row fails.
    struct Case { const char* column; std::vector<long> buffers; long packed; };
    const Case cases[] = {
        {"col=t:12:500:text:127", {128}, 128},
        {"col=t:12:500:text:128", {128}, -1},
        {"col=t:12:500:text:129", {128, 3}, 130},
        {"col=t:12:500:text:300:nototal", {128}, -1},
        {"col=b:-3:500:bin:60", {60}, 64},
        {"col=b:-3:500:bin:100", {60, 40}, 104},
        {"col=b:-3:500:bin:100:nototal", {60}, -1},
    };
    for (const Case& c : cases) {
        PreparedStatement2Odbc* st = query(c.column);
        ASSERT_NE(nullptr, st);
        size_t m = mark();
        DBError2Odbc e("svc");
        RowPtr row(st->nextRow(&e));
        std::vector<long> buffers;
        for (const std::string& l : since(m, "getdata")) buffers.push_back(std::atol(l.c_str() + l.find("buflen=") + 7));
        EXPECT_EQ(c.buffers, buffers) << c.column;
        if (c.packed < 0) {
            EXPECT_EQ(nullptr, row) << c.column;
            EXPECT_EQ(0u, said(e).find("odbc|[1][01004]")) << said(e);
            continue;
        }
        ASSERT_NE(nullptr, row) << c.column << ": " << said(e);
        EXPECT_EQ(60u + c.packed, rowSize(row.get())) << c.column;
        const unsigned char* v = columnOf(row.get(), 0);
        const bool text = c.column[4] == 't';
        const long n = text ? c.packed - 1 : static_cast<long>(getLengthFromPackedBinary(v));
        EXPECT_EQ(text ? 0 : c.packed - 4, text ? v[n] : n) << c.column << ": terminator or length";
        for (long i = 0; i < n; ++i)
            ASSERT_EQ(text ? 'a' + i % 26 : i % 251, v[(text ? 0 : 4) + i]) << c.column << " at " << i;
    }
}

// Decimal texts go through the decimal reader in both row forms: the value
// at the column's scale, or the row fails with nothing handed over.
TEST_F(Bulk, DecimalTextsReadAtTheColumnsScale) {
    struct Case { const char* column; const char* value; const char* failure; };
    const Case cases[] = {
        {"col=n:3:5:num:123.456:digits=2", "123.45", nullptr},  // further digits dropped, not rounded
        {"col=n:3:5:num: -7 :digits=2", "-7.00", nullptr},
        {"col=n:3:38:num:-9999999999999999999999999999.9:digits=1", "-9999999999999999999999999999.9", nullptr},
        {"col=n:3:5:num:1234:digits=2", nullptr, "dbaccess|input exceeds specified precision"},
        {"col=n:3:38:num:-1234567890123456789012345678901234:digits=2", nullptr, "odbc|[1][01004]"},  // 35 characters
    };
    for (const Case& c : cases) {
        for (int form = 0; form < 2; ++form) {
            PreparedStatement2Odbc* st = query(c.column);
            ASSERT_NE(nullptr, st);
            unsigned int word = 0;
            ASSERT_EQ(0, st->getEffectiveDataType(0, word, &error));
            DBError2Odbc e("svc");
            char text[64] = "";
            bool read = false;
            if (form == 0) {
                RowPtr row(st->nextRow(&e));
                read = row != nullptr;
                if (read) convertToString(word, false, false, columnOf(row.get(), 0), text, sizeof text);
            } else {
                std::vector<DataValue> values(1);
                values[0].isNull = false;  // as callers hand them in: a read sets it only for NULL
                read = st->nextRow(values, &e) == 0;
                if (read) convertToString(word, false, false, values[0], text, sizeof text);
            }
            if (c.value) {
                ASSERT_TRUE(read) << c.column << " form " << form << ": " << said(e);
                EXPECT_STREQ(c.value, text) << c.column << " form " << form;
            } else {
                EXPECT_FALSE(read) << c.column << " form " << form;
                EXPECT_EQ(0u, said(e).find(c.failure)) << c.column << " form " << form << ": " << said(e);
            }
            connection->releaseStatement(st, &e);
        }
    }
}

// Counts a complete read can't have: the row fails instead of being packed
// from memory past the value, in both row forms.
TEST_F(Bulk, DriverCountsThatContradictTheRead) {
    const char* const columns[] = {
        "col=t:12:500:text:5:lie=100001",  // more text than the buffer held
        "col=t:12:500:text:5:lie=-2",      // a negative count that isn't NULL
        "col=b:-3:500:bin:5:lie=61",
        "col=b:-3:500:bin:5:lie=-100",
        "col=d:8:8:num:1.5:lie=9",         // a double of nine bytes
        "col=i:4:10:num:7:lie=-4",
    };
    for (const char* column : columns) {
        for (int form = 0; form < 2; ++form) {
            PreparedStatement2Odbc* st = query(column);
            ASSERT_NE(nullptr, st);
            DBError2Odbc e("svc");
            if (form == 0) {
                EXPECT_EQ(nullptr, RowPtr(st->nextRow(&e))) << column;
            } else {
                std::vector<DataValue> values(1);
                EXPECT_EQ(-1, st->nextRow(values, &e)) << column;
                // No block is handed over; a fixed value's bytes may stand written.
                if (column[4] == 't' || column[4] == 'b') {
                    EXPECT_EQ(nullptr, values[0].stringValue) << column;
                }
            }
            EXPECT_EQ("dbaccess|invalid data length from driver", said(e)) << column;
            connection->releaseStatement(st, &e);
        }
    }
}

TEST_F(Bulk, RowLayoutNullsAndColumnsWithoutFetcher) {
    PreparedStatement2Odbc* st = query("col=a:4:10:num:1:nullrow=-1;col=b:12:10:text:3:nullrow=-1;"
                                       "col=c:-3:10:bin:3:nullrow=-1");
    RowPtr row(st->nextRow(&error));
    ASSERT_NE(nullptr, row);
    EXPECT_EQ((std::vector<uint32_t>{68, 1, 0, 3}),
              (std::vector<uint32_t>{rowSize(row.get()), word(row.get(), 4), word(row.get(), 8), rowColumns(row.get())}));
    EXPECT_EQ((std::vector<int32_t>{0, 0, 0, 68}), offsetsOf(row.get()));

    // A GUID has no fetcher and reads as NULL; "abc" takes 4 bytes.
    st = query("col=a:4:10:num:-7;col=g:-11:16:text:5;col=s:12:10:text:3;col=n:4:10:num:9");
    row.reset(st->nextRow(&error));
    ASSERT_NE(nullptr, row);
    EXPECT_EQ((std::vector<int32_t>{72, 0, 76, 80, 84}), offsetsOf(row.get()));
    EXPECT_EQ(static_cast<uint32_t>(-7), word(row.get(), 72));
    EXPECT_STREQ("abc", reinterpret_cast<const char*>(columnOf(row.get(), 2)));
    bool more = true;
    ASSERT_EQ(0, st->hasMoreData(more, &error));
    EXPECT_FALSE(more) << "after the last row";

    // A text word with bits above the low byte still gets its block.
    const unsigned int wideText[] = {STRING | 0x100u};
    st = query("col=s:12:10:text:3", 1, wideText);
    row.reset(st->nextRow(&error));
    ASSERT_NE(nullptr, row) << said(error);
    EXPECT_STREQ("abc", reinterpret_cast<const char*>(columnOf(row.get(), 0)));

    // No columns: the bare header. Result sets: true once, then false.
    st = prepare("delete");
    ASSERT_EQ(0, st->execute(&error));
    bool first = false, second = true;
    EXPECT_EQ(0, st->nextResultSet(first, &error));
    EXPECT_EQ(0, st->nextResultSet(second, &error));
    EXPECT_TRUE(first && !second);
    row.reset(st->nextRow(&error));
    ASSERT_NE(nullptr, row);
    EXPECT_EQ(56u, rowSize(row.get()));
    EXPECT_EQ(56, offsetOf(row.get(), 0));
}

TEST_F(Bulk, DeclaredTypesWinOverTheDescription) {
    const unsigned int types[] = {MONEY_2, INT16, createFixedDecimal(10, 2), DATE, TIME, BIGDATETIME};
    PreparedStatement2Odbc* st = query(
        "col=m:12:10:num:12.5;col=s:5:5:num:3;col=d:12:10:num:-3.25;col=t:93:10:ts;col=u:93:10:ts;col=v:93:10:ts", 6,
        types);
    ASSERT_NE(nullptr, st);
    std::vector<DataValue> values(6), wrong(2);
    for (DataValue& v : values) v.isNull = false;
    EXPECT_EQ(-1, st->nextRow(wrong, &error));
    EXPECT_EQ("dbaccess|invalid column count", said(error));
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
    EXPECT_EQ(0, st->getDataColumn<ColumnKind::Date>(3, &date, length, &error)) << said(error);
    EXPECT_EQ(day, date);

    const unsigned int money[] = {MONEY_2};
    st = query("col=m:12:10:num:abc", 1, money);
    EXPECT_EQ(nullptr, st->nextRow(&error));
    EXPECT_EQ("dbaccess", std::string(error.getErrorSource()));
    EXPECT_NE("", std::string(error.getErrorString()));
}

} // namespace
} // namespace bulktest
