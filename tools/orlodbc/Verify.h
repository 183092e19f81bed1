// --verify: what each database says of its own rows (Fingerprint.h), both
// sides at once, each on its own connection; where a side is a database the
// tool has no canonical forms for, both are read back through the driver and
// compared by row count and column checksums instead.
#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "tools/orlodbc/DriverHost.h"
#include "tools/orlodbc/Links.h"
#include "tools/orlodbc/Plan.h"

namespace orlodbc {

struct VerifySide {
    const KORVEL::Orl::DataService* service = nullptr;
    Dialect dialect;
    std::string from;        // the table, or the source query as a derived table
    std::string readBackSql;  // the same rows as the driver reads them, for databases without canonical forms
    // Conditions that divide the rows into chunks, for what is read row by
    // row, so the driver holds a chunk at most; empty: read in one query.
    std::vector<std::string> where;
};

// 0 when both agree ("verified ..." on `out`, with how any column was
// compared other than exactly), else 1 with the differences on `err`.
// `source` and `target` are the columns' types on either side.
int verifyCopy(DriverHost& host, const VerifySide& from, const VerifySide& to, const Shape& shape,
               const std::vector<SourceColumn>& source, const std::vector<ColumnType>& target, std::ostream& out,
               std::ostream& err);

// The driver's read of both sides, checksummed.
int verifyByReading(DriverHost& host, const KORVEL::Orl::DataService& fromService, const std::string& sourceSql,
               const KORVEL::Orl::DataService& toService, const std::string& targetSql, const Shape& shape,
               std::ostream& out, std::ostream& err);

} // namespace orlodbc
