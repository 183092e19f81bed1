// The target table of a copy, made from the source's columns with --create.
#pragma once
#include <iosfwd>
#include <string>
#include <vector>

#include "tools/orlodbc/Dialect.h"
#include "tools/orlodbc/DriverHost.h"
#include "tools/orlodbc/Links.h"

namespace orlodbc {

// Creates `table` on the target's classic connection and commits, dropping a
// table of that name first with `dropExisting`. 0, or the exit status of a
// failure told on `err`.
// With `sql` (a planned CREATE TABLE) that text makes it, else the shape's type words.
int createTarget(ClassicLink& target, const Dialect& d, const TableName& table, const Shape& shape,
                 bool dropExisting, std::ostream& err, const std::string& sql = std::string());

// --drop-existing without a gap: the rows go into a fresh table beside the
// old one, which gives way to it only when the copy is whole.

// Whether the target has a table of that name; the connection is left with nothing open.
bool tableExists(ClassicLink& target, const Dialect& d, const TableName& table);

// The name of the fresh table beside `table`, in its schema: one no other copy running now uses.
TableName freshName(const TableName& table, long id);

// The fresh table takes the old one's name, in one step where the database
// has one (see swapSql). 0; 1 with the failure on `err`, the old table as
// it was; 2 on MariaDB when the new rows are in place but the old table,
// renamed, could not be dropped.
int swapIn(ClassicLink& target, const Dialect& d, const TableName& fresh, const TableName& table, long id,
           std::ostream& err);

// The statements of the swap, in order; all but MariaDB's run in one
// transaction, MariaDB's first is its atomic RENAME TABLE of both names.
std::vector<std::string> swapSql(const Dialect& d, const TableName& fresh, const TableName& table, long id);

// Drops the fresh table after a failure; false when even that failed.
bool dropFresh(ClassicLink& target, const Dialect& d, const TableName& fresh);

// One copy's replacement of its target table. Whatever way the copy ends
// before `finish`, the fresh table is dropped and the old one is told to be
// as it was.
class Replacement {
public:
    Replacement(DriverHost& host, const KORVEL::Orl::DataService& service, const Dialect& d, const TableName& table,
                std::ostream& err);
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    // Whether the table exists to be replaced (when `wanted`); false with `why`
    // when the target can't be asked.
    bool prepare(bool wanted, std::string& why);
    bool active() const { return active_; }
    // Where the rows go: the fresh table, or the table itself.
    const TableName& writeTable() const { return active_ ? fresh_ : table_; }
    // The fresh table has been created.
    void made() { made_ = active_; }
    // Puts the fresh table in the old one's place: 0, or 1 told on `err`.
    int finish();

private:
    DriverHost& host_;
    const KORVEL::Orl::DataService& service_;
    Dialect d_;
    TableName table_, fresh_;
    long id_;
    std::ostream& err_;
    bool active_ = false, made_ = false;
};

} // namespace orlodbc
