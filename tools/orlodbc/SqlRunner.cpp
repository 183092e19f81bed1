#include "tools/orlodbc/SqlRunner.h"

#include <cctype>
#include <ostream>

#include "datatypes/DataTypes.h"
#include "host/ResultSet.h"
#include "host/Row.h"

using namespace KORVEL::Orl::DB;

namespace orlodbc {

namespace {

constexpr unsigned int kString = 5;
constexpr unsigned int kUnknown = 6;
constexpr unsigned int kBinary = 28;
constexpr unsigned int kFixedDecimal = 30;

std::string firstWord(const std::string& sql) {
    size_t i = 0;
    while (i < sql.size() && (std::isspace(static_cast<unsigned char>(sql[i])) || sql[i] == '(')) ++i;
    std::string word;
    while (i < sql.size() && std::isalpha(static_cast<unsigned char>(sql[i])))
        word += static_cast<char>(std::toupper(static_cast<unsigned char>(sql[i++])));
    return word;
}

// The word a column is read with. The driver reports a decimal without its
// precision and scale, which no value can be parsed into, and an unknown type
// can't be read at all: both are read as the text the database gave.
unsigned int readType(unsigned int reported) {
    unsigned int low = reported & 0xFF;
    return (low == kFixedDecimal || low == kUnknown) ? kString : reported;
}

std::string cellText(unsigned int type, const DataTypes::DataValue& value) {
    if (value.isNull) return "NULL";
    unsigned int low = type & 0xFF;
    if (low == kString) return value.stringValue ? value.stringValue : "";
    if (low == kBinary) {
        std::string hex;
        DataTypes::convertBinaryToHexString(value.binaryValue.data, value.binaryValue.length, hex);
        return hex;
    }
    char text[128] = "";
    DataTypes::DataValue copy = value;
    DataTypes::convertToString(type, false, false, copy, text, sizeof text);
    return text;
}

bool runQuery(Connection& c, const std::string& sql, std::ostream& out, std::ostream& err) {
    std::vector<Parameter> none;
    ResultSet* rs = nullptr;
    if (c.executeQuery(sql, none, 0, rs) != 1 || rs == nullptr) return false;
    int n = 0;
    if (rs->getNumColumns(n) != 1) return false;
    std::vector<unsigned int> types;
    for (int i = 0; i < n; ++i) {
        std::string name;
        unsigned int type = 0;
        if (rs->getColumnInfo(i, name, type) != 1) return false;
        out << (i ? "\t" : "") << name;
        types.push_back(readType(type));
    }
    out << '\n';
    RowDescriptor descriptor(types);
    long line = 0;
    bool more = false;
    while (true) {
        if (rs->next(more) != 1) return false;
        if (!more) break;
        ++line;
        Row* row = nullptr;
        if (rs->getData(descriptor, row) != 1 || row == nullptr) {
            // The driver drops a row it can't convert and goes on; so do we.
            err << "orlodbc: row " << line << " skipped by the driver" << std::endl;
            continue;
        }
        for (int i = 0; i < row->getNumColumns(); ++i)
            out << (i ? "\t" : "") << cellText(row->getColumnType(i), row->getColumnValue(i));
        out << '\n';
        delete row;
    }
    return true;
}

} // namespace

bool looksLikeQuery(const std::string& sql) {
    static const char* const kQueryWords[] = {"SELECT", "WITH",     "VALUES", "SHOW", "EXPLAIN",
                                              "DESCRIBE", "DESC", "PRAGMA", "TABLE"};
    std::string word = firstWord(sql);
    for (const char* w : kQueryWords)
        if (word == w) return true;
    return false;
}

bool runStatements(Connection& c, const std::vector<std::string>& statements, std::ostream& out,
                   std::ostream& err) {
    for (const std::string& sql : statements) {
        if (looksLikeQuery(sql)) {
            if (!runQuery(c, sql, out, err)) return false;
            continue;
        }
        std::vector<Parameter> none;
        int count = 0;
        if (c.executeUpdate(sql, none, count) != 1) return false;
        out << count << (count == 1 ? " row" : " rows") << '\n';
    }
    out.flush();
    return true;
}

} // namespace orlodbc
