// What each database says of its own copy of a table: per column, how many
// values it holds and a sum of hashes of each value's canonical text, the
// text computed in SQL by the database itself. Nothing passes through the
// driver's typed reads, so a value the driver would change on the way out
// (an integer cut to 32 bits, a decimal to six places, a time to whole
// seconds) shows as a difference instead of changing both sides alike.
//
// A canonical text is the same for the same value on every database:
// integers and booleans in decimal, decimals without trailing fraction
// zeros, texts as their UTF-8 bytes (char columns without the padding),
// binaries in upper-case hex, dates `YYYY-MM-DD`, times `HH:MM:SS` and
// timestamps `YYYY-MM-DD HH:MM:SS`, each with its fraction of a second
// without trailing zeros. Doubles are the exception: the databases print
// them in different forms, so each prints a text that reads back as the
// same double and the tool reads and hashes that.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "tools/orlodbc/Dialect.h"
#include "tools/orlodbc/Plan.h"

namespace orlodbc {

enum class Canon { Integer, Decimal, Float, Text, PaddedText, Binary, Date, Time, Timestamp, AsText };

// The form a column is compared in, from its type on both sides; `dst` may
// be Kind::Other when the target's catalog wasn't read.
Canon canonFor(const ColumnType& src, const ColumnType& dst);

const char* canonName(Canon c);

// The SQL expression, on database `db`, of the canonical text of the column
// written `quoted` there, of type `t`. For a float, a text that reads back
// as the same double; for SQLite texts, their bytes in hex (its only way to
// hand bytes over as they are).
std::string canonicalSql(DbKind db, Canon c, const std::string& quoted, const ColumnType& t);

// The first 60 bits of the MD5 of `bytes`, as the databases compute it with
// ('x' || substr(md5(t), 1, 15))::bit(60)::bigint and CONV(SUBSTRING(MD5(t), 1, 15), 16, 10).
uint64_t hash60(const std::string& bytes);
std::string md5Hex(const std::string& bytes);

// The canonical text of a double printed by a database, read back: the
// shortest form that reads back the same, or rounded to 15 significant
// digits with `to15` (where a side can't print more exactly).
// False when the text isn't a number.
bool canonicalDouble(const std::string& printed, bool single, bool to15, std::string& out);

// Integers are summed, with their squares, rather than hashed: the same
// check of every value at a tenth of the databases' time.
struct ColumnPrint {
    uint64_t values = 0;        // not NULL
    unsigned __int128 sum = 0;  // of hash60 of the canonical texts; for integers their sum, two's complement
    uint64_t squares = 0;       // integers: the sum of their squares modulo 2^64
};

// Adds one integer in its canonical text; false when it isn't one.
bool addInteger(ColumnPrint& c, const char* text);

struct TablePrint {
    uint64_t rows = 0;
    std::vector<ColumnPrint> columns;
    // One number for the whole print, as hex.
    std::string text() const;
};

// A column to print on one side: its name there and type there.
struct PrintColumn {
    std::string name;
    ColumnType type;
    Canon canon = Canon::AsText;
};

class ClassicLink;

// Computes the print of `from` (a table or derived table written in the
// side's dialect). `to15`: doubles rounded to 15 digits. What is read row
// by row is read one condition of `where` at a time when there are any
// (they must divide the rows between them). False with `why`.
bool printTable(ClassicLink& link, const Dialect& d, const std::string& from, const std::vector<PrintColumn>& columns,
                bool to15, TablePrint& print, std::string& why,
                const std::vector<std::string>& where = std::vector<std::string>());

// A decimal text of a 128-bit sum, and back (with a sign: two's complement).
std::string decimal128(unsigned __int128 v);
bool parse128(const std::string& text, unsigned __int128& v);

} // namespace orlodbc
