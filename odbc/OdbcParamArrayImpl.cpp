#include "odbc/OdbcParamArrayImpl.h"

#include <cstdlib>
#include <cstring>

#include "odbc/OdbcQueryImpl.h"
#include "odbc/internal/TypeCodes.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

namespace {
// A NULL binary row carries the 32-bit all-ones value, zero-extended, as its
// indicator; it is not SQL_NULL_DATA. Kept as the batch format has it.
constexpr SQLLEN kBinaryNull = static_cast<SQLLEN>(0xFFFFFFFFu);
} // namespace

OdbcParamArrayImpl::OdbcParamArrayImpl(OdbcQueryImpl* statement, short paramNumber)
    : OdbcParamImpl(statement, paramNumber), sqlTypeSet(false), cTypeSet(false), directionSet(false), rows(0),
      variable(false), maxLength(0), valueType(0), packed(nullptr) {}

OdbcParamArrayImpl::~OdbcParamArrayImpl() {
    std::free(packed);
    packed = nullptr;
    for (Pending& p : pending) std::free(p.data);
    pending.clear();
}

e_Status OdbcParamArrayImpl::Initialize() {
    if (number < 1) return GetStatus(-1);
    SQLSMALLINT type = 0, digits = 0, canBeNull = 0;
    SQLULEN size = 0;
    SQLRETURN rc = SQLDescribeParam(hstmt, static_cast<SQLUSMALLINT>(number), &type, &size, &digits, &canBeNull);
    if (!SQL_SUCCEEDED(rc)) size = 0;
    columnSize = size;
    cLength = static_cast<int>(size);
    return GetStatus(query, rc);
}

e_Status OdbcParamArrayImpl::SetSqlType(short type, unsigned int size, short digits) {
    if (sqlTypeSet) return Status_Ok;
    e_Status status = OdbcDataImpl::SetSqlType(type, size, digits);
    if (status == Status_Ok) sqlTypeSet = true;
    return status;
}

e_Status OdbcParamArrayImpl::SetDirection(short value) {
    if (directionSet) return Status_Ok;
    e_Status status = OdbcDataImpl::SetDirection(value);
    if (status == Status_Ok) directionSet = true;
    return status;
}

e_Status OdbcParamArrayImpl::SetCType(short type, int length) {
    if (cTypeSet) return Status_Ok;
    int width = length;
    if (type == SQL_C_CHAR)
        width = length < 1 ? cLength + 1 : length + 1;
    else if (type == SQL_C_BINARY)
        width = cLength;
    else if (type == SQL_C_SBIGINT || type == SQL_C_UBIGINT)
        width = 8;
    e_Status status = OdbcDataImpl::SetCType(type, width);
    if (status == Status_Ok) cTypeSet = true;
    return status;
}

// A row added after a bind may move the arrays ODBC holds, so it calls for a
// new bind; before the first bind this changes nothing.
void OdbcParamArrayImpl::AddIndicator(SQLLEN value) {
    indicators.Append(&value, sizeof value);
    isBound = false;
}

template <typename T>
e_Status OdbcParamArrayImpl::AddRow(const T& value, bool isNull) {
    T v{};
    if (!isNull) v = value;
    AddIndicator(isNull ? SQL_NULL_DATA : 0);
    bindArea.Append(&v, sizeof v);
    ++rows;
    return Status_Ok;
}

e_Status OdbcParamArrayImpl::SetData(bool value, bool isNull) {
    // SQL_C_BIT is one byte whatever the compiler makes of bool.
    unsigned char b = value ? 1 : 0;
    return AddRow(b, isNull);
}
e_Status OdbcParamArrayImpl::SetData(char value, bool isNull) { return AddRow(value, isNull); }
e_Status OdbcParamArrayImpl::SetData(short value, bool isNull) { return AddRow(value, isNull); }
e_Status OdbcParamArrayImpl::SetData(int value, bool isNull) { return AddRow(value, isNull); }
e_Status OdbcParamArrayImpl::SetData(long value, bool isNull) { return AddRow(value, isNull); }
e_Status OdbcParamArrayImpl::SetData(unsigned char value, bool isNull) { return AddRow(value, isNull); }
e_Status OdbcParamArrayImpl::SetData(unsigned short value, bool isNull) { return AddRow(value, isNull); }
e_Status OdbcParamArrayImpl::SetData(unsigned int value, bool isNull) { return AddRow(value, isNull); }
e_Status OdbcParamArrayImpl::SetData(unsigned long value, bool isNull) { return AddRow(value, isNull); }
e_Status OdbcParamArrayImpl::SetData(double value, bool isNull) { return AddRow(value, isNull); }
e_Status OdbcParamArrayImpl::SetData(const tagTIMESTAMP_STRUCT& value, bool isNull) { return AddRow(value, isNull); }
e_Status OdbcParamArrayImpl::SetData(const tagTIME_STRUCT& value, bool isNull) { return AddRow(value, isNull); }

