// Prints what the driver's catalog questions answer for a connection.
#pragma once
#include <iosfwd>
#include <string>

#include "host/Connection.h"

namespace orlodbc {

// One table name per line; with a schema only that schema's tables (an empty
// schema lists all). False when the driver failed the listing.
bool listTables(KORVEL::Orl::DB::Connection& connection, const std::string& schema, std::ostream& out);

// One line per column of `table`: name, type name, type word, "key" for a
// primary-key column and "null" for a nullable one, tab-separated.
bool listColumns(KORVEL::Orl::DB::Connection& connection, const std::string& schema, const std::string& table,
                 std::ostream& out);

} // namespace orlodbc
