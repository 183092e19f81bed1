// Acceptance rules of the data cells, without a database: the cells make no
// ODBC call until they are bound, so a query over an unconnected handle is
// enough to hold them.
#include <gtest/gtest.h>

#include <sqlext.h>

#include <cstring>
#include <functional>
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
    void Put(short type, const std::string& bytes, SQLLEN ind) {
        SetCType(type, static_cast<int>(bytes.size()));
        SetBindArea();
        if (!bytes.empty()) std::memcpy(bindArea.Data(), bytes.data(), bytes.size());
        indicator = ind;
    }
    SQLLEN Indicator() const { return indicator; }
    const ByteStore& Area() const { return bindArea; }
};

class TestArray : public OdbcParamArrayImpl {
public:
    TestArray(OdbcQueryImpl* q, int describedWidth) : OdbcParamArrayImpl(q, 1) { cLength = describedWidth; }
    std::vector<SQLLEN> Indicators() const {
        std::vector<SQLLEN> v(indicators.Size() / sizeof(SQLLEN));
        if (!v.empty()) std::memcpy(v.data(), indicators.Data(), indicators.Size());
        return v;
    }
    std::string Packed(size_t n) const { return packed ? std::string(reinterpret_cast<char*>(packed), n) : ""; }
    std::string Area() const { return std::string(bindArea.Text(), bindArea.Size()); }
};

std::string Str(const ByteStore& s) { return std::string(s.Text(), s.Size()); }

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

// One GetData overload; the output starts at `prior` and is printed afterwards.
struct Reader {
    const char* name;
    std::function<e_Status(OdbcParamImpl&, double prior, std::string& out)> read;
};
template <typename T>
Reader As(const char* name) {
    return {name, [](OdbcParamImpl& cell, double prior, std::string& out) {
                T v = static_cast<T>(prior);
                e_Status st = cell.GetData(v);
                out = std::to_string(+v);
                return st;
            }};
}
const Reader B = As<bool>("bool"), C = As<char>("char"), S = As<short>("short"), I = As<int>("int"),
             L = As<long>("long"), UC = As<unsigned char>("uchar"), US = As<unsigned short>("ushort"),
             UI = As<unsigned int>("uint"), UL = As<unsigned long>("ulong"), D = As<double>("double");

} // namespace

