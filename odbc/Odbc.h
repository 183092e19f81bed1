// Interfaces of the ODBC object layer: a tree of objects over the ODBC handles
// (environment, connection, statement or catalog scan, column or parameter
// cell) with one diagnostics store at the root. Front ends hold these
// interface pointers; the ...Impl classes are made only inside the layer.
// Nothing here throws: every operation returns an e_Status, and the text of
// the last ODBC diagnostic waits at the root until the next status call.
#pragma once
#include <sqltypes.h>

#include <sstream>
#include <string>

#include "datatypes/DataValue.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class ByteStore;
class OdbcEnv;
class OdbcDbc;
class OdbcStmt;
class OdbcCatalog;
class OdbcCol;
class OdbcParam;

enum e_Status {
    Status_Ok = 0,        // success, also for SQL_SUCCESS_WITH_INFO
    Status_Error = 1,
    Status_Unknown = 2,   // any unmapped return code, SQL_STILL_EXECUTING among them
    Status_NoData = 3,    // no further row or result set
    Status_Null = 4,      // the cell holds SQL NULL (GetData family only)
    Status_NeedData = 5,
};

enum e_Handle { Handle_Env = 1, Handle_Dbc = 2, Handle_Stmt = 3 };

enum e_Notice { Notice_Created = 0, Notice_Deleted = 1 };

class Odbc {
public:
    virtual ~Odbc() {}
    // A diagnostic is waiting at the root of this object's tree.
    virtual bool HasInfo() = 0;
    // The waiting diagnostic; an empty store reads as "". Clears nothing.
    virtual void GetInfo(std::string& state, long& code, std::string& message) = 0;
    // Three lines to standard output, each behind `prefix`; nothing without info.
    virtual void DumpInfo(const char* prefix) = 0;
    // "[state][code][message]" when there is info, then always one NUL character.
    virtual void DumpInfo(std::ostringstream& stream) = 0;

    // A new environment owned by the caller (deleting it deletes its whole
    // tree), or null with the reason printed to standard output.
    static OdbcEnv* CreateEnv();
};

class OdbcEnv : public virtual Odbc {
public:
    // A new connection handle owned by this environment, or null.
    virtual OdbcDbc* CreateDbc() = 0;
    virtual e_Status Commit() = 0;
    virtual e_Status Rollback() = 0;
};

class OdbcDbc : public virtual Odbc {
public:
    // Database keyword: "MSSQL", "ADE", "WQ", "DB2", "ORACLE", "POSTGRESQL",
    // "MYSQL", "ZANA" or "OTHERS"; empty before a connect reached the driver.
    virtual std::string GetDatabaseType() = 0;
    virtual OdbcStmt* CreateStmt() = 0;
    virtual e_Status Connect(const std::string& dsn, const std::string& user, const std::string& password) = 0;
    // Rolls back, deletes every statement and scan of the connection, closes.
    virtual e_Status Disconnect() = 0;
    virtual bool IsConnected() = 0;
    virtual e_Status SetIsolationLevel(unsigned int level) = 0;
    virtual e_Status Commit() = 0;
    virtual e_Status Rollback() = 0;
    // Catalog scans; a null argument is "not given", unlike an empty one.
    virtual OdbcCatalog* ScanTables(char* catalog, char* schema, char* table, char* type) = 0;
    virtual OdbcCatalog* ScanTableColumns(char* catalog, char* schema, char* table, char* column) = 0;
    virtual OdbcCatalog* ScanTablePrimaryKey(char* catalog, char* schema, char* table, char* unused) = 0;
    virtual OdbcCatalog* ScanProcedures(char* catalog, char* schema, char* procedure) = 0;
    virtual OdbcCatalog* ScanProcedureColumns(char* catalog, char* schema, char* procedure, char* column) = 0;
};

// Anything that yields a result set. Columns are one-based.
class OdbcQuery : public virtual Odbc {
public:
    virtual e_Status MaxRows(int rows) = 0;
    virtual e_Status Fetch() = 0;
    virtual e_Status MoreResults() = 0;
    virtual e_Status GetColumnName(int column, std::string& name) = 0;
    virtual e_Status GetColumnType(int column, int& type) = 0;
    virtual e_Status GetColumnCount(int& count) = 0;
    virtual OdbcCol* GetColumn(int column) = 0;
};

