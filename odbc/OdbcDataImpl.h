// One typed value between the program and ODBC: a result column or a statement
// parameter. It holds the SQL description, the C type the value travels in,
// the direction, and the bytes in `bindArea` with a length `indicator`
// (-1 is SQL NULL). A cell makes no ODBC call of its own and writes no
// diagnostics; its query is the source of every diagnostic about it.
#pragma once
#include <sqlext.h>

#include "odbc/OdbcImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class OdbcQueryImpl;

class OdbcDataImpl : public OdbcImpl {
public:
    OdbcDataImpl(OdbcQueryImpl* query, short number);
    ~OdbcDataImpl() override;

    e_Status Initialize() override { return Status_Ok; }
    e_Status Finalize() override { return Status_Ok; }
    SQLHANDLE GetHandle(e_Handle which) override;
    SQLHANDLE GetHandle() override { return SQL_NULL_HANDLE; }
    SQLSMALLINT GetHandleType() override { return 0; }

    // Fixes the size and digits of the fixed-width SQL types; clears isBound.
    virtual e_Status SetSqlType(short sqlType, unsigned int columnSize, short decimalDigits);
    // Unknown C types are ignored. Fixed-width types get a length of 24, the
    // 64-bit integers, text, binary and the time structures the given one.
    virtual e_Status SetCType(short cType, int length);
    // Only 1 (input), 2 (input/output) and 4 (output) are taken.
    virtual e_Status SetDirection(short direction);
    // Each form sets its C type, resizes the bind area and writes the value;
    // none touches the SQL type. Status_Error only for a DataValue that is
    // neither a string (5) nor binary (28).
    virtual e_Status SetData();
    virtual e_Status SetData(bool value);
    virtual e_Status SetData(char value);
    virtual e_Status SetData(short value);
    virtual e_Status SetData(int value);
    virtual e_Status SetData(long value);
    virtual e_Status SetData(unsigned char value);
    virtual e_Status SetData(unsigned short value);
    virtual e_Status SetData(unsigned int value);
    virtual e_Status SetData(unsigned long value);
    virtual e_Status SetData(double value);
    virtual e_Status SetData(ByteStore* value, bool binary);
    virtual e_Status SetData(unsigned int type, const DataTypes::DataValue& value);
    virtual e_Status SetData(const tagTIMESTAMP_STRUCT& value);
    virtual e_Status SetData(const tagTIME_STRUCT& value);
    virtual e_Status GetSqlType(short& sqlType, unsigned int& columnSize, short& decimalDigits);
    virtual e_Status GetCType(short& cType, int& length);
    virtual e_Status GetDirection(short& direction);
    // Reads: Status_Error (output untouched) for a C type the form doesn't take
    // or a text that doesn't parse whole and in range; Status_Null (output
    // zeroed) for NULL; Status_Ok otherwise. The two structure forms fill the
    // structure and still answer Status_Error: judge them by the structure.
    virtual e_Status GetData(bool& value);
    virtual e_Status GetData(char& value);
    virtual e_Status GetData(short& value);
    virtual e_Status GetData(int& value);
    virtual e_Status GetData(long& value);
    virtual e_Status GetData(unsigned char& value);
    virtual e_Status GetData(unsigned short& value);
    virtual e_Status GetData(unsigned int& value);
    virtual e_Status GetData(unsigned long& value);
    virtual e_Status GetData(double& value);
    virtual e_Status GetData(ByteStore* value);
    virtual e_Status GetData(tagTIMESTAMP_STRUCT& value);
    virtual e_Status GetData(tagTIME_STRUCT& value);

    bool IsBound() const { return isBound; }
    void IsBound(bool value) { isBound = value; }
    // Empties the area and zero-fills it to cLength + 1 bytes; clears isBound
    // when the buffer moved or changed size, as ODBC holds the old address.
    e_Status SetBindArea();

protected:
    // Bytes of the area as a T, zero where the area is shorter.
    template <typename T>
    T Read() const;
    // Writes the bytes of a fixed-size value under the given C type.
    e_Status Store(short cType, int length, const void* bytes, unsigned int n, SQLLEN newIndicator);
    e_Status StoreVariable(short cType, const void* bytes, unsigned int n);
    const char* TextValue() const { return bindArea.Text(); }

    SQLHSTMT hstmt;
    SQLHDBC hdbc;
    SQLHENV henv;
    OdbcQueryImpl* query;
    bool isBound;
    bool wide;
    short number;
    short direction;
    short cType;
    int cLength;
    short sqlType;
    SQLULEN columnSize;
    short decimalDigits;
    SQLLEN indicator;
    short nullable;
    ByteStore bindArea;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
