#include "driver/OdbcStatement.h"

#include <sqlext.h>

#include <cstring>
#include <ctime>
#include <iostream>

#include "datatypes/StringConversion.h"
#include "driver/OdbcConnection.h"
#include "driver/OdbcError.h"
#include "driver/OdbcResultSet.h"
#include "host/LogServiceImpl.h"
#include "odbc/ByteStore.h"
#include "format/Calendar.h"

namespace KORVEL { namespace Orl { namespace DB {

using DataTypes::DataValue;
using ODBC::OdbcParam;

namespace {
constexpr int kOk = 1;
constexpr int kFailed = 3;

const char* const kErrClose = "801015-4_ERROR_CLOSING_STATEMENT";
const char* const kErrExecute = "801016-3_ERROR_EXECUTING_STATEMENT";
const char* const kErrBind = "801017-3_ERROR_BINDING_PARAMETERS";
const char* const kErrResultSet = "801018-3_ERROR_GETTING_RESULT_SET";
const char* const kErrClearBatch = "801019-3_ERROR_CLEARING_BATCH";
const char* const kErrAddBatch = "801020-3_ERROR_ADDING_TO_BATCH";
const char* const kErrExecBatch = "801021-3_ERROR_EXECUTING_BATCH";

// Text buffers of the values that travel as text: a 64-bit integer with its
// sign, a money value, and a fixed decimal of 34 digits with sign and point.
constexpr unsigned long kInt64Text = 21;
constexpr unsigned long kMoneyText = 22;
constexpr unsigned long kDecimalText = 39;

constexpr short kInput = SQL_PARAM_INPUT;

struct ParamShape {
    short sqlType;
    unsigned int size;
    short digits;
    short cType;
    int length;
};

unsigned int decimalPrecision(unsigned int type) { return (type & 0xFFFC000) >> 14; }
unsigned int decimalScale(unsigned int type) { return (type & 0x3F00) >> 8; }

// MONEY binds with four digits whatever the legacy money precision says;
// MONEY_n with n.
short moneyScale(unsigned int low) { return low == 7 ? 4 : static_cast<short>(low - 10); }

// The host-to-ODBC mapping of the classic path; false for 6, 9 and above 30.
bool shapeOf(unsigned int type, const DataValue& value, bool bigIntAsChar, ParamShape& s) {
    unsigned int low = type & 0xFF;
    switch (low) {
    case 0:
        s = {SQL_SMALLINT, 0, 0, SQL_C_SHORT, 0};
        return true;
    case 1:
        s = {SQL_INTEGER, 0, 0, SQL_C_SLONG, 0};
        return true;
    case 2:
    case 26:
        s = bigIntAsChar ? ParamShape{SQL_BIGINT, 20, 0, SQL_C_CHAR, 0}
                         : ParamShape{SQL_BIGINT, 0, 0, SQL_C_SBIGINT, 0};
        return true;
    case 3:
        s = {SQL_DOUBLE, 0, 0, SQL_C_DOUBLE, 0};
        return true;
    case 4:
        s = {SQL_TYPE_TIMESTAMP, 19, 0, SQL_C_TYPE_TIMESTAMP, 0};
        return true;
    case 5: {
        // A null pointer in a value marked not null is measured as empty text.
        unsigned int n = (value.isNull || value.stringValue == nullptr)
                             ? 0
                             : static_cast<unsigned int>(std::strlen(value.stringValue));
        s = {SQL_VARCHAR, n, 0, SQL_C_CHAR, 0};
        return true;
    }
    case 8:
        s = {SQL_TYPE_TIMESTAMP, 23, 3, SQL_C_TYPE_TIMESTAMP, 0};
        return true;
    case 10:
        // Booleans go as TINYINT, not as a bit type: a settled choice.
        s = {SQL_TINYINT, 0, 0, SQL_C_BIT, 0};
        return true;
    case 27:
        s = {SQL_TYPE_TIMESTAMP, 26, 6, SQL_C_TYPE_TIMESTAMP, 0};
        return true;
    case 28:
        s = {SQL_VARBINARY, value.isNull ? 0u : value.binaryValue.length, 0, SQL_C_BINARY, 0};
        return true;
    case 29:
        // Six, though the text form has eight characters: kept as it always was.
        s = {SQL_TYPE_TIME, 6, 0, SQL_C_TYPE_TIME, 0};
        return true;
    case 30:
        s = {SQL_DECIMAL, decimalPrecision(type), static_cast<short>(decimalScale(type)), SQL_C_CHAR,
             static_cast<int>(decimalPrecision(type)) + 2};
        return true;
    default:
        if (low == 7 || (low >= 11 && low <= 25)) {
            s = {SQL_DECIMAL, 19, moneyScale(low), SQL_C_CHAR, 21};
            return true;
        }
        return false;
    }
}

// Splits a count of `perSecond` units into whole seconds and nanoseconds,
// the fraction always counting forward from the floor second.
void splitCount(long count, long perSecond, long nanosPerUnit, long& seconds, long& nanos) {
    long r = count % perSecond;
    if (count >= 0 || r == 0) {
        seconds = count / perSecond;
        nanos = r * nanosPerUnit;
        return;
    }
    long part = perSecond + r;  // perSecond - |r|
    // The floor second, one below the truncated quotient; the same as
    // (count - part) / perSecond without its overflow at the bottom of the range.
    seconds = count / perSecond - 1;
    nanos = part * nanosPerUnit;
}

} // namespace

OdbcStatement::OdbcStatement(OdbcConnection& connection, ODBC::OdbcStmt* stmt)
    : OdbcStatement(connection, stmt, std::string()) {}

OdbcStatement::OdbcStatement(OdbcConnection& connection, ODBC::OdbcStmt* stmt, const std::string& sql)
    : Statement(connection, sql), writeBigIntAsChar(connection.getWriteBigIntAsChar()), stmt(stmt),
      resultSet(nullptr) {}

OdbcStatement::~OdbcStatement() { close(); }

void OdbcStatement::logOdbc(const char* id) {
    std::string text = getOdbcError(stmt);
    LogServiceImpl::log(id, sql.c_str(), text.c_str());
}

int OdbcStatement::close() {
    if (resultSet != nullptr) {
        resultSet->close();
        delete resultSet;
        resultSet = nullptr;
    }
    if (stmt == nullptr) return kOk;
    if (stmt->Close() != ODBC::Status_Ok) {
        std::string text = getOdbcError(stmt);
        LogServiceImpl::log(kErrClose, text.c_str());
    }
    // Released whatever the close said: a failed close costs a log line only.
    delete stmt;
    stmt = nullptr;
    return kOk;
}

// ---- Binding ---------------------------------------------------------------

int OdbcStatement::bindParameters(std::vector<Parameter>& parameters) {
    int status = kOk;
    for (size_t i = 0; i < parameters.size(); ++i) {
        OdbcParam* param = stmt ? stmt->GetParam(static_cast<int>(i) + 1) : nullptr;
        if (param == nullptr) {
            LogServiceImpl::log(kErrBind, sql.c_str(), "");
            return kFailed;
        }
        unsigned int type = parameters[i].type;
        const DataValue& value = parameters[i].value;
        unsigned int low = type & 0xFF;
        // Only the last status counts: an earlier failed bind passes unreported,
        // as the host has always seen it.
        switch (low) {
        case 0: status = bindParameterInt16(param, value); break;
        case 1: status = bindParameterInt32(param, value); break;
        case 2: status = bindParameterInt64(param, value); break;
        case 3: status = bindParameterDouble(param, value); break;
        case 4: status = bindParameterDate(param, value); break;
        case 5: status = bindParameterString(param, value); break;
        case 8: status = bindParameterTimestamp(param, value); break;
        case 10: status = bindParameterBoolean(param, value); break;
        case 26: status = bindParameterInterval(param, value); break;
        case 27: status = bindParameterBigDateTime(param, value); break;
        case 28: status = bindParameterBinary(param, value); break;
        case 29: status = bindParameterTime(param, value); break;
        case 30: status = bindParameterFixedDecimal(param, type, value); break;
        default:
            if (low == 7 || (low >= 11 && low <= 25))
                status = bindParameterMoney(param, type, value);
            else
                status = kFailed;
            break;
        }
    }
    return status;
}

bool OdbcStatement::setParameterCommons(OdbcParam* param, unsigned int type, const DataValue& value) {
    ParamShape s{};
    if (!shapeOf(type, value, writeBigIntAsChar, s)) return false;
    param->SetSqlType(s.sqlType, s.size, s.digits);
    param->SetCType(s.cType, s.length);
    param->SetDirection(kInput);
    return true;
}

int OdbcStatement::bindFailed() {
    LogServiceImpl::log(kErrBind, sql.c_str(), "");
    return kFailed;
}

int OdbcStatement::bindParameterInt16(OdbcParam* param, const DataValue& value) {
    if (!setParameterCommons(param, 0, value)) return bindFailed();
    param->SetData(static_cast<short>(value.int16Value), value.isNull);
    return kOk;
}

int OdbcStatement::bindParameterInt32(OdbcParam* param, const DataValue& value) {
    if (!setParameterCommons(param, 1, value)) return bindFailed();
    param->SetData(static_cast<int>(value.int32Value), value.isNull);
    return kOk;
}

int OdbcStatement::bindInteger64(OdbcParam* param, unsigned int type, const DataValue& value) {
    if (!setParameterCommons(param, type, value)) return bindFailed();
    if (writeBigIntAsChar) return bindAsText(param, type, value, kInt64Text);
    param->SetData(static_cast<long>(value.int64Value), value.isNull);
    return kOk;
}

int OdbcStatement::bindParameterInt64(OdbcParam* param, const DataValue& value) { return bindInteger64(param, 2, value); }

int OdbcStatement::bindParameterInterval(OdbcParam* param, const DataValue& value) {
    return bindInteger64(param, 26, value);
}

int OdbcStatement::bindParameterDouble(OdbcParam* param, const DataValue& value) {
    if (!setParameterCommons(param, 3, value)) return bindFailed();
    param->SetData(value.doubleValue, value.isNull);
    return kOk;
}

int OdbcStatement::bindParameterBoolean(OdbcParam* param, const DataValue& value) {
    if (!setParameterCommons(param, 10, value)) return bindFailed();
    param->SetData(static_cast<bool>(value.boolValue), value.isNull);
    return kOk;
}

int OdbcStatement::bindParameterString(OdbcParam* param, const DataValue& value) {
    if (!setParameterCommons(param, 5, value)) return bindFailed();
    if (!value.isNull && value.stringValue == nullptr) {
        // No text to copy: bind the empty text rather than follow a null pointer.
        ODBC::ByteStore empty;
        param->SetData(&empty, false, false);
        return kOk;
    }
    param->SetData(5u, value, value.isNull);
    return kOk;
}

int OdbcStatement::bindParameterBinary(OdbcParam* param, const DataValue& value) {
    if (!setParameterCommons(param, 28, value)) return bindFailed();
    param->SetData(28u, value, value.isNull);
    return kOk;
}

int OdbcStatement::bindAsText(OdbcParam* param, unsigned int type, const DataValue& value,
                              unsigned long bufferSize) {
    ODBC::ByteStore text;
    if (!value.isNull) {
        char buffer[kDecimalText];
        std::memset(buffer, 0, sizeof buffer);
        DataValue copy = value;  // the converter takes a mutable value
        // One byte of the buffer is held back so the text always ends in a NUL.
        DataTypes::convertToString(type, false, false, copy, buffer, bufferSize);
        buffer[bufferSize - 1] = '\0';
        text.Append(buffer, static_cast<unsigned int>(std::strlen(buffer)));
    }
    param->SetData(&text, false, value.isNull);
    return kOk;
}

int OdbcStatement::bindParameterMoney(OdbcParam* param, unsigned int type, const DataValue& value) {
    if (!setParameterCommons(param, type, value)) return bindFailed();
    return bindAsText(param, type, value, kMoneyText);
}

int OdbcStatement::bindParameterFixedDecimal(OdbcParam* param, unsigned int type, const DataValue& value) {
    if (!setParameterCommons(param, type, value)) return bindFailed();
    return bindAsText(param, type, value, kDecimalText);
}

int OdbcStatement::bindTimeCount(OdbcParam* param, unsigned int type, const DataValue& value) {
    if (!setParameterCommons(param, type, value)) return bindFailed();
    TIMESTAMP_STRUCT ts;
    std::memset(&ts, 0, sizeof ts);
    // What convertTime says is not looked at: the structure binds as it stands.
    if (!value.isNull) convertTime(type, value, ts);
    param->SetData(ts, value.isNull);
    return kOk;
}

int OdbcStatement::bindParameterDate(OdbcParam* param, const DataValue& value) { return bindTimeCount(param, 4, value); }

int OdbcStatement::bindParameterTimestamp(OdbcParam* param, const DataValue& value) {
    return bindTimeCount(param, 8, value);
}

int OdbcStatement::bindParameterBigDateTime(OdbcParam* param, const DataValue& value) {
    return bindTimeCount(param, 27, value);
}

int OdbcStatement::bindParameterTime(OdbcParam* param, const DataValue& value) {
    if (!setParameterCommons(param, 29, value)) return bindFailed();
    TIME_STRUCT t;
    std::memset(&t, 0, sizeof t);
    if (!value.isNull) {
        // A count past one day wraps; division truncates toward zero.
        long seconds = value.int64Value;
        t.second = static_cast<SQLUSMALLINT>(seconds % 60);
        t.minute = static_cast<SQLUSMALLINT>((seconds / 60) % 60);
        t.hour = static_cast<SQLUSMALLINT>((seconds / 3600) % 24);
    }
    param->SetData(t, value.isNull);
    return kOk;
}

bool OdbcStatement::convertTime(unsigned int type, const DataValue& value, TIMESTAMP_STRUCT& out) {
    long seconds = 0;
    long nanos = 0;
    switch (type) {
    case 4:
        seconds = value.int64Value;
        break;
    case 8:
        splitCount(value.int64Value, 1000, 1000000, seconds, nanos);
        break;
    case 27:
        splitCount(value.int64Value, 1000000, 1000, seconds, nanos);
        break;
    default:
        std::cout << "Invalid data for converting as time" << std::endl;
        return false;
    }
    time_t t = static_cast<time_t>(seconds);
    struct tm fields;
    if (DataTypes::zoneSafeGmtime(&t, &fields) == nullptr) {
        std::cout << "Error converting value as date" << std::endl;
        return false;
    }
    out.year = static_cast<SQLSMALLINT>(fields.tm_year + 1900);
    out.month = static_cast<SQLUSMALLINT>(fields.tm_mon + 1);
    out.day = static_cast<SQLUSMALLINT>(fields.tm_mday);
    out.hour = static_cast<SQLUSMALLINT>(fields.tm_hour);
    out.minute = static_cast<SQLUSMALLINT>(fields.tm_min);
    out.second = static_cast<SQLUSMALLINT>(fields.tm_sec);
    out.fraction = static_cast<SQLUINTEGER>(nanos);
    return true;
}

// ---- Execution ---------------------------------------------------------------

int OdbcStatement::executeUpdate(std::vector<Parameter>& parameters, int& rowCount) {
    if (stmt == nullptr) {
        LogServiceImpl::log(kErrExecute, sql.c_str(), "");
        return kFailed;
    }
    if (bindParameters(parameters) != kOk) return kFailed;
    if (stmt->Execute() != ODBC::Status_Ok) {
        logOdbc(kErrExecute);
        return kFailed;
    }
    long rows = 0;
    if (stmt->RowCount(rows) != ODBC::Status_Ok) {
        logOdbc(kErrExecute);
        return kFailed;
    }
    rowCount = static_cast<int>(rows);
    return kOk;
}

int OdbcStatement::executeUpdate(const std::string&, std::vector<Parameter>& parameters, int& rowCount) {
    return executeUpdate(parameters, rowCount);
}

int OdbcStatement::executeQuery(std::vector<Parameter>& parameters, int, ResultSet*& out) {
    if (stmt == nullptr) {
        LogServiceImpl::log(kErrExecute, sql.c_str(), "");
        return kFailed;
    }
    if (bindParameters(parameters) != kOk) return kFailed;
    if (stmt->Execute() != ODBC::Status_Ok) {
        logOdbc(kErrExecute);
        return kFailed;
    }
    // An older result set is over a cursor that is gone; it would only leak.
    delete resultSet;
    resultSet = nullptr;
    resultSet = new OdbcResultSet(*this);  // may throw; the connection catches it
    out = resultSet;
    return kOk;
}

int OdbcStatement::executeQuery(const std::string&, std::vector<Parameter>& parameters, int limit,
                                ResultSet*& out) {
    return executeQuery(parameters, limit, out);
}

int OdbcStatement::getResultSet(ResultSet*& out) {
    if (stmt == nullptr) {
        LogServiceImpl::log(kErrResultSet, sql.c_str(), "");
        return kFailed;
    }
    if (resultSet != nullptr) {
        resultSet->close();
        delete resultSet;
        resultSet = nullptr;
    }
    resultSet = new OdbcResultSet(*this);
    out = resultSet;
    return kOk;
}

int OdbcStatement::nextResultSet(bool& more) {
    if (stmt == nullptr) {
        LogServiceImpl::log(kErrResultSet, sql.c_str(), "");
        return kFailed;
    }
    ODBC::e_Status status = stmt->MoreResults();
    if (status == ODBC::Status_Ok) {
        more = true;
        return kOk;
    }
    if (status == ODBC::Status_NoData) {
        more = false;
        return kOk;
    }
    logOdbc(kErrResultSet);
    return kFailed;
}

// ---- Batches ---------------------------------------------------------------

int OdbcStatement::createBatch(const std::string&) { return kOk; }

int OdbcStatement::addToBatch(std::vector<Parameter>& parameters) {
    if (stmt == nullptr) {
        LogServiceImpl::log(kErrAddBatch, sql.c_str(), "");
        return kFailed;
    }
    if (bindParameters(parameters) != kOk) return kFailed;
    stmt->IncrementBatchSize();
    return kOk;
}

int OdbcStatement::clearBatch() {
    if (stmt == nullptr) {
        LogServiceImpl::log(kErrClearBatch, "");
        return kFailed;
    }
    // Preparing the statement's own text again throws the batch away.
    if (stmt->SetSql(sql, false) != ODBC::Status_Ok) {
        std::string text = getOdbcError(stmt);
        LogServiceImpl::log(kErrClearBatch, text.c_str());
        return kFailed;
    }
    return kOk;
}

int OdbcStatement::executeBatch(std::vector<int>& counts) {
    if (stmt == nullptr) {
        LogServiceImpl::log(kErrExecBatch, sql.c_str(), "");
        return kFailed;
    }
    int n = 0;  // a statement prepared for single rows leaves it unwritten
    if (stmt->GetBatchSize(n) != ODBC::Status_Ok) {
        logOdbc(kErrExecBatch);
        return kFailed;
    }
    if (n == 0) {
        counts.clear();
        return kOk;
    }
    if (stmt->Execute() != ODBC::Status_Ok) {
        logOdbc(kErrExecBatch);
        return kFailed;
    }
    if (n < 0) return kOk;
    counts.resize(static_cast<size_t>(n), 0);
    for (int i = 0; i < n; ++i) {
        int status = 0;
        counts[static_cast<size_t>(i)] = stmt->GetBatchParamStatus(i, status) != ODBC::Status_Ok ? -1 : status;
    }
    return kOk;
}

}}} // namespace KORVEL::Orl::DB
