#include "host/Row.h"

namespace KORVEL { namespace Orl { namespace DB {

namespace {
constexpr unsigned int kString = 5;
constexpr unsigned int kBinary = 28;
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
    columns_.push_back(Cell{type, value, takeOwnership});
}

}}} // namespace KORVEL::Orl::DB
