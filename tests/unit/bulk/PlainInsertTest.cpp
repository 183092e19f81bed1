// The recogniser of the INSERT form whose rows may share a statement: what
// it takes, with the head it keeps and the markers it counts, and what it
// leaves to the slower path.
#include <gtest/gtest.h>

#include "bulk/internal/PlainInsert.h"

namespace bulktest {
namespace {

using KORVEL::Orl::DB::ODBC::PlainInsert;
using KORVEL::Orl::DB::ODBC::multiRowInsert;
using KORVEL::Orl::DB::ODBC::parsePlainInsert;

struct Case {
    const char* sql;
    const char* head;  // null: refused
    size_t markers;
};

void check(const Case& c) {
    PlainInsert got;
    const bool taken = parsePlainInsert(c.sql, got);
    EXPECT_EQ(c.head != nullptr, taken) << c.sql;
    if (!taken || !c.head) return;
    EXPECT_EQ(c.head, got.head) << c.sql;
    EXPECT_EQ(c.markers, got.markers) << c.sql;
}

TEST(PlainInsert, TakesTheBareFormWhateverItsSpellingOfNamesAndSpace) {
    const Case cases[] = {
        {"INSERT INTO t VALUES (?)", "INSERT INTO t VALUES ", 1},
        {"insert into t values(?,?,?)", "insert into t values", 3},
        {"InSeRt\n\tInTo\r\nt\fVALUES\v( ? , ? )", "InSeRt\n\tInTo\r\nt\fVALUES\v", 2},
        {"  INSERT INTO t(a,b)VALUES(?,?)  ", "  INSERT INTO t(a,b)VALUES", 2},
        {"INSERT INTO s.t (a, b) VALUES (?, ?);", "INSERT INTO s.t (a, b) VALUES ", 2},
        {"INSERT INTO s . t VALUES (?) ; \n", "INSERT INTO s . t VALUES ", 1},
        {"INSERT INTO \"My \"\"T\"\"\" (\"a b\", \"c,d\") VALUES (?, ?)", "INSERT INTO \"My \"\"T\"\"\" (\"a b\", \"c,d\") VALUES ", 2},
        {"INSERT INTO `db`.`t``x` (`v?`) VALUES (?)", "INSERT INTO `db`.`t``x` (`v?`) VALUES ", 1},
        {"INSERT INTO [dbo].[t]]x] ([a)]) VALUES (?)", "INSERT INTO [dbo].[t]]x] ([a)]) VALUES ", 1},
        {"INSERT INTO values VALUES (?)", "INSERT INTO values VALUES ", 1},
        {"INSERT INTO t_1$x (_a9) VALUES (?)", "INSERT INTO t_1$x (_a9) VALUES ", 1},
        {"INSERT INTO t\xc3\xa4 (\xc3\xb6) VALUES (?)", "INSERT INTO t\xc3\xa4 (\xc3\xb6) VALUES ", 1},
    };
    for (const Case& c : cases) check(c);
}

TEST(PlainInsert, LeavesEverythingElseAlone) {
    const char* const refused[] = {
        nullptr, "", "INSERT", "INSERT INTO t", "INSERT INTO t VALUES", "INSERT INTO t VALUES ()",
        // more than the plain form
        "INSERT INTO t VALUES (?) ON CONFLICT DO NOTHING", "INSERT INTO t VALUES (?) RETURNING id",
        "INSERT INTO t SELECT ? FROM u", "INSERT INTO t (a) SELECT a FROM u", "INSERT INTO t DEFAULT VALUES",
        "INSERT INTO t VALUES (?), (?)", "INSERT INTO t VALUES (?); INSERT INTO u VALUES (?)",
        "INSERT INTO t VALUES (?);;", "INSERT INTO t VALUES (?) -- note", "INSERT INTO t VALUES (?) /* x */",
        "INSERT /* x */ INTO t VALUES (?)", "INSERT INTO t VALUES (?) # x", "-- x\nINSERT INTO t VALUES (?)",
        "INSERT INTO t VALUE (?)", "INSERT IGNORE INTO t VALUES (?)", "REPLACE INTO t VALUES (?)",
        "UPSERT INTO t VALUES (?)", "{call p(?)}", "CALL p(?)", "SELECT ? ", "WITH x AS (SELECT 1) INSERT INTO t VALUES (?)",
        // literals, expressions and other markers among the values
        "INSERT INTO t VALUES (?, 1)", "INSERT INTO t VALUES (1, ?)", "INSERT INTO t VALUES ('?')",
        "INSERT INTO t VALUES (?, NULL)", "INSERT INTO t VALUES (? + 1)", "INSERT INTO t VALUES ($1)",
        "INSERT INTO t VALUES (:a)", "INSERT INTO t VALUES (?,)", "INSERT INTO t VALUES (,?)", "INSERT INTO t VALUES (?" "?)",
        "INSERT INTO t VALUES ((?))", "INSERT INTO t VALUES (?",
        // names
        "INSERT INTO a.b.c VALUES (?)", "INSERT INTO 1t VALUES (?)", "INSERT INTO \"\" VALUES (?)",
        "INSERT INTO \"t VALUES (?)", "INSERT INTO `t VALUES (?)", "INSERT INTO [t VALUES (?)", "INSERT INTO t. VALUES (?)",
        "INSERT INTO t () VALUES (?)", "INSERT INTO t (a,) VALUES (?)", "INSERT INTO t (a b) VALUES (?)",
        "INSERT INTO t (a VALUES (?)", "INSERT INTO t (s.a) VALUES (?)", "INSERT INTO t 'x' VALUES (?)",
        // keywords must stand alone
        "INSERTINTO t VALUES (?)", "INSERT INTOt VALUES (?)", "INSERT INTO t VALUESX (?)", "INSERTS INTO t VALUES (?)",
    };
    for (const char* sql : refused) check({sql, nullptr, 0});
}

TEST(PlainInsert, WritesOneGroupARowAndTheTextItWritesIsPlainAgain) {
    PlainInsert form;
    ASSERT_TRUE(parsePlainInsert("INSERT INTO \"t\" (a, b) VALUES (?, ?);", form));
    EXPECT_EQ("INSERT INTO \"t\" (a, b) VALUES (?,?)", multiRowInsert(form, 1));
    EXPECT_EQ("INSERT INTO \"t\" (a, b) VALUES (?,?),(?,?),(?,?)", multiRowInsert(form, 3));
    // Its own single-row text qualifies with the same head and markers.
    PlainInsert again;
    ASSERT_TRUE(parsePlainInsert(multiRowInsert(form, 1).c_str(), again));
    EXPECT_EQ(form.head, again.head);
    EXPECT_EQ(form.markers, again.markers);
}

} // namespace
} // namespace bulktest
