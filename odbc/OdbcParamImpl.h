// A statement parameter holding one value. The SQL description comes from
// the caller through SetSqlType; nothing is asked of the driver. Bind is
// skipped while the ODBC picture of the cell still holds (isBound).
#pragma once
#include "odbc/OdbcDataImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class OdbcParamImpl : public OdbcDataImpl, public OdbcParam {
public:
    OdbcParamImpl(OdbcQueryImpl* statement, short number);
    ~OdbcParamImpl() override;

    e_Status Initialize() override;
    e_Status Finalize() override { return Status_Ok; }

    e_Status SetSqlType(short sqlType, unsigned int columnSize, short decimalDigits) override;
    e_Status SetCType(short cType, int length) override;
    e_Status SetDirection(short direction) override;
    e_Status SetData() override;
    using OdbcDataImpl::SetData;
    // isNull only sets the indicator to NULL: type and bytes stay as they were.
    virtual e_Status SetData(bool value, bool isNull) override;
    virtual e_Status SetData(char value, bool isNull) override;
    virtual e_Status SetData(short value, bool isNull) override;
    virtual e_Status SetData(int value, bool isNull) override;
    virtual e_Status SetData(long value, bool isNull) override;
    virtual e_Status SetData(unsigned char value, bool isNull) override;
    virtual e_Status SetData(unsigned short value, bool isNull) override;
    virtual e_Status SetData(unsigned int value, bool isNull) override;
    virtual e_Status SetData(unsigned long value, bool isNull) override;
    virtual e_Status SetData(double value, bool isNull) override;
    virtual e_Status SetData(ByteStore* value, bool binary, bool isNull) override;
    virtual e_Status SetData(unsigned int type, const DataTypes::DataValue& value, bool isNull) override;
    virtual e_Status SetData(const tagTIMESTAMP_STRUCT& value, bool isNull) override;
    virtual e_Status SetData(const tagTIME_STRUCT& value, bool isNull) override;
    // Binds the area and the address of the indicator, so a later change of
    // the indicator alone needs no new bind.
    virtual e_Status Bind();
    virtual e_Status Unbind();

    e_Status GetSqlType(short& sqlType, unsigned int& columnSize, short& decimalDigits) override;
    e_Status GetCType(short& cType, int& length) override;
    e_Status GetDirection(short& direction) override;
    e_Status GetData(char& value) override;
    e_Status GetData(bool& value) override;
    e_Status GetData(short& value) override;
    e_Status GetData(int& value) override;
    e_Status GetData(long& value) override;
    e_Status GetData(unsigned char& value) override;
    e_Status GetData(unsigned short& value) override;
    e_Status GetData(unsigned int& value) override;
    e_Status GetData(unsigned long& value) override;
    e_Status GetData(double& value) override;
    e_Status GetData(ByteStore* value) override;
    e_Status GetData(tagTIMESTAMP_STRUCT& value) override;
    e_Status GetData(tagTIME_STRUCT& value) override;

private:
    template <typename T>
    e_Status SetValue(const T& value, bool isNull);
};

}}}} // namespace KORVEL::Orl::DB::ODBC
