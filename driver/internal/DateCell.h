// A date, timestamp or bigdatetime value from the fields of an ODBC timestamp
// structure. The text route defines the result: the fields are printed in the
// family's ISO form and read back by DataTypes::convertFromString. The direct
// route computes the same value without the text where the fields leave no
// doubt about what that round trip gives, and hands everything else to it.
#pragma once
#include <sqltypes.h>

#include "datatypes/DataValue.h"

namespace KORVEL { namespace Orl { namespace DB { namespace internal {

// type is 4 (DATE), 8 (TIMESTAMP) or 27 (BIGDATETIME); other words read as 4.
// A text the converter refuses leaves `value` as the converter left it.
void dateValueByText(unsigned int type, const TIMESTAMP_STRUCT& fields, DataTypes::DataValue& value);

// The same result as dateValueByText for every input, cheaper for the usual
// ones: years 0 to 9999 with every field in its printed range.
void dateValue(unsigned int type, const TIMESTAMP_STRUCT& fields, DataTypes::DataValue& value);

}}}} // namespace KORVEL::Orl::DB::internal
