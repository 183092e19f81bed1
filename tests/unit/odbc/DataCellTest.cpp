// Acceptance rules of the data cells, without a database: the cells make no
// ODBC call until they are bound, so a query over an unconnected handle is
// enough to hold them.
#include <gtest/gtest.h>

#include <sqlext.h>

#include <cfloat>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "odbc/OdbcDbcImpl.h"
#include "odbc/OdbcEnvImpl.h"
#include "odbc/OdbcParamArrayImpl.h"
#include "odbc/OdbcQueryImpl.h"

using namespace KORVEL::Orl::DB::ODBC;

namespace {

// Reaches the cell's area and indicator to stand in for a driver's write.
class TestCell : public OdbcParamImpl {
public:
    explicit TestCell(OdbcQueryImpl* q) : OdbcParamImpl(q, 1) {}
    void Put(short type, const void* bytes, unsigned int n, SQLLEN ind) {
        SetCType(type, static_cast<int>(n));
        SetBindArea();
        if (n) std::memcpy(bindArea.Data(), bytes, n);
        indicator = ind;
    }
    void PutText(const char* text) { Put(SQL_C_CHAR, text, static_cast<unsigned int>(std::strlen(text)), 1); }
    SQLLEN Indicator() const { return indicator; }
    unsigned int AreaSize() const { return bindArea.Size(); }
    const unsigned char* Area() const { return bindArea.Data(); }
};

class TestArray : public OdbcParamArrayImpl {
public:
    explicit TestArray(OdbcQueryImpl* q) : OdbcParamArrayImpl(q, 1) {}
    std::vector<SQLLEN> Indicators() const {
        std::vector<SQLLEN> v(indicators.Size() / sizeof(SQLLEN));
        if (!v.empty()) std::memcpy(v.data(), indicators.Data(), indicators.Size());
        return v;
    }
    int MaxLength() const { return maxLength; }
    int Rows() const { return rows; }
    std::string Packed(size_t n) const { return packed ? std::string(reinterpret_cast<char*>(packed), n) : ""; }
    std::string Area() const { return std::string(reinterpret_cast<const char*>(bindArea.Data()), bindArea.Size()); }
    void DescribedWidth(int w) { cLength = w; }
};

class CellTest : public ::testing::Test {
protected:
    void SetUp() override {
        env.reset(Odbc::CreateEnv());
        ASSERT_NE(env, nullptr);
        auto* dbc = dynamic_cast<OdbcDbcImpl*>(env->CreateDbc());
        ASSERT_NE(dbc, nullptr);
        query = new OdbcQueryImpl(dbc);  // owned by the tree below env
    }
    std::unique_ptr<OdbcEnv> env;
    OdbcQueryImpl* query = nullptr;
};

enum Getter { B, C, S, I, L, UC, US, UI, UL, D };
const char* const kGetterName[] = {"bool", "char", "short", "int", "long", "uchar", "ushort", "uint", "ulong", "double"};

// Reads through one overload; the value is printed so the table compares text.
e_Status Read(OdbcParamImpl& cell, Getter g, std::string& out, double prior = 7) {
    e_Status st = Status_Error;
    switch (g) {
#define ORL_READ(tag, type)                      \
    case tag: {                                  \
        type v = static_cast<type>(prior);       \
        st = cell.GetData(v);                    \
        out = std::to_string(v);                 \
        break;                                   \
    }
        ORL_READ(B, bool)
        ORL_READ(C, char)
        ORL_READ(S, short)
        ORL_READ(I, int)
        ORL_READ(L, long)
        ORL_READ(UC, unsigned char)
        ORL_READ(US, unsigned short)
        ORL_READ(UI, unsigned int)
        ORL_READ(UL, unsigned long)
        ORL_READ(D, double)
#undef ORL_READ
    }
    return st;
}

struct ReadCase {
    short cType;
    std::string bytes;  // raw value bytes, or the text for SQL_C_CHAR
    Getter getter;
    e_Status status;
    std::string value;  // what the output holds afterwards ("7" = untouched)
};

} // namespace

