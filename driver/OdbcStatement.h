// The classic row-at-a-time statement: one prepared ODBC statement, the host
// values bound to its markers, and the result set last made from it.
// Statuses are the host's: 1 success, 3 failure, each failure with a log line.
#pragma once
#include <sqltypes.h>

#include <string>
#include <vector>

#include "host/Statement.h"
#include "odbc/Odbc.h"

namespace KORVEL { namespace Orl { namespace DB {

class OdbcConnection;
class OdbcResultSet;

class OdbcStatement : public Statement {
public:
    // Both take over `stmt`, which already holds its SQL, and copy the
    // connection's WriteBigIntAsChar setting.
    OdbcStatement(OdbcConnection& connection, ODBC::OdbcStmt* stmt);
    OdbcStatement(OdbcConnection& connection, ODBC::OdbcStmt* stmt, const std::string& sql);
    ~OdbcStatement() override;

    // Ends the result set and the ODBC statement; always 1, also when called twice.
    int close() override;
    // The SQL the statement was prepared with runs; the `sql` overloads ignore theirs.
    int executeQuery(std::vector<Parameter>& parameters, int limit, ResultSet*& resultSet) override;
    int executeQuery(const std::string& sql, std::vector<Parameter>& parameters, int limit,
                     ResultSet*& resultSet) override;
    int executeUpdate(std::vector<Parameter>& parameters, int& rowCount) override;
    int executeUpdate(const std::string& sql, std::vector<Parameter>& parameters, int& rowCount) override;
    int nextResultSet(bool& more) override;
    // Replaces the result set last made here with a new one over the same cursor.
    int getResultSet(ResultSet*& resultSet) override;
    int createBatch(const std::string& sql) override;
    int addToBatch(std::vector<Parameter>& parameters) override;
    int clearBatch() override;
    // One entry per batched row: its status (0 success), -1 when unreadable.
    int executeBatch(std::vector<int>& counts) override;

    // Binds every parameter in order; the status is that of the last one.
    virtual int bindParameters(std::vector<Parameter>& parameters);
    virtual int bindParameterInt16(ODBC::OdbcParam* param, const DataTypes::DataValue& value);
    virtual int bindParameterInt32(ODBC::OdbcParam* param, const DataTypes::DataValue& value);
    virtual int bindParameterInt64(ODBC::OdbcParam* param, const DataTypes::DataValue& value);
    virtual int bindParameterDouble(ODBC::OdbcParam* param, const DataTypes::DataValue& value);
    virtual int bindParameterDate(ODBC::OdbcParam* param, const DataTypes::DataValue& value);
    virtual int bindParameterString(ODBC::OdbcParam* param, const DataTypes::DataValue& value);
    virtual int bindParameterMoney(ODBC::OdbcParam* param, unsigned int type, const DataTypes::DataValue& value);
    virtual int bindParameterTimestamp(ODBC::OdbcParam* param, const DataTypes::DataValue& value);
    virtual int bindParameterBoolean(ODBC::OdbcParam* param, const DataTypes::DataValue& value);
    virtual int bindParameterInterval(ODBC::OdbcParam* param, const DataTypes::DataValue& value);
    virtual int bindParameterBigDateTime(ODBC::OdbcParam* param, const DataTypes::DataValue& value);
    virtual int bindParameterTime(ODBC::OdbcParam* param, const DataTypes::DataValue& value);
    virtual int bindParameterFixedDecimal(ODBC::OdbcParam* param, unsigned int type,
                                          const DataTypes::DataValue& value);
    virtual int bindParameterBinary(ODBC::OdbcParam* param, const DataTypes::DataValue& value);

    // SQL type, size, digits, C type and length by the low byte of `type`;
    // false (the parameter untouched) for 6, 9 and anything above 30.
    bool setParameterCommons(ODBC::OdbcParam* param, unsigned int type, const DataTypes::DataValue& value);
    // A DATE (seconds), TIMESTAMP (ms) or BIGDATETIME (us) count as UTC fields,
    // the fraction in nanoseconds counting forward from the floor second.
    bool convertTime(unsigned int type, const DataTypes::DataValue& value, TIMESTAMP_STRUCT& out);

    // The ODBC statement, null after close; the result set reaches its cursor here.
    ODBC::OdbcStmt* getStmt() const { return stmt; }
    // Forgets the ODBC statement without an ODBC call: the connection's
    // disconnect has deleted it. The result set stays, with no cursor.
    void detachStmt() { stmt = nullptr; }

private:
    int bindInteger64(ODBC::OdbcParam* param, unsigned int type, const DataTypes::DataValue& value);
    int bindAsText(ODBC::OdbcParam* param, unsigned int type, const DataTypes::DataValue& value,
                   unsigned long bufferSize);
    int bindTimeCount(ODBC::OdbcParam* param, unsigned int type, const DataTypes::DataValue& value);
    int bindFailed();
    void logOdbc(const char* id);

    bool writeBigIntAsChar;
    ODBC::OdbcStmt* stmt;
    OdbcResultSet* resultSet;
};

}}} // namespace KORVEL::Orl::DB
