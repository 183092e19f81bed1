#include "tools/orlodbc/Fingerprint.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>

#include "datatypes/TypeEnum.h"
#include "host/Parameter.h"
#include "host/ResultSet.h"
#include "host/Row.h"
#include "tools/orlodbc/Links.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace orlodbc {

namespace {

Canon classOf(Kind k) {
    switch (k) {
    case Kind::Int8:
    case Kind::Int16:
    case Kind::Int32:
    case Kind::Int64:
    case Kind::Boolean: return Canon::Integer;
    case Kind::Decimal: return Canon::Decimal;
    case Kind::Float32:
    case Kind::Float64: return Canon::Float;
    case Kind::Char: return Canon::PaddedText;
    case Kind::Varchar:
    case Kind::Text: return Canon::Text;
    case Kind::Binary:
    case Kind::Varbinary:
    case Kind::Blob: return Canon::Binary;
    case Kind::Date: return Canon::Date;
    case Kind::Time: return Canon::Time;
    case Kind::Timestamp: return Canon::Timestamp;
    case Kind::Other: break;
    }
    return Canon::AsText;
}

// The fraction of a text that always has one, without trailing zeros nor a bare point.
std::string trimmedFraction(DbKind db, const std::string& t) {
    if (db == DbKind::MariaDB) return "TRIM(TRAILING '.' FROM TRIM(TRAILING '0' FROM " + t + "))";
    return "rtrim(rtrim(" + t + ", '0'), '.')";
}

// The same for a text that may have no fraction (and then keeps its zeros).
std::string trimmedIfFraction(DbKind db, const std::string& t) {
    const std::string at = db == DbKind::MariaDB ? "INSTR(" + t + ", '.')" : "instr(" + t + ", '.')";
    return "CASE WHEN " + at + " > 0 THEN " + trimmedFraction(db, t) + " ELSE " + t + " END";
}

// MD5 as RFC 1321 has it.
struct Md5 {
    uint32_t h[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

    void block(const unsigned char* p) {
        static const uint32_t K[64] = {
            0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
            0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
            0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
            0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
            0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
            0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
            0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
            0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};
        static const int R[16] = {7, 12, 17, 22, 5, 9, 14, 20, 4, 11, 16, 23, 6, 10, 15, 21};
        uint32_t m[16];
        for (int i = 0; i < 16; ++i)
            m[i] = static_cast<uint32_t>(p[4 * i]) | static_cast<uint32_t>(p[4 * i + 1]) << 8 |
                   static_cast<uint32_t>(p[4 * i + 2]) << 16 | static_cast<uint32_t>(p[4 * i + 3]) << 24;
        uint32_t a = h[0], b = h[1], c = h[2], d = h[3];
        for (int i = 0; i < 64; ++i) {
            uint32_t f;
            int g;
            if (i < 16) f = (b & c) | (~b & d), g = i;
            else if (i < 32) f = (d & b) | (~d & c), g = (5 * i + 1) % 16;
            else if (i < 48) f = b ^ c ^ d, g = (3 * i + 5) % 16;
            else f = c ^ (b | ~d), g = (7 * i) % 16;
            const uint32_t t = d;
            d = c;
            c = b;
            const uint32_t x = a + f + K[i] + m[g];
            const int s = R[(i / 16) * 4 + i % 4];
            b = b + ((x << s) | (x >> (32 - s)));
            a = t;
        }
        h[0] += a, h[1] += b, h[2] += c, h[3] += d;
    }

    void digest(const std::string& in, unsigned char out[16]) {
        const size_t n = in.size();
        size_t i = 0;
        for (; i + 64 <= n; i += 64) block(reinterpret_cast<const unsigned char*>(in.data()) + i);
        unsigned char tail[128] = {0};
        const size_t rest = n - i;
        std::memcpy(tail, in.data() + i, rest);
        tail[rest] = 0x80;
        const size_t len = rest + 9 <= 64 ? 64 : 128;
        const uint64_t bits = static_cast<uint64_t>(n) * 8;
        for (int k = 0; k < 8; ++k) tail[len - 8 + k] = static_cast<unsigned char>(bits >> (8 * k));
        block(tail);
        if (len == 128) block(tail + 64);
        for (int k = 0; k < 4; ++k)
            for (int j = 0; j < 4; ++j) out[4 * k + j] = static_cast<unsigned char>(h[k] >> (8 * j));
    }
};

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string unhex(const char* s) {
    std::string out;
    for (size_t i = 0; s[i] != '\0' && s[i + 1] != '\0'; i += 2)
        out += static_cast<char>(hexDigit(s[i]) * 16 + hexDigit(s[i + 1]));
    return out;
}

// Runs a query of our own text whose columns are all ASCII texts, one call a row.
bool eachRow(Connection& c, const std::string& sql, int n,
             const std::function<void(const std::vector<const char*>&)>& f) {
    return eachTextRow(c, sql, std::vector<std::string>(), n, f);
}

} // namespace

Canon canonFor(const ColumnType& src, const ColumnType& dst) {
    const Canon a = classOf(src.kind), b = classOf(dst.kind);
    if (src.kind == Kind::Other) return b;
    if (dst.kind == Kind::Other) return a;
    if (a == Canon::Float || b == Canon::Float) {
        if (a == b || a == Canon::Integer || a == Canon::Decimal || b == Canon::Integer || b == Canon::Decimal)
            return Canon::Float;
    }
    if ((a == Canon::Decimal && b == Canon::Integer) || (a == Canon::Integer && b == Canon::Decimal))
        return Canon::Decimal;
    if ((a == Canon::Text && b == Canon::PaddedText) || (a == Canon::PaddedText && b == Canon::Text))
        return Canon::PaddedText;
    if ((a == Canon::Date && b == Canon::Timestamp) || (a == Canon::Timestamp && b == Canon::Date))
        return Canon::Timestamp;
    return a;
}

const char* canonName(Canon c) {
    switch (c) {
    case Canon::Integer: return "integers in decimal";
    case Canon::Decimal: return "decimals without trailing zeros";
    case Canon::Float: return "doubles";
    case Canon::Text: return "text bytes";
    case Canon::PaddedText: return "text bytes without trailing blanks";
    case Canon::Binary: return "bytes in hex";
    case Canon::Date: return "dates";
    case Canon::Time: return "times with their fraction";
    case Canon::Timestamp: return "timestamps with their fraction";
    case Canon::AsText: break;
    }
    return "each database's own text of the value";
}

std::string canonicalSql(DbKind db, Canon c, const std::string& q, const ColumnType& t) {
    const bool pg = db == DbKind::PostgreSQL, maria = db == DbKind::MariaDB;
    std::string e;
    switch (c) {
    case Canon::Integer:
        if (pg) e = t.kind == Kind::Boolean ? "CASE WHEN " + q + " THEN '1' ELSE '0' END" : "CAST(" + q + " AS text)";
        else if (maria) e = "CAST(" + q + " AS CHAR)";
        // SQLite may keep a whole number written as a double as one.
        else e = "CASE WHEN typeof(" + q + ") = 'real' AND " + q + " = CAST(" + q + " AS INTEGER) THEN CAST(CAST(" +
                 q + " AS INTEGER) AS TEXT) ELSE CAST(" + q + " AS TEXT) END";
        break;
    case Canon::Decimal:
        if (pg) e = "CAST(trim_scale(CAST(" + q + " AS numeric)) AS text)";
        else if (maria) e = "CASE WHEN " + q + " = 0 THEN '0' ELSE " + trimmedIfFraction(db, "CAST(" + q + " AS CHAR)") + " END";
        // SQLite prints a double as 1.0e+20 past 15 digits: such texts are left as they are.
        else e = "CASE WHEN CAST(" + q + " AS REAL) = 0 THEN '0' WHEN instr(lower(CAST(" + q + " AS TEXT)), 'e') > 0 THEN CAST(" +
                 q + " AS TEXT) ELSE " + trimmedIfFraction(db, "CAST(" + q + " AS TEXT)") + " END";
        break;
    case Canon::Float:
        // PostgreSQL and MariaDB print the shortest text that reads back the same; SQLite's 17 digits come close.
        if (pg) e = "CAST(" + q + " AS text)";
        else if (maria) e = "CAST(" + q + " AS CHAR)";
        else e = "printf('%!.17g', " + q + ")";
        break;
    case Canon::Text:
    case Canon::PaddedText:
    case Canon::AsText: {
        const bool pad = c == Canon::PaddedText;
        if (pg) e = pad ? "rtrim(CAST(" + q + " AS text), ' ')" : "CAST(" + q + " AS text)";
        else if (maria) e = pad ? "RTRIM(" + q + ")" : c == Canon::AsText ? "CAST(" + q + " AS CHAR)" : q;
        // A value of any type is the text the copy read of it (a double's to the digits that read back).
        else if (t.anyType) e = "hex(" + sqliteValueText(q) + ")";
        else e = pad ? "hex(rtrim(" + q + ", ' '))" : "hex(" + q + ")";
        break;
    }
    case Canon::Binary:
        e = pg ? "upper(encode(" + q + ", 'hex'))" : maria ? "HEX(" + q + ")" : "hex(" + q + ")";
        break;
    case Canon::Date:
        e = pg ? "to_char(" + q + ", 'YYYY-MM-DD')" : maria ? "DATE_FORMAT(" + q + ", '%Y-%m-%d')" : "substr(" + q + ", 1, 10)";
        break;
    case Canon::Time:
        if (pg) e = trimmedFraction(db, "to_char(" + q + ", 'HH24:MI:SS.US')");
        else if (maria) e = trimmedFraction(db, "TIME_FORMAT(" + q + ", '%H:%i:%s.%f')");
        else e = trimmedIfFraction(db, "CAST(" + q + " AS TEXT)");
        break;
    case Canon::Timestamp:
        if (pg) e = trimmedFraction(db, "to_char(" + q + ", 'YYYY-MM-DD HH24:MI:SS.US')");
        else if (maria) e = trimmedFraction(db, "DATE_FORMAT(" + q + ", '%Y-%m-%d %H:%i:%s.%f')");
        else {
            // SQLite keeps what was written: a date alone, or a T between date and time.
            const std::string t2 = "replace(CAST(" + q + " AS TEXT), 'T', ' ')";
            e = "CASE WHEN length(" + q + ") = 10 THEN " + t2 + " || ' 00:00:00' ELSE " + trimmedIfFraction(db, t2) + " END";
        }
        break;
    }
    return "CASE WHEN " + q + " IS NULL THEN NULL ELSE " + e + " END";
}

std::string md5Hex(const std::string& bytes) {
    Md5 m;
    unsigned char d[16];
    m.digest(bytes, d);
    static const char* digits = "0123456789abcdef";
    std::string out;
    for (unsigned char b : d) {
        out += digits[b >> 4];
        out += digits[b & 15];
    }
    return out;
}

uint64_t hash60(const std::string& bytes) {
    const std::string h = md5Hex(bytes);
    uint64_t v = 0;
    for (int i = 0; i < 15; ++i) v = v * 16 + static_cast<uint64_t>(hexDigit(h[i]));
    return v;
}

bool canonicalDouble(const std::string& printed, bool single, bool to15, std::string& out) {
    if (printed.empty()) return false;
    char* end = nullptr;
    const double v = single ? static_cast<double>(std::strtof(printed.c_str(), &end)) : std::strtod(printed.c_str(), &end);
    if (end == printed.c_str() || *end != '\0') return false;
    if (std::isnan(v)) out = "NaN";
    else if (std::isinf(v)) out = v > 0 ? "Infinity" : "-Infinity";
    else if (to15) {
        // SQLite keeps no -0.
        char buf[40];
        std::snprintf(buf, sizeof buf, "%.14e", v == 0 ? 0.0 : v);
        out = buf;
    } else {
        char buf[40];
        for (int p = 1; p <= 17; ++p) {
            std::snprintf(buf, sizeof buf, "%.*g", p, v);
            if (std::strtod(buf, nullptr) == v) break;
        }
        out = buf;
    }
    return true;
}

std::string decimal128(unsigned __int128 v) {
    std::string s;
    do {
        s.insert(s.begin(), static_cast<char>('0' + static_cast<int>(v % 10)));
        v /= 10;
    } while (v != 0);
    return s;
}

bool parse128(const std::string& text, unsigned __int128& v) {
    v = 0;
    const bool minus = !text.empty() && text[0] == '-';
    if (text.size() == (minus ? 1u : 0u)) return false;
    for (size_t i = minus ? 1 : 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c < '0' || c > '9') return false;
        v = v * 10 + static_cast<unsigned>(c - '0');
    }
    if (minus) v = ~v + 1;
    return true;
}

