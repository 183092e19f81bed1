// The host's abstract cursor over a classic statement's rows. 1 success, 3 failure.
// getColumnName/Type/Info are zero-based; getColumn and getColumnX one-based.
#pragma once
#include <string>

#include "datatypes/DataValue.h"

namespace KORVEL { namespace Orl { namespace DB {

class Statement;
class Row;
class RowDescriptor;

class ResultSet {
public:
    explicit ResultSet(Statement& statement) : statement(statement) {}
    virtual ~ResultSet() = default;

    virtual int close() = 0;
    virtual int next(bool& hasRow) = 0;
    // On success `row` is a new Row that belongs to the caller.
    virtual int getData(const RowDescriptor& descriptor, Row*& row) = 0;
    virtual int getNumColumns(int& count) = 0;
    virtual int getColumnInfo(int column, std::string& name, unsigned int& type) = 0;
    virtual int getColumnName(int column, std::string& name) = 0;
    virtual int getColumnType(int column, unsigned int& type) = 0;
    virtual int getColumn(int column, unsigned int type, DataTypes::DataValue& value) = 0;
    virtual int getColumnInt16(int column, DataTypes::DataValue& value) = 0;
    virtual int getColumnInt32(int column, DataTypes::DataValue& value) = 0;
    virtual int getColumnInt64(int column, DataTypes::DataValue& value) = 0;
    virtual int getColumnDouble(int column, DataTypes::DataValue& value) = 0;
    virtual int getColumnDate(int column, DataTypes::DataValue& value) = 0;
    virtual int getColumnString(int column, DataTypes::DataValue& value) = 0;
    virtual int getColumnMoney(int column, unsigned int type, DataTypes::DataValue& value) = 0;
    virtual int getColumnTimestamp(int column, DataTypes::DataValue& value) = 0;
    virtual int getColumnBoolean(int column, DataTypes::DataValue& value) = 0;
    virtual int getColumnInterval(int column, DataTypes::DataValue& value) = 0;
    virtual int getColumnBigDateTime(int column, DataTypes::DataValue& value) = 0;
    virtual int getColumnTime(int column, DataTypes::DataValue& value) = 0;
    virtual int getColumnFixedDecimal(int column, unsigned int type, DataTypes::DataValue& value) = 0;
    virtual int getColumnBinary(int column, DataTypes::DataValue& value) = 0;

protected:
    Statement& statement;
};

}}} // namespace KORVEL::Orl::DB
