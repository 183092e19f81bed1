// The target table of a copy, made from the source's columns with --create.
#pragma once
#include <iosfwd>
#include <string>

#include "tools/orlodbc/Dialect.h"
#include "tools/orlodbc/Links.h"

namespace orlodbc {

// Creates `table` on the target's classic connection and commits, dropping a
// table of that name first with `dropExisting`. 0, or the exit status of a
// failure told on `err`.
// With `sql` (a planned CREATE TABLE) that text makes it, else the shape's type words.
int createTarget(ClassicLink& target, const Dialect& d, const TableName& table, const Shape& shape,
                 bool dropExisting, std::ostream& err, const std::string& sql = std::string());

} // namespace orlodbc
