// The pieces of orlodbc that decide without a database: the canonical values
// the copy checksum compares, the key ranges of parallel jobs, the CSV and
// JSON quoting, and the progress line.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/Checksum.h"
#include "tools/orlodbc/Split.h"
#include "tools/orlodbc/Progress.h"
#include "tools/orlodbc/SqlRunner.h"

using namespace DataTypes;

namespace {

// The packed bytes of a value given as text, for a type word.
std::vector<unsigned char> packed(unsigned int word, const char* text) {
    std::vector<unsigned char> out(64 + std::strlen(text));
    const char* error = nullptr;
    unsigned long n = packAndAppendValue(out.data(), out.size(), text, word, "%Y-%m-%d %H:%M:%S",
                                         "%Y-%m-%d %H:%M:%S", "%Y-%m-%d %H:%M:%S", nullptr, error);
    EXPECT_EQ(nullptr, error) << text;
    out.resize(n);
    return out;
}

std::string canon(unsigned int word, const char* text) {
    return orlodbc::canonicalValue(word, text ? packed(word, text).data() : nullptr);
}

TEST(CopyChecksum, ValuesCompareByKindNotByWidth) {
    const unsigned int dec18_2 = createFixedDecimal(18, 2), dec10_4 = createFixedDecimal(10, 4);
    struct Case {
        unsigned int a;
        const char* va;
        unsigned int b;
        const char* vb;
        bool same;
    } cases[] = {
        {INTEGER, "42", LONG, "42", true},
        {INT16, "-7", LONG, "-7", true},
        {BOOLEAN, "1", INTEGER, "1", true},
        {INTEGER, "42", FLOAT, "42", false},  // a float is its own kind
        {FLOAT, "0", FLOAT, "-0", true},
        {dec18_2, "12.50", dec10_4, "12.5", true},
        {dec18_2, "1234567890123456.78", STRING, "1234567890123456.78", true},
        {dec18_2, "12.50", STRING, "12.50", true},
        {dec18_2, "1234567890123456.78", STRING, "1.23456789012346e+15", false},  // narrowed to a float
        {STRING, "1.50", STRING, "1.5", true},
        {STRING, "a1.50", STRING, "a1.5", false},  // only whole numbers are made plain
        {STRING, "", STRING, nullptr, false},      // empty is not NULL
        {DATE, "1950-02-03 00:00:00", BIGDATETIME, "1950-02-03 00:00:00", true},
        {TIMESTAMP, "1969-12-31 23:59:59", BIGDATETIME, "1969-12-31 23:59:59", true},
        {TIME, "00:00:01", INTEGER, "1", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.same, canon(c.a, c.va) == canon(c.b, c.vb))
            << typeToString(c.a) << " " << (c.va ? c.va : "NULL") << " vs " << typeToString(c.b) << " "
            << (c.vb ? c.vb : "NULL");
    }
}

TEST(CopyChecksum, OrderOfRowsDoesNotMatterButEveryValueDoes) {
    auto row = [](int32_t a, int64_t b) {
        std::vector<unsigned char> r(56 + 8 + 4 + 8, 0);
        int32_t table[3] = {64, 68, 76};
        std::memcpy(r.data() + 48, table, sizeof table);
        std::memcpy(r.data() + 64, &a, 4);
        std::memcpy(r.data() + 68, &b, 8);
        return r;
    };
    auto sum = [&](std::vector<std::pair<int32_t, int64_t> > rows) {
        orlodbc::TableChecksum t({INTEGER, LONG});
        for (auto& p : rows) {
            auto r = row(p.first, p.second);
            t.add(reinterpret_cast<const KORVEL::Orl::DB::RowInternal2*>(r.data()));
        }
        return t;
    };
    const auto a = sum({{1, 10}, {2, 20}, {3, 30}});
    EXPECT_EQ(a.text(), sum({{3, 30}, {1, 10}, {2, 20}}).text());
    // The same values in other rows: each column's sum holds, the rows differ only together.
    const auto swapped = sum({{1, 20}, {2, 10}, {3, 30}});
    EXPECT_EQ(a.columnSums(), swapped.columnSums());
    const auto changed = sum({{1, 10}, {2, 21}, {3, 30}});
    EXPECT_EQ(a.columnSums()[0], changed.columnSums()[0]);
    EXPECT_NE(a.columnSums()[1], changed.columnSums()[1]);
    orlodbc::TableChecksum parts = sum({{1, 10}});
    parts.merge(sum({{2, 20}, {3, 30}}));
    EXPECT_EQ(a.text(), parts.text());
}

TEST(CopySplit, RangesCoverTheKeysOnce) {
    const int64_t lo = std::numeric_limits<int64_t>::min(), hi = std::numeric_limits<int64_t>::max();
    struct Case {
        int64_t min, max;
        int jobs;
        std::vector<int64_t> starts;
    } cases[] = {
        {1, 100, 4, {1, 26, 51, 76}},
        {-3, 4996, 4, {-3, 1247, 2497, 3747}},
        {5, 5, 4, {5}},          // one key: one job
        {1, 3, 8, {1, 2, 3}},    // fewer keys than jobs
        {lo, hi, 2, {lo, 0}},    // the whole range without overflow
    };
    for (const Case& c : cases) EXPECT_EQ(c.starts, orlodbc::splitRanges(c.min, c.max, c.jobs)) << c.min << ".." << c.max;
}

TEST(QueryOutput, CsvAndJsonQuoting) {
    struct Case {
        const char* text;
        const char* csv;
        const char* json;
    } cases[] = {
        {"plain", "plain", "\"plain\""},
        {"", "\"\"", "\"\""},
        {"a,b", "\"a,b\"", "\"a,b\""},
        {"say \"hi\"", "\"say \"\"hi\"\"\"", "\"say \\\"hi\\\"\""},
        {"two\nlines\r", "\"two\nlines\r\"", "\"two\\nlines\\r\""},
        {"tab\there\\", "tab\there\\", "\"tab\\there\\\\\""},
        {"\x01", "\x01", "\"\\u0001\""},
        {"caf\xc3\xa9", "caf\xc3\xa9", "\"caf\xc3\xa9\""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.csv, orlodbc::csvField(c.text)) << c.text;
        EXPECT_EQ(c.json, orlodbc::jsonString(c.text)) << c.text;
    }
}

TEST(CopyProgress, LineWithAndWithoutATotal) {
    EXPECT_EQ("1,234,567 rows  617,283 rows/s  0:02", orlodbc::Progress::line(1234567, 0, 2.0, 80));
    const std::string half = orlodbc::Progress::line(500, 1000, 65.0, 80);
    EXPECT_NE(std::string::npos, half.find(" 50% 500 rows  7 rows/s  1:05  ETA 1:05")) << half;
    EXPECT_EQ('[', half[0]);
    // A narrow terminal loses the bar, not the figures.
    EXPECT_EQ("100% 1,000 rows  1,000 rows/s  0:01", orlodbc::Progress::line(1000, 1000, 1.0, 30));
    EXPECT_EQ("1:02:03", orlodbc::clock(3723.9));
}

} // namespace
