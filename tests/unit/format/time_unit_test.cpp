#include <gtest/gtest.h>

#include <limits>

#include "format/TimeUnit.h"

namespace DataTypes {
namespace {

TEST(TimeUnits, Words) {
    const struct { const char* word; TimeUnit unit; const char* name; } cases[] = {
        {nullptr, TIME_UNIT_NONE, "UNKNOWN"}, {"SEC", SECOND, "SECOND"}, {"DAYS", DAY, "DAY"}, {"HR", HOUR, "HOUR"},
        {"HRS", TIME_UNIT_UNKNOWN, "UNKNOWN"}, {"MIN", MINUTE, "MINUTE"}, {"micros", TIME_UNIT_UNKNOWN, "UNKNOWN"},
        {"Seconds", TIME_UNIT_UNKNOWN, "UNKNOWN"}, {"MICROS", MICROSECOND, "MICROSECOND"},
        {"MILLISECONDS", MILLISECOND, "MILLISECOND"},
    };
    for (const auto& k : cases) {
        EXPECT_EQ(getTimeUnit(k.word), k.unit) << (k.word ? k.word : "null");
        EXPECT_EQ(getTimeUnitStr(getTimeUnit(k.word)), k.name) << (k.word ? k.word : "null");
    }
    EXPECT_EQ(getTimeUnitStr(static_cast<TimeUnit>(8)), "UNKNOWN");
}

TEST(TimeUnits, Seconds) {
    const struct { TimeUnit unit; int count; int seconds; } cases[] = {
        {MICROSECOND, 999999, -1}, {MICROSECOND, 1000000, 1}, {MILLISECOND, 999, -1}, {MILLISECOND, 1999, 1},
        {SECOND, 0, 0}, {SECOND, -1, -1}, {MINUTE, 35791394, 2147483640}, {MINUTE, 35791395, -1},
        {HOUR, 596523, 2147482800}, {HOUR, 596524, -1}, {DAY, 24855, 2147472000}, {DAY, 24856, -1},
        {TIME_UNIT_UNKNOWN, 5, -1}, {static_cast<TimeUnit>(8), 5, -1},
    };
    for (const auto& k : cases) EXPECT_EQ(getSeconds(k.unit, k.count), k.seconds) << k.unit << " " << k.count;
}

TEST(TimeUnits, MicrosecondsAndLimits) {
    const long untouched = 77, lo = std::numeric_limits<long>::min(), hi = std::numeric_limits<long>::max();
    const struct { TimeUnit unit; long count; bool ok; long micros; } cases[] = {
        {DAY, -106751991, true, -106751991L * 86400000000L}, {DAY, -106751992, false, untouched},
        {DAY, 106751992, false, untouched}, {HOUR, 2562047788, true, 2562047788L * 3600000000L},
        {SECOND, -3, true, -3000000}, {MICROSECOND, lo, true, lo}, {MICROSECOND, hi, true, hi},
        {TIME_UNIT_UNKNOWN, 1, false, untouched}, {static_cast<TimeUnit>(9), 1, false, untouched},
    };
    for (const auto& k : cases) {
        long r = untouched;
        EXPECT_EQ(getMicroSeconds(k.unit, k.count, r), k.ok) << k.unit << " " << k.count;
        EXPECT_EQ(r, k.micros) << k.unit << " " << k.count;
    }
    // Each limit is the largest count whose microseconds fit 64 bits.
    for (int u = MILLISECOND; u <= DAY; ++u) {
        long perUnit = 0;
        ASSERT_TRUE(getMicroSeconds(static_cast<TimeUnit>(u), 1, perUnit));
        EXPECT_EQ(getTimeUnitMax(static_cast<TimeUnit>(u)), hi / perUnit) << u;
    }
    EXPECT_EQ(getTimeUnitMaxStr(MICROSECOND), "9223372036854775807");
    EXPECT_EQ(getTimeUnitMinStr(MICROSECOND), "-9223372036854775807"); // not the lowest 64-bit value
    EXPECT_EQ(getTimeUnitMinStr(DAY), "-106751991");
    EXPECT_EQ(getTimeUnitMax(TIME_UNIT_NONE), 0);
    EXPECT_EQ(getTimeUnitMaxStr(TIME_UNIT_UNKNOWN) + getTimeUnitMinStr(TIME_UNIT_UNKNOWN), "00");
}

} // namespace
} // namespace DataTypes