TEST_F(CellTest, GetDataAcceptance) {
    const std::string tiny("\xfb", 1), shrt("\xd4\xfe", 2) /* -300 */, u32("\x00\x00\x00\xf0", 4);
    const std::string i64("\x00\x00\x00\x00\x01\x00\x00\x00", 8);
    float f = 1.5f;
    const std::string flt(reinterpret_cast<char*>(&f), 4);
    const std::vector<ReadCase> cases = {
        // A tinyint reads through five overloads, signedness following the overload.
        {SQL_C_TINYINT, tiny, C, Status_Ok, "-5"},
        {SQL_C_TINYINT, tiny, UC, Status_Ok, "251"},
        {SQL_C_TINYINT, tiny, I, Status_Ok, "-5"},
        {SQL_C_TINYINT, tiny, UI, Status_Ok, "251"},
        {SQL_C_TINYINT, tiny, B, Status_Ok, "1"},
        {SQL_C_TINYINT, tiny, S, Status_Error, "7"},
        {SQL_C_STINYINT, tiny, UC, Status_Error, "7"},
        {SQL_C_UTINYINT, tiny, C, Status_Error, "7"},
        {SQL_C_SHORT, shrt, S, Status_Ok, "-300"},
        {SQL_C_SHORT, shrt, US, Status_Ok, "65236"},
        {SQL_C_SHORT, shrt, UI, Status_Ok, "65236"},
        {SQL_C_USHORT, shrt, I, Status_Ok, "65236"},
        {SQL_C_USHORT, shrt, S, Status_Error, "7"},
        {SQL_C_SSHORT, shrt, US, Status_Error, "7"},
        {SQL_C_SSHORT, shrt, B, Status_Ok, "1"},
        // Widening isn't symmetrical.
        {SQL_C_SLONG, u32, I, Status_Ok, std::to_string(static_cast<int>(0xf0000000u))},
        {SQL_C_SLONG, u32, L, Status_Error, "7"},
        {SQL_C_LONG, u32, L, Status_Error, "7"},
        {SQL_C_LONG, u32, UI, Status_Ok, "4026531840"},
        {SQL_C_ULONG, u32, L, Status_Ok, "4026531840"},
        {SQL_C_ULONG, u32, UL, Status_Error, "7"},
        {SQL_C_ULONG, u32, I, Status_Error, "7"},
        {SQL_C_SBIGINT, i64, L, Status_Ok, "4294967296"},
        {SQL_C_SBIGINT, i64, I, Status_Error, "7"},
        {SQL_C_SBIGINT, i64, UL, Status_Error, "7"},
        {SQL_C_UBIGINT, i64, UL, Status_Ok, "4294967296"},
        {SQL_C_UBIGINT, i64, L, Status_Error, "7"},
        {SQL_C_FLOAT, flt, D, Status_Ok, "1.500000"},
        {SQL_C_BIT, std::string("\x01", 1), B, Status_Ok, "1"},
        {SQL_C_BIT, std::string("\x01", 1), C, Status_Error, "7"},
        // Text, parsed whole and range-checked.
        {SQL_C_CHAR, "2147483648", I, Status_Error, "7"},
        {SQL_C_CHAR, "-2147483648", I, Status_Ok, "-2147483648"},
        {SQL_C_CHAR, "12a", I, Status_Error, "7"},
        {SQL_C_CHAR, "4294967295", UI, Status_Ok, "4294967295"},
        {SQL_C_CHAR, "4294967296", UI, Status_Error, "7"},
        {SQL_C_CHAR, "-9223372036854775808", L, Status_Ok, "-9223372036854775808"},
        {SQL_C_CHAR, "9223372036854775808", L, Status_Error, "7"},
        {SQL_C_CHAR, "18446744073709551615", UL, Status_Ok, "18446744073709551615"},
        {SQL_C_CHAR, "0", B, Status_Ok, "0"},
        {SQL_C_CHAR, "-3", B, Status_Ok, "1"},
        {SQL_C_CHAR, "x", B, Status_Error, "1"},  // untouched: bool(7)
        {SQL_C_CHAR, "2.25", D, Status_Ok, "2.250000"},
        {SQL_C_CHAR, "2.25x", D, Status_Error, "7.000000"},
        {SQL_C_CHAR, "12", S, Status_Error, "7"},
        {SQL_C_CHAR, "12", C, Status_Error, "7"},
    };
    for (const ReadCase& c : cases) {
        SCOPED_TRACE(std::string("ctype ") + std::to_string(c.cType) + " [" + c.bytes + "] as " + kGetterName[c.getter]);
        TestCell* cell = new TestCell(query);
        if (c.cType == SQL_C_CHAR)
            cell->PutText(c.bytes.c_str());
        else
            cell->Put(c.cType, c.bytes.data(), static_cast<unsigned int>(c.bytes.size()), 0);
        std::string out;
        EXPECT_EQ(Read(*cell, c.getter, out), c.status);
        EXPECT_EQ(out, c.value);
        delete cell;
    }
}

