#include "host/Row.h"

namespace KORVEL { namespace Orl { namespace DB {

namespace {
constexpr unsigned int kString = 5;
constexpr unsigned int kBinary = 28;
// The driver makes a row by the default constructor and never says how many
// columns will follow, so the first one reserves what a server row of its
// descriptor would: room for a wide row at once, not growth by doubling.
constexpr std::size_t kReservedColumns = 16;
} // namespace

Row::Row() = default;

Row::~Row() {
    for (Cell& c : columns_) {
        if (!c.owned || c.value.isNull) continue;
        unsigned int t = c.type & 0xFF;
        if (t == kString) delete[] c.value.stringValue;
        else if (t == kBinary) delete[] c.value.binaryValue.data;
    }
}

void Row::addColumn(unsigned int type, const DataTypes::DataValue& value, bool takeOwnership) {
    if (columns_.capacity() == 0) columns_.reserve(kReservedColumns);
    // Filled in place: a cell built on the stack and copied in stalls on
    // reading back its own half-written bytes, at every column of every row.
    columns_.emplace_back();
    Cell& cell = columns_.back();
    cell.type = type;
    cell.value = value;
    cell.owned = takeOwnership;
}

}}} // namespace KORVEL::Orl::DB
