// How the tool writes names into the SQL it makes itself. Names are data: a
// table or column name from a source schema or from the user is always
// written quoted in the database's own way, with the quote character doubled
// inside, and never pasted. Pure functions, so the rules are tested without a
// database.
#pragma once
#include <string>
#include <vector>

namespace orlodbc {

enum class DbKind { PostgreSQL, MariaDB, SQLite, Other };

struct Dialect {
    DbKind kind = DbKind::Other;
    // Opens and closes an identifier; doubled inside one. Empty when the
    // database has no quoting: then only plain names can be written.
    std::string quote = "\"";
    std::string keyword;  // the driver's database keyword, for what is not ours to decide
};

// The dialect of a database from the driver's DBMS name and its identifier
// quote character (either may be empty when the driver didn't say), with the
// driver's keyword as the fallback.
Dialect dialectFor(const std::string& dbmsName, const std::string& quoteChar, const std::string& keyword);

const char* kindName(DbKind kind);

// Letters, digits and underscores, not starting with a digit: the names that
// mean the same quoted or not in every database (case aside).
bool plainName(const std::string& name);

// Whether the database keeps `name` exactly as an identifier; false with the
// reason. Empty names and names with a NUL byte are refused everywhere.
bool canHold(const Dialect& d, const std::string& name, std::string& why);

// `name` quoted for the dialect. Only for names canHold accepted.
std::string quoteName(const Dialect& d, const std::string& name);

// The names quoted and joined by ", ".
std::string quoteNames(const Dialect& d, const std::vector<std::string>& names);

// A table name as the user wrote it, `[schema.]table`, each part bare (taken
// as it stands, without folding case) or quoted in the database's way.
struct TableName {
    std::string schema;  // empty: none
    std::string table;
};

bool parseTableName(const Dialect& d, const std::string& text, TableName& out, std::string& why);

// The table name quoted part by part.
std::string quoteTable(const Dialect& d, const TableName& name);

// How a message shows a name: as written, in double quotes when it isn't plain.
std::string shownName(const TableName& name);
std::string shownName(const std::string& name);

} // namespace orlodbc
