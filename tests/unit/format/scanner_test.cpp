#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "format/TimeFormatParser.h"

namespace DataTypes {
namespace {

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
    void OnFieldAM(Case c) override { add("AM", c); }
    void OnFieldPM(Case c) override { add("PM", c); }
    void OnFieldD() override { add("D"); }
    void OnFieldDD() override { add("DD"); }
    void OnFieldDDD() override { add("DDD"); }
    void OnFieldDAY(Case c) override { add("DAY", c); }
    void OnFieldDY(Case c) override { add("DY", c); }
    void OnFieldHH() override { add("HH"); }
    void OnFieldHH12() override { add("HH12"); }
    void OnFieldHH24() override { add("HH24"); }
    void OnFieldMI() override { add("MI"); }
    void OnFieldMIC() override { add("MIC"); }
    void OnFieldMM() override { add("MM"); }
    void OnFieldMON(Case c) override { add("MON", c); }
    void OnFieldMONTH(Case c) override { add("MONTH", c); }
    void OnFieldMS() override { add("MS"); }
    void OnFieldRM(Case c) override { add("RM", c); }
    void OnFieldQ() override { add("Q"); }
    void OnFieldSS() override { add("SS"); }
    void OnFieldSE() override { add("SE"); }
    void OnFieldFF() override { add("FF"); }
    void OnFieldFFn(char d) override { add(std::string("FF") + d); }
    void OnFieldSSSSS() override { add("SSSSS"); }
    void OnFieldTZD() override { add("TZD"); }
    void OnFieldTZH() override { add("TZH"); }
    void OnFieldTZM() override { add("TZM"); }
    void OnFieldTZR() override { add("TZR"); }
    void OnFieldW() override { add("W"); }
    void OnFieldWW() override { add("WW"); }
    void OnFieldRR() override { add("RR"); }
    void OnFieldRRRR() override { add("RRRR"); }
    void OnFieldY() override { add("Y"); }
    void OnFieldYY() override { add("YY"); }
    void OnFieldYYY() override { add("YYY"); }
    void OnFieldYYYY() override { add("YYYY"); }
    void OnFieldDAYS() override { add("DAYS"); }
    void OnFieldHOURS() override { add("HOURS"); }
    void OnFieldMINUTES() override { add("MINUTES"); }
    void OnFieldSECONDS() override { add("SECONDS"); }
    void OnEndOfParse() override { add("end"); }

private:
    void add(const std::string& token) {
        if (!log.empty()) log += ' ';
        log += token;
        if (failOn != nullptr && token == failOn) m_ok = false;
    }
    void add(const std::string& name, Case c) { add(name + "/" + "MUL"[c]); }
};

struct ScanCase {
    const char* mask;
    const char* events; // without the closing "end done"
    bool ok;
};

void expectScan(const ScanCase& k) {
    Recorder r;
    const bool ok = r.Parse(k.mask, strlen(k.mask));
    std::string expected = k.events;
    if (k.ok) expected += expected.empty() ? "end done" : " end done";
    EXPECT_EQ(r.log, expected) << "mask [" << k.mask << "]";
    EXPECT_EQ(ok, k.ok) << "mask [" << k.mask << "]";
}

TEST(Scanner, FieldsAndLongestMatch) {
    const ScanCase cases[] = {
        {"", "", true},
        {"YYYY-MM-DD", "YYYY '-' MM '-' DD", true},
        {"yyyy", "YYYY", true},
        {"Y YY YYY", "Y ' ' YY ' ' YYY", true},
        {"YYYYY", "YYYY Y", true},
        {"D DD DDD DDDD", "D ' ' DD ' ' DDD ' ' DDD D", true},
        {"HH HH12 HH24 hh24", "HH ' ' HH12 ' ' HH24 ' ' HH24", true},
        {"HH13", "HH '1' '3'", true},
        {"HH2x", "HH '2' 'x'", true},
        {"HH1", "HH '1'", true},
        {"MI MIC MM MS Q W WW", "MI ' ' MIC ' ' MM ' ' MS ' ' Q ' ' W ' ' WW", true},
        {"SS SSSSS SE", "SS ' ' SSSSS ' ' SE", true},
        {"FF FF1 FF9 ff3", "FF ' ' FF1 ' ' FF9 ' ' FF3", true},
        {"FF0", "FF '0'", true},
        {"RR RRRR", "RR ' ' RRRR", true},
        {"TZD TZH TZM TZR", "TZD ' ' TZH ' ' TZM ' ' TZR", true},
        {"DAYS HOURS MINUTES SECONDS", "DAYS ' ' HOURS ' ' MINUTES ' ' SECONDS", true},
        {"Qx9\xc3\xa9", "Q 'x' '9' '\xc3' '\xa9'", true},
        {"\"YYYY\"DD", "'Y' 'Y' 'Y' 'Y' DD", true},
        {"\"\"", "", true},
    };
    for (const ScanCase& k : cases) expectScan(k);
}

TEST(Scanner, TieBreaksOfUnfinishedWords) {
    const ScanCase cases[] = {
        {"SSS", "SS 'S'", true},          // a field and a literal
        {"SSSS", "SS SS", true},          // two fields, not SSSSS less one
        {"SSSSSS", "SSSSS 'S'", true},
        {"SEC", "SE 'C'", true},
        {"SECOND", "SE 'C' 'O' 'N' D", true},
        {"SECONDx", "SE 'C' 'O' 'N' D 'x'", true},
        {"MINUTE", "MI 'N' 'U' 'T' 'E'", true},
        {"MINU", "MI 'N' 'U'", true},
        {"HOUR", "'H' 'O' 'U' 'R'", true},
        {"HOx", "'H' 'O' 'x'", true},
        {"MONT", "MON/U 'T'", true},
        {"MONTHS", "MONTH/U 'S'", true},
        {"MOx", "'M' 'O' 'x'", true},
        {"DAx", "D 'A' 'x'", true},
        {"DA", "D 'A'", true},
        {"RRR", "RR 'R'", true},
        {"HH24:MI:SSTZ", "HH24 ':' MI ':' SS 'T'", true}, // the Z of an unknown TZ field is lost
        {"TZx", "'T' 'x'", true},
        {"A1P1F1M1R1S1T1", "'A' '1' 'P' '1' 'F' '1' 'M' '1' 'R' '1' 'S' '1' 'T' '1'", true},
        {"A", "'A'", true},
        {"YYY", "YYY", true},
    };
    for (const ScanCase& k : cases) expectScan(k);
}

TEST(Scanner, CaseOfNamedFields) {
    const ScanCase cases[] = {
        {"DY Dy dY dy", "DY/U ' ' DY/M ' ' DY/M ' ' DY/L", true},
        {"MON mon Mon MONTH month Month", "MON/U ' ' MON/L ' ' MON/M ' ' MONTH/U ' ' MONTH/L ' ' MONTH/M", true},
        {"monT", "MON/L 'T'", true},
        {"AM am Pm pM", "AM/U ' ' AM/L ' ' PM/M ' ' PM/M", true},
        {"DAY day RM rm Rm", "DAY/U ' ' DAY/L ' ' RM/U ' ' RM/L ' ' RM/M", true},
    };
    for (const ScanCase& k : cases) expectScan(k);
}

TEST(Scanner, QuotesAndFailures) {
    const ScanCase cases[] = {
        {"\"ab", "'a' 'b' '\\0' end", false}, // unclosed run: OnChar gets the NUL, then Parse fails
        {"\"", "'\\0' end", false},
    };
    for (const ScanCase& k : cases) expectScan(k);

    Recorder failing;
    failing.failOn = "MM";
    EXPECT_FALSE(failing.Parse("YYYY MM DD", 10));
    EXPECT_EQ(failing.log, "YYYY ' ' MM") << "no handler runs after the ok flag is cleared";

    Recorder notDone;
    notDone.done = false;
    EXPECT_FALSE(notDone.Parse("", 0));
    EXPECT_EQ(notDone.log, "end done");
}

TEST(Scanner, ModesToggle) {
    const struct { const char* mask; int fill; int exact; } cases[] = {
        {"FM", 1, 0}, {"fmFM", 0, 0}, {"FX", 0, 1}, {"fxFMfx", 1, 0}, {"FXfm YYYY", 1, 1},
    };
    for (const auto& k : cases) {
        Recorder r;
        EXPECT_TRUE(r.Parse(k.mask, strlen(k.mask))) << k.mask;
        EXPECT_EQ(r.fill(), k.fill) << k.mask;
        EXPECT_EQ(r.exact(), k.exact) << k.mask;
    }
}

} // namespace
} // namespace DataTypes
