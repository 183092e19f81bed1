#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "format/Calendar.h"

namespace DataTypes {
namespace {

tm makeTm(int year, int mon, int mday, int hour = 0, int min = 0, int sec = 0) {
    tm t{};
    t.tm_year = year - 1900;
    t.tm_mon = mon - 1;
    t.tm_mday = mday;
    t.tm_hour = hour;
    t.tm_min = min;
    t.tm_sec = sec;
    return t;
}

// The six fields as "Y-M-D h:m:s", month 1-based, so one comparison shows them all.
std::string fields(const tm& t) {
    return std::to_string(t.tm_year + 1900) + "-" + std::to_string(t.tm_mon + 1) + "-" + std::to_string(t.tm_mday) +
           " " + std::to_string(t.tm_hour) + ":" + std::to_string(t.tm_min) + ":" + std::to_string(t.tm_sec);
}

void setTz(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

TEST(Tm2sec, AgreesWithTimegmForEveryDayFrom1970To2100) {
    tm last = makeTm(2100, 12, 31);
    const long lastDay = static_cast<long>(timegm(&last)) / 86400;
    for (long day = 0; day <= lastDay; ++day) {
        // A different time of day each day, so every field takes part.
        time_t s = day * 86400 + (day * 7919) % 86400;
        tm t{};
        gmtime_r(&s, &t);
        ASSERT_EQ(tm2sec(&t), static_cast<long>(s)) << "day " << day;
    }
}

TEST(Tm2sec, Edges) {
    setTz("UTC");
    const struct { tm t; long seconds; } cases[] = {
        {makeTm(2000, 2, 30, 25, 61, 61), 951962521},  // fields beyond their range add up
        {makeTm(1970, 1, 1, 0, 0, -1), -1},
        {makeTm(1970, 13, 1), -1},  // month 12 is refused from 1970 on...
        {makeTm(1969, 13, 1), 0},   // ...but mktime normalises it before
        {makeTm(1901, 2, 28, 23, 59, 58), -2172355202},
    };
    for (const auto& c : cases) {
        tm t = c.t;
        EXPECT_EQ(tm2sec(&t), c.seconds) << fields(c.t);
        EXPECT_EQ(t.tm_mon, c.t.tm_mon) << "the caller's record is left alone";
    }
    tm noisy = makeTm(2024, 2, 29, 12);  // fields other than the six are not read
    noisy.tm_wday = 99;
    noisy.tm_yday = -5;
    noisy.tm_isdst = 1;
    EXPECT_EQ(tm2sec(&noisy), 1709208000);
    EXPECT_EQ(tm2sec(nullptr), -1);

    setTz("EST5");  // before 1970 it is local time: midnight UTC is 19:00 the day before
    tm t = makeTm(1969, 12, 31, 19);
    EXPECT_EQ(tm2sec(&t), 0);
    t = makeTm(1970, 1, 1);
    EXPECT_EQ(tm2sec(&t), 0);
    setTz("UTC");
}

// Under TZ=UTC tm2sec counts the years before 1970 itself instead of asking
// mktime; whatever the record, the answer must be mktime's.
TEST(Tm2sec, BeforeTheEpochUnderUtcIsWhatMktimeSays) {
    setTz("UTC");
    uint64_t state = 88172645463325252ull;
    auto next = [&state](long lo, long hi) {  // xorshift: the same records every run
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return lo + static_cast<long>(state % static_cast<uint64_t>(hi - lo + 1));
    };
    int mismatches = 0;
    for (int i = 0; i < 60000 && mismatches < 10; ++i) {
        tm t{};
        // Mostly the fields strptime gives, now and then one out of range or a
        // daylight-saving claim, which must still come out as mktime has them.
        const bool wild = i % 8 == 0;
        t.tm_year = static_cast<int>(next(-1900, 69));
        t.tm_mon = static_cast<int>(wild ? next(-13, 25) : next(0, 11));
        t.tm_mday = static_cast<int>(wild ? next(-40, 70) : next(1, 31));
        t.tm_hour = static_cast<int>(wild ? next(-30, 50) : next(0, 23));
        t.tm_min = static_cast<int>(wild ? next(-70, 130) : next(0, 59));
        t.tm_sec = static_cast<int>(wild ? next(-70, 130) : next(0, 61));
        t.tm_isdst = wild ? static_cast<int>(next(-1, 1)) : 0;
        tm copy = t;
        const long want = static_cast<long>(mktime(&copy));
        if (tm2sec(&t) != want) {
            ++mismatches;
            ADD_FAILURE() << fields(t) << " isdst " << t.tm_isdst << ": mktime " << want << ", tm2sec " << tm2sec(&t);
        }
    }
    EXPECT_EQ(0, mismatches);
    // Any other zone is still mktime's.
    tm t = makeTm(1969, 12, 31, 23, 59, 59);
    setTz("EST5");
    EXPECT_EQ(tm2sec(&t), 17999);
    setTz("UTC");
}

struct ParseCase {
    const char *format, *input;
    int consumed;                  // bytes of input used, -1 for failure
    const char* fields = nullptr;  // as fields() prints them
};

TEST(Strptime, Conversions) {
    const ParseCase cases[] = {
        // Defaults are 1970-01-01 00:00:00; trailing input is fine.
        {"", "anything", 0, "1970-1-1 0:0:0"},
        {"%Y-%m-%dT%H:%M:%S", "2024-01-02T03:04:05.678", 19, "2024-1-2 3:4:5"},
        {"%Y-%m-%d", "2024-02-30", 10, "2024-2-30 0:0:0"},  // day only held against 31
        {"%Y", "0", 1, "0-1-1 0:0:0"},
        {"%Y", "12345", 4, "1234-1-1 0:0:0"},    // at most four digits
        {"%m%d", "231", 3, "1970-2-31 0:0:0"},   // "2" then "31": 23 can't be a month
        {"%m", "13", -1},
        {"%d", " 5", -1},  // the first byte must be a digit
        {"%S", "61", 2, "1970-1-1 0:0:61"},
        // White space in the format takes any run of it, none included.
        {"%H %M%n%S%t!", "01    02\n\t03 !", 14, "1970-1-1 1:2:3"},
        {"x%%y", "x%y", 3, "1970-1-1 0:0:0"},
        {"%", "x", -1},
        {"%q", "x", -1},
        // Two-digit years pivot at 68/69; %C is n * 100 in tm_year and combines with %y.
        {"%y", "68", 2, "2068-1-1 0:0:0"},
        {"%y", "69", 2, "1969-1-1 0:0:0"},
        {"%C%y", "1905", 4, "3805-1-1 0:0:0"},
        {"%y%C", "0519", 4, "3805-1-1 0:0:0"},
        // 12-hour clock; %p must end the input.
        {"%I %p", "12 PM", 5, "1970-1-1 12:0:0"},
        {"%I %p", "12 am", 5, "1970-1-1 0:0:0"},
        {"%H %p", "13 PM", -1},
        {"%k", "23", 2, "1970-1-1 23:0:0"},
        {"%l", "12", 2, "1970-1-1 0:0:0"},
        {"%p", "XM", -1},
        // Modifiers: E and O where the conversion takes them, both for %y only.
        {"%Ey", "24", 2, "2024-1-1 0:0:0"},
        {"%Oy", "24", 2, "2024-1-1 0:0:0"},
        {"%OH", "07", 2, "1970-1-1 7:0:0"},
        {"%Oe", "07", 2, "1970-1-7 0:0:0"},
        {"%EH", "07", -1},
        {"%Ee", "07", -1},
        {"%EOy", "24", -1},
        // Names: English, any case, full or short.
        {"%b %d", "feb 29", 6, "1970-2-29 0:0:0"},  // "February" fails, "Feb" fits
        {"%h-%Y", "May-2020", 8, "2020-5-1 0:0:0"},
        {"%b", "Mai", -1},
        // Composites start over: what came before is lost.
        {"%T %Y", "10:20:30 2024", 13, "2024-1-1 10:20:30"},
        {"%D", "12/31/99", 8, "1999-12-31 0:0:0"},
        {"%c", "12/31/99 10:20:30", 17, "1970-1-1 10:20:30"},  // its %X drops its own %x
        {"%r", "01:02:03 PM", 11, "1970-1-1 13:2:3"},
        {"%OT", "10:20:30", -1},
    };
    for (const ParseCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "format \"" << c.format << "\" input \"" << c.input << '"');
        tm t;
        std::memset(&t, 0x55, sizeof t);
        const char* end = DataTypes::strptime(c.input, c.format, &t);
        if (c.consumed < 0) {
            EXPECT_EQ(end, nullptr);
            continue;
        }
        ASSERT_NE(end, nullptr);
        EXPECT_EQ(end - c.input, c.consumed);
        EXPECT_EQ(fields(t), c.fields);
    }
}

TEST(Strptime, FieldsOutsideTheDate) {
    tm t;
    ASSERT_NE(DataTypes::strptime("Wednesday 3", "%A %w", &t), nullptr);
    EXPECT_EQ(t.tm_wday, 3);
    ASSERT_NE(DataTypes::strptime("366", "%j", &t), nullptr);
    EXPECT_EQ(t.tm_yday, 365);
    EXPECT_STREQ(DataTypes::strptime("53 00x", "%U %W", &t), "x");  // week numbers are read and dropped
    EXPECT_EQ(DataTypes::strptime("7", "%w", &t), nullptr);
    EXPECT_EQ(DataTypes::strptime("367", "%j", &t), nullptr);
    EXPECT_EQ(DataTypes::strptime("54", "%U", &t), nullptr);
    EXPECT_EQ(DataTypes::strptime(nullptr, "%U", &t), nullptr);
    EXPECT_EQ(DataTypes::strptime("54", nullptr, &t), nullptr);
}

// Where the C library's strptime reads the same text differently, on purpose.
TEST(Strptime, DiffersFromTheCLibraryWhereItMeansTo) {
    // Composites reset the record: the C library keeps the year before %T.
    tm ours, theirs{};
    ASSERT_NE(DataTypes::strptime("2024 10:20:30", "%Y %T", &ours), nullptr);
    ASSERT_NE(::strptime("2024 10:20:30", "%Y %T", &theirs), nullptr);
    EXPECT_EQ(fields(ours), "1970-1-1 10:20:30");
    EXPECT_EQ(fields(theirs), "2024-1-0 10:20:30");

    // %p must end the input; the C library reads the two letters and goes on.
    theirs = tm{};
    EXPECT_EQ(DataTypes::strptime("10:20 PM!", "%I:%M %p!", &ours), nullptr);
    ASSERT_NE(::strptime("10:20 PM!", "%I:%M %p!", &theirs), nullptr);
    EXPECT_EQ(theirs.tm_hour, 22);

    // Every call starts from 1970-01-01; the C library leaves unparsed fields alone.
    std::memset(&ours, 0x7F, sizeof ours);
    theirs = tm{};
    theirs.tm_year = 99;
    ASSERT_NE(DataTypes::strptime("10", "%H", &ours), nullptr);
    ASSERT_NE(::strptime("10", "%H", &theirs), nullptr);
    EXPECT_EQ(fields(ours), "1970-1-1 10:0:0");
    EXPECT_EQ(fields(theirs), "1999-1-0 10:0:0");
}

// Ordinary timestamps read the same as with the C library.
TEST(Strptime, AgreesWithTheCLibraryOnPlainTimestamps) {
    char text[64];
    const char* format = "%Y-%m-%dT%H:%M:%S %b %a";
    for (long s = -2208988800L; s < 4102444800L; s += 86400L * 97 + 3671) {
        time_t when = s;
        tm utc{};
        gmtime_r(&when, &utc);
        strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S %b %a %I %p", &utc);
        tm ours, theirs{};
        const char* end = DataTypes::strptime(text, format, &ours);
        ASSERT_NE(end, nullptr) << text;
        ASSERT_EQ(end, ::strptime(text, format, &theirs)) << text;
        EXPECT_EQ(fields(ours), fields(theirs)) << text;
        EXPECT_EQ(ours.tm_wday, utc.tm_wday) << text;
        if (utc.tm_year >= 70) {
            EXPECT_EQ(tm2sec(&ours), s) << text;
        }
    }
}

TEST(Split, TimestampAndBigdatetime) {
    const struct { bool big; const char *text, *whole, *fraction; } cases[] = {
        {false, "12:00:00", "12:00:00", "000"},
        {false, "", "", "000"},
        {false, "12:00:00.", "12:00:00", "000"},
        {false, "12:00:00.5", "12:00:00", "500"},
        {false, "12:00:00.98765", "12:00:00", "987"},
        {false, "1.2.3", "1.2", "300"},
        {false, "1. 5 6", "1", "560"},
        {false, ".ab\tc d", "", "abc"},
        {true, "1.1234567", "1", "123456"},
        {true, "x.12", "x", "120000"},
    };
    for (const auto& c : cases) {
        char* whole = nullptr;
        char* fraction = nullptr;
        ASSERT_TRUE((c.big ? splitBigdatetime : splitTimestamp)(c.text, whole, fraction)) << c.text;
        EXPECT_STREQ(whole, c.whole) << '"' << c.text << '"';
        EXPECT_STREQ(fraction, c.fraction) << '"' << c.text << '"';
        std::free(whole);
        std::free(fraction);
    }
}

TEST(DateFormat, StartsAsDefaultAndIsReplacedByCopies) {
    EXPECT_STREQ(g_date_format, "%Y-%m-%dT%H:%M:%S");
    EXPECT_STREQ(g_time_format, "%H:%M:%S");
    EXPECT_FALSE(g_date_format_allocated);
    char first[] = "%d.%m.%Y", second[] = "%Y%m%d", original[] = "%Y-%m-%dT%H:%M:%S";
    setDateFormat(first);
    EXPECT_TRUE(g_date_format_allocated);
    EXPECT_NE(g_date_format, first);
    setDateFormat(second);  // frees the first copy (the sanitizer build would see a leak)
    setDateFormat(nullptr);
    EXPECT_STREQ(g_date_format, "%Y%m%d");
    setDateFormat(original);
}

} // namespace
} // namespace DataTypes
