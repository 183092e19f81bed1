#include <gtest/gtest.h>

#include <ctime>
#include <memory>

#include <unicode/timezone.h>

#include "format/TimeZones.h"

namespace DataTypes {
namespace {

// ICU's own offset of the zone at a UTC instant, raw plus daylight.
int64_t icuOffset(const char* zone, int64_t utcMillis) {
    std::unique_ptr<icu::TimeZone> tz(icu::TimeZone::createTimeZone(zone));
    int32_t raw = 0, dst = 0;
    UErrorCode status = U_ZERO_ERROR;
    tz->getOffset(static_cast<UDate>(utcMillis), false, raw, dst, status);
    EXPECT_TRUE(U_SUCCESS(status));
    return raw + dst;
}

// Noon UTC on the 15th of every month of every third year from 1991 to 2040:
// far from any change of daylight saving, where the source-side daylight test
// is exact, and after the last change of these zones' raw offsets and savings
// (the conversion uses the present ones; see below).
TEST(Zones, AgreeWithIcuGetOffsetBothWays) {
    for (const char* zone : {"UTC", "America/New_York", "Europe/Berlin", "Asia/Kolkata", "Australia/Sydney",
                             "America/St_Johns", "Pacific/Chatham", "Asia/Tokyo", "Europe/London"})
        for (int year = 1991; year <= 2040; year += 3)
            for (int mon = 0; mon < 12; ++mon) {
                tm t{};
                t.tm_year = year - 1900;
                t.tm_mon = mon;
                t.tm_mday = 15;
                t.tm_hour = 12;
                const int64_t utc = static_cast<int64_t>(timegm(&t)) * 1000;
                const int64_t local = utc + icuOffset(zone, utc);
                long r = 0;
                ASSERT_TRUE(toTimeZone(utc * 1000 + 789, "UTC", zone, r)) << zone << " " << utc;
                ASSERT_EQ(r, local * 1000) << "UTC to " << zone << " at " << utc;
                ASSERT_TRUE(toTimeZone(local * 1000, zone, nullptr, r)) << zone;
                ASSERT_EQ(r, utc * 1000) << zone << " to UTC at " << utc;
            }
}

// The daylight shift added is the zone's present getDSTSavings, so where a zone
// has given up daylight saving its past summers convert at the raw offset:
// ICU says +10 for Tokyo in July 1950, the conversion +9.
TEST(Zones, PastDaylightSavingOfZonesWithoutItToday) {
    const int64_t utc = -614260800000;
    ASSERT_EQ(icuOffset("Asia/Tokyo", utc), 10 * 3600000);
    long r = 0;
    EXPECT_TRUE(toTimeZone(utc * 1000, nullptr, "Asia/Tokyo", r));
    EXPECT_EQ(r, (utc + 9 * 3600000) * 1000);
}

TEST(Zones, ToTimeZoneEdges) {
    const struct { long in; const char* from; const char* to; bool ok; long out; } cases[] = {
        {123456789, "UTC", "UTC", true, 123456000},       // the last three digits are lost
        {-123456789, nullptr, nullptr, true, -123456000}, // towards zero
        {0, "utc", nullptr, false, 0},                    // not ICU's spelling: still computed
        {0, nullptr, "Nowhere/Land", false, 0},           // ICU's fallback zone is at offset 0
        {0, "Asia/Kolkata", "Asia/Kolkata", true, 0},
    };
    for (const auto& k : cases) {
        long r = 42;
        EXPECT_EQ(toTimeZone(k.in, k.from, k.to, r), k.ok) << k.in << " " << (k.from ? k.from : "null");
        EXPECT_EQ(r, k.out) << k.in << " " << (k.from ? k.from : "null");
    }
}

TEST(Zones, Validity) {
    const struct { const char* zone; bool valid; } cases[] = {
        {nullptr, true}, {"", true}, {"UTC", true}, {"America/New_York", true}, {"america/new_york", false},
        {"Nowhere/Land", false}, {"utc", false}, {"Europe/Berlin ", false}, {"\xff", false},
    };
    for (const auto& k : cases) EXPECT_EQ(isValidTimezone(k.zone), k.valid) << (k.zone ? k.zone : "null");
}

} // namespace
} // namespace DataTypes
