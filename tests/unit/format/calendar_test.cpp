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

void setTz(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

// ---- tm2sec ---------------------------------------------------------------------

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
    struct Case {
        tm t;
        long seconds;
    };
    const Case cases[] = {
        {makeTm(1970, 1, 1), 0},
        {makeTm(2000, 3, 1), 951868800},
        {makeTm(2000, 2, 30, 25, 61, 61), 951962521},  // fields beyond their range add up
        {makeTm(1970, 1, 1, 0, 0, -1), -1},
        {makeTm(1970, 13, 1), -1},  // month 12 is refused from 1970 on...
        {makeTm(1969, 13, 1), 0},   // ...but mktime normalises it before
        {makeTm(1969, 12, 31, 23, 59, 59), -1},
        {makeTm(1901, 2, 28, 23, 59, 58), -2172355202},
        {makeTm(1968, 3, 1), -57974400},
    };
    for (const Case& c : cases) {
        tm t = c.t;
        EXPECT_EQ(tm2sec(&t), c.seconds) << t.tm_year << "-" << t.tm_mon << "-" << t.tm_mday;
        EXPECT_EQ(t.tm_mon, c.t.tm_mon) << "the caller's record is left alone";
    }
    // Fields other than the six are not read from 1970 on.
    tm noisy = makeTm(2024, 2, 29, 12);
    noisy.tm_wday = 99;
    noisy.tm_yday = -5;
    noisy.tm_isdst = 1;
    EXPECT_EQ(tm2sec(&noisy), 1709208000);
    EXPECT_EQ(tm2sec(nullptr), -1);
}

TEST(Tm2sec, BeforeTheEpochItIsLocalTime) {
    // Five hours west, midnight UTC is 19:00 the day before.
    setTz("EST5");
    tm t = makeTm(1969, 12, 31, 19);
    EXPECT_EQ(tm2sec(&t), 0);
    t = makeTm(1970, 1, 1);
    EXPECT_EQ(tm2sec(&t), 0);
    setTz("UTC");
}

// ---- strptime -----------------------------------------------------------------------

struct ParseCase {
    const char* format;
    const char* input;
    int consumed;  // bytes of input used, -1 for failure
    // Expected fields on success: year (full), month (1-12), day, hour, minute, second.
    int year = 0, mon = 0, mday = 0, hour = 0, min = 0, sec = 0;
};

void checkParse(const ParseCase& c) {
    SCOPED_TRACE(testing::Message() << "format \"" << c.format << "\" input \"" << c.input << '"');
    tm t;
    std::memset(&t, 0x55, sizeof t);
    const char* end = DataTypes::strptime(c.input, c.format, &t);
    if (c.consumed < 0) {
        EXPECT_EQ(end, nullptr);
        return;
    }
    ASSERT_NE(end, nullptr);
    EXPECT_EQ(end - c.input, c.consumed);
    EXPECT_EQ(t.tm_year + 1900, c.year);
    EXPECT_EQ(t.tm_mon + 1, c.mon);
    EXPECT_EQ(t.tm_mday, c.mday);
    EXPECT_EQ(t.tm_hour, c.hour);
    EXPECT_EQ(t.tm_min, c.min);
    EXPECT_EQ(t.tm_sec, c.sec);
}

