// The plan of a copy, made after both sides are described and before
// anything is written: how each column is read, the target's types when the
// copy creates the table, and the columns whose values the target would
// change.
#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "tools/orlodbc/Links.h"
#include "tools/orlodbc/Plan.h"

namespace orlodbc {

// A table's columns from the database's own catalog, in their order: the
// driver's catalog gives type words and ODBC sizes only, which can't tell
// char(n) from varchar(n) nor a time's fraction digits. False with `why`.
bool describeTable(ClassicLink& link, const Dialect& d, const TableName& table, std::vector<SourceColumn>& columns,
                   std::string& why);

struct CopyPlanInput {
    const Dialect* from = nullptr;
    const Dialect* to = nullptr;
    const TableName* fromTable = nullptr;  // null for a --query source
    const TableName* toTable = nullptr;
    const TableName* createAs = nullptr;  // the name the CREATE TABLE makes, when not toTable
    std::string source;  // the FROM item of the source's rows
    std::string query;   // a --query source's text, described through a classic connection
    const Shape* shape = nullptr;  // as the driver reads SELECT *
    bool create = false;
    bool allowLossy = false;
};

struct CopyPlan {
    std::vector<std::string> items;  // SELECT items, one a column
    bool recast = false;             // an item reads its column another way
    std::vector<size_t> marked;      // the columns read as texts with a mark (markedItem), to unmark
    std::string createSql;           // with create: the target table's CREATE TABLE
    std::vector<SourceColumn> columns;  // the source's, as its catalog (or the driver) has them
    std::vector<ColumnType> targetTypes;  // Kind::Other where the target's catalog wasn't read
};

// 0 with the plan; 1 when a side can't be described, 2 when the target
// would change values and lossy copies aren't allowed. Type mappings and
// changed values are told on `err`.
int planCopy(DriverHost& host, const KORVEL::Orl::DataService& fromService,
             const KORVEL::Orl::DataService& toService, BulkLink& probe, const CopyPlanInput& in, CopyPlan& plan,
             std::ostream& err);

} // namespace orlodbc
