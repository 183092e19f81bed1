#include "driver/OdbcColumn.h"

#include <sqlext.h>

#include <cstdio>

namespace KORVEL { namespace Orl { namespace DB {

namespace {
// The BLOB type number of DB2, which no ODBC header names.
constexpr int kDb2Blob = -98;
// A vendor floating type that only the "ZANA" keyword gives a meaning.
constexpr int kZanaFloat = 3000;

constexpr unsigned int kInteger = 1, kLong = 2, kFloat = 3, kString = 5, kUnknown = 6, kTimestamp = 8,
                       kBoolean = 10, kBigDateTime = 27, kBinary = 28, kTime = 29, kFixedDecimal = 30;
} // namespace

OdbcColumn::OdbcColumn() = default;

OdbcColumn::OdbcColumn(const std::string& name, int scale, unsigned int type, int size, bool nullable,
                       bool hasDefault, int sqlType, std::string sqlTypeName)
    : Column(name, scale, type, size, size, nullable, false), sqlType(sqlType), hasDefault(hasDefault),
      sqlTypeName(std::move(sqlTypeName)) {}

OdbcColumn::OdbcColumn(const std::string& name, int scale, unsigned int type, int size, bool nullable,
                       bool primaryKey, bool hasDefault, int sqlType, std::string sqlTypeName)
    : Column(name, scale, type, size, size, nullable, primaryKey), sqlType(sqlType), hasDefault(hasDefault),
      sqlTypeName(std::move(sqlTypeName)) {}

OdbcColumn::OdbcColumn(const OdbcColumn& other) = default;

OdbcColumn::~OdbcColumn() = default;

unsigned int OdbcColumn::getOrlDataType(int sql) {
    switch (sql) {
    case SQL_CHAR:
    case SQL_VARCHAR:
    case SQL_LONGVARCHAR:
    case SQL_WCHAR:
    case SQL_WVARCHAR:
    case SQL_WLONGVARCHAR:
        return kString;
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY:
    case kDb2Blob:
        return kBinary;
    case SQL_BIT:
        return kBoolean;
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
        return kInteger;
    case SQL_BIGINT:
        return kLong;
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        return kFixedDecimal;
    case SQL_FLOAT:
    case SQL_REAL:
    case SQL_DOUBLE:
        return kFloat;
    case SQL_DATE:
    case SQL_TIME:
    case SQL_TYPE_DATE:
        return kTimestamp;
    case SQL_TIMESTAMP:
    case SQL_TYPE_TIMESTAMP:
        return kBigDateTime;
    case SQL_TYPE_TIME:
        return kTime;
    case kZanaFloat:
        return databaseType == "ZANA" ? kFloat : kUnknown;
    default:
        return kUnknown;
    }
}

std::string OdbcColumn::getSqlTypeString(unsigned int type, bool primaryKey) {
    unsigned int low = type & 0xFF;
    // Key columns get the short forms of the two variable types, so that they fit an index.
    switch (low) {
    case 1:
        return "INTEGER";
    case 2:
    case 26:
        return "BIGINT";
    case 3:
        return "REAL";
    case 4:
    case 8:
    case 27:
        return "TIMESTAMP";
    case 5:
        return primaryKey ? "NVARCHAR(500)" : "NVARCHAR(5000)";
    case 7:
        return "DECIMAL(19, 4)";
    case 10:
        return "TINYINT";
    case 28:
        return primaryKey ? "VARBINARY(500)" : "VARBINARY(5000)";
    case 29:
        return "TIME";
    case 30: {
        char text[32];
        std::snprintf(text, sizeof text, "DECIMAL(%d,%d)", static_cast<int>((type & 0xFFFC000) >> 14),
                      static_cast<int>((type & 0x3F00) >> 8));
        return text;
    }
    default:
        if (low >= 11 && low <= 25) return "DECIMAL(19, " + std::to_string(low - 10) + ")";
        return "error";
    }
}

}}} // namespace KORVEL::Orl::DB