TEST(Strptime, Conversions) {
    const ParseCase cases[] = {
        // Defaults are 1970-01-01 00:00:00; trailing input is fine.
        {"", "anything", 0, 1970, 1, 1, 0, 0, 0},
        {"%Y-%m-%dT%H:%M:%S", "2024-01-02T03:04:05.678", 19, 2024, 1, 2, 3, 4, 5},
        {"%Y-%m-%d", "2024-02-30", 10, 2024, 2, 30, 0, 0, 0},  // day only held against 31
        {"%Y", "0", 1, 0, 1, 1, 0, 0, 0},
        {"%Y", "12345", 4, 1234, 1, 1, 0, 0, 0},  // at most four digits
        {"%m%d", "1231", 4, 1970, 12, 31, 0, 0, 0},
        {"%m%d", "231", 3, 1970, 2, 31, 0, 0, 0},   // "2" then "31": 23 can't be a month
        {"%m", "13", -1},
        {"%d", " 5", -1},  // the first byte must be a digit
        {"%S", "61", 2, 1970, 1, 1, 0, 0, 61},
        {"%S", "62", -1},
        // White space in the format takes any run of it, none included.
        {"%H %M", "01    02", 8, 1970, 1, 1, 1, 2, 0},
        {"%H%n%M%t%S", "01\n\t02 03", 9, 1970, 1, 1, 1, 2, 3},
        {"x%%y", "x%y", 3, 1970, 1, 1, 0, 0, 0},
        {"%", "x", -1},
        {"%E", "x", -1},
        {"%q", "x", -1},
        // Two-digit years pivot at 68/69.
        {"%y", "68", 2, 2068, 1, 1, 0, 0, 0},
        {"%y", "69", 2, 1969, 1, 1, 0, 0, 0},
        // %C: the first use is n * 100 in tm_year; with %y it combines.
        {"%C", "20", 2, 3900, 1, 1, 0, 0, 0},
        {"%C%y", "1905", 4, 3805, 1, 1, 0, 0, 0},
        {"%y%C", "0519", 4, 3805, 1, 1, 0, 0, 0},
        // 12-hour clock.
        {"%I %p", "12 PM", 5, 1970, 1, 1, 12, 0, 0},
        {"%I %p", "12 am", 5, 1970, 1, 1, 0, 0, 0},
        {"%I %p", "11 pM", 5, 1970, 1, 1, 23, 0, 0},
        {"%H %p", "13 PM", -1},
        {"%p", "XM", -1},
        // Modifiers: E and O where the conversion takes them, both for %y only.
        {"%Ey", "24", 2, 2024, 1, 1, 0, 0, 0},
        {"%Oy", "24", 2, 2024, 1, 1, 0, 0, 0},
        {"%OH", "07", 2, 1970, 1, 1, 7, 0, 0},
        {"%Oe", "07", 2, 1970, 1, 7, 0, 0, 0},
        {"%EH", "07", -1},
        {"%Ee", "07", -1},
        {"%OY", "1999", -1},
        {"%E%", "%", -1},
        {"%EOy", "24", -1},
        // Names: English, any case, full or short.
        {"%b %d", "feb 29", 6, 1970, 2, 29, 0, 0, 0},
        {"%h-%Y", "May-2020", 8, 2020, 5, 1, 0, 0, 0},
        {"%b", "Sept", 3, 1970, 9, 1, 0, 0, 0},
        {"%b", "Mai", -1},
        // Composites start over: what came before is lost.
        {"%Y %T", "2024 10:20:30", 13, 1970, 1, 1, 10, 20, 30},
        {"%T %Y", "10:20:30 2024", 13, 2024, 1, 1, 10, 20, 30},
        {"%D", "12/31/99", 8, 1999, 12, 31, 0, 0, 0},
        {"%x %R", "12/31/99 10:20", 14, 1970, 1, 1, 10, 20, 0},
        {"%c", "12/31/99 10:20:30", 17, 1970, 1, 1, 10, 20, 30},  // its %X drops its own %x
        {"%r", "01:02:03 PM", 11, 1970, 1, 1, 13, 2, 3},
        {"%OT", "10:20:30", -1},
    };
    for (const ParseCase& c : cases) checkParse(c);
}

TEST(Strptime, FieldsOutsideTheDate) {
    tm t;
    ASSERT_NE(DataTypes::strptime("Wednesday 3", "%A %w", &t), nullptr);
    EXPECT_EQ(t.tm_wday, 3);
    ASSERT_NE(DataTypes::strptime("thu", "%a", &t), nullptr);
    EXPECT_EQ(t.tm_wday, 4);
    EXPECT_EQ(DataTypes::strptime("7", "%w", &t), nullptr);
    ASSERT_NE(DataTypes::strptime("366", "%j", &t), nullptr);
    EXPECT_EQ(t.tm_yday, 365);
    EXPECT_EQ(DataTypes::strptime("367", "%j", &t), nullptr);
    // Week numbers are read and dropped.
    const char* in = "53 00x";
    const char* end = DataTypes::strptime(in, "%U %W", &t);
    ASSERT_NE(end, nullptr);
    EXPECT_STREQ(end, "x");
    EXPECT_EQ(DataTypes::strptime("54", "%U", &t), nullptr);
    EXPECT_EQ(DataTypes::strptime(nullptr, "%U", &t), nullptr);
    EXPECT_EQ(DataTypes::strptime("54", nullptr, &t), nullptr);
}

// Where the C library's strptime reads the same text differently, on purpose.
TEST(Strptime, DiffersFromTheCLibraryWhereItMeansTo) {
    tm ours, theirs;

    // Composites reset the record: the C library keeps the year before %T.
    std::memset(&theirs, 0, sizeof theirs);
    ASSERT_NE(DataTypes::strptime("2024 10:20:30", "%Y %T", &ours), nullptr);
    ASSERT_NE(::strptime("2024 10:20:30", "%Y %T", &theirs), nullptr);
    EXPECT_EQ(ours.tm_year, 70);
    EXPECT_EQ(theirs.tm_year, 124);
    EXPECT_EQ(ours.tm_hour, theirs.tm_hour);

    // %p must end the input; the C library reads the two letters and goes on.
    std::memset(&theirs, 0, sizeof theirs);
    EXPECT_EQ(DataTypes::strptime("10:20 PM!", "%I:%M %p!", &ours), nullptr);
    ASSERT_NE(::strptime("10:20 PM!", "%I:%M %p!", &theirs), nullptr);
    EXPECT_EQ(theirs.tm_hour, 22);

    // Every call starts from 1970-01-01; the C library leaves unparsed fields alone.
    std::memset(&ours, 0x7F, sizeof ours);
    std::memset(&theirs, 0, sizeof theirs);
    theirs.tm_year = 99;
    ASSERT_NE(DataTypes::strptime("10", "%H", &ours), nullptr);
    ASSERT_NE(::strptime("10", "%H", &theirs), nullptr);
    EXPECT_EQ(ours.tm_year, 70);
    EXPECT_EQ(ours.tm_mday, 1);
    EXPECT_EQ(theirs.tm_year, 99);
}

