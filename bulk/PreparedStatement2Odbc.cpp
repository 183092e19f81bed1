// Set-up of a bulk statement: preparing, describing, and the choice of type
// word, buffer and fetcher for each column.
#include "bulk/PreparedStatement2Odbc.h"

#include <cstdlib>

#include "bulk/Connection2Odbc.h"
#include "bulk/internal/InsertGroups.h"
#include "bulk/internal/ParamBlock.h"
#include "bulk/internal/RowBlock.h"
#include "bulk/internal/Report.h"
#include "datatypes/DataTypes.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

using namespace DataTypes;

long glen = 0;

std::map<TypeEnum, short> PreparedStatement2Odbc::s_orlToSqlTypeMap = {
    {INTEGER, SQL_C_SLONG},
    {LONG, SQL_C_SBIGINT},
    {INTERVAL, SQL_C_SBIGINT},
    {FLOAT, SQL_C_DOUBLE},
    {STRING, SQL_C_CHAR},
    {MONEY, SQL_C_CHAR},
    {MONEY_1, SQL_C_CHAR},
    {MONEY_2, SQL_C_CHAR},
    {MONEY_3, SQL_C_CHAR},
    {MONEY_4, SQL_C_CHAR},
    {MONEY_5, SQL_C_CHAR},
    {MONEY_6, SQL_C_CHAR},
    {MONEY_7, SQL_C_CHAR},
    {MONEY_8, SQL_C_CHAR},
    {MONEY_9, SQL_C_CHAR},
    {MONEY_10, SQL_C_CHAR},
    {MONEY_11, SQL_C_CHAR},
    {MONEY_12, SQL_C_CHAR},
    {MONEY_13, SQL_C_CHAR},
    {MONEY_14, SQL_C_CHAR},
    {MONEY_15, SQL_C_CHAR},
    {FIXEDDECIMAL, SQL_C_CHAR},
    {DATE, SQL_C_TYPE_TIMESTAMP},
    {TIMESTAMP, SQL_C_TYPE_TIMESTAMP},
    {BIGDATETIME, SQL_C_TYPE_TIMESTAMP},
    {TIME, SQL_C_TYPE_TIME},
    {BINARY, SQL_C_BINARY},
    {BOOLEAN, SQL_C_BIT},
};

int PreparedStatement2Odbc::s_moneyPrecisionMapping[16] = {LONG,    MONEY_1,  MONEY_2,  MONEY_3,
                                                           MONEY_4, MONEY_5,  MONEY_6,  MONEY_7,
                                                           MONEY_8, MONEY_9,  MONEY_10, MONEY_11,
                                                           MONEY_12, MONEY_13, MONEY_14, MONEY_15};

pthread_mutex_t PreparedStatement2Odbc::m_mx = PTHREAD_MUTEX_INITIALIZER;

