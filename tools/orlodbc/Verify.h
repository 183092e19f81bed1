// --verify: both sides read back through the driver at once, each on its own
// connection, and compared by row count and column checksums.
#pragma once
#include <iosfwd>
#include <string>

#include "tools/orlodbc/DriverHost.h"
#include "tools/orlodbc/Links.h"

namespace orlodbc {

// 0 when both agree ("verified ..." on `out`), else 1 with the differences
// on `err`.
int verifyCopy(DriverHost& host, const KORVEL::Orl::DataService& fromService, const std::string& sourceSql,
               const KORVEL::Orl::DataService& toService, const std::string& targetSql, const Shape& shape,
               std::ostream& out, std::ostream& err);

} // namespace orlodbc
