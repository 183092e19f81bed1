#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "host/DataService.h"
#include "host/LogServiceImpl.h"
#include "host/Row.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

TEST(DataService, PropertiesWithDefaultsAndFile) {
    DataService s("svc");
    s.setProperty("Flag", "TRUE");
    s.setProperty("Off", "no");
    EXPECT_EQ("svc", s.getName());
    EXPECT_EQ("dflt", s.getPropertyValueAsString("Missing", "dflt"));
    EXPECT_TRUE(s.getPropertyValueAsBool("Flag", false));
    EXPECT_FALSE(s.getPropertyValueAsBool("Off", true));
    EXPECT_TRUE(s.getPropertyValueAsBool("Missing", true));

    // A name of its own, removed again: runs beside each other don't meet.
    std::string path = ::testing::TempDir() + "/svc-XXXXXX";
    const int fd = mkstemp(&path[0]);
    ASSERT_NE(-1, fd);
    close(fd);
    std::ofstream(path) << "# comment\n DSN = mydsn \nUser=u=v\n\nbroken line\n";
    const bool loaded = s.loadProperties(path);
    std::remove(path.c_str());
    ASSERT_TRUE(loaded);
    EXPECT_EQ("mydsn", s.getPropertyValueAsString("DSN", ""));
    EXPECT_EQ("u=v", s.getPropertyValueAsString("User", ""));
    EXPECT_FALSE(s.loadProperties(path));
}

TEST(IntlString, StrlcpyTruncatesAndReportsSourceLength) {
    char buf[4];
    EXPECT_EQ(6u, intl_strlcpy(buf, "abcdef", sizeof buf));
    EXPECT_STREQ("abc", buf);
    EXPECT_EQ(6u, intl_strlcpy(buf, "abcdef", 0));
    EXPECT_EQ(7, intl_snprintf(buf, sizeof buf, "%d", 1234567));
    EXPECT_STREQ("123", buf);
}

TEST(LogService, SinkStopsAtNulAndJoinsTexts) {
    std::vector<std::pair<std::string, std::string>> lines;
    LogServiceImpl::setSink([&](const std::string& id, const std::string& t) { lines.emplace_back(id, t); });
    std::string withNul("[a][1][m]");
    withNul.push_back('\0');
    LogServiceImpl::log("ID-1", withNul.c_str());
    LogServiceImpl::log("ID-2", "sql", nullptr);
    LogServiceImpl::setSink(nullptr);
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("[a][1][m]", lines[0].second);
    EXPECT_EQ("sql ", lines[1].second);
}

TEST(Row, FreesOnlyWhatItOwns) {
    // Run under the sanitizer build: a leak, a double free or a release that
    // doesn't pair with new[] fails it.
    char* owned = new char[4];
    std::strcpy(owned, "abc");
    char borrowed[] = "xyz";
    {
        Row row;
        DataTypes::DataValue v;
        v.isNull = false;
        v.stringValue = owned;
        row.addColumn(5, v, true);
        v.stringValue = borrowed;
        row.addColumn(5, v, false);
        DataTypes::DataValue n;  // null: nothing to free even when owned
        row.addColumn(28, n, true);
        EXPECT_EQ(3, row.getNumColumns());
        EXPECT_STREQ("xyz", row.getColumnValue(1).stringValue);
    }
}

