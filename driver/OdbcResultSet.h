// The cursor over an executed OdbcStatement's rows. It has no cursor or cache
// of its own: everything is read from the statement's ODBC query. Statuses are
// the host's: 1 success, 3 failure. getColumnName, getColumnType and
// getColumnInfo count columns from 0; getColumn and getColumnX from 1.
#pragma once
#include <string>

#include "host/ResultSet.h"
#include "odbc/ByteStore.h"
#include "odbc/Odbc.h"

namespace KORVEL { namespace Orl { namespace DB {

class OdbcStatement;

class OdbcResultSet : public ResultSet {
public:
    explicit OdbcResultSet(OdbcStatement& statement);
    ~OdbcResultSet() override;

    // Nothing to release: the statement owns the cursor. Always 1.
    int close() override;
    int next(bool& hasRow) override;
    // A new Row for the caller, converted by the descriptor's type words. A
    // value that can't be read costs the row: status 3, a null row, and the
    // cursor stays usable.
    int getData(const RowDescriptor& descriptor, Row*& row) override;
    int getNumColumns(int& count) override;
    int getColumnInfo(int column, std::string& name, unsigned int& type) override;
    int getColumnName(int column, std::string& name) override;
    int getColumnType(int column, unsigned int& type) override;
    // Dispatch by the low byte of the type word; 3 without a log line for a
    // word no reader takes. String and binary buffers come from new[] and
    // belong to the caller.
    int getColumn(int column, unsigned int type, DataTypes::DataValue& value) override;
    int getColumnInt16(int column, DataTypes::DataValue& value) override;
    int getColumnInt32(int column, DataTypes::DataValue& value) override;
    int getColumnInt64(int column, DataTypes::DataValue& value) override;
    int getColumnDouble(int column, DataTypes::DataValue& value) override;
    int getColumnDate(int column, DataTypes::DataValue& value) override;
    int getColumnString(int column, DataTypes::DataValue& value) override;
    int getColumnMoney(int column, unsigned int type, DataTypes::DataValue& value) override;
    int getColumnTimestamp(int column, DataTypes::DataValue& value) override;
    int getColumnBoolean(int column, DataTypes::DataValue& value) override;
    int getColumnInterval(int column, DataTypes::DataValue& value) override;
    int getColumnBigDateTime(int column, DataTypes::DataValue& value) override;
    int getColumnTime(int column, DataTypes::DataValue& value) override;
    int getColumnFixedDecimal(int column, unsigned int type, DataTypes::DataValue& value) override;
    int getColumnBinary(int column, DataTypes::DataValue& value) override;

    // strtol of a time field; junk gives -1, "0" and "00" give 0.
    int safeTimeAtoi(const char* text);

private:
    ODBC::OdbcStmt* query();
    // The column's cell, or null after logging "801013-3_ERROR_GETTING_COLUMN_VALUE".
    ODBC::OdbcCol* cell(int column);
    // Steps 3 and 4 of every reader: 1 for a NULL (flag set), 3 for a failure
    // (logged), 0 to go on with a value (flag cleared).
    int settle(ODBC::e_Status status, int column, ODBC::OdbcCol* col, DataTypes::DataValue& value);
    // A reader of a fixed-size C value: fetch it as T, settle, then store it.
    template <typename T, typename Store>
    int readScalar(int column, DataTypes::DataValue& value, Store store);
    // The column's bytes as the driver gave them, and its SQL type; settles
    // NULL and failure as every reader does.
    int readRaw(int column, DataTypes::DataValue& value, ODBC::ByteStore& store, short& sqlType);
    int getColumnDateText(int column, unsigned int type, DataTypes::DataValue& value);
    int getColumnDecimalText(int column, unsigned int type, DataTypes::DataValue& value);

    // The store every reader that takes a cell's bytes as a ByteStore uses:
    // one buffer for all cells and rows, so that a row costs no allocation
    // beyond the buffers its Row takes over. Reach it by scratchStore().
    ODBC::ByteStore scratch;
    // The scratch store, emptied and with its room given back when a long
    // value left more than 64 KiB of it.
    ODBC::ByteStore& scratchStore();
};

}}} // namespace KORVEL::Orl::DB
