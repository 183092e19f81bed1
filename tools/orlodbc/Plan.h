// How each column of a copy travels: the source's declared types, the target
// types that hold them, the way each column is read, and what a target can't
// hold. The driver reads a column by the type its ODBC driver describes,
// which is at times narrower than what the database keeps (SQLite's 64-bit
// integers described as 32-bit, an unbounded numeric as numeric(28,6), a
// time without its fraction); such columns are read as text or as 64-bit
// integers instead. A text the bulk read would refuse (exactly 128 bytes) is
// read with a mark that keeps it off that length. Pure functions, so the
// rules are tested without a database.
#pragma once
#include <string>
#include <vector>

#include "tools/orlodbc/Dialect.h"
#include "tools/orlodbc/QueryColumns.h"

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
    // A SQLite query column described as text, as its driver describes an
    // expression and a column declared without a type: its values may be of
    // any type, doubles among them.
    bool anyType = false;
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

// The type a column is known by from the driver's type word alone.
ColumnType fromTypeWord(unsigned int word);

// The type of a --query column on `db`: the driver's type word, told apart
// by what the database's ODBC driver describes (`described.sqlType` 0: it
// said nothing). What the descriptions can't tell is taken at its widest:
// SQLite's integers as 64-bit whatever the declared name (its driver
// describes INTEGER as 32-bit), PostgreSQL's numeric(28,6) as an unbounded
// decimal (its driver describes every numeric without a declared precision
// so, computed ones and aggregates too), and texts whose width the driver
// doesn't vouch for as unbounded.
ColumnType fromDescription(DbKind db, unsigned int word, const QueryColumn& described);

// The target's name for a type, and why it differs when the target has no
// faithful one (empty when it is faithful).
struct TargetType {
    std::string sql;
    std::string note;
};
TargetType targetType(DbKind target, const ColumnType& t);

// AsIs: as the driver reads it; Text: cast to text by the source; Digits:
// a double printed by the source to 17 significant digits, which reads back
// as the same double; Value: a SQLite value of any type as its text, a
// double in the fewest digits (15 to 17, else 20) that read back as it.
enum class Read { AsIs, Text, Digits, Value };

struct ColumnPlan {
    Read read = Read::AsIs;
    std::string why;   // why the column is read another way
    std::string loss;  // what the target can't hold; empty when it holds every value
    // Read as a text that may be exactly 128 bytes, which the bulk read
    // refuses: the source adds a mark that keeps it off that length (see
    // markedItem), and the copy takes the mark off again (unmark).
    bool marked = false;
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

// SQLite's text of the value of `quoted`, of any type; a double's in the
// fewest of 15, 16 and 17 digits that reads back as it, else 20 (SQLite
// prints with a long double, and the 17th digit is off for some of large
// exponent).
std::string sqliteValueText(const std::string& quoted);

// The longest text of a decimal(precision, scale): sign, digits, point and
// the 0 before a point with no whole digits. The bulk read takes decimal
// texts of at most 31 characters.
int decimalTextLength(int precision, int scale);

// The SELECT item of a column read as text with a mark: the text, then "1",
// or "22" where the text is 127 bytes, so that none is exactly 128 bytes
// long. The text is the one `read` gives of a column of `type`, whose
// length a char or varchar read as it is keeps in the item's type (on
// PostgreSQL, whose driver reads a text row by row and a varchar in blocks).
// Empty when the tool knows no such SQL for the database (the read stays as
// it was).
std::string markedItem(const Dialect& source, const std::string& name, Read read, const ColumnType& type,
                       const std::string& from = "");

// Takes the mark off a text read through markedItem, in place. False when
// the text carries no mark.
bool unmark(char* text);

// A condition on the source's rows that holds where a value of the column
// can't land in the target as it is (NaN, infinities, -0, fractions beyond
// a bounded decimal), with what it says of them; empty when there is none.
struct ValueCheck {
    std::string condition;
    std::string what;
    bool refused = false;  // the target refuses such values: a lossy copy writes NULL instead
};
// `from` qualifies the name as in readItem.
ValueCheck valueCheck(const Dialect& source, const std::string& name, const ColumnType& src, DbKind target,
                      const ColumnType& dst, const std::string& from = "");

} // namespace orlodbc
