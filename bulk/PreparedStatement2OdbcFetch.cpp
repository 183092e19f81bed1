// Row retrieval of a bulk statement: the cursor, the fetchers that read one
// column each with SQLGetData, and the packing of a row.
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

// First read of a binary value: short ones cost one SQLGetData.
constexpr SQLLEN kBinaryFirstRead = 60;  // behind the 4-byte length of the packed form
// A driver that calls a read complete yet counts more bytes than the buffer it
// was given, or a negative count that means nothing, would have the row packed
// from memory past the value.
constexpr const char* kBadLength = "invalid data length from driver";

bool isBlockType(unsigned int word) { return word == STRING || word == BINARY; }

// The text and binary fetchers always hand back a new block, whatever bits
// stand above the low byte; a packed row must take it in the column's slot,
// which has no buffer of its own.
bool getsBlock(unsigned int word) { return isBlockType(typeOf(word)); }

} // namespace

int PreparedStatement2Odbc::close(DBError* error) {
    if (rowBlock) {
        // The cursor goes, and with it the block's rows; the columns may
        // come unbound below, and are bound again at the next fetch.
        rowBlock->newResult(stmt);
        rowBlock->bound = false;
    }
    if (stmt != SQL_NULL_HSTMT) {
        for (SQLUSMALLINT option : {SQL_CLOSE, SQL_UNBIND, SQL_RESET_PARAMS}) {
            SQLRETURN rc = SQLFreeStmt(stmt, option);
            if (rc != SQL_SUCCESS) {
                reportOdbc(error, SQL_HANDLE_STMT, stmt, rc);
                return -1;
            }
        }
    }
    releaseBindBlocks();
    bound = 0;
    return 0;
}

int PreparedStatement2Odbc::setBindings(std::vector<int>& bindColumns, const unsigned int* types, DBError* error) {
    if (bindColumns.size() != parameters.size()) {
        reportLibrary(error, "Invalid number of columns");
        return -1;
    }
    for (size_t i = 0; i < parameters.size(); ++i) {
        parameters[i].rowColumn = bindColumns[i];
        parameters[i].typeWord = types ? types[i] : static_cast<unsigned int>(UNKNOWN);
    }
    bound = 1;
    return 0;
}

int PreparedStatement2Odbc::nextResultSet(bool& more, DBError* error) {
    more = false;
    if (resultState == -1) {
        // The first result set, which SQLExecute already opened.
        more = true;
        resultState = 0;
        return 0;
    }
    SQLRETURN rc = SQLMoreResults(stmt);
    if (rowBlock) rowBlock->newResult(stmt);
    if (rc == SQL_NO_DATA) return 0;
    if (rc == SQL_SUCCESS) {
        ++resultState;
        more = true;
        return 0;
    }
    reportOdbc(error, SQL_HANDLE_STMT, stmt, rc);
    return -1;
}

int PreparedStatement2Odbc::hasMoreData(bool& more, DBError* error) {
    if (rowBlock) return fetchBlock(more, error);
    more = false;
    SQLRETURN rc = SQLFetch(stmt);
    if (rc == SQL_NO_DATA) return 0;
    if (rc == SQL_SUCCESS) {
        more = true;
        return 0;
    }
    reportOdbc(error, SQL_HANDLE_STMT, stmt, rc);
    return -1;
}

// A fixed-size value's count must fit the buffer its type was given; text and
// binary fetchers check their own blocks.
bool PreparedStatement2Odbc::fixedLengthFits(unsigned int word, long length, DBError* error) {
    if (getsBlock(word) || length == SQL_NULL_DATA) return true;
    const long room = static_cast<long>(g_column_lengths[typeOf(word) < kTypeCount ? typeOf(word) : UNKNOWN]);
    if (length >= 0 && length <= room) return true;
    reportLibrary(error, kBadLength);
    return false;
}

void PreparedStatement2Odbc::freeBlock(unsigned long column) {
    std::free(valueBuffers[column]);
    valueBuffers[column] = nullptr;
}

