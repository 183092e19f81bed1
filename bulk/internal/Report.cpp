#include "bulk/internal/Report.h"

#include "bulk/DBError2Odbc.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

void reportLibrary(DBError* error, const char* text) {
    if (error == nullptr) return;
    try {
        DBError2Odbc* record = asRecord(error);
        record->errorSource = "dbaccess";
        record->errorString = text;
    } catch (...) {
    }
}

void reportNotConnected(DBError* error) {
    if (error == nullptr) return;
    reportLibrary(error, "not connected");
    asRecord(error)->connectionError = true;
}

void reportOdbc(DBError* error, short handleType, void* handle, short returnCode) {
    if (error == nullptr) return;
    try {
        DBError2Odbc* record = asRecord(error);
        record->errorSource = "odbc";
        record->processOdbcError(handleType, handle, returnCode);
    } catch (...) {
    }
}

}}}} // namespace KORVEL::Orl::DB::ODBC
