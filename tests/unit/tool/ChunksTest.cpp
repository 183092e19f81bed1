// Chunks of a key found by walking it, the key a copy reads them by, and
// which chunks a resumed copy finds in its target: against keys held in
// memory, with the bound queries answered the way a database would.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/Chunks.h"
#include "tools/orlodbc/Resume.h"

using namespace orlodbc;

namespace {

// The bound query over a sorted set of keys: MAX and COUNT of the next `rows` keys after `after`.
BoundQuery boundOver(const std::vector<int64_t>& keys, long rows, int* queries = nullptr) {
    return [keys, rows, queries](bool first, int64_t after, bool& empty, int64_t& last, uint64_t& count) {
        if (queries) ++*queries;
        auto it = first ? keys.begin() : std::upper_bound(keys.begin(), keys.end(), after);
        count = 0;
        empty = true;
        for (; it != keys.end() && count < static_cast<uint64_t>(rows); ++it, ++count) {
            last = *it;
            empty = false;
        }
        return true;
    };
}

bool inChunk(const KeyChunk& c, int64_t k) {
    return !c.nulls && (!c.hasLow || k > c.low) && (!c.hasHigh || k <= c.high);
}

std::vector<int64_t> range(int64_t from, int64_t to, int64_t step = 1) {
    std::vector<int64_t> v;
    for (int64_t k = from; k <= to; k += step) v.push_back(k);
    return v;
}

// Every key lands in exactly one chunk, every closed chunk holds `rows` keys
// but the last, and the open tail is empty: however sparse the keys.
TEST(Chunks, WalkCoversEveryKeyOnceInChunksOfTheirSize) {
    struct Case {
        const char* what;
        std::vector<int64_t> keys;
        long rows;
        size_t closed;  // chunks with both ends
    } cases[] = {
        {"dense, an exact multiple", range(1, 100), 25, 4},
        {"dense, a remainder", range(1, 101), 25, 5},
        {"sparse and skewed", {-5, 0, 1, 2, 1000, 1000000, 1000001, INT64_MAX / 2}, 3, 3},
        {"negative keys", range(-50, -1), 20, 3},
        {"one key", {42}, 10, 1},
        {"no keys", {}, 10, 0},
        {"the largest key", {1, INT64_MAX}, 1, 2},
        {"the smallest key", {INT64_MIN, 0}, 1, 2},
    };
    for (const Case& c : cases) {
        std::vector<KeyChunk> chunks;
        ASSERT_TRUE(walkChunks(boundOver(c.keys, c.rows), c.rows, 0, chunks)) << c.what;
        ASSERT_EQ(chunks.size(), c.closed + 1) << c.what;
        EXPECT_FALSE(chunks.back().hasHigh) << c.what;
        for (size_t i = 0; i + 1 < chunks.size(); ++i) {
            EXPECT_TRUE(chunks[i].hasHigh) << c.what;
            EXPECT_EQ(chunks[i].hasLow, i > 0) << c.what;
            if (i + 2 < chunks.size()) {
                EXPECT_EQ(chunks[i].rows, static_cast<uint64_t>(c.rows)) << c.what;
            }
        }
        for (int64_t k : c.keys)
            EXPECT_EQ(std::count_if(chunks.begin(), chunks.end(), [&](const KeyChunk& x) { return inChunk(x, k); }), 1)
                << c.what << ": key " << k;
    }
}

TEST(Chunks, RowsWithoutAKeyComeFirstAndAFailedQueryStops) {
    std::vector<KeyChunk> chunks;
    ASSERT_TRUE(walkChunks(boundOver(range(1, 10), 5), 5, 3, chunks));
    ASSERT_EQ(chunks.size(), 4u);  // the rows without a key, two chunks, the open tail
    EXPECT_TRUE(chunks[0].nulls);
    EXPECT_EQ(chunks[0].rows, 3u);
    const BoundQuery failing = [](bool, int64_t, bool&, int64_t&, uint64_t&) { return false; };
    EXPECT_FALSE(walkChunks(failing, 5, 0, chunks));
}

TEST(Chunks, KeyFromThePrimaryKeyOrSplitBy) {
    auto col = [](const char* name, Kind kind, bool key) {
        SourceColumn c;
        c.name = name;
        c.type.kind = kind;
        c.key = key;
        return c;
    };
    const std::vector<unsigned int> none;
    struct Case {
        const char* what;
        std::vector<SourceColumn> columns;
        std::string splitBy;
        int splitColumn;
        int key;
    } cases[] = {
        {"integer primary key", {col("a", Kind::Varchar, false), col("id", Kind::Int64, true)}, "", -1, 1},
        {"no key", {col("a", Kind::Int32, false)}, "", -1, -1},
        {"text key", {col("a", Kind::Varchar, true)}, "", -1, -1},
        {"two-column key", {col("a", Kind::Int32, true), col("b", Kind::Int32, true)}, "", -1, -1},
        {"split-by over the key", {col("a", Kind::Int32, true), col("b", Kind::Int16, false)}, "b", 1, 1},
        {"split-by a decimal", {col("a", Kind::Int32, true), col("b", Kind::Decimal, false)}, "b", 1, -1},
        {"split-by no column", {col("a", Kind::Int32, true)}, "z", -1, -1},
    };
    for (const Case& c : cases) {
        std::string why;
        EXPECT_EQ(chunkKey(c.columns, none, c.splitBy, c.splitColumn, why), c.key) << c.what;
        EXPECT_EQ(why.empty(), c.key >= 0) << c.what;
    }
    // A query's column, known by its type word only.
    SourceColumn q;
    q.name = "n";
    std::string why;
    EXPECT_EQ(chunkKey({q}, {DataTypes::LONG}, "n", 0, why), 0);
}

// The target after a copy stopped: the chunks before some point whole.
TEST(Resume, FindsTheWholeChunksAndRefusesPartOfOne) {
    const std::vector<int64_t> keys = range(1, 100);
    std::vector<KeyChunk> chunks;
    ASSERT_TRUE(walkChunks(boundOver(keys, 30), 30, 0, chunks));  // (..30] (30,60] (60,90] (90,100] (100..)
    ASSERT_EQ(chunks.size(), 5u);
    struct Case {
        const char* what;
        std::vector<int64_t> target;
        bool ok;
        uint64_t kept;
        std::vector<bool> done;
        int targetQueries;
    } cases[] = {
        {"empty target", {}, true, 0, {false, false, false, false, false}, 0},
        {"one chunk", range(1, 30), true, 30, {true, false, false, false, false}, 1},
        {"two chunks", range(1, 60), true, 60, {true, true, false, false, false}, 2},
        {"out of order, as jobs commit", range(31, 60), true, 30, {false, true, false, false, false}, 2},
        {"all", keys, true, 100, {true, true, true, true, false}, 4},
        {"part of a chunk", range(1, 45), false, 0, {}, 2},
        {"rows past the source's keys", range(101, 102), false, 0, {}, 5},
    };
    for (const Case& c : cases) {
        int asked = 0;
        const ChunkCount target = [&](const KeyChunk& k, uint64_t& rows, std::string&) {
            ++asked;
            rows = static_cast<uint64_t>(std::count_if(c.target.begin(), c.target.end(), [&](int64_t x) { return inChunk(k, x); }));
            return true;
        };
        const ChunkCount source = [&](const KeyChunk& k, uint64_t& rows, std::string&) {
            rows = static_cast<uint64_t>(std::count_if(keys.begin(), keys.end(), [&](int64_t x) { return inChunk(k, x); }));
            return true;
        };
        ResumePoint point;
        std::string why;
        const int64_t max = c.target.empty() ? 0 : *std::max_element(c.target.begin(), c.target.end());
        EXPECT_EQ(findResume(chunks, c.target.size(), !c.target.empty(), max, target, source, point, why), c.ok)
            << c.what;
        EXPECT_EQ(asked, c.targetQueries) << c.what;
        if (!c.ok) {
            EXPECT_NE(why.find("not a chunk"), std::string::npos) << c.what << ": " << why;
            continue;
        }
        EXPECT_EQ(point.keptRows, c.kept) << c.what;
        EXPECT_EQ(point.done, c.done) << c.what;
    }
}

} // namespace
