// The one INSERT form whose rows may go several to a statement:
//   INSERT INTO name [(columns)] VALUES (?, ..., ?) [;]
// with an optionally schema-qualified name and identifiers bare or quoted in
// "...", `...` or [...]. Anything else, however harmless, is refused: a text
// read wrongly would turn into a different statement, while a refused one
// only goes the slower way.
#pragma once
#include <cstddef>
#include <string>

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

struct PlainInsert {
    std::string head;    // the text up to the VALUES group's "("
    size_t markers = 0;  // parameter markers of the group, at least 1
};

// True, and `out` filled, when `sql` has exactly the form above.
bool parsePlainInsert(const char* sql, PlainInsert& out);

// The statement for `rows` rows: the head and one group of markers a row.
std::string multiRowInsert(const PlainInsert& insert, size_t rows);

}}}} // namespace KORVEL::Orl::DB::ODBC