TEST_F(CellTest, NullAndStructures) {
    TestCell cell(query);
    for (short type : {SQL_C_TINYINT, SQL_C_SHORT, SQL_C_SLONG, SQL_C_SBIGINT, SQL_C_DOUBLE, SQL_C_CHAR}) {
        SCOPED_TRACE(type);
        cell.Put(type, "\x01\x02\x03\x04\x05\x06\x07\x08", 8, SQL_NULL_DATA);
        std::string out;
        Getter g = type == SQL_C_TINYINT ? C : type == SQL_C_SHORT ? S : type == SQL_C_SLONG ? I
                 : type == SQL_C_DOUBLE ? D : L;
        EXPECT_EQ(Read(cell, g, out), Status_Null);
        EXPECT_TRUE(out == "0" || out == "0.000000") << out;
    }
    // The structure reads fill the structure and still answer Status_Error.
    tagTIMESTAMP_STRUCT ts{2024, 2, 29, 23, 59, 58, 123000000}, got{};
    cell.SetData(ts);
    EXPECT_EQ(cell.GetData(got), Status_Error);
    EXPECT_EQ(got.year, 2024);
    EXPECT_EQ(got.fraction, 123000000u);
    tagTIME_STRUCT t{};
    EXPECT_EQ(cell.GetData(t), Status_Error);  // wrong C type: untouched
    EXPECT_EQ(t.hour, 0);
    cell.SetData(ts, true);
    EXPECT_EQ(cell.GetData(got), Status_Null);
    EXPECT_EQ(got.year, 0);
    // The bytes stay behind a NULL; the ByteStore form is emptied.
    ByteStore target("old", 3);
    EXPECT_EQ(cell.GetData(&target), Status_Null);
    EXPECT_EQ(target.Size(), 0u);
    EXPECT_EQ(cell.GetData(static_cast<ByteStore*>(nullptr)), Status_Error);
    long big = 0;
    cell.SetData(1L << 40, false);
    EXPECT_EQ(cell.GetData(big), Status_Ok);
    EXPECT_EQ(big, 1L << 40) << "8 bytes in an area of one";
}

TEST_F(CellTest, DoubleTextOutOfRangeJudgesThePriorOutput) {
    TestCell cell(query);
    cell.PutText("1e999");
    std::string out;
    EXPECT_EQ(Read(cell, D, out, 0), Status_Error);
    EXPECT_EQ(Read(cell, D, out, 5), Status_Ok);
    EXPECT_EQ(out, "inf");
}

