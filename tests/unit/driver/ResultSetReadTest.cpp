// ODBC forms back into host values: the date structures, the positional time
// parse, string and binary buffers, and which failures cost the row.
#include <sqlext.h>

#include <cstring>

#include "ClassicScript.h"
#include "host/ResultSet.h"
#include "host/Row.h"

namespace classicunit {
namespace {

class ResultSetRead : public Classic {
protected:
    // Runs the script and fetches its first row.
    ResultSet* open(const std::string& script) {
        std::vector<Parameter> none;
        ResultSet* rs = nullptr;
        EXPECT_EQ(1, conn.executeQuery(script, none, 0, rs)) << script;
        bool more = false;
        EXPECT_EQ(1, rs->next(more));
        EXPECT_TRUE(more) << script;
        return rs;
    }
    // Reads the one column of `script` as `type`: the status, the value in `v`.
    int readOne(const std::string& script, unsigned int type, DataValue& v) {
        Row* row = nullptr;
        int status = open(script)->getData(RowDescriptor({type}), row);
        if (row) v = row->getColumnValue(0);
        delete row;
        return status;
    }
};

// The scripted ts column holds 2024-02-29 23:59:58.123, the time column 23:59:58.
TEST_F(ResultSetRead, DateFamiliesAndTimeByTheColumnsSqlType) {
    const struct {
        const char* script;
        unsigned int type;
        int64_t value;
        const char* log;
    } rows[] = {
        {"col=t:92:8:time", 8, 86398000, nullptr},               // a time is read on 1970-01-01
        {"col=t:93:23:ts", 27, 1709251198123000, nullptr},       // microseconds kept
        {"col=t:93:23:ts", 8, 1709251198123, nullptr},           // milliseconds kept
        {"col=t:93:23:ts", 4, 1709251198, nullptr},              // the fraction dropped
        {"col=t:93:23:ts", 29, 86398, nullptr},                  // time of a timestamp
        {"col=t:92:8:time", 29, 86398, nullptr},                 // time of a time
        {"col=t:12:8:num:12-00-00", 29, 0, nullptr},             // an unknown layout stays
        // Wide text goes by position: the separators are not looked at.
        {"col=t:-9:8:num:12-34-56", 29, 45296, nullptr},
        {"col=t:-9:8:num:7-00-00", 29, 0, "801032-3_ERROR_PARSING_COLUMN_VALUE|1"},  // short: kept, unwritten
        {"col=t:-9:8:num:ab-00-00", 29, -3600, nullptr},         // a junk field counts -1
        {"col=t:-9:8:num:00-00-0x", 29, -1, nullptr},            // "0x" is junk, not zero
        {"col=t:-9:12:num:23-59-59.999", 29, 86399, nullptr},
    };
    for (const auto& r : rows) {
        log.clear();
        DataValue v;
        ASSERT_EQ(1, readOne(r.script, r.type, v)) << r.script << " as " << r.type;
        EXPECT_FALSE(v.isNull) << r.script;
        EXPECT_EQ(r.value, v.int64Value) << r.script << " as " << r.type;
        EXPECT_EQ(r.log ? std::vector<std::string>{r.log} : std::vector<std::string>{}, log) << r.script;
    }
}

TEST_F(ResultSetRead, StringsEndAtZeroAndBinariesKeepEveryByte) {
    Row* row = nullptr;
    ResultSet* rs = open("col=s:12:5:text:5:zeroat=2;col=b:-3:5:bin:5;col=n:12:5:text:5:nullrow=-1");
    ASSERT_EQ(1, rs->getData(RowDescriptor({5, 28, 5}), row));
    EXPECT_STREQ("ab", row->getColumnValue(0).stringValue);
    ASSERT_EQ(5u, row->getColumnValue(1).binaryValue.length);
    EXPECT_EQ(0, std::memcmp("\0\1\2\3\4", row->getColumnValue(1).binaryValue.data, 5));
    EXPECT_TRUE(row->getColumnValue(2).isNull);
    delete row;
}

// Every cell passes through the one store of the result set: a short value
// behind a long one, a NULL, a binary and a date carry nothing of the cell
// before them, on every row.
TEST_F(ResultSetRead, CellsShareNothingThroughTheResultSetsStore) {
    ResultSet* rs = open("rows=3;col=l:12:3000:text:3000;col=s:12:5:text:5;col=n:12:5:text:5:nullrow=-1;"
                         "col=b:-3:3:bin:3;col=t:93:23:ts;col=e:12:0:text:0;col=h:-1:100000:text:100000");
    std::string longText(3000, ' '), hugeText(100000, ' ');
    for (size_t i = 0; i < hugeText.size(); ++i) hugeText[i] = static_cast<char>('a' + i % 26);
    longText = hugeText.substr(0, 3000);
    for (int k = 0; k < 3; ++k) {
        if (k > 0) {
            bool more = false;
            ASSERT_EQ(1, rs->next(more));
            ASSERT_TRUE(more);
        }
        Row* row = nullptr;
        // The huge value comes last in a row and first after it: the store gives
        // its room back in between.
        ASSERT_EQ(1, rs->getData(RowDescriptor({5, 5, 5, 28, 8, 5, 5}), row)) << "row " << k;
        EXPECT_EQ(longText, row->getColumnValue(0).stringValue);
        EXPECT_STREQ("abcde", row->getColumnValue(1).stringValue);
        EXPECT_TRUE(row->getColumnValue(2).isNull);
        ASSERT_EQ(3u, row->getColumnValue(3).binaryValue.length);
        EXPECT_EQ(0, std::memcmp("\0\1\2", row->getColumnValue(3).binaryValue.data, 3));
        EXPECT_EQ(1709251198123, row->getColumnValue(4).int64Value);
        EXPECT_STREQ("", row->getColumnValue(5).stringValue);
        EXPECT_EQ(hugeText, row->getColumnValue(6).stringValue);
        delete row;
    }
}

TEST_F(ResultSetRead, FailuresThatCostTheRow) {
    const struct {
        const char* name;
        const char* column;
        unsigned int type;
        std::vector<std::string> log;  // by prefix
    } rows[] = {
        {"failed read", "col=i:-7:1:num:1", 5,
         {"801013-3_ERROR_GETTING_COLUMN_VALUE|2 ", "801014-4_COLUMN_VALUE_ERROR_RESULT_ROW_SKIPPED|"}},
        {"unknown word", "col=i:4:10:num:1", 6, {"801014-4_COLUMN_VALUE_ERROR_RESULT_ROW_SKIPPED|"}},
    };
    for (const auto& r : rows) {
        ResultSet* rs = open(std::string("rows=2;col=s:12:5:text:5;") + r.column);
        log.clear();
        Row* row = reinterpret_cast<Row*>(1);
        EXPECT_EQ(3, rs->getData(RowDescriptor({5, r.type}), row)) << r.name;
        EXPECT_EQ(nullptr, row) << r.name;  // the string already read went with the row
        ASSERT_EQ(r.log.size(), log.size()) << r.name;
        for (size_t i = 0; i < log.size(); ++i) EXPECT_EQ(0u, log[i].find(r.log[i])) << r.name << ": " << log[i];
        // The cursor survives: the next row reads.
        bool more = false;
        EXPECT_EQ(1, rs->next(more));
        EXPECT_EQ(1, rs->getData(RowDescriptor({5}), row)) << r.name;
        delete row;
    }
    // Counts of a long read that no complete value can have: a count of what
    // is left that doesn't shrink, and an unknown total on a read that calls
    // itself complete. Both would be read again without end.
    for (const char* column : {"col=t:12:20000:text:20000:lie=30000", "col=t:12:20:text:5:lie=-4"}) {
        std::vector<Parameter> none;
        ResultSet* failing = nullptr;
        ASSERT_EQ(1, conn.executeQuery(column, none, 0, failing));
        log.clear();
        bool more = true;
        EXPECT_EQ(3, failing->next(more)) << column;
        ASSERT_EQ(1u, log.size()) << column;
        EXPECT_EQ(0u, log[0].find("801012-3_ERROR_ITERATING_THROUGH_RESULT_SET|")) << log[0];
    }
    // A column beyond the row: logged with its number.
    ResultSet* rs = open("col=s:12:5:text:5");
    log.clear();
    DataValue v;
    EXPECT_EQ(3, rs->getColumn(2, 1, v));
    EXPECT_EQ(std::vector<std::string>{"801013-3_ERROR_GETTING_COLUMN_VALUE|2 "}, log);
}

} // namespace
} // namespace classicunit

