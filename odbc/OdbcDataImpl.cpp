#include "odbc/OdbcDataImpl.h"

#include <cerrno>
#include <cfloat>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "odbc/OdbcQueryImpl.h"
#include "odbc/internal/TypeCodes.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

namespace {

bool IsOneOf(short value, std::initializer_list<short> list) {
    for (short v : list)
        if (v == value) return true;
    return false;
}

// Integer text parsed whole in base 10; false on a rest behind the digits or ERANGE.
template <typename T, typename F>
bool ParseWhole(const char* text, F parse, T& out) {
    char* end = nullptr;
    errno = 0;
    T v = parse(text, &end, 10);
    if (end == nullptr || *end != '\0' || errno == ERANGE) return false;
    out = v;
    return true;
}

} // namespace

OdbcDataImpl::OdbcDataImpl(OdbcQueryImpl* owner, short cellNumber)
    : OdbcImpl(owner), hstmt(owner->GetHandle(Handle_Stmt)), hdbc(owner->GetHandle(Handle_Dbc)),
      henv(owner->GetHandle(Handle_Env)), query(owner), isBound(false), wide(false), number(cellNumber),
      direction(0), cType(0), cLength(0), sqlType(0), columnSize(0), decimalDigits(0), indicator(SQL_NULL_DATA),
      nullable(SQL_NULLABLE_UNKNOWN) {}

OdbcDataImpl::~OdbcDataImpl() {
    DeleteChildren();
    Finalize();
}

SQLHANDLE OdbcDataImpl::GetHandle(e_Handle which) {
    switch (which) {
    case Handle_Env:
        return henv;
    case Handle_Dbc:
        return hdbc;
    case Handle_Stmt:
        return hstmt;
    }
    return SQL_NULL_HANDLE;
}

e_Status OdbcDataImpl::SetSqlType(short type, unsigned int size, short digits) {
    isBound = false;
    sqlType = type;
    switch (type) {
    case SQL_BIT:
        columnSize = 1, decimalDigits = 0;
        break;
    case SQL_TINYINT:
        columnSize = 3, decimalDigits = 0;
        break;
    case SQL_BIGINT:
        columnSize = 19, decimalDigits = 0;
        break;
    case SQL_LONGVARBINARY:
    case SQL_VARBINARY:
    case SQL_BINARY:
    case SQL_LONGVARCHAR:
    case SQL_CHAR:
    case SQL_VARCHAR:
        columnSize = size, decimalDigits = 0;
        break;
    case SQL_INTEGER:
        columnSize = 10, decimalDigits = 0;
        break;
    case SQL_SMALLINT:
        columnSize = 5, decimalDigits = 0;
        break;
    case SQL_FLOAT:
    case SQL_DOUBLE:
        columnSize = 15, decimalDigits = 0;
        break;
    case SQL_REAL:
        columnSize = 7, decimalDigits = 0;
        break;
    default:
        columnSize = size, decimalDigits = digits;
        break;
    }
    return Status_Ok;
}

e_Status OdbcDataImpl::SetCType(short type, int length) {
    int newLength;
    // The fixed 24 covers every fixed-width C value; the 64-bit integers take
    // the given length, even 0, as the store's first buffer has room for 8.
    if (IsOneOf(type, {SQL_C_UTINYINT, SQL_C_STINYINT, SQL_C_ULONG, SQL_C_USHORT, SQL_C_SLONG, SQL_C_SSHORT, SQL_C_BIT,
                       SQL_C_TINYINT, SQL_C_LONG, SQL_C_SHORT, SQL_C_FLOAT, SQL_C_DOUBLE}))
        newLength = 24;
    else if (IsOneOf(type, {SQL_C_UBIGINT, SQL_C_SBIGINT, SQL_C_BINARY, SQL_C_CHAR, SQL_C_TYPE_TIME,
                            SQL_C_TYPE_TIMESTAMP}))
        newLength = length;
    else
        return Status_Ok;
    if (type != cType || newLength != cLength) isBound = false;
    cType = type;
    cLength = newLength;
    indicator = SQL_NULL_DATA;
    return Status_Ok;
}

e_Status OdbcDataImpl::SetDirection(short value) {
    if (value != SQL_PARAM_INPUT && value != SQL_PARAM_INPUT_OUTPUT && value != SQL_PARAM_OUTPUT) return Status_Ok;
    if (value != direction) isBound = false;
    direction = value;
    return Status_Ok;
}

