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
    std::vector<ColumnCase> cases = {
        {"INTEGER", "-42", "-42"},
        {"SMALLINT", "-7", "-7"},
        {"BIGINT", "9000000000123", "9000000000123"},
        {"VARCHAR(20)", "'abc'", "abc"},
        {"DECIMAL(18,4)", "12345.6789", "12345.6789"},
        {"DATE", "'2024-02-29'", "2024-02-29 00:00:00.0"},
        {"TIME", "'12:34:56'", "12:34:56"},
        {"TEXT", "'long'", "long"},
        {db == "pg" ? "DOUBLE PRECISION" : "DOUBLE", "2.5", "2.5"},
    };
    if (db == "sqlite") {
        cases.insert(cases.end(), {{"TINYINT", "5", "5"},
                                   {"BIT", "1", "1"},
                                   {"TIMESTAMP", "'2024-02-29 23:59:58'", "2024-02-29 23:59:58.0"},
                                   {"BLOB", "x'00ff10'", "x00ff10"}});
    } else if (db == "pg") {
        cases.insert(cases.end(), {{"BOOLEAN", "true", "1"},
                                   {"TIMESTAMP", "'2024-02-29 23:59:58.5'", "2024-02-29 23:59:58.500000000"},
                                   {"BYTEA", "'\\x00ff10'", "x00ff10"}});
    } else {
        cases.insert(cases.end(), {{"TINYINT", "-5", "-5"},
                                   {"TINYINT UNSIGNED", "200", "200"},
                                   {"SMALLINT UNSIGNED", "60000", "60000"},
                                   {"INT UNSIGNED", "4000000000", "4000000000"},
                                   {"BIT(1)", "b'1'", "1"},
                                   {"DATETIME(6)", "'2024-02-29 23:59:58.5'", "2024-02-29 23:59:58.500000000"},
                                   {"BLOB", "x'00ff10'", "x00ff10"}});
    }
    return cases;
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
    for (size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(Show(st->GetColumn(static_cast<int>(i) + 2)), cases[i].expected) << cases[i].type;
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
    binary.binaryValue = {raw, 3};
    ByteStore textStore("from a store", 0xFFFFFFFFu), binaryStore(raw, 3);
    using P = OdbcParam*;
    struct Case {
        const char* column;
        short sqlType;
        unsigned int size;
        std::function<e_Status(P)> set;
        std::string expected;
        // The SQLite driver reads SQL_C_STINYINT as unsigned and SQL_C_ULONG as signed.
        const char* sqliteReads = nullptr;
    };
    const std::vector<Case> cases = {
        {"v", SQL_BIGINT, 0, [](P p) { return p->SetData(9000000000123L, false); }, "9000000000123"},
        {"v", SQL_INTEGER, 0, [](P p) { return p->SetData(-5, false); }, "-5"},
        {"v", SQL_SMALLINT, 0, [](P p) { return p->SetData(short(-300), false); }, "-300"},
        {"v", SQL_SMALLINT, 0, [](P p) { return p->SetData(char(-5), false); }, "-5", "251"},
        {"v", SQL_SMALLINT, 0, [](P p) { return p->SetData((unsigned char)200, false); }, "200"},
        {"v", SQL_INTEGER, 0, [](P p) { return p->SetData((unsigned short)60000, false); }, "60000"},
        {"v", SQL_BIGINT, 0, [](P p) { return p->SetData(4000000000u, false); }, "4000000000", "-294967296"},
        {"v", SQL_BIGINT, 0, [](P p) { return p->SetData(9000000000000000000UL, false); }, "9000000000000000000"},
        {"v", SQL_INTEGER, 0, [](P p) { return p->SetData(true, false); }, "1"},
        {"d", SQL_DOUBLE, 0, [](P p) { return p->SetData(2.5, false); }, "2.5"},
        {"t", SQL_VARCHAR, 40, [&](P p) { return p->SetData(&textStore, false, false); }, "from a store"},
        {"t", SQL_VARCHAR, 40, [&](P p) { return p->SetData(5u, text, false); }, "from a value"},
        // A NULL keeps the cell's C type, so a fresh cell needs one first.
        {"t", SQL_VARCHAR, 40, [&](P p) { return p->SetCType(SQL_C_CHAR, 1), p->SetData(5u, text, true); }, "NULL"},
        {"bin", SQL_LONGVARBINARY, 100, [&](P p) { return p->SetData(28u, binary, false); }, "x00ff10"},
        {"bin", SQL_LONGVARBINARY, 100, [&](P p) { return p->SetData(&binaryStore, true, false); }, "x00ff10"},
        {"ts", SQL_TYPE_TIMESTAMP, 26,
         [](P p) { return p->SetData(tagTIMESTAMP_STRUCT{2024, 2, 29, 23, 59, 58, 0}, false); },
         "2024-02-29 23:59:58.0"},
        {"tm", SQL_TYPE_TIME, 8, [](P p) { return p->SetData(tagTIME_STRUCT{12, 34, 56}, false); }, "12:34:56"},
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

        OdbcStmt* sel = Prepare(std::string("SELECT ") + c.column + " FROM odbc_l_params WHERE k = " +
                                std::to_string(key));
        ORL_ASSERT_OK(sel->Execute(), sel);
        ORL_ASSERT_OK(sel->Fetch(), sel);
        EXPECT_EQ(Show(sel->GetColumn(1)), Is("sqlite") && c.sqliteReads ? c.sqliteReads : c.expected);
        delete sel;
    }
    Drop("odbc_l_params");
}