TEST_F(CellTest, SetDataChoosesCTypes) {
    struct Case {
        const char* name;
        std::function<void(OdbcParamImpl&)> set;
        short cType;
        int cLength;
        unsigned int areaBytes;
    };
    ByteStore text("abc", 3);
    const std::vector<Case> cases = {
        {"bool", [](OdbcParamImpl& p) { p.SetData(true, false); }, SQL_C_BIT, 24, 25},
        {"char", [](OdbcParamImpl& p) { p.SetData('a', false); }, SQL_C_STINYINT, 24, 25},
        {"short", [](OdbcParamImpl& p) { p.SetData(short(1), false); }, SQL_C_SSHORT, 24, 25},
        {"int", [](OdbcParamImpl& p) { p.SetData(1, false); }, SQL_C_SLONG, 24, 25},
        {"long", [](OdbcParamImpl& p) { p.SetData(1L, false); }, SQL_C_SBIGINT, 0, 1},
        {"uchar", [](OdbcParamImpl& p) { p.SetData((unsigned char)1, false); }, SQL_C_UTINYINT, 24, 25},
        {"ushort", [](OdbcParamImpl& p) { p.SetData((unsigned short)1, false); }, SQL_C_USHORT, 24, 25},
        {"uint", [](OdbcParamImpl& p) { p.SetData(1u, false); }, SQL_C_ULONG, 24, 25},
        {"ulong", [](OdbcParamImpl& p) { p.SetData(1UL, false); }, SQL_C_UBIGINT, 0, 1},
        {"double", [](OdbcParamImpl& p) { p.SetData(1.0, false); }, SQL_C_DOUBLE, 24, 25},
        {"time", [](OdbcParamImpl& p) { p.SetData(tagTIME_STRUCT{1, 2, 3}, false); }, SQL_C_TYPE_TIME, 6, 7},
        {"timestamp", [](OdbcParamImpl& p) { p.SetData(tagTIMESTAMP_STRUCT{}, false); }, SQL_C_TYPE_TIMESTAMP, 16, 17},
        {"text", [&](OdbcParamImpl& p) { p.SetData(&text, false, false); }, SQL_C_CHAR, 3, 4},
        {"binary", [&](OdbcParamImpl& p) { p.SetData(&text, true, false); }, SQL_C_BINARY, 3, 4},
        {"null store", [](OdbcParamImpl& p) { p.SetData(static_cast<ByteStore*>(nullptr), false, false); },
         SQL_C_CHAR, 0, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TestCell cell(query);
        c.set(cell);
        short type = 0;
        int length = -1;
        cell.GetCType(type, length);
        EXPECT_EQ(type, c.cType);
        EXPECT_EQ(length, c.cLength);
        EXPECT_EQ(cell.AreaSize(), c.areaBytes);
        EXPECT_NE(cell.Indicator(), SQL_NULL_DATA);
    }
}

TEST_F(CellTest, SettersKeepTheirRules) {
    TestCell cell(query);
    short d = 0;
    cell.SetDirection(SQL_PARAM_OUTPUT);
    EXPECT_EQ(cell.SetDirection(3), Status_Ok);
    cell.GetDirection(d);
    EXPECT_EQ(d, SQL_PARAM_OUTPUT);

    cell.SetData(5, false);
    SQLLEN before = cell.Indicator();
    EXPECT_EQ(cell.SetCType(99, 10), Status_Ok);  // unknown: nothing changes, not even the indicator
    short type = 0;
    int length = 0;
    cell.GetCType(type, length);
    EXPECT_EQ(type, SQL_C_SLONG);
    EXPECT_EQ(cell.Indicator(), before);

    struct SqlCase {
        short sqlType;
        unsigned int size;
        short digits;
        unsigned int wantSize;
        short wantDigits;
    };
    const SqlCase sqlCases[] = {
        {SQL_BIT, 9, 9, 1, 0},        {SQL_TINYINT, 9, 9, 3, 0},   {SQL_BIGINT, 9, 9, 19, 0},
        {SQL_VARCHAR, 100, 5, 100, 0}, {SQL_LONGVARBINARY, 7, 2, 7, 0}, {SQL_INTEGER, 9, 9, 10, 0},
        {SQL_SMALLINT, 9, 9, 5, 0},   {SQL_FLOAT, 9, 9, 15, 0},    {SQL_DOUBLE, 9, 9, 15, 0},
        {SQL_REAL, 9, 9, 7, 0},       {SQL_DECIMAL, 18, 4, 18, 4}, {SQL_TYPE_TIMESTAMP, 23, 3, 23, 3},
    };
    for (const SqlCase& c : sqlCases) {
        SCOPED_TRACE(c.sqlType);
        cell.IsBound(true);
        cell.SetSqlType(c.sqlType, c.size, c.digits);
        EXPECT_FALSE(cell.IsBound());
        short t = 0, dd = -1;
        unsigned int s = 0;
        cell.GetSqlType(t, s, dd);
        EXPECT_EQ(t, c.sqlType);
        EXPECT_EQ(s, c.wantSize);
        EXPECT_EQ(dd, c.wantDigits);
    }
}

TEST_F(CellTest, VariableValuesNeverShrinkTheArea) {
    TestCell cell(query);
    ByteStore longText("abcdefghij", 10);
    cell.SetData(&longText, false, false);
    cell.IsBound(true);
    DataTypes::DataValue v;
    v.isNull = false;
    v.stringValue = const_cast<char*>("xy");
    EXPECT_EQ(cell.SetData(5, v, false), Status_Ok);
    short type = 0;
    int length = 0;
    cell.GetCType(type, length);
    EXPECT_EQ(length, 10);
    EXPECT_EQ(cell.Indicator(), 2);
    EXPECT_TRUE(cell.IsBound()) << "same buffer, same size: no rebind";
    ByteStore out;
    EXPECT_EQ(cell.GetData(&out), Status_Ok);
    EXPECT_EQ(std::string(out.Text()), "xy");

    // isNull keeps the bytes; only the indicator says NULL.
    EXPECT_EQ(cell.SetData(5, v, true), Status_Ok);
    EXPECT_EQ(cell.Indicator(), SQL_NULL_DATA);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(cell.Area())), "xy");
    EXPECT_EQ(cell.SetData(3, v, false), Status_Error);

    unsigned char raw[3] = {0, 1, 2};
    v.binaryValue.data = raw;
    v.binaryValue.length = 3;
    EXPECT_EQ(cell.SetData(28, v, false), Status_Ok);
    cell.GetCType(type, length);
    EXPECT_EQ(type, SQL_C_BINARY);
    EXPECT_EQ(cell.GetData(&out), Status_Ok);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.Data()), out.Size()), std::string("\0\1\2", 3));
}