e_Status OdbcDataImpl::SetBindArea() {
    const unsigned char* oldData = bindArea.Data();
    unsigned int oldSize = bindArea.Size();
    bindArea.Truncate(0, false);
    bindArea.Extend(static_cast<unsigned int>(cLength) + 1, 0);
    if (bindArea.Data() != oldData || bindArea.Size() != oldSize) isBound = false;
    return Status_Ok;
}

e_Status OdbcDataImpl::Store(short type, int length, const void* bytes, unsigned int n, SQLLEN newIndicator) {
    SetCType(type, length);
    SetBindArea();
    // The 64-bit integers may have an area of one byte: the first allocation's
    // slack holds their 8. Without any buffer (out of memory) nothing is written.
    if (bindArea.Data() != nullptr && bindArea.Capacity() > n && n > 0) std::memcpy(bindArea.Data(), bytes, n);
    indicator = newIndicator;
    return Status_Ok;
}

e_Status OdbcDataImpl::StoreVariable(short type, const void* bytes, unsigned int n) {
    // The area never shrinks, so a shorter value keeps the bind as it was.
    int length = static_cast<int>(n) > cLength ? static_cast<int>(n) : cLength;
    return Store(type, length, bytes, bytes ? n : 0, static_cast<SQLLEN>(n));
}

e_Status OdbcDataImpl::SetData() {
    SetBindArea();
    indicator = 0;
    return Status_Ok;
}

e_Status OdbcDataImpl::SetData(bool value) {
    unsigned char b = value ? 1 : 0;
    return Store(SQL_C_BIT, 0, &b, 1, 0);
}
e_Status OdbcDataImpl::SetData(char value) { return Store(SQL_C_STINYINT, 0, &value, 1, 0); }
e_Status OdbcDataImpl::SetData(short value) { return Store(SQL_C_SSHORT, 0, &value, 2, 0); }
e_Status OdbcDataImpl::SetData(int value) { return Store(SQL_C_SLONG, 0, &value, 4, 0); }
e_Status OdbcDataImpl::SetData(long value) { return Store(SQL_C_SBIGINT, 0, &value, 8, 0); }
e_Status OdbcDataImpl::SetData(unsigned char value) { return Store(SQL_C_UTINYINT, 0, &value, 1, 0); }
e_Status OdbcDataImpl::SetData(unsigned short value) { return Store(SQL_C_USHORT, 0, &value, 2, 0); }
e_Status OdbcDataImpl::SetData(unsigned int value) { return Store(SQL_C_ULONG, 0, &value, 4, 0); }
e_Status OdbcDataImpl::SetData(unsigned long value) { return Store(SQL_C_UBIGINT, 0, &value, 8, 0); }
e_Status OdbcDataImpl::SetData(double value) { return Store(SQL_C_DOUBLE, 0, &value, 8, 0); }
e_Status OdbcDataImpl::SetData(const tagTIME_STRUCT& value) { return Store(SQL_C_TYPE_TIME, 6, &value, 6, 6); }
e_Status OdbcDataImpl::SetData(const tagTIMESTAMP_STRUCT& value) {
    return Store(SQL_C_TYPE_TIMESTAMP, 16, &value, 16, 16);
}

e_Status OdbcDataImpl::SetData(ByteStore* value, bool binary) {
    const unsigned char* bytes = value ? value->Data() : nullptr;
    unsigned int n = bytes ? value->Size() : 0;
    return StoreVariable(binary ? SQL_C_BINARY : SQL_C_CHAR, bytes, n);
}

e_Status OdbcDataImpl::SetData(unsigned int type, const DataTypes::DataValue& value) {
    if (type == internal::kTypeBinary) {
        const DataTypes::BinaryValue& b = value.binaryValue;
        return StoreVariable(SQL_C_BINARY, b.data, b.data ? b.length : 0);
    }
    if (type == internal::kTypeString) {
        const char* s = value.stringValue;
        return StoreVariable(SQL_C_CHAR, s, s ? static_cast<unsigned int>(std::strlen(s)) : 0);
    }
    return GetStatus(-1);
}

e_Status OdbcDataImpl::GetSqlType(short& type, unsigned int& size, short& digits) {
    type = sqlType;
    size = static_cast<unsigned int>(columnSize);
    digits = decimalDigits;
    return Status_Ok;
}

