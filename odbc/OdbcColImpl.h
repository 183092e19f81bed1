// One result column: describes itself from the driver, picks the C type to
// read it in, and reads its value with SQLGetData, long values in chunks.
#pragma once
#include "odbc/OdbcDataImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class OdbcColImpl : public OdbcDataImpl, public OdbcCol {
public:
    OdbcColImpl(OdbcQueryImpl* query, short number);
    ~OdbcColImpl() override;

    // Describes the column and chooses its C type (SQL_C_CHAR for all text,
    // decimals included; 64-bit integers are read as text and parsed).
    e_Status Initialize() override;
    e_Status Finalize() override { return Status_Ok; }
    // Reads this column of the current row. Text and binary start with a
    // chunk of at most 8000 bytes (+1 for the NUL, +2 for wide text) and go
    // on for what the driver says is left. NULL leaves the cell without a buffer.
    using OdbcDataImpl::GetData;
    e_Status GetData();

    // Undefined on a column the driver described with an empty name.
    e_Status GetName(std::string& value) override;
    e_Status GetCType(short& type) override;
    using OdbcDataImpl::GetCType;
    e_Status GetSqlType(short& type, unsigned int& size, short& digits) override;
    e_Status GetData(bool& value) override { return OdbcDataImpl::GetData(value); }
    e_Status GetData(char& value) override { return OdbcDataImpl::GetData(value); }
    e_Status GetData(short& value) override { return OdbcDataImpl::GetData(value); }
    e_Status GetData(int& value) override { return OdbcDataImpl::GetData(value); }
    e_Status GetData(long& value) override { return OdbcDataImpl::GetData(value); }
    e_Status GetData(unsigned char& value) override { return OdbcDataImpl::GetData(value); }
    e_Status GetData(unsigned short& value) override { return OdbcDataImpl::GetData(value); }
    e_Status GetData(unsigned int& value) override { return OdbcDataImpl::GetData(value); }
    e_Status GetData(unsigned long& value) override { return OdbcDataImpl::GetData(value); }
    e_Status GetData(double& value) override { return OdbcDataImpl::GetData(value); }
    // The text of a 64-bit integer for the integer C types; else as the cell.
    e_Status GetData(ByteStore* value) override;
    e_Status GetData(tagTIMESTAMP_STRUCT& value) override { return OdbcDataImpl::GetData(value); }
    e_Status GetData(tagTIME_STRUCT& value) override { return OdbcDataImpl::GetData(value); }

private:
    e_Status ReadFixed(unsigned int size);
    e_Status ReadBigInt();
    e_Status ReadChunked();
    e_Status FailureExit(e_Status status);
    e_Status NullExit();

    ByteStore name;
    short nameLength;
    ByteStore longData;  // text form of a 64-bit integer
    SQLLEN displaySize;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
