#include "tools/orlodbc/Dialect.h"

#include <cstring>

namespace orlodbc {

namespace {

bool contains(const std::string& text, const char* word) {
    std::string lower;
    for (char c : text) lower += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return lower.find(word) != std::string::npos;
}

// Code points of UTF-8 text; false for bytes that aren't UTF-8.
bool codePoints(const std::string& s, std::vector<unsigned long>& out) {
    for (size_t i = 0; i < s.size();) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        size_t n = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
        if (n == 0 || i + n > s.size()) return false;
        unsigned long cp = n == 1 ? c : c & (0x7F >> n);
        for (size_t k = 1; k < n; ++k) {
            const unsigned char t = static_cast<unsigned char>(s[i + k]);
            if ((t >> 6) != 2) return false;
            cp = (cp << 6) | (t & 0x3F);
        }
        out.push_back(cp);
        i += n;
    }
    return true;
}

} // namespace

Dialect dialectFor(const std::string& dbmsName, const std::string& quoteChar, const std::string& keyword) {
    Dialect d;
    d.keyword = keyword;
    if (contains(dbmsName, "postgres") || (dbmsName.empty() && keyword == "POSTGRESQL")) {
        d.kind = DbKind::PostgreSQL;
    } else if (contains(dbmsName, "mariadb") || contains(dbmsName, "mysql") ||
               (dbmsName.empty() && keyword == "MYSQL")) {
        d.kind = DbKind::MariaDB;
        d.quote = "`";
    } else if (contains(dbmsName, "sqlite")) {
        d.kind = DbKind::SQLite;
    } else {
        // A single space is how a driver says that it has no quoting.
        d.quote = quoteChar.empty() ? "\"" : quoteChar == " " ? "" : quoteChar;
    }
    return d;
}

const char* kindName(DbKind kind) {
    switch (kind) {
    case DbKind::PostgreSQL: return "PostgreSQL";
    case DbKind::MariaDB: return "MariaDB";
    case DbKind::SQLite: return "SQLite";
    case DbKind::Other: break;
    }
    return "this database";
}

bool plainName(const std::string& name) {
    if (name.empty() || (name[0] >= '0' && name[0] <= '9')) return false;
    for (char c : name)
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_')) return false;
    return true;
}

bool canHold(const Dialect& d, const std::string& name, std::string& why) {
    if (name.empty()) {
        why = "an empty name";
        return false;
    }
    if (name.find('\0') != std::string::npos) {
        why = "a name with a NUL byte";
        return false;
    }
    switch (d.kind) {
    case DbKind::PostgreSQL:
        // Longer names are cut to 63 bytes by the server, with only a notice.
        if (name.size() > 63) {
            why = "PostgreSQL keeps names of at most 63 bytes";
            return false;
        }
        return true;
    case DbKind::MariaDB: {
        std::vector<unsigned long> cps;
        if (!codePoints(name, cps)) {
            why = "MariaDB takes names in UTF-8 only";
            return false;
        }
        if (cps.size() > 64) {
            why = "MariaDB keeps names of at most 64 characters";
            return false;
        }
        if (name.back() == ' ') {
            why = "MariaDB refuses names that end in a space";
            return false;
        }
        for (unsigned long cp : cps)
            if (cp > 0xFFFF) {
                why = "MariaDB refuses characters beyond U+FFFF in names";
                return false;
            }
        return true;
    }
    case DbKind::SQLite: return true;
    case DbKind::Other: break;
    }
    if (d.quote.empty() && !plainName(name)) {
        why = "the database has no quoted names, and this one isn't plain";
        return false;
    }
    return true;
}

std::string quoteName(const Dialect& d, const std::string& name) {
    if (d.quote.empty()) return name;
    std::string out = d.quote;
    for (size_t i = 0; i < name.size();) {
        if (name.compare(i, d.quote.size(), d.quote) == 0) {
            out += d.quote;
            out += d.quote;
            i += d.quote.size();
        } else {
            out += name[i++];
        }
    }
    return out + d.quote;
}

std::string quoteNames(const Dialect& d, const std::vector<std::string>& names) {
    std::string out;
    for (size_t j = 0; j < names.size(); ++j) out += (j ? ", " : "") + quoteName(d, names[j]);
    return out;
}

bool parseTableName(const Dialect& d, const std::string& text, TableName& out, std::string& why) {
    std::vector<std::string> parts;
    const std::string& q = d.quote;
    size_t i = 0;
    while (true) {
        std::string part;
        if (!q.empty() && text.compare(i, q.size(), q) == 0) {
            i += q.size();
            bool closed = false;
            while (i < text.size()) {
                if (text.compare(i, q.size(), q) == 0) {
                    if (text.compare(i + q.size(), q.size(), q) == 0) {
                        part += q;
                        i += 2 * q.size();
                        continue;
                    }
                    i += q.size();
                    closed = true;
                    break;
                }
                part += text[i++];
            }
            if (!closed) {
                why = "a quote that isn't closed";
                return false;
            }
            if (i < text.size() && text[i] != '.') {
                why = "text after a closing quote";
                return false;
            }
        } else {
            const size_t end = text.find('.', i);
            part = text.substr(i, end == std::string::npos ? std::string::npos : end - i);
            // A quote in a bare part means the name was meant quoted, or is an
            // attempt at SQL: either way it is not taken as it stands.
            if (part.find_first_of("\"`[]") != std::string::npos) {
                why = "a quote or bracket in an unquoted part (write the part as " +
                      (q.empty() ? std::string("a plain name") : q + "name" + q) + ")";
                return false;
            }
            i = end == std::string::npos ? text.size() : end;
        }
        if (part.empty()) {
            why = "an empty part";
            return false;
        }
        parts.push_back(part);
        if (i >= text.size()) break;
        ++i;  // the dot
        if (i >= text.size()) {
            why = "an empty part";
            return false;
        }
    }
    if (parts.size() > 2) {
        why = "more than a schema and a table";
        return false;
    }
    out.schema = parts.size() == 2 ? parts[0] : std::string();
    out.table = parts.back();
    for (const std::string& p : parts)
        if (!canHold(d, p, why)) return false;
    return true;
}

std::string quoteTable(const Dialect& d, const TableName& name) {
    return (name.schema.empty() ? std::string() : quoteName(d, name.schema) + ".") + quoteName(d, name.table);
}

std::string shownName(const std::string& name) {
    if (plainName(name)) return name;
    std::string out = "\"";
    for (char c : name) out += c == '"' ? std::string("\"\"") : std::string(1, c);
    return out + "\"";
}

std::string shownName(const TableName& name) {
    return (name.schema.empty() ? std::string() : shownName(name.schema) + ".") + shownName(name.table);
}

} // namespace orlodbc