e_Status OdbcDataImpl::GetCType(short& type, int& length) {
    type = cType;
    length = cLength;
    return Status_Ok;
}

e_Status OdbcDataImpl::GetDirection(short& value) {
    value = direction;
    return Status_Ok;
}

template <typename T>
T OdbcDataImpl::Read() const {
    T v{};
    // Bounded by the allocation, not the size: a 64-bit value lives in an
    // area of one byte (cLength 0) whose first buffer has room for it.
    unsigned int n = bindArea.Capacity() < sizeof(T) ? bindArea.Capacity() : static_cast<unsigned int>(sizeof(T));
    if (bindArea.Data() != nullptr && n > 0) std::memcpy(&v, bindArea.Data(), n);
    return v;
}

// The indicator of a NULL text is tested before its parse: a NULL column has
// no buffer to read.
e_Status OdbcDataImpl::GetData(bool& value) {
    if (!IsOneOf(cType, {SQL_C_UTINYINT, SQL_C_STINYINT, SQL_C_TINYINT, SQL_C_USHORT, SQL_C_SSHORT, SQL_C_SHORT,
                         SQL_C_BIT, SQL_C_CHAR}))
        return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        value = false;
        return Status_Null;
    }
    switch (cType) {
    case SQL_C_USHORT:
    case SQL_C_SSHORT:
    case SQL_C_SHORT:
        value = Read<unsigned short>() != 0;
        break;
    case SQL_C_CHAR: {
        long v = 0;
        if (!ParseWhole(TextValue(), std::strtol, v)) return GetStatus(-1);
        value = v != 0;
        break;
    }
    default:
        value = Read<unsigned char>() != 0;
        break;
    }
    return Status_Ok;
}

e_Status OdbcDataImpl::GetData(char& value) {
    if (cType != SQL_C_STINYINT && cType != SQL_C_TINYINT) return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        value = 0;
        return Status_Null;
    }
    value = Read<char>();
    return Status_Ok;
}

e_Status OdbcDataImpl::GetData(unsigned char& value) {
    if (cType != SQL_C_UTINYINT && cType != SQL_C_TINYINT) return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        value = 0;
        return Status_Null;
    }
    value = Read<unsigned char>();
    return Status_Ok;
}

e_Status OdbcDataImpl::GetData(short& value) {
    if (cType != SQL_C_SSHORT && cType != SQL_C_SHORT) return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        value = 0;
        return Status_Null;
    }
    value = Read<short>();
    return Status_Ok;
}

e_Status OdbcDataImpl::GetData(unsigned short& value) {
    if (cType != SQL_C_USHORT && cType != SQL_C_SHORT) return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        value = 0;
        return Status_Null;
    }
    value = Read<unsigned short>();
    return Status_Ok;
}

e_Status OdbcDataImpl::GetData(int& value) {
    if (!IsOneOf(cType, {SQL_C_SLONG, SQL_C_LONG, SQL_C_SSHORT, SQL_C_SHORT, SQL_C_USHORT, SQL_C_STINYINT,
                         SQL_C_TINYINT, SQL_C_UTINYINT, SQL_C_CHAR}))
        return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        value = 0;
        return Status_Null;
    }
    switch (cType) {
    case SQL_C_SSHORT:
    case SQL_C_SHORT:
        value = Read<short>();
        break;
    case SQL_C_USHORT:
        value = Read<unsigned short>();
        break;
    case SQL_C_STINYINT:
    case SQL_C_TINYINT:
        value = Read<signed char>();
        break;
    case SQL_C_UTINYINT:
        value = Read<unsigned char>();
        break;
    case SQL_C_CHAR: {
        long v = 0;
        if (!ParseWhole(TextValue(), std::strtol, v) || v < INT_MIN || v > INT_MAX) return GetStatus(-1);
        value = static_cast<int>(v);
        break;
    }
    default:
        value = Read<int>();
        break;
    }
    return Status_Ok;
}

