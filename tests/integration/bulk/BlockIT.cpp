// Block transfers against the row-at-a-time path on each database: the same
// generated table read one row per SQLFetch and in row blocks of 1, 7 and
// 1024, every packed byte, every value and every failure compared; and the
// same rows written one SQLExecute each, as parameter arrays and as multi-row
// statements, read back equal.
#include "BulkFixture.h"

#include <cstring>
#include <deque>

#include "bulk/DBError2.h"
#include "bulk/PreparedStatement2Odbc.h"

namespace bulkit {
namespace {

using namespace DataTypes;

const unsigned int kDec12 = createFixedDecimal(12, 2);
const unsigned int kDec34 = createFixedDecimal(34, 4);
// Column order of the table and the words the rows are written with.
const unsigned int kWords[] = {INTEGER, INTEGER, LONG, FLOAT, STRING, STRING, BINARY,
                               kDec12,  kDec34,  BIGDATETIME, DATE, TIME, BOOLEAN, STRING, STRING};
constexpr size_t kColumns = sizeof kWords / sizeof kWords[0];
const char* const kNames[] = {"id", "i", "l", "f", "s", "w", "b", "d", "x", "ts", "dt", "tm", "bo", "t", "v"};
const char* const kColumnList = "id, i, l, f, s, w, b, d, x, ts, dt, tm, bo, t, v";
// Not a multiple of 7 or of 1024, and more than one block of 1024.
constexpr int kRows = 1500;

std::string ddlFor(const std::string& label, const char* table) {
    std::string t(table);
    if (label == "pg")
        return "CREATE TABLE " + t + " (id INTEGER, i INTEGER, l BIGINT, f DOUBLE PRECISION, s VARCHAR(20), "
               "w VARCHAR(200), b BYTEA, d NUMERIC(12,2), x NUMERIC(34,4), ts TIMESTAMP, dt DATE, tm TIME, bo BOOLEAN, t TEXT, "
               "v VARCHAR)";
    if (label == "maria")
        return "CREATE TABLE " + t + " (id INTEGER, i INTEGER, l BIGINT, f DOUBLE, s VARCHAR(20), w VARCHAR(200), "
               "b VARBINARY(40), d DECIMAL(12,2), x DECIMAL(34,4), ts DATETIME(6), dt DATE, tm TIME, bo BIT(1), t TEXT, "
               "v VARCHAR(250))";
    return "CREATE TABLE " + t + " (id INTEGER, i INTEGER, l BIGINT, f DOUBLE, s VARCHAR(20), w VARCHAR(200), "
           "b VARBINARY(40), d NUMERIC(12,2), x NUMERIC(34,4), ts TIMESTAMP, dt DATE, tm TIME, bo BIT, t TEXT, v VARCHAR(16))";
}

// Row k of the table. Every 11th row is NULL but its id; texts sit at their
// column limits, at the 128 bytes that the row-at-a-time read refuses, and
// around it; times go before 1970; some decimals have all 34 digits, which
// that read refuses too. Where the database lets a value outgrow its column
// (SQLite's declared sizes, PostgreSQL's VARCHAR without one, which its
// driver describes as 255), some texts and binaries are longer than the room
// a block gives them, a few in one block.
struct Generator {
    std::deque<std::string> arena;  // texts and bytes the values point into
    bool longTexts = false;
    bool longBinaries = false;

