#include "BulkFixture.h"

#include <cstring>

namespace bulktest {

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
    RowInternal2* row = reinterpret_cast<RowInternal2*>(block);
    row->size = static_cast<uint32_t>(size);
    row->one = 1;
    row->columnCount = static_cast<uint32_t>(n);
    return RowPtr(row);
}

int32_t offsetOf(const RowInternal2* row, size_t j) {
    int32_t v;
    std::memcpy(&v, reinterpret_cast<const unsigned char*>(row) + 48 + 4 * j, 4);
    return v;
}

const unsigned char* columnOf(const RowInternal2* row, size_t j) {
    int32_t o = offsetOf(row, j);
    return o == 0 ? nullptr : reinterpret_cast<const unsigned char*>(row) + o;
}

DataTypes::DataValue int64Value(int64_t v) {
    DataTypes::DataValue d;
    d.int64Value = v;
    d.isNull = false;
    return d;
}

std::string said(const DBError2Odbc& e) { return std::string(e.getErrorSource()) + "|" + e.getErrorString(); }

void Bulk::SetUp() {
    orltest::ScriptDsn::Instance();
    env.reset(new Env2Odbc());
    ASSERT_EQ(0, env->initialize(&error)) << error.getErrorString();
}

void Bulk::TearDown() {
    if (connection) env->releaseConnection2(connection, nullptr);
    connection = nullptr;
    env.reset();
}

Connection2Odbc* Bulk::open(const std::string& user, bool connect) {
    if (connection) env->releaseConnection2(connection, nullptr);
    connection = env->createConnection2(orltest::ScriptDsn::kDsn, user.c_str(), &error);
    EXPECT_NE(nullptr, connection) << said(error);
    if (connection && connect) {
        EXPECT_EQ(0, connection->connect(&error)) << said(error);
    }
    return connection;
}

PreparedStatement2Odbc* Bulk::prepare(const std::string& sql, int count, const unsigned int* types) {
    if (!connection) open("orl");
    PreparedStatement* st = count ? connection->createPreparedStatement(sql.c_str(), count, types, false, &error)
                                  : connection->createPreparedStatement(sql.c_str(), &error);
    EXPECT_NE(nullptr, st) << sql << ": " << said(error);
    return static_cast<PreparedStatement2Odbc*>(st);
}

PreparedStatement2Odbc* Bulk::query(const std::string& sql, int count, const unsigned int* types) {
    PreparedStatement2Odbc* st = prepare(sql, count, types);
    if (!st) return nullptr;
    bool more = false;
    EXPECT_EQ(0, st->execute(&error)) << sql << ": " << said(error);
    EXPECT_EQ(0, st->nextResultSet(more, &error));
    EXPECT_TRUE(more);
    return st;
}

} // namespace bulktest
