// Runs SQL text through a classic connection and prints what comes back.
#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "datatypes/DataValue.h"
#include "host/Connection.h"
#include "tools/orlodbc/Dialect.h"
#include "tools/orlodbc/QueryColumns.h"

namespace orlodbc {

// Text whose first word is SELECT, WITH, VALUES, SHOW, EXPLAIN, DESCRIBE,
// DESC, PRAGMA or TABLE (any case) is run as a query; anything else as an update.
bool looksLikeQuery(const std::string& sql);

// How query rows are printed. Tsv: a header, then tab-separated values as
// they stand ("NULL" for NULL). Csv: a header, then values quoted where a
// comma, quote or line break needs it, NULL as an empty field. Json: one
// object per row and line; integers and floats as numbers, booleans as
// true/false, decimals (which would lose digits as numbers) and times as
// strings, binaries as hex strings, NULL as null. A value has one text in
// all three (see ValueText.h), whichever database it came from.
enum class OutputFormat { Tsv, Csv, Json };

// What a column's values are printed as.
// IntegerText: an integer read as its text, printed as it stands.
enum class ValueKind { Integer, IntegerText, Float, Real, Boolean, BooleanText, Text, Binary, Date, Timestamp, TimeOfDay, Time, Other };

// The type word a column is read with, and how its values print.
struct CellPlan {
    unsigned int readType;
    ValueKind kind;
};

// The text that runs `sql` again with the integer columns that the classic
// read would cut read as their text instead (`asText`): a SELECT, WITH or
// VALUES on SQLite, whose driver describes a 64-bit integer by its declared
// name or its first value, and on MariaDB, whose driver describes an unsigned
// integer as a signed one. Empty when no column needs it, or it can't be done.
std::string wholeIntegers(DbKind db, const std::string& sql, const std::vector<unsigned int>& reported,
                          const std::vector<QueryColumn>& described, std::vector<bool>& asText);

// The plan for a column of the reported type word and what the ODBC driver
// described (a default QueryColumn when it said nothing).
CellPlan planCell(unsigned int reported, const QueryColumn& described);

// One value as it stands in a line of the format: quoted for CSV, a JSON
// value for JSON.
std::string cellOutput(const CellPlan& plan, const DataTypes::DataValue& value, OutputFormat format);

// The CSV field and the JSON string of a text; exposed for the tests.
std::string csvField(const std::string& text);
std::string jsonString(const std::string& text);

// Runs each statement in order: a query prints a tab-separated header of its
// column names and one tab-separated line per row ("NULL" for NULL, binary
// as hex); an update prints "<n> row(s)". Stops at the first failure and
// returns false; the driver's error text is then in the connection's
// getLastErrors, and a row the driver skipped is reported on `err`.
bool runStatements(KORVEL::Orl::DB::Connection& connection, const std::vector<std::string>& statements,
                   std::ostream& out, std::ostream& err, OutputFormat format = OutputFormat::Tsv);

} // namespace orlodbc
