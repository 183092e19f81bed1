#include "tools/orlodbc/SqlRunner.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ostream>

#include "datatypes/DataTypes.h"
#include "host/ResultSet.h"
#include "host/Row.h"

using namespace KORVEL::Orl::DB;

namespace orlodbc {

namespace {

constexpr unsigned int kInteger = 1;
constexpr unsigned int kLong = 2;
constexpr unsigned int kFloat = 3;
constexpr unsigned int kBoolean = 10;
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

// A JSON value: numbers for the integer and float types (a float that JSON
// can't hold, such as NaN, as a string), strings for the rest.
std::string jsonValue(unsigned int type, const DataTypes::DataValue& value) {
    if (value.isNull) return "null";
    switch (type & 0xFF) {
    case kInteger:
    case kLong: return cellText(type, value);
    case kBoolean: return value.boolValue ? "true" : "false";
    case kFloat: {
        if (!std::isfinite(value.doubleValue)) return jsonString(cellText(type, value));
        // The shortest text that reads back as the same double; 17 digits always do.
        char text[40];
        for (int digits = 15; digits <= 17; ++digits) {
            std::snprintf(text, sizeof text, "%.*g", digits, value.doubleValue);
            if (std::strtod(text, nullptr) == value.doubleValue) break;
        }
        return text;
    }
    default: return jsonString(cellText(type, value));
    }
}

void printHeader(const std::vector<std::string>& names, OutputFormat format, std::ostream& out) {
    if (format == OutputFormat::Json) return;
    for (size_t i = 0; i < names.size(); ++i)
        out << (i ? (format == OutputFormat::Csv ? "," : "\t") : "")
            << (format == OutputFormat::Csv ? csvField(names[i]) : names[i]);
    out << (format == OutputFormat::Csv ? "\r\n" : "\n");
}

void printRow(const std::vector<std::string>& names, Row& row, OutputFormat format, std::ostream& out) {
    const int n = row.getNumColumns();
    for (int i = 0; i < n; ++i) {
        const unsigned int type = row.getColumnType(i);
        const DataTypes::DataValue& value = row.getColumnValue(i);
        switch (format) {
        case OutputFormat::Tsv: out << (i ? "\t" : "") << cellText(type, value); break;
        case OutputFormat::Csv: out << (i ? "," : "") << (value.isNull ? "" : csvField(cellText(type, value))); break;
        case OutputFormat::Json:
            out << (i ? ", " : "{") << jsonString(names[i]) << ": " << jsonValue(type, value);
            break;
        }
    }
    if (format == OutputFormat::Json) out << (n ? "}" : "{}");
    out << (format == OutputFormat::Csv ? "\r\n" : "\n");
}

bool runQuery(Connection& c, const std::string& sql, OutputFormat format, std::ostream& out, std::ostream& err) {
    std::vector<Parameter> none;
    ResultSet* rs = nullptr;
    if (c.executeQuery(sql, none, 0, rs) != 1 || rs == nullptr) return false;
    int n = 0;
    if (rs->getNumColumns(n) != 1) return false;
    std::vector<unsigned int> types;
    std::vector<std::string> names;
    for (int i = 0; i < n; ++i) {
        std::string name;
        unsigned int type = 0;
        if (rs->getColumnInfo(i, name, type) != 1) return false;
        names.push_back(name);
        types.push_back(readType(type));
    }
    printHeader(names, format, out);
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
        printRow(names, *row, format, out);
        delete row;
    }
    return true;
}

} // namespace

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos && !text.empty()) return text;
    // An empty text is quoted so that it reads apart from NULL's empty field.
    std::string out = "\"";
    for (char ch : text) {
        if (ch == '"') out += '"';
        out += ch;
    }
    return out + "\"";
}

std::string jsonString(const std::string& text) {
    std::string out = "\"";
    for (unsigned char ch : text) {
        switch (ch) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (ch < 0x20) {
                char esc[8];
                std::snprintf(esc, sizeof esc, "\\u%04x", ch);
                out += esc;
            } else {
                out += static_cast<char>(ch);
            }
        }
    }
    return out + "\"";
}

bool looksLikeQuery(const std::string& sql) {
    static const char* const kQueryWords[] = {"SELECT", "WITH",     "VALUES", "SHOW", "EXPLAIN",
                                              "DESCRIBE", "DESC", "PRAGMA", "TABLE"};
    std::string word = firstWord(sql);
    for (const char* w : kQueryWords)
        if (word == w) return true;
    return false;
}

bool runStatements(Connection& c, const std::vector<std::string>& statements, std::ostream& out,
                   std::ostream& err, OutputFormat format) {
    for (const std::string& sql : statements) {
        if (looksLikeQuery(sql)) {
            if (!runQuery(c, sql, format, out, err)) return false;
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
