#include "BulkFixture.h"

#include <algorithm>
#include <cstring>

namespace bulkit {

std::string said(const DBError* e) { return std::string(e->getErrorSource()) + "|" + e->getErrorString(); }

RowPtr makeRow(const std::vector<std::pair<unsigned int, DataTypes::DataValue> >& values) {
    const size_t n = values.size();
    size_t size = 56 + 4 * n;
    for (const auto& v : values)
        if (!v.second.isNull) size += DataTypes::getPackedSize(v.first, v.second);
    unsigned char* block = static_cast<unsigned char*>(std::calloc(1, size));
    int32_t offset = static_cast<int32_t>(56 + 4 * n);
    for (size_t j = 0; j < n; ++j) {
        int32_t entry = 0;
        if (!values[j].second.isNull) {
            entry = offset;
            offset += static_cast<int32_t>(
                DataTypes::packValue(values[j].first, values[j].second, block + offset, size - offset));
        }
        std::memcpy(block + 48 + 4 * j, &entry, 4);
    }
    std::memcpy(block + 48 + 4 * n, &offset, 4);
    const uint32_t header[4] = {static_cast<uint32_t>(size), 1, 0, static_cast<uint32_t>(n)};
    std::memcpy(block, header, sizeof header);
    return RowPtr(reinterpret_cast<RowInternal2*>(block));
}

uint32_t rowSize(const RowInternal2* row) {
    uint32_t v;
    std::memcpy(&v, row, 4);
    return v;
}

uint32_t rowColumns(const RowInternal2* row) {
    uint32_t v;
    std::memcpy(&v, reinterpret_cast<const unsigned char*>(row) + 12, 4);
    return v;
}

unsigned char* columnOf(const RowInternal2* row, size_t j) {
    int32_t o;
    std::memcpy(&o, reinterpret_cast<const unsigned char*>(row) + 48 + 4 * j, 4);
    return o == 0 ? nullptr : reinterpret_cast<unsigned char*>(const_cast<RowInternal2*>(row)) + o;
}

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
    connections.clear();
    EXPECT_EQ(0, driver()->releaseError(error));
}

Connection2* BulkTest::make(const std::vector<std::pair<std::string, std::string> >& properties) {
    DataService service("bulk-svc");
    for (const auto& p : properties) service.setProperty(p.first, p.second);
    Connection2* c = driver()->createConnection2(service, error);
    if (c) connections.push_back(c);
    return c;
}

Connection2* BulkTest::make(const orltest::TestDsn& d) {
    return make({{"DSN", d.dsn}, {"User", d.user}, {"Password", d.password}});
}

Connection2* BulkTest::open(const orltest::TestDsn& d) {
    Connection2* c = make(d);
    EXPECT_NE(nullptr, c) << said(error);
    if (c && c->connect(error) != 0) {
        ADD_FAILURE() << d.dsn << ": " << said(error);
        return nullptr;
    }
    return c;
}

void BulkTest::release(Connection2* c) {
    connections.erase(std::remove(connections.begin(), connections.end(), c), connections.end());
    EXPECT_EQ(0, driver()->releaseConnection2(c, error));
}

bool BulkTest::run(Connection2* c, const std::string& sql, std::string* why) {
    PreparedStatement* st = c->createPreparedStatement(sql.c_str(), error);
    bool ok = st != nullptr && st->execute(error) == 0;
    if (!ok && why) *why = said(error);
    if (st) c->releaseStatement(st, error);
    return ok;
}

} // namespace bulkit
