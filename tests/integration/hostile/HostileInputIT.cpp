// Input no well-behaved host sends: odd service definitions, SQL with a NUL
// inside, parameters of 100 MB, packed rows that point outside themselves,
// type words of no type. Each must end in a clear failure or a correct result,
// never a crash, and must not cost a row that was committed before.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "datatypes/DataTypes.h"
#include "host/Connection.h"
#include "host/Connection2.h"
#include "host/DBError.h"
#include "host/DataService.h"
#include "host/LogServiceImpl.h"
#include "host/PreparedStatement.h"
#include "host/ResultSet.h"
#include "host/Row.h"
#include "support/DriverLoader.h"
#include "support/TestDsn.h"
#include "unit/bulk/PackedRows.h"

namespace {

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;
using namespace DataTypes;
using namespace packedrows;

struct Logged {
    std::vector<std::string> ids;
    Logged() {
        LogServiceImpl::setSink([this](const std::string& id, const std::string&) { ids.push_back(id); });
    }
    ~Logged() { LogServiceImpl::setSink(nullptr); }
};

class HostileInput : public ::testing::TestWithParam<orltest::TestDsn> {
protected:
    void SetUp() override {
        ORL_REQUIRE_DSN(GetParam());
        ASSERT_NE(nullptr, driver()) << loader.error();
        // A committed row that no failure below may take away.
        Connection* c = classic();
        ASSERT_NE(nullptr, c);
        update(c, "DROP TABLE IF EXISTS orl_hostile");
        ASSERT_EQ(1, update(c, label() == "pg"      ? "CREATE TABLE orl_hostile (k INTEGER, s TEXT, b BYTEA)"
                               : label() == "maria" ? "CREATE TABLE orl_hostile (k INTEGER, s LONGTEXT, b LONGBLOB)"
                                                    : "CREATE TABLE orl_hostile (k INTEGER, s TEXT, b BLOB)"));
        ASSERT_EQ(1, update(c, "INSERT INTO orl_hostile (k) VALUES (1)"));
        ASSERT_EQ(1, c->commit());
        driver()->releaseConnection(c);
    }
    void TearDown() override {
        if (!driver() || IsSkipped()) return;
        Connection* c = classic();
        ASSERT_NE(nullptr, c);
        EXPECT_EQ(1, count(c, "SELECT k FROM orl_hostile WHERE k = 1")) << "the committed row is gone";
        update(c, "DROP TABLE IF EXISTS orl_hostile");
        c->commit();
        driver()->releaseConnection(c);
    }

    Driver* driver() const { return loader.driver(); }
    std::string label() const { return GetParam().label; }
    DataService service() const {
        DataService s("hostile");
        s.setProperty("DSN", GetParam().dsn);
        s.setProperty("User", GetParam().user);
        s.setProperty("Password", GetParam().password);
        return s;
    }
    Connection* classic() {
        Connection* c = driver()->createConnection(service());
        if (c && c->open() != 1) {
            driver()->releaseConnection(c);
            return nullptr;
        }
        return c;
    }
    static int update(Connection* c, const std::string& sql) {
        std::vector<Parameter> none;
        int n = 0;
        return c->executeUpdate(sql, none, n);
    }
    static int count(Connection* c, const std::string& sql) {
        std::vector<Parameter> none;
        ResultSet* rs = nullptr;
        if (c->executeQuery(sql, none, 0, rs) != 1) return -1;
        int rows = 0;
        bool more = false;
        while (rs->next(more) == 1 && more) ++rows;
        return rows;
    }