e_Status OdbcDataImpl::GetData(unsigned int& value) {
    if (!IsOneOf(cType, {SQL_C_ULONG, SQL_C_LONG, SQL_C_USHORT, SQL_C_SHORT, SQL_C_UTINYINT, SQL_C_TINYINT,
                         SQL_C_CHAR}))
        return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        value = 0;
        return Status_Null;
    }
    switch (cType) {
    case SQL_C_USHORT:
    case SQL_C_SHORT:
        value = Read<unsigned short>();
        break;
    case SQL_C_UTINYINT:
    case SQL_C_TINYINT:
        value = Read<unsigned char>();
        break;
    case SQL_C_CHAR: {
        unsigned long v = 0;
        if (!ParseWhole(TextValue(), std::strtoul, v) || v > 4294967295UL) return GetStatus(-1);
        value = static_cast<unsigned int>(v);
        break;
    }
    default:
        value = Read<unsigned int>();
        break;
    }
    return Status_Ok;
}

// Widening isn't symmetrical: an SQL_C_LONG column can't be read as long.
e_Status OdbcDataImpl::GetData(long& value) {
    if (cType != SQL_C_SBIGINT && cType != SQL_C_ULONG && cType != SQL_C_CHAR) return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        value = 0;
        return Status_Null;
    }
    if (cType == SQL_C_SBIGINT) {
        value = Read<long>();
    } else if (cType == SQL_C_ULONG) {
        value = static_cast<long>(Read<unsigned int>());
    } else {
        long long v = 0;
        if (!ParseWhole(TextValue(), std::strtoll, v)) return GetStatus(-1);
        value = static_cast<long>(v);
    }
    return Status_Ok;
}

e_Status OdbcDataImpl::GetData(unsigned long& value) {
    if (cType != SQL_C_UBIGINT && cType != SQL_C_CHAR) return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        value = 0;
        return Status_Null;
    }
    if (cType == SQL_C_UBIGINT) {
        value = Read<unsigned long>();
    } else {
        unsigned long long v = 0;
        if (!ParseWhole(TextValue(), std::strtoull, v)) return GetStatus(-1);
        value = static_cast<unsigned long>(v);
    }
    return Status_Ok;
}

e_Status OdbcDataImpl::GetData(double& value) {
    if (cType != SQL_C_DOUBLE && cType != SQL_C_FLOAT && cType != SQL_C_CHAR) return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        value = 0;
        return Status_Null;
    }
    if (cType == SQL_C_DOUBLE) {
        value = Read<double>();
    } else if (cType == SQL_C_FLOAT) {
        value = Read<float>();
    } else {
        char* end = nullptr;
        errno = 0;
        double v = std::strtod(TextValue(), &end);
        if (end == nullptr || *end != '\0') return GetStatus(-1);
        // On ERANGE it is the output's previous content that is judged, not
        // the parsed value: a quirk callers rely on, so it stays.
        if (errno == ERANGE && (value == 0 || value > DBL_MAX || value < -DBL_MAX)) return GetStatus(-1);
        value = v;
    }
    return Status_Ok;
}

e_Status OdbcDataImpl::GetData(ByteStore* value) {
    if (value == nullptr) return GetStatus(-1);
    if (!IsOneOf(cType, {SQL_C_CHAR, SQL_C_BINARY, SQL_C_TYPE_TIMESTAMP, SQL_C_TYPE_TIME})) return GetStatus(-1);
    value->Truncate(0, false);
    if (indicator == SQL_NULL_DATA) return Status_Null;
    SQLLEN n = indicator;
    if (n < 0) n = 0;
    if (static_cast<SQLULEN>(n) > bindArea.Size()) n = bindArea.Size();
    value->Append(bindArea.Data(), static_cast<unsigned int>(n));
    return Status_Ok;
}

// Both structure reads fill the structure and then answer Status_Error; the
// front ends read timestamps through the ByteStore form instead.
e_Status OdbcDataImpl::GetData(tagTIMESTAMP_STRUCT& value) {
    if (cType != SQL_C_TYPE_TIMESTAMP) return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        std::memset(&value, 0, sizeof value);
        return Status_Null;
    }
    value = Read<tagTIMESTAMP_STRUCT>();
    return GetStatus(-1);
}

e_Status OdbcDataImpl::GetData(tagTIME_STRUCT& value) {
    if (cType != SQL_C_TYPE_TIME) return GetStatus(-1);
    if (indicator == SQL_NULL_DATA) {
        std::memset(&value, 0, sizeof value);
        return Status_Null;
    }
    value = Read<tagTIME_STRUCT>();
    return GetStatus(-1);
}

}}}} // namespace KORVEL::Orl::DB::ODBC