namespace {

struct MutexAtExit {
    ~MutexAtExit() { pthread_mutex_destroy(&PreparedStatement2Odbc::m_mx); }
} s_mutexAtExit;

// Packed size of a type word by its low byte; 0 outside the type table.
unsigned long packedSize(unsigned int word) {
    unsigned int type = typeOf(word);
    return type < kTypeCount ? g_column_lengths[type] : 0;
}

typedef PreparedStatement2Odbc P;

// The kind of a column whose type word the caller chose, by its low byte.
ColumnKind kindOfType(unsigned int word) {
    switch (typeOf(word)) {
    case INTEGER: return ColumnKind::Int32;
    case LONG:
    case INTERVAL: return ColumnKind::Int64;
    case FLOAT: return ColumnKind::Double;
    case DATE:
    case TIMESTAMP:
    case BIGDATETIME:
    case TIME: return ColumnKind::Timestamp;
    case STRING: return ColumnKind::Text;
    case MONEY: case MONEY_1: case MONEY_2: case MONEY_3: case MONEY_4: case MONEY_5:
    case MONEY_6: case MONEY_7: case MONEY_8: case MONEY_9: case MONEY_10: case MONEY_11:
    case MONEY_12: case MONEY_13: case MONEY_14: case MONEY_15:
    case FIXEDDECIMAL: return ColumnKind::DecimalText;
    case BOOLEAN: return ColumnKind::Bit;
    case BINARY: return ColumnKind::Binary;
    default: return ColumnKind::None;
    }
}

P::Fetcher fetcherOf(ColumnKind kind) {
    switch (kind) {
    case ColumnKind::Int32: return &P::getDataColumn<ColumnKind::Int32>;
    case ColumnKind::Int64: return &P::getDataColumn<ColumnKind::Int64>;
    case ColumnKind::Double: return &P::getDataColumn<ColumnKind::Double>;
    case ColumnKind::Bit: return &P::getDataColumn<ColumnKind::Bit>;
    case ColumnKind::Timestamp: return &P::getDataColumn<ColumnKind::Timestamp>;
    case ColumnKind::DecimalText: return &P::getDataColumn<ColumnKind::DecimalText>;
    case ColumnKind::Text: return &P::getDataColumn<ColumnKind::Text>;
    case ColumnKind::Binary: return &P::getDataColumn<ColumnKind::Binary>;
    case ColumnKind::Date: return &P::getDataColumn<ColumnKind::Date>;
    case ColumnKind::None: break;
    }
    return nullptr;
}

// The type word of a column as the driver describes it. The old date code 9
// gives TIMESTAMP and the current 91 DATE; both timestamp codes give the
// microsecond BIGDATETIME. Decimals: see below.
unsigned int typeOfColumn(const P::DATA_XFER_SETTINGS& c) {
    switch (c.sqlDataType) {
    case SQL_CHAR: case SQL_VARCHAR: case SQL_LONGVARCHAR:
    case SQL_WCHAR: case SQL_WVARCHAR: case SQL_WLONGVARCHAR: return STRING;
    case SQL_BIT: return BOOLEAN;
    case SQL_TINYINT: case SQL_INTEGER: case SQL_SMALLINT: return INTEGER;
    case SQL_BIGINT: return LONG;
    case SQL_BINARY: case SQL_VARBINARY: case SQL_LONGVARBINARY: return BINARY;
    case SQL_NUMERIC:
    case SQL_DECIMAL:
        // Only the scale decides: a precision above 34 with a small scale makes
        // a word beyond the decimal name tables, and stays so.
        if (c.decimalDigits > static_cast<int>(kMaxDecimalPrecision)) return FLOAT;
        return createFixedDecimal(static_cast<int>(c.columnSize), c.decimalDigits);
    case SQL_FLOAT: case SQL_REAL: case SQL_DOUBLE: return FLOAT;
    case SQL_DATE: return TIMESTAMP;
    case SQL_TYPE_DATE: return DATE;
    case SQL_TIME: case SQL_TYPE_TIME: return TIME;
    case SQL_TIMESTAMP: case SQL_TYPE_TIMESTAMP: return BIGDATETIME;
    default: return UNKNOWN;
    }
}

} // namespace

PreparedStatement2Odbc::PreparedStatement2Odbc(Connection2Odbc* owner, const char* text)
    : sql(text ? text : ""), connection(owner) {
    headerSize = 48;
}

PreparedStatement2Odbc::~PreparedStatement2Odbc() {
    // The buffers go whether or not the handle still exists: after a
    // disconnect the driver manager has already freed it.
    for (void* buffer : valueBuffers) std::free(buffer);
    releaseBindBlocks();
    releaseGroups();
    if (stmt != SQL_NULL_HSTMT) {
        close(nullptr);
        SQLFreeHandle(SQL_HANDLE_STMT, stmt);
    }
}

void PreparedStatement2Odbc::releaseBindBlocks() {
    for (BindSlot& slot : bindSlots) {
        std::free(slot.block);
        slot.block = nullptr;
    }
}

