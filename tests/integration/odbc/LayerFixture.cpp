#include "LayerFixture.h"

#include <sqlext.h>

#include <cstdio>
#include <cstring>
#include <sstream>

namespace orltest {

void LayerTest::SetUp() {
    ORL_REQUIRE_DSN(GetParam());
    env.reset(Odbc::CreateEnv());
    ASSERT_NE(env, nullptr);
    dbc = env->CreateDbc();
    ASSERT_NE(dbc, nullptr);
    const TestDsn& d = GetParam();
    ASSERT_EQ(dbc->Connect(d.dsn, d.user, d.password), Status_Ok) << Info(dbc);
}

void LayerTest::TearDown() {
    if (dbc) dbc->Rollback();
    env.reset();
}

std::string LayerTest::Info(Odbc* o) {
    if (o == nullptr) return "(null object)";
    std::ostringstream s;
    o->DumpInfo(s);
    std::string text = s.str();
    if (!text.empty() && text.back() == '\0') text.pop_back();
    return text;
}

OdbcStmt* LayerTest::Prepare(const std::string& sql, bool batch) {
    OdbcStmt* st = dbc->CreateStmt();
    EXPECT_NE(st, nullptr) << Info(dbc);
    if (st == nullptr) return nullptr;
    EXPECT_EQ(st->SetSql(sql, batch), Status_Ok) << sql << " " << Info(st);
    return st;
}

void LayerTest::Exec(const std::string& sql) {
    OdbcStmt* st = Prepare(sql);
    ASSERT_NE(st, nullptr);
    EXPECT_EQ(st->Execute(), Status_Ok) << sql << " " << Info(st);
    delete st;
    EXPECT_EQ(dbc->Commit(), Status_Ok) << Info(dbc);
}

void LayerTest::Drop(const std::string& table) {
    OdbcStmt* st = dbc->CreateStmt();
    if (st == nullptr) return;
    if (st->SetSql("DROP TABLE IF EXISTS " + table, false) == Status_Ok) st->Execute();
    delete st;
    dbc->Commit();
}

std::string Hex(const unsigned char* bytes, unsigned int n) {
    std::string out;
    char buf[3];
    for (unsigned int i = 0; i < n; ++i) {
        std::snprintf(buf, sizeof buf, "%02x", bytes[i]);
        out += buf;
    }
    return out;
}

namespace {
// Reads through the overload of T and prints the value.
template <typename T>
e_Status ShowAs(OdbcCol* column, std::string& out) {
    T v{};
    e_Status st = column->GetData(v);
    out = std::to_string(+v);
    return st;
}
} // namespace

std::string LayerTest::Show(OdbcCol* column) {
    if (column == nullptr) return "(no column)";
    short cType = 0;
    column->GetCType(cType);
    char buf[96];
    e_Status st = Status_Error;
    std::string out;
    ByteStore v;
    switch (cType) {
    case SQL_C_BIT: st = ShowAs<bool>(column, out); break;
    case SQL_C_TINYINT: st = ShowAs<char>(column, out); break;
    case SQL_C_UTINYINT: st = ShowAs<unsigned char>(column, out); break;
    case SQL_C_SHORT: st = ShowAs<short>(column, out); break;
    case SQL_C_USHORT: st = ShowAs<unsigned short>(column, out); break;
    case SQL_C_LONG: st = ShowAs<int>(column, out); break;
    case SQL_C_ULONG: st = ShowAs<unsigned int>(column, out); break;
    case SQL_C_SBIGINT: st = ShowAs<long>(column, out); break;
    case SQL_C_DOUBLE: {
        double d = 0;
        st = column->GetData(d);
        std::snprintf(buf, sizeof buf, "%g", d);
        out = buf;
        break;
    }
    default:
        st = column->GetData(&v);
        if (cType == SQL_C_CHAR) {
            out.assign(v.Text(), v.Size());
        } else if (cType == SQL_C_TYPE_TIMESTAMP && v.Size() == 16) {
            tagTIMESTAMP_STRUCT t;
            std::memcpy(&t, v.Data(), 16);
            std::snprintf(buf, sizeof buf, "%04d-%02u-%02u %02u:%02u:%02u.%u", t.year, t.month, t.day, t.hour,
                          t.minute, t.second, t.fraction);
            out = buf;
        } else if (cType == SQL_C_TYPE_TIME && v.Size() == 6) {
            tagTIME_STRUCT t;
            std::memcpy(&t, v.Data(), 6);
            std::snprintf(buf, sizeof buf, "%02u:%02u:%02u", t.hour, t.minute, t.second);
            out = buf;
        } else {
            out = "x" + Hex(v.Data(), v.Size());
        }
    }
    if (st == Status_Null) return "NULL";
    if (st != Status_Ok) return "(status " + std::to_string(st) + ")";
    return out;
}

} // namespace orltest
