#include "BulkFixture.h"

namespace bulktest {

void Bulk::SetUp() {
    orltest::ScriptDsn::Instance();
    env.reset(new Env2Odbc());
    ASSERT_EQ(0, env->initialize(&error)) << error.getErrorString();
}

void Bulk::TearDown() {
    env->releaseConnection2(connection, nullptr);
    env.reset();
}

Connection2Odbc* Bulk::open(const std::string& user, bool connect) {
    env->releaseConnection2(connection, nullptr);
    connection = env->createConnection2(orltest::ScriptDsn::kDsn, user.c_str(), &error);
    EXPECT_NE(nullptr, connection) << said(error);
    if (connection && connect) {
        EXPECT_EQ(0, connection->connect(&error)) << said(error);
    }
    return connection;
}

PreparedStatement2Odbc* Bulk::prepare(const std::string& sql, int count, const unsigned int* types) {
    if (!connection) open("orl");
    PreparedStatement* st = connection->createPreparedStatement(sql.c_str(), count, types, false, &error);
    EXPECT_NE(nullptr, st) << sql << ": " << said(error);
    return static_cast<PreparedStatement2Odbc*>(st);
}

PreparedStatement2Odbc* Bulk::query(const std::string& sql, int count, const unsigned int* types) {
    PreparedStatement2Odbc* st = prepare(sql, count, types);
    bool entered = false, fetched = false;
    if (!st) return nullptr;
    EXPECT_EQ(0, st->execute(&error)) << sql << ": " << said(error);
    EXPECT_EQ(0, st->nextResultSet(entered, &error));
    EXPECT_EQ(0, st->hasMoreData(fetched, &error));
    EXPECT_TRUE(entered && fetched) << sql;
    return st;
}

} // namespace bulktest
