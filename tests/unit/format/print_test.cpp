#include <gtest/gtest.h>

#include <string>

#include "format/DateTimeConversions.h"

namespace DataTypes {
namespace {

enum Kind { Ts, Date, Big };

std::string print(Kind kind, long value, const char* mask, const char* zone = "UTC") {
    std::string out;
    switch (kind) {
    case Ts: TimestampToString(value, mask, zone, out); break;
    case Date: DateToString(value, mask, zone, out); break;
    case Big: BigDateTimeToString(value, mask, zone, out); break;
    }
    return out;
}

struct PrintCase {
    Kind kind;
    long value;
    const char* mask;
    const char* expected;
    const char* zone = "UTC";
};

void expectPrints(std::initializer_list<PrintCase> cases) {
    for (const PrintCase& k : cases)
        EXPECT_EQ(print(k.kind, k.value, k.mask, k.zone), k.expected)
            << "kind " << k.kind << " value " << k.value << " mask [" << k.mask << "] zone "
            << (k.zone ? k.zone : "null");
}

const long kLeapDay = 1709210096; // 2024-02-29 12:34:56 UTC, a Thursday

TEST(Print, NumericFieldsAndFillMode) {
    expectPrints({
        {Date, kLeapDay, "YYYY-MM-DD HH24:MI:SS DDD D Q W WW", "2024-02-29 12:34:56 060 5 1 5 09"},
        {Date, 1735689599, "DDD SSSSS Q", "366 86399 4"},
        {Date, 0, "HH12 HH", "12 12"}, {Date, 43200, "HH12", "12"}, {Date, 46800, "HH12 HH24", "01 13"},
        {Date, 0, "FMMM-FMMM DD", "1-01 01"}, // the second FM turns the padding back on
        {Date, 0, "FMHH24:MI:SS SSSSS", "0:0:0 0"},
        {Date, 1115510400, "YY Y YYY FMYY", "05 5 005 5"},
        {Date, 1704672000, "W WW", "2 02"}, // 8 January: second week of both
        {Date, -58057077, "YYYY-MM-DD HH24:MI:SS D", "1968-02-29 01:02:03 5"},
        {Ts, 1, "MIC FMMIC", "0000000000001000 1000"}, {Big, 1, "MIC", "0000000000000001"},
        {Date, 1, "SE MS MIC", "1 1000 0000000001000000"},
        {Date, 0, "\"Day\" DD \"YYYY\"", "Day 01 YYYY"},
        {Date, 0, "HH24:MI:SSTZ", "00:00:00T"}, // the Z is lost by the scanner
    });
}

TEST(Print, NamesAndMeridian) {
    expectPrints({
        {Date, 54000, "HH12 AM am", "03 PM pm"},
        {Date, 32400, "Pm PM", "Am AM"}, // either field prints the meridian of the hour
        {Date, 0, "DY Dy dy FMDY DAY Day day", "THU Thu thu THU THURSDAY Thursday thursday"},
        {Date, 1115510400, "MONTH|MON|FMMONTH|Month|FMMonth", "      MAY|MAY|MAY|May|      May"},
        {Date, 1722729600, "RM rm Rm Mon", "VIII viii Viii Aug"},
        {Date, 1730592000, "RM MONTH D DAY", "XI  NOVEMBER 1 SUNDAY"},
    });
}

TEST(Print, Fractions) {
    expectPrints({
        {Ts, 120, "FF|FMFF|FF3|FMFF3|FF1", "120000|12|12|120|1"},
        {Ts, 1234, "FF MS.FF", "234000 1234.000"}, // after MS, FF shows what MS did not
        {Big, 1234567, "MS.FF", "1234.567"},
        {Date, 5, "FF|FF3|FMFF|FF9|FMFF9", "000000|000|0|0|000000000"},
        {Big, 999999, "FF1|FF3|FF6", "10|1000|999999"}, // rounding without a carry into the seconds
        {Big, 123456, "FF1 FF2 FF4 FF5 FF7 FF9", "1 12 1235 12346 1234560 123456000"},
        {Big, 1, "FF7 FMFF7", "0000010 000001"},
        {Big, 1500000, "SS.FF", "01.500000"},
        {Ts, -1500, "YYYY SS.FF", "1969 59.-500000"}, // seconds cut towards zero, sign kept
        {Ts, -1500, "MS FF", "-1500 616"},             // the unsigned remainder, as it stands
        {Big, -1, "YYYY-MM-DD HH24:MI:SS.FF", "1970-01-01 00:00:00.551615"}, // negative: skewed
    });
}

TEST(Print, ZonesAndEpochCounts) {
    expectPrints({
        {Ts, 0, "YYYY-MM-DD HH24 TZH:TZM", "1969-12-31 19 -05:00", "America/New_York"},
        {Ts, 15552000000L, "HH24 TZH", "20 -04", "America/New_York"}, // 1970-06-30: daylight saving
        {Date, 0, "TZH:TZM", "05:30", "Asia/Kolkata"}, {Date, 0, "TZH:TZM", "-03:30", "America/St_Johns"},
        {Date, 0, "TZH:TZM", "01:00", "Europe/Paris"}, {Date, 0, "TZH:TZM", "00:00", nullptr},
        {Ts, 1500, "SE MS", "19801 19801500", "Asia/Kolkata"},
        {Big, 1500, "FMSE MS", "19800 19800001", "Asia/Kolkata"},
        {Date, 0, "HH24", "", "Nowhere/Land"}, {Date, 0, "HH24", "", "asia/kolkata"},
        {Date, 0, "\"open", ""},
    });
    for (const char* mask : {"YYYY RR", "RRRR", "DAYS", "HOURS", "MINUTES", "SECONDS"})
        for (Kind kind : {Ts, Date, Big}) EXPECT_EQ(print(kind, 0, mask), "") << mask << " cannot be printed";
}

TEST(Print, DefaultZoneAndFailureClearsOutput) {
    const std::string utc = print(Ts, 0, "TZR|TZD|HH24", "UTC");
    EXPECT_NE(utc.find("|00"), std::string::npos) << utc;
    EXPECT_EQ(print(Ts, 0, "TZR|TZD|HH24", nullptr), utc);
    EXPECT_EQ(print(Ts, 0, "TZR|TZD|HH24", ""), utc);

    std::string out = "kept ";
    TimestampToString(0, "YYYY", "UTC", out);
    EXPECT_EQ(out, "kept 1970"); // appends to what the caller passed
    TimestampToString(0, "YYYY RR", "UTC", out);
    EXPECT_EQ(out, "");
    out = "kept ";
    DateToString(0, nullptr, "UTC", out);
    EXPECT_EQ(out, "");
}

} // namespace
} // namespace DataTypes
