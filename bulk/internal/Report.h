// The two ways the bulk front end fills a DBError, each in one place. Both
// accept a null record (the caller then only gets its result) and never throw:
// a record that can't take the text keeps what it had.
#pragma once

namespace KORVEL { namespace Orl { namespace DB {
class DBError;
namespace ODBC {

// A fault found by this library: source "dbaccess" and `text`.
void reportLibrary(DBError* error, const char* text);
// As above, and the connection is to be taken as gone ("not connected").
void reportNotConnected(DBError* error);
// An ODBC status other than SQL_SUCCESS: source "odbc", then the diagnostics.
void reportOdbc(DBError* error, short handleType, void* handle, short returnCode);
// A value cut short where no diagnostic of the driver's is at hand: source
// "odbc", SQLSTATE "01004", text "[1][01004]String data, right truncated".
void reportTruncation(DBError* error);
// Appends " (row N)" to the text already in the record.
void reportRow(DBError* error, unsigned long row);
// Appends " (rows FIRST to LAST)", or " (row FIRST)" when they are one.
void reportRows(DBError* error, unsigned long first, unsigned long last);

}}}} // namespace KORVEL::Orl::DB::ODBC