TEST_F(CellTest, GetDataAcceptance) {
    struct Case {
        short cType;
        std::string bytes;  // raw value bytes, or the text for SQL_C_CHAR
        Reader reader;
        e_Status status;
        std::string value;  // what the output holds afterwards ("7" = untouched)
        SQLLEN indicator = 1;
        double prior = 7;
    };
    const std::string tiny("\xfb", 1), shrt("\xd4\xfe", 2) /* -300 */, u32("\x00\x00\x00\xf0", 4);
    const std::string i64("\x00\x00\x00\x00\x01\x00\x00\x00", 8), one("\x01", 1);
    float f = 1.5f;
    const std::string flt(reinterpret_cast<char*>(&f), 4);
    const std::vector<Case> cases = {
        // A tinyint reads through five overloads, signedness following the overload.
        {SQL_C_TINYINT, tiny, C, Status_Ok, "-5"},
        {SQL_C_TINYINT, tiny, UC, Status_Ok, "251"},
        {SQL_C_TINYINT, tiny, I, Status_Ok, "-5"},
        {SQL_C_TINYINT, tiny, UI, Status_Ok, "251"},
        {SQL_C_TINYINT, tiny, B, Status_Ok, "1"},
        {SQL_C_STINYINT, tiny, UC, Status_Error, "7"},
        {SQL_C_UTINYINT, tiny, C, Status_Error, "7"},
        {SQL_C_SHORT, shrt, S, Status_Ok, "-300"},
        {SQL_C_SHORT, shrt, US, Status_Ok, "65236"},
        {SQL_C_USHORT, shrt, I, Status_Ok, "65236"},
        {SQL_C_USHORT, shrt, S, Status_Error, "7"},
        {SQL_C_SSHORT, shrt, US, Status_Error, "7"},
        {SQL_C_SSHORT, shrt, B, Status_Ok, "1"},
        // Widening isn't symmetrical.
        {SQL_C_SLONG, u32, I, Status_Ok, std::to_string(static_cast<int>(0xf0000000u))},
        {SQL_C_SLONG, u32, L, Status_Error, "7"},
        {SQL_C_LONG, u32, UI, Status_Ok, "4026531840"},
        {SQL_C_ULONG, u32, L, Status_Ok, "4026531840"},
        {SQL_C_ULONG, u32, UL, Status_Error, "7"},
        {SQL_C_SBIGINT, i64, L, Status_Ok, "4294967296"},
        {SQL_C_SBIGINT, i64, I, Status_Error, "7"},
        {SQL_C_UBIGINT, i64, UL, Status_Ok, "4294967296"},
        {SQL_C_UBIGINT, i64, L, Status_Error, "7"},
        {SQL_C_FLOAT, flt, D, Status_Ok, "1.500000"},
        {SQL_C_BIT, one, B, Status_Ok, "1"},
        // Text, parsed whole and range-checked.
        {SQL_C_CHAR, "2147483648", I, Status_Error, "7"},
        {SQL_C_CHAR, "-2147483648", I, Status_Ok, "-2147483648"},
        {SQL_C_CHAR, "12a", I, Status_Error, "7"},
        {SQL_C_CHAR, "4294967295", UI, Status_Ok, "4294967295"},
        {SQL_C_CHAR, "4294967296", UI, Status_Error, "7"},
        {SQL_C_CHAR, "-9223372036854775808", L, Status_Ok, "-9223372036854775808"},
        {SQL_C_CHAR, "9223372036854775808", L, Status_Error, "7"},
        {SQL_C_CHAR, "18446744073709551615", UL, Status_Ok, "18446744073709551615"},
        {SQL_C_CHAR, "-3", B, Status_Ok, "1"},
        {SQL_C_CHAR, "x", B, Status_Error, "1"},  // untouched: bool(7)
        {SQL_C_CHAR, "2.25", D, Status_Ok, "2.250000"},
        {SQL_C_CHAR, "2.25x", D, Status_Error, "7.000000"},
        // Out of range, it is the output's prior content that is judged.
        {SQL_C_CHAR, "1e999", D, Status_Error, "0.000000", 1, 0},
        {SQL_C_CHAR, "1e999", D, Status_Ok, "inf"},
        // NULL zeroes the output.
        {SQL_C_TINYINT, tiny, C, Status_Null, "0", SQL_NULL_DATA},
        {SQL_C_SBIGINT, i64, L, Status_Null, "0", SQL_NULL_DATA},
        {SQL_C_DOUBLE, i64, D, Status_Null, "0.000000", SQL_NULL_DATA},
        {SQL_C_CHAR, "12", L, Status_Null, "0", SQL_NULL_DATA},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.cType) + " [" + c.bytes + "] as " + c.reader.name);
        TestCell cell(query);
        cell.Put(c.cType, c.bytes, c.indicator);
        std::string out;
        EXPECT_EQ(c.reader.read(cell, c.prior, out), c.status);
        EXPECT_EQ(out, c.value);
    }
}