    std::vector<std::pair<unsigned int, DataValue> > row(int k) {
        std::vector<std::pair<unsigned int, DataValue> > v(kColumns);
        for (size_t j = 0; j < kColumns; ++j) {
            v[j].first = kWords[j];
            std::memset(static_cast<void*>(&v[j].second), 0, sizeof(DataValue));
            v[j].second.isNull = j > 0 && k % 11 == 3;
        }
        v[0].second.int32Value = k;
        v[1].second.int32Value = k % 13 == 0 ? (k % 2 ? 2147483647 : -2147483647) : (k * 7919) % 100000 - 50000;
        v[2].second.int64Value = (k % 2 ? -1 : 1) * (static_cast<int64_t>(k) * 1000000007LL + 12345);
        v[3].second.doubleValue = k % 17 == 0 ? 0.0 : (k - 700) * 1.25e3 + 1.0 / (k + 1);
        static const size_t shortLengths[] = {0, 20, 1, 7, 19};
        v[4].second.stringValue = text(shortLengths[k % 5], k);
        static const size_t wideLengths[] = {0, 127, 129, 200, 5, 31, 199};
        v[5].second.stringValue = text(k % 97 == 5 ? 128 : wideLengths[k % 7], k + 3);
        arena.push_back(std::string());
        std::string& b = arena.back();
        const int bytes = longBinaries && k % 151 == 9 ? 1024 + k % 3000 : k % 41;
        for (int n = 0; n < bytes; ++n) b.push_back(static_cast<char>((n * 37 + k) % 256 * (n % 3 != 0)));
        v[6].second.binaryValue = {reinterpret_cast<unsigned char*>(const_cast<char*>(b.data())),
                                   static_cast<uint32_t>(b.size())};
        decimal(kDec12, (k % 2 ? "-" : "") + std::to_string(k * 12345 % 9999999999LL) + "." +
                            std::to_string(10 + k % 90), v[7].second);
        decimal(kDec34, k % 29 == 4 ? "-123456789012345678901234567890.1234" : std::to_string(k) + ".0005",
                v[8].second);
        v[9].second.int64Value = (static_cast<int64_t>(k) - 750) * 86400123457LL + 123456;  // microseconds
        v[10].second.int64Value = (static_cast<int64_t>(k) - 1000) * 86400 * 7;             // midnights
        v[11].second.int64Value = (k * 7919) % 86400;
        v[12].second.boolValue = k % 3 == 0;
        v[13].second.stringValue = text(static_cast<size_t>(k % 3) * 150, k);
        const bool outgrows = longTexts && (k % 97 == 40 || (k >= 1030 && k < 1034));
        v[14].second.stringValue = text(outgrows ? 1500 + static_cast<size_t>(k % 5) * 700 : static_cast<size_t>(k % 17), k);
        if (longBinaries && k % 89 == 1) v[4].second.stringValue = text(300 + static_cast<size_t>(k % 4), k);
        if (longBinaries && k % 113 == 2) v[5].second.stringValue = text(2000, k);
        return v;
    }
    char* text(size_t length, int seed) {
        arena.push_back(std::string(length, ' '));
        for (size_t n = 0; n < length; ++n) arena.back()[n] = static_cast<char>('a' + (n + seed) % 26);
        return const_cast<char*>(arena.back().c_str());
    }
    void decimal(unsigned int word, const std::string& t, DataValue& out) {
        const bool null = out.isNull;
        const char* problem = nullptr;
        EXPECT_TRUE(convertFromString(word, t.c_str(), out, problem, nullptr, nullptr, nullptr, nullptr)) << t;
        out.isNull = null;
    }
};

// One row's outcome as comparable text: the packed bytes, or the values, and
// a failure as source, SQLSTATE and text, truncations included.
std::string failure(const DBError* e) {
    const auto* r = static_cast<const KORVEL::Orl::DB::ODBC::DBError2*>(e);
    return "failed " + std::string(e->getErrorSource()) + "|" + std::string(r->sqlState) + "|" + e->getErrorString();
}

std::string valuesText(const std::vector<DataValue>& values, const std::vector<unsigned int>& words) {
    std::string out;
    for (size_t j = 0; j < values.size(); ++j) {
        const DataValue& v = values[j];
        out += v.isNull ? "N" : "V";
        if (words[j] == STRING) {
            out += v.isNull || !v.stringValue ? std::string("-") : std::string(v.stringValue);
        } else if (words[j] == BINARY) {
            if (!v.isNull) out.append(reinterpret_cast<const char*>(v.binaryValue.data), v.binaryValue.length);
        } else {
            out.append(reinterpret_cast<const char*>(&v), sizeof v);
        }
        out += '|';
    }
    return out;
}

void freeValues(std::vector<DataValue>& values, const std::vector<unsigned int>& words) {
    for (size_t j = 0; j < values.size(); ++j) {
        if (values[j].isNull) continue;
        if (words[j] == STRING) std::free(values[j].stringValue);
        if (words[j] == BINARY) std::free(values[j].binaryValue.data);
    }
}

// Where two outcomes part, for the failure message.
std::string difference(const std::string& a, const std::string& b) {
    size_t at = 0;
    while (at < a.size() && at < b.size() && a[at] == b[at]) ++at;
    auto show = [at](const std::string& s) {
        std::string out;
        for (size_t k = at; k < s.size() && k < at + 48; ++k) {
            const unsigned char c = static_cast<unsigned char>(s[k]);
            if (c >= 32 && c < 127) out += static_cast<char>(c);
            else out += "\\x" + std::string(1, "0123456789abcdef"[c >> 4]) + "0123456789abcdef"[c & 15];
        }
        return out;
    };
    return "at byte " + std::to_string(at) + " of " + std::to_string(a.size()) + "/" + std::to_string(b.size()) +
           ": row by row \"" + show(a) + "\", in blocks \"" + show(b) + "\"";
}

enum Form { kPacked, kValues, kAlternating };

class BulkBlock : public BulkPerDsn {
protected:
    // Whether fill writes the last column, v. PostgreSQL's driver loses step
    // with the server on a statement of 7,500 parameters (500 rows of 15),
    // which the multi-row statements would make with it.
    bool withV = true;

