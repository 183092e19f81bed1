#include "bulk/internal/PlainInsert.h"

#include <cstring>

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

namespace {

// Comments are not whitespace here: "--", "/*" and "#" end the form.
bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

// Bytes above 127 count as letters, so that a UTF-8 name passes bare.
bool startsWord(char c) {
    const unsigned char u = static_cast<unsigned char>(c);
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || u == '_' || u >= 128;
}
bool inWord(char c) { return startsWord(c) || (c >= '0' && c <= '9') || c == '$'; }

struct Scanner {
    const char* at;

    void skipSpace() {
        while (isSpace(*at)) ++at;
    }
    bool take(char c) {
        skipSpace();
        if (*at != c) return false;
        ++at;
        return true;
    }
    // A keyword, whole: "INTO" does not match the start of "INTOX".
    bool keyword(const char* word) {
        skipSpace();
        const size_t n = std::strlen(word);
        for (size_t k = 0; k < n; ++k) {
            const char c = at[k];
            if (c == '\0' || (c & ~0x20) != word[k]) return false;
        }
        if (inWord(at[n])) return false;
        at += n;
        return true;
    }
    // A bare or quoted identifier; a doubled closing quote stands for itself.
    bool identifier() {
        skipSpace();
        const char open = *at;
        const char close = open == '"' ? '"' : open == '`' ? '`' : open == '[' ? ']' : '\0';
        if (close == '\0') {
            if (!startsWord(*at)) return false;
            while (inWord(*at)) ++at;
            return true;
        }
        ++at;
        size_t length = 0;
        for (;; ++at) {
            if (*at == '\0') return false;
            if (*at != close) {
                ++length;
                continue;
            }
            if (at[1] != close) break;
            ++at;
            ++length;
        }
        ++at;
        return length > 0;
    }
};

} // namespace

bool parsePlainInsert(const char* sql, PlainInsert& out) {
    if (sql == nullptr) return false;
    Scanner s{sql};
    if (!s.keyword("INSERT") || !s.keyword("INTO") || !s.identifier()) return false;
    if (s.take('.') && !s.identifier()) return false;
    if (s.take('(')) {
        do {
            if (!s.identifier()) return false;
        } while (s.take(','));
        if (!s.take(')')) return false;
    }
    if (!s.keyword("VALUES") || !s.take('(')) return false;
    const char* group = s.at - 1;
    size_t markers = 0;
    do {
        if (!s.take('?')) return false;
        ++markers;
    } while (s.take(','));
    if (!s.take(')')) return false;
    s.take(';');
    s.skipSpace();
    if (*s.at != '\0') return false;
    try {
        out.head.assign(sql, group);
    } catch (...) {
        return false;
    }
    out.markers = markers;
    return true;
}

std::string multiRowInsert(const PlainInsert& insert, size_t rows) {
    std::string group(1, '(');
    for (size_t k = 0; k < insert.markers; ++k) group += k ? ",?" : "?";
    group += ')';
    std::string text;
    text.reserve(insert.head.size() + rows * (group.size() + 1));
    text = insert.head;
    for (size_t r = 0; r < rows; ++r) {
        if (r) text += ',';
        text += group;
    }
    return text;
}

}}}} // namespace KORVEL::Orl::DB::ODBC
