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
// Four bytes, NULs included.
const std::string F(const char* bytes) { return std::string(bytes, 4); }
using S = ByteStore&;

} // namespace

TEST(ByteStoreEdit, Table) {
    ByteStore* none = nullptr;
    const std::string B10(10, 'b');
    const std::vector<EditCase> cases = {
        {"stretch pads front", "abc", [](S s) { return s.Stretch(6, 'x'); }, 6, "xxxabc"},
        {"stretch smaller stays", "abcdef", [](S s) { return s.Stretch(3, 'x'); }, 6, "abcdef"},
        {"stretch empty", "", [](S s) { return s.Stretch(2, 'y'); }, 2, "yy"},
        {"snip middle", "abcdef", [none](S s) { return s.Snip(1, 2, none); }, 2, "adef"},
        {"snip past end", "abcdef", [none](S s) { return s.Snip(4, 100, none); }, 2, "abcd"},
        {"snip count 0", "abcdef", [none](S s) { return s.Snip(1, 0, none); }, 0, "abcdef"},
        {"snip position at size", "abc", [none](S s) { return s.Snip(3, 1, none); }, 0, "abc"},
        {"ins front", "def", [](S s) { return s.Ins(0, "abc", 3); }, 3, "abcdef"},
        {"ins null bytes", "abc", [](S s) { return s.Ins(1, nullptr, 2); }, 0, "abc"},
        {"jam middle", "abef", [](S s) { return s.Jam(2, 2, '-'); }, 2, "ab--ef"},
        {"jam zero", "ab", [](S s) { return s.Jam(1, 0, '-'); }, 0, "ab"},
        // Beyond the end the size grows by the whole gap (count + gap + 1), unfilled.
        {"jam beyond", "ab", [](S s) { return s.Jam(4, 2, '-'); }, 2, "ab" + Z(5)},
        {"index first", "abc", [](S s) { return s.Index('a'); }, 1, "abc"},
        {"index absent", "abc", [](S s) { return s.Index('z'); }, 0, "abc"},
        {"index empty", "", [](S s) { return s.Index('a'); }, 0, ""},
        {"slam inside", "abcdef", [](S s) { return s.Slam(1, "XY", 2); }, 6, "aXYdef"},
        {"slam extends", "ab", [](S s) { return s.Slam(4, "XY", 2); }, 6, "ab" + Z(2) + "XY"},
        {"slam store", "abcd", [](S s) { return s.Slam(2, ByteStore("xyz", 3)); }, 5, "abxyz"},
        {"slam8", "", [](S s) { return s.Slam8(1, 0x7f); }, 2, std::string("\0\x7f", 2)},
        {"slam16", "", [](S s) { return s.Slam16(0, 0x0102); }, 2, "\x02\x01"},
        {"slammi16", "", [](S s) { return s.SlamMi16(0, 0x0102); }, 2, "\x01\x02"},
        {"slam32", "", [](S s) { return s.Slam32(0, 0x01020304); }, 4, "\x04\x03\x02\x01"},
        {"slammi32", "", [](S s) { return s.SlamMi32(0, 0x01020304); }, 4, "\x01\x02\x03\x04"},
        {"slam nothing beyond extends", "ab", [](S s) { return s.Slam(4, "", 0); }, 4, "ab" + Z(2)},
        {"grow that would wrap fails", "abc", [](S s) { return s.Grow(0xFFFFFFFEu); }, 0, "abc"},
        {"operator[] extends", "", [](S s) { s[3] = 'x'; return s.Size(); }, 4, Z(3) + "x"},
        {"operator[] negative is 0", "abc", [](S s) { s[-5] = 'z'; return s.Size(); }, 3, "zbc"},
        // Length fields over a 10-byte body "bbbbbbbbbb", written at 2.
        {"vli", B10, [](S s) { return s.SlamVli(2, 0); }, 10, "bb" + F("\x0a\0\0\0") + "bbbb"},
        {"vli incl", B10, [](S s) { return s.SlamVliIncl(2, 0); }, 10, "bb" + F("\x08\0\0\0") + "bbbb"},
        {"vli excl", B10, [](S s) { return s.SlamVliExcl(2, 0); }, 10, "bb" + F("\x04\0\0\0") + "bbbb"},
        {"vli excl clamps at 0", B10, [](S s) { return s.SlamVliExcl(2, 100); }, 10, "bb" + Z(4) + "bbbb"},
        {"mi vli", B10, [](S s) { return s.SlamMiVli(2, 0); }, 10, "bb" + F("\0\0\0\x0a") + "bbbb"},
        {"mi vli incl", B10, [](S s) { return s.SlamMiVliIncl(2, 0); }, 10, "bb" + F("\0\0\0\x08") + "bbbb"},
        {"mi vli excl", B10, [](S s) { return s.SlamMiVliExcl(2, 0); }, 10, "bb" + F("\0\0\0\x04") + "bbbb"},
        {"incl on empty", "", [](S s) { return s.SlamVliIncl(0, 0); }, 4, F("\x04\0\0\0")},
        {"vli beyond end", "bbb", [](S s) { return s.SlamVli(4, 0); }, 8, "bbb" + Z(1) + F("\x08\0\0\0")},
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
    EXPECT_EQ(Bytes(cut), "ef") << "emptied first, then the removed bytes";
    EXPECT_EQ(s.Snip(0, 2, &cut), 2u);
    EXPECT_EQ(Bytes(cut), "ab");
}
