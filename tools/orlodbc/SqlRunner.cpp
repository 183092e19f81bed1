#include "tools/orlodbc/SqlRunner.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ostream>

#include <sql.h>
#include <sqlext.h>

#include "datatypes/DataTypes.h"
#include "host/ResultSet.h"
#include "host/Driver.h"
#include "host/Row.h"
#include "tools/orlodbc/Interrupt.h"
#include "tools/orlodbc/ValueText.h"

using namespace KORVEL::Orl::DB;

namespace orlodbc {

namespace {

constexpr unsigned int kInt16 = 0;
constexpr unsigned int kInteger = 1;
constexpr unsigned int kLong = 2;
constexpr unsigned int kFloat = 3;
constexpr unsigned int kDate = 4;
constexpr unsigned int kString = 5;
constexpr unsigned int kUnknown = 6;
constexpr unsigned int kTimestamp = 8;
constexpr unsigned int kBoolean = 10;
constexpr unsigned int kInterval = 26;
constexpr unsigned int kBigDateTime = 27;
constexpr unsigned int kBinary = 28;
constexpr unsigned int kTime = 29;
constexpr unsigned int kFixedDecimal = 30;

// A time with fractions that one vendor's ODBC drivers describe by a code
// of their own, which the ODBC headers don't name.
constexpr short kSsTime2 = -154;

constexpr int64_t kMicrosPerDay = 86400LL * 1000000;

std::string firstWord(const std::string& sql) {
    size_t i = 0;
    while (i < sql.size() && (std::isspace(static_cast<unsigned char>(sql[i])) || sql[i] == '(')) ++i;
    std::string word;
    while (i < sql.size() && std::isalpha(static_cast<unsigned char>(sql[i])))
        word += static_cast<char>(std::toupper(static_cast<unsigned char>(sql[i++])));
    return word;
}

std::string lowerCase(const std::string& text) {
    std::string out;
    for (char ch : text) out += static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return out;
}

// The value as the type core prints it (integers, money).
std::string coreText(unsigned int type, const DataTypes::DataValue& value) {
    char text[128] = "";
    DataTypes::DataValue copy = value;
    DataTypes::convertToString(type, false, false, copy, text, sizeof text);
    return text;
}

// The text of a value that isn't NULL, the same in every format; `bare`
// tells whether JSON takes it as it stands (a number or a boolean) rather
// than as a string.
std::string valueText(const CellPlan& plan, const DataTypes::DataValue& value, bool& bare) {
    bare = false;
    switch (plan.kind) {
    case ValueKind::Integer: bare = true; return coreText(plan.readType, value);
    case ValueKind::IntegerText: {
        // Bare when it is the integer it should be; SQLite may keep anything in any column.
        const std::string text = value.stringValue ? value.stringValue : "";
        size_t k = text.size() > 1 && text[0] == '-' ? 1 : 0;
        bare = k < text.size();
        for (; k < text.size(); ++k) bare = bare && std::isdigit(static_cast<unsigned char>(text[k]));
        return text;
    }
    case ValueKind::Float: bare = std::isfinite(value.doubleValue); return doubleText(value.doubleValue);
    case ValueKind::Real: bare = std::isfinite(value.doubleValue); return realText(value.doubleValue);
    case ValueKind::Boolean: bare = true; return value.boolValue ? "true" : "false";
    case ValueKind::BooleanText: {
        const std::string text = value.stringValue ? value.stringValue : "";
        const int truth = booleanFromText(text);
        if (truth < 0) return text;
        bare = true;
        return truth ? "true" : "false";
    }
    case ValueKind::Text: return value.stringValue ? value.stringValue : "";
    case ValueKind::Binary: {
        std::string hex;
        DataTypes::convertBinaryToHexString(value.binaryValue.data, value.binaryValue.length, hex);
        return hex;
    }
    case ValueKind::Date: return dateText(value.int64Value);
    case ValueKind::Timestamp: return timestampText(value.int64Value);
    case ValueKind::TimeOfDay: {
        const int64_t micros = value.int64Value % kMicrosPerDay;
        return timeText(micros < 0 ? micros + kMicrosPerDay : micros);
    }
    case ValueKind::Time: return timeText(value.int64Value * 1000000);
    case ValueKind::Other: break;
    }
    return coreText(plan.readType, value);
}

void printHeader(const std::vector<std::string>& names, OutputFormat format, std::ostream& out) {
    if (format == OutputFormat::Json) return;
    for (size_t i = 0; i < names.size(); ++i)
        out << (i ? (format == OutputFormat::Csv ? "," : "\t") : "")
            << (format == OutputFormat::Csv ? csvField(names[i]) : names[i]);
    out << (format == OutputFormat::Csv ? "\r\n" : "\n");
}

void printRow(const std::vector<std::string>& names, const std::vector<CellPlan>& plans, Row& row,
              OutputFormat format, std::ostream& out) {
    const int n = row.getNumColumns();
    for (int i = 0; i < n; ++i) {
        const std::string cell = cellOutput(plans[i], row.getColumnValue(i), format);
        if (format == OutputFormat::Json) out << (i ? ", " : "{") << jsonString(names[i]) << ": " << cell;
        else out << (i ? (format == OutputFormat::Csv ? "," : "\t") : "") << cell;
    }
    if (format == OutputFormat::Json) out << (n ? "}" : "{}");
    out << (format == OutputFormat::Csv ? "\r\n" : "\n");
}

// The names and type words of a result's columns.
bool columnsOf(ResultSet& rs, std::vector<std::string>& names, std::vector<unsigned int>& reported) {
    int n = 0;
    if (rs.getNumColumns(n) != 1) return false;
    names.clear();
    reported.clear();
    for (int i = 0; i < n; ++i) {
        std::string name;
        unsigned int type = 0;
        if (rs.getColumnInfo(i, name, type) != 1) return false;
        names.push_back(name);
        reported.push_back(type);
    }
    return true;
}

bool runQuery(Connection& c, const std::string& sql, OutputFormat format, std::ostream& out, std::ostream& err) {
    std::vector<Parameter> none;
    ResultSet* rs = nullptr;
    if (c.executeQuery(sql, none, 0, rs) != 1 || rs == nullptr) return false;
    std::vector<std::string> names;
    std::vector<unsigned int> reported;
    if (!columnsOf(*rs, names, reported)) return false;
    const int n = static_cast<int>(names.size());
    // The text ran, so preparing it again describes the same columns; a
    // driver that can't (or a count that differs) leaves the reported words.
    std::vector<QueryColumn> described = describeQueryColumns(c.getHandle(), sql);
    if (described.size() != reported.size()) described.assign(reported.size(), QueryColumn());
    // The classic read takes an integer in the width the driver describes,
    // which may be narrower than the values: such columns are read again as
    // their text, through the query run inside one of our own.
    const DbKind db = dialectFor(dbmsName(c.getHandle()), "", c.getDriverProperty(Driver::PROPERTY_KEY_DATABASE_TYPE)).kind;
    std::vector<bool> asText;
    const std::string wrapped = wholeIntegers(db, sql, reported, described, asText);
    if (!wrapped.empty()) {
        // The first result goes unread; the rows come from one run of the text.
        rs = nullptr;
        std::vector<std::string> again;
        if (c.executeQuery(wrapped, none, 0, rs) != 1 || rs == nullptr || !columnsOf(*rs, again, reported) ||
            static_cast<int>(reported.size()) != n) {
            err << "orlodbc: the driver reads integers of this query narrower than they may be; reading them "
                   "whole, as the query's text inside the tool's own (WITH orl_query(c1, ...) AS (...)), failed"
                << std::endl;
            return false;
        }
    }
    std::vector<CellPlan> plans;
    std::vector<unsigned int> types;
    for (int i = 0; i < n; ++i) {
        plans.push_back(asText[i] ? CellPlan{kString, ValueKind::IntegerText} : planCell(reported[i], described[i]));
        types.push_back(plans.back().readType);
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
        printRow(names, plans, *row, format, out);
        delete row;
    }
    return true;
}

} // namespace

std::string wholeIntegers(DbKind db, const std::string& sql, const std::vector<unsigned int>& reported,
                          const std::vector<QueryColumn>& described, std::vector<bool>& asText) {
    asText.assign(reported.size(), false);
    if (db != DbKind::SQLite && db != DbKind::MariaDB) return "";
    const std::string word = firstWord(sql);
    if (word != "SELECT" && word != "WITH" && word != "VALUES") return "";
    bool any = false;
    for (size_t i = 0; i < reported.size(); ++i) {
        const unsigned int low = reported[i] & 0xFF;
        const bool integer = low == kInt16 || low == kInteger || low == kLong;
        // SQLite's driver describes a 64-bit integer by its declared name
        // (INTEGER as 32-bit), an expression by its first value; MariaDB's
        // an unsigned integer as the signed one of its width.
        asText[i] = (db == DbKind::SQLite && integer && low != kLong) ||
                    (db == DbKind::MariaDB && integer && i < described.size() && described[i].unsignedInt);
        any = any || asText[i];
    }
    if (!any) return "";
    // The user's text as it stands inside a CTE that numbers its columns, so
    // that no name of theirs is written again; a comment at its end closes
    // on its own line, a closing semicolon goes.
    std::string body = sql;
    while (!body.empty() && (std::isspace(static_cast<unsigned char>(body.back())) || body.back() == ';'))
        body.pop_back();
    std::string columns, items;
    for (size_t i = 0; i < reported.size(); ++i) {
        const std::string c = "c" + std::to_string(i + 1);
        columns += (i ? ", " : "") + c;
        items += (i ? ", " : "") + (asText[i] ? "CAST(" + c + (db == DbKind::SQLite ? " AS TEXT)" : " AS CHAR)") : c);
    }
    return "WITH orl_query(" + columns + ") AS (\n" + body + "\n) SELECT " + items + " FROM orl_query";
}

CellPlan planCell(unsigned int reported, const QueryColumn& described) {
    const unsigned int low = reported & 0xFF;
    switch (low) {
    case kInt16:
    case kInteger:
    case kLong:
    case kInterval: return {reported, ValueKind::Integer};
    case kFloat: return {reported, described.sqlType == SQL_REAL ? ValueKind::Real : ValueKind::Float};
    case kBoolean: return {reported, ValueKind::Boolean};
    case kBinary: return {reported, ValueKind::Binary};
    // A decimal comes without its precision and scale, which no value can be
    // parsed into, and an unknown type can't be read at all: both are read
    // as the text the database gave.
    case kFixedDecimal:
    case kUnknown:
    case kString: {
        // A boolean some ODBC drivers describe as text by default
        // (PostgreSQL's, through its data source's settings): only the type's
        // own name tells it from a text.
        const std::string name = lowerCase(described.typeName);
        if (low == kString && (name == "bool" || name == "boolean")) return {kString, ValueKind::BooleanText};
        return {kString, ValueKind::Text};
    }
    case kDate:
    case kTimestamp:
    case kBigDateTime:
    case kTime:
        // One word covers a date, a time and a timestamp in the descriptor
        // type some drivers report; the described SQL type tells them apart.
        // All but a time are read to the microsecond; a time's cell has no
        // fraction to read, and as seconds it keeps the hours of a span
        // longer than a day.
        switch (described.sqlType) {
        case SQL_TYPE_DATE:
        case SQL_DATE: return {kBigDateTime, ValueKind::Date};
        case SQL_TYPE_TIME:
        case kSsTime2: return {kTime, ValueKind::Time};
        case SQL_TIME: return {kBigDateTime, ValueKind::TimeOfDay};
        case SQL_TYPE_TIMESTAMP:
        case SQL_TIMESTAMP: return {kBigDateTime, ValueKind::Timestamp};
        default:
            return low == kTime ? CellPlan{kTime, ValueKind::Time} : CellPlan{kBigDateTime, ValueKind::Timestamp};
        }
    default: return {reported, ValueKind::Other};
    }
}

std::string cellOutput(const CellPlan& plan, const DataTypes::DataValue& value, OutputFormat format) {
    if (value.isNull) return format == OutputFormat::Json ? "null" : format == OutputFormat::Csv ? "" : "NULL";
    bool bare = false;
    const std::string text = valueText(plan, value, bare);
    switch (format) {
    case OutputFormat::Csv: return csvField(text);
    case OutputFormat::Json: return bare ? text : jsonString(text);
    case OutputFormat::Tsv: break;
    }
    return text;
}

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
        if (Interrupt::happened()) return false;  // nothing more after a signal
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