RowInternal2* PreparedStatement2Odbc::nextRow(DBError* error) {
    if (resultState < 0) {
        reportLibrary(error, "no data");
        return nullptr;
    }
    // Before the first fetch and after the last, the row-at-a-time reads
    // answer as the driver does.
    if (rowBlock && rowBlock->onRow()) return packBlockRow(error);
    const size_t n = columns.size();
    if (offsets.size() < n + 1) offsets.assign(n + 1, 0);  // no result columns: the bare header
    long running = packedHeaderSize(n);
    for (size_t j = 0; j < n; ++j) {
        const unsigned int word = columnTypes[j];
        if (fetchers[j] == nullptr) {
            offsets[j] = 0;
            lengths[j] = 0;
            continue;
        }
        unsigned char decimal[24];
        void* target = getsBlock(word)                 ? static_cast<void*>(&valueBuffers[j])
                       : typeOf(word) == FIXEDDECIMAL ? static_cast<void*>(decimal)
                                                         : valueBuffers[j];
        long& length = lengths[j];
        length = static_cast<long>(g_column_lengths[typeOf(word) < kTypeCount ? typeOf(word) : UNKNOWN]);
        if ((this->*fetchers[j])(j, target, length, error) != 0 || !fixedLengthFits(word, length, error)) {
            // Blocks of the earlier columns go; the failing one freed its own.
            for (size_t k = 0; k < j; ++k)
                if (getsBlock(columnTypes[k]) && lengths[k] != 0) freeBlock(k);
            return nullptr;
        }
        if (length == SQL_NULL_DATA) {
            offsets[j] = 0;
            length = 0;
            continue;
        }
        if (typeOf(word) == FIXEDDECIMAL) std::memcpy(valueBuffers[j], decimal, sizeof decimal);
        offsets[j] = static_cast<int>(running);
        running += length;
    }
    offsets[n] = static_cast<int>(running);
    RowInternal2* row = packValues(valueBuffers, static_cast<unsigned long>(running), error);
    for (size_t j = 0; j < n; ++j)
        if (getsBlock(columnTypes[j])) freeBlock(j);
    return row;
}

int PreparedStatement2Odbc::nextRow(std::vector<DataValue>& values, DBError* error) {
    if (resultState < 0) {
        reportLibrary(error, "no data");
        return -1;
    }
    if (values.size() != columns.size()) {
        reportLibrary(error, "invalid column count");
        return -1;
    }
    if (rowBlock && rowBlock->onRow()) return blockValues(values, error);
    for (size_t j = 0; j < columns.size(); ++j)
        if (fetchers[j] != nullptr && fetchValue(j, values[j], error) != 0) return -1;
    return 0;
}

int PreparedStatement2Odbc::fetchValue(size_t j, DataValue& value, DBError* error) {
    const unsigned int word = columnTypes[j];
    unsigned char* packedBinary = nullptr;
    void* target = word == BINARY ? static_cast<void*>(&packedBinary) : static_cast<void*>(&value);
    long length = static_cast<long>(g_column_lengths[typeOf(word) < kTypeCount ? typeOf(word) : UNKNOWN]);
    if ((this->*fetchers[j])(j, target, length, error) != 0 || !fixedLengthFits(word, length, error)) return -1;
    if (length == SQL_NULL_DATA) {
        value.isNull = true;
        return 0;
    }
    if (word == BINARY) {
        const size_t bytes = static_cast<size_t>(length - 4);
        unsigned char* data = static_cast<unsigned char*>(std::malloc(bytes ? bytes : 1));
        if (data == nullptr) {
            std::free(packedBinary);
            reportLibrary(error, "memory allocation");
            return -1;
        }
        std::memcpy(data, packedBinary + 4, bytes);
        std::free(packedBinary);
        value.binaryValue.length = static_cast<uint32_t>(bytes);
        value.binaryValue.data = data;
    }
    // A STRING's block is now the value's stringValue and the caller's.
    return 0;
}

