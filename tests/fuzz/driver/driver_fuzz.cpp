// Fuzz target: an ODBC driver that describes and returns whatever the fuzzer
// chooses. The scripted test driver takes its columns (SQL types, sizes,
// digits, name lengths), its data (lengths that are negative, past the buffer,
// SQL_NO_TOTAL), its return codes and its diagnostics from the statement text,
// and the classic and bulk read paths run over it with fuzzer-chosen type
// words. Whatever the driver says, the library must neither crash nor read or
// write outside a buffer; the sanitizers check that.
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "bulk/Connection2Odbc.h"
#include "bulk/DBError2Odbc.h"
#include "bulk/Env2Odbc.h"
#include "datatypes/DataTypes.h"
#include "driver/OdbcConnection.h"
#include "host/LogServiceImpl.h"
#include "host/PreparedStatement.h"
#include "host/ResultSet.h"
#include "host/Row.h"
#include "support/scriptdrv/ScriptDsn.h"

namespace {

using namespace KORVEL::Orl::DB;
using namespace KORVEL::Orl::DB::ODBC;

// Reads the fuzzer's bytes one at a time; past the end it yields zeros.
struct Bytes {
    const uint8_t* data;
    size_t size;
    size_t at = 0;
    uint8_t next() { return at < size ? data[at++] : 0; }
    template <class T, size_t N>
    const T& pick(const T (&table)[N]) { return table[next() % N]; }
};

const int kSqlTypes[] = {SQL_CHAR, SQL_VARCHAR, SQL_LONGVARCHAR, SQL_WCHAR, SQL_WVARCHAR, SQL_WLONGVARCHAR,
                         SQL_BINARY, SQL_VARBINARY, SQL_LONGVARBINARY, SQL_BIT, SQL_TINYINT, SQL_SMALLINT,
                         SQL_INTEGER, SQL_BIGINT, SQL_REAL, SQL_FLOAT, SQL_DOUBLE, SQL_NUMERIC, SQL_DECIMAL,
                         SQL_TYPE_DATE, SQL_TYPE_TIME, SQL_TYPE_TIMESTAMP, SQL_GUID, 0, -150, 32767, -32768};
// Sizes and lengths stop near 100 kB: a driver that claims gigabytes for a
// value gets them allocated, which is right for a value that big, and the
// larger sizes only slow each run without reaching new code.
const long kSizes[] = {0, 1, 2, 7, 10, 19, 38, 255, 256, 4000, 8000, 8001, 65535, 100001};
const char* const kKinds[] = {"text", "bin", "num", "ts", "time", "nodata"};
const long kLengths[] = {0, 1, 9, 21, 255, 8000, 8001, 20000};
const char* const kNumbers[] = {"0", "-1", "9223372036854775807", "-9223372036854775808", "1e308", "-0.5",
                                "12345678901234567890123456789012345678", "nan", "", "1.5e-300"};
const long kLies[] = {-1, -2, -4, -100, 0, 1, 7, 8000, 8001, 100001};
const int kRcs[] = {SQL_SUCCESS_WITH_INFO, SQL_ERROR, SQL_NO_DATA, SQL_STILL_EXECUTING, SQL_NEED_DATA, SQL_INVALID_HANDLE};
const unsigned int kWords[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 18, 25, 26, 27, 28, 29, 30, 31, 200};
const size_t kNameLengths[] = {0, 1, 30, 255, 256, 300};

std::string script(Bytes& in, size_t& columns) {
    std::string s;
    columns = 1 + in.next() % 5;
    for (size_t c = 0; c < columns; ++c) {
        s += "col=" + std::string(in.pick(kNameLengths), 'n');
        s += ":" + std::to_string(in.next() & 1 ? in.pick(kSqlTypes) : static_cast<int8_t>(in.next()));
        s += ":" + std::to_string(in.pick(kSizes));
        const std::string kind = in.pick(kKinds);
        s += ":" + kind + ":";
        s += kind == "num" ? std::string(in.pick(kNumbers)) : std::to_string(in.pick(kLengths));
        const uint8_t flags = in.next();
        if (flags & 1) s += ":nototal";
        if (flags & 2) s += ":nullrow=" + std::to_string(static_cast<int>(in.next() % 4) - 1);
        if (flags & 4) s += ":zeroat=" + std::to_string(in.next());
        if (flags & 8) s += ":digits=" + std::to_string(static_cast<int8_t>(in.next()));
        if (flags & 16) s += ":disp=" + std::to_string(static_cast<int>(in.next()) - 2);
        const long lie = in.pick(kLies);
        if (flags & 32) s += ":lie=" + std::to_string(lie);
        const int rc = in.pick(kRcs);
        // A driver that always says more is coming, of unknown size, streams
        // without end; only the 4 GB bound of a value stops the reader.
        if ((flags & 64) && !((flags & 32) && lie == SQL_NO_TOTAL && rc == SQL_SUCCESS_WITH_INFO))
            s += ":rc=" + std::to_string(rc);
        if (flags & 128) s += ":unsigned";
        s += ";";
    }
    s += "rows=" + std::to_string(in.next() % 4) + ";";
    const uint8_t tail = in.next();
    if (tail % 7 == 1) s += "error;";
    if (tail % 7 == 2) s += "error-norecord;";
    if (tail % 7 == 3) s += "longmsg=" + std::to_string(in.next() * 16) + ";error;";
    if (tail % 7 == 4) s += "next;col=x:12:10:text:5;";
    return s;
}

std::vector<unsigned int> words(Bytes& in, size_t columns) {
    std::vector<unsigned int> out;
    for (size_t c = 0; c < columns; ++c) {
        unsigned int w = in.pick(kWords);
        if (w == 30) w = DataTypes::createFixedDecimal(1 + in.next() % 38, in.next() % 40);
        out.push_back(w);
    }
    return out;
}

void classicPath(OdbcConnection& conn, const std::string& sql, const std::vector<unsigned int>& types) {
    std::vector<Parameter> none;
    ResultSet* rs = nullptr;
    if (conn.executeQuery(sql, none, 0, rs) != 1 || rs == nullptr) {
        conn.closeStatement();
        return;
    }
    int count = 0;
    rs->getNumColumns(count);
    for (int c = 0; c < count; ++c) {
        std::string name;
        unsigned int type = 0;
        rs->getColumnInfo(c, name, type);
    }
    RowDescriptor descriptor(types);
    bool more = false;
    for (int row = 0; row < 5 && rs->next(more) == 1 && more; ++row) {
        Row* r = nullptr;
        rs->getData(descriptor, r);
        delete r;
    }
    bool further = false;
    conn.nextResultSet(further);
    // Released now, not by the next input's query: an input that leaves
    // memory behind costs a whole leak scan.
    conn.closeStatement();
}

void bulkPath(Connection2Odbc& conn, const std::string& sql, const std::vector<unsigned int>& types, bool packed) {
    DBError2Odbc error("fuzz");
    PreparedStatement* st = conn.createPreparedStatement(sql.c_str(), static_cast<int>(types.size()), types.data(),
                                                         false, &error);
    if (st == nullptr) return;
    bool more = false;
    if (st->execute(&error) == 0 && st->nextResultSet(more, &error) == 0 && more) {
        for (int row = 0; row < 5 && st->hasMoreData(more, &error) == 0 && more; ++row) {
            if (packed) {
                std::free(st->nextRow(&error));
                continue;
            }
            // Cleared values: a text or binary block the call hands over is the
            // only pointer that can be set afterwards, also when a later column fails.
            std::vector<DataTypes::DataValue> values(types.size());
            st->nextRow(values, &error);
            for (size_t j = 0; j < values.size(); ++j) {
                unsigned int type = 0;
                st->getEffectiveDataType(static_cast<int>(j), type, &error);
                if (type == DataTypes::STRING) std::free(values[j].stringValue);
                if (type == DataTypes::BINARY) std::free(values[j].binaryValue.data);
            }
        }
    }
    conn.releaseStatement(st, &error);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static orltest::ScriptDsn& dsn = orltest::ScriptDsn::Instance();
    // No call log: nobody reads it here, and writing it would cost most of each run.
    static const int unlogged = unsetenv("ORL_SCRIPTDRV_LOG");
    (void)dsn;
    (void)unlogged;
    static bool quiet = [] {
        LogServiceImpl::setSink([](const std::string&, const std::string&) {});
        return true;
    }();
    (void)quiet;
    static Env2Odbc* env = [] {
        auto* e = new Env2Odbc();
        DBError2Odbc error("fuzz");
        if (e->initialize(&error) != 0) std::abort();
        return e;
    }();
    // A driver that answers a read with SQL_STILL_EXECUTING or SQL_NEED_DATA
    // leaves its statement in a state in which the driver manager refuses to
    // free it until the connection ends. Fresh connections now and then keep
    // those from piling up, and with them the cost of every later call.
    static OdbcConnection* classic = nullptr;
    static Connection2Odbc* bulk = nullptr;
    static unsigned inputs = 0;
    if (inputs++ % 512 == 0) {
        delete classic;
        delete bulk;
        classic = new OdbcConnection(orltest::ScriptDsn::kDsn, "", "orl", "pw", false);
        if (classic->open() != 1) std::abort();
        DBError2Odbc error("fuzz");
        bulk = env->createConnection2(orltest::ScriptDsn::kDsn, "orl", &error);
        if (bulk == nullptr || bulk->connect(&error) != 0) std::abort();
    }

    Bytes in{data, size};
    const uint8_t path = in.next();
    size_t columns = 0;
    const std::string sql = script(in, columns);
    const std::vector<unsigned int> types = words(in, columns);
    static const bool show = std::getenv("ORL_FUZZ_SHOW") != nullptr;  // to read a reproducer
    if (show) std::fprintf(stderr, "path %d: %s\n", path % 3, sql.c_str());
    if (path % 3 == 0)
        classicPath(*classic, sql, types);
    else
        bulkPath(*bulk, sql, types, path % 3 == 1);
    return 0;
}