TEST_P(LayerTest, LongTextAndBinaryReadWhole) {
    Drop("odbc_l_long");
    Exec("CREATE TABLE odbc_l_long (t " + LongTextType() + ", b " + BinaryType() + ")");
    std::string values[2] = {std::string(20000, 'x'), std::string(100000, '\0')};
    for (size_t i = 0; i < values[0].size(); ++i) values[0][i] = static_cast<char>('A' + (i * 7) % 26);
    for (size_t i = 0; i < values[1].size(); ++i) values[1][i] = static_cast<char>((i * 13) % 256);
    OdbcStmt* ins = Prepare("INSERT INTO odbc_l_long (t, b) VALUES (?, ?)");
    ByteStore stores[2];
    for (int p = 0; p < 2; ++p) {
        stores[p].Append(values[p].data(), static_cast<unsigned int>(values[p].size()));
        ins->GetParam(p + 1)->SetSqlType(p ? SQL_LONGVARBINARY : SQL_LONGVARCHAR, stores[p].Size(), 0);
        ins->GetParam(p + 1)->SetData(&stores[p], p == 1, false);
    }
    ORL_ASSERT_OK(ins->Execute(), ins);
    delete ins;
    ORL_ASSERT_OK(dbc->Commit(), dbc);

    OdbcStmt* sel = Prepare("SELECT t, b FROM odbc_l_long");
    ORL_ASSERT_OK(sel->Execute(), sel);
    ORL_ASSERT_OK(sel->Fetch(), sel);
    for (int c = 0; c < 2; ++c) {
        ByteStore got;
        ORL_ASSERT_OK(sel->GetColumn(c + 1)->GetData(&got), sel);
        EXPECT_TRUE(std::string(reinterpret_cast<char*>(got.Data()), got.Size()) == values[c]) << "column " << c;
    }
    EXPECT_EQ(sel->Fetch(), Status_NoData);
    delete sel;
    Drop("odbc_l_long");
}

TEST_P(LayerTest, MaxRowsAndFurtherResults) {
    OdbcStmt* st = Prepare(Is("maria") || Is("sqlite") ? "SELECT 1 UNION SELECT 2 UNION SELECT 3 ORDER BY 1"
                                                       : "SELECT * FROM (VALUES (1), (2), (3)) AS v ORDER BY 1");
    ORL_ASSERT_OK(st->MaxRows(2), st);
    ORL_ASSERT_OK(st->Execute(), st);
    int rows = 0;
    while (st->Fetch() == Status_Ok) ++rows;
    // The MariaDB driver accepts SQL_ATTR_MAX_ROWS and then doesn't apply it.
    EXPECT_EQ(rows, Is("maria") ? 3 : 2);
    delete st;
    if (!Is("pg")) return;  // only its driver takes several statements in one text as set up here
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

INSTANTIATE_TEST_SUITE_P(Dsn, LayerTest, ::testing::ValuesIn(testDsns()),
                         [](const ::testing::TestParamInfo<TestDsn>& info) { return std::string(info.param.label); });

} // namespace orltest
