// The host's abstract classic statement. 1 success, 3 failure.
#pragma once
#include <string>
#include <vector>

#include "host/Parameter.h"

namespace KORVEL { namespace Orl { namespace DB {

class Connection;
class ResultSet;

class Statement {
public:
    Statement(Connection& connection, const std::string& sql) : connection(connection), sql(sql) {}
    virtual ~Statement() = default;

    virtual int close() = 0;
    virtual int executeQuery(std::vector<Parameter>& parameters, int limit, ResultSet*& resultSet) = 0;
    virtual int executeQuery(const std::string& sql, std::vector<Parameter>& parameters, int limit,
                             ResultSet*& resultSet) = 0;
    virtual int executeUpdate(std::vector<Parameter>& parameters, int& rowCount) = 0;
    virtual int executeUpdate(const std::string& sql, std::vector<Parameter>& parameters, int& rowCount) = 0;
    virtual int nextResultSet(bool& more) = 0;
    virtual int getResultSet(ResultSet*& resultSet) = 0;
    virtual int createBatch(const std::string& sql) = 0;
    virtual int addToBatch(std::vector<Parameter>& parameters) = 0;
    virtual int clearBatch() = 0;
    virtual int executeBatch(std::vector<int>& counts) = 0;

    const std::string& getSql() const { return sql; }

protected:
    Connection& connection;
    std::string sql;
};

}}} // namespace KORVEL::Orl::DB
