// Runs SQL text through a classic connection and prints what comes back.
#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "host/Connection.h"

namespace orlodbc {

// Text whose first word is SELECT, WITH, VALUES, SHOW, EXPLAIN, DESCRIBE,
// DESC, PRAGMA or TABLE (any case) is run as a query; anything else as an update.
bool looksLikeQuery(const std::string& sql);

// Runs each statement in order: a query prints a tab-separated header of its
// column names and one tab-separated line per row ("NULL" for NULL, binary
// as hex); an update prints "<n> row(s)". Stops at the first failure and
// returns false; the driver's error text is then in the connection's
// getLastErrors, and a row the driver skipped is reported on `err`.
bool runStatements(KORVEL::Orl::DB::Connection& connection, const std::vector<std::string>& statements,
                   std::ostream& out, std::ostream& err);

} // namespace orlodbc
