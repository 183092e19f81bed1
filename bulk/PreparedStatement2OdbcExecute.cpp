// Parameter binding and execution of a bulk statement.
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "bulk/PreparedStatement2Odbc.h"
#include "bulk/RowInternal2.h"
#include "bulk/internal/Cells.h"
#include "bulk/internal/Report.h"
#include "bulk/internal/RowBlock.h"
#include "datatypes/DataTypes.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

using namespace DataTypes;

namespace {

int64_t readInt64(const void* value) {
    int64_t v;
    std::memcpy(&v, value, sizeof v);
    return v;
}

// A packed row comes from outside the library: each value to be bound must lie
// behind the offset table and inside the size the row gives itself, or the bind
// would read past the block.
bool valueInsideRow(const unsigned char* base, uint32_t size, size_t tableEnd, int32_t offset, unsigned int word) {
    if (offset < 0 || static_cast<size_t>(offset) < tableEnd || static_cast<uint32_t>(offset) >= size) return false;
    const size_t room = size - static_cast<uint32_t>(offset);
    const unsigned char* value = base + offset;
    switch (typeOf(word)) {
    case STRING:
        return std::memchr(value, 0, room) != nullptr;
    case BINARY:
        return room >= 4 && getLengthFromPackedBinary(value) <= room - 4;
    case DATE:
    case TIMESTAMP:
    case BIGDATETIME:
    case TIME:
        return room >= sizeof(int64_t);  // read as 64-bit counts whatever the size settings say
    default: {
        DataValue none;
        none.isNull = false;
        return getPackedSize(word, none) <= room;
    }
    }
}

struct MutexLock {
    explicit MutexLock(pthread_mutex_t& m) : mutex(m) { pthread_mutex_lock(&mutex); }
    ~MutexLock() { pthread_mutex_unlock(&mutex); }
    pthread_mutex_t& mutex;
};

} // namespace

int PreparedStatement2Odbc::bindParameter(unsigned long index, const void* value, unsigned int& word,
                                          DBError* error) {
    if (index >= parameters.size()) {
        // The driver refuses the number; let it say so.
        SQLRETURN rc = SQLBindParameter(stmt, static_cast<SQLUSMALLINT>(index + 1), SQL_PARAM_INPUT, SQL_C_CHAR,
                                        SQL_VARCHAR, 1, 0, nullptr, 0, nullptr);
        reportOdbc(error, SQL_HANDLE_STMT, stmt, rc == SQL_SUCCESS ? SQL_ERROR : rc);
        return -1;
    }
    const DATA_XFER_SETTINGS& s = parameters[index];
    BindSlot& slot = bindSlots[index];
    SQLULEN columnSize = s.columnSize;
    SQLPOINTER data = nullptr;
    SQLLEN bufferLength = 0;
    const unsigned int type = typeOf(word);

    if (value == nullptr) {
        columnSize = 1;
        slot.length = SQL_NULL_DATA;
    } else {
        switch (type) {
        case DATE:
        case TIMESTAMP:
        case BIGDATETIME:
            if (!timestampOf(word, readInt64(value), slot.timestamp)) {
                reportLibrary(error, "error converting date");
                return -1;
            }
            data = &slot.timestamp;
            bufferLength = slot.length = sizeof(SQL_TIMESTAMP_STRUCT);
            break;
        case TIME:
            timeOf(readInt64(value), slot.time);
            data = &slot.time;
            bufferLength = slot.length = sizeof(SQL_TIME_STRUCT);
            break;
        case STRING:
            data = const_cast<void*>(value);
            bufferLength = slot.length = static_cast<SQLLEN>(std::strlen(static_cast<const char*>(value)));
            break;
        case MONEY: case MONEY_1: case MONEY_2: case MONEY_3: case MONEY_4: case MONEY_5:
        case MONEY_6: case MONEY_7: case MONEY_8: case MONEY_9: case MONEY_10: case MONEY_11:
        case MONEY_12: case MONEY_13: case MONEY_14: case MONEY_15:
        case FIXEDDECIMAL:
            slot.text[0] = '\0';
            convertToString(word, false, false, static_cast<unsigned char*>(const_cast<void*>(value)), slot.text, 63);
            data = slot.text;
            bufferLength = slot.length = static_cast<SQLLEN>(std::strlen(slot.text));
            break;
        case BINARY:
            data = static_cast<unsigned char*>(const_cast<void*>(value)) + 4;
            bufferLength = slot.length =
                getLengthFromPackedBinary(static_cast<const unsigned char*>(value));
            break;
        default:
            data = const_cast<void*>(value);
            slot.length = 0;
            break;
        }
    }

    // Unmapped types (INT16) bind as C type 0, which the driver refuses.
    auto mapped = s_orlToSqlTypeMap.find(static_cast<TypeEnum>(type));
    const SQLSMALLINT cType = mapped == s_orlToSqlTypeMap.end() ? 0 : mapped->second;
    SQLRETURN rc = SQLBindParameter(stmt, static_cast<SQLUSMALLINT>(index + 1), SQL_PARAM_INPUT, cType,
                                    s.sqlDataType, columnSize, s.decimalDigits, data, bufferLength, &slot.length);
    if (rc == SQL_SUCCESS) return 0;
    reportOdbc(error, SQL_HANDLE_STMT, stmt, rc);
    return -1;
}

