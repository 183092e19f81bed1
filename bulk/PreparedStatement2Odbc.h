// A bulk statement: one SQL text prepared once, executed any number of times.
// Parameters are bound one by one at each execution, or as arrays or
// multi-row statements for the multi-row execute. Each result column gets a
// kind when the statement is described; the kind chooses the fetcher that
// reads it with SQLGetData, one row per SQLFetch, and, with "FetchArraySize",
// the C type and room of its cells in a block of rows per SQLFetch.
#pragma once
#include <pthread.h>
#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "datatypes/DataValue.h"
#include "datatypes/TypeEnum.h"
#include "host/PreparedStatement.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class Connection2Odbc;
struct RowBlock;
struct ParamBlock;
struct InsertGroups;

// Kept for the host's binary interface: the bind length that all parameters
// once shared. Binds and reads here keep their lengths per parameter and per
// call, so nothing in this library depends on it any more.
extern long glen;

// How a result column is read, from its type word: the C type asked of the
// driver and what is made of it. None: never read, NULL in every row. Date
// is for callers that read a plain date; no type word selects it.
enum class ColumnKind : unsigned char { None, Int32, Int64, Double, Bit, Timestamp, DecimalText, Text, Binary, Date };

class PreparedStatement2Odbc final : public PreparedStatement {
public:
    // One per parameter and one per result column.
    struct DATA_XFER_SETTINGS {
        uint16_t spare0;
        int16_t sqlDataType;
        uint64_t columnSize;
        int16_t decimalDigits;
        uint16_t spare1;
        int16_t nullable;
        int64_t rowColumn;   // parameter: column of the bound row that feeds it
        uint32_t typeWord;   // parameter: type word of the bound value
    };

    // Reads one column (zero-based) of the current row into `target`. `length`
    // comes in as the column's packed size and goes out as the bytes delivered,
    // or -1 for NULL. 0 or -1.
    typedef int (PreparedStatement2Odbc::*Fetcher)(unsigned long column, void* target, long& length,
                                                   DBError* error);

    // C type that binds a parameter, by TypeEnum value; INT16 has none.
    static std::map<DataTypes::TypeEnum, short> s_orlToSqlTypeMap;
    // Fraction digits to TypeEnum: LONG, then MONEY_1 .. MONEY_15. For the host.
    static int s_moneyPrecisionMapping[16];
    // Held across the DataValue execute only.
    static pthread_mutex_t m_mx;

    PreparedStatement2Odbc(Connection2Odbc* connection, const char* sql);
    PreparedStatement2Odbc(const PreparedStatement2Odbc&) = delete;
    PreparedStatement2Odbc& operator=(const PreparedStatement2Odbc&) = delete;
    // Not virtual: only the connection destroys statements.
    ~PreparedStatement2Odbc();

    // Prepares and describes. `count` 0 takes the column types from the
    // driver's description, else `types` holds `count` type words. 0 or -1.
    int initialize(int count, const unsigned int* types, DBError* error);
    void createOrlDataTypes();
    int processOrlTypes(int count, const unsigned int* types);

    int getNumberParameters(int& count, DBError* error) override;
    int getEffectiveNumberColumns(int& count, DBError* error) override;
    // The name's text; "" beyond the last column.
    const char* getColumnName(unsigned long column, DBError* error) override;
    // The column count itself still passes (as it always has) and reads UNKNOWN.
    int getEffectiveDataType(int column, unsigned int& type, DBError* error) override;
    // columns[i]: the row column that feeds parameter i; types[i] its type word.
    int setBindings(std::vector<int>& columns, const unsigned int* types, DBError* error) override;
    int execute(const RowInternal2* row, DBError* error) override;
    // A null-terminated list of rows: with "InsertRowsPerStatement" and a
    // plain INSERT as statements of several rows each, else as parameter
    // arrays of at most "ParamArraySize" rows each. Without either: -1,
    // nothing touched.
    int execute(const RowInternal2** rows, DBError* error) override;
    int execute(std::vector<DataTypes::DataValue>& values, std::vector<unsigned int>& types,
                DBError* error) override;
    int execute(DBError* error) override;
    int nextResultSet(bool& more, DBError* error) override;
    // Moves the cursor: the only call that does.
    int hasMoreData(bool& more, DBError* error) override;
    RowInternal2* nextRow(DBError* error) override;
    int nextRow(std::vector<DataTypes::DataValue>& values, DBError* error) override;
    int nextCount(int& count, DBError* error) override;

    // Closes the cursor and drops all bindings; the statement stays prepared.
    int close(DBError* error);
    // Binds parameter `index` (zero-based) from a packed value; null binds NULL.
    int bindParameter(unsigned long index, const void* value, unsigned int& word, DBError* error);
    // A new row of `size` bytes from the offsets and lengths of the last read.
    RowInternal2* packValues(const std::vector<void*>& values, unsigned long size, DBError* error);

    template <ColumnKind K>
    int getDataColumn(unsigned long column, void* target, long& length, DBError* error);

    // True when the statement reads several rows per SQLFetch ("FetchArraySize").
    bool readsBlocks() const { return rowBlock != nullptr; }

    // Rows a multi-row statement of the multi-row execute carries; 0 while
    // the rows go as arrays or one at a time.
    size_t rowsPerInsert() const { return insertRows; }