// Ordinary timestamps read the same as with the C library.
TEST(Strptime, AgreesWithTheCLibraryOnPlainTimestamps) {
    char text[64];
    for (long s = -2208988800L; s < 4102444800L; s += 86400L * 97 + 3671) {
        time_t when = s;
        tm utc{};
        gmtime_r(&when, &utc);
        strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S %b %a %I %p", &utc);
        const char* format = "%Y-%m-%dT%H:%M:%S %b %a";
        tm ours, theirs{};
        const char* a = DataTypes::strptime(text, format, &ours);
        const char* b = ::strptime(text, format, &theirs);
        ASSERT_NE(a, nullptr) << text;
        ASSERT_EQ(a, b) << text;
        EXPECT_EQ(ours.tm_year, theirs.tm_year) << text;
        EXPECT_EQ(ours.tm_mon, theirs.tm_mon) << text;
        EXPECT_EQ(ours.tm_mday, theirs.tm_mday) << text;
        EXPECT_EQ(ours.tm_hour, theirs.tm_hour) << text;
        EXPECT_EQ(ours.tm_min, theirs.tm_min) << text;
        EXPECT_EQ(ours.tm_sec, theirs.tm_sec) << text;
        EXPECT_EQ(ours.tm_wday, utc.tm_wday) << text;
        if (utc.tm_year >= 70) {
            EXPECT_EQ(tm2sec(&ours), s) << text;
        }
    }
}

// ---- Splitting ------------------------------------------------------------------------

struct SplitCase {
    const char* text;
    const char* whole;
    const char* fraction;
};

void checkSplit(bool (*split)(const char*, char*&, char*&), const SplitCase& c) {
    char* whole = nullptr;
    char* fraction = nullptr;
    ASSERT_TRUE(split(c.text, whole, fraction)) << c.text;
    EXPECT_STREQ(whole, c.whole) << '"' << c.text << '"';
    EXPECT_STREQ(fraction, c.fraction) << '"' << c.text << '"';
    std::free(whole);
    std::free(fraction);
}

TEST(Split, Timestamp) {
    const SplitCase cases[] = {
        {"12:00:00", "12:00:00", "000"},
        {"", "", "000"},
        {"12:00:00.", "12:00:00", "000"},
        {"12:00:00.5", "12:00:00", "500"},
        {"12:00:00.98765", "12:00:00", "987"},
        {"1.2.3", "1.2", "300"},
        {"1. 5 6", "1", "560"},
        {".ab\tc d", "", "abc"},
    };
    for (const SplitCase& c : cases) checkSplit(splitTimestamp, c);
}

TEST(Split, Bigdatetime) {
    const SplitCase cases[] = {
        {"1.1234567", "1", "123456"},
        {"x.12", "x", "120000"},
        {"no point", "no point", "000000"},
    };
    for (const SplitCase& c : cases) checkSplit(splitBigdatetime, c);
}

// ---- Global formats ---------------------------------------------------------------------

TEST(DateFormat, StartsAsDefaultAndIsReplacedByCopies) {
    EXPECT_STREQ(g_date_format, "%Y-%m-%dT%H:%M:%S");
    EXPECT_STREQ(g_time_format, "%H:%M:%S");
    EXPECT_FALSE(g_date_format_allocated);
    char first[] = "%d.%m.%Y";
    setDateFormat(first);
    EXPECT_TRUE(g_date_format_allocated);
    EXPECT_NE(g_date_format, first);
    EXPECT_STREQ(g_date_format, "%d.%m.%Y");
    char second[] = "%Y%m%d";
    setDateFormat(second);  // frees the first copy (the sanitizer build would see a leak)
    EXPECT_STREQ(g_date_format, "%Y%m%d");
    setDateFormat(nullptr);
    EXPECT_STREQ(g_date_format, "%Y%m%d");
    char original[] = "%Y-%m-%dT%H:%M:%S";
    setDateFormat(original);
}

} // namespace
} // namespace DataTypes
