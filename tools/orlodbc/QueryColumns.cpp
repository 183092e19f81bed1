#include "tools/orlodbc/QueryColumns.h"

#include <sql.h>
#include <sqlext.h>

namespace orlodbc {

std::vector<QueryColumn> describeQueryColumns(void* connectionHandle, const std::string& sql) {
    std::vector<QueryColumn> out;
    if (connectionHandle == nullptr) return out;
    SQLHSTMT stmt = SQL_NULL_HSTMT;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, static_cast<SQLHDBC>(connectionHandle), &stmt))) return out;
    SQLSMALLINT count = 0;
    if (SQL_SUCCEEDED(SQLPrepare(stmt, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.c_str())),
                                 static_cast<SQLINTEGER>(sql.size()))) &&
        SQL_SUCCEEDED(SQLNumResultCols(stmt, &count))) {
        for (SQLUSMALLINT i = 1; i <= static_cast<SQLUSMALLINT>(count); ++i) {
            QueryColumn column;
            SQLLEN concise = 0;
            if (SQL_SUCCEEDED(SQLColAttribute(stmt, i, SQL_DESC_CONCISE_TYPE, nullptr, 0, nullptr, &concise)))
                column.sqlType = static_cast<short>(concise);
            char name[256] = "";
            SQLSMALLINT length = 0;
            if (SQL_SUCCEEDED(SQLColAttribute(stmt, i, SQL_DESC_TYPE_NAME, name, sizeof name, &length, nullptr)))
                column.typeName = name;
            SQLSMALLINT type = 0, digits = 0, nullable = 0;
            SQLULEN size = 0;
            char columnName[256] = "";
            if (SQL_SUCCEEDED(SQLDescribeCol(stmt, i, reinterpret_cast<SQLCHAR*>(columnName), sizeof columnName,
                                             &length, &type, &size, &digits, &nullable))) {
                column.size = static_cast<long>(size);
                column.digits = digits;
            }
            SQLLEN isUnsigned = SQL_FALSE;
            if (SQL_SUCCEEDED(SQLColAttribute(stmt, i, SQL_DESC_UNSIGNED, nullptr, 0, nullptr, &isUnsigned)))
                column.unsignedInt = isUnsigned == SQL_TRUE;
            out.push_back(column);
        }
    }
    SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    return out;
}

std::string dbmsName(void* connectionHandle) {
    if (connectionHandle == nullptr) return std::string();
    char text[256] = "";
    SQLSMALLINT length = 0;
    const SQLRETURN rc = SQLGetInfo(static_cast<SQLHDBC>(connectionHandle), SQL_DBMS_NAME, text, sizeof text, &length);
    return SQL_SUCCEEDED(rc) ? std::string(text) : std::string();
}

} // namespace orlodbc