    // The driver manager freed the handle with its connection.
    void forgetHandle();

private:
    // What the driver reads at SQLExecute for one parameter: its length or
    // indicator and the converted value, kept apart per parameter so that a
    // second parameter of a kind doesn't overwrite the first.
    struct BindSlot {
        SQLLEN length;
        SQL_TIMESTAMP_STRUCT timestamp;
        SQL_TIME_STRUCT time;
        char text[64];
        unsigned char* block;  // packed copy of a DataValue binary, owned
    };
    void releaseBindBlocks();

    // Row blocks (see PreparedStatement2OdbcBlock.cpp).
    void setUpRowBlock();
    void dropRowBlock();
    bool bindRowBlock();
    int fetchBlock(bool& more, DBError* error);
    RowInternal2* packBlockRow(DBError* error);
    int blockValues(std::vector<DataTypes::DataValue>& values, DBError* error);
    // Puts the driver's cursor on the block's current row, so that the row
    // path's fetchers can read a cell the block couldn't give as they do;
    // false when the driver can't go there.
    bool positionOnBlockRow();
    // Back to whole blocks after positionOnBlockRow moved the cursor.
    bool resumeBlocks();
    // Column `j` of the current row into `value`, as the row path reads it.
    int fetchValue(size_t j, DataTypes::DataValue& value, DBError* error);
    // Parameter arrays.
    int executeChunk(const RowInternal2* const* rows, size_t count, size_t first, DBError* error);
    int runArrays(size_t count, size_t first, DBError* error);
    // Fills the block's columns from `count` rows, the arrays' and the
    // multi-row statements' alike. `keepStrides` never narrows a column, so
    // that its buffer stays where it was bound. Returns the rows filled: fewer
    // than `count` when a row's date can't be converted, which is that row.
    size_t fillParamColumns(const RowInternal2* const* rows, size_t count, bool keepStrides);
    // Binds row `row` of the block's column `parameter` as marker `number`.
    SQLRETURN bindParamColumn(SQLHSTMT handle, SQLUSMALLINT number, size_t parameter, size_t row);
    bool bindsBinary(size_t parameter) const;
    // Multi-row statements (see PreparedStatement2OdbcInserts.cpp).
    bool insertsInGroups();
    int insertGroup(const RowInternal2* const* rows, size_t count, size_t first, DBError* error);
    int runGroup(size_t count, size_t first, DBError* error);
    void releaseGroups();

    int executeBound(DBError* error);
    // A row whose offsets or values lie outside its own size: "packed row
    // shorter than its offset table" or "packed row value outside the row", -1.
    int checkRow(const RowInternal2* row, DBError* error) const;
    // The packed value of the row that feeds parameter `s`; null for NULL.
    const void* valueInRow(const RowInternal2* row, const DATA_XFER_SETTINGS& s) const;
    int failGetData(SQLRETURN rc, DBError* error);
    bool fixedLengthFits(unsigned int word, long length, DBError* error);
    void freeBlock(unsigned long column);

    std::string sql;
    SQLHSTMT stmt = SQL_NULL_HSTMT;
    std::vector<DATA_XFER_SETTINGS> parameters;
    std::vector<DATA_XFER_SETTINGS> columns;
    std::vector<ColumnKind> kinds;
    std::vector<Fetcher> fetchers;  // follow the kinds
    std::vector<std::string> columnNames;
    int32_t bound = 0;
    // -1 right after an execute, then the current result set. Before the
    // first execute it is -2, so that a read says "no data".
    int32_t resultState = -2;
    std::vector<unsigned int> columnTypes;
    std::vector<DataTypes::DataValue> rowValues;
    std::vector<void*> valueBuffers;
    std::vector<int> offsets;
    std::vector<long> lengths;
    Connection2Odbc* connection;  // not owned
    std::vector<BindSlot> bindSlots;  // one per parameter
    // Several rows per SQLFetch; null when the statement reads one at a time.
    std::unique_ptr<RowBlock> rowBlock;
    // Buffers of the parameter arrays; made at the first multi-row execute.
    std::unique_ptr<ParamBlock> paramBlock;
    // The multi-row statements of a plain INSERT; made at the first multi-row
    // execute with "InsertRowsPerStatement", whether or not the text qualifies.
    std::unique_ptr<InsertGroups> inserts;
    size_t insertRows = 0;  // see rowsPerInsert()
};

template <> int PreparedStatement2Odbc::getDataColumn<ColumnKind::Timestamp>(unsigned long, void*, long&, DBError*);
template <> int PreparedStatement2Odbc::getDataColumn<ColumnKind::DecimalText>(unsigned long, void*, long&, DBError*);
template <> int PreparedStatement2Odbc::getDataColumn<ColumnKind::Text>(unsigned long, void*, long&, DBError*);
template <> int PreparedStatement2Odbc::getDataColumn<ColumnKind::Binary>(unsigned long, void*, long&, DBError*);
template <> int PreparedStatement2Odbc::getDataColumn<ColumnKind::Date>(unsigned long, void*, long&, DBError*);
template <> int PreparedStatement2Odbc::getDataColumn<ColumnKind::Bit>(unsigned long, void*, long&, DBError*);
template <> int PreparedStatement2Odbc::getDataColumn<ColumnKind::Double>(unsigned long, void*, long&, DBError*);
template <> int PreparedStatement2Odbc::getDataColumn<ColumnKind::Int64>(unsigned long, void*, long&, DBError*);
template <> int PreparedStatement2Odbc::getDataColumn<ColumnKind::Int32>(unsigned long, void*, long&, DBError*);

}}}} // namespace KORVEL::Orl::DB::ODBC