TEST_F(CellTest, StructuresAndStores) {
    TestCell cell(query);
    // The structure reads fill the structure and still answer Status_Error.
    tagTIMESTAMP_STRUCT ts{2024, 2, 29, 23, 59, 58, 123000000}, got{};
    cell.SetData(ts);
    EXPECT_EQ(cell.GetData(got), Status_Error);
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

TEST_F(CellTest, SettersKeepTheirRules) {
    TestCell cell(query);
    short d = 0, type = 0;
    int length = 0;
    cell.SetDirection(SQL_PARAM_OUTPUT);
    EXPECT_EQ(cell.SetDirection(3), Status_Ok);
    cell.GetDirection(d);
    EXPECT_EQ(d, SQL_PARAM_OUTPUT);
    cell.SetData(5, false);
    EXPECT_EQ(cell.SetCType(99, 10), Status_Ok);  // unknown: nothing changes, not even the indicator
    cell.GetCType(type, length);
    EXPECT_EQ(type, SQL_C_SLONG);
    EXPECT_EQ(cell.Indicator(), 0);

    struct SqlCase {
        short sqlType;
        unsigned int size, wantSize;
        short digits, wantDigits;
    };
    const SqlCase sqlCases[] = {
        {SQL_BIT, 9, 1, 9, 0},      {SQL_TINYINT, 9, 3, 9, 0},   {SQL_BIGINT, 9, 19, 9, 0},
        {SQL_VARCHAR, 100, 100, 5, 0}, {SQL_INTEGER, 9, 10, 9, 0}, {SQL_SMALLINT, 9, 5, 9, 0},
        {SQL_DOUBLE, 9, 15, 9, 0},  {SQL_REAL, 9, 7, 9, 0},      {SQL_DECIMAL, 18, 18, 4, 4},
    };
    for (const SqlCase& c : sqlCases) {
        SCOPED_TRACE(c.sqlType);
        cell.IsBound(true);
        cell.SetSqlType(c.sqlType, c.size, c.digits);
        EXPECT_FALSE(cell.IsBound());
        unsigned int size = 0;
        cell.GetSqlType(type, size, d);
        EXPECT_EQ(type, c.sqlType);
        EXPECT_EQ(size, c.wantSize);
        EXPECT_EQ(d, c.wantDigits);
    }
}

TEST_F(CellTest, VariableValuesNeverShrinkTheArea) {
    TestCell cell(query);
    ByteStore longText("abcdefghij", 10), out;
    cell.SetData(static_cast<ByteStore*>(nullptr), false, false);  // a null store is zero bytes of text
    EXPECT_EQ(cell.Indicator(), 0);
    EXPECT_EQ(cell.Area().Size(), 1u);
    cell.SetData(&longText, false, false);
    cell.IsBound(true);
    DataTypes::DataValue v;
    v.stringValue = const_cast<char*>("xy");
    EXPECT_EQ(cell.SetData(5, v, false), Status_Ok);
    short type = 0;
    int length = 0;
    cell.GetCType(type, length);
    EXPECT_EQ(length, 10);
    EXPECT_EQ(cell.Indicator(), 2);
    EXPECT_TRUE(cell.IsBound()) << "same buffer, same size: no rebind";
    EXPECT_EQ(cell.GetData(&out), Status_Ok);
    EXPECT_EQ(Str(out), "xy");
    // isNull keeps the bytes; only the indicator says NULL.
    EXPECT_EQ(cell.SetData(5, v, true), Status_Ok);
    EXPECT_EQ(cell.Indicator(), SQL_NULL_DATA);
    EXPECT_STREQ(cell.Area().Text(), "xy");
    EXPECT_EQ(cell.SetData(3, v, false), Status_Error);
    unsigned char raw[3] = {0, 1, 2};
    v.binaryValue = {raw, 3};
    EXPECT_EQ(cell.SetData(28, v, false), Status_Ok);
    cell.GetCType(type, length);
    EXPECT_EQ(type, SQL_C_BINARY);
    EXPECT_EQ(cell.GetData(&out), Status_Ok);
    EXPECT_EQ(Str(out), std::string("\0\1\2", 3));
}

TEST_F(CellTest, BatchCellsCollectColumnWise) {
    TestArray strings(query, 0);
    strings.SetCType(SQL_C_CHAR, 0);
    EXPECT_EQ(strings.SetCType(SQL_C_BINARY, 99), Status_Ok);  // only the first counts
    short type = 0;
    int length = 0;
    strings.GetCType(type, length);
    EXPECT_EQ(type, SQL_C_CHAR);
    DataTypes::DataValue v;
    for (const char* word : {"a", "abc", static_cast<const char*>(nullptr)}) {
        v.stringValue = const_cast<char*>(word ? word : "");
        strings.SetData(5, v, word == nullptr);
    }
    EXPECT_EQ(strings.SetData(3, v, false), Status_Error);
    EXPECT_EQ(strings.Indicators(), (std::vector<SQLLEN>{SQL_NTS, SQL_NTS, SQL_NULL_DATA}));
    strings.Bind();  // no statement handle: the bind fails, the array is packed before it
    EXPECT_EQ(strings.Packed(12), std::string("a\0\0\0abc\0\0\0\0\0", 12)) << "width 4, a NULL row of zeros";

    TestArray fixed(query, 0);
    fixed.SetCType(SQL_C_SLONG, 0);
    for (int i : {7, 8, 9}) fixed.SetData(i, i == 8);
    EXPECT_EQ(fixed.Indicators(), (std::vector<SQLLEN>{0, SQL_NULL_DATA, 0}));
    EXPECT_EQ(fixed.Area(), std::string("\7\0\0\0\0\0\0\0\x09\0\0\0", 12));
    int out = 42;
    EXPECT_EQ(fixed.GetData(out), Status_Ok);
    EXPECT_EQ(out, 42) << "a batch cell can't be read back";

    TestArray text(query, 4);
    text.SetCType(SQL_C_CHAR, 0);  // the described width and one for the NUL
    ByteStore row("toolong", 7);
    text.SetData(&row, false, false);
    EXPECT_EQ(row.Size(), 5u) << "the caller's store is cut to the width";
    TestArray binary(query, 4);
    binary.SetCType(SQL_C_BINARY, 1);
    ByteStore bin("xy", 2);
    binary.SetData(&bin, true, false);
    binary.SetData(&bin, true, true);
    EXPECT_EQ(binary.Indicators(), (std::vector<SQLLEN>{2, static_cast<SQLLEN>(0xFFFFFFFFu)}));
}
