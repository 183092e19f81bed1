#include "odbc/OdbcColImpl.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "odbc/OdbcQueryImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

namespace {

// The first read of text and binary is capped so short values cost one call;
// longer values come in further chunks of what the driver says is left.
constexpr SQLULEN kFirstChunk = 8000;
// Chunk size when the driver can't tell how much is left (SQL_NO_TOTAL).
constexpr SQLLEN kUnknownChunk = 100000;
// "-9223372036854775808": the longest text of a 64-bit integer.
constexpr SQLLEN kBigIntTextRoom = 20;

struct CTypeChoice {
    short cType;
    SQLLEN length;
    bool wide;
    bool textual;  // decimal digits are meaningless for text read as text
};

// The C type a column is read in, by its SQL type. Decimals travel as text so
// that no digit is lost; 64-bit integers too, parsed by the cell.
CTypeChoice ChooseCType(short sqlType, SQLULEN columnSize, SQLLEN displaySize, bool isUnsigned) {
    switch (sqlType) {
    case SQL_WLONGVARCHAR:
    case SQL_WVARCHAR:
    case SQL_WCHAR:
        return {SQL_C_CHAR, static_cast<SQLLEN>(columnSize < kFirstChunk ? columnSize : kFirstChunk) + 2, true, true};
    case SQL_BIT:
        return {SQL_C_BIT, 0, false, false};
    case SQL_TINYINT:
        return {static_cast<short>(isUnsigned ? SQL_C_UTINYINT : SQL_C_TINYINT), 0, false, false};
    case SQL_BIGINT:
        return {SQL_C_SBIGINT, 0, false, false};
    case SQL_LONGVARBINARY:
    case SQL_VARBINARY:
    case SQL_BINARY:
        return {SQL_C_BINARY, static_cast<SQLLEN>(columnSize < kFirstChunk ? columnSize : kFirstChunk), false, false};
    case SQL_LONGVARCHAR:
    case SQL_CHAR:
    case SQL_VARCHAR:
        return {SQL_C_CHAR, static_cast<SQLLEN>(columnSize < kFirstChunk ? columnSize + 1 : kFirstChunk + 1), false,
                true};
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        return {SQL_C_CHAR, displaySize + 2, false, false};
    case SQL_INTEGER:
        return {static_cast<short>(isUnsigned ? SQL_C_ULONG : SQL_C_LONG), 0, false, false};
    case SQL_SMALLINT:
        return {static_cast<short>(isUnsigned ? SQL_C_USHORT : SQL_C_SHORT), 0, false, false};
    case SQL_FLOAT:
    case SQL_REAL:
    case SQL_DOUBLE:
        return {SQL_C_DOUBLE, 0, false, false};
    // The old time type 10 reads as a timestamp; only 92 reads as a time.
    case SQL_DATE:
    case SQL_TIME:
    case SQL_TIMESTAMP:
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIMESTAMP:
        return {SQL_C_TYPE_TIMESTAMP, 16, false, false};
    case SQL_TYPE_TIME:
        return {SQL_C_TYPE_TIME, 6, false, false};
    default:
        return {SQL_C_BINARY, static_cast<SQLLEN>(columnSize), false, false};
    }
}

// Bytes SQLGetData is given for each fixed-size C type.
unsigned int FixedReadSize(short cType) {
    switch (cType) {
    case SQL_C_UTINYINT:
    case SQL_C_BIT:
    case SQL_C_TINYINT:
        return 1;
    case SQL_C_USHORT:
    case SQL_C_SHORT:
        return 2;
    case SQL_C_ULONG:
    case SQL_C_LONG:
    case SQL_C_DOUBLE:
        return 8;
    default:
        return 0;
    }
}

} // namespace

OdbcColImpl::OdbcColImpl(OdbcQueryImpl* owner, short columnNumber)
    : OdbcDataImpl(owner, columnNumber), nameLength(0), displaySize(0) {
    direction = SQL_PARAM_OUTPUT;
    name.Extend(255, 0);
}

OdbcColImpl::~OdbcColImpl() {
    DeleteChildren();
    OdbcColImpl::Finalize();
}

