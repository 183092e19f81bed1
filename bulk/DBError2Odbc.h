// The record the driver's createError hands out, and the one place where an
// ODBC return code and the handle's first diagnostic become its text.
#pragma once
#include "bulk/DBError2.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class DBError2Odbc final : public DBError2 {
public:
    explicit DBError2Odbc(const char* serviceName) : DBError2(serviceName) {}
    // Not virtual: releaseError deletes every record as this type.
    ~DBError2Odbc() = default;

    // handleType: 1 environment, 2 connection, 3 statement (the SQL_HANDLE_*
    // values). Replaces the error string with "[code]" and what follows it;
    // reads diagnostic record 1 only for SQL_SUCCESS_WITH_INFO and SQL_ERROR.
    // Sets the connection flag for a lost link; never touches the source.
    void processOdbcError(short handleType, void* handle, short returnCode);
};

// The record behind a DBError pointer: every record this library sees was
// made by OdbcDriver::createError.
inline DBError2Odbc* asRecord(DBError* error) { return static_cast<DBError2Odbc*>(error); }

}}}} // namespace KORVEL::Orl::DB::ODBC
