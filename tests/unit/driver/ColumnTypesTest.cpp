// The two type translations: rows chosen for the asymmetries and edges, not a
// copy of the whole mapping.
#include <gtest/gtest.h>

#include "datatypes/DataTypes.h"
#include "driver/OdbcColumn.h"

using KORVEL::Orl::DB::OdbcColumn;

namespace {

struct SqlToWord {
    int sqlType;
    const char* databaseType;
    unsigned int word;
};

TEST(OdbcColumnTypes, SqlTypeToTypeWord) {
    const SqlToWord rows[] = {
        {-9, "", 5},          // wide text is text
        {-98, "", 28},        // DB2's BLOB
        {-7, "", 10},         // only a bit is a boolean
        {-6, "", 1},          // TINYINT and SMALLINT widen to INTEGER ...
        {5, "", 1},           // ... nothing maps to INT16
        {-5, "", 2},
        {2, "", 30},          // a bare FIXEDDECIMAL: precision and scale come later
        {7, "", 3},
        {10, "", 8},          // the old time type is a timestamp ...
        {92, "", 29},         // ... the new one a time
        {93, "", 27},
        {0, "", 6},
        {3000, "ZANA", 3},    // a vendor float, known under one keyword only
        {3000, "", 6},
        {3000, "zana", 6},
        {-11, "", 6},         // GUID
    };
    for (const SqlToWord& r : rows) {
        OdbcColumn c;
        c.databaseType = r.databaseType;
        EXPECT_EQ(r.word, c.getOrlDataType(r.sqlType)) << r.sqlType << " under '" << r.databaseType << "'";
    }
}

struct WordToName {
    unsigned int word;
    bool primaryKey;
    const char* name;
};

TEST(OdbcColumnTypes, TypeWordToSqlName) {
    const unsigned int decimal38_4 = DataTypes::createFixedDecimal(38, 4);
    const WordToName rows[] = {
        {5, false, "NVARCHAR(5000)"},
        {5, true, "NVARCHAR(500)"},   // short enough for a key
        {28, true, "VARBINARY(500)"},
        {1, true, "INTEGER"},         // the flag shortens only the variable types
        {decimal38_4, false, "DECIMAL(38,4)"},  // no blank after the comma ...
        {14, false, "DECIMAL(19, 4)"},          // ... unlike the money names
        {7, false, "DECIMAL(19, 4)"},
        {25, false, "DECIMAL(19, 15)"},
        {3, false, "REAL"},
        {26, false, "BIGINT"},        // an interval is a plain count
        {4, false, "TIMESTAMP"},
        {10, false, "TINYINT"},
        {0, false, "error"},           // INT16 has no name
        {6, false, "error"},
        {31, false, "error"},
        {0x100 | 5, false, "NVARCHAR(5000)"},  // only the low byte counts
    };
    OdbcColumn c;
    for (const WordToName& r : rows)
        EXPECT_EQ(r.name, c.getSqlTypeString(r.word, r.primaryKey)) << r.word << (r.primaryKey ? " key" : "");
}

} // namespace