RowInternal2* PreparedStatement2Odbc::packValues(const std::vector<void*>& values, unsigned long size,
                                                 DBError* error) {
    unsigned char* block = static_cast<unsigned char*>(std::malloc(size));
    if (block == nullptr) {
        reportLibrary(error, "memory allocation");
        return nullptr;
    }
    const size_t n = values.size();
    const size_t table = static_cast<size_t>(headerSize);
    // Header and the spare word behind the table are zeroed, not left as
    // whatever malloc gave.
    std::memset(block, 0, table + 4 * (n + 2) < size ? table + 4 * (n + 2) : size);
    RowInternal2* row = reinterpret_cast<RowInternal2*>(block);
    row->size = static_cast<uint32_t>(size);
    row->one = 1;
    row->columnCount = static_cast<uint32_t>(n) & 0xFFFFFF;
    std::memcpy(block + table, offsets.data(), 4 * (n + 1));
    for (size_t j = 0; j < n; ++j) {
        // The 8-byte values, most of a row, as one move rather than a call.
        if (lengths[j] == 8) std::memcpy(block + offsets[j], values[j], 8);
        else if (lengths[j] != 0) std::memcpy(block + offsets[j], values[j], static_cast<size_t>(lengths[j]));
    }
    return row;
}

const void* PreparedStatement2Odbc::valueInRow(const RowInternal2* row, const DATA_XFER_SETTINGS& s) const {
    // A binding to a column the row doesn't have reads as NULL.
    const int64_t rowColumns = row ? static_cast<int64_t>(row->columnCount) : 0;
    if (s.rowColumn < 0 || s.rowColumn >= rowColumns) return nullptr;
    const unsigned char* base = reinterpret_cast<const unsigned char*>(row);
    int32_t offset;
    std::memcpy(&offset, base + headerSize + 4 * s.rowColumn, sizeof offset);
    return offset > 0 ? base + offset : nullptr;
}

