// The host's error record of the bulk interface. Records are made and freed by
// the driver (createError / releaseError), so the base has no destructor slot.
#pragma once

namespace KORVEL { namespace Orl { namespace DB {

class DBError {
public:
    virtual const char* getService() const = 0;
    virtual int getNativeErrorCode() const = 0;
    virtual const char* getErrorString() const = 0;
    virtual bool isConnectionError() const = 0;
    virtual bool isSuccessWithInfo() const = 0;
    virtual const char* toString() const = 0;
    virtual const char* getErrorSource() const = 0;

protected:
    ~DBError() = default;
};

}}} // namespace KORVEL::Orl::DB
