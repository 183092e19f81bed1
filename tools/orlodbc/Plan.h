// How each column of a copy travels: the source's declared types, the target
// types that hold them, the way each column is read, and what a target can't
// hold. The driver reads a column by the type its ODBC driver describes,
// which is at times narrower than what the database keeps (SQLite's 64-bit
// integers described as 32-bit, an unbounded numeric as numeric(28,6), a
// time without its fraction); such columns are read as text or as 64-bit
// integers instead. Pure functions, so the rules are tested without a database.
#pragma once
#include <string>
#include <vector>

#include "tools/orlodbc/Dialect.h"

namespace orlodbc {

enum class Kind {
    Int8, Int16, Int32, Int64, Float32, Float64, Decimal, Char, Varchar, Text, Binary, Varbinary, Blob, Date, Time,
    Timestamp, Boolean, Other
};

struct ColumnType {
    Kind kind = Kind::Other;
    // Length of texts and binaries (0: unbounded), precision of decimals
    // (0: unbounded), fraction digits of times and timestamps.
    int size = 0;
    int scale = 0;              // decimals only
    std::string declared;       // as the catalog wrote it
};

struct SourceColumn {
    std::string name;
    ColumnType type;
    bool notNull = false;
    bool key = false;
};

// A type as a database's catalog names it. SQLite's integers hold 64 bits
// whatever the declared name, and its TIME and TIMESTAMP are texts that keep
// any fraction.
ColumnType parseDeclared(DbKind db, const std::string& declared);

// The type a --query column is known by: only the driver's type word.
ColumnType fromTypeWord(unsigned int word);

// The target's name for a type, and why it differs when the target has no
// faithful one (empty when it is faithful).
struct TargetType {
    std::string sql;
    std::string note;
};
TargetType targetType(DbKind target, const ColumnType& t);

// AsIs: as the driver reads it; Text: cast to text by the source; Digits:
// a double printed by the source to 17 significant digits, which reads back
// as the same double.
enum class Read { AsIs, Text, Digits };

struct ColumnPlan {
    Read read = Read::AsIs;
    std::string why;   // why the column is read another way
    std::string loss;  // what the target can't hold; empty when it holds every value
};

// How one column travels from a column of `src` (read by the driver as
// `word`) into a column of `dst`.
ColumnPlan planColumn(DbKind source, const ColumnType& src, unsigned int word, DbKind target,
                      const ColumnType& dst);

// The SELECT item that reads a column the planned way, named as the column.
// `from` qualifies the column where the name alone might not find it: a
// query's columns are named as the driver describes them, which may not be
// their names (SQLite's driver gives only what follows a dot), and SQLite
// takes an unqualified unknown name in double quotes for a text.
std::string readItem(const Dialect& source, const std::string& name, Read read, const std::string& from = "");

// A condition on the source's rows that holds where a value of the column
// can't land in the target as it is (NaN, infinities, -0, fractions beyond
// a bounded decimal), with what it says of them; empty when there is none.
struct ValueCheck {
    std::string condition;
    std::string what;
    bool refused = false;  // the target refuses such values: a lossy copy writes NULL instead
};
ValueCheck valueCheck(const Dialect& source, const std::string& name, const ColumnType& src, DbKind target,
                      const ColumnType& dst);

} // namespace orlodbc
