// Block transfers against the scripted driver: how the two properties are
// read, the fallback when the driver can't bind columns, and the parameter
// arrays' chunks, statuses and failing rows.
#include "BulkFixture.h"

#include <cstring>

namespace bulktest {
namespace {

using namespace DataTypes;

class Blocks : public Bulk {
protected:
    // A connection whose two block properties are `value` (null: unset).
    Connection2Odbc* openWith(const char* value) {
        open("orl", false);
        if (value) {
            connection->setConnectionProperty("FetchArraySize", value);
            connection->setConnectionProperty("ParamArraySize", value);
        }
        EXPECT_EQ(0, connection->connect(&error)) << said(error);
        return connection;
    }
};

TEST_F(Blocks, PropertiesAreRowCountsAndAnythingElseLeavesBlocksOff) {
    const std::pair<const char*, unsigned long> cases[] = {
        {nullptr, 1}, {"", 1}, {"0", 1}, {"1", 1}, {"2", 2}, {"1024", 1024}, {"-5", 1}, {"8x", 1}, {" 8", 1},
        {"65536", 65536}, {"65537", 65536}, {"99999999999999999999999", 65536},
    };
    for (const auto& c : cases) {
        openWith(c.first);
        EXPECT_EQ(c.second, connection->fetchArraySize()) << (c.first ? c.first : "unset");
        EXPECT_EQ(c.second, connection->paramArraySize()) << (c.first ? c.first : "unset");
        PreparedStatement2Odbc* st = prepare("col=a:4:10:num:7;rows=3");
        ASSERT_NE(nullptr, st);
        EXPECT_EQ(c.second > 1, st->readsBlocks()) << (c.first ? c.first : "unset");
    }
}

TEST_F(Blocks, ADriverWithoutColumnBindingReadsRowByRow) {
    // The scripted driver has no SQLBindCol: the first fetch finds out, puts
    // the statement back to one row per fetch and reads on.
    for (const char* value : {static_cast<const char*>(nullptr), "8"}) {
        openWith(value);
        size_t m = mark();
        PreparedStatement2Odbc* st = query("col=a:4:10:num:7;col=b:12:10:text:3;rows=3");
        ASSERT_NE(nullptr, st);
        EXPECT_FALSE(st->readsBlocks());
        // Bind type, array size, rows-fetched and row-status pointers at
        // prepare; at the refused binding the size back to 1 and the pointers cleared.
        std::vector<std::string> attributes;
        for (const std::string& line : since(m, "setstmtattr")) {
            const bool pointer = line.find("attr=25 ") != std::string::npos || line.find("attr=26 ") != std::string::npos;
            attributes.push_back(pointer && line.substr(line.size() - 8) != " value=0" ? line.substr(0, line.find(" value"))
                                                                                      : line);
        }
        if (value) {
            EXPECT_EQ((std::vector<std::string>{"setstmtattr attr=5 value=0", "setstmtattr attr=27 value=8",
                                                "setstmtattr attr=26", "setstmtattr attr=25",
                                                "setstmtattr attr=27 value=1", "setstmtattr attr=26 value=0",
                                                "setstmtattr attr=25 value=0"}),
                      attributes);
        } else {
            EXPECT_TRUE(attributes.empty()) << "without the property nothing more is asked of the driver";
        }
        bool more = true;
        for (int k = 0; k < 3; ++k) {
            if (k) {
                ASSERT_EQ(0, st->hasMoreData(more, &error)) << said(error);
            }
            ASSERT_TRUE(more);
            RowPtr row(st->nextRow(&error));
            ASSERT_NE(nullptr, row) << said(error);
            EXPECT_EQ(7, *reinterpret_cast<int32_t*>(columnOf(row.get(), 0)));
            EXPECT_STREQ("abc", reinterpret_cast<const char*>(columnOf(row.get(), 1)));
        }
        EXPECT_EQ(0, st->hasMoreData(more, &error));
        EXPECT_FALSE(more);
    }
}

// Every row of a scripted query, as packed bytes or as the failure's text, on
// a connection with FetchArraySize `value` (null: unset).
struct Read {
    std::vector<std::string> rows;
    bool blocks = false;
    std::vector<std::string> fetches;  // the driver's fetch and scroll lines
};

class BoundBlocks : public Blocks {
protected:
    Read readAll(const char* value, const std::string& sql) {
        Read out;
        openWith(value);
        const size_t m = mark();
        PreparedStatement2Odbc* st = query(sql);
        if (st == nullptr) return out;
        out.blocks = st->readsBlocks();
        // query() fetched the first row.
        for (bool more = true; more; more = st->hasMoreData(more, &error) == 0 && more) {
            RowPtr row(st->nextRow(&error));
            out.rows.push_back(row ? std::string(reinterpret_cast<const char*>(row.get()), rowSize(row.get()))
                                   : "failed " + said(error));
        }
        out.fetches = since(m, "fetch");
        return out;
    }
};

TEST_F(BoundBlocks, BlocksReadWhatRowsReadWhereTheDriverAllows) {
    // Ten rows of (integer, text of 5, decimal); row 3's text is 200 bytes,
    // past the block's room.
    const std::string columns = ";rows=10;col=a:4:10:num:7;col=b:12:20:text:5:longrow=3;col=d:2:12:num:12.5";
    struct Case {
        const char* name;
        const char* script;
        bool blocks;
        std::vector<std::string> fetches;
    };
    const Case cases[] = {
        {"the cut cell read again after a scroll to its row", "bind;scroll", true,
         {"fetch rows=4 from=0 rc=1", "fetchscroll absolute=4", "fetch rows=4 from=4 rc=0", "fetch rows=2 from=8 rc=0"}},
        {"fewer rows than asked", "bind;scroll;short=3", true,
         // The cursor goes back to the block's last row before the next block.
         {"fetch rows=3 from=0 rc=0", "fetch rows=3 from=3 rc=1", "fetchscroll absolute=4", "fetchscroll absolute=6",
          "fetch rows=3 from=6 rc=0", "fetch rows=1 from=9 rc=0"}},
        {"a refused row array size", "bind;scroll;refuse=27", false, {}},
        {"a refused column binding", "scroll", false, {}},
    };
    const Read want = readAll(nullptr, std::string("scroll") + columns);
    ASSERT_EQ(10u, want.rows.size());
    EXPECT_FALSE(want.blocks);
    for (const Case& c : cases) {
        const Read got = readAll("4", c.script + columns);
        EXPECT_EQ(c.blocks, got.blocks) << c.name;
        EXPECT_EQ(want.rows, got.rows) << c.name;
        if (c.blocks) {
            EXPECT_EQ(c.fetches, got.fetches) << c.name;
        }
    }
    EXPECT_EQ(want.rows[2].size() + 195, want.rows[3].size()) << "row 3 carries the whole text";
}

TEST_F(BoundBlocks, RowsTheDriverCantGiveFailAloneAndTheOthersAreServed) {
    const std::string columns = ";rows=10;col=a:4:10:num:7;col=b:12:20:text:5:longrow=3";
    const Read want = readAll(nullptr, std::string("bind") + columns);
    // A row the status array marks failed, with the driver's record.
    Read got = readAll("4", "bind;rowerror=5" + columns);
    EXPECT_TRUE(got.blocks);
    ASSERT_EQ(10u, got.rows.size());
    // Nor can a driver that neither scrolls nor positions in a block give
    // the cut cell again: its row fails as truncated.
    Read cut = readAll("4", "bind" + columns);
    ASSERT_EQ(10u, cut.rows.size());
    for (size_t k = 0; k < 10; ++k) {
        if (k == 5) {
            EXPECT_EQ("failed odbc|[-1][HY000]scripted row failure", got.rows[k]);
        } else if (k != 3) {
            EXPECT_EQ(want.rows[k], got.rows[k]) << k;
        }
        if (k == 3) {
            EXPECT_EQ("failed odbc|[1][01004]String data, right truncated", cut.rows[k]);
        } else {
            EXPECT_EQ(want.rows[k], cut.rows[k]) << k;
        }
    }
}

TEST_F(Blocks, ArraysGoInChunksAndNameTheFailingRow) {
    openWith("4");
    DataValue text;
    text.stringValue = const_cast<char*>("abc");
    text.isNull = false;
    // Nine rows of (integer, text); every third text is NULL.
    std::vector<RowPtr> rows;
    std::vector<const RowInternal2*> list;
    for (int64_t k = 0; k < 9; ++k) {
        DataValue t = text;
        t.isNull = k % 3 == 2;
        rows.push_back(makeRow({{LONG, int64Value(k)}, {STRING, t}}));
        list.push_back(rows.back().get());
    }
    list.push_back(nullptr);
    std::vector<int> columns = {0, 1};
    const unsigned int words[] = {LONG, STRING};
    for (const char* sql : {"insert ? ?", "insert ? ?;failrow=2"}) {
        PreparedStatement2Odbc* st = prepare(sql);
        ASSERT_NE(nullptr, st);
        ASSERT_EQ(0, st->setBindings(columns, words, &error));
        size_t m = mark();
        if (std::strstr(sql, "failrow")) {
            EXPECT_EQ(-1, st->execute(list.data(), &error));
            const std::string text = said(error);
            EXPECT_EQ(" (row 2)", text.substr(text.size() - 8)) << text;
            EXPECT_EQ(since(m, "execute param=2"), (std::vector<std::string>{"execute param=2 paramset=4 ind= 3 3 -1 3"}));
            continue;
        }
        ASSERT_EQ(0, st->execute(list.data(), &error)) << said(error);
        EXPECT_EQ(since(m, "execute param=2"), (std::vector<std::string>{"execute param=2 paramset=4 ind= 3 3 -1 3",
                                                                        "execute param=2 paramset=4 ind= 3 -1 3 3",
                                                                        "execute param=2 paramset=1 ind= -1"}));
        // A single row afterwards is one row again.
        m = mark();
        ASSERT_EQ(0, st->execute(list[0], &error)) << said(error);
        EXPECT_EQ(since(m, "execute param=2"), (std::vector<std::string>{"execute param=2 paramset=1 ind= 3"}));
    }
}

} // namespace
} // namespace bulktest
