// One job of a copy: the rows of one query read as packed rows from the
// source and written to the target's INSERT, in blocks where the driver runs
// them.
#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/orlodbc/Links.h"
#include "tools/orlodbc/Progress.h"

namespace orlodbc {

struct JobResult {
    uint64_t rows = 0;       // executed on the target
    uint64_t committed = 0;  // of them, committed
    bool failed = false;
    std::string why;
    bool arrays = false;     // the driver took row arrays
    bool columnArrays = false;  // the rows went as column arrays
};

struct JobPlan {
    std::string selectSql;
    std::string insertSql;
    std::string range;  // how the failure message names the job's part
    const Shape* shape = nullptr;
    // Columns read as texts with a mark (Plan.h, markedItem): each value's
    // mark is taken off between the read and the write.
    const std::vector<size_t>* marked = nullptr;
    int batch = 1;
    long commitEvery = 0;
    // Reading in chunks: each call gives the next chunk's SELECT and how a
    // failure names it, false when none is left; selectSql is then unused.
    // The job commits at chunk ends only, so the target holds whole chunks:
    // at the first end after `commitEvery` rows since the last commit, or
    // without it after `commitSeconds`, so that what a stopped copy loses is
    // bounded and a commit's flush to disk (SQLite's measured 5 to 20% of a
    // copy's time when every 50,000-row chunk had one) stays a small part.
    std::function<bool(std::string& selectSql, std::string& range)> nextChunk;
    double commitSeconds = 1.0;
    // Into PostgreSQL: the INSERT that takes a batch as one array a column
    // (ColumnArrays.h), empty to write blocks through insertSql; the rows
    // of a batch.
    std::string arraySql;
    size_t arrayRows = 0;
};

// Runs the plan on its own pair of connections. `stop` is shared by the jobs
// of a copy: the first to fail sets it, and the others end at their next row.
JobResult runJob(BulkLink& src, BulkLink& dst, const JobPlan& plan, Progress& progress, std::atomic<bool>& stop);

} // namespace orlodbc
