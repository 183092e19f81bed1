// Stand-ins for the ODBC object layer, so the classic statement and result set
// can be driven without a driver: parameters record what they were given,
// columns hand out what a test put in them.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "odbc/ByteStore.h"
#include "odbc/Odbc.h"

namespace fakeodbc {

using namespace KORVEL::Orl::DB::ODBC;

// No diagnostics: getOdbcError gives "".
#define FAKE_NO_INFO                                                        \
    bool HasInfo() override { return false; }                               \
    void GetInfo(std::string&, long&, std::string&) override {}             \
    void DumpInfo(const char*) override {}                                  \
    void DumpInfo(std::ostringstream& s) override { s << std::ends; }

struct FakeParam : public OdbcParam {
    FAKE_NO_INFO
    short sqlType = -99, decimalDigits = -99, cType = -99, direction = -99;
    unsigned int columnSize = 12345;
    int length = -99;
    std::string kind;  // which SetData form was called last
    std::string text;  // the bytes of a ByteStore or a string/binary value
    long number = 0;   // integral forms
    double real = 0;
    tagTIMESTAMP_STRUCT stamp{};
    tagTIME_STRUCT time{};
    bool isNull = false;

    e_Status SetSqlType(short t, unsigned int size, short digits) override {
        sqlType = t, columnSize = size, decimalDigits = digits;
        return Status_Ok;
    }
    e_Status SetCType(short t, int len) override {
        cType = t, length = len;
        return Status_Ok;
    }
    e_Status SetDirection(short d) override {
        direction = d;
        return Status_Ok;
    }
    e_Status SetData() override { return Status_Error; }
    e_Status Took(const char* k, bool n) {
        kind = k, isNull = n;
        return Status_Ok;
    }
    e_Status SetData(bool v, bool n) override { number = v; return Took("bool", n); }
    e_Status SetData(char v, bool n) override { number = v; return Took("char", n); }
    e_Status SetData(short v, bool n) override { number = v; return Took("short", n); }
    e_Status SetData(int v, bool n) override { number = v; return Took("int", n); }
    e_Status SetData(long v, bool n) override { number = v; return Took("long", n); }
    e_Status SetData(unsigned char v, bool n) override { number = v; return Took("uchar", n); }
    e_Status SetData(unsigned short v, bool n) override { number = v; return Took("ushort", n); }
    e_Status SetData(unsigned int v, bool n) override { number = v; return Took("uint", n); }
    e_Status SetData(unsigned long v, bool n) override { number = static_cast<long>(v); return Took("ulong", n); }
    e_Status SetData(double v, bool n) override { real = v; return Took("double", n); }
    e_Status SetData(ByteStore* v, bool, bool n) override {
        text.assign(v->Text(), v->Size());
        return Took("bytes", n);
    }
    e_Status SetData(unsigned int type, const DataTypes::DataValue& v, bool n) override {
        if (!n && type == 5) text = v.stringValue;
        if (!n && type == 28) text.assign(reinterpret_cast<char*>(v.binaryValue.data), v.binaryValue.length);
        return Took(type == 5 ? "string" : "binary", n);
    }
    e_Status SetData(const tagTIMESTAMP_STRUCT& v, bool n) override { stamp = v; return Took("timestamp", n); }
    e_Status SetData(const tagTIME_STRUCT& v, bool n) override { time = v; return Took("time", n); }
    // Parameters are only written here.
#define FAKE_REJECT(T) \
    e_Status GetData(T&) override { return Status_Error; }
    FAKE_REJECT(char) FAKE_REJECT(bool) FAKE_REJECT(short) FAKE_REJECT(int) FAKE_REJECT(long)
    FAKE_REJECT(unsigned char) FAKE_REJECT(unsigned short) FAKE_REJECT(unsigned int) FAKE_REJECT(unsigned long)
    FAKE_REJECT(double) FAKE_REJECT(tagTIMESTAMP_STRUCT) FAKE_REJECT(tagTIME_STRUCT)
    e_Status GetData(ByteStore*) override { return Status_Error; }
    e_Status GetSqlType(short&, unsigned int&, short&) override { return Status_Error; }
    e_Status GetCType(short&, int&) override { return Status_Error; }
    e_Status GetDirection(short&) override { return Status_Error; }
};

// A column holding raw bytes under an SQL type; null when `isNull`.
struct FakeCol : public OdbcCol {
    FAKE_NO_INFO
    short sqlType = 12;
    std::string bytes;
    bool isNull = false;
    e_Status readStatus = Status_Ok;  // what GetData answers for a value

