#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "odbc/ByteStore.h"

using KORVEL::Orl::DB::ODBC::ByteStore;

namespace {
std::string bytes(const ByteStore& s) { return std::string(reinterpret_cast<const char*>(s.Data()), s.Size()); }
bool nulBehind(const ByteStore& s) { return s.Data() == nullptr || s.Data()[s.Size()] == 0; }
} // namespace

TEST(ByteStoreGrowth, FirstBufferReportsOneMoreAndSlackAvoidsRealloc) {
    ByteStore s;
    EXPECT_EQ(0u, s.Grow(0));
    EXPECT_EQ(nullptr, s.Data());
    EXPECT_EQ(6u, s.Grow(5));
    EXPECT_EQ(5u + 1025u, s.Capacity());
    unsigned char* before = s.Data();
    EXPECT_EQ(5u, s.Grow(5));
    EXPECT_EQ(before, s.Data());
    EXPECT_EQ(1030u, s.Capacity());
}

TEST(ByteStoreGrowth, AppendReachingCapacityReallocatesAndKeepsNul) {
    ByteStore s;
    s.Grow(5);  // capacity 1030
    std::string chunk(1029, 'x');
    EXPECT_EQ(1029u, s.Append(chunk.data(), 1029));
    EXPECT_EQ(1030u, s.Capacity());  // 1029 < 1030: no reallocation yet
    EXPECT_EQ(1030u, s.Append("y", 1));  // size would equal capacity: grows
    EXPECT_EQ(1030u + 1025u, s.Capacity());
    EXPECT_TRUE(nulBehind(s));
    EXPECT_EQ('y', s.Data()[1029]);
}

TEST(ByteStoreGrowth, NothingStoredNeverAllocates) {
    ByteStore s;
    EXPECT_EQ(0u, s.Append("abc", 0));
    EXPECT_EQ(0u, s.Extend(0, 'x'));
    EXPECT_EQ(nullptr, s.Data());
    ByteStore fromEmpty("", 0);
    EXPECT_EQ(nullptr, fromEmpty.Data());
    EXPECT_STREQ("", s.Text());
}

TEST(ByteStoreGrowth, AppendNullOnlyMakesRoom) {
    ByteStore s;
    EXPECT_EQ(0u, s.Append(nullptr, 10));
    EXPECT_NE(nullptr, s.Data());
    EXPECT_EQ(0u, s.Size());
}

TEST(ByteStoreText, ConstructorsTakeStrlenOnAllOnes) {
    ByteStore t("hello", 0xFFFFFFFFu);
    EXPECT_EQ("hello", bytes(t));
    const unsigned char raw[] = {1, 0, 2};
    ByteStore b(raw, 3);
    EXPECT_EQ(3u, b.Size());
    EXPECT_EQ(0, std::memcmp(raw, b.Data(), 3));
    ByteStore copy(b);
    EXPECT_NE(copy.Data(), b.Data());
    EXPECT_EQ(bytes(b), bytes(copy));
    ByteStore assigned("zz", 2);
    assigned = b;
    ByteStore& same = assigned;
    assigned = same;  // self-assignment keeps the bytes
    EXPECT_EQ(bytes(b), bytes(assigned));
}

struct TruncCase {
    const char* start;
    unsigned int n;
    bool fromFront;
    bool release;
    std::string expect;
};

TEST(ByteStoreTrunc, CutsHeadTailOrLengthens) {
    const TruncCase cases[] = {
        {"abcdef", 3, true, false, "def"},
        {"abcdef", 3, false, false, "abc"},
        {"abcdef", 3, true, true, "def"},
        {"abc", 10, false, false, std::string("abc\0\0\0\0\0\0\0", 10)},
        {"abc", 3, false, false, "abc"},
        {"", 4, false, false, std::string(4, '\0')},
    };
    for (const TruncCase& c : cases) {
        SCOPED_TRACE(std::string(c.start) + " -> " + std::to_string(c.n));
        ByteStore s(c.start, 0xFFFFFFFFu);
        EXPECT_EQ(c.expect.size(), s.Trunc(c.n, c.fromFront, c.release));
        EXPECT_EQ(c.expect, bytes(s));
        EXPECT_TRUE(nulBehind(s));
        if (c.release && c.n < std::strlen(c.start)) {
            EXPECT_EQ(c.n + 1, s.Capacity());
        }
    }
}

TEST(ByteStoreTrunc, ZeroKeepsOrReleasesTheBuffer) {
    ByteStore kept("abc", 3);
    EXPECT_EQ(0u, kept.Truncate(0, false));
    EXPECT_NE(nullptr, kept.Data());
    EXPECT_EQ(0, kept.Data()[0]);
    ByteStore freed("abc", 3);
    EXPECT_EQ(0u, freed.Resize(0, false));
    EXPECT_EQ(nullptr, freed.Data());
    EXPECT_EQ(0u, freed.Capacity());
}

TEST(ByteStoreExtend, FillsOnlyNewBytes) {
    ByteStore s("ab", 2);
    EXPECT_EQ(5u, s.Extend(5, '-'));
    EXPECT_EQ("ab---", bytes(s));
    EXPECT_EQ(5u, s.Extend(3, 'x'));
    EXPECT_EQ(7u, s.ExtendBy(2, '+'));
    EXPECT_EQ("ab---++", bytes(s));
}