    // A connection with FetchArraySize and ParamArraySize set to `rows` and
    // InsertRowsPerStatement to `insertRows` (0: none).
    Connection2* openWith(const orltest::TestDsn& d, int rows, int insertRows = 0) {
        std::vector<std::pair<std::string, std::string> > p = {{"DSN", d.dsn}, {"User", d.user}, {"Password", d.password}};
        if (rows) {
            p.push_back({"FetchArraySize", std::to_string(rows)});
            p.push_back({"ParamArraySize", std::to_string(rows)});
        }
        if (insertRows) p.push_back({"InsertRowsPerStatement", std::to_string(insertRows)});
        Connection2* c = make(p);
        EXPECT_NE(nullptr, c) << said(error);
        if (c && c->connect(error) != 0) {
            ADD_FAILURE() << d.dsn << ": " << said(error);
            return nullptr;
        }
        return c;
    }

    // Creates `table` and writes the generated rows: one execute each, or
    // with `arrays` as one list through the multi-row execute.
    // Without `binary` the binary column stays NULL: SQLite's driver can't
    // take binaries in arrays, which sends such rows one at a time there.
    // `perInsert` receives the rows the statement's multi-row statements carry.
    bool fill(Connection2* c, const std::string& label, const char* table, bool arrays = false, bool binary = true,
              int count = kRows, size_t* perInsert = nullptr) {
        std::string why;
        run(c, std::string("DROP TABLE IF EXISTS ") + table);
        EXPECT_TRUE(run(c, ddlFor(label, table), &why)) << why;
        std::string names, markers;
        std::vector<int> columns;
        std::vector<unsigned int> words;
        for (size_t j = 0; j < kColumns; ++j) {
            if ((j == 6 && !binary) || (j == kColumns - 1 && !withV)) continue;
            names += std::string(names.empty() ? "" : ", ") + kNames[j];
            markers += markers.empty() ? "?" : ", ?";
            columns.push_back(static_cast<int>(j));
            words.push_back(kWords[j]);
        }
        PreparedStatement* insert = c->createPreparedStatement(
            (std::string("INSERT INTO ") + table + " (" + names + ") VALUES (" + markers + ")").c_str(), error);
        EXPECT_NE(nullptr, insert) << said(error);
        if (!insert) return false;
        EXPECT_EQ(0, insert->setBindings(columns, words.data(), error)) << said(error);
        Generator g;
        g.longTexts = label != "maria";
        g.longBinaries = label == "sqlite";
        bool ok = true;
        std::vector<RowPtr> rows;
        std::vector<const RowInternal2*> list;
        for (int k = 0; k < count && ok; ++k) {
            rows.push_back(makeRow(g.row(k)));
            list.push_back(rows.back().get());
            if (!arrays) {
                ok = insert->execute(rows.back().get(), error) == 0;
                EXPECT_TRUE(ok) << "row " << k << ": " << said(error);
            }
        }
        list.push_back(nullptr);
        if (arrays) {
            ok = insert->execute(list.data(), error) == 0;
            EXPECT_TRUE(ok) << said(error);
        }
        if (perInsert) *perInsert = static_cast<KORVEL::Orl::DB::ODBC::PreparedStatement2Odbc*>(insert)->rowsPerInsert();
        c->releaseStatement(insert, error);
        return ok && c->commit(error) == 0;
    }

