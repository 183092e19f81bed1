// The array literals a copy into PostgreSQL sends: each element must read
// back as the value the single-row INSERT would have written, and the
// packed row that carries them must be one the driver takes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/ColumnArrays.h"

using namespace orlodbc;
using namespace DataTypes;

namespace {

template <typename T>
std::vector<unsigned char> bytesOf(T v) {
    std::vector<unsigned char> b(sizeof v);
    std::memcpy(b.data(), &v, sizeof v);
    return b;
}

std::vector<unsigned char> textOf(const std::string& s) {
    return std::vector<unsigned char>(s.c_str(), s.c_str() + s.size() + 1);
}

std::vector<unsigned char> binaryOf(const std::string& s) {
    std::vector<unsigned char> b(4 + s.size(), 0);
    b[3] = static_cast<unsigned char>(s.size());
    for (size_t k = 0; k < s.size(); ++k) b[4 + k] = static_cast<unsigned char>(s[k]);
    return b;
}

std::vector<unsigned char> decimalOf(unsigned int word, const char* text) {
    std::vector<unsigned char> b(24);
    const char* error = nullptr;
    convertFromStringAndPack(word, false, text, b.data(), b.size(), error, nullptr, nullptr, nullptr, nullptr);
    return b;
}

// A packed row of the values (empty: NULL), laid out as the driver's rows are.
std::vector<unsigned char> packedRow(const std::vector<std::vector<unsigned char> >& values) {
    const size_t n = values.size();
    std::vector<unsigned char> row(48 + 4 * (n + 1) + 4, 0);
    for (size_t j = 0; j < n; ++j) {
        const int32_t offset = values[j].empty() ? 0 : static_cast<int32_t>(row.size());
        std::memcpy(&row[48 + 4 * j], &offset, 4);
        row.insert(row.end(), values[j].begin(), values[j].end());
    }
    const int32_t total = static_cast<int32_t>(row.size());
    std::memcpy(&row[48 + 4 * n], &total, 4);
    std::memcpy(&row[0], &total, 4);
    const uint32_t count = static_cast<uint32_t>(n);
    std::memcpy(&row[12], &count, 4);
    return row;
}

const KORVEL::Orl::DB::RowInternal2* asRow(const std::vector<unsigned char>& bytes) {
    return reinterpret_cast<const KORVEL::Orl::DB::RowInternal2*>(bytes.data());
}

// The value of column j of a packed row, as text.
std::string column(const KORVEL::Orl::DB::RowInternal2* row, size_t j) {
    const unsigned char* base = reinterpret_cast<const unsigned char*>(row);
    int32_t offset;
    std::memcpy(&offset, base + 48 + 4 * j, 4);
    return reinterpret_cast<const char*>(base + offset);
}

TEST(ColumnArrays, EachElementReadsBackAsTheValue) {
    const double inf = std::numeric_limits<double>::infinity();
    const unsigned int dec = createFixedDecimal(12, 2);
    struct Case {
        unsigned int word;
        std::vector<unsigned char> packed;
        const char* element;
    } cases[] = {
        {INTEGER, {}, "NULL"},
        {INT16, bytesOf<int16_t>(-32768), "-32768"},
        {INTEGER, bytesOf<int32_t>(-5), "-5"},
        {LONG, bytesOf<int64_t>(std::numeric_limits<int64_t>::min()), "-9223372036854775808"},
        {FLOAT, bytesOf(std::nan("")), "NaN"},
        {FLOAT, bytesOf(inf), "Infinity"},
        {FLOAT, bytesOf(-inf), "-Infinity"},
        {FLOAT, bytesOf(-0.0), "-0.0"},
        {FLOAT, bytesOf(0.1 + 0.2), "0.30000000000000004"},
        {FLOAT, bytesOf(1.25e300), "1.25e+300"},
        {BOOLEAN, {1}, "t"},
        {BOOLEAN, {0}, "f"},
        {dec, decimalOf(dec, "-12.5"), "-12.50"},
        // Texts always quoted: NULL, an empty text and blanks keep their meaning.
        {STRING, textOf(""), "\"\""},
        {STRING, textOf("NULL"), "\"NULL\""},
        {STRING, textOf("a\"b\\c"), "\"a\\\"b\\\\c\""},
        {STRING, textOf(" {x,y} "), "\" {x,y} \""},
        {STRING, textOf("z\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\n"), "\"z\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\n\""},
        // bytea's "\x" input, its backslash escaped inside the quotes.
        {BINARY, binaryOf(std::string("\0\"\\\xff", 4)), "\"\\\\x00225cff\""},
        {BINARY, binaryOf(""), "\"\\\\x\""},
        {BIGDATETIME, bytesOf<int64_t>(-1), "\"1969-12-31 23:59:59.999999\""},
        {TIMESTAMP, bytesOf<int64_t>(1500), "\"1970-01-01 00:00:01.5\""},
        {DATE, bytesOf<int64_t>(253402214400), "\"9999-12-31 00:00:00\""},
        // Years before 1 in PostgreSQL's words: year 0 is 1 BC.
        {BIGDATETIME, bytesOf<int64_t>(-62167219200000000), "\"0001-01-01 00:00:00 BC\""},
        {BIGDATETIME, bytesOf<int64_t>(-62198755200000000), "\"0002-01-01 00:00:00 BC\""},
        {BIGDATETIME, bytesOf<int64_t>(-62135596800000000), "\"0001-01-01 00:00:00\""},
        {TIME, bytesOf<int64_t>(3661), "\"01:01:01\""},
    };
    for (const Case& c : cases) {
        std::string out;
        appendElement(out, c.word, c.packed.empty() ? nullptr : c.packed.data());
        EXPECT_EQ(c.element, out) << "type " << typeOf(c.word);
    }
}

TEST(ColumnArrays, RowsBecomeOneLiteralAColumnWhicheverWayTheyAreAdded) {
    const std::vector<unsigned int> words = {INTEGER, STRING};
    const std::vector<std::vector<unsigned char> > rows = {
        packedRow({bytesOf<int32_t>(1), textOf("a,b")}),
        packedRow({{}, textOf("")}),
        packedRow({bytesOf<int32_t>(3), {}}),
    };
    ColumnArrays one(words);
    for (const auto& r : rows) one.add(asRow(r));
    // The reader writes blocks apart; the batch joins them.
    ColumnArrays first(words), second(words), joined(words);
    first.add(asRow(rows[0]));
    second.add(asRow(rows[1]));
    second.add(asRow(rows[2]));
    joined.append(first);
    joined.append(ColumnArrays(words));
    joined.append(second);
    for (ColumnArrays* b : {&one, &joined}) {
        EXPECT_EQ(3u, b->rows());
        const KORVEL::Orl::DB::RowInternal2* packed = b->packed();
        EXPECT_EQ("{1,NULL,3}", column(packed, 0));
        EXPECT_EQ("{\"a,b\",\"\",NULL}", column(packed, 1));
        uint32_t size;
        std::memcpy(&size, packed, 4);
        EXPECT_EQ(b->bytes() + 3 * 2, size - (48 + 4 * 3 + 4));  // each column's braces and NUL
    }
    one.clear();
    EXPECT_EQ(0u, one.rows());
    EXPECT_EQ("{}", column(one.packed(), 0));
}

TEST(ColumnArrays, OnlyPairsKnownToArriveExactlyGoAsArrays) {
    auto element = [](uint32_t oid, char kind = 'b', char delimiter = ',', bool hasArray = true) {
        ArrayElement e;
        e.oid = oid;
        e.kind = kind;
        e.delimiter = delimiter;
        e.hasArray = hasArray;
        return e;
    };
    struct Case {
        unsigned int word;
        ArrayElement e;
        bool fits;
    } cases[] = {
        {STRING, element(23), true},              // a text into an integer: the integer's own input
        {STRING, element(99999, 'e'), true},      // an enum
        {STRING, element(99999, 'd'), false},     // a domain: its cast could cut
        {STRING, element(603, 'b', ';'), false},  // box: elements apart by ';'
        {STRING, element(99999, 'b', ',', false), false},
        {INTEGER, element(1700), true},
        {INTEGER, element(17), false},
        {FLOAT, element(701), true},
        {FLOAT, element(1700), false},  // the shortest text's digits would differ from the other way's
        {BOOLEAN, element(16), true},
        {BOOLEAN, element(23), false},
        {BINARY, element(17), true},
        {BINARY, element(25), false},
        {BIGDATETIME, element(1184), true},
        {BIGDATETIME, element(25), false},
        {TIME, element(1083), true},
        {createFixedDecimal(12, 2), element(1700), true},
        {UNKNOWN, element(25), false},
    };
    for (const Case& c : cases) EXPECT_EQ(c.fits, elementFits(c.word, c.e)) << typeOf(c.word) << " into " << c.e.oid;
}

TEST(ColumnArrays, TheInsertCastsToTypesWithoutModifiers) {
    Dialect pg;
    pg.kind = DbKind::PostgreSQL;
    ArrayElement a, b;
    a.type = "pg_catalog.int4";
    b.type = "pg_catalog.bpchar";
    EXPECT_EQ("INSERT INTO \"s\".\"t\" (\"id\", \"a\"\"b\") SELECT unnest(CAST(? AS pg_catalog.int4[])), "
              "unnest(CAST(? AS pg_catalog.bpchar[]))",
              arrayInsertSql(pg, "\"s\".\"t\"", {"id", "a\"b"}, {a, b}));
}

} // namespace
