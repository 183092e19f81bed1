// An order-independent checksum of a table's values, so that two databases
// holding the same rows in any order and in their own column types agree.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace KORVEL { namespace Orl { namespace DB {
struct RowInternal2;
}}} // namespace KORVEL::Orl::DB

namespace orlodbc {

class TableChecksum {
public:
    TableChecksum() = default;
    explicit TableChecksum(const std::vector<unsigned int>& types) : types_(types), sums_(types.size(), 0) {}

    // Adds one packed row whose columns have the types given at construction.
    void add(const KORVEL::Orl::DB::RowInternal2* row);
    // Adds another part of the same table (one job's range).
    void merge(const TableChecksum& other);

    uint64_t rows() const { return rows_; }
    const std::vector<uint64_t>& columnSums() const { return sums_; }
    // One number for all columns and the row count, as hex.
    std::string text() const;

private:
    std::vector<unsigned int> types_;
    std::vector<uint64_t> sums_;
    uint64_t rows_ = 0;
};

// The canonical bytes a value is hashed by: its kind (integer, float, text or
// decimal, bytes, point in time, time of day) and a form that doesn't depend
// on the width the database gave it, so that a SMALLINT and a BIGINT of the
// same number, a DATE and a TIMESTAMP at midnight, or a decimal and its text
// (trailing fraction zeros dropped) hash alike. Null
// `packed` is NULL. Exposed for the tests.
std::string canonicalValue(unsigned int type, const unsigned char* packed);

} // namespace orlodbc