e_Status OdbcColImpl::Initialize() {
    if (number < 1) return GetStatus(-1);
    SQLSMALLINT describedType = 0, digits = 0, canBeNull = 0;
    SQLULEN size = 0;
    e_Status status = GetStatus(query, SQLDescribeCol(hstmt, number, name.Data(), static_cast<SQLSMALLINT>(name.Size()),
                                                      &nameLength, &describedType, &size, &digits, &canBeNull));
    sqlType = describedType;
    columnSize = size;
    decimalDigits = digits;
    nullable = canBeNull;
    name.Resize(nameLength > 0 ? static_cast<unsigned int>(nameLength) : 0u, false);
    if (status != Status_Ok) return status;

    char scratch[8];
    SQLSMALLINT length = 0;
    displaySize = 0;
    status = GetStatus(query, SQLColAttribute(hstmt, number, SQL_COLUMN_DISPLAY_SIZE, scratch, 4, &length, &displaySize));
    if (status != Status_Ok) return status;
    // The narrowing to 16 bits is deliberate: drivers without a display size
    // report huge column sizes for unbounded types.
    if (displaySize == 0) displaySize = static_cast<short>(columnSize & 0xFFFF);

    SQLLEN isUnsigned = 0;
    status = GetStatus(query, SQLColAttribute(hstmt, number, SQL_COLUMN_UNSIGNED, scratch, 4, &length, &isUnsigned));
    if (status != Status_Ok) return status;

    wide = false;
    CTypeChoice choice = ChooseCType(sqlType, columnSize, displaySize, isUnsigned != 0);
    if (choice.wide) wide = true;
    if (choice.wide || choice.textual) decimalDigits = 0;
    SetCType(choice.cType, static_cast<int>(choice.length));
    if (cType != SQL_C_BINARY && cType != SQL_C_CHAR) SetData();
    return Status_Ok;
}

e_Status OdbcColImpl::GetData() {
    switch (cType) {
    case SQL_C_UTINYINT:
    case SQL_C_ULONG:
    case SQL_C_USHORT:
    case SQL_C_BIT:
    case SQL_C_TINYINT:
    case SQL_C_LONG:
    case SQL_C_SHORT:
    case SQL_C_DOUBLE:
        return ReadFixed(FixedReadSize(cType));
    case SQL_C_TYPE_TIME:
        return ReadFixed(6);
    case SQL_C_TYPE_TIMESTAMP:
        return ReadFixed(16);
    case SQL_C_SBIGINT:
        return ReadBigInt();
    case SQL_C_CHAR:
    case SQL_C_BINARY:
        return ReadChunked();
    default:
        return Status_Ok;
    }
}

e_Status OdbcColImpl::FailureExit(e_Status status) {
    if (status == Status_NoData)
        indicator = SQL_NULL_DATA;
    else
        query->DumpInfo("OdbcColImpl::GetData()");
    bindArea.Resize(0, false);
    return status;
}

e_Status OdbcColImpl::NullExit() {
    bindArea.Resize(0, false);
    indicator = SQL_NULL_DATA;
    return Status_Ok;
}

e_Status OdbcColImpl::ReadFixed(unsigned int size) {
    if (bindArea.Size() != size) bindArea.Truncate(size, false);
    SQLLEN length = 0;
    e_Status status = GetStatus(query, SQLGetData(hstmt, number, cType, bindArea.Data(), size, &length));
    if (status != Status_Ok) return FailureExit(status);
    indicator = length;
    if (indicator == SQL_NULL_DATA) return NullExit();
    return Status_Ok;
}

e_Status OdbcColImpl::ReadBigInt() {
    longData.Truncate(0, false);
    // A display size below zero (a driver's, or the narrowed column size) or past
    // 32 bits would ask for gigabytes here; such a column gets the room of the
    // longest 64-bit number, sign included, instead.
    const SQLLEN room = displaySize < 0 || displaySize >= 0xFFFFFFFFLL ? kBigIntTextRoom : displaySize;
    longData.Extend(static_cast<unsigned int>(room) + 1, 0);
    indicator = 0;
    e_Status status = GetStatus(
        query, SQLGetData(hstmt, number, SQL_C_CHAR, longData.Data(), static_cast<SQLLEN>(longData.Size()), &indicator));
    if (status != Status_Ok) return FailureExit(status);
    if (indicator == SQL_NULL_DATA) return NullExit();
    SQLLEN textLength = indicator;
    // A text longer than the area was cut by the driver, NUL included.
    if (textLength < 0 || static_cast<SQLULEN>(textLength) >= longData.Size()) textLength = longData.Size() - 1;
    longData.Truncate(static_cast<unsigned int>(textLength), false);
    bindArea.Truncate(8, false);

    char* end = nullptr;
    errno = 0;
    long long value = std::strtoll(longData.Text(), &end, 10);
    if (end == nullptr || *end != '\0' || (errno == ERANGE && (value == LLONG_MAX || value == LLONG_MIN)))
        return GetStatus(-1);
    if (bindArea.Size() >= 8) std::memcpy(bindArea.Data(), &value, 8);
    return Status_Ok;
}