int PreparedStatement2Odbc::initialize(int count, const unsigned int* types, DBError* error) {
    SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_STMT, connection->handle(), &stmt);
    if (rc != SQL_SUCCESS) {
        // No statement handle exists to keep or free, and the diagnostic of a
        // failed allocation sits on the connection.
        stmt = SQL_NULL_HSTMT;
        reportOdbc(error, SQL_HANDLE_DBC, connection->handle(), rc);
        return -1;
    }
    connection->limitStatement(stmt);
    rc = SQLPrepare(stmt, (SQLCHAR*)sql.c_str(), SQL_NTS);
    SQLSMALLINT parameterCount = 0;
    if (rc == SQL_SUCCESS) rc = SQLNumParams(stmt, &parameterCount);
    if (rc == SQL_SUCCESS && parameterCount > 0) {
        parameters.assign(static_cast<size_t>(parameterCount), DATA_XFER_SETTINGS());
        bindSlots.assign(static_cast<size_t>(parameterCount), BindSlot());
        for (SQLSMALLINT i = 0; rc == SQL_SUCCESS && i < parameterCount; ++i) {
            DATA_XFER_SETTINGS& p = parameters[static_cast<size_t>(i)];
            SQLSMALLINT type = 0, digits = 0, nullable = 0;
            SQLULEN size = 0;
            rc = SQLDescribeParam(stmt, static_cast<SQLUSMALLINT>(i + 1), &type, &size, &digits, &nullable);
            p.sqlDataType = type;
            p.columnSize = size;
            p.decimalDigits = digits;
            p.nullable = nullable;
        }
    }
    SQLSMALLINT columnCount = 0;
    if (rc == SQL_SUCCESS) rc = SQLNumResultCols(stmt, &columnCount);
    if (rc != SQL_SUCCESS) {
        reportOdbc(error, SQL_HANDLE_STMT, stmt, rc);
        return -1;
    }
    if (columnCount == 0) return 0;  // a given count is ignored
    if (count != 0 && count != columnCount) {
        reportLibrary(error, "specified column count does not match query");
        return -1;
    }

    const size_t n = static_cast<size_t>(columnCount);
    columns.assign(n, DATA_XFER_SETTINGS());
    columnNames.assign(n, std::string());
    kinds.assign(n, ColumnKind::None);
    fetchers.assign(n, nullptr);
    offsets.assign(n + 1, 0);

    SQLSMALLINT bufferSize = 256;
    char* name = static_cast<char*>(std::malloc(bufferSize));
    if (name == nullptr) {
        reportLibrary(error, "memory allocation");
        return -1;
    }
    for (size_t j = 0; j < n; ++j) {
        DATA_XFER_SETTINGS& c = columns[j];
        SQLSMALLINT nameLength = 0, type = 0, digits = 0, nullable = 0;
        SQLULEN size = 0;
        // The buffer grows for a long name but the call still says 256, so a
        // name of 256 characters or more always ends as a failure. That stays.
        rc = SQLDescribeCol(stmt, static_cast<SQLUSMALLINT>(j + 1), (SQLCHAR*)name, 256, &nameLength, &type, &size,
                            &digits, &nullable);
        if (rc == SQL_SUCCESS_WITH_INFO && nameLength > bufferSize) {
            char* grown = static_cast<char*>(std::realloc(name, static_cast<size_t>(nameLength)));
            if (grown == nullptr) {
                std::free(name);
                reportLibrary(error, "memory allocation");
                return -1;
            }
            name = grown;
            bufferSize = nameLength;
            rc = SQLDescribeCol(stmt, static_cast<SQLUSMALLINT>(j + 1), (SQLCHAR*)name, 256, &nameLength, &type,
                                &size, &digits, &nullable);
        }
        if (rc != SQL_SUCCESS) {
            std::free(name);
            reportOdbc(error, SQL_HANDLE_STMT, stmt, rc);
            return -1;
        }
        c.sqlDataType = type;
        c.columnSize = size;
        c.decimalDigits = digits;
        c.nullable = nullable;
        columnNames[j] = name;
        fetchers[j] = nullptr;
    }
    std::free(name);

    DataValue nullValue;  // marked null
    rowValues.assign(n, nullValue);
    valueBuffers.assign(n, nullptr);
    lengths.assign(n, 0);
    if (count == 0) createOrlDataTypes();
    else processOrlTypes(count, types);
    setUpRowBlock();
    return 0;
}

void PreparedStatement2Odbc::createOrlDataTypes() {
    for (size_t j = 0; j < columns.size(); ++j) {
        unsigned int word = typeOfColumn(columns[j]);
        columnTypes.push_back(word);
        // The decimal rule may turn a NUMERIC into FLOAT; the fetcher follows
        // the word, as it does for declared types.
        kinds[j] = word == UNKNOWN ? ColumnKind::None : kindOfType(word);
        fetchers[j] = fetcherOf(kinds[j]);
        unsigned long size = packedSize(word);
        if (size != 0) valueBuffers[j] = std::malloc(size);
    }
}

int PreparedStatement2Odbc::processOrlTypes(int count, const unsigned int* types) {
    for (int j = 0; j < count && static_cast<size_t>(j) < fetchers.size(); ++j) {
        unsigned int word = types ? types[j] : UNKNOWN;
        columnTypes.push_back(word);
        unsigned long size = packedSize(word);
        if (size != 0) valueBuffers[static_cast<size_t>(j)] = std::malloc(size);
        kinds[static_cast<size_t>(j)] = kindOfType(word);
        fetchers[static_cast<size_t>(j)] = fetcherOf(kinds[static_cast<size_t>(j)]);
    }
    return 0;
}

int PreparedStatement2Odbc::getNumberParameters(int& count, DBError*) {
    count = static_cast<int>(parameters.size());
    return 0;
}

int PreparedStatement2Odbc::getEffectiveNumberColumns(int& count, DBError*) {
    count = static_cast<int>(columns.size());
    return 0;
}

const char* PreparedStatement2Odbc::getColumnName(unsigned long column, DBError*) {
    return column < columnNames.size() ? columnNames[column].c_str() : "";
}

int PreparedStatement2Odbc::getEffectiveDataType(int column, unsigned int& type, DBError* error) {
    const uint64_t index = static_cast<uint64_t>(static_cast<int64_t>(column));
    if (index > columnTypes.size()) {
        reportLibrary(error, "invalid column");
        return -1;
    }
    // One past the last column has always passed the test; it reads UNKNOWN
    // rather than whatever lies behind the vector.
    type = index < columnTypes.size() ? columnTypes[index] : static_cast<unsigned int>(UNKNOWN);
    return 0;
}

}}}} // namespace KORVEL::Orl::DB::ODBC
