// The host's abstract bulk connection. 0 success, -1 failure; failures are
// written into the DBError the host passes. Destroyed only by the driver.
#pragma once

namespace KORVEL { namespace Orl { namespace DB {

class DBError;
class PreparedStatement;
class RecordType;

class Connection2 {
public:
    virtual const char* getImplementationName() = 0;
    virtual const char* getService() = 0;
    virtual int connect(DBError* error) = 0;
    virtual int disconnect(bool force, DBError* error) = 0;
    virtual PreparedStatement* createPreparedStatement(const char* sql, const RecordType* record, bool flag,
                                                       DBError* error) = 0;
    virtual PreparedStatement* createPreparedStatement(const char* sql, int count, const unsigned int* types,
                                                       bool flag, DBError* error) = 0;
    virtual PreparedStatement* createPreparedStatement(const char* sql, DBError* error) = 0;
    virtual int releaseStatement(PreparedStatement* statement, DBError* error) = 0;
    virtual int commit(DBError* error) = 0;
    virtual int rollback(DBError* error) = 0;

protected:
    ~Connection2() = default;
};

}}} // namespace KORVEL::Orl::DB