TEST_F(CellTest, BatchCellsCollectColumnWise) {
    TestArray strings(query);
    strings.SetCType(SQL_C_CHAR, 0);
    EXPECT_EQ(strings.SetCType(SQL_C_BINARY, 99), Status_Ok);  // only the first counts
    short type = 0;
    int length = 0;
    strings.GetCType(type, length);
    EXPECT_EQ(type, SQL_C_CHAR);

    DataTypes::DataValue v;
    v.isNull = false;
    v.stringValue = const_cast<char*>("a");
    strings.SetData(5, v, false);
    v.stringValue = const_cast<char*>("abc");
    strings.SetData(5, v, false);
    strings.SetData(5, v, true);
    EXPECT_EQ(strings.SetData(3, v, false), Status_Error);
    EXPECT_EQ(strings.Rows(), 3);
    EXPECT_EQ(strings.MaxLength(), 4);
    EXPECT_EQ(strings.Indicators(), (std::vector<SQLLEN>{SQL_NTS, SQL_NTS, SQL_NULL_DATA}));
    strings.Bind();  // no statement handle: the bind fails, the array is packed before it
    EXPECT_EQ(strings.Packed(12), std::string("a\0\0\0abc\0\0\0\0\0", 12));

    TestArray fixed(query);
    fixed.SetCType(SQL_C_SLONG, 0);
    fixed.SetData(7, false);
    fixed.SetData(8, true);
    fixed.SetData(9, false);
    EXPECT_EQ(fixed.Indicators(), (std::vector<SQLLEN>{0, SQL_NULL_DATA, 0}));
    EXPECT_EQ(fixed.Area(), std::string("\7\0\0\0\0\0\0\0\x09\0\0\0", 12));
    int out = 42;
    EXPECT_EQ(fixed.GetData(out), Status_Ok);
    EXPECT_EQ(out, 42) << "a batch cell can't be read back";

    TestArray text(query);
    text.DescribedWidth(4);
    text.SetCType(SQL_C_CHAR, 0);  // the described width and one for the NUL
    ByteStore row("toolong", 7);
    text.SetData(&row, false, false);
    EXPECT_EQ(row.Size(), 5u) << "the caller's store is cut to the width";
    ByteStore bin("xy", 2);
    TestArray binary(query);
    binary.DescribedWidth(4);
    binary.SetCType(SQL_C_BINARY, 1);
    binary.SetData(&bin, true, false);
    binary.SetData(&bin, true, true);
    EXPECT_EQ(binary.Indicators(), (std::vector<SQLLEN>{2, static_cast<SQLLEN>(0xFFFFFFFFu)}));
}
