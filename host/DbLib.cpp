#include "host/Connection.h"
#include "host/Driver.h"

namespace KORVEL { namespace Orl { namespace DB {

const std::string Driver::PROPERTY_KEY_DATABASE_TYPE = "DatabaseType";

Driver::Driver(const std::string& name) : name_(name) {}
Driver::~Driver() = default;

Connection::Connection(const std::string& name, const std::string& url, const std::string& user,
                       const std::string& password, const std::string& options)
    : user(user), password(password), name(name), url(url), options(options) {}

Connection::~Connection() = default;

std::string Connection::getDriverProperty(const std::string&) { return std::string(); }

int Connection::getLastErrors(std::string& out) {
    out = lastErrors;
    lastErrors.clear();
    return 1;
}

}}} // namespace KORVEL::Orl::DB