    e_Status GetName(std::string& n) override { n = "c"; return Status_Ok; }
    e_Status GetCType(short& t) override { t = 1; return Status_Ok; }
    e_Status GetSqlType(short& t, unsigned int& size, short& digits) override {
        t = sqlType, size = 0, digits = 0;
        return Status_Ok;
    }
    template <typename T>
    e_Status Give(T& out) {
        if (isNull) return Status_Null;
        if (readStatus != Status_Ok) return readStatus;
        out = static_cast<T>(std::stol(bytes));
        return Status_Ok;
    }
#define FAKE_GIVE(T) \
    e_Status GetData(T& v) override { return Give(v); }
    FAKE_GIVE(bool) FAKE_GIVE(char) FAKE_GIVE(short) FAKE_GIVE(int) FAKE_GIVE(long) FAKE_GIVE(unsigned char)
    FAKE_GIVE(unsigned short) FAKE_GIVE(unsigned int) FAKE_GIVE(unsigned long) FAKE_GIVE(double)
    e_Status GetData(ByteStore* v) override {
        v->Truncate(0, false);
        if (isNull) return Status_Null;
        if (readStatus != Status_Ok) return readStatus;
        v->Append(bytes.data(), static_cast<unsigned int>(bytes.size()));
        return Status_Ok;
    }
    FAKE_REJECT(tagTIMESTAMP_STRUCT) FAKE_REJECT(tagTIME_STRUCT)
};

// A prepared statement with `params` markers and one row of `cols`.
struct FakeStmt : public OdbcStmt {
    FAKE_NO_INFO
    std::vector<std::unique_ptr<FakeParam>> params;
    std::vector<std::unique_ptr<FakeCol>> cols;
    int rowsLeft = 1;
    int executions = 0;
    int batchSize = 0;
    std::vector<e_Status> rowStatusCalls;  // per row: what GetBatchParamStatus answers
    e_Status closeStatus = Status_Ok;

    explicit FakeStmt(int markers = 0, int columns = 0) {
        for (int i = 0; i < markers; ++i) params.emplace_back(new FakeParam);
        for (int i = 0; i < columns; ++i) cols.emplace_back(new FakeCol);
    }
    FakeParam& param(int zeroBased) { return *params.at(zeroBased); }
    FakeCol& col(int zeroBased) { return *cols.at(zeroBased); }

    e_Status MaxRows(int) override { return Status_Ok; }
    e_Status Fetch() override { return rowsLeft-- > 0 ? Status_Ok : Status_NoData; }
    e_Status MoreResults() override { return Status_NoData; }
    e_Status GetColumnName(int c, std::string& n) override {
        if (c < 1 || c > static_cast<int>(cols.size())) return Status_Error;
        n = "c" + std::to_string(c);
        return Status_Ok;
    }
    e_Status GetColumnType(int c, int& t) override {
        if (c < 1 || c > static_cast<int>(cols.size())) return Status_Error;
        t = cols[c - 1]->sqlType;
        return Status_Ok;
    }
    e_Status GetColumnCount(int& n) override { n = static_cast<int>(cols.size()); return Status_Ok; }
    OdbcCol* GetColumn(int c) override {
        return c >= 1 && c <= static_cast<int>(cols.size()) ? cols[c - 1].get() : nullptr;
    }
    e_Status SetSql(const std::string&, bool) override { batchSize = 0; return Status_Ok; }
    e_Status Parse() override { return Status_Ok; }
    e_Status Execute() override { ++executions; return Status_Ok; }
    e_Status Close() override { return closeStatus; }
    e_Status RowCount(long& rows) override { rows = 0x100000002L; return Status_Ok; }
    OdbcParam* GetParam(int i) override {
        return i >= 1 && i <= static_cast<int>(params.size()) ? params[i - 1].get() : nullptr;
    }
    e_Status IncrementBatchSize() override { ++batchSize; return Status_Ok; }
    e_Status GetBatchSize(int& n) override { n = batchSize; return Status_Ok; }
    e_Status GetBatchParamStatus(int row, int& status) override {
        if (row < static_cast<int>(rowStatusCalls.size()) && rowStatusCalls[row] != Status_Ok) return Status_Error;
        status = 0;
        return Status_Ok;
    }
};

} // namespace fakeodbc