class OdbcStmt : public virtual OdbcQuery {
public:
    virtual e_Status SetSql(const std::string& sql, bool batch) = 0;
    virtual e_Status Parse() = 0;
    virtual e_Status Execute() = 0;
    virtual e_Status Close() = 0;
    virtual e_Status RowCount(long& rows) = 0;
    // One-based; null when there is no such marker.
    virtual OdbcParam* GetParam(int index) = 0;
    virtual e_Status IncrementBatchSize() = 0;
    virtual e_Status GetBatchSize(int& size) = 0;
    virtual e_Status GetBatchParamStatus(int row, int& status) = 0;
};

class OdbcCatalog : public virtual OdbcQuery {
public:
    virtual e_Status Execute() = 0;
};

class OdbcCol : public virtual Odbc {
public:
    virtual e_Status GetName(std::string& name) = 0;
    virtual e_Status GetCType(short& cType) = 0;
    virtual e_Status GetSqlType(short& sqlType, unsigned int& size, short& digits) = 0;
    virtual e_Status GetData(bool& value) = 0;
    virtual e_Status GetData(char& value) = 0;
    virtual e_Status GetData(short& value) = 0;
    virtual e_Status GetData(int& value) = 0;
    virtual e_Status GetData(long& value) = 0;
    virtual e_Status GetData(unsigned char& value) = 0;
    virtual e_Status GetData(unsigned short& value) = 0;
    virtual e_Status GetData(unsigned int& value) = 0;
    virtual e_Status GetData(unsigned long& value) = 0;
    virtual e_Status GetData(double& value) = 0;
    virtual e_Status GetData(ByteStore* value) = 0;
    virtual e_Status GetData(tagTIMESTAMP_STRUCT& value) = 0;
    virtual e_Status GetData(tagTIME_STRUCT& value) = 0;
};

// The front end sees a parameter only through these operations; its
// diagnostics are read from the statement.
class OdbcParam : private virtual Odbc {
public:
    virtual e_Status SetSqlType(short sqlType, unsigned int columnSize, short decimalDigits) = 0;
    virtual e_Status SetCType(short cType, int length) = 0;
    virtual e_Status SetDirection(short direction) = 0;
    virtual e_Status SetData() = 0;
    virtual e_Status SetData(bool value, bool isNull) = 0;
    virtual e_Status SetData(char value, bool isNull) = 0;
    virtual e_Status SetData(short value, bool isNull) = 0;
    virtual e_Status SetData(int value, bool isNull) = 0;
    virtual e_Status SetData(long value, bool isNull) = 0;
    virtual e_Status SetData(unsigned char value, bool isNull) = 0;
    virtual e_Status SetData(unsigned short value, bool isNull) = 0;
    virtual e_Status SetData(unsigned int value, bool isNull) = 0;
    virtual e_Status SetData(unsigned long value, bool isNull) = 0;
    virtual e_Status SetData(double value, bool isNull) = 0;
    virtual e_Status SetData(ByteStore* value, bool binary, bool isNull) = 0;
    virtual e_Status SetData(unsigned int type, const DataTypes::DataValue& value, bool isNull) = 0;
    virtual e_Status SetData(const tagTIMESTAMP_STRUCT& value, bool isNull) = 0;
    virtual e_Status SetData(const tagTIME_STRUCT& value, bool isNull) = 0;
    virtual e_Status GetSqlType(short& sqlType, unsigned int& columnSize, short& decimalDigits) = 0;
    virtual e_Status GetCType(short& cType, int& length) = 0;
    virtual e_Status GetDirection(short& direction) = 0;
    virtual e_Status GetData(char& value) = 0;
    virtual e_Status GetData(bool& value) = 0;
    virtual e_Status GetData(short& value) = 0;
    virtual e_Status GetData(int& value) = 0;
    virtual e_Status GetData(long& value) = 0;
    virtual e_Status GetData(unsigned char& value) = 0;
    virtual e_Status GetData(unsigned short& value) = 0;
    virtual e_Status GetData(unsigned int& value) = 0;
    virtual e_Status GetData(unsigned long& value) = 0;
    virtual e_Status GetData(double& value) = 0;
    virtual e_Status GetData(ByteStore* value) = 0;
    virtual e_Status GetData(tagTIMESTAMP_STRUCT& value) = 0;
    virtual e_Status GetData(tagTIME_STRUCT& value) = 0;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
