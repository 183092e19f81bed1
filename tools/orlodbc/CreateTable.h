// The CREATE TABLE text the tool writes itself, from the source's column
// names and type words, in the target's own type names.
#pragma once
#include <string>
#include <vector>

#include "tools/orlodbc/Dialect.h"
#include "tools/orlodbc/Plan.h"

namespace orlodbc {

// PostgreSQL has no NVARCHAR, VARBINARY or TINYINT; MariaDB's TIMESTAMP stops
// at 1970 and its NVARCHAR(5000) rows overflow the row size: they get their
// own type names. Other databases get the names of the driver's one dialect,
// the names its own table creation would write.
std::string createTableSql(const Dialect& d, const TableName& table, const std::vector<std::string>& names,
                           const std::vector<unsigned int>& types);

// The CREATE TABLE of a table described column by column: the given type
// names, NOT NULL where the source has it, and the source's primary key.
std::string createTableSql(const Dialect& d, const TableName& table, const std::vector<SourceColumn>& columns,
                           const std::vector<std::string>& typeNames);

// Whether the driver's own table creation can make the table: it writes
// names between double quotes as they stand, so only plain names may go
// through it, and only where the tool has no type names of its own.
bool driverCreates(const Dialect& d, const TableName& table, const std::vector<std::string>& names);

} // namespace orlodbc
