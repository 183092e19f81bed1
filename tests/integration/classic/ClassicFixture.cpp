#include "ClassicFixture.h"

#include "host/DataService.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace classictest {

LogCapture::LogCapture() {
    LogServiceImpl::setSink([this](const std::string& id, const std::string& t) { lines.emplace_back(id, t); });
}

LogCapture::~LogCapture() { LogServiceImpl::setSink(nullptr); }

std::vector<std::string> LogCapture::ids() const {
    std::vector<std::string> out;
    for (const auto& l : lines) out.push_back(l.first);
    return out;
}

std::string errorsOf(Connection* c) {
    std::string raw, out;
    if (c) c->getLastErrors(raw);
    for (char ch : raw)
        if (ch != '\0') out += ch;
    return out;
}

void ClassicTest::SetUp() {
    ASSERT_NE(nullptr, loader.driver()) << loader.error();
    const orltest::TestDsn& d = GetParam();
    ORL_REQUIRE_DSN(d);
    DataService s("classic");
    s.setProperty("DSN", d.dsn);
    s.setProperty("User", d.user);
    if (*d.password) s.setProperty("Password", d.password);
    conn = loader.driver()->createConnection(s);
    ASSERT_NE(nullptr, conn);
    ASSERT_EQ(1, conn->open()) << errorsOf(conn);
}

void ClassicTest::TearDown() {
    if (conn != nullptr) {
        EXPECT_EQ(1, loader.driver()->releaseConnection(conn));
    }
    conn = nullptr;
}

int ClassicTest::update(const std::string& sql) {
    std::vector<Parameter> none;
    int count = 0;
    return conn->executeUpdate(sql, none, count);
}

bool ClassicTest::selectAll(const std::string& sql, const std::vector<unsigned int>& types,
                            std::vector<Row*>& rows) {
    std::vector<Parameter> none;
    ResultSet* rs = nullptr;
    if (conn->executeQuery(sql, none, 0, rs) != 1 || rs == nullptr) return false;
    RowDescriptor descriptor(types);
    bool more = false;
    while (rs->next(more) == 1 && more) {
        Row* row = nullptr;
        rs->getData(descriptor, row);
        rows.push_back(row);
    }
    return true;
}

void ClassicTest::freeRows(std::vector<Row*>& rows) {
    for (Row* r : rows) delete r;
    rows.clear();
}

} // namespace classictest
