#include "driver/OdbcResultSet.h"

#include <sqlext.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "datatypes/StringConversion.h"
#include "driver/OdbcColumn.h"
#include "driver/OdbcError.h"
#include "driver/OdbcStatement.h"
#include "driver/internal/DateCell.h"
#include "host/DataService.h"
#include "host/LogServiceImpl.h"
#include "host/Row.h"
#include "odbc/ByteStore.h"

namespace KORVEL { namespace Orl { namespace DB {

using DataTypes::DataValue;
using ODBC::ByteStore;
using ODBC::OdbcCol;
using ODBC::e_Status;

namespace {
constexpr int kOk = 1;
constexpr int kFailed = 3;
constexpr int kGoOn = 0;

const char* const kErrColumnCount = "801007-3_ERROR_GETTING_RESULT_SET_COLUMN_COUNT";
const char* const kErrColumnName = "801008-3_ERROR_GETTING_RESULT_SET_COLUMN_NAME";
const char* const kErrColumnType = "801009-3_ERROR_GETTING_RESULT_SET_COLUMN_TYPE";
const char* const kErrNext = "801012-3_ERROR_ITERATING_THROUGH_RESULT_SET";
const char* const kErrColumnValue = "801013-3_ERROR_GETTING_COLUMN_VALUE";
const char* const kRowSkipped = "801014-4_COLUMN_VALUE_ERROR_RESULT_ROW_SKIPPED";
const char* const kErrParse = "801032-3_ERROR_PARSING_COLUMN_VALUE";

// SQL Server's time with fractions, which the ODBC headers here don't name.
constexpr short kSsTime2 = -154;

constexpr unsigned int kString = 5;
constexpr unsigned int kBinary = 28;

// Room the scratch store keeps between cells.
constexpr unsigned int kScratchRoom = 65536;

struct ColumnText {
    char text[16];
    explicit ColumnText(int column) { std::snprintf(text, sizeof text, "%d", column); }
};

// The cell's bytes as an ODBC structure, zero where the cell holds fewer
// bytes than the structure has: a driver's short value never reads past them.
template <typename T>
T structureOf(const ByteStore& store) {
    T out;
    std::memset(&out, 0, sizeof out);
    std::memcpy(&out, store.Data() ? store.Data() : reinterpret_cast<const unsigned char*>(""),
                store.Size() < sizeof out ? store.Size() : sizeof out);
    return out;
}

bool isTimeSqlType(short sqlType) { return sqlType == SQL_TIME || sqlType == SQL_TYPE_TIME; }
} // namespace

OdbcResultSet::OdbcResultSet(OdbcStatement& statement) : ResultSet(statement) {}

OdbcResultSet::~OdbcResultSet() { close(); }

int OdbcResultSet::close() { return kOk; }

// Made only by OdbcStatement (the constructor takes one), so the cast holds.
ODBC::OdbcStmt* OdbcResultSet::query() { return static_cast<OdbcStatement&>(statement).getStmt(); }

int OdbcResultSet::next(bool& hasRow) {
    ODBC::OdbcStmt* q = query();
    if (q == nullptr) {
        // The statement was closed or its connection disconnected.
        LogServiceImpl::log(kErrNext, "");
        return kFailed;
    }
    e_Status status = q->Fetch();
    if (status == ODBC::Status_NoData) {
        hasRow = false;
        return kOk;
    }
    if (status == ODBC::Status_Ok) {
        hasRow = true;
        return kOk;
    }
    std::string text = getOdbcError(q);
    LogServiceImpl::log(kErrNext, text.c_str());
    return kFailed;
}

int OdbcResultSet::getData(const RowDescriptor& descriptor, Row*& row) {
    int n = static_cast<int>(descriptor.types.size());
    if (n < 0) return kFailed;
    row = new (std::nothrow) Row();
    if (row == nullptr) return kFailed;
    for (int i = 0; i < n; ++i) {
        DataValue value;  // cleared, and null
        unsigned int type = descriptor.getColumnType(i);
        int status = getColumn(i + 1, type, value);
        if (status != kOk) {
            LogServiceImpl::log(kRowSkipped, "");
            delete row;
            row = nullptr;
            return status;
        }
        // The row takes over the buffer of a string or binary; the whole word decides.
        bool owned = type == kBinary || type == kString;
        try {
            row->addColumn(type, value, owned);
        } catch (...) {
            if (owned && !value.isNull) {
                if (type == kString) delete[] value.stringValue;
                else delete[] value.binaryValue.data;
            }
            delete row;
            row = nullptr;
            return kFailed;
        }
    }
    return kOk;
}

// ---- Names and types -----------------------------------------------------------

int OdbcResultSet::getNumColumns(int& count) {
    ODBC::OdbcStmt* q = query();
    if (q == nullptr) {
        LogServiceImpl::log(kErrColumnCount, "");
        return kFailed;
    }
    if (q->GetColumnCount(count) != ODBC::Status_Ok) {
        std::string text = getOdbcError(q);
        LogServiceImpl::log(kErrColumnCount, text.c_str());
        return kFailed;
    }
    return kOk;
}

int OdbcResultSet::getColumnName(int column, std::string& name) {
    ODBC::OdbcStmt* q = query();
    if (q == nullptr) {
        LogServiceImpl::log(kErrColumnName, "");
        return kFailed;
    }
    if (q->GetColumnName(column + 1, name) != ODBC::Status_Ok) {
        std::string text = getOdbcError(q);
        LogServiceImpl::log(kErrColumnName, text.c_str());
        return kFailed;
    }
    return kOk;
}

int OdbcResultSet::getColumnType(int column, unsigned int& type) {
    ODBC::OdbcStmt* q = query();
    if (q == nullptr) {
        LogServiceImpl::log(kErrColumnType, "");
        return kFailed;
    }
    int sqlType = 0;
    if (q->GetColumnType(column + 1, sqlType) != ODBC::Status_Ok) {
        std::string text = getOdbcError(q);
        LogServiceImpl::log(kErrColumnType, text.c_str());
        return kFailed;
    }
    type = OdbcColumn().getOrlDataType(sqlType);
    return kOk;
}

int OdbcResultSet::getColumnInfo(int column, std::string& name, unsigned int& type) {
    int status = getColumnName(column, name);
    if (status != kOk) return status;
    return getColumnType(column, type);
}

// ---- Values ----------------------------------------------------------------------

int OdbcResultSet::getColumn(int column, unsigned int type, DataValue& value) {
    unsigned int low = type & 0xFF;
    switch (low) {
    case 0: return getColumnInt16(column, value);
    case 1: return getColumnInt32(column, value);
    case 2: return getColumnInt64(column, value);
    case 3: return getColumnDouble(column, value);
    case 4: return getColumnDate(column, value);
    case 5: return getColumnString(column, value);
    case 8: return getColumnTimestamp(column, value);
    case 10: return getColumnBoolean(column, value);
    case 26: return getColumnInterval(column, value);
    case 27: return getColumnBigDateTime(column, value);
    case 28: return getColumnBinary(column, value);
    case 29: return getColumnTime(column, value);
    case 30: return getColumnFixedDecimal(column, type, value);
    default:
        if (low == 7 || (low >= 11 && low <= 25)) return getColumnMoney(column, type, value);
        return kFailed;
    }
}

OdbcCol* OdbcResultSet::cell(int column) {
    ODBC::OdbcStmt* q = query();
    OdbcCol* col = q ? q->GetColumn(column) : nullptr;
    if (col == nullptr) {
        std::string text = q ? getOdbcError(q) : std::string();
        LogServiceImpl::log(kErrColumnValue, ColumnText(column).text, text.c_str());
    }
    return col;
}

ByteStore& OdbcResultSet::scratchStore() {
    // A long value read once would otherwise stay held for the life of the
    // result set; its room goes back before the next cell.
    if (scratch.Capacity() > kScratchRoom) scratch.Resize(0, false);
    return scratch;
}

int OdbcResultSet::settle(e_Status status, int column, OdbcCol* col, DataValue& value) {
    if (status == ODBC::Status_Null) {
        value.isNull = true;
        return kOk;
    }
    if (status != ODBC::Status_Ok) {
        std::string text = getOdbcError(col);
        LogServiceImpl::log(kErrColumnValue, ColumnText(column).text, text.c_str());
        return kFailed;
    }
    value.isNull = false;
    return kGoOn;
}

template <typename T, typename Store>
int OdbcResultSet::readScalar(int column, DataValue& value, Store store) {
    OdbcCol* col = cell(column);
    if (col == nullptr) return kFailed;
    T v{};
    int s = settle(col->GetData(v), column, col, value);
    if (s != kGoOn) return s;
    store(value, v);
    return kOk;
}

int OdbcResultSet::getColumnInt16(int column, DataValue& value) {
    return readScalar<short>(column, value, [](DataValue& out, short v) { out.int16Value = v; });
}

int OdbcResultSet::getColumnInt32(int column, DataValue& value) {
    return readScalar<int>(column, value, [](DataValue& out, int v) { out.int32Value = v; });
}

int OdbcResultSet::getColumnInt64(int column, DataValue& value) {
    return readScalar<long>(column, value, [](DataValue& out, long v) { out.int64Value = v; });
}

int OdbcResultSet::getColumnInterval(int column, DataValue& value) { return getColumnInt64(column, value); }

int OdbcResultSet::getColumnDouble(int column, DataValue& value) {
    return readScalar<double>(column, value, [](DataValue& out, double v) { out.doubleValue = v; });
}

int OdbcResultSet::getColumnBoolean(int column, DataValue& value) {
    return readScalar<bool>(column, value, [](DataValue& out, bool v) { out.boolValue = v; });
}

int OdbcResultSet::getColumnString(int column, DataValue& value) {
    OdbcCol* col = cell(column);
    if (col == nullptr) return kFailed;
    ByteStore& store = scratchStore();
    int s = settle(col->GetData(&store), column, col, value);
    if (s != kGoOn) return s;
    unsigned int length = store.Size();
    // new[]: the host's Row releases what it takes over with delete[].
    char* text = new (std::nothrow) char[static_cast<size_t>(length) + 1];
    if (text == nullptr) {
        LogServiceImpl::log(kErrColumnValue, ColumnText(column).text, "");
        return kFailed;
    }
    if (length == 0)
        text[0] = '\0';
    else
        intl_strlcpy(text, store.Text(), static_cast<size_t>(length) + 1);  // ends at the first zero byte
    value.stringValue = text;
    return kOk;
}

int OdbcResultSet::getColumnBinary(int column, DataValue& value) {
    OdbcCol* col = cell(column);
    if (col == nullptr) return kFailed;
    ByteStore& store = scratchStore();
    int s = settle(col->GetData(&store), column, col, value);
    if (s != kGoOn) return s;
    unsigned int length = store.Size();
    unsigned char* bytes = new (std::nothrow) unsigned char[length];
    if (bytes == nullptr) {
        LogServiceImpl::log(kErrColumnValue, ColumnText(column).text, "");
        return kFailed;
    }
    if (length > 0) std::memcpy(bytes, store.Data(), length);
    value.binaryValue.data = bytes;
    value.binaryValue.length = length;
    return kOk;
}

int OdbcResultSet::readRaw(int column, DataValue& value, ByteStore& store, short& sqlType) {
    OdbcCol* col = cell(column);
    if (col == nullptr) return kFailed;
    int s = settle(col->GetData(&store), column, col, value);
    if (s != kGoOn) return s;
    unsigned int size = 0;
    short digits = 0;
    col->GetSqlType(sqlType, size, digits);
    return kGoOn;
}

int OdbcResultSet::getColumnDateText(int column, unsigned int type, DataValue& value) {
    ByteStore& store = scratchStore();
    short sqlType = 0;
    int s = readRaw(column, value, store, sqlType);
    if (s != kGoOn) return s;
    TIMESTAMP_STRUCT ts;
    if (isTimeSqlType(sqlType)) {
        TIME_STRUCT t = structureOf<TIME_STRUCT>(store);
        ts = TIMESTAMP_STRUCT{1970, 1, 1, t.hour, t.minute, t.second, 0};
    } else {
        ts = structureOf<TIMESTAMP_STRUCT>(store);
    }
    // One converter sets the rules for dates; a text it refuses keeps the row.
    internal::dateValue(type, ts, value);
    return kOk;
}

int OdbcResultSet::getColumnDate(int column, DataValue& value) { return getColumnDateText(column, 4, value); }

int OdbcResultSet::getColumnTimestamp(int column, DataValue& value) { return getColumnDateText(column, 8, value); }

int OdbcResultSet::getColumnBigDateTime(int column, DataValue& value) {
    return getColumnDateText(column, 27, value);
}

int OdbcResultSet::getColumnTime(int column, DataValue& value) {
    ByteStore& store = scratchStore();
    short sqlType = 0;
    int s = readRaw(column, value, store, sqlType);
    if (s != kGoOn) return s;
    switch (sqlType) {
    case SQL_TIME:
    case SQL_TYPE_TIME:
    case kSsTime2: {
        TIME_STRUCT t = structureOf<TIME_STRUCT>(store);
        value.int64Value = static_cast<int64_t>(t.hour) * 3600 + t.minute * 60 + t.second;
        return kOk;
    }
    case SQL_DATE:
    case SQL_TIMESTAMP:
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIMESTAMP: {
        TIMESTAMP_STRUCT ts = structureOf<TIMESTAMP_STRUCT>(store);
        value.int64Value = static_cast<int64_t>(ts.hour) * 3600 + ts.minute * 60 + ts.second;
        return kOk;
    }
    case SQL_WVARCHAR:
        break;
    default:
        // An SQL type with no known layout: the value stays as it was, not null.
        return kOk;
    }
    const char* text = store.Text();
    if (std::strlen(text) < 8) {
        // Unlike the other failures here this one keeps the row.
        LogServiceImpl::log(kErrParse, ColumnText(column).text);
        return kOk;
    }
    // "hh:mm:ss" by position alone; the separators are not looked at.
    char hour[3] = "23", minute[3] = "59", second[3] = "59";
    intl_strlcpy(hour, text, sizeof hour);
    intl_strlcpy(minute, text + 3, sizeof minute);
    intl_strlcpy(second, text + 6, sizeof second);
    int32_t seconds = safeTimeAtoi(second) + safeTimeAtoi(hour) * 3600 + safeTimeAtoi(minute) * 60;
    value.int64Value = seconds;
    return kOk;
}

int OdbcResultSet::safeTimeAtoi(const char* text) {
    long v = std::strtol(text, nullptr, 10);
    if (v != 0) return static_cast<int>(v);
    // Zero is a real zero or junk; only the two spellings of zero count.
    return (std::strcmp(text, "00") == 0 || std::strcmp(text, "0") == 0) ? 0 : -1;
}

int OdbcResultSet::getColumnDecimalText(int column, unsigned int type, DataValue& value) {
    OdbcCol* col = cell(column);
    if (col == nullptr) return kFailed;
    ByteStore& store = scratchStore();
    int s = settle(col->GetData(&store), column, col, value);
    if (s != kGoOn) return s;
    // The scale and precision of the word settle the parse.
    const char* end = nullptr;
    if (!DataTypes::convertFromString(type, store.Text(), value, end, nullptr, nullptr, nullptr, nullptr)) {
        LogServiceImpl::log(kErrColumnValue, ColumnText(column).text);
        return kFailed;
    }
    return kOk;
}

int OdbcResultSet::getColumnMoney(int column, unsigned int type, DataValue& value) {
    return getColumnDecimalText(column, type, value);
}

int OdbcResultSet::getColumnFixedDecimal(int column, unsigned int type, DataValue& value) {
    return getColumnDecimalText(column, type, value);
}

}}} // namespace KORVEL::Orl::DB
