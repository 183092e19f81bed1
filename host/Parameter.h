// A host value bound to a statement marker: a type word and the value.
#pragma once
#include "datatypes/DataValue.h"

namespace KORVEL { namespace Orl { namespace DB {

struct Parameter {
    unsigned int type = 0;       // type word; money and fixed decimals keep their full word
    DataTypes::DataValue value;  // starts at byte 8, with its own null flag
};
static_assert(sizeof(Parameter) == 40, "the host lays out parameters in 40 bytes");

}}} // namespace KORVEL::Orl::DB
