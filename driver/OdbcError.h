// Diagnostics of the ODBC object layer as text for the front ends.
#pragma once
#include <string>

#include "odbc/Odbc.h"

namespace KORVEL { namespace Orl { namespace DB {

// "[state][code][message]" followed by one NUL character that the length
// counts, or "" when the handle's tree holds no diagnostic. Callers log its
// c_str() and append it as it stands to their error text. handle: not null.
std::string getOdbcError(ODBC::Odbc* handle);

// Prints the diagnostic to standard output in three lines; always 1. Kept
// for the host; the library itself doesn't call it. handle: not null.
int handleOdbcError(ODBC::Odbc* handle);

}}} // namespace KORVEL::Orl::DB