namespace classicunit {
namespace {

// A session the driver reports lost at the end of its transaction: commit and
// rollback fail with their ids and the driver's words, and close still releases.
TEST(ClassicLostSession, TransactionEndsFailWithTheDriversText) {
    orltest::ScriptDsn::Instance();
    std::vector<std::string> lines;
    LogServiceImpl::setSink([&](const std::string& id, const std::string& t) { lines.push_back(id + "|" + t); });
    {
        OdbcConnection lost{orltest::ScriptDsn::kDsn, "", "lost", "pw", false};
        ASSERT_EQ(1, lost.open()) << lost.lastErrors;
        EXPECT_EQ(3, lost.commit());
        EXPECT_EQ(3, lost.rollback());
        ASSERT_EQ(2u, lines.size());
        EXPECT_EQ(0u, lines[0].find("801002-3_ERROR_COMMITTING_TRANSACTION|")) << lines[0];
        EXPECT_EQ(0u, lines[1].find("801003-3_ERROR_ROLLING_BACK_TRANSACTION|")) << lines[1];
        for (const std::string& l : lines) EXPECT_NE(std::string::npos, l.find("[08S01]")) << l;
        lost.close();
    }
    LogServiceImpl::setSink(nullptr);
}

} // namespace
} // namespace classicunit
