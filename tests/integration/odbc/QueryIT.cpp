// Prepared statements, single parameters of every C type, every column type
// the C-type choice names, NULLs, long values and further result sets.
#include <sqlext.h>

#include <functional>
#include <vector>

#include "LayerFixture.h"

namespace orltest {
namespace {

struct ColumnCase {
    std::string type;      // column type in the dialect
    std::string literal;   // SQL literal inserted
    std::string expected;  // what Show reads back
};

std::vector<ColumnCase> ColumnCases(const std::string& db) {
    std::vector<ColumnCase> common = {
        {"INTEGER", "-42", "-42"},
        {"SMALLINT", "-7", "-7"},
        {"BIGINT", "9000000000123", "9000000000123"},
        {"VARCHAR(20)", "'abc'", "abc"},
        {"DECIMAL(18,4)", "12345.6789", "12345.6789"},
        {"NUMERIC(10,2)", "-3.25", "-3.25"},
        {"DATE", "'2024-02-29'", "2024-02-29 00:00:00.0"},
        {"TIME", "'12:34:56'", "12:34:56"},
    };
    if (db == "sqlite") {
        common.push_back({"DOUBLE", "2.5", "2.5"});
        common.push_back({"REAL", "1.5", "1.5"});
        common.push_back({"FLOAT", "0.25", "0.25"});
        common.push_back({"TINYINT", "5", "5"});
        common.push_back({"BIT", "1", "1"});
        common.push_back({"TEXT", "'long'", "long"});
        common.push_back({"TIMESTAMP", "'2024-02-29 23:59:58'", "2024-02-29 23:59:58.0"});
        common.push_back({"BLOB", "x'00ff10'", "x00ff10"});
    } else if (db == "pg") {
        common.push_back({"DOUBLE PRECISION", "2.5", "2.5"});
        common.push_back({"REAL", "1.5", "1.5"});
        common.push_back({"CHAR(5)", "'xy'", "xy   "});
        common.push_back({"TEXT", "'long'", "long"});
        common.push_back({"BOOLEAN", "true", "1"});
        common.push_back({"TIMESTAMP", "'2024-02-29 23:59:58.5'", "2024-02-29 23:59:58.500000000"});
        common.push_back({"BYTEA", "'\\x00ff10'", "x00ff10"});
    } else {
        common.push_back({"DOUBLE", "2.5", "2.5"});
        common.push_back({"FLOAT", "1.5", "1.5"});
        common.push_back({"CHAR(5)", "'xy'", "xy"});
        common.push_back({"TEXT", "'long'", "long"});
        common.push_back({"TINYINT", "-5", "-5"});
        common.push_back({"TINYINT UNSIGNED", "200", "200"});
        common.push_back({"SMALLINT UNSIGNED", "60000", "60000"});
        common.push_back({"INT UNSIGNED", "4000000000", "4000000000"});
        common.push_back({"BIT(1)", "b'1'", "1"});
        common.push_back({"DATETIME(6)", "'2024-02-29 23:59:58.5'", "2024-02-29 23:59:58.500000000"});
        common.push_back({"VARBINARY(10)", "x'00ff10'", "x00ff10"});
        common.push_back({"BLOB", "x'00ff10'", "x00ff10"});
    }
    return common;
}

} // namespace

TEST_P(LayerTest, EveryColumnTypeReadsBack) {
    const std::vector<ColumnCase> cases = ColumnCases(GetParam().label);
    std::string create = "CREATE TABLE odbc_l_types (id INTEGER", values = "1", nulls = "2";
    for (size_t i = 0; i < cases.size(); ++i) {
        create += ", c" + std::to_string(i) + " " + cases[i].type;
        values += ", " + cases[i].literal;
        nulls += ", NULL";
    }
    Drop("odbc_l_types");
    Exec(create + ")");
    Exec("INSERT INTO odbc_l_types VALUES (" + values + ")");
    Exec("INSERT INTO odbc_l_types VALUES (" + nulls + ")");
    OdbcStmt* st = Prepare("SELECT * FROM odbc_l_types ORDER BY id");
    ORL_ASSERT_OK(st->Execute(), st);
    ORL_ASSERT_OK(st->Fetch(), st);
    for (size_t i = 0; i < cases.size(); ++i) {
        short cType = 0, sqlType = 0, digits = 0;
        unsigned int size = 0;
        st->GetColumn(static_cast<int>(i) + 2)->GetCType(cType);
        st->GetColumn(static_cast<int>(i) + 2)->GetSqlType(sqlType, size, digits);
        EXPECT_EQ(Show(st->GetColumn(static_cast<int>(i) + 2)), cases[i].expected)
            << cases[i].type << " (sql type " << sqlType << ", c type " << cType << ")";
    }
    ORL_ASSERT_OK(st->Fetch(), st);
    for (size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(Show(st->GetColumn(static_cast<int>(i) + 2)), "NULL") << cases[i].type;
    EXPECT_EQ(st->Fetch(), Status_NoData);
    Drop("odbc_l_types");
}

TEST_P(LayerTest, SingleParametersOfEveryCType) {
    Drop("odbc_l_params");
    Exec("CREATE TABLE odbc_l_params (k INTEGER, v BIGINT, d " +
         std::string(Is("pg") ? "DOUBLE PRECISION" : "DOUBLE") + ", t VARCHAR(40), ts " + TimestampType() +
         ", tm TIME, bin " + BinaryType() + ")");
    static unsigned char raw[] = {0x00, 0xff, 0x10};
    DataTypes::DataValue text, binary;
    text.isNull = binary.isNull = false;
    text.stringValue = const_cast<char*>("from a value");
    binary.binaryValue.data = raw;
    binary.binaryValue.length = 3;
    ByteStore textStore("from a store", 0xFFFFFFFFu), binaryStore(raw, 3);
    using Set = std::function<e_Status(OdbcParam*)>;
    struct Case {
        const char* column;
        short sqlType;
        unsigned int size;
        Set set;
        std::string expected;
        // The SQLite driver reads SQL_C_STINYINT as unsigned and SQL_C_ULONG as signed.
        const char* sqliteReads = nullptr;
    };
    const std::vector<Case> cases = {
        {"v", SQL_BIGINT, 0, [](OdbcParam* p) { return p->SetData(9000000000123L, false); }, "9000000000123"},
        {"v", SQL_INTEGER, 0, [](OdbcParam* p) { return p->SetData(-5, false); }, "-5"},
        {"v", SQL_SMALLINT, 0, [](OdbcParam* p) { return p->SetData(short(-300), false); }, "-300"},
        {"v", SQL_SMALLINT, 0, [](OdbcParam* p) { return p->SetData(char(-5), false); }, "-5", "251"},
        {"v", SQL_SMALLINT, 0, [](OdbcParam* p) { return p->SetData((unsigned char)200, false); }, "200"},
        {"v", SQL_INTEGER, 0, [](OdbcParam* p) { return p->SetData((unsigned short)60000, false); }, "60000"},
        {"v", SQL_BIGINT, 0, [](OdbcParam* p) { return p->SetData(4000000000u, false); }, "4000000000",
         "-294967296"},
        {"v", SQL_BIGINT, 0, [](OdbcParam* p) { return p->SetData(9000000000000000000UL, false); },
         "9000000000000000000"},
        {"v", SQL_INTEGER, 0, [](OdbcParam* p) { return p->SetData(true, false); }, "1"},
        {"v", SQL_BIGINT, 0, [](OdbcParam* p) {
             // A NULL keeps the cell's C type, so a fresh cell needs one first.
             p->SetCType(SQL_C_SBIGINT, 0);
             return p->SetData(1L, true);
         },
         "NULL"},
        {"d", SQL_DOUBLE, 0, [](OdbcParam* p) { return p->SetData(2.5, false); }, "2.5"},
        {"t", SQL_VARCHAR, 40, [&](OdbcParam* p) { return p->SetData(&textStore, false, false); }, "from a store"},
        {"t", SQL_VARCHAR, 40, [&](OdbcParam* p) { return p->SetData(5u, text, false); }, "from a value"},
        {"t", SQL_VARCHAR, 40, [&](OdbcParam* p) {
             p->SetCType(SQL_C_CHAR, 1);
             return p->SetData(5u, text, true);
         },
         "NULL"},
        {"bin", SQL_LONGVARBINARY, 100, [&](OdbcParam* p) { return p->SetData(28u, binary, false); }, "x00ff10"},
        {"bin", SQL_LONGVARBINARY, 100, [&](OdbcParam* p) { return p->SetData(&binaryStore, true, false); },
         "x00ff10"},
        {"ts", SQL_TYPE_TIMESTAMP, 26,
         [](OdbcParam* p) { return p->SetData(tagTIMESTAMP_STRUCT{2024, 2, 29, 23, 59, 58, 0}, false); },
         "2024-02-29 23:59:58.0"},
        {"tm", SQL_TYPE_TIME, 8, [](OdbcParam* p) { return p->SetData(tagTIME_STRUCT{12, 34, 56}, false); },
         "12:34:56"},
    };
    int key = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.column) + " as " + c.expected);
        ++key;
        OdbcStmt* ins = Prepare(std::string("INSERT INTO odbc_l_params (k, ") + c.column + ") VALUES (?, ?)");
        ASSERT_NE(ins->GetParam(2), nullptr);
        ins->GetParam(1)->SetSqlType(SQL_INTEGER, 0, 0);
        ins->GetParam(1)->SetData(key, false);
        ins->GetParam(2)->SetSqlType(c.sqlType, c.size, 0);
        ASSERT_EQ(c.set(ins->GetParam(2)), Status_Ok);
        ORL_ASSERT_OK(ins->Execute(), ins);
        long rows = 0;
        ORL_EXPECT_OK(ins->RowCount(rows), ins);
        EXPECT_EQ(rows, 1);
        delete ins;
        ORL_ASSERT_OK(dbc->Commit(), dbc);

