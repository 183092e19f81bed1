// The plain forms a block converts itself instead of the driver: each must
// give what the driver's conversion gives (strtod for doubles), and anything
// else must be refused so that the driver converts it.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "bulk/internal/Cells.h"

namespace {

using namespace KORVEL::Orl::DB::ODBC;

bool asDouble(const std::string& t, double& out) { return plainDouble(t.data(), static_cast<SQLLEN>(t.size()), out); }

TEST(PlainCells, DoublesAreStrtodBitForBit) {
    const char* const fixed[] = {"0", "-0", "0.0", "-0.0", "0.1", "0.3", "1e22", "1e23", "9007199254740993",
                                 "123456789012345", "1234567890123456", "0.000001", "1e-22", "1e-23", "4.9e-324",
                                 "1.5e-320", "2.2250738585072014e-308", "1.7976931348623157e308", "5.", ".5", "00.5",
                                 "1E5", "1e-5", "-1234.5678e10", "0.30000000000000004", "999999999999999e22",
                                 "999999999999999e-22", "0e400", "000000000000000000001"};
    std::vector<std::string> texts(std::begin(fixed), std::end(fixed));
    // Texts as SQLite prints doubles: 15 significant digits, any exponent.
    std::mt19937_64 random(7);
    char buffer[64];
    for (int k = 0; k < 20000; ++k) {
        const double v = std::ldexp(static_cast<double>(random() >> 11), static_cast<int>(random() % 200) - 150);
        std::snprintf(buffer, sizeof buffer, k % 3 ? "%.15g" : "%.14e", (k % 2 ? -v : v));
        texts.push_back(buffer);
    }
    for (const std::string& t : texts) {
        double got = 0;
        ASSERT_TRUE(asDouble(t, got)) << t;
        const double want = std::strtod(t.c_str(), nullptr);
        EXPECT_EQ(0, std::memcmp(&want, &got, sizeof got)) << t << ": " << want << " against " << got;
    }
}

TEST(PlainCells, OtherFormsAreLeftToTheDriver) {
    struct Case {
        const char* text;
        bool integer, real, timestamp;
    };
    const Case cases[] = {
        {"", false, false, false},        {" 1", false, false, false},    {"1 ", false, false, false},
        {"+1", false, false, false},      {"-", false, false, false},     {"1e", false, false, false},
        {"inf", false, false, false},     {"nan", false, false, false},   {"0x10", false, false, false},
        {"1e999", false, false, false},   {"1.5", false, true, false},    {"007", false, true, false},
        {"-0", false, true, false},       {"0", true, true, false},       {"-2147483648", true, true, false},
        {"2147483648", false, true, false},
        {"2024-02-29", false, false, true},              {"2023-02-29", false, false, false},
        {"2024-02-29 23:59:59", false, false, true},     {"2024-02-29 24:00:00", false, false, false},
        {"2024-02-29T12:00:00", false, false, false},    {"2024-02-29 12:00:00.", false, false, false},
        {"2024-02-29 12:00:00.123456789", false, false, true}, {"2024-02-29 12:00:00.1234567891", false, false, false},
        {"0000-01-01", false, false, false},             {"2024-1-02", false, false, false},
    };
    for (const Case& c : cases) {
        const SQLLEN n = static_cast<SQLLEN>(std::strlen(c.text));
        int64_t i = 0;
        double d = 0;
        SQL_TIMESTAMP_STRUCT ts;
        EXPECT_EQ(c.integer, plainInteger(c.text, n, INT32_MIN, INT32_MAX, i)) << c.text;
        EXPECT_EQ(c.real, plainDouble(c.text, n, d)) << c.text;
        EXPECT_EQ(c.timestamp, plainTimestamp(c.text, n, ts)) << c.text;
    }
    SQL_TIMESTAMP_STRUCT ts;
    ASSERT_TRUE(plainTimestamp("1969-12-31 23:59:59.5", 21, ts));
    EXPECT_EQ(500000000u, ts.fraction);
    int64_t i = 0;
    EXPECT_FALSE(plainInteger("9223372036854775807", 19, INT64_MIN, INT64_MAX, i)) << "past 18 digits: the driver's";
}

// Fields come out as printed, and any other byte in any place (a separator
// for a digit, a digit for a separator, bytes past 0x7F) is refused.
TEST(PlainCells, TimestampsTakeTheirFieldsAndNothingElse) {
    std::mt19937 random(11);
    char text[40];
    for (int k = 0; k < 5000; ++k) {
        const unsigned y = 1 + random() % 9999, mo = 1 + random() % 12, d = 1 + random() % 28, h = random() % 24,
                       mi = random() % 60, s = random() % 60, f = random() % 1000000;
        const int n = k % 3 == 0   ? std::snprintf(text, sizeof text, "%04u-%02u-%02u", y, mo, d)
                      : k % 3 == 1 ? std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", y, mo, d, h, mi, s)
                                   : std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u.%06u", y, mo, d, h,
                                                   mi, s, f);
        SQL_TIMESTAMP_STRUCT ts;
        ASSERT_TRUE(plainTimestamp(text, n, ts)) << text;
        const bool timed = k % 3 != 0;
        EXPECT_EQ(y, unsigned(ts.year));
        EXPECT_EQ(mo, ts.month);
        EXPECT_EQ(d, ts.day);
        EXPECT_EQ(timed ? h : 0, ts.hour) << text;
        EXPECT_EQ(timed ? mi : 0, ts.minute) << text;
        EXPECT_EQ(timed ? s : 0, ts.second) << text;
        EXPECT_EQ(k % 3 == 2 ? f * 1000 : 0, ts.fraction) << text;
    }
    for (const std::string valid : {"1999-12-31", "2000-01-01 00:00:00", "2024-02-29 23:59:59.123"}) {
        for (size_t at = 0; at < valid.size(); ++at) {
            const bool digitPlace = valid[at] >= '0' && valid[at] <= '9';
            for (int b = 0; b < 256; ++b) {
                const char c = static_cast<char>(b);
                if (c == valid[at] || (digitPlace && c >= '0' && c <= '9')) continue;
                std::string t = valid;
                t[at] = c;
                SQL_TIMESTAMP_STRUCT ts;
                EXPECT_FALSE(plainTimestamp(t.data(), static_cast<SQLLEN>(t.size()), ts)) << valid << " byte " << b
                                                                                          << " at " << at;
            }
        }
    }
}

} // namespace
