// The two TypeEnum values the object layer takes in a DataValue. The names of
// the type core live there; these only pin the numbers the cells accept.
#pragma once

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC { namespace internal {

constexpr unsigned int kTypeString = 5;
constexpr unsigned int kTypeBinary = 28;

}}}}} // namespace KORVEL::Orl::DB::ODBC::internal
