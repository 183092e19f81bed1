#include "tools/orlodbc/Links.h"

#include <sql.h>

#include "datatypes/DataTypes.h"
#include "host/ResultSet.h"
#include "host/Row.h"
#include "tools/orlodbc/Interrupt.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;
using namespace DataTypes;

namespace orlodbc {

std::string recordText(const DBError* e) {
    std::string text = e->getErrorString();
    return text.empty() ? std::string("(no message)") : text;
}

BulkLink::~BulkLink() {
    Interrupt::forget(noted_);
    Driver* d = host_.driver();
    if (connection_) {
        connection_->disconnect(true, error_);  // rolls back what is open
        d->releaseConnection2(connection_, error_);
    }
    if (error_) d->releaseError(error_);
}

bool BulkLink::open(const DataService& service) {
    std::lock_guard<std::mutex> lock(host_.factoryLock());
    Driver* d = host_.driver();
    error_ = d->createError(service.getName().c_str());
    if (error_ == nullptr) return fail("no error record");
    connection_ = d->createConnection2(service, error_);
    if (connection_ == nullptr) return fail(recordText(error_));
    if (connection_->connect(error_) != 0) return fail(recordText(error_));
    noted_ = Interrupt::noteBulk(service, *this);
    why_.clear();  // a session that can't be noted is only not cancelled on a signal
    return true;
}

ClassicLink::~ClassicLink() {
    Interrupt::forget(noted_);
    if (c_) {
        c_->close();
        host_.driver()->releaseConnection(c_);
    }
}

bool ClassicLink::open(const DataService& service, std::string& why) {
    {
        std::lock_guard<std::mutex> lock(host_.factoryLock());
        c_ = host_.driver()->createConnection(service);
    }
    if (c_ == nullptr) {
        why = "the driver refused the service definition (DSN and User are required)";
        return false;
    }
    if (c_->open() != 1) return failed(why);
    noted_ = Interrupt::noteClassic(service, *c_);
    return true;
}

bool ClassicLink::failed(std::string& why) {
    std::string errors;
    c_->getLastErrors(errors);
    why = printableErrors(errors);
    // Statements log their failure without adding it to the connection's text.
    if (why.empty()) why = host_.lastLog();
    if (why.empty()) why = "the driver gave no text";
    return false;
}

namespace {

// One SQLGetInfo text of the classic connection's own handle.
std::string infoText(void* dbc, unsigned short what) {
    if (dbc == nullptr) return std::string();
    char text[256] = "";
    SQLSMALLINT length = 0;
    const SQLRETURN rc = SQLGetInfo(static_cast<SQLHDBC>(dbc), what, text, sizeof text, &length);
    return rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO ? std::string(text) : std::string();
}

} // namespace

Dialect ClassicLink::dialect() {
    void* dbc = c_->getHandle();
    return dialectFor(infoText(dbc, SQL_DBMS_NAME), infoText(dbc, SQL_IDENTIFIER_QUOTE_CHAR),
                      c_->getDriverProperty(Driver::PROPERTY_KEY_DATABASE_TYPE));
}

std::vector<Parameter> textParameters(const std::vector<std::string>& args) {
    std::vector<Parameter> params(args.size());
    for (size_t i = 0; i < args.size(); ++i) {
        params[i].type = STRING;
        params[i].value.stringValue = const_cast<char*>(args[i].c_str());
        params[i].value.isNull = false;
    }
    return params;
}

bool eachTextRow(Connection& c, const std::string& sql, const std::vector<std::string>& args, int n,
                 const std::function<void(const std::vector<const char*>&)>& f) {
    std::vector<Parameter> params = textParameters(args);
    ResultSet* rs = nullptr;
    if (c.executeQuery(sql, params, 0, rs) != 1 || rs == nullptr) return false;
    RowDescriptor descriptor(std::vector<unsigned int>(static_cast<size_t>(n), STRING));
    std::vector<const char*> cells(static_cast<size_t>(n));
    bool more = false;
    while (true) {
        if (rs->next(more) != 1) return false;
        if (!more) return true;
        Row* raw = nullptr;
        if (rs->getData(descriptor, raw) != 1 || raw == nullptr) return false;
        std::unique_ptr<Row> row(raw);
        for (int i = 0; i < n; ++i) {
            const DataValue& v = row->getColumnValue(i);
            cells[i] = v.isNull ? nullptr : v.stringValue == nullptr ? "" : v.stringValue;
        }
        f(cells);
    }
}

bool shapeOf(BulkLink& link, PreparedStatement* st, Shape& shape) {
    int n = 0;
    if (st->getEffectiveNumberColumns(n, link.error()) != 0) return link.failRecord();
    shape = Shape();
    for (int j = 0; j < n; ++j) {
        unsigned int type = 0;
        if (st->getEffectiveDataType(j, type, link.error()) != 0) return link.failRecord();
        const char* name = st->getColumnName(static_cast<unsigned long>(j), link.error());
        shape.names.push_back(name ? name : "");
        shape.types.push_back(type);
    }
    return true;
}

bool readLongs(BulkLink& link, const std::string& sql, std::vector<int64_t>& values, std::vector<bool>& nulls) {
    bool found = false;
    if (!readLongsIfAny(link, sql, values, nulls, found)) return false;
    return found || link.fail("no row from: " + sql);
}

bool readLongsIfAny(BulkLink& link, const std::string& sql, std::vector<int64_t>& values, std::vector<bool>& nulls,
                    bool& found) {
    found = false;
    const int n = static_cast<int>(values.size());
    std::vector<unsigned int> words(values.size(), LONG);
    Statement st(link, link.connection()->createPreparedStatement(sql.c_str(), n, words.data(), false, link.error()));
    if (st.get() == nullptr || st->execute(link.error()) != 0) return link.failRecord();
    bool more = false;
    if (st->nextResultSet(more, link.error()) != 0 || st->hasMoreData(more, link.error()) != 0) return link.failRecord();
    if (!more) return true;
    std::vector<DataValue> row(values.size());
    for (DataValue& v : row) v.isNull = false;
    if (st->nextRow(row, link.error()) != 0) return link.failRecord();
    for (size_t j = 0; j < values.size(); ++j) {
        nulls[j] = row[j].isNull;
        values[j] = row[j].isNull ? 0 : row[j].int64Value;
    }
    found = true;
    return true;
}

} // namespace orlodbc
