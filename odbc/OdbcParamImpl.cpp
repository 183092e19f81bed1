#include "odbc/OdbcParamImpl.h"

#include "odbc/OdbcQueryImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

OdbcParamImpl::OdbcParamImpl(OdbcQueryImpl* statement, short paramNumber) : OdbcDataImpl(statement, paramNumber) {
    direction = SQL_PARAM_INPUT;
}

OdbcParamImpl::~OdbcParamImpl() {
    DeleteChildren();
    OdbcParamImpl::Finalize();
}

e_Status OdbcParamImpl::Initialize() { return number < 1 ? GetStatus(-1) : Status_Ok; }

e_Status OdbcParamImpl::SetSqlType(short type, unsigned int size, short digits) {
    return OdbcDataImpl::SetSqlType(type, size, digits);
}
e_Status OdbcParamImpl::SetCType(short type, int length) { return OdbcDataImpl::SetCType(type, length); }
e_Status OdbcParamImpl::SetDirection(short value) { return OdbcDataImpl::SetDirection(value); }
e_Status OdbcParamImpl::SetData() { return OdbcDataImpl::SetData(); }

template <typename T>
e_Status OdbcParamImpl::SetValue(const T& value, bool isNull) {
    if (isNull) {
        indicator = SQL_NULL_DATA;
        return Status_Ok;
    }
    return OdbcDataImpl::SetData(value);
}

e_Status OdbcParamImpl::SetData(bool value, bool isNull) { return SetValue(value, isNull); }
e_Status OdbcParamImpl::SetData(char value, bool isNull) { return SetValue(value, isNull); }
e_Status OdbcParamImpl::SetData(short value, bool isNull) { return SetValue(value, isNull); }
e_Status OdbcParamImpl::SetData(int value, bool isNull) { return SetValue(value, isNull); }
e_Status OdbcParamImpl::SetData(long value, bool isNull) { return SetValue(value, isNull); }
e_Status OdbcParamImpl::SetData(unsigned char value, bool isNull) { return SetValue(value, isNull); }
e_Status OdbcParamImpl::SetData(unsigned short value, bool isNull) { return SetValue(value, isNull); }
e_Status OdbcParamImpl::SetData(unsigned int value, bool isNull) { return SetValue(value, isNull); }
e_Status OdbcParamImpl::SetData(unsigned long value, bool isNull) { return SetValue(value, isNull); }
e_Status OdbcParamImpl::SetData(double value, bool isNull) { return SetValue(value, isNull); }
e_Status OdbcParamImpl::SetData(const tagTIMESTAMP_STRUCT& value, bool isNull) { return SetValue(value, isNull); }
e_Status OdbcParamImpl::SetData(const tagTIME_STRUCT& value, bool isNull) { return SetValue(value, isNull); }

e_Status OdbcParamImpl::SetData(ByteStore* value, bool binary, bool isNull) {
    if (isNull) {
        indicator = SQL_NULL_DATA;
        return Status_Ok;
    }
    return OdbcDataImpl::SetData(value, binary);
}

e_Status OdbcParamImpl::SetData(unsigned int type, const DataTypes::DataValue& value, bool isNull) {
    if (isNull) {
        indicator = SQL_NULL_DATA;
        return Status_Ok;
    }
    return OdbcDataImpl::SetData(type, value);
}

e_Status OdbcParamImpl::Bind() {
    if (isBound) return Status_Ok;
    e_Status status = GetStatus(
        query, SQLBindParameter(hstmt, static_cast<SQLUSMALLINT>(number), direction, cType, sqlType, columnSize,
                                decimalDigits, bindArea.Data(), static_cast<SQLLEN>(bindArea.Size()), &indicator));
    if (status == Status_Ok) isBound = true;
    return status;
}

e_Status OdbcParamImpl::Unbind() {
    isBound = false;
    return Status_Ok;
}

e_Status OdbcParamImpl::GetSqlType(short& type, unsigned int& size, short& digits) {
    return OdbcDataImpl::GetSqlType(type, size, digits);
}
e_Status OdbcParamImpl::GetCType(short& type, int& length) { return OdbcDataImpl::GetCType(type, length); }
e_Status OdbcParamImpl::GetDirection(short& value) { return OdbcDataImpl::GetDirection(value); }
e_Status OdbcParamImpl::GetData(char& value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(bool& value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(short& value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(int& value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(long& value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(unsigned char& value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(unsigned short& value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(unsigned int& value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(unsigned long& value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(double& value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(ByteStore* value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(tagTIMESTAMP_STRUCT& value) { return OdbcDataImpl::GetData(value); }
e_Status OdbcParamImpl::GetData(tagTIME_STRUCT& value) { return OdbcDataImpl::GetData(value); }

}}}} // namespace KORVEL::Orl::DB::ODBC
