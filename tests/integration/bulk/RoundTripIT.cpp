// Values of every type written through both execute forms and read back both
// as packed rows and as value vectors, on each database.
#include "BulkFixture.h"

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

// The rows written: texts and bytes live in static storage. Row 1 is all NULL
// but its id; row 2 is long, pre-1970 and negative.
std::vector<std::vector<DataValue> > samples() {
    static std::string longText(1500, ' '), bytes(300, '\0');
    for (size_t k = 0; k < longText.size(); ++k) longText[k] = static_cast<char>('A' + k % 26);
    for (size_t k = 0; k < bytes.size(); ++k) bytes[k] = static_cast<char>(k % 256);
    static const std::string shortBytes("\0\1\2\xff", 4);
    // ts in microseconds, dt in seconds at midnight, tm in seconds of the day.
    struct Plain { int32_t i; int64_t l; double f; const std::string *s, *b; const char* d; int64_t ts, dt, tm; bool bo; };
    static const std::string hello = "hello", empty;
    const Plain plain[] = {
        {42, -9000000000LL, 2.5, &hello, &shortBytes, "123.45", 1700000000123000LL, 1699920000LL, 3661, true},
        {0, 0, 0, &empty, &empty, "0", 0, 0, 86399, false},
        // The fraction counts forward from the earlier second.
        {-2147483647, 9007199254740993LL, -1e10, &longText, &bytes, "-0.05", -315619199750000LL, -86400000LL, 0, false},
    };
    std::vector<std::vector<DataValue> > rows;
    for (const Plain& p : plain) {
        std::vector<DataValue> v(kColumns);
        v[1].int32Value = p.i;
        v[2].int64Value = p.l;
        v[3].doubleValue = p.f;
        v[4].stringValue = const_cast<char*>(p.s->c_str());
        v[5].binaryValue = {reinterpret_cast<unsigned char*>(const_cast<char*>(p.b->data())),
                            static_cast<uint32_t>(p.b->size())};
        const char* problem = nullptr;
        EXPECT_TRUE(convertFromString(kDecimal, p.d, v[6], problem, nullptr, nullptr, nullptr, nullptr)) << p.d;
        v[7].int64Value = p.ts;
        v[8].int64Value = p.dt;
        v[9].int64Value = p.tm;
        v[10].boolValue = p.bo;
        const bool null = rows.size() == 1;
        for (DataValue& x : v) x.isNull = null;
        rows.push_back(v);
    }
    return rows;
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

    std::vector<std::vector<DataValue> > data = samples();
    // Packed rows carry the columns in reverse order; the bindings turn them back.
    std::vector<int> fromRow(kColumns);
    for (size_t j = 0; j < kColumns; ++j) fromRow[j] = static_cast<int>(kColumns - 1 - j);
    ASSERT_EQ(0, insert->setBindings(fromRow, kWords, error)) << said(error);
    for (size_t k = 0; k < data.size(); ++k) {
        data[k][0].int32Value = static_cast<int32_t>(k);
        data[k][0].isNull = false;
        std::vector<std::pair<unsigned int, DataValue> > reversed;
        for (size_t j = kColumns; j-- > 0;) reversed.push_back({kWords[j], data[k][j]});
        RowPtr row = makeRow(reversed);
        ASSERT_EQ(0, insert->execute(row.get(), error)) << "row " << k << ": " << said(error);
    }
    // The same as value vectors, ids from 100; a value vector has no NULL
    // but the null text pointer, so the NULL row stays out.
    std::vector<unsigned int> words(kWords, kWords + kColumns);
    for (size_t k = 0; k < data.size(); ++k) {
        if (data[k][1].isNull) continue;
        std::vector<DataValue> v = data[k];
        v[0].int32Value = static_cast<int32_t>(100 + k);
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
            std::vector<DataValue> got(kColumns);
            for (DataValue& x : got) x.isNull = false;
            RowPtr row;
            if (pass == 0) {
                row.reset(select->nextRow(error));
                ASSERT_NE(nullptr, row) << said(error);
                ASSERT_EQ(kColumns, rowColumns(row.get()));
                uint32_t total = 56 + 4 * kColumns;
                for (size_t j = 0; j < kColumns; ++j) {
                    unpackValue(kWords[j], columnOf(row.get(), j), got[j]);
                    if (!got[j].isNull) total += static_cast<uint32_t>(getPackedSize(kWords[j], got[j]));
                }
                EXPECT_EQ(total, rowSize(row.get()));
            } else {
                ASSERT_EQ(0, select->nextRow(got, error)) << said(error);
            }
            const std::string where = (pass ? "value row " : "packed row ") + std::to_string(got[0].int32Value);
            std::vector<DataValue>& want = data[got[0].int32Value % 100];
            for (size_t j = 1; j < kColumns; ++j) {
                EXPECT_EQ(want[j].isNull, got[j].isNull) << where << " column " << j;
                if (!want[j].isNull && !got[j].isNull) {
                    EXPECT_TRUE(equalValues(want[j], got[j], kWords[j])) << where << " column " << j;
                }
            }
            if (pass == 1 && !got[4].isNull) std::free(got[4].stringValue);
            if (pass == 1 && !got[5].isNull) std::free(got[5].binaryValue.data);
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
