// A typed result row handed from the driver to the host, and the host's
// description of the types it wants.
#pragma once
#include <vector>

#include "datatypes/DataValue.h"

namespace KORVEL { namespace Orl { namespace DB {

class Row {
public:
    Row();
    ~Row();
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;

    // Appends a column. With takeOwnership the row releases (with delete[]) the
    // string or binary bytes the value points to when it dies, so the driver
    // hands over buffers from new[].
    void addColumn(unsigned int type, const DataTypes::DataValue& value, bool takeOwnership);

    int getNumColumns() const { return static_cast<int>(columns_.size()); }
    unsigned int getColumnType(int zeroBasedIndex) const { return columns_.at(zeroBasedIndex).type; }
    const DataTypes::DataValue& getColumnValue(int zeroBasedIndex) const { return columns_.at(zeroBasedIndex).value; }

private:
    struct Cell {
        unsigned int type;
        DataTypes::DataValue value;
        bool owned;
    };
    std::vector<Cell> columns_;
};

class RowDescriptor {
public:
    RowDescriptor() = default;
    explicit RowDescriptor(std::vector<unsigned int> types) : types(std::move(types)) {}
    virtual ~RowDescriptor() = default;

    unsigned int getColumnType(int zeroBasedIndex) const { return types.at(zeroBasedIndex); }
    int getNumColumns() const { return static_cast<int>(types.size()); }

    std::vector<unsigned int> types;  // one type word per wanted column
};

}}} // namespace KORVEL::Orl::DB
