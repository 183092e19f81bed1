#include "odbc/ByteStore.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using KORVEL::Orl::DB::ODBC::ByteStore;

namespace {

std::string Bytes(const ByteStore& s) {
    return s.Data() ? std::string(reinterpret_cast<const char*>(s.Data()), s.Size()) : std::string();
}

struct EditCase {
    const char* name;
    std::string start;
    std::function<unsigned int(ByteStore&)> edit;
    unsigned int result;
    std::string after;
};


const std::string Z(size_t n) { return std::string(n, '\0'); }

} // namespace

TEST(ByteStoreEdit, Table) {
    ByteStore* none = nullptr;
    const std::vector<EditCase> cases = {
        {"stretch pads front", "abc", [](ByteStore& s) { return s.Stretch(6, 'x'); }, 6, "xxxabc"},
        {"stretch smaller stays", "abcdef", [](ByteStore& s) { return s.Stretch(3, 'x'); }, 6, "abcdef"},
        {"stretch empty", "", [](ByteStore& s) { return s.Stretch(2, 'y'); }, 2, "yy"},
        {"snip middle", "abcdef", [none](ByteStore& s) { return s.Snip(1, 2, none); }, 2, "adef"},
        {"snip past end", "abcdef", [none](ByteStore& s) { return s.Snip(4, 100, none); }, 2, "abcd"},
        {"snip count 0", "abcdef", [none](ByteStore& s) { return s.Snip(1, 0, none); }, 0, "abcdef"},
        {"snip position at size", "abc", [none](ByteStore& s) { return s.Snip(3, 1, none); }, 0, "abc"},
        {"ins front", "def", [](ByteStore& s) { return s.Ins(0, "abc", 3); }, 3, "abcdef"},
        {"ins null bytes", "abc", [](ByteStore& s) { return s.Ins(1, nullptr, 2); }, 0, "abc"},
        {"jam middle", "abef", [](ByteStore& s) { return s.Jam(2, 2, '-'); }, 2, "ab--ef"},
        {"jam zero", "ab", [](ByteStore& s) { return s.Jam(1, 0, '-'); }, 0, "ab"},
        // Beyond the end the size grows by the whole gap (count + gap + 1), unfilled.
        {"jam beyond", "ab", [](ByteStore& s) { return s.Jam(4, 2, '-'); }, 2, "ab" + Z(5)},
        {"index first", "abc", [](ByteStore& s) { return s.Index('a'); }, 1, "abc"},
        {"index absent", "abc", [](ByteStore& s) { return s.Index('z'); }, 0, "abc"},
        {"index empty", "", [](ByteStore& s) { return s.Index('a'); }, 0, ""},
        {"slam inside", "abcdef", [](ByteStore& s) { return s.Slam(1, "XY", 2); }, 6, "aXYdef"},
        {"slam extends", "ab", [](ByteStore& s) { return s.Slam(4, "XY", 2); }, 6, "ab" + Z(2) + "XY"},
        {"slam store", "abcd", [](ByteStore& s) { return s.Slam(2, ByteStore("xyz", 3)); }, 5, "abxyz"},
        {"slam8", "", [](ByteStore& s) { return s.Slam8(1, 0x7f); }, 2, std::string("\0\x7f", 2)},
        {"slam16", "", [](ByteStore& s) { return s.Slam16(0, 0x0102); }, 2, "\x02\x01"},
        {"slammi16", "", [](ByteStore& s) { return s.SlamMi16(0, 0x0102); }, 2, "\x01\x02"},
        {"slam32", "", [](ByteStore& s) { return s.Slam32(0, 0x01020304); }, 4, "\x04\x03\x02\x01"},
        {"slammi32", "", [](ByteStore& s) { return s.SlamMi32(0, 0x01020304); }, 4, "\x01\x02\x03\x04"},
        {"slam nothing beyond extends", "ab", [](ByteStore& s) { return s.Slam(4, "", 0); }, 4, "ab" + Z(2)},
        {"grow that would wrap fails", "abc", [](ByteStore& s) { return s.Grow(0xFFFFFFFEu); }, 0, "abc"},
    };
    for (const EditCase& c : cases) {
        SCOPED_TRACE(c.name);
        ByteStore s(c.start.data(), static_cast<unsigned int>(c.start.size()));
        EXPECT_EQ(c.edit(s), c.result);
        EXPECT_EQ(Bytes(s), c.after);
        EXPECT_TRUE(s.Data() == nullptr || s.Data()[s.Size()] == 0) << "NUL behind the last byte";
    }
}

TEST(ByteStoreEdit, SnipHandsOutTheCut) {
    ByteStore s("abcdef", 6), cut("old", 3);
    EXPECT_EQ(s.Snip(4, 100, &cut), 2u);
    EXPECT_EQ(Bytes(cut), "ef");
    EXPECT_EQ(s.Snip(0, 2, &cut), 2u);
    EXPECT_EQ(Bytes(cut), "ab");
    EXPECT_EQ(Bytes(s), "cd");
}

TEST(ByteStoreEdit, IndexOperator) {
    ByteStore s;
    s[3] = 'x';  // extends with zeros to reach it
    EXPECT_EQ(Bytes(s), Z(3) + "x");
    s[-5] = 'a';  // negative counts as 0
    EXPECT_EQ(Bytes(s), "a" + Z(2) + "x");
    const ByteStore& c = s;
    EXPECT_EQ(c.Data()[c.Size()], 0);
}

TEST(ByteStoreEdit, LengthWriters) {
    struct Case {
        const char* name;
        unsigned int startSize;
        unsigned int (ByteStore::*writer)(unsigned int, int);
        unsigned int position;
        int adjust;
        std::string field;  // the four bytes written
        unsigned int size;
    };
    const Case cases[] = {
        {"vli", 10, &ByteStore::SlamVli, 2, 0, std::string("\x0a\0\0\0", 4), 10},
        {"vli incl", 10, &ByteStore::SlamVliIncl, 2, 0, std::string("\x08\0\0\0", 4), 10},
        {"vli excl", 10, &ByteStore::SlamVliExcl, 2, 0, std::string("\x04\0\0\0", 4), 10},
        {"vli excl clamps at 0", 10, &ByteStore::SlamVliExcl, 2, 100, Z(4), 10},
        {"mi vli", 10, &ByteStore::SlamMiVli, 2, 0, std::string("\0\0\0\x0a", 4), 10},
        {"mi vli incl", 10, &ByteStore::SlamMiVliIncl, 2, 0, std::string("\0\0\0\x08", 4), 10},
        {"mi vli excl", 10, &ByteStore::SlamMiVliExcl, 2, 0, std::string("\0\0\0\x04", 4), 10},
        {"incl on empty", 0, &ByteStore::SlamVliIncl, 0, 0, std::string("\x04\0\0\0", 4), 4},
        {"vli beyond end", 3, &ByteStore::SlamVli, 4, 0, std::string("\x08\0\0\0", 4), 8},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ByteStore s;
        s.Extend(c.startSize, 'b');
        EXPECT_EQ((s.*c.writer)(c.position, c.adjust), c.size);
        EXPECT_EQ(Bytes(s).substr(c.position, 4), c.field);
    }
}
