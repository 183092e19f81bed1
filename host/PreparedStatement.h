// The host's abstract bulk statement, moving packed rows. 0 success, -1 failure.
#pragma once
#include <vector>

#include "datatypes/DataValue.h"

namespace KORVEL { namespace Orl { namespace DB {

class DBError;
struct RowInternal2;  // packed row; its layout is the driver's

class PreparedStatement {
public:
    virtual int getNumberParameters(int& count, DBError* error) = 0;
    virtual int getEffectiveNumberColumns(int& count, DBError* error) = 0;
    virtual const char* getColumnName(unsigned long column, DBError* error) = 0;
    virtual int getEffectiveDataType(int column, unsigned int& type, DBError* error) = 0;
    virtual int setBindings(std::vector<int>& columns, const unsigned int* types, DBError* error) = 0;
    virtual int execute(const RowInternal2* row, DBError* error) = 0;
    virtual int execute(const RowInternal2** rows, DBError* error) = 0;
    virtual int execute(std::vector<DataTypes::DataValue>& values, std::vector<unsigned int>& types,
                        DBError* error) = 0;
    virtual int execute(DBError* error) = 0;
    virtual int nextResultSet(bool& more, DBError* error) = 0;
    virtual int hasMoreData(bool& more, DBError* error) = 0;
    // A packed row in one malloc block that the caller frees, or null.
    virtual RowInternal2* nextRow(DBError* error) = 0;
    virtual int nextRow(std::vector<DataTypes::DataValue>& values, DBError* error) = 0;
    virtual int nextCount(int& count, DBError* error) = 0;

protected:
    ~PreparedStatement() = default;
    int headerSize = 0;  // bytes of a packed row's header, set by the implementation
};

}}} // namespace KORVEL::Orl::DB
