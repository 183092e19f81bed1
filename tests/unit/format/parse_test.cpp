#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "format/DateTimeConversions.h"

namespace DataTypes {
namespace {

enum Kind { Ts, Date, Big };

// Years before 1970, and a mask without a year (1900), go through mktime.
class Parse : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

const long kUntouched = 424242;

struct ParseCase {
    Kind kind;
    const char* text;
    const char* mask;
    bool ok;
    long expected = kUntouched; // a failing read leaves the result alone
};

void expectParses(std::initializer_list<ParseCase> cases) {
    for (const ParseCase& k : cases) {
        long r = kUntouched;
        bool ok = false;
        switch (k.kind) {
        case Ts: ok = TimestampFromString(k.text, k.mask, r); break;
        case Date: ok = DateFromString(k.text, k.mask, r); break;
        case Big: ok = BigDateTimeFromString(k.text, k.mask, r); break;
        }
        const std::string what =
            std::string("text [") + (k.text ? k.text : "null") + "] mask [" + (k.mask ? k.mask : "null") + "]";
        EXPECT_EQ(ok, k.ok) << what;
        EXPECT_EQ(r, k.expected) << what;
    }
}

long yearStart(int year) {
    tm t{};
    t.tm_year = year - 1900;
    t.tm_mday = 1;
    return static_cast<long>(timegm(&t));
}

TEST_F(Parse, ExactAndFillModes) {
    expectParses({
        {Date, "2024/1/5", "YYYY-MM-DD", true, 1704412800}, // any punctuation, short fields
        {Date, " 2024 - 01 - 05 ", "YYYY-MM-DD", true, 1704412800},
        {Date, "2024/1/5", "FXYYYY-MM-DD", false}, {Date, "2024-1-05", "FXYYYY-MM-DD", false},
        {Date, "2024-1-05", "FXFMYYYY-MM-DD", true, 1704412800}, {Date, "2024/1/05", "FXFMYYYY-MM-DD", false},
        {Date, "05x11", "DD MM", true, -2182377600}, // a mask blank eats any one byte
        {Date, "2024-01-05  ", "YYYY-MM-DD", true, 1704412800}, {Date, "2024-01-05  ", "FXYYYY-MM-DD", false},
        {Date, "2024-01-05x", "YYYY-MM-DD", false},            // input left over
        {Date, "2024-01-05", "YYYY-MM-DD ", true, 1704412800}, // the blank steps past the end
        {Date, "2024-01-05", "FXYYYY-MM-DD ", false},
        {Date, "2024-01", "YYYY-MM-DD", false}, // field at the end of the input
        {Date, "2024a01", "YYYY-MM", false},    // a letter is no punctuation
    });
}

TEST_F(Parse, RangesLeapDaysAndFractions) {
    expectParses({
        {Ts, "2024-02-29 12:34:56.789", "YYYY-MM-DD HH24:MI:SS.FF", true, 1709210096789},
        {Big, "2024-02-29 12:34:56.789", "YYYY-MM-DD HH24:MI:SS.FF", true, 1709210096789000},
        {Date, "2024-02-30", "YYYY-MM-DD", true, 1709251200}, // held against 31 only
        {Date, "2024-02-32", "YYYY-MM-DD", false}, {Date, "2024-13-01", "YYYY-MM-DD", false},
        {Date, "2024-00-01", "YYYY-MM-DD", false},
        {Date, "1968-02-29 01:02:03", "YYYY-MM-DD HH24:MI:SS", true, -58057077},
        {Date, "1970-01-01 24:00", "YYYY-MM-DD HH24:MI", false},
        {Date, "1970-01-01 00:60", "YYYY-MM-DD HH24:MI", false},
        {Date, "1970 86399", "YYYY SSSSS", true, 86399}, {Date, "1970 86400", "YYYY SSSSS", false},
        {Date, "2024-01-05 12:30 AM", "YYYY-MM-DD HH12:MI AM", true, 1704414600},
        {Date, "2024-01-05 PM 03", "YYYY-MM-DD pm HH", true, 1704466800},
        {Date, "2024-01-05 13", "YYYY-MM-DD HH12", false},
        {Date, "2024-01-05 15 PM", "YYYY-MM-DD HH24 AM", false}, // each sets the meridian
        {Date, "2024-01-05 PM 15", "YYYY-MM-DD AM HH24", false}, {Date, "2024-01-05 xx", "YYYY-MM-DD AM", false},
        {Big, "1970 01.5", "YYYY SS.FF", true, 1500000}, {Big, "1970 00.123456789", "YYYY SS.FF", true, 123456},
        {Big, "1970 00.123456789", "FXYYYY SS.FF", false}, {Big, "1970 00.123456789", "FXFMYYYY SS.FF", true, 123456},
        {Big, "1970 00.5", "FXYYYY SS.FF", false},
        {Ts, "1970 00.5", "YYYY SS.FF3", false},         // FFn prints but cannot read
        {Date, "12:00", "HH24:MI", true, -2208945600}, // no year: 1900
    });
}

TEST_F(Parse, Names) {
    expectParses({
        {Date, "2024 SEPTEMBER", "YYYY MON", true, 1725148800}, {Date, "2024 sep", "YYYY MON", true, 1725148800},
        {Date, "2024 Sept", "YYYY MON", false}, // the t is left over
        {Date, "2024 sep", "YYYY MONTH", true, 1725148800}, {Date, "2024 sep", "FXYYYY MONTH", false},
        {Date, "2024 SEP", "FXYYYY MON", true, 1725148800}, {Date, "2024 Sep", "FXYYYY MON", false},
        {Date, "2024 viii", "YYYY RM", true, 1722470400}, {Date, "2024 VIII", "FXYYYY RM", true, 1722470400},
        {Date, "2024 viii", "FXYYYY RM", false}, {Date, "2024 viii", "FXYYYY rm", true, 1722470400},
        {Date, "2024 Viii", "FXYYYY Rm", true, 1722470400},
        {Date, "2024 Jan", "YYYY MM", true, 1704067200}, {Date, "2024 Jan", "FXYYYY MM", false},
        {Date, "2024 Monday 05", "YYYY DAY DD", true, 1704412800},
        {Date, "2024 05 Monday", "YYYY DD DAY", false}, // DAY may not follow DD
        {Date, "2024 sunday", "YYYY DY", true, 1704067200},
        {Date, "2024 Jan Feb", "YYYY MON MM", false}, // one month only
    });
}

// The short years are relative to the UTC year of the clock, so the expected
// years are worked out from it: the rows hold in any year.
TEST_F(Parse, YearsRelativeToNow) {
    const time_t now = time(nullptr);
    tm t{};
    gmtime_r(&now, &t);
    const int y = t.tm_year + 1900, c = y / 100 * 100, r = y - c;
    // The RR pivot; in the second half of a century, 00 to 49 give the current
    // year plus the century plus 100, dropping the digits.
    const int rr99 = r < 50 ? c - 100 + 99 : c + 99, rr05 = r < 50 ? c + 5 : y + c + 100;
    expectParses({
        {Date, "99", "RR", true, yearStart(rr99)}, {Date, "05", "RR", true, yearStart(rr05)},
        {Date, "99", "RRRR", true, yearStart(rr99)}, {Date, "199", "RRRR", true, yearStart(199)},
        {Date, "2024", "RRRR", true, 1704067200}, {Date, "5", "FXRRRR", false}, {Date, "x", "RRRR", false},
        {Date, "5", "Y", true, yearStart(y / 10 * 10 + 5)}, {Date, "05", "YY", true, yearStart(c + 5)},
        {Date, "5", "FXYY", false}, {Date, "123", "YYY", true, yearStart(y / 1000 * 1000 + 123)},
        {Date, "12", "YYYY", true, yearStart(12)}, // the year 12, as read
        {Date, "2024 24", "YYYY YY", false},
    });
}

TEST_F(Parse, EpochCounts) {
    expectParses({
        {Ts, "1500000", "MIC", true, 1500}, {Big, "1500000", "MIC", true, 1500000}, {Date, "1500000", "MIC", true, 1},
        {Big, "1500000", "FXMIC", false}, {Big, "0000000001500000", "FXMIC", true, 1500000},
        {Big, "x", "MIC\"x\"", true, 0}, // no digits: zero, and still a success
        {Ts, "100", "SE", true, 100000},
        {Ts, "100.5", "SE.FF", true, 100000}, // the fraction is reset after SE
        {Ts, "-100", "SE", false},            // no sign for SE
        {Ts, "2024 100", "YYYY SE", false}, {Ts, "100 05", "SE SS", false},
        {Ts, "1500.7", "MS.FF", true, 2500}, // FF counts through a carry only
        {Ts, "-1500", "MS", true, -1000},    // truncated; the negative fraction is dropped
        {Ts, "1500 05", "MS SS", false}, {Ts, "1500 100", "MS SE", false},
    });
}

TEST_F(Parse, Zones) {
    expectParses({
        {Date, "1970-01-01 00:00 -05:30", "YYYY-MM-DD HH24:MI TZH:TZM", true, -19800},
        {Date, "1970-01-01 00:00 30 -05", "YYYY-MM-DD HH24:MI TZM TZH", true, -16200},
        {Date, "1970-01-01 12:00 +05", "YYYY-MM-DD HH24:MI TZH", true, 43200 + 18000}, // offset added
        {Date, "1970 x", "YYYY TZH\"x\"", true, -3600}, // no digits: an hour back, no failure
        {Date, "1970 -5", "FXYYYY TZH", false},
        {Date, "1970-01-01 12:00 Nowhere/Land", "YYYY-MM-DD HH24:MI TZR", true, 43200}, // not validated
        {Date, "1970-01-01 12:00 EST", "YYYY-MM-DD HH24:MI TZD", true, 43200 - 18000},
        {Date, "1970-01-01 12:00 XYZ", "YYYY-MM-DD HH24:MI TZD", false}, {Date, "1970 EST +01", "YYYY TZD TZH", false},
        {Ts, "1970-01-01 12:00:00.250 Asia/Kolkata", "YYYY-MM-DD HH24:MI:SS.FF TZR", true, 63000250},
        {Ts, nullptr, "YYYY", false}, {Date, "2024", nullptr, false},
    });
}

// Printing with a mask and reading it back gives the value, at the edges of
// each field: before 1970, leap days, the ends of days and of years.
TEST_F(Parse, RoundTrips) {
    const char* const masks[] = {"FXYYYY-MM-DD HH24:MI:SS", "DD MON YYYY HH12:MI:SS AM", "RM/DD/YYYY SSSSS",
                                 "MONTH DD YYYY HH24 MI SS"};
    for (const char* m : masks)
        for (long v : {0L, -1L, 951782400L, -58057077L, 1735689599L, 4107542399L, -2208988800L}) {
            std::string text;
            DateToString(v, m, "UTC", text);
            long back = 0;
            EXPECT_TRUE(DateFromString(text.c_str(), m, back)) << m << " " << text;
            EXPECT_EQ(back, v) << m << " " << text;
        }
}

} // namespace
} // namespace DataTypes
