// The direct route of date cells against the text round trip that defines
// them: the same DataValue, byte for byte, for every family and for fields
// in and far outside their ranges, in a UTC and in a daylight-saving zone.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string>

#include "driver/internal/DateCell.h"

namespace {

using DataTypes::DataValue;
using KORVEL::Orl::DB::internal::dateValue;
using KORVEL::Orl::DB::internal::dateValueByText;

// The zone of the process for one scope; pre-1970 dates follow it.
class ZoneScope {
public:
    explicit ZoneScope(const char* zone) {
        const char* old = std::getenv("TZ");
        hadOld = old != nullptr;
        if (hadOld) oldZone = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ZoneScope() {
        if (hadOld) setenv("TZ", oldZone.c_str(), 1);
        else unsetenv("TZ");
        tzset();
    }

private:
    bool hadOld = false;
    std::string oldZone;
};

std::string describe(unsigned int type, const TIMESTAMP_STRUCT& f) {
    return "type " + std::to_string(type) + " fields " + std::to_string(f.year) + "-" + std::to_string(f.month) +
           "-" + std::to_string(f.day) + " " + std::to_string(f.hour) + ":" + std::to_string(f.minute) + ":" +
           std::to_string(f.second) + " fraction " + std::to_string(f.fraction);
}

// Both routes from the same starting bytes: a failed parse leaves the value
// as it was, and that must show too.
bool sameBothWays(unsigned int type, const TIMESTAMP_STRUCT& f) {
    DataValue viaText, direct;
    std::memset(static_cast<void*>(&viaText), 0x5A, sizeof viaText);
    viaText.isNull = false;
    std::memcpy(static_cast<void*>(&direct), &viaText, sizeof viaText);
    dateValueByText(type, f, viaText);
    dateValue(type, f, direct);
    if (std::memcmp(&viaText, &direct, sizeof viaText) == 0) return true;
    ADD_FAILURE() << describe(type, f) << ": text " << viaText.int64Value << " (null " << viaText.isNull
                  << "), direct " << direct.int64Value << " (null " << direct.isNull << ")";
    return false;
}

// Each field from its edges, from its printed range, or from anywhere in its
// width; the edges are where printing, parsing and the calendar part ways.
class FieldSource {
public:
    explicit FieldSource(uint32_t seed) : rng(seed) {}

    TIMESTAMP_STRUCT next() {
        TIMESTAMP_STRUCT f;
        f.year = static_cast<SQLSMALLINT>(pick({-32768, -1, 0, 1, 1899, 1900, 1969, 1970, 1971, 2000, 2038, 9999,
                                                10000, 32767},
                                               1970, 9999, -32768, 32767));
        f.month = static_cast<SQLUSMALLINT>(pick({0, 1, 2, 3, 11, 12, 13, 65535}, 1, 12, 0, 65535));
        f.day = static_cast<SQLUSMALLINT>(pick({0, 1, 28, 29, 30, 31, 32, 99, 100}, 1, 31, 0, 65535));
        f.hour = static_cast<SQLUSMALLINT>(pick({0, 23, 24, 99, 100}, 0, 23, 0, 65535));
        f.minute = static_cast<SQLUSMALLINT>(pick({0, 59, 60, 99, 100}, 0, 59, 0, 65535));
        f.second = static_cast<SQLUSMALLINT>(pick({0, 59, 60, 61, 62, 99, 100}, 0, 61, 0, 65535));
        f.fraction = static_cast<SQLUINTEGER>(pickWide({0, 999, 1000, 999999, 1000000, 999999999, 1000000000,
                                                        4294967295u},
                                                       0, 999999999));
        return f;
    }

private:
    long pick(std::initializer_list<long> edges, long lo, long hi, long anyLo, long anyHi) {
        switch (rng() % 8) {
        case 0:
        case 1:
            return *(edges.begin() + rng() % edges.size());
        case 2:
            return anyLo + static_cast<long>(rng() % static_cast<unsigned long>(anyHi - anyLo + 1));
        default:
            return lo + static_cast<long>(rng() % static_cast<unsigned long>(hi - lo + 1));
        }
    }
    unsigned long pickWide(std::initializer_list<unsigned long> edges, unsigned long lo, unsigned long hi) {
        switch (rng() % 8) {
        case 0:
        case 1:
            return *(edges.begin() + rng() % edges.size());
        case 2:
            return static_cast<uint32_t>(rng());
        default:
            return lo + rng() % (hi - lo + 1);
        }
    }

    std::mt19937_64 rng;
};

const unsigned int kFamilies[] = {4, 8, 27};

TEST(DateCell, DirectRouteMatchesTheTextRouteForGeneratedFields) {
    for (const char* zone : {"UTC", "America/New_York"}) {
        ZoneScope scope(zone);
        FieldSource source(20261123);
        int mismatches = 0;
        for (int i = 0; i < 60000 && mismatches < 10; ++i) {
            const TIMESTAMP_STRUCT f = source.next();
            for (unsigned int type : kFamilies)
                if (!sameBothWays(type, f)) ++mismatches;
        }
        EXPECT_EQ(0, mismatches) << zone;
    }
}

// A time column arrives as 1970-01-01 with the time's fields and no fraction.
TEST(DateCell, DirectRouteMatchesTheTextRouteForEveryTimeOfDay) {
    ZoneScope scope("UTC");
    int mismatches = 0;
    for (unsigned int second = 0; second < 24 * 3600 && mismatches < 10; second += 7) {
        const TIMESTAMP_STRUCT f{1970, 1, 1, static_cast<SQLUSMALLINT>(second / 3600),
                                 static_cast<SQLUSMALLINT>(second / 60 % 60), static_cast<SQLUSMALLINT>(second % 60), 0};
        for (unsigned int type : kFamilies)
            if (!sameBothWays(type, f)) ++mismatches;
    }
    EXPECT_EQ(0, mismatches);
}

// Values the text route gives, as anchors for the comparisons above.
TEST(DateCell, KnownValues) {
    ZoneScope scope("UTC");
    const struct {
        unsigned int type;
        TIMESTAMP_STRUCT fields;
        int64_t value;
    } cases[] = {
        {8, {2024, 2, 29, 23, 59, 58, 123456789}, 1709251198123},
        {27, {2024, 2, 29, 23, 59, 58, 123456789}, 1709251198123456},
        {4, {2024, 2, 29, 23, 59, 58, 123456789}, 1709251198},
        {8, {1970, 1, 1, 0, 0, 0, 0}, 0},
        {8, {1969, 12, 31, 23, 59, 59, 500000000}, -500},  // the fraction does not mirror
        {4, {2024, 2, 30, 0, 0, 0, 0}, 1709251200},         // the day is held only to 31
        {8, {9999, 12, 31, 23, 59, 61, 999999999}, 253402300801999},
    };
    for (const auto& c : cases) {
        DataValue v;
        v.isNull = false;
        dateValue(c.type, c.fields, v);
        EXPECT_EQ(c.value, v.int64Value) << describe(c.type, c.fields);
        EXPECT_FALSE(v.isNull);
    }
}

} // namespace
