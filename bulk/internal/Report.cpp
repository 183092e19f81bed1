#include "bulk/internal/Report.h"

#include "bulk/DBError2Odbc.h"

#include <cstring>
#include <string>

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

void reportTruncation(DBError* error) {
    if (error == nullptr) return;
    try {
        DBError2Odbc* record = asRecord(error);
        record->errorSource = "odbc";
        record->errorString = "[1][01004]String data, right truncated";
        std::memcpy(record->sqlState, "01004", 6);
        record->nativeErrorCode = 0;
    } catch (...) {
    }
}

void reportRow(DBError* error, unsigned long row) {
    if (error == nullptr) return;
    try {
        asRecord(error)->errorString += " (row " + std::to_string(row) + ")";
    } catch (...) {
    }
}

void reportRows(DBError* error, unsigned long first, unsigned long last) {
    if (first == last) return reportRow(error, first);
    if (error == nullptr) return;
    try {
        asRecord(error)->errorString += " (rows " + std::to_string(first) + " to " + std::to_string(last) + ")";
    } catch (...) {
    }
}

}}}} // namespace KORVEL::Orl::DB::ODBC
