// Values of every type written through both execute forms and read back both
// as packed rows and as value vectors, on each database.
#include "BulkFixture.h"

#include <cmath>
#include <cstring>

namespace bulkit {
namespace {

using namespace DataTypes;

const unsigned int kDecimal = createFixedDecimal(10, 2);

// Column order of the table, and the word each is written and read with.
const unsigned int kWords[] = {INTEGER, INTEGER, LONG, FLOAT, STRING, BINARY, kDecimal, BIGDATETIME, DATE, TIME, BOOLEAN};
constexpr size_t kColumns = sizeof kWords / sizeof kWords[0];

const char* ddlFor(const std::string& label) {
    if (label == "pg")
        return "CREATE TABLE bulk_rt (id INTEGER, i INTEGER, l BIGINT, f DOUBLE PRECISION, s TEXT, b BYTEA, "
               "d NUMERIC(10,2), ts TIMESTAMP, dt DATE, tm TIME, bo BOOLEAN)";
    if (label == "maria")
        return "CREATE TABLE bulk_rt (id INTEGER, i INTEGER, l BIGINT, f DOUBLE, s TEXT, b BLOB, "
               "d DECIMAL(10,2), ts DATETIME(6), dt DATE, tm TIME, bo BIT(1))";
    return "CREATE TABLE bulk_rt (id INTEGER, i INTEGER, l BIGINT, f DOUBLE, s TEXT, b BLOB, "
           "d NUMERIC(10,2), ts TIMESTAMP, dt DATE, tm TIME, bo BIT)";
}

// One row of test data, owned: texts and bytes live in the strings.
struct Sample {
    bool null;
    int32_t i;
    int64_t l;
    double f;
    std::string s;
    std::string b;
    const char* d;
    int64_t ts;  // microseconds
    int64_t dt;  // seconds, midnight
    int64_t tm;  // seconds of the day
    bool bo;
};

std::vector<Sample> samples() {
    std::string longText;
    for (int k = 0; k < 1500; ++k) longText += static_cast<char>('A' + k % 26);
    std::string bytes;
    for (int k = 0; k < 300; ++k) bytes += static_cast<char>(k % 256);
    return {
        {false, 42, -9000000000LL, 2.5, "hello", std::string("\0\1\2\xff", 4), "123.45", 1700000000123000LL,
         1699920000LL, 3661, true},
        {true, 0, 0, 0, "", "", "0", 0, 0, 0, false},
        // Before 1970, and the fraction counts forward from the earlier second.
        {false, -2147483647, 9007199254740993LL, -1e10, longText, bytes, "-0.05", -315619199750000LL,
         -86400LL * 1000, 0, false},
        {false, 0, 0, 0.0, "", std::string(), "0.00", 0, 0, 86399, true},
    };
}

std::vector<DataValue> valuesOf(const Sample& s, int id, std::vector<FixedDecimalValue>& decimals) {
    std::vector<DataValue> v(kColumns);
    v[0].int32Value = id;
    v[0].isNull = false;
    if (s.null) return v;
    v[1].int32Value = s.i;
    v[2].int64Value = s.l;
    v[3].doubleValue = s.f;
    v[4].stringValue = const_cast<char*>(s.s.c_str());
    v[5].binaryValue.data = reinterpret_cast<unsigned char*>(const_cast<char*>(s.b.data()));
    v[5].binaryValue.length = static_cast<uint32_t>(s.b.size());
    const char* problem = nullptr;
    DataValue dec;
    EXPECT_TRUE(convertFromString(kDecimal, s.d, dec, problem, nullptr, nullptr, nullptr, nullptr)) << s.d;
    decimals.push_back(dec.decimalValue);
    v[6].decimalValue = decimals.back();
    v[7].int64Value = s.ts;
    v[8].int64Value = s.dt;
    v[9].int64Value = s.tm;
    v[10].boolValue = s.bo;
    for (DataValue& x : v) x.isNull = false;
    return v;
}

// Checks column j of a read row against the sample; `packed` null means NULL.
void expectColumn(const Sample& s, size_t j, const DataValue& got, bool isNull, const std::string& where) {
    SCOPED_TRACE(where + " column " + std::to_string(j));
    ASSERT_EQ(s.null, isNull);
    if (s.null) return;
    switch (j) {
    case 1: EXPECT_EQ(s.i, got.int32Value); break;
    case 2: EXPECT_EQ(s.l, got.int64Value); break;
    case 3: EXPECT_EQ(s.f, got.doubleValue); break;
    case 4: EXPECT_EQ(s.s, std::string(got.stringValue)); break;
    case 5:
        EXPECT_EQ(s.b, std::string(reinterpret_cast<const char*>(got.binaryValue.data), got.binaryValue.length));
        break;
    case 6: {
        char text[64] = "";
        DataValue copy = got;
        convertToString(kDecimal, false, false, copy, text, sizeof text);
        DataValue want;
        const char* problem = nullptr;
        convertFromString(kDecimal, s.d, want, problem, nullptr, nullptr, nullptr, nullptr);
        char wantText[64] = "";
        convertToString(kDecimal, false, false, want, wantText, sizeof wantText);
        EXPECT_STREQ(wantText, text);
        break;
    }
    case 7: EXPECT_EQ(s.ts, got.int64Value); break;
    case 8: EXPECT_EQ(s.dt, got.int64Value); break;
    case 9: EXPECT_EQ(s.tm, got.int64Value); break;
    case 10: EXPECT_EQ(s.bo, got.boolValue); break;
    }
}

class BulkRoundTrip : public BulkPerDsn {};

TEST_P(BulkRoundTrip, EveryTypeBothWaysInAndOut) {
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    Connection2* c = open(d);
    ASSERT_NE(nullptr, c);
    std::string why;
    run(c, "DROP TABLE IF EXISTS bulk_rt");
    ASSERT_TRUE(run(c, ddlFor(d.label), &why)) << why;
    ASSERT_EQ(0, c->commit(error)) << said(error);

    PreparedStatement* insert =
        c->createPreparedStatement("INSERT INTO bulk_rt VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)", error);
    ASSERT_NE(nullptr, insert) << said(error);
    int parameters = 0;
    EXPECT_EQ(0, insert->getNumberParameters(parameters, error));
    ASSERT_EQ(static_cast<int>(kColumns), parameters);

    const std::vector<Sample> data = samples();
    std::vector<FixedDecimalValue> decimals;
    decimals.reserve(16);
    // Packed rows carry the columns in reverse order; the bindings turn them back.
    std::vector<int> fromRow(kColumns);
    std::vector<unsigned int> bindWords(kWords, kWords + kColumns);
    for (size_t j = 0; j < kColumns; ++j) fromRow[j] = static_cast<int>(kColumns - 1 - j);
    ASSERT_EQ(0, insert->setBindings(fromRow, bindWords.data(), error)) << said(error);
    for (size_t k = 0; k < data.size(); ++k) {
        std::vector<DataValue> v = valuesOf(data[k], static_cast<int>(k), decimals);
        std::vector<std::pair<unsigned int, DataValue> > reversed;
        for (size_t j = kColumns; j-- > 0;) reversed.push_back({kWords[j], v[j]});
        if (data[k].null)
            for (size_t j = 1; j < kColumns; ++j) reversed[kColumns - 1 - j].second.isNull = true;
        RowPtr row = makeRow(reversed);
        ASSERT_EQ(0, insert->execute(row.get(), error)) << "row " << k << ": " << said(error);
    }
    // The same data as value vectors, ids from 100. NULLs go as a null text
    // pointer, the only NULL a value vector can carry.
    std::vector<unsigned int> words(kWords, kWords + kColumns);
    for (size_t k = 0; k < data.size(); ++k) {
        if (data[k].null) continue;
        std::vector<DataValue> v = valuesOf(data[k], static_cast<int>(100 + k), decimals);
        ASSERT_EQ(0, insert->execute(v, words, error)) << "row " << k << ": " << said(error);
    }
    ASSERT_EQ(0, c->commit(error)) << said(error);
    ASSERT_EQ(0, c->releaseStatement(insert, error)) << said(error);

    PreparedStatement* select = c->createPreparedStatement(
        "SELECT id, i, l, f, s, b, d, ts, dt, tm, bo FROM bulk_rt ORDER BY id", static_cast<int>(kColumns), kWords,
        false, error);
    ASSERT_NE(nullptr, select) << said(error);
    for (int pass = 0; pass < 2; ++pass) {
        ASSERT_EQ(0, select->execute(error)) << said(error);
        bool more = false;
        ASSERT_EQ(0, select->nextResultSet(more, error));
        ASSERT_TRUE(more);
        size_t rows = 0;
        while (true) {
            ASSERT_EQ(0, select->hasMoreData(more, error)) << said(error);
            if (!more) break;
            ++rows;
            if (pass == 0) {
                RowPtr row(select->nextRow(error));
                ASSERT_NE(nullptr, row) << said(error);
                ASSERT_EQ(kColumns, rowColumns(row.get()));
                int32_t id;
                std::memcpy(&id, columnOf(row.get(), 0), 4);
                const Sample& s = data[static_cast<size_t>(id % 100)];
                uint32_t total = 56 + 4 * kColumns + 4;
                for (size_t j = 1; j < kColumns; ++j) {
                    DataValue v;
                    unsigned char* packed = columnOf(row.get(), j);
                    unpackValue(kWords[j], packed, v);
                    if (packed) total += static_cast<uint32_t>(getPackedSize(kWords[j], v));
                    expectColumn(s, j, v, packed == nullptr, "packed row id " + std::to_string(id));
                }
                EXPECT_EQ(total, rowSize(row.get()));
            } else {
                std::vector<DataValue> v(kColumns);
                for (DataValue& x : v) x.isNull = false;
                ASSERT_EQ(0, select->nextRow(v, error)) << said(error);
                const Sample& s = data[static_cast<size_t>(v[0].int32Value % 100)];
                for (size_t j = 1; j < kColumns; ++j)
                    expectColumn(s, j, v[j], v[j].isNull, "value row id " + std::to_string(v[0].int32Value));
                if (!v[4].isNull) std::free(v[4].stringValue);
                if (!v[5].isNull) std::free(v[5].binaryValue.data);
            }
        }
        EXPECT_EQ(data.size() * 2 - 1, rows);
        EXPECT_EQ(0, select->nextResultSet(more, error)) << said(error);
        EXPECT_FALSE(more);
    }
    ASSERT_EQ(0, c->releaseStatement(select, error)) << said(error);
    run(c, "DROP TABLE bulk_rt");
    EXPECT_EQ(0, c->commit(error)) << said(error);
}

INSTANTIATE_TEST_SUITE_P(Dsn, BulkRoundTrip, ::testing::ValuesIn(orltest::testDsns()),
                         [](const ::testing::TestParamInfo<orltest::TestDsn>& i) { return std::string(i.param.label); });

} // namespace
} // namespace bulkit