    // Every row of the query in `form`, one outcome per row; `blocks` tells
    // whether the statement took the block path.
    std::vector<std::string> readAll(Connection2* c, const std::string& sql, int count, const unsigned int* types,
                                     Form form, bool* blocks = nullptr) {
        std::vector<std::string> out;
        PreparedStatement* st = count ? c->createPreparedStatement(sql.c_str(), count, types, false, error)
                                      : c->createPreparedStatement(sql.c_str(), error);
        EXPECT_NE(nullptr, st) << sql << ": " << said(error);
        if (!st) return out;
        if (blocks) *blocks = static_cast<KORVEL::Orl::DB::ODBC::PreparedStatement2Odbc*>(st)->readsBlocks();
        int n = 0;
        st->getEffectiveNumberColumns(n, error);
        std::vector<unsigned int> words(static_cast<size_t>(n));
        for (int j = 0; j < n; ++j) st->getEffectiveDataType(j, words[static_cast<size_t>(j)], error);
        bool more = false;
        EXPECT_EQ(0, st->execute(error)) << said(error);
        EXPECT_EQ(0, st->nextResultSet(more, error)) << said(error);
        for (size_t k = 0; st->hasMoreData(more, error) == 0 && more; ++k) {
            if (form == kPacked || (form == kAlternating && k % 2 == 0)) {
                RowPtr row(st->nextRow(error));
                out.push_back(row ? std::string(reinterpret_cast<const char*>(row.get()), rowSize(row.get()))
                                  : failure(error));
            } else {
                std::vector<DataValue> values(words.size());
                for (DataValue& v : values) std::memset(static_cast<void*>(&v), 0, sizeof v);
                const int rc = st->nextRow(values, error);
                out.push_back(valuesText(values, words) + (rc == 0 ? std::string() : failure(error)));
                freeValues(values, words);
            }
        }
        EXPECT_FALSE(more) << said(error);
        c->releaseStatement(st, error);
        // Lets the tables go for the other connections' DDL.
        EXPECT_EQ(0, c->commit(error)) << said(error);
        return out;
    }
};

struct Query {
    const char* name;
    std::string sql;
    int count;
    const unsigned int* types;
    // Where the statement reads in blocks: everywhere, but a long text (TEXT)
    // only where the driver can put its cursor on a row of a block to read a
    // longer value again (not SQLite's).
    enum { kEverywhere, kNotOnSqlite } blocks;
    bool someFail;  // holds the 128-byte texts and 34-digit decimals the reads refuse
};

std::vector<Query> queries() {
    // A text read as money: the parser refuses it, row by row and in blocks alike.
    static const unsigned int declared[] = {INTEGER, LONG, MONEY_2, TIMESTAMP, STRING, BINARY, FLOAT, MONEY_2, MONEY_2};
    const std::string from = " FROM bulk_blk ORDER BY id";
    return {
        {"bounded columns", "SELECT id, i, l, f, s, w, d, x, ts, dt, tm, bo, v" + from, 0, nullptr, Query::kEverywhere,
         true},
        {"binary", "SELECT id, b" + from, 0, nullptr, Query::kEverywhere, false},
        {"declared types", "SELECT i, l, d, ts, s, b, f, x, w" + from, 9, declared, Query::kEverywhere, true},
        {"every column", std::string("SELECT ") + kColumnList + from, 0, nullptr, Query::kNotOnSqlite, true},
    };
}

TEST_P(BulkBlock, ReadsTheSameRowsAsOneRowPerFetch) {
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    Connection2* plain = openWith(d, 0);
    ASSERT_NE(nullptr, plain);
    ASSERT_TRUE(fill(plain, d.label, "bulk_blk"));
    for (const Query& q : queries()) {
        for (Form form : {kPacked, kValues, kAlternating}) {
            bool blocks = true;
            const std::vector<std::string> want = readAll(plain, q.sql, q.count, q.types, form, &blocks);
            EXPECT_FALSE(blocks);
            ASSERT_EQ(static_cast<size_t>(kRows), want.size()) << q.name;
            size_t failures = 0;
            for (const std::string& w : want) failures += w.find("failed ") != std::string::npos;
            // The 128-byte texts fail everywhere, the 34-digit decimals where they are decimals.
            if (q.someFail) {
                EXPECT_LT(0u, failures) << d.label << ", " << q.name;
            }
            for (int rows : {1, 7, 1024}) {
                Connection2* c = openWith(d, rows);
                ASSERT_NE(nullptr, c);
                const std::vector<std::string> got = readAll(c, q.sql, q.count, q.types, form, &blocks);
                const std::string where = std::string(d.label) + ", " + q.name + ", form " + std::to_string(form) + ", " +
                                          std::to_string(rows) + " rows a block";
                const bool inBlocks = q.blocks == Query::kEverywhere || d.label != std::string("sqlite");
                EXPECT_EQ(rows > 1 && inBlocks, blocks) << where;
                ASSERT_EQ(want.size(), got.size()) << where;
                size_t differ = 0;
                for (size_t k = 0; k < want.size(); ++k)
                    if (want[k] != got[k] && differ++ < 3) ADD_FAILURE() << where << ": row " << k << " " << difference(want[k], got[k]);
                EXPECT_EQ(0u, differ) << where;
                c->disconnect(true, error);
            }
        }
    }
    // A query run again with new values closes its cursor, which unbinds the
    // block's columns: they are bound again at the next fetch.
    auto again = [this](Connection2* c) {
        std::vector<std::string> out;
        PreparedStatement* st =
            c->createPreparedStatement("SELECT id, i, s, ts FROM bulk_blk WHERE id >= ? ORDER BY id", error);
        EXPECT_NE(nullptr, st) << said(error);
        if (!st) return out;
        for (int from : {1480, 1490, 1499}) {
            std::vector<DataValue> values(1);
            values[0].int32Value = from;
            values[0].isNull = false;
            std::vector<unsigned int> words = {INTEGER};
            bool more = false;
            EXPECT_EQ(0, st->execute(values, words, error)) << said(error);
            EXPECT_EQ(0, st->nextResultSet(more, error)) << said(error);
            while (st->hasMoreData(more, error) == 0 && more) {
                RowPtr row(st->nextRow(error));
                out.push_back(row ? std::string(reinterpret_cast<const char*>(row.get()), rowSize(row.get()))
                                  : failure(error));
            }
        }
        c->releaseStatement(st, error);
        return out;
    };
    const std::vector<std::string> want = again(plain);
    EXPECT_EQ(20u + 10u + 1u, want.size());
    Connection2* c = openWith(d, 7);
    ASSERT_NE(nullptr, c);
    EXPECT_EQ(want, again(c));
    c->disconnect(true, error);
    run(plain, "DROP TABLE bulk_blk");
    EXPECT_EQ(0, plain->commit(error)) << said(error);
}

// SQLite keeps whatever a column is given, whatever its declared type; its
// block reads take integers and times as text and convert the plain forms
// themselves. Each column here cycles through literals of every storage
// class and form, so that row k of the table meets every other column's
// values too; the block must read each as the driver's own conversion does.
TEST_P(BulkBlock, SqliteDynamicTypesReadAsRowByRow) {
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    if (d.label != std::string("sqlite")) GTEST_SKIP() << "declared types are enforced";
    const std::string overLength = "'" + std::string(700, 'q') + "'";
    const std::vector<std::pair<const char*, std::vector<std::string> > > columns = {
        {"i INTEGER", {"7", "-2147483648", "2147483647", "2147483648", "-2147483649", "'123'", "' 12'", "'12abc'",
                       "''", "'-0'", "'007'", "3.7", "-3.0", "1e3", "x'3132'", "'+5'", "99999999999999999999",
                       "'0'", "NULL", overLength}},
        {"l BIGINT", {"9223372036854775807", "-9223372036854775808", "999999999999999999", "1000000000000000000",
                      "'42'", "'4.5'", "4.5", "''", "'  9'", "x'00'", "-0.0", "18446744073709551616", "'-17'"}},
        {"ts TIMESTAMP", {"'2024-02-29 12:34:56'", "'2024-02-29 12:34:56.5'", "'2024-02-29 12:34:56.123456789'",
                          "'2024-02-29 12:34:56.1234567891'", "'2024-02-29T12:34:56'", "'2024-02-29'",
                          "'2024-02-30 00:00:00'", "'2023-02-29'", "'12:34:56'", "2460000.5", "1700000000", "''",
                          "'garbage'", "'0000-01-01 00:00:00'", "'1969-12-31 23:59:59.999'", "'1900-01-01 00:00:00'",
                          "'9999-12-31 23:59:59'", "'2024-1-2 3:4:5'", "'2024-02-29 24:00:00'", "x'323032342d30312d3032'",
                          "'2024-02-29 12:34:60'"}},
        {"dt DATE", {"'2024-02-29'", "'2024-02-29 10:00:00'", "'1600-03-01'", "'20240229'", "'2024/02/29'", "0", "''"}},
        {"tm TIME", {"'12:34:56'", "'2024-02-29 12:34:56'", "'25:00:00'", "'1:2:3'", "43200"}},
        {"s VARCHAR(10)", {"123", "4.5", "x'00ff41'", "''", overLength, "-9223372036854775808", "'short'"}},
        {"d NUMERIC(12,2)", {"'12.34'", "12", "1.5", "'abc'", "''", "12345678901234567890123456789012345"}},
        {"f DOUBLE", {"0.1", "'0.1'", "1e308", "'1e999'", "3", "'x'", "''", "4.9e-324", "'1.5e-320'", "-0.0",
                      "'00.5'", "'.5'", "'5.'", "1.7976931348623157e308", "'  1.5'", "'+2'", "'1e5'", "123456789012345678",
                      "0.30000000000000004", "'0.1000000000000000055511151231257827'", "x'31'", "'inf'", "'-'",
                      "2.5e-5", "-1234.5678e10"}},
    };
    constexpr int kDynamicRows = 60;
    Connection2* plain = openWith(d, 0);
    ASSERT_NE(nullptr, plain);
    run(plain, "DROP TABLE IF EXISTS bulk_dyn");
    std::string ddl = "CREATE TABLE bulk_dyn (id INTEGER", names = "id";
    for (const auto& c : columns) {
        ddl += std::string(", ") + c.first;
        names += std::string(", ") + std::string(c.first).substr(0, std::string(c.first).find(' '));
    }
    std::string why;
    ASSERT_TRUE(run(plain, ddl + ")", &why)) << why;
    for (int k = 0; k < kDynamicRows; ++k) {
        std::string values = std::to_string(k);
        for (const auto& c : columns) values += ", " + c.second[static_cast<size_t>(k) % c.second.size()];
        ASSERT_TRUE(run(plain, "INSERT INTO bulk_dyn (" + names + ") VALUES (" + values + ")", &why)) << why;
    }
    ASSERT_EQ(0, plain->commit(error)) << said(error);
    // As described, and as declared: integers read as BIGINT and the reverse,
    // times as each other, numbers as texts.
    static const unsigned int declared[] = {LONG, INTEGER, INTEGER, TIME, TIMESTAMP, DATE, INTEGER, kDec12, FLOAT};
    const std::string sql = "SELECT " + names + " FROM bulk_dyn ORDER BY id";
    for (const auto& how : {std::make_pair(0, static_cast<const unsigned int*>(nullptr)), std::make_pair(9, declared)}) {
        for (Form form : {kPacked, kValues}) {
            const std::vector<std::string> want = readAll(plain, sql, how.first, how.second, form);
            ASSERT_EQ(static_cast<size_t>(kDynamicRows), want.size());
            for (int rows : {1, 7, 1024}) {
                Connection2* c = openWith(d, rows);
                ASSERT_NE(nullptr, c);
                bool blocks = false;
                const std::vector<std::string> got = readAll(c, sql, how.first, how.second, form, &blocks);
                const std::string where = std::string(how.second ? "declared" : "described") + ", form " +
                                          std::to_string(form) + ", " + std::to_string(rows) + " rows a block";
                EXPECT_EQ(rows > 1, blocks) << where;
                ASSERT_EQ(want.size(), got.size()) << where;
                for (size_t k = 0; k < want.size(); ++k)
                    EXPECT_EQ(want[k], got[k]) << where << ": row " << k << " " << difference(want[k], got[k]);
                c->disconnect(true, error);
            }
        }
    }
    run(plain, "DROP TABLE bulk_dyn");
    EXPECT_EQ(0, plain->commit(error)) << said(error);
}

TEST_P(BulkBlock, ArraysWriteWhatOneExecuteARowWrites) {
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    Connection2* plain = openWith(d, 0);
    ASSERT_NE(nullptr, plain);
    for (bool binary : {true, false}) {
        ASSERT_TRUE(fill(plain, d.label, "bulk_one", false, binary));
        const std::string select = std::string("SELECT ") + kColumnList + " FROM ";
        const std::vector<std::string> want = readAll(plain, select + "bulk_one ORDER BY id", 0, nullptr, kPacked);
        ASSERT_EQ(static_cast<size_t>(kRows), want.size());
        for (int rows : {7, 1024}) {
            Connection2* c = openWith(d, rows);
            ASSERT_NE(nullptr, c);
            ASSERT_TRUE(fill(c, d.label, "bulk_many", true, binary)) << rows << " rows an array";
            const std::vector<std::string> got = readAll(plain, select + "bulk_many ORDER BY id", 0, nullptr, kPacked);
            ASSERT_EQ(want.size(), got.size()) << rows << " rows an array";
            size_t differ = 0;
            for (size_t k = 0; k < want.size(); ++k)
                if (want[k] != got[k] && differ++ < 3) ADD_FAILURE() << rows << ": row " << k << " " << difference(want[k], got[k]);
            EXPECT_EQ(0u, differ) << rows << " rows an array";
            run(c, "DROP TABLE bulk_many");
            EXPECT_EQ(0, c->commit(error)) << said(error);
            c->disconnect(true, error);
        }
    }
    run(plain, "DROP TABLE bulk_one");
    EXPECT_EQ(0, plain->commit(error)) << said(error);
}

TEST_P(BulkBlock, AFailingRowOfAnArrayIsNamed) {
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    Connection2* c = openWith(d, 4);
    ASSERT_NE(nullptr, c);
    std::string why;
    run(c, "DROP TABLE IF EXISTS bulk_key");
    ASSERT_TRUE(run(c, "CREATE TABLE bulk_key (id INTEGER PRIMARY KEY)", &why)) << why;
    ASSERT_EQ(0, c->commit(error)) << said(error);
    PreparedStatement* insert = c->createPreparedStatement("INSERT INTO bulk_key VALUES (?)", error);
    ASSERT_NE(nullptr, insert) << said(error);
    std::vector<int> columns = {0};
    const unsigned int words[] = {LONG};
    ASSERT_EQ(0, insert->setBindings(columns, words, error)) << said(error);
    // Row 6, in the second array of four, repeats the key of row 1.
    std::vector<RowPtr> rows;
    std::vector<const RowInternal2*> list;
    for (int64_t key : {1, 2, 3, 4, 5, 6, 2, 8, 9}) {
        rows.push_back(makeRow({{LONG, int64Value(key)}}));
        list.push_back(rows.back().get());
    }
    list.push_back(nullptr);
    EXPECT_EQ(-1, insert->execute(list.data(), error));
    const std::string text = error->getErrorString();
    EXPECT_EQ("odbc", std::string(error->getErrorSource()));
    // MariaDB's driver fails the array as a whole, without saying where.
    const std::string named = d.label == std::string("maria") ? " (row 4)" : " (row 6)";
    EXPECT_EQ(named, text.substr(text.size() < 8 ? 0 : text.size() - 8)) << text;
    // What stays of the failing array is the driver's: SQLite's keeps the
    // rows before the failing one, MariaDB's none; PostgreSQL's transaction
    // refuses all further work until the rollback.
    if (d.label != std::string("pg")) {
        const size_t kept = readAll(c, "SELECT id FROM bulk_key", 0, nullptr, kValues).size();
        EXPECT_EQ(d.label == std::string("maria") ? 4u : 6u, kept);
    }
    c->releaseStatement(insert, error);
    c->rollback(error);
    run(c, "DROP TABLE bulk_key");
    EXPECT_EQ(0, c->commit(error)) << said(error);
}

TEST_P(BulkBlock, MultiRowStatementsWriteWhatOneExecuteARowWrites) {
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    Connection2* plain = openWith(d, 0);
    ASSERT_NE(nullptr, plain);
    // Not a multiple of 7 or of 500. Binaries included: every multi-row
    // statement is one parameter set, which SQLite's driver reads right.
    constexpr int kCount = 1503;
    withV = false;
    ASSERT_TRUE(fill(plain, d.label, "bulk_one", false, true, kCount));
    const std::string select = std::string("SELECT ") + kColumnList + " FROM ";
    const std::vector<std::string> want = readAll(plain, select + "bulk_one ORDER BY id", 0, nullptr, kPacked);
    ASSERT_EQ(static_cast<size_t>(kCount), want.size());
    const struct {
        int arrays, insertRows;
        size_t perInsert;  // what the statement carries: 0 for arrays
    } ways[] = {{0, 7, 7}, {0, 500, 500}, {7, 1, 0}, {1024, 500, 500}};
    for (const auto& w : ways) {
        const std::string where = std::string(d.label) + ", arrays " + std::to_string(w.arrays) + ", " +
                                  std::to_string(w.insertRows) + " rows a statement";
        Connection2* c = openWith(d, w.arrays, w.insertRows);
        ASSERT_NE(nullptr, c);
        size_t perInsert = 99;
        ASSERT_TRUE(fill(c, d.label, "bulk_many", true, true, kCount, &perInsert)) << where;
        // PostgreSQL's driver takes at most 4,096 markers a statement; the
        // insert binds every column but the last.
        const size_t markers = kColumns - 1;
        const bool pg = std::string(d.label) == "pg";
        EXPECT_EQ(pg && w.perInsert ? std::min(w.perInsert, 4096 / markers) : w.perInsert, perInsert) << where;
        const std::vector<std::string> got = readAll(plain, select + "bulk_many ORDER BY id", 0, nullptr, kPacked);
        ASSERT_EQ(want.size(), got.size()) << where;
        size_t differ = 0;
        for (size_t k = 0; k < want.size(); ++k)
            if (want[k] != got[k] && differ++ < 3) ADD_FAILURE() << where << ": row " << k << " " << difference(want[k], got[k]);
        EXPECT_EQ(0u, differ) << where;
        run(c, "DROP TABLE bulk_many");
        EXPECT_EQ(0, c->commit(error)) << said(error);
        c->disconnect(true, error);
    }
    run(plain, "DROP TABLE bulk_one");
    EXPECT_EQ(0, plain->commit(error)) << said(error);
}

TEST_P(BulkBlock, AFailingMultiRowStatementNamesItsRowsAndLeavesNothing) {
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    // The rows in the table as the transaction sees them; commits nothing.
    auto countKeys = [this](Connection2* c) {
        PreparedStatement* st = c->createPreparedStatement("SELECT id FROM bulk_key", error);
        EXPECT_NE(nullptr, st) << said(error);
        if (!st) return -1;
        int n = 0;
        bool more = false;
        EXPECT_EQ(0, st->execute(error)) << said(error);
        EXPECT_EQ(0, st->nextResultSet(more, error)) << said(error);
        while (st->hasMoreData(more, error) == 0 && more && RowPtr(st->nextRow(error))) ++n;
        c->releaseStatement(st, error);
        return n;
    };
    const struct {
        int insertRows, count, repeated;  // the row that repeats row 2's key
        const char* named;
        int before;  // rows of earlier statements, in until the rollback
    } cases[] = {
        {4, 11, 6, " (rows 4 to 7)", 4},         // a full group in the middle
        {4, 10, 9, " (rows 8 to 9)", 8},         // the shorter last group
        {4, 9, 8, " (row 8)", 8},                // a last row alone
        {4, 4, 3, " (rows 0 to 3)", 0},          // the first statement
        {500, 1203, 700, " (rows 500 to 999)", 500},
    };
    for (const auto& t : cases) {
        const std::string where = std::string(d.label) + ", " + std::to_string(t.insertRows) + " rows a statement, " +
                                  std::to_string(t.count) + " rows, row " + std::to_string(t.repeated) + " repeats";
        Connection2* c = openWith(d, 0, t.insertRows);
        ASSERT_NE(nullptr, c);
        std::string why;
        run(c, "DROP TABLE IF EXISTS bulk_key");
        ASSERT_TRUE(run(c, "CREATE TABLE bulk_key (id INTEGER PRIMARY KEY)", &why)) << why;
        ASSERT_EQ(0, c->commit(error)) << said(error);
        PreparedStatement* insert = c->createPreparedStatement("INSERT INTO bulk_key (id) VALUES (?)", error);
        ASSERT_NE(nullptr, insert) << said(error);
        std::vector<int> columns = {0};
        const unsigned int words[] = {LONG};
        ASSERT_EQ(0, insert->setBindings(columns, words, error)) << said(error);
        std::vector<RowPtr> rows;
        std::vector<const RowInternal2*> list;
        for (int k = 0; k < t.count; ++k) {
            rows.push_back(makeRow({{LONG, int64Value(k == t.repeated ? 2 : k)}}));
            list.push_back(rows.back().get());
        }
        list.push_back(nullptr);
        EXPECT_EQ(-1, insert->execute(list.data(), error)) << where;
        const std::string text = error->getErrorString();
        EXPECT_EQ("odbc", std::string(error->getErrorSource())) << where;
        const std::string named(t.named);
        EXPECT_EQ(named, text.substr(text.size() < named.size() ? 0 : text.size() - named.size())) << where << ": " << text;
        // A failing statement takes none of its rows; PostgreSQL's
        // transaction refuses all further work until the rollback.
        if (d.label != std::string("pg")) {
            EXPECT_EQ(t.before, countKeys(c)) << where;
        }
        c->releaseStatement(insert, error);
        EXPECT_EQ(0, c->rollback(error)) << said(error);
        EXPECT_EQ(0, countKeys(c)) << where;
        run(c, "DROP TABLE bulk_key");
        EXPECT_EQ(0, c->commit(error)) << said(error);
        c->disconnect(true, error);
    }
}

INSTANTIATE_TEST_SUITE_P(Dsn, BulkBlock, ::testing::ValuesIn(orltest::testDsns()),
                         [](const ::testing::TestParamInfo<orltest::TestDsn>& i) { return std::string(i.param.label); });

} // namespace
} // namespace bulkit
