#include "driver/OdbcError.h"

#include <iostream>
#include <sstream>

namespace KORVEL { namespace Orl { namespace DB {

std::string getOdbcError(ODBC::Odbc* handle) {
    std::ostringstream stream;
    if (handle->HasInfo()) handle->DumpInfo(stream);
    return stream.str();
}

int handleOdbcError(ODBC::Odbc* handle) {
    if (!handle->HasInfo()) return 1;
    std::string state, message;
    long code = 0;
    handle->GetInfo(state, code, message);
    std::cout << "State: " << state << std::endl;
    std::cout << "Error code: " << code << std::endl;
    std::cout << "Message: " << message << std::endl;
    return 1;
}

}}} // namespace KORVEL::Orl::DB