int PreparedStatement2Odbc::failGetData(SQLRETURN rc, DBError* error) {
    reportOdbc(error, SQL_HANDLE_STMT, stmt, rc);
    return -1;
}

template <>
int PreparedStatement2Odbc::getDataColumn<ColumnKind::Timestamp>(unsigned long column, void* target, long& length, DBError* error) {
    SQL_TIMESTAMP_STRUCT ts;
    std::memset(&ts, 0, sizeof ts);
    SQLRETURN rc = SQLGetData(stmt, static_cast<SQLUSMALLINT>(column + 1), SQL_C_TYPE_TIMESTAMP, &ts, sizeof ts, &length);
    if (rc != SQL_SUCCESS) return failGetData(rc, error);
    if (length == SQL_NULL_DATA) return 0;
    if (!storeTimeValue(columnTypes[column], ts, target)) return 0;
    length = 8;
    return 0;
}

template <>
int PreparedStatement2Odbc::getDataColumn<ColumnKind::DecimalText>(unsigned long column, void* target, long& length, DBError* error) {
    char text[kDecimalTextRoom];
    text[0] = '\0';
    SQLRETURN rc = SQLGetData(stmt, static_cast<SQLUSMALLINT>(column + 1), SQL_C_CHAR, text, sizeof text, &length);
    // A text of 32 characters or more comes back truncated, which fails here.
    if (rc != SQL_SUCCESS) return failGetData(rc, error);
    if (length == SQL_NULL_DATA) return 0;
    return packDecimalText(columnTypes[column], text, target, length, error);
}

template <>
int PreparedStatement2Odbc::getDataColumn<ColumnKind::Text>(unsigned long column, void* target, long& length, DBError* error) {
    char* block = static_cast<char*>(std::malloc(kTextFirstRead));
    if (block == nullptr) {
        reportLibrary(error, "memory allocation");
        return -1;
    }
    const SQLUSMALLINT number = static_cast<SQLUSMALLINT>(column + 1);
    SQLRETURN rc = SQLGetData(stmt, number, SQL_C_CHAR, block, kTextFirstRead, &length);
    if (rc == SQL_SUCCESS && length != SQL_NULL_DATA && (length < 0 || length >= kTextFirstRead)) {
        std::free(block);
        reportLibrary(error, kBadLength);
        return -1;
    }
    if (rc != SQL_SUCCESS) {
        // A text of exactly 128 bytes comes back as 127 with a length of 128,
        // which isn't above 128: it fails, as it always has.
        if (length <= kTextFirstRead) {
            std::free(block);
            return failGetData(rc, error);
        }
        char* grown = static_cast<char*>(std::realloc(block, static_cast<size_t>(length) + 1));
        if (grown == nullptr) {
            std::free(block);
            reportLibrary(error, "memory allocation");
            return -1;
        }
        block = grown;
        // The rest goes over the first part's terminator.
        SQLLEN rest = 0;
        rc = SQLGetData(stmt, number, SQL_C_CHAR, block + kTextFirstRead - 1, length - (kTextFirstRead - 2), &rest);
        if (rc != SQL_SUCCESS) {
            std::free(block);
            return failGetData(rc, error);
        }
    }
    if (length == SQL_NULL_DATA) {
        std::free(block);
        return 0;
    }
    length += 1;  // the packed STRING keeps its NUL
    *static_cast<char**>(target) = block;
    return 0;
}