e_Status OdbcParamArrayImpl::SetData(ByteStore* value, bool binary, bool isNull) {
    // Every row has the column's width, so the caller's store is cut or padded.
    ByteStore empty;
    ByteStore* store = value ? value : &empty;
    unsigned int given = store->Size();
    store->Resize(cLength > 0 ? static_cast<unsigned int>(cLength) : 0u, false);
    SQLLEN ind;
    if (binary)
        ind = isNull ? kBinaryNull : static_cast<SQLLEN>(given);
    else
        ind = isNull ? SQL_NULL_DATA : SQL_NTS;
    if (store->Size() > 0) bindArea.Append(store->Data(), store->Size());
    AddIndicator(ind);
    ++rows;
    return Status_Ok;
}

e_Status OdbcParamArrayImpl::SetData(unsigned int type, const DataTypes::DataValue& value, bool isNull) {
    if (type != internal::kTypeBinary && type != internal::kTypeString) return GetStatus(-1);
    valueType = type;
    SQLLEN ind;
    unsigned int count = 0;
    Pending record{nullptr, 0, isNull};
    const void* source = nullptr;
    if (type == internal::kTypeString) {
        const char* s = value.stringValue ? value.stringValue : "";
        if (!isNull) {
            ind = SQL_NTS;
            count = static_cast<unsigned int>(std::strlen(s)) + 1;
            source = s;
        } else {
            ind = SQL_NULL_DATA;
        }
        if (static_cast<int>(count) > maxLength) maxLength = static_cast<int>(count);
    } else if (!isNull) {
        count = value.binaryValue.data ? value.binaryValue.length : 0;
        ind = static_cast<SQLLEN>(count);
        source = value.binaryValue.data;
        record.length = count;
        if (static_cast<int>(count) > maxLength) maxLength = static_cast<int>(count);
    } else {
        // Reads as -1 in the signed field until a later row raises it.
        ind = kBinaryNull;
        maxLength = static_cast<int>(0xFFFFFFFFu);
    }
    if (!isNull && count > 0) {
        record.data = std::malloc(count);
        if (record.data == nullptr) return GetStatus(-1);
        std::memcpy(record.data, source, count);
    }
    AddIndicator(ind);
    ++rows;
    pending.push_back(record);
    variable = true;
    return Status_Ok;
}

e_Status OdbcParamArrayImpl::Bind() {
    if (isBound) return Status_Ok;
    SQLPOINTER buffer;
    SQLLEN bufferLength;
    if (variable) {
        // A batch ending in a NULL binary leaves maxLength at -1: width 1.
        size_t width = maxLength > 0 ? static_cast<size_t>(maxLength) : 1;
        std::free(packed);
        packed = static_cast<unsigned char*>(std::calloc(rows > 0 ? static_cast<size_t>(rows) : 1, width));
        if (packed == nullptr) return GetStatus(-1);
        for (size_t row = 0; row < pending.size(); ++row) {
            Pending& p = pending[row];
            unsigned char* slot = packed + row * width;
            if (!p.isNull && p.data != nullptr) {
                if (valueType == internal::kTypeBinary) {
                    std::memcpy(slot, p.data, p.length <= width ? p.length : width);
                } else {
                    size_t n = std::strlen(static_cast<const char*>(p.data));
                    if (n > 0 && n < width) std::memcpy(slot, p.data, n + 1);
                }
            }
            std::free(p.data);
            p.data = nullptr;
        }
        pending.clear();
        buffer = packed;
        bufferLength = static_cast<SQLLEN>(width);
    } else {
        buffer = bindArea.Data();
        bufferLength = cLength;
    }
    e_Status status = GetStatus(
        query, SQLBindParameter(hstmt, static_cast<SQLUSMALLINT>(number), direction, cType, sqlType, columnSize,
                                decimalDigits, buffer, bufferLength, reinterpret_cast<SQLLEN*>(indicators.Data())));
    if (status == Status_Ok) isBound = true;
    return status;
}

e_Status OdbcParamArrayImpl::Unbind() {
    isBound = false;
    return Status_Ok;
}

e_Status OdbcParamArrayImpl::GetData(char&) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(bool&) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(short&) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(int&) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(long&) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(unsigned char&) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(unsigned short&) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(unsigned int&) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(unsigned long&) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(double&) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(ByteStore*) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(tagTIMESTAMP_STRUCT&) { return Status_Ok; }
e_Status OdbcParamArrayImpl::GetData(tagTIME_STRUCT&) { return Status_Ok; }

}}}} // namespace KORVEL::Orl::DB::ODBC
