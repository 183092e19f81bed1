#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "format/TimeFormatParser.h"

namespace DataTypes {
namespace {

#define FIELD(name) void OnField##name() override { add(#name); }
#define CASED(name) void OnField##name(Case c) override { add(std::string(#name "/") + "MUL"[c]); }

// Writes every event as one token, so a whole scan compares as one string:
// fields by name (with U/L/M for the Case), literals in quotes.
class Recorder final : public TimeFormatParser {
public:
    std::string log;
    bool done = true;
    const char* failOn = nullptr; // a field name whose event clears the ok flag

    int fill() const { return m_fillMode; }
    int exact() const { return m_exactMode; }

    bool IsDone() override { add("done"); return done; }
    void OnChar(char c) override { add(std::string("'") + (c ? std::string(1, c) : std::string("\\0")) + "'"); }
    void OnFieldFFn(char d) override { add(std::string("FF") + d); }
    void OnEndOfParse() override { add("end"); }
    CASED(AM) CASED(PM) CASED(DAY) CASED(DY) CASED(MON) CASED(MONTH) CASED(RM)
    FIELD(D) FIELD(DD) FIELD(DDD) FIELD(HH) FIELD(HH12) FIELD(HH24) FIELD(MI) FIELD(MIC) FIELD(MM) FIELD(MS)
    FIELD(Q) FIELD(SS) FIELD(SE) FIELD(FF) FIELD(SSSSS) FIELD(TZD) FIELD(TZH) FIELD(TZM) FIELD(TZR) FIELD(W)
    FIELD(WW) FIELD(RR) FIELD(RRRR) FIELD(Y) FIELD(YY) FIELD(YYY) FIELD(YYYY) FIELD(DAYS) FIELD(HOURS)
    FIELD(MINUTES) FIELD(SECONDS)

private:
    void add(const std::string& token) {
        log += (log.empty() ? "" : " ") + token;
        if (failOn != nullptr && token == failOn) m_ok = false;
    }
};

struct ScanCase {
    const char* mask;
    const char* events; // without the closing "end done"
    bool ok = true;
};

void expectScans(std::initializer_list<ScanCase> cases) {
    for (const ScanCase& k : cases) {
        Recorder r;
        const bool ok = r.Parse(k.mask, strlen(k.mask));
        std::string expected = k.events;
        if (k.ok) expected += expected.empty() ? "end done" : " end done";
        EXPECT_EQ(r.log, expected) << "mask [" << k.mask << "]";
        EXPECT_EQ(ok, k.ok) << "mask [" << k.mask << "]";
    }
}

TEST(Scanner, FieldsAndLongestMatch) {
    expectScans({
        {"", ""},
        {"yyyy-MM-DD YYYYY Y YY", "YYYY '-' MM '-' DD ' ' YYYY Y ' ' Y ' ' YY"},
        {"D DD DDD DDDD", "D ' ' DD ' ' DDD ' ' DDD D"},
        {"HH HH12 hh24 HH13 HH2x HH1", "HH ' ' HH12 ' ' HH24 ' ' HH '1' '3' ' ' HH '2' 'x' ' ' HH '1'"},
        {"MI MIC MM MS Q W WW", "MI ' ' MIC ' ' MM ' ' MS ' ' Q ' ' W ' ' WW"},
        {"SS SSSSS SE FF FF1 ff9 FF0", "SS ' ' SSSSS ' ' SE ' ' FF ' ' FF1 ' ' FF9 ' ' FF '0'"},
        {"RR RRRR TZD TZH TZM TZR", "RR ' ' RRRR ' ' TZD ' ' TZH ' ' TZM ' ' TZR"},
        {"DAYS HOURS MINUTES SECONDS", "DAYS ' ' HOURS ' ' MINUTES ' ' SECONDS"},
        {"Qx9\xc3\xa9", "Q 'x' '9' '\xc3' '\xa9'"},
        {"\"YYYY\"DD\"\"", "'Y' 'Y' 'Y' 'Y' DD"},
    });
}

// Unfinished long words fall back to the fields inside them, or to literals;
// a mask ending in a pending field is resolved by the NUL at the end.
TEST(Scanner, TieBreaksOfUnfinishedWords) {
    expectScans({
        {"SSS SSSS SSSSSS", "SS 'S' ' ' SS SS ' ' SSSSS 'S'"}, // SSSS is two fields, not SSSSS less one
        {"SEC SECONDx", "SE 'C' ' ' SE 'C' 'O' 'N' D 'x'"},
        {"MINU MINUTE", "MI 'N' 'U' ' ' MI 'N' 'U' 'T' 'E'"},
        {"HOUR HOx MOx DAx", "'H' 'O' 'U' 'R' ' ' 'H' 'O' 'x' ' ' 'M' 'O' 'x' ' ' D 'A' 'x'"},
        {"MONTHS RRR MONT", "MONTH/U 'S' ' ' RR 'R' ' ' MON/U 'T'"},
        {"DA", "D 'A'"},
        {"HH24:MI:SSTZ TZx", "HH24 ':' MI ':' SS 'T' ' ' 'T' 'x'"}, // the Z of an unknown TZ field is lost
        {"A1P1F1M1R1S1T1", "'A' '1' 'P' '1' 'F' '1' 'M' '1' 'R' '1' 'S' '1' 'T' '1'"},
        {"YYY", "YYY"},
    });
}

TEST(Scanner, CaseOfNamedFields) {
    expectScans({
        {"DY Dy dY dy", "DY/U ' ' DY/M ' ' DY/M ' ' DY/L"},
        {"MON mon Mon MONTH month Month", "MON/U ' ' MON/L ' ' MON/M ' ' MONTH/U ' ' MONTH/L ' ' MONTH/M"},
        {"monT AM am Pm pM", "MON/L 'T' ' ' AM/U ' ' AM/L ' ' PM/M ' ' PM/M"},
        {"DAY day RM rm Rm", "DAY/U ' ' DAY/L ' ' RM/U ' ' RM/L ' ' RM/M"},
    });
}

TEST(Scanner, FailuresAndModes) {
    // An unclosed quoted run hands OnChar its NUL, then Parse fails.
    expectScans({{"\"ab", "'a' 'b' '\\0' end", false}, {"\"", "'\\0' end", false}});

    Recorder failing;
    failing.failOn = "MM";
    EXPECT_FALSE(failing.Parse("YYYY MM DD", 10));
    EXPECT_EQ(failing.log, "YYYY ' ' MM") << "no handler runs after the ok flag is cleared";

    Recorder notDone;
    notDone.done = false;
    EXPECT_FALSE(notDone.Parse("", 0));
    EXPECT_EQ(notDone.log, "end done");

    Recorder modes;
    EXPECT_TRUE(modes.Parse("fxFMfxfm FXfm", 13));
    EXPECT_EQ(modes.fill(), 1);
    EXPECT_EQ(modes.exact(), 1);
}

} // namespace
} // namespace DataTypes