template <>
int PreparedStatement2Odbc::getDataColumn<ColumnKind::Binary>(unsigned long column, void* target, long& length, DBError* error) {
    unsigned char* block = static_cast<unsigned char*>(std::malloc(4 + kBinaryFirstRead));
    if (block == nullptr) {
        reportLibrary(error, "memory allocation");
        return -1;
    }
    const SQLUSMALLINT number = static_cast<SQLUSMALLINT>(column + 1);
    SQLRETURN rc = SQLGetData(stmt, number, SQL_C_BINARY, block + 4, kBinaryFirstRead, &length);
    if (rc == SQL_SUCCESS && length != SQL_NULL_DATA && (length < 0 || length > kBinaryFirstRead)) {
        std::free(block);
        reportLibrary(error, kBadLength);
        return -1;
    }
    if (rc != SQL_SUCCESS) {
        // SQL_NO_TOTAL lands here too: the full length must be known.
        if (length <= kBinaryFirstRead) {
            std::free(block);
            return failGetData(rc, error);
        }
        unsigned char* grown = static_cast<unsigned char*>(std::realloc(block, static_cast<size_t>(length) + 4));
        if (grown == nullptr) {
            std::free(block);
            reportLibrary(error, "memory allocation");
            return -1;
        }
        block = grown;
        SQLLEN rest = 0;
        rc = SQLGetData(stmt, number, SQL_C_BINARY, block + 4 + kBinaryFirstRead, length - kBinaryFirstRead, &rest);
        if (rc != SQL_SUCCESS) {
            std::free(block);
            return failGetData(rc, error);
        }
    }
    if (length == SQL_NULL_DATA) {
        std::free(block);
        return 0;
    }
    putLengthOfPackedBinary(block, static_cast<unsigned int>(length));
    *static_cast<unsigned char**>(target) = block;
    length += 4;
    return 0;
}

// No column type selects this one; it stays for callers that read a plain date.
template <>
int PreparedStatement2Odbc::getDataColumn<ColumnKind::Date>(unsigned long column, void* target, long& length, DBError* error) {
    SQL_DATE_STRUCT date;
    std::memset(&date, 0, sizeof date);
    SQLLEN indicator = 0;
    SQLRETURN rc = SQLGetData(stmt, static_cast<SQLUSMALLINT>(column + 1), SQL_C_TYPE_DATE, &date, sizeof date,
                              &indicator);
    if (rc != SQL_SUCCESS) return failGetData(rc, error);
    if (indicator == SQL_NULL_DATA) {
        length = SQL_NULL_DATA;
        return 0;
    }
    SQL_TIMESTAMP_STRUCT midnight;
    std::memset(&midnight, 0, sizeof midnight);
    midnight.year = date.year;
    midnight.month = date.month;
    midnight.day = date.day;
    storeTimeValue(DATE, midnight, target);
    return 0;
}

namespace {
template <SQLSMALLINT CType>
int readFixed(SQLHSTMT stmt, unsigned long column, void* target, long& length) {
    return SQLGetData(stmt, static_cast<SQLUSMALLINT>(column + 1), CType, target, length, &length);
}
} // namespace

template <>
int PreparedStatement2Odbc::getDataColumn<ColumnKind::Bit>(unsigned long column, void* target, long& length, DBError* error) {
    SQLRETURN rc = readFixed<SQL_C_BIT>(stmt, column, target, length);
    return rc == SQL_SUCCESS ? 0 : failGetData(rc, error);
}

template <>
int PreparedStatement2Odbc::getDataColumn<ColumnKind::Double>(unsigned long column, void* target, long& length, DBError* error) {
    SQLRETURN rc = readFixed<SQL_C_DOUBLE>(stmt, column, target, length);
    return rc == SQL_SUCCESS ? 0 : failGetData(rc, error);
}

template <>
int PreparedStatement2Odbc::getDataColumn<ColumnKind::Int64>(unsigned long column, void* target, long& length, DBError* error) {
    SQLRETURN rc = readFixed<SQL_C_SBIGINT>(stmt, column, target, length);
    return rc == SQL_SUCCESS ? 0 : failGetData(rc, error);
}

template <>
int PreparedStatement2Odbc::getDataColumn<ColumnKind::Int32>(unsigned long column, void* target, long& length, DBError* error) {
    SQLRETURN rc = readFixed<SQL_C_SLONG>(stmt, column, target, length);
    return rc == SQL_SUCCESS ? 0 : failGetData(rc, error);
}

}}}} // namespace KORVEL::Orl::DB::ODBC
