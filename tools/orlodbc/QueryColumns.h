// What the ODBC driver beneath a classic connection says about a query's
// columns, beyond the type word the result set reports: that word is the
// same for a date, a time and a timestamp, and a text for a boolean that the
// database's ODBC driver describes as text; it has no width of a text nor
// sign of an integer.
#pragma once
#include <string>
#include <vector>

namespace orlodbc {

struct QueryColumn {
    short sqlType = 0;      // concise ODBC SQL type; 0 when not known
    std::string typeName;   // the database's name of the type, as its driver gives it
    long size = 0;          // column size: characters, bytes or digits; 0 when not known
    int digits = 0;         // decimal digits: a decimal's scale, a time's fraction digits
    bool unsignedInt = false;  // an integer type without a sign
};

// Prepares the text on a statement of its own on the connection's ODBC
// handle (Connection::getHandle) and describes the result columns, without
// running it. Empty when the handle is null or the driver can't say.
std::vector<QueryColumn> describeQueryColumns(void* connectionHandle, const std::string& sql);

// The database product the connection's ODBC driver names (SQL_DBMS_NAME);
// empty when it can't say.
std::string dbmsName(void* connectionHandle);

} // namespace orlodbc
