// A batch parameter: collects one value per row into column-wise arrays that
// are bound to ODBC in one go. The first SetSqlType, SetCType and
// SetDirection settle the column; later calls change nothing. Fixed-size
// values go straight into the bind area; DataValue strings and binaries are
// held apart until Bind packs them at the width of the longest.
#pragma once
#include <vector>

#include "odbc/OdbcParamImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class OdbcParamArrayImpl : public OdbcParamImpl {
public:
    OdbcParamArrayImpl(OdbcQueryImpl* statement, short number);
    ~OdbcParamArrayImpl() override;

    // Takes the column size from SQLDescribeParam (0 when it fails).
    e_Status Initialize() override;
    e_Status SetSqlType(short sqlType, unsigned int columnSize, short decimalDigits) override;
    // Text gets one byte more for the NUL (the described size when length < 1),
    // binary the described size, the 64-bit integers 8.
    e_Status SetCType(short cType, int length) override;
    e_Status SetDirection(short direction) override;

    // Each adds one row. The C type set before must match the form used.
    e_Status SetData(bool value, bool isNull) override;
    e_Status SetData(char value, bool isNull) override;
    e_Status SetData(short value, bool isNull) override;
    e_Status SetData(int value, bool isNull) override;
    e_Status SetData(long value, bool isNull) override;
    e_Status SetData(unsigned char value, bool isNull) override;
    e_Status SetData(unsigned short value, bool isNull) override;
    e_Status SetData(unsigned int value, bool isNull) override;
    e_Status SetData(unsigned long value, bool isNull) override;
    e_Status SetData(double value, bool isNull) override;
    // Resizes the caller's store to the column width (the caller sees it).
    e_Status SetData(ByteStore* value, bool binary, bool isNull) override;
    // Status_Error, no row added, for a type other than 5 (string) or 28 (binary).
    e_Status SetData(unsigned int type, const DataTypes::DataValue& value, bool isNull) override;
    e_Status SetData(const tagTIMESTAMP_STRUCT& value, bool isNull) override;
    e_Status SetData(const tagTIME_STRUCT& value, bool isNull) override;
    e_Status Bind() override;
    e_Status Unbind() override;

    // A batch parameter can't be read back: Status_Ok, nothing written.
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

protected:
    struct Pending {
        void* data;           // malloc'ed copy, owned; null for a NULL row
        unsigned int length;  // binary values only
        bool isNull;
    };

    template <typename T>
    e_Status AddRow(const T& value, bool isNull);
    void AddIndicator(SQLLEN value);

    bool sqlTypeSet;
    bool cTypeSet;
    bool directionSet;
    int rows;
    ByteStore indicators;  // one SQLLEN per row: the indicator array of the bind
    bool variable;
    int maxLength;
    unsigned int valueType;
    std::vector<Pending> pending;
    unsigned char* packed;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
