// A column as the catalog describes it, and the two translations between
// ODBC SQL type numbers and the server's type words. A value type.
#pragma once
#include <string>

#include "host/Column.h"

namespace KORVEL { namespace Orl { namespace DB {

class OdbcColumn : public Column {
public:
    OdbcColumn();
    // `size` serves as both the column size and the buffer length; not a key column.
    OdbcColumn(const std::string& name, int scale, unsigned int type, int size, bool nullable, bool hasDefault,
               int sqlType, std::string sqlTypeName);
    OdbcColumn(const std::string& name, int scale, unsigned int type, int size, bool nullable, bool primaryKey,
               bool hasDefault, int sqlType, std::string sqlTypeName);
    OdbcColumn(const OdbcColumn& other);
    OdbcColumn& operator=(const OdbcColumn& other) = default;
    ~OdbcColumn() override;

    // The type word a column of this SQL type is read as; 6 (UNKNOWN) when
    // there is none. SMALLINT and TINYINT widen to INTEGER, the old SQL_TIME
    // reads as a timestamp; a FIXEDDECIMAL comes without precision and scale.
    unsigned int getOrlDataType(int sqlType) override;
    // The type name for a column definition; the same for every database.
    // "error" for a type word without a name (INT16 among them).
    std::string getSqlTypeString(unsigned int type, bool primaryKey) override;

    int sqlType = 0;
    bool hasDefault = false;  // false when the catalog's default is null or "NULL"
    std::string sqlTypeName;
};

}}} // namespace KORVEL::Orl::DB