    orltest::DriverLoader loader;
};

TEST_P(HostileInput, ServiceDefinitions) {
    const std::string longText(70000, 'x');
    const std::string notUtf8("\xff\xfe\xc3(\x80", 5);
    struct Case {
        const char* name;
        std::vector<std::pair<std::string, std::string> > properties;
        bool made;  // the classic factory refuses an empty DSN or user outright
    } cases[] = {
        {"nothing", {}, false},
        {"empty DSN", {{"DSN", ""}, {"User", "u"}}, false},
        {"empty user", {{"DSN", GetParam().dsn}, {"User", ""}}, false},
        {"very long DSN", {{"DSN", longText}, {"User", "u"}}, true},
        {"DSN not UTF-8", {{"DSN", notUtf8}, {"User", "u"}}, true},
        {"very long user and password", {{"DSN", GetParam().dsn}, {"User", longText}, {"Password", longText}}, true},
        {"user not UTF-8", {{"DSN", GetParam().dsn}, {"User", notUtf8}, {"Password", notUtf8}}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DataService s("hostile");
        for (const auto& p : c.properties) s.setProperty(p.first, p.second);
        Connection* conn = driver()->createConnection(s);
        EXPECT_EQ(c.made, conn != nullptr);
        if (conn != nullptr) {
            Logged log;
            int status = conn->open();
            // SQLite takes any user; the servers and the driver manager refuse the rest.
            if (status != 1) {
                EXPECT_EQ(3, status);
                EXPECT_EQ(std::vector<std::string>{"801000-3_ERROR_OPENING_DB_CONNECTION"}, log.ids);
            }
            EXPECT_EQ(1, driver()->releaseConnection(conn));
        }
        DBError* error = driver()->createError("hostile");
        Connection2* bulk = driver()->createConnection2(s, error);
        ASSERT_NE(nullptr, bulk);
        if (bulk->connect(error) != 0) {
            EXPECT_STREQ("odbc", error->getErrorSource());
            EXPECT_NE('\0', error->getErrorString()[0]);
        }
        bulk->disconnect(true, error);
        driver()->releaseConnection2(bulk, error);
        driver()->releaseError(error);
    }
}

TEST_P(HostileInput, SqlWithANulInside) {
    Connection* c = classic();
    ASSERT_NE(nullptr, c);
    Logged log;
    const std::string sql("INSERT INTO orl_hostile (k) VALUES (2)\0; DROP TABLE orl_hostile", 63);
    int status = update(c, sql);
    // The text ends at the NUL, as a C string would: what follows never reaches the database.
    if (status != 1) {
        EXPECT_EQ(3, status);
    }
    c->rollback();
    driver()->releaseConnection(c);
}

TEST_P(HostileInput, ParametersOf100MB) {
    const size_t n = 100u << 20;
    std::string text(n, 'a'), bytes(n, '\0');
    for (size_t i = 0; i < n; i += 4096) text[i] = static_cast<char>('b' + i % 20), bytes[i] = static_cast<char>(i);
    Connection* c = classic();
    ASSERT_NE(nullptr, c);
    std::vector<Parameter> p(3);
    p[0].type = INTEGER;
    p[0].value.int32Value = 3;
    p[0].value.isNull = false;
    p[1].type = STRING;
    p[1].value.stringValue = &text[0];
    p[1].value.isNull = false;
    p[2].type = BINARY;
    p[2].value.binaryValue = {reinterpret_cast<unsigned char*>(&bytes[0]), static_cast<uint32_t>(n)};
    p[2].value.isNull = false;
    int rows = 0;
    ASSERT_EQ(1, c->executeUpdate("INSERT INTO orl_hostile (k, s, b) VALUES (?, ?, ?)", p, rows));
    ASSERT_EQ(1, c->commit());
    std::vector<Parameter> none;
    ResultSet* rs = nullptr;
    ASSERT_EQ(1, c->executeQuery("SELECT s, b FROM orl_hostile WHERE k = 3", none, 0, rs));
    bool more = false;
    ASSERT_EQ(1, rs->next(more));
    ASSERT_TRUE(more);
    Row* row = nullptr;
    ASSERT_EQ(1, rs->getData(RowDescriptor({STRING, BINARY}), row));
    EXPECT_TRUE(text == row->getColumnValue(0).stringValue);
    const BinaryValue& b = row->getColumnValue(1).binaryValue;
    ASSERT_EQ(n, b.length);
    EXPECT_EQ(0, std::memcmp(b.data, bytes.data(), n));
    delete row;
    driver()->releaseConnection(c);
}

TEST_P(HostileInput, TypeWordsOfNoType) {
    Connection* c = classic();
    ASSERT_NE(nullptr, c);
    for (unsigned int word : {99u, 0xFFu, 6u /* UNKNOWN */}) {
        SCOPED_TRACE(word);
        Logged log;
        std::vector<Parameter> p(1);
        p[0].type = word;
        p[0].value.int64Value = 7;
        p[0].value.isNull = false;
        int rows = 0;
        // Refused before any ODBC call, and silently: the host knows what it sent.
        EXPECT_EQ(3, c->executeUpdate("INSERT INTO orl_hostile (k) VALUES (?)", p, rows));
        EXPECT_EQ(std::vector<std::string>{}, log.ids);
        c->rollback();
        std::vector<Parameter> none;
        ResultSet* rs = nullptr;
        ASSERT_EQ(1, c->executeQuery("SELECT k FROM orl_hostile", none, 0, rs));
        bool more = false;
        ASSERT_EQ(1, rs->next(more));
        Row* row = reinterpret_cast<Row*>(1);
        EXPECT_EQ(3, rs->getData(RowDescriptor({word}), row));  // the row is skipped, not misread
        EXPECT_EQ(nullptr, row);
    }
    c->rollback();
    driver()->releaseConnection(c);

    DBError* error = driver()->createError("hostile");
    Connection2* bulk = driver()->createConnection2(service(), error);
    ASSERT_NE(nullptr, bulk);
    ASSERT_EQ(0, bulk->connect(error)) << error->getErrorString();
    const unsigned int words[] = {99u};
    PreparedStatement* st = bulk->createPreparedStatement("SELECT k FROM orl_hostile", 1, words, false, error);
    if (st != nullptr) {
        bool more = false;
        if (st->execute(error) == 0 && st->nextResultSet(more, error) == 0 && st->hasMoreData(more, error) == 0 && more)
            free(st->nextRow(error));
        bulk->releaseStatement(st, error);
    }
    PreparedStatement* insert = bulk->createPreparedStatement("INSERT INTO orl_hostile (k) VALUES (?)", error);
    ASSERT_NE(nullptr, insert);
    std::vector<DataValue> values(1);
    values[0].int32Value = 8;
    values[0].isNull = false;
    std::vector<unsigned int> types{99u};
    EXPECT_EQ(-1, insert->execute(values, types, error));
    bulk->releaseStatement(insert, error);
    bulk->rollback(error);
    bulk->disconnect(true, error);
    driver()->releaseConnection2(bulk, error);
    driver()->releaseError(error);
}

// Rows whose offset table or values lie outside the size they give themselves.
TEST_P(HostileInput, PackedRowsPointingOutsideThemselves) {
    DBError* error = driver()->createError("hostile");
    Connection2* bulk = driver()->createConnection2(service(), error);
    ASSERT_NE(nullptr, bulk);
    ASSERT_EQ(0, bulk->connect(error)) << error->getErrorString();
    PreparedStatement* insert = bulk->createPreparedStatement("INSERT INTO orl_hostile (k, s, b) VALUES (?, ?, ?)", error);
    ASSERT_NE(nullptr, insert) << error->getErrorString();
    const unsigned int words[] = {INTEGER, STRING, BINARY};
    std::vector<int> columns{0, 1, 2};
    ASSERT_EQ(0, insert->setBindings(columns, words, error)) << error->getErrorString();

    DataValue k, s, b;
    k.int32Value = 9;
    s.stringValue = const_cast<char*>("text");
    static unsigned char bytes[] = {1, 0, 2};
    b.binaryValue = {bytes, 3};
    k.isNull = s.isNull = b.isNull = false;
    auto good = [&] { return makeRow({{INTEGER, k}, {STRING, s}, {BINARY, b}}); };
    auto setWord = [](RowInternal2* row, size_t at, uint32_t v) { std::memcpy(reinterpret_cast<unsigned char*>(row) + at, &v, 4); };
    struct Case {
        const char* name;
        std::function<void(RowInternal2*)> spoil;
    } cases[] = {
        {"offset far past the end", [&](RowInternal2* r) { setWord(r, 48, 0x7FFFFFF0u); }},
        {"negative offset", [&](RowInternal2* r) { setWord(r, 52, 0xFFFFFF00u); }},
        {"offset into the header", [&](RowInternal2* r) { setWord(r, 52, 8); }},
        {"binary length past the end", [&](RowInternal2* r) {
             int32_t o;
             std::memcpy(&o, reinterpret_cast<unsigned char*>(r) + 56, 4);
             unsigned char* p = reinterpret_cast<unsigned char*>(r) + o;
             p[0] = 0x7F;  // big-endian length
         }},
        {"text without its NUL", [&](RowInternal2* r) {
             setWord(r, 0, rowSize(r) - static_cast<uint32_t>(4 + 3 + 1));  // cut behind the text's last letter
             setWord(r, 56, 0);  // the binary is NULL, so only the text decides
         }},
        {"size smaller than the offset table", [&](RowInternal2* r) { setWord(r, 0, 50); }},
        {"column count beyond the size", [&](RowInternal2* r) { setWord(r, 12, 0x00FFFFFFu); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        RowPtr row = good();
        c.spoil(row.get());
        EXPECT_EQ(-1, insert->execute(row.get(), error));
        EXPECT_STREQ("dbaccess", error->getErrorSource());
    }
    // The bindings survive a refused row.
    RowPtr row = good();
    EXPECT_EQ(0, insert->execute(row.get(), error)) << error->getErrorString();
    bulk->releaseStatement(insert, error);
    EXPECT_EQ(0, bulk->rollback(error));
    bulk->disconnect(true, error);
    driver()->releaseConnection2(bulk, error);
    driver()->releaseError(error);
}

INSTANTIATE_TEST_SUITE_P(Dsn, HostileInput, ::testing::ValuesIn(orltest::testDsns()),
                         [](const ::testing::TestParamInfo<orltest::TestDsn>& i) { return std::string(i.param.label); });

} // namespace