int PreparedStatement2Odbc::checkRow(const RowInternal2* row, DBError* error) const {
    const unsigned char* base = reinterpret_cast<const unsigned char*>(row);
    const int64_t rowColumns = row ? static_cast<int64_t>(row->columnCount) : 0;
    const size_t tableEnd = static_cast<size_t>(headerSize) + 4 * (static_cast<size_t>(rowColumns) + 1);
    // Checked whole before anything is bound, so a bad row leaves the
    // statement's bindings as they were for the next one.
    if (row != nullptr && rowColumns > 0 && row->size < tableEnd) {
        reportLibrary(error, "packed row shorter than its offset table");
        return -1;
    }
    for (const DATA_XFER_SETTINGS& s : parameters) {
        if (s.rowColumn < 0 || s.rowColumn >= rowColumns) continue;
        int32_t offset;
        std::memcpy(&offset, base + headerSize + 4 * s.rowColumn, sizeof offset);
        if (offset != 0 && !valueInsideRow(base, row->size, tableEnd, offset, s.typeWord)) {
            reportLibrary(error, "packed row value outside the row");
            return -1;
        }
    }
    return 0;
}

int PreparedStatement2Odbc::executeBound(DBError* error) {
    if (rowBlock) rowBlock->newResult(stmt);
    SQLRETURN rc = SQLExecute(stmt);
    if (rc == SQL_SUCCESS) {
        resultState = -1;
        return 0;
    }
    // SQL_SUCCESS_WITH_INFO fails too, and so does SQL_NO_DATA from an update
    // that touched no row.
    reportOdbc(error, SQL_HANDLE_STMT, stmt, rc);
    return -1;
}

int PreparedStatement2Odbc::execute(const RowInternal2* row, DBError* error) {
    if (bound != 1) {
        reportLibrary(error, "No param binding in effect");
        return -1;
    }
    if (checkRow(row, error) != 0) return -1;
    for (size_t i = 0; i < parameters.size(); ++i) {
        DATA_XFER_SETTINGS& s = parameters[i];
        int result = bindParameter(i, valueInRow(row, s), s.typeWord, error);
        if (result != 0) {
            close(error);
            return result;
        }
    }
    return executeBound(error);
}


int PreparedStatement2Odbc::execute(std::vector<DataValue>& values, std::vector<unsigned int>& types,
                                    DBError* error) {
    try {
        MutexLock lock(m_mx);
        if (bound != 0) {
            int result = close(error);
            if (result != 0) return result;
        }
        if (parameters.size() != values.size()) {
            reportLibrary(error, "param count mismatch");
            return -1;
        }
        for (size_t i = 0; i < parameters.size(); ++i) {
            unsigned int word = i < types.size() ? types[i] : static_cast<unsigned int>(UNKNOWN);
            DataValue& v = values[i];
            const void* pointer = &v;
            if (word == STRING) {
                pointer = v.stringValue;
            } else if (word == BINARY) {
                const uint32_t length = v.binaryValue.length;
                unsigned char* block = static_cast<unsigned char*>(std::malloc(4 + static_cast<size_t>(length)));
                if (block == nullptr) {
                    reportLibrary(error, "memory allocation");
                    close(error);
                    return -1;
                }
                // The driver reads the copy at SQLExecute, and again when
                // execute(DBError*) repeats the bound data: it lives until the
                // parameter is bound anew or the statement closes.
                std::free(bindSlots[i].block);
                bindSlots[i].block = block;
                putLengthOfPackedBinary(block, length);
                if (length != 0 && v.binaryValue.data != nullptr) std::memcpy(block + 4, v.binaryValue.data, length);
                pointer = block;
            }
            int result = bindParameter(i, pointer, word, error);
            if (result != 0) {
                close(error);
                return result;
            }
        }
        bound = 1;
        return executeBound(error);
    } catch (...) {
        reportLibrary(error, "memory allocation");
        return -1;
    }
}

int PreparedStatement2Odbc::execute(DBError* error) {
    if (!parameters.empty() && bound == 0) {
        reportLibrary(error, "unbound parameter(s)");
        return -1;
    }
    return executeBound(error);
}

int PreparedStatement2Odbc::nextCount(int&, DBError* error) {
    reportLibrary(error, "not implemented");
    return -1;
}

}}}} // namespace KORVEL::Orl::DB::ODBC
