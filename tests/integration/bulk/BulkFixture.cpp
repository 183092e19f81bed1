#include "BulkFixture.h"

namespace bulkit {

void BulkTest::SetUp() {
    ASSERT_NE(nullptr, driver()) << loader.error();
    error = driver()->createError("bulk-svc");
    ASSERT_NE(nullptr, error);
}

void BulkTest::TearDown() {
    if (!driver()) return;
    for (Connection2* c : connections) {
        c->disconnect(true, error);
        EXPECT_EQ(0, driver()->releaseConnection2(c, error));
    }
    EXPECT_EQ(0, driver()->releaseError(error));
}

Connection2* BulkTest::make(const std::vector<std::pair<std::string, std::string> >& properties) {
    DataService service("bulk-svc");
    for (const auto& p : properties) service.setProperty(p.first, p.second);
    Connection2* c = driver()->createConnection2(service, error);
    if (c) connections.push_back(c);
    return c;
}

Connection2* BulkTest::open(const orltest::TestDsn& d) {
    Connection2* c = make({{"DSN", d.dsn}, {"User", d.user}, {"Password", d.password}});
    EXPECT_NE(nullptr, c) << said(error);
    if (c && c->connect(error) != 0) {
        ADD_FAILURE() << d.dsn << ": " << said(error);
        return nullptr;
    }
    return c;
}

bool BulkTest::run(Connection2* c, const std::string& sql, std::string* why) {
    PreparedStatement* st = c->createPreparedStatement(sql.c_str(), error);
    bool ok = st != nullptr && st->execute(error) == 0;
    if (!ok && why) *why = said(error);
    if (st) c->releaseStatement(st, error);
    return ok;
}

} // namespace bulkit