bool addInteger(ColumnPrint& c, const char* text) {
    char* end = nullptr;
    errno = 0;
    const long long v = std::strtoll(text, &end, 10);
    if (end == text || *end != '\0' || errno == ERANGE) return false;
    c.values++;
    c.sum += static_cast<unsigned __int128>(static_cast<__int128>(v));
    const uint64_t u = static_cast<uint64_t>(v);
    c.squares += u * u;
    return true;
}

std::string TablePrint::text() const {
    // FNV-1a over the counts and sums: equal prints, equal texts.
    uint64_t h = 1469598103934665603ULL;
    auto mix = [&h](const std::string& s) {
        for (char c : s) h = (h ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
        h = (h ^ 0xff) * 1099511628211ULL;
    };
    mix(std::to_string(rows));
    for (const ColumnPrint& c : columns) {
        mix(std::to_string(c.values));
        mix(decimal128(c.sum));
        mix(std::to_string(c.squares));
    }
    char buf[17];
    std::snprintf(buf, sizeof buf, "%016llx", static_cast<unsigned long long>(h));
    return buf;
}

bool printTable(ClassicLink& link, const Dialect& d, const std::string& from, const std::vector<PrintColumn>& columns,
                bool to15, TablePrint& print, std::string& why, const std::vector<std::string>& where) {
    const bool pg = d.kind == DbKind::PostgreSQL, maria = d.kind == DbKind::MariaDB;
    if (!pg && !maria && d.kind != DbKind::SQLite) {
        why = "the tool has canonical forms for PostgreSQL, MariaDB and SQLite only";
        return false;
    }
    const size_t n = columns.size();
    print = TablePrint();
    print.columns.assign(n, ColumnPrint());
    Connection& c = *link.get();
    // A row-by-row read, one chunk a query; the read of each ends before the next, so a driver holds one at most.
    const auto eachChunk = [&](const std::string& select, int items,
                               const std::function<void(const std::vector<const char*>&)>& f) {
        if (where.empty()) return eachRow(c, select + " FROM " + from, items, f);
        for (const std::string& w : where) {
            if (!eachRow(c, select + " FROM " + from + " WHERE " + w, items, f)) return false;
            c.rollback();
        }
        return true;
    };
    auto addDouble = [&](size_t j, const char* text) {
        std::string canon;
        if (!canonicalDouble(text, columns[j].type.kind == Kind::Float32, to15, canon)) canon = std::string("?") + text;
        print.columns[j].values++;
        print.columns[j].sum += hash60(canon);
    };
    std::vector<size_t> rowColumns;  // read a row at a time and hashed here
    std::string sql;
    if (pg || maria) {
        // Everything but doubles is summed by the database itself.
        const std::string text = pg ? "text" : "CHAR";
        sql = "SELECT CAST(COUNT(*) AS " + text + ")";
        for (size_t j = 0; j < n; ++j) {
            if (columns[j].canon == Canon::Float) {
                rowColumns.push_back(j);
                continue;
            }
            const std::string q = quoteName(d, columns[j].name);
            if (columns[j].canon == Canon::Integer) {
                const std::string x = pg ? (columns[j].type.kind == Kind::Boolean
                                                ? "CASE WHEN " + q + " THEN 1 WHEN NOT " + q + " THEN 0 END"
                                                : "CAST(" + q + " AS numeric)")
                                         : "CAST(" + q + " AS DECIMAL(65,0))";
                sql += ", CAST(COUNT(" + x + ") AS " + text + "), CAST(COALESCE(SUM(" + x + "), 0) AS " + text +
                       "), CAST(MOD(COALESCE(SUM(" + x + " * " + x + "), 0), 18446744073709551616) AS " + text + ")";
                continue;
            }
            const std::string e = canonicalSql(d.kind, columns[j].canon, q, columns[j].type);
            const std::string h =
                pg ? "CAST(CAST('x' || substr(md5(convert_to(" + e + ", 'UTF8')), 1, 15) AS bit(60)) AS bigint)"
                   : "CAST(CONV(SUBSTRING(MD5(CONVERT(" + e + " USING utf8mb4)), 1, 15), 16, 10) AS UNSIGNED)";
            sql += ", CAST(COUNT(" + e + ") AS " + text + "), CAST(COALESCE(SUM(" + h + "), 0) AS " + text + ")";
        }
        sql += " FROM " + from;
        bool got = false, bad = false;
        int items = 1;
        for (const PrintColumn& col : columns) items += col.canon == Canon::Float ? 0 : col.canon == Canon::Integer ? 3 : 2;
        const bool ok = eachRow(c, sql, items,
                                [&](const std::vector<const char*>& cells) {
                                    got = true;
                                    unsigned __int128 v = 0;
                                    bad = bad || cells[0] == nullptr || !parse128(cells[0], v);
                                    print.rows = static_cast<uint64_t>(v);
                                    size_t k = 1;
                                    for (size_t j = 0; j < n; ++j) {
                                        if (columns[j].canon == Canon::Float) continue;
                                        bad = bad || cells[k] == nullptr || !parse128(cells[k], v);
                                        print.columns[j].values = static_cast<uint64_t>(v);
                                        bad = bad || cells[k + 1] == nullptr || !parse128(cells[k + 1], print.columns[j].sum);
                                        if (columns[j].canon == Canon::Integer) {
                                            bad = bad || cells[k + 2] == nullptr || !parse128(cells[k + 2], v);
                                            print.columns[j].squares = static_cast<uint64_t>(v);
                                            ++k;
                                        }
                                        k += 2;
                                    }
                                });
        if (!ok) return link.failed(why);
        if (!got || bad) {
            why = "the sums of " + from + " came back in a form the tool can't read";
            return false;
        }
        if (rowColumns.empty()) {
            c.rollback();
            return true;
        }
        sql = "SELECT ";
        for (size_t k = 0; k < rowColumns.size(); ++k) {
            const PrintColumn& col = columns[rowColumns[k]];
            sql += (k ? ", " : "") + canonicalSql(d.kind, col.canon, quoteName(d, col.name), col.type);
        }
        const bool rowsOk = eachChunk(sql, static_cast<int>(rowColumns.size()), [&](const std::vector<const char*>& cells) {
            for (size_t k = 0; k < rowColumns.size(); ++k)
                if (cells[k] != nullptr) addDouble(rowColumns[k], cells[k]);
        });
        if (!rowsOk) return link.failed(why);
        c.rollback();
        return true;
    }

    // SQLite has no MD5: it prints each row's canonical texts and the tool hashes them.
    sql = "SELECT ";
    for (size_t j = 0; j < n; ++j)
        sql += (j ? ", " : "") + canonicalSql(d.kind, columns[j].canon, quoteName(d, columns[j].name), columns[j].type);
    const bool ok = eachChunk(sql, static_cast<int>(n), [&](const std::vector<const char*>& cells) {
        print.rows++;
        for (size_t j = 0; j < n; ++j) {
            if (cells[j] == nullptr) continue;
            switch (columns[j].canon) {
            case Canon::Float: addDouble(j, cells[j]); continue;
            case Canon::Integer:
                if (addInteger(print.columns[j], cells[j])) continue;
                print.columns[j].squares ^= 1;  // not an integer: it can't compare equal to one
                print.columns[j].sum += hash60(cells[j]);
                break;
            case Canon::Text:
            case Canon::PaddedText:
            case Canon::AsText: print.columns[j].sum += hash60(unhex(cells[j])); break;
            default: print.columns[j].sum += hash60(cells[j]); break;
            }
            print.columns[j].values++;
        }
    });
    if (!ok) return link.failed(why);
    c.rollback();
    return true;
}

} // namespace orlodbc
