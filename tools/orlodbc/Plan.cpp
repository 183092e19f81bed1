#include "tools/orlodbc/Plan.h"

#include <cstdlib>
#include <cstring>

#include <sql.h>
#include <sqlext.h>

#include "datatypes/TypeEnum.h"

using namespace DataTypes;

namespace orlodbc {

namespace {

std::string lower(const std::string& s) {
    std::string out;
    for (char c : s) out += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return out;
}

std::string trim(const std::string& s) {
    const size_t b = s.find_first_not_of(' ');
    if (b == std::string::npos) return "";
    return s.substr(b, s.find_last_not_of(' ') - b + 1);
}

bool has(const std::string& text, const char* word) { return text.find(word) != std::string::npos; }

ColumnType make(Kind kind, int size = 0, int scale = 0) {
    ColumnType t;
    t.kind = kind;
    t.size = size;
    t.scale = scale;
    return t;
}

bool isInteger(Kind k) { return k == Kind::Int8 || k == Kind::Int16 || k == Kind::Int32 || k == Kind::Int64; }
bool isFloat(Kind k) { return k == Kind::Float32 || k == Kind::Float64; }
bool isText(Kind k) { return k == Kind::Char || k == Kind::Varchar || k == Kind::Text; }
bool isBinary(Kind k) { return k == Kind::Binary || k == Kind::Varbinary || k == Kind::Blob; }

int integerBits(Kind k) {
    switch (k) {
    case Kind::Int8: return 8;
    case Kind::Int16: return 16;
    case Kind::Int32: return 32;
    default: return 64;
    }
}

// A length, 0 standing for unbounded: whether `have` holds every text of `need`.
bool holdsLength(int have, int need) { return have == 0 || (need != 0 && have >= need); }

std::string num(int n) { return std::to_string(n); }

std::string decimalText(const ColumnType& t) {
    return t.size == 0 ? "an unbounded decimal" : "decimal(" + num(t.size) + "," + num(t.scale) + ")";
}

} // namespace

ColumnType parseDeclared(DbKind db, const std::string& declared) {
    const std::string text = lower(trim(declared));
    const size_t open = text.find('(');
    const std::string base = trim(text.substr(0, open));
    int a = 0, b = 0;
    bool args = false;
    if (open != std::string::npos) {
        args = true;
        a = std::atoi(text.c_str() + open + 1);
        const size_t comma = text.find(',', open);
        const size_t close = text.find(')', open);
        if (comma != std::string::npos && comma < close) b = std::atoi(text.c_str() + comma + 1);
    }
    const std::string rest = open == std::string::npos ? "" : text.substr(text.find(')', open) + 1);
    const bool unsignedInt = has(rest, "unsigned") || has(base, "unsigned");
    ColumnType t;
    const bool lite = db == DbKind::SQLite;

    if (base == "tinyint" || base == "smallint" || base == "int2" || base == "mediumint" || base == "int" ||
        base == "integer" || base == "int4" || base == "bigint" || base == "int8" || (lite && has(base, "int"))) {
        if (lite) t = make(Kind::Int64);
        else if (base == "bigint" || base == "int8") t = unsignedInt ? make(Kind::Decimal, 20, 0) : make(Kind::Int64);
        else if (base == "int" || base == "integer" || base == "int4") t = make(unsignedInt ? Kind::Int64 : Kind::Int32);
        else if (base == "mediumint") t = make(Kind::Int32);
        else if (base == "tinyint" && db == DbKind::MariaDB && a == 1) t = make(Kind::Boolean);
        else if (base == "tinyint") t = make(unsignedInt ? Kind::Int16 : Kind::Int8);
        else t = make(unsignedInt ? Kind::Int32 : Kind::Int16);
    } else if (base == "real" || base == "float4") {
        t = make(lite ? Kind::Float64 : Kind::Float32);
    } else if (base == "float") {
        // A bare FLOAT is single precision in MariaDB only.
        t = make(db == DbKind::MariaDB && (!args || a <= 24) ? Kind::Float32 : Kind::Float64);
    } else if (base == "double" || base == "double precision" || base == "float8" || (lite && (has(base, "floa") ||
               has(base, "doub") || has(base, "real")))) {
        t = make(Kind::Float64);
    } else if (base == "numeric" || base == "decimal" || base == "dec" || base == "fixed") {
        // Without a precision PostgreSQL keeps any decimal, MariaDB decimal(10,0).
        t = args ? make(Kind::Decimal, a, b) : db == DbKind::MariaDB ? make(Kind::Decimal, 10, 0) : make(Kind::Decimal);
    } else if (base == "char" || base == "character" || base == "nchar" || base == "bpchar") {
        t = make(Kind::Char, args ? a : 1);
    } else if (base == "varchar" || base == "character varying" || base == "nvarchar" || base == "varchar2") {
        t = args ? make(Kind::Varchar, a) : make(Kind::Text);
    } else if (base == "tinytext") {
        t = make(Kind::Varchar, 255);
    } else if (base == "text" || base == "mediumtext" || base == "longtext" || base == "clob" ||
               (lite && (has(base, "char") || has(base, "clob") || has(base, "text")))) {
        t = make(Kind::Text);
    } else if (base == "binary") {
        t = make(Kind::Binary, args ? a : 1);
    } else if (base == "varbinary") {
        t = make(Kind::Varbinary, a);
    } else if (base == "bytea" || base == "blob" || base == "longblob" || base == "mediumblob" ||
               base == "tinyblob" || (lite && base.empty())) {
        t = make(Kind::Blob);
    } else if (base == "date") {
        t = make(Kind::Date);
    } else if (base == "time" || base == "time without time zone") {
        // PostgreSQL keeps microseconds unless told fewer, MariaDB whole seconds.
        t = make(Kind::Time, args ? a : db == DbKind::MariaDB ? 0 : 6);
    } else if (base == "timestamp" || base == "datetime" || base == "timestamp without time zone") {
        t = make(Kind::Timestamp, args ? a : db == DbKind::MariaDB ? 0 : 6);
    } else if (base == "boolean" || base == "bool") {
        t = make(Kind::Boolean);
    } else if (lite) {
        // Any other name has SQLite's numeric affinity: integers or doubles.
        t = make(Kind::Float64);
    }
    t.declared = declared;
    return t;
}

ColumnType fromTypeWord(unsigned int word) {
    switch (typeOf(word)) {
    case INT16: return make(Kind::Int16);
    case INTEGER: return make(Kind::Int32);
    case LONG:
    case INTERVAL: return make(Kind::Int64);
    case FLOAT: return make(Kind::Float64);
    case DATE: return make(Kind::Date);
    case STRING: return make(Kind::Text);
    case TIMESTAMP: return make(Kind::Timestamp, 3);
    case BIGDATETIME: return make(Kind::Timestamp, 6);
    case BOOLEAN: return make(Kind::Boolean);
    case BINARY: return make(Kind::Blob);
    case TIME: return make(Kind::Time, 0);
    case FIXEDDECIMAL:
        return precisionOf(word) == 0 ? make(Kind::Decimal, 38, 10)
                                      : make(Kind::Decimal, static_cast<int>(precisionOf(word)),
                                             static_cast<int>(scaleOf(word)));
    default:
        if (typeOf(word) >= MONEY_1 && typeOf(word) <= MONEY_15)
            return make(Kind::Decimal, 19, static_cast<int>(typeOf(word) - MONEY_1 + 1));
        if (typeOf(word) == MONEY) return make(Kind::Decimal, 19, 4);
        return make(Kind::Other);
    }
}

ColumnType fromDescription(DbKind db, unsigned int word, const QueryColumn& d) {
    const bool lite = db == DbKind::SQLite, pg = db == DbKind::PostgreSQL;
    const int size = d.size > 0 && d.size <= 0x7fffffff ? static_cast<int>(d.size) : 0;
    ColumnType t = fromTypeWord(word);
    switch (typeOf(word)) {
    case INT16:
    case INTEGER:
        if (lite) return make(Kind::Int64);
        switch (d.sqlType) {
        case SQL_TINYINT: return make(d.unsignedInt ? Kind::Int16 : Kind::Int8);
        case SQL_SMALLINT: return make(d.unsignedInt ? Kind::Int32 : Kind::Int16);
        case SQL_INTEGER: return make(d.unsignedInt ? Kind::Int64 : Kind::Int32);
        default: return t;
        }
    case LONG:
        if (d.sqlType == SQL_BIGINT && d.unsignedInt && !lite) return make(Kind::Decimal, 20, 0);
        return t;
    case FIXEDDECIMAL:
        if (d.sqlType != SQL_NUMERIC && d.sqlType != SQL_DECIMAL) return t;
        if (pg && d.size == 28 && d.digits == 6) return make(Kind::Decimal);
        return size > 0 ? make(Kind::Decimal, size, d.digits) : t;
    case FLOAT:
        return make(d.sqlType == SQL_REAL && !lite ? Kind::Float32 : Kind::Float64);
    case STRING: {
        const std::string name = lower(d.typeName);
        if (pg && (name == "bool" || name == "boolean")) return make(Kind::Boolean);
        // SQLite keeps texts of any length whatever their declared size, and
        // PostgreSQL's driver describes a varchar without a size as 255 long.
        if (lite) {
            t = make(Kind::Text);
            t.anyType = true;
            return t;
        }
        if (size == 0) return make(Kind::Text);
        if (d.sqlType == SQL_CHAR || d.sqlType == SQL_WCHAR) return make(Kind::Char, size);
        if ((d.sqlType == SQL_VARCHAR || d.sqlType == SQL_WVARCHAR) && !(pg && size == 255))
            return make(Kind::Varchar, size);
        if (pg && (d.sqlType == SQL_LONGVARCHAR || d.sqlType == SQL_WLONGVARCHAR) &&
            (name == "varchar" || name == "character varying"))
            return make(Kind::Varchar, size);
        return make(Kind::Text);
    }
    case BINARY:
        if (lite || size == 0) return make(Kind::Blob);
        if (d.sqlType == SQL_BINARY) return make(Kind::Binary, size);
        if (d.sqlType == SQL_VARBINARY) return make(Kind::Varbinary, size);
        return make(Kind::Blob);
    case DATE:
    case TIMESTAMP:
    case BIGDATETIME:
    case TIME:
        switch (d.sqlType) {
        case SQL_TYPE_DATE:
        case SQL_DATE: return make(Kind::Date);
        // SQLite's times and timestamps are texts that keep any fraction.
        case SQL_TYPE_TIME:
        case SQL_TIME: return make(Kind::Time, lite ? 6 : d.digits);
        case SQL_TYPE_TIMESTAMP:
        case SQL_TIMESTAMP: return make(Kind::Timestamp, lite ? 6 : d.digits);
        default: return t;
        }
    default: return t;
    }
}

TargetType targetType(DbKind target, const ColumnType& t) {
    const bool pg = target == DbKind::PostgreSQL, maria = target == DbKind::MariaDB;
    const std::string n = num(t.size);
    switch (t.kind) {
    case Kind::Int8:
        if (pg) return {"smallint", "PostgreSQL has no 8-bit integer"};
        return {maria ? "tinyint" : "TINYINT", ""};
    case Kind::Int16: return {pg || maria ? "smallint" : "SMALLINT", ""};
    case Kind::Int32: return {pg ? "integer" : maria ? "int" : "INTEGER", ""};
    case Kind::Int64: return {pg || maria ? "bigint" : "BIGINT", ""};
    case Kind::Float32: return {pg ? "real" : maria ? "float" : "REAL", ""};
    case Kind::Float64: return {pg ? "double precision" : maria ? "double" : "DOUBLE", ""};
    case Kind::Decimal: {
        const std::string exact = "numeric(" + n + "," + num(t.scale) + ")";
        if (pg) return {t.size == 0 ? "numeric" : exact, ""};
        if (maria) {
            if (t.size == 0) return {"decimal(65,30)", "MariaDB has no unbounded decimal"};
            if (t.size > 65 || t.scale > 30)
                return {"decimal(65,30)", "MariaDB decimals stop at 65 digits, 30 after the point"};
            return {"decimal(" + n + "," + num(t.scale) + ")", ""};
        }
        // SQLite keeps a NUMERIC as a double, exact to 15 digits: wider ones are kept as text.
        if (target == DbKind::SQLite && (t.size == 0 || t.size > 15))
            return {"TEXT", "SQLite keeps decimals of more than 15 digits only as text"};
        return {t.size == 0 ? "NUMERIC" : "NUMERIC(" + n + "," + num(t.scale) + ")", ""};
    }
    case Kind::Char:
        if (maria && t.size > 255) return {"varchar(" + n + ")", "MariaDB's char stops at 255 characters"};
        return {(pg || maria ? "char(" : "CHAR(") + n + ")", ""};
    case Kind::Varchar:
        // MariaDB counts a row's varchars against 64 KB, at 4 bytes a character.
        if (maria && t.size > 2000) return {"longtext", "a MariaDB row holds no varchar that long"};
        return {(pg || maria ? "varchar(" : "VARCHAR(") + n + ")", ""};
    case Kind::Text: return {pg ? "text" : maria ? "longtext" : "TEXT", ""};
    case Kind::Binary:
        if (pg) return {"bytea", "PostgreSQL's binaries have no length"};
        if (maria) return {t.size > 255 ? "varbinary(" + n + ")" : "binary(" + n + ")", ""};
        // The SQLite driver reads a column declared BINARY as text.
        return {"VARBINARY(" + n + ")", "SQLite's driver knows binaries by VARBINARY only"};
    case Kind::Varbinary:
        if (pg) return {"bytea", "PostgreSQL's binaries have no length"};
        if (maria && t.size > 8000) return {"longblob", "a MariaDB row holds no varbinary that long"};
        return {(maria ? "varbinary(" : "VARBINARY(") + n + ")", ""};
    case Kind::Blob: return {pg ? "bytea" : maria ? "longblob" : "BLOB", ""};
    case Kind::Date: return {pg || maria ? "date" : "DATE", ""};
    case Kind::Time: return {pg || maria ? "time(" + n + ")" : "TIME", ""};
    case Kind::Timestamp: return {pg ? "timestamp(" + n + ")" : maria ? "datetime(" + n + ")" : "TIMESTAMP", ""};
    case Kind::Boolean: return {pg ? "boolean" : "BOOLEAN", ""};
    case Kind::Other: break;
    }
    return {pg || maria ? "text" : "TEXT", "a type with no counterpart, kept as text"};
}

ColumnPlan planColumn(DbKind source, const ColumnType& src, unsigned int word, DbKind target,
                      const ColumnType& dst) {
    ColumnPlan p;
    const unsigned int code = typeOf(word);
    // How the driver would read it, and whether that is narrower than what is kept.
    if (isInteger(src.kind) && code == INTEGER && integerBits(src.kind) > 32) {
        p.read = Read::Text;
        p.why = "the source's driver describes it as a 32-bit integer";
    } else if (src.kind == Kind::Decimal && code == LONG) {
        p.read = Read::Text;
        p.why = "the driver reads 64-bit integers with a sign";
    } else if (src.kind == Kind::Decimal && source != DbKind::SQLite && code == FIXEDDECIMAL &&
               (src.size == 0 || static_cast<int>(precisionOf(word)) != src.size ||
                static_cast<int>(scaleOf(word)) != src.scale || decimalTextLength(src.size, src.scale) >= 32)) {
        // Read by the driver's described precision and scale, and as a text of at most 31 characters.
        p.read = Read::Text;
        p.why = src.size == 0 ? "the source's driver describes an unbounded decimal with 6 decimals"
                              : "the driver reads decimals of 32 characters or more only as text";
    } else if (src.kind == Kind::Time && src.size > 0 && code == TIME) {
        p.read = Read::Text;
        p.why = "the driver reads times in whole seconds";
    } else if (src.kind == Kind::Date && target == DbKind::SQLite && source != DbKind::SQLite) {
        p.read = Read::Text;
        p.why = "SQLite's driver writes dates with a time of day";
    } else if (src.kind == Kind::Timestamp && src.size > 3 && target == DbKind::SQLite) {
        p.read = Read::Text;
        p.why = "SQLite's driver writes timestamps to the millisecond";
    } else if (source == DbKind::SQLite && isFloat(src.kind) && code == FLOAT) {
        p.read = Read::Digits;
        p.why = "SQLite's driver reads doubles as text of 15 significant digits";
    } else if (source == DbKind::SQLite && src.anyType && code == STRING) {
        p.read = Read::Value;
        p.why = "SQLite's driver reads a double in a column it describes as text as 15 significant digits";
    }

    // A text the bulk read gets may be exactly 128 bytes (32 characters of 4
    // bytes do), and SQLite keeps texts of any length whatever the declared one.
    const bool asText = p.read == Read::Text || p.read == Read::Value || (p.read == Read::AsIs && code == STRING);
    if (asText) {
        switch (src.kind) {
        case Kind::Char:
        case Kind::Varchar: p.marked = source == DbKind::SQLite || src.size == 0 || src.size >= 32; break;
        case Kind::Text:
        case Kind::Other: p.marked = true; break;
        case Kind::Decimal: p.marked = src.size == 0 || decimalTextLength(src.size, src.scale) >= 128; break;
        default: break;  // numbers and times: short texts
        }
    }

    // Whether every value of the source column has a place in the target's.
    if (isInteger(src.kind)) {
        // A narrower integer is judged by the values (valueCheck): SQLite's declared names say nothing of them.
        if (isFloat(dst.kind) && integerBits(src.kind) > (dst.kind == Kind::Float32 ? 24 : 53))
            p.loss = "a floating-point target rounds large integers";
        else if (dst.kind == Kind::Decimal && dst.size != 0 && dst.size - dst.scale < 19 && integerBits(src.kind) == 64)
            p.loss = decimalText(dst) + " can't hold every 64-bit integer";
    } else if (src.kind == Kind::Decimal) {
        if (dst.kind == Kind::Decimal && target == DbKind::SQLite && (dst.size == 0 || dst.size > 15) &&
            (src.size == 0 || src.size > 15))
            p.loss = "SQLite keeps " + decimalText(dst) + " as a double of 15 digits";
        else if (dst.kind == Kind::Decimal && dst.size != 0 && src.size != 0 &&
                 (dst.scale < src.scale || dst.size - dst.scale < src.size - src.scale))
            p.loss = decimalText(dst) + " can't hold " + decimalText(src);
        else if (isFloat(dst.kind) && source != DbKind::SQLite)
            p.loss = "a floating-point target rounds decimals";
        else if (isInteger(dst.kind) && src.scale > 0)
            p.loss = "an integer target drops the fraction";
    } else if (src.kind == Kind::Float64 && dst.kind == Kind::Float32) {
        p.loss = "a single-precision target rounds doubles";
    } else if (isText(src.kind) && isText(dst.kind) && !holdsLength(dst.size, src.size)) {
        p.loss = "a text of " + num(dst.size) + " characters can't hold " +
                 (src.size == 0 ? std::string("unbounded texts") : "texts of " + num(src.size));
    } else if (isBinary(src.kind) && isBinary(dst.kind) && !holdsLength(dst.size, src.size)) {
        p.loss = "a binary of " + num(dst.size) + " bytes can't hold " +
                 (src.size == 0 ? std::string("unbounded binaries") : "binaries of " + num(src.size));
    } else if ((src.kind == Kind::Time || src.kind == Kind::Timestamp) && dst.kind == src.kind &&
               target != DbKind::SQLite && dst.size < src.size) {
        p.loss = "the target keeps " + num(dst.size) + " fraction digits of the source's " + num(src.size);
    } else if (src.kind == Kind::Timestamp && dst.kind == Kind::Date) {
        p.loss = "a date drops the time of day";
    }
    return p;
}

std::string sqliteValueText(const std::string& q) {
    std::string digits;
    for (const char* n : {"15", "16", "17"}) {
        const std::string text = "printf('%!." + std::string(n) + "g', " + q + ")";
        digits += " WHEN CAST(" + text + " AS REAL) = " + q + " THEN " + text;
    }
    return "CASE WHEN typeof(" + q + ") <> 'real' THEN " + q + digits + " ELSE printf('%!.20g', " + q + ") END";
}

std::string readItem(const Dialect& source, const std::string& name, Read read, const std::string& from) {
    const std::string q = from.empty() ? quoteName(source, name) : from + "." + quoteName(source, name);
    if (read == Read::AsIs) return q;
    if (read == Read::Value) {
        if (source.kind != DbKind::SQLite) return q;
        return sqliteValueText(q) + " AS " + quoteName(source, name);
    }
    // SQLite prints with a long double: 17 digits read back right for most
    // doubles, 20 for some of large exponent, where the 17th digit is off.
    // Its printf of a NULL is a text, not a NULL.
    if (read == Read::Digits)
        return "CASE WHEN " + q + " IS NULL THEN NULL WHEN " + q + " = CAST(printf('%!.17g', " + q +
               ") AS REAL) THEN printf('%!.17g', " + q + ") ELSE printf('%!.20g', " + q + ") END AS " +
               quoteName(source, name);
    const char* text = source.kind == DbKind::MariaDB ? "CHAR" : source.kind == DbKind::Other ? "VARCHAR(4000)"
                                                                                               : "TEXT";
    return "CAST(" + q + " AS " + text + ") AS " + quoteName(source, name);
}

int decimalTextLength(int precision, int scale) {
    const int whole = precision - scale > 0 ? precision - scale : 1;
    return 1 + whole + (scale > 0 ? 1 + scale : 0);
}

std::string markedItem(const Dialect& source, const std::string& name, Read read, const ColumnType& type,
                       const std::string& from) {
    const std::string q = from.empty() ? quoteName(source, name) : from + "." + quoteName(source, name);
    const std::string as = " AS " + quoteName(source, name);
    const bool asIs = read == Read::AsIs;
    switch (source.kind) {
    case DbKind::PostgreSQL: {
        // concat keeps a char's padding, which a cast to text drops, and
        // makes no NULL of a NULL. The driver reads a text, and a varchar
        // above 255 characters, row by row, as a long text; a varchar
        // without a length it describes as 255 long, and reads in blocks
        // (a longer value is read again on its own).
        const bool text = type.kind == Kind::Char || type.kind == Kind::Varchar || type.kind == Kind::Text;
        const bool bounded = asIs && (type.kind == Kind::Char || type.kind == Kind::Varchar) && type.size > 0;
        const std::string e = asIs && text ? q : "CAST(" + q + " AS TEXT)";
        return "CAST(CASE WHEN " + e + " IS NULL THEN NULL WHEN octet_length(" + e + ") = 127 THEN concat(" + e +
               ", '22') ELSE concat(" + e + ", '1') END AS varchar" +
               (bounded ? "(" + std::to_string(type.size + 2) + ")" : std::string()) + ")" + as;
    }
    case DbKind::MariaDB: {
        // Counted in the bytes the driver hands over, whatever the column's character set.
        const std::string e = asIs ? q : "CAST(" + q + " AS CHAR)";
        return "CASE WHEN octet_length(CONVERT(" + e + " USING utf8mb4)) = 127 THEN concat(" + e +
               ", '22') ELSE concat(" + e + ", '1') END" + as;
    }
    case DbKind::SQLite: {
        const std::string e = asIs ? q : read == Read::Value ? "(" + sqliteValueText(q) + ")" : "CAST(" + q + " AS TEXT)";
        return "CASE WHEN length(CAST(" + e + " AS BLOB)) = 127 THEN " + e + " || '22' ELSE " + e + " || '1' END" +
               as;
    }
    case DbKind::Other: break;
    }
    return "";
}

bool unmark(char* text) {
    const size_t n = std::strlen(text);
    if (n >= 1 && text[n - 1] == '1') {
        text[n - 1] = '\0';
        return true;
    }
    if (n >= 2 && text[n - 1] == '2' && text[n - 2] == '2') {
        text[n - 2] = '\0';
        return true;
    }
    return false;
}

namespace {

ValueCheck targetCheck(const Dialect& source, const std::string& q, const ColumnType& src, DbKind target,
                       const ColumnType& dst);

} // namespace

ValueCheck valueCheck(const Dialect& source, const std::string& name, const ColumnType& src, DbKind target,
                      const ColumnType& dst, const std::string& from) {
    const std::string q = from.empty() ? quoteName(source, name) : from + "." + quoteName(source, name);
    ValueCheck c = targetCheck(source, q, src, target, dst);
    if (source.kind != DbKind::SQLite || !isFloat(src.kind)) return c;
    // Doubles are read as SQLite's text of them to 17 or 20 digits (its
    // driver's own read keeps 15). Infinities, and any double neither text
    // reads back as, are found by the same round trips in SQL.
    const std::string digits = "(" + q + " <> CAST(printf('%!.17g', " + q + ") AS REAL) AND " + q +
                               " <> CAST(printf('%!.20g', " + q + ") AS REAL))";
    const std::string rounded = "doubles that SQLite can't print exactly (infinities, some at the ends of the range)";
    if (c.condition.empty()) return {digits, rounded};
    return {"(" + c.condition + ") OR " + digits, c.what + "; or " + rounded, c.refused};
}

namespace {

ValueCheck targetCheck(const Dialect& source, const std::string& q, const ColumnType& src, DbKind target,
                       const ColumnType& dst) {
    const bool pg = source.kind == DbKind::PostgreSQL;
    if (isFloat(src.kind) && isFloat(dst.kind)) {
        if (target == DbKind::SQLite && pg)
            return {"(" + q + " = 'NaN' OR (" + q + " = 0 AND CAST(" + q + " AS TEXT) LIKE '-%'))",
                    "NaN or -0, which SQLite keeps as NULL and 0"};
        if (target == DbKind::SQLite && source.kind == DbKind::MariaDB)
            return {"(" + q + " = 0 AND CAST(" + q + " AS CHAR) LIKE '-%')", "-0, which SQLite keeps as 0"};
        if (target == DbKind::MariaDB && pg)
            return {q + " IN ('NaN', 'Infinity', '-Infinity')", "NaN or infinities, which MariaDB refuses (written as NULL)", true};
        if (target == DbKind::MariaDB && source.kind == DbKind::SQLite)
            return {q + " IN (9e999, -9e999)", "infinities, which MariaDB refuses (written as NULL)", true};
    }
    if (isInteger(src.kind) && isInteger(dst.kind) && integerBits(dst.kind) < integerBits(src.kind)) {
        const int bits = integerBits(dst.kind);
        const std::string low = "-" + std::to_string(1ULL << (bits - 1)), high = std::to_string((1ULL << (bits - 1)) - 1);
        return {q + " NOT BETWEEN " + low + " AND " + high,
                "integers beyond the target's " + num(bits) + " bits (written as NULL)", true};
    }
    // SQLite keeps texts of any length whatever the declared one.
    if (source.kind == DbKind::SQLite && isText(src.kind) && isText(dst.kind) && dst.size != 0 &&
        target != DbKind::SQLite)
        return {"length(" + q + ") > " + num(dst.size),
                "texts longer than the target's " + num(dst.size) + " characters (written as NULL)", true};
    if (pg && src.kind == Kind::Decimal && src.size == 0 && dst.kind == Kind::Decimal && dst.size != 0) {
        std::string cond = "(" + q + " = 'NaN' OR scale(" + q + ") > " + num(dst.scale) + " OR abs(" + q +
                           ") >= 1e" + num(dst.size - dst.scale) + ")";
        return {cond, "NaN or more digits than " + decimalText(dst) + " holds (written as NULL)", true};
    }
    return {};
}

} // namespace

} // namespace orlodbc