// The chunked read of long text and binary. For text each chunk ends in a NUL
// the driver writes, so a continuation starts one byte back to overwrite it,
// and wide text keeps its offsets even.
e_Status OdbcColImpl::ReadChunked() {
    const bool text = cType == SQL_C_CHAR;
    bindArea.Truncate(0, false);
    SQLLEN offset = 0;
    SQLLEN chunk = cLength;
    SQLLEN before = -1;  // what the last read said was left, -1 when it didn't say
    indicator = 0;
    for (;;) {
        if (wide) chunk = (chunk + 1) & ~static_cast<SQLLEN>(1);
        if (chunk < 4) chunk = 4;
        bindArea.Extend(static_cast<unsigned int>(offset + chunk), 0);
        if (bindArea.Size() < static_cast<SQLULEN>(offset + chunk)) return FailureExit(GetStatus(-1));

        SQLLEN length = 0;
        SQLRETURN rc = SQLGetData(hstmt, number, cType, bindArea.Data() + offset, chunk, &length);
        e_Status status = GetStatus(query, rc);
        if (status != Status_Ok) return FailureExit(status);
        if (length == SQL_NULL_DATA) {
            indicator = SQL_NULL_DATA;
            return NullExit();
        }
        // An unknown total comes with a cut value; a read that calls itself
        // complete can't leave one, and would be read again without end.
        if (length == SQL_NO_TOTAL && rc == SQL_SUCCESS) return FailureExit(GetStatus(-1));
        if (length == SQL_NO_TOTAL) {
            offset = static_cast<SQLLEN>(bindArea.Size()) - (text ? 1 : 0);
            chunk = kUnknownChunk;
            before = -1;
            continue;
        }
        // No other negative length is defined; it can't be a byte count.
        if (length < 0) return FailureExit(GetStatus(-1));
        // Every read hands over bytes, so what is left must shrink; a driver
        // whose count doesn't would have the value grow without end.
        if (before >= 0 && length >= before) return FailureExit(GetStatus(-1));
        before = length;
        if (length < chunk || (length == chunk && !text)) {
            SQLLEN total = offset + (length < chunk ? length : chunk);
            indicator = total;
            bindArea.Truncate(static_cast<unsigned int>(total), false);
            return Status_Ok;
        }
        // More to come: length counted what was left before this call.
        chunk = length - chunk;
        offset = static_cast<SQLLEN>(bindArea.Size());
        if (text) {
            offset -= 1;
            chunk += 1;
            if (wide) offset &= ~static_cast<SQLLEN>(1);
        }
    }
}

e_Status OdbcColImpl::GetData(ByteStore* target) {
    switch (cType) {
    case SQL_C_SBIGINT:
    case SQL_C_TINYINT:
    case SQL_C_LONG:
    case SQL_C_SHORT:
    case SQL_C_DOUBLE:
        if (target == nullptr) return GetStatus(-1);
        target->Truncate(0, false);
        if (longData.Size() > 0)
            target->Append(longData.Data(), longData.Size());
        else
            target->Append(nullptr, 1);  // emptied, with a buffer
        return Status_Ok;
    default:
        return OdbcDataImpl::GetData(target);
    }
}

e_Status OdbcColImpl::GetName(std::string& value) {
    value = name.Text();
    return Status_Ok;
}

e_Status OdbcColImpl::GetCType(short& type) {
    type = cType;
    return Status_Ok;
}

e_Status OdbcColImpl::GetSqlType(short& type, unsigned int& size, short& digits) {
    return OdbcDataImpl::GetSqlType(type, size, digits);
}

}}}} // namespace KORVEL::Orl::DB::ODBC
