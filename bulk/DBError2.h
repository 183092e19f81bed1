// The error record of the bulk interface as this library fills it. The host
// reads it through the seven DBError accessors; the front end writes the
// fields directly (library faults) or through DBError2Odbc::processOdbcError.
#pragma once
#include <cstdint>
#include <string>

#include "host/DBError.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class DBError2 : public DBError {
public:
    explicit DBError2(const char* serviceName);

    const char* getService() const override;
    int getNativeErrorCode() const override;
    const char* getErrorString() const override;
    bool isConnectionError() const override;
    // Never true: SQL_SUCCESS_WITH_INFO is reported as a plain failure.
    bool isSuccessWithInfo() const override;
    // The error string again.
    const char* toString() const override;
    const char* getErrorSource() const override;

    std::string service;
    std::string errorSource;  // "odbc" or "dbaccess"
    int32_t nativeErrorCode;
    std::string errorString;
    bool connectionError;     // set, never cleared: a reused record keeps an earlier true
    char sqlState[6];         // as SQLGetDiagRec wrote it, NUL-terminated

protected:
    ~DBError2() = default;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
