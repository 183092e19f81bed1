// orlodbc copy: moves the rows of a table or query from one data source into
// a table of another through the driver's bulk front end, as packed rows.
#pragma once
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "tools/orlodbc/DriverHost.h"

namespace orlodbc {

struct CopyOptions {
    Endpoint from;
    Endpoint to;
    std::string table;    // source table, or
    std::string query;    // source query
    std::string toTable;  // defaults to `table`
    bool create = false;
    bool dropExisting = false;
    long commitEvery = 0;  // 0: one commit at the end
    int batch = 1024;      // rows per block transfer where the driver has them
    int jobs = 1;
    std::string splitBy;   // integer key column that divides the work of the jobs
    bool verify = false;
    bool progress = false;  // draw the progress line on standard error
};

// Returns the exit status: 0 done (and verified), 1 failed, 2 bad usage or set-up.
// The summary goes to `out`, failures to `err`.
int runCopy(DriverHost& host, const CopyOptions& options, std::ostream& out, std::ostream& err);

// The CREATE TABLE text the tool writes itself for databases whose type names
// differ from the driver's one dialect (PostgreSQL has no NVARCHAR, VARBINARY
// or TINYINT; MariaDB's TIMESTAMP stops at 1970 and its NVARCHAR(5000) rows
// overflow the row size). Empty for the others, which go through createTable.
std::string createTableSql(const std::string& keyword, const std::string& quotedTable,
                           const std::vector<std::string>& names, const std::vector<unsigned int>& types);

// The key ranges of `jobs` jobs over [min, max]: entry i is the first key of
// job i; job i ends before entry i + 1, the last one at max.
std::vector<int64_t> splitRanges(int64_t min, int64_t max, int jobs);

} // namespace orlodbc