        OdbcStmt* sel = Prepare(std::string("SELECT ") + c.column + " FROM odbc_l_params WHERE k = ?");
        sel->GetParam(1)->SetSqlType(SQL_INTEGER, 0, 0);
        sel->GetParam(1)->SetData(key, false);
        ORL_ASSERT_OK(sel->Execute(), sel);
        ORL_ASSERT_OK(sel->Fetch(), sel);
        EXPECT_EQ(Show(sel->GetColumn(1)), Is("sqlite") && c.sqliteReads ? c.sqliteReads : c.expected);
        delete sel;
    }
    Drop("odbc_l_params");
}

TEST_P(LayerTest, LongTextAndBinaryReadWhole) {
    Drop("odbc_l_long");
    Exec("CREATE TABLE odbc_l_long (k INTEGER, t " + LongTextType() + ", b " + BinaryType() + ")");
    std::string text(20000, 'x');
    for (size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>('A' + (i * 7) % 26);
    std::string bytes(100000, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>((i * 13) % 256);
    OdbcStmt* ins = Prepare("INSERT INTO odbc_l_long (k, t, b) VALUES (1, ?, ?)");
    ByteStore t(text.data(), static_cast<unsigned int>(text.size()));
    ByteStore b(bytes.data(), static_cast<unsigned int>(bytes.size()));
    ins->GetParam(1)->SetSqlType(SQL_LONGVARCHAR, static_cast<unsigned int>(text.size()), 0);
    ins->GetParam(1)->SetData(&t, false, false);
    ins->GetParam(2)->SetSqlType(SQL_LONGVARBINARY, static_cast<unsigned int>(bytes.size()), 0);
    ins->GetParam(2)->SetData(&b, true, false);
    ORL_ASSERT_OK(ins->Execute(), ins);
    delete ins;
    ORL_ASSERT_OK(dbc->Commit(), dbc);

    OdbcStmt* sel = Prepare("SELECT t, b FROM odbc_l_long");
    ORL_ASSERT_OK(sel->Execute(), sel);
    ORL_ASSERT_OK(sel->Fetch(), sel);
    ByteStore got;
    ORL_ASSERT_OK(sel->GetColumn(1)->GetData(&got), sel);
    EXPECT_EQ(got.Size(), text.size());
    EXPECT_EQ(std::string(reinterpret_cast<char*>(got.Data()), got.Size()) == text, true);
    ORL_ASSERT_OK(sel->GetColumn(2)->GetData(&got), sel);
    EXPECT_EQ(got.Size(), bytes.size());
    EXPECT_EQ(std::string(reinterpret_cast<char*>(got.Data()), got.Size()) == bytes, true);
    EXPECT_EQ(sel->Fetch(), Status_NoData);
    delete sel;
    Drop("odbc_l_long");
}

TEST_P(LayerTest, MaxRowsAndFurtherResults) {
    Drop("odbc_l_rows");
    Exec("CREATE TABLE odbc_l_rows (k INTEGER)");
    Exec("INSERT INTO odbc_l_rows VALUES (1), (2), (3), (4), (5)");
    OdbcStmt* st = Prepare("SELECT k FROM odbc_l_rows ORDER BY k");
    ORL_ASSERT_OK(st->MaxRows(2), st);
    ORL_ASSERT_OK(st->Execute(), st);
    int rows = 0;
    while (st->Fetch() == Status_Ok) ++rows;
    // The MariaDB driver accepts SQL_ATTR_MAX_ROWS and then doesn't apply it.
    EXPECT_EQ(rows, Is("maria") ? 5 : 2);
    delete st;

    // Only the PostgreSQL driver takes several statements in one text as it is set up here.
    if (Is("pg")) {
        st = Prepare("SELECT 1 AS a; SELECT 'two' AS b, 3 AS c");
        ORL_ASSERT_OK(st->Execute(), st);
        ORL_ASSERT_OK(st->Fetch(), st);
        EXPECT_EQ(Show(st->GetColumn(1)), "1");
        ORL_ASSERT_OK(st->MoreResults(), st);
        ORL_ASSERT_OK(st->Fetch(), st);
        EXPECT_EQ(Show(st->GetColumn(1)), "two");
        std::string name;
        st->GetColumn(2)->GetName(name);
        EXPECT_EQ(name, "c");
        EXPECT_EQ(st->MoreResults(), Status_NoData);
        delete st;
    }
    Drop("odbc_l_rows");
}

INSTANTIATE_TEST_SUITE_P(Dsn, LayerTest, ::testing::ValuesIn(testDsns()),
                         [](const ::testing::TestParamInfo<TestDsn>& info) { return std::string(info.param.label); });

} // namespace orltest
