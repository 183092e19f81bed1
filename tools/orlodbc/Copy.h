// orlodbc copy: moves the rows of a table or query from one data source into
// a table of another through the driver's bulk front end, as packed rows.
#pragma once
#include <iosfwd>
#include <string>

#include "tools/orlodbc/Dialect.h"
#include "tools/orlodbc/DriverHost.h"

namespace orlodbc {

struct CopyOptions {
    Endpoint from;
    Endpoint to;
    std::string table;    // source table, `[schema.]table` with parts quoted in the source's way; or
    std::string query;    // source query: the only SQL of the user's that the copy runs
    std::string toTable;  // `[schema.]table` in the target's way; defaults to the source table's parts
    bool create = false;
    bool dropExisting = false;
    long commitEvery = 0;  // 0: one commit at the end
    int batch = 1024;      // rows per block transfer where the driver has them
    // Rows per multi-row INSERT statement on the target: -1 chooses by the
    // target database, 0 or 1 sends row arrays (or single rows) only.
    int rowsPerStatement = -1;
    // Into PostgreSQL, a batch as one statement of column arrays
    // (ColumnArrays.h), of rowsPerStatement rows when given; off, the rows
    // go as multi-row INSERTs.
    bool columnArrays = true;
    int jobs = 1;
    std::string splitBy;   // name of the integer key column that divides the work of the jobs
    // Rows a chunk: a table with an integer key is read one key range at a
    // time, so no driver holds more; 0 reads the whole source in one query.
    long chunkRows = 50000;
    bool resume = false;   // go on from the chunks the target holds, into the table as it is
    bool verify = false;
    bool allowLossy = false;  // copy even where the target changes values, telling which
    bool progress = false;  // draw the progress line on standard error
};

// The rows per multi-row INSERT the copy uses for a target when the user
// didn't say: where such statements measure faster than row arrays.
int defaultRowsPerStatement(const Dialect& target);

// Rows a statement of column arrays carries when the user didn't say.
constexpr int kArrayRowsPerStatement = 25000;

// Returns the exit status: 0 done (and verified), 1 failed, 2 bad usage or set-up.
// The summary goes to `out`, failures to `err`.
int runCopy(DriverHost& host, const CopyOptions& options, std::ostream& out, std::ostream& err);

} // namespace orlodbc
