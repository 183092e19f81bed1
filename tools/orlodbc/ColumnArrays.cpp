#include "tools/orlodbc/ColumnArrays.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/Links.h"
#include "tools/orlodbc/PackedCells.h"
#include "tools/orlodbc/ValueText.h"

using namespace DataTypes;

namespace orlodbc {

namespace {

// PostgreSQL's own type OIDs, fixed since its first releases.
enum : uint32_t {
    kBool = 16, kBytea = 17, kInt8 = 20, kInt2 = 21, kInt4 = 23, kText = 25, kFloat4 = 700, kFloat8 = 701,
    kBpchar = 1042, kVarchar = 1043, kDate = 1082, kTime = 1083, kTimestamp = 1114, kTimestamptz = 1184,
    kTimetz = 1266, kNumeric = 1700
};

bool oneOf(uint32_t oid, std::initializer_list<uint32_t> oids) {
    for (uint32_t o : oids)
        if (o == oid) return true;
    return false;
}

int64_t read64(const unsigned char* p) {
    int64_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <typename T>
void appendNumber(std::string& out, T value) {
    char text[24];
    const std::to_chars_result r = std::to_chars(text, text + sizeof text, value);
    out.append(text, r.ptr);
}

// Inside double quotes only the quote and the backslash are escaped.
void appendQuoted(std::string& out, const char* text, size_t n) {
    out += '"';
    size_t from = 0;
    for (size_t k = 0; k < n; ++k) {
        if (text[k] != '"' && text[k] != '\\') continue;
        out.append(text + from, k - from);
        out += '\\';
        from = k;
    }
    out.append(text + from, n - from);
    out += '"';
}

// The year before 1 is 1 BC in PostgreSQL's words, where the calendar text
// counts it as year 0 and goes on to -1, -2.
void appendMoment(std::string& out, const char* text, const char* end) {
    const char* const dash = std::find(text + (*text == '-' ? 1 : 0), end, '-');
    long long year = 0;
    std::from_chars(text, dash, year);
    out += '"';
    if (year > 0) {
        out.append(text, static_cast<size_t>(end - text));
        out += '"';
        return;
    }
    char head[24];
    const char* const headEnd = std::to_chars(head, head + sizeof head, 1 - year).ptr;
    for (ptrdiff_t n = headEnd - head; n < 4; ++n) out += '0';
    out.append(head, static_cast<size_t>(headEnd - head));
    out.append(dash, static_cast<size_t>(end - dash));
    out += " BC\"";
}

} // namespace

bool elementFits(unsigned int word, const ArrayElement& e) {
    if (!e.hasArray || e.delimiter != ',' || (e.kind != 'b' && e.kind != 'e')) return false;
    const uint32_t t = e.oid;
    switch (typeOf(word)) {
    // A text is read by the column type's own input, as a direct INSERT's text parameter is.
    case STRING: return true;
    case INT16:
    case INTEGER:
    case LONG: return oneOf(t, {kInt2, kInt4, kInt8, kNumeric, kFloat4, kFloat8, kText, kVarchar, kBpchar});
    // Only into floats: a numeric column would keep the shortest text's digits, which the other way doesn't send.
    case FLOAT: return oneOf(t, {kFloat4, kFloat8});
    case MONEY: case MONEY_1: case MONEY_2: case MONEY_3: case MONEY_4: case MONEY_5: case MONEY_6: case MONEY_7:
    case MONEY_8: case MONEY_9: case MONEY_10: case MONEY_11: case MONEY_12: case MONEY_13: case MONEY_14:
    case MONEY_15:
    case FIXEDDECIMAL: return oneOf(t, {kNumeric, kFloat4, kFloat8, kText, kVarchar, kBpchar});
    case BOOLEAN: return t == kBool;
    case BINARY: return t == kBytea;
    case DATE:
    case TIMESTAMP:
    case BIGDATETIME: return oneOf(t, {kDate, kTimestamp, kTimestamptz});
    case TIME: return oneOf(t, {kTime, kTimetz});
    default: return false;
    }
}

bool readArrayElements(ClassicLink& target, const Dialect& d, const TableName& table,
                       const std::vector<std::string>& names, std::vector<ArrayElement>& out, std::string& why) {
    const std::string sql =
        "SELECT a.attname, CAST(t.oid AS TEXT), quote_ident(n.nspname) || '.' || quote_ident(t.typname), "
        "CAST(t.typtype AS TEXT), CAST(t.typdelim AS TEXT), CASE WHEN t.typarray <> 0 THEN '1' ELSE '0' END "
        "FROM pg_attribute a JOIN pg_type t ON t.oid = a.atttypid JOIN pg_namespace n ON n.oid = t.typnamespace "
        "WHERE a.attrelid = CAST(CAST(? AS TEXT) AS regclass) AND a.attnum > 0 AND NOT a.attisdropped "
        "ORDER BY a.attnum";
    std::vector<ArrayElement> all;
    const auto row = [&all](const std::vector<const char*>& c) {
        ArrayElement e;
        e.name = c[0] ? c[0] : "";
        e.oid = static_cast<uint32_t>(std::strtoul(c[1] ? c[1] : "0", nullptr, 10));
        e.type = c[2] ? c[2] : "";
        e.kind = c[3] && *c[3] ? *c[3] : '?';
        e.delimiter = c[4] && *c[4] ? *c[4] : '?';
        e.hasArray = c[5] && std::strcmp(c[5], "1") == 0;
        all.push_back(e);
    };
    if (!eachTextRow(*target.get(), sql, {quoteTable(d, table)}, 6, row)) return target.failed(why);
    target.get()->rollback();
    out.clear();
    for (const std::string& name : names) {
        const ArrayElement* found = nullptr;
        for (const ArrayElement& e : all)
            if (e.name == name) found = &e;
        if (found == nullptr) {
            why = "the catalog has no column " + shownName(name) + " in " + shownName(table);
            return false;
        }
        out.push_back(*found);
    }
    return true;
}

std::string arrayInsertSql(const Dialect& d, const std::string& quotedTable, const std::vector<std::string>& names,
                           const std::vector<ArrayElement>& elements) {
    // One unnest a column in the select list: the server expands them in step, row by row. The same
    // arrays as the arguments of one unnest in FROM are first gathered whole into a row store, which
    // measured a sixth dearer at the server.
    std::string items;
    for (const ArrayElement& e : elements)
        items += (items.empty() ? "unnest(CAST(? AS " : ", unnest(CAST(? AS ") + e.type + "[]))";
    return "INSERT INTO " + quotedTable + " (" + quoteNames(d, names) + ") SELECT " + items;
}

void appendElement(std::string& out, unsigned int word, const unsigned char* packed) {
    if (packed == nullptr) {
        out += "NULL";
        return;
    }
    switch (typeOf(word)) {
    case INT16: {
        int16_t v;
        std::memcpy(&v, packed, sizeof v);
        appendNumber(out, v);
        return;
    }
    case INTEGER: {
        int32_t v;
        std::memcpy(&v, packed, sizeof v);
        appendNumber(out, v);
        return;
    }
    case LONG:
    case INTERVAL: appendNumber(out, read64(packed)); return;
    case FLOAT: {
        double v;
        std::memcpy(&v, packed, sizeof v);
        out += doubleText(v);
        return;
    }
    case BOOLEAN: out += *packed ? "t" : "f"; return;
    case STRING: {
        const char* text = reinterpret_cast<const char*>(packed);
        appendQuoted(out, text, std::strlen(text));
        return;
    }
    case BINARY: {
        static const char kHex[] = "0123456789abcdef";
        const unsigned int n = getLengthFromPackedBinary(packed);
        // bytea's own input "\x..." with its backslash escaped for the array.
        out += "\"\\\\x";
        for (unsigned int k = 0; k < n; ++k) {
            out += kHex[packed[4 + k] >> 4];
            out += kHex[packed[4 + k] & 15];
        }
        out += '"';
        return;
    }
    case DATE:
    case TIMESTAMP:
    case BIGDATETIME: {
        const int64_t scale = typeOf(word) == DATE ? 1000000 : typeOf(word) == TIMESTAMP ? 1000 : 1;
        char text[kMomentChars];
        appendMoment(out, text, putTimestamp(text, read64(packed) * scale));
        return;
    }
    case TIME: {
        char text[kMomentChars];
        out += '"';
        out.append(text, putTime(text, read64(packed) * 1000000));
        out += '"';
        return;
    }
    default: {
        // Decimals and money as the single-row INSERT's bind prints them.
        char text[128] = "";
        convertToString(word, false, false, const_cast<unsigned char*>(packed), text, sizeof text);
        out += text;
        return;
    }
    }
}

ColumnArrays::ColumnArrays(std::vector<unsigned int> words) : words_(std::move(words)), texts_(words_.size()) {
    clear();
}

void ColumnArrays::add(const KORVEL::Orl::DB::RowInternal2* row) {
    const unsigned char* base = reinterpret_cast<const unsigned char*>(row);
    for (size_t j = 0; j < words_.size(); ++j) {
        std::string& text = texts_[j];
        const size_t before = text.size();
        if (rows_ > 0) text += ',';
        const int32_t offset = packedOffset(base, j);
        appendElement(text, words_[j], offset > 0 ? base + offset : nullptr);
        bytes_ += text.size() - before;
    }
    ++rows_;
}

void ColumnArrays::append(const ColumnArrays& more) {
    if (more.rows_ == 0) return;
    for (size_t j = 0; j < texts_.size() && j < more.texts_.size(); ++j) {
        if (rows_ > 0) texts_[j] += ',';
        texts_[j].append(more.texts_[j], 1, std::string::npos);  // without its "{"
    }
    bytes_ += more.bytes_ + (rows_ > 0 ? texts_.size() : 0);
    rows_ += more.rows_;
}

const KORVEL::Orl::DB::RowInternal2* ColumnArrays::packed() {
    // The packed row's layout: the header, the offset table of n + 1
    // entries, 4 spare bytes, then each value with its NUL.
    const size_t n = words_.size();
    const size_t table = kPackedOffsets + 4 * (n + 1) + 4;
    size_t size = table;
    for (const std::string& t : texts_) size += t.size() + 2;  // "}" and the NUL
    if (size > static_cast<size_t>(std::numeric_limits<int32_t>::max())) return nullptr;
    packed_.assign(table, 0);
    packed_.reserve(size);
    uint32_t word = static_cast<uint32_t>(size);
    std::memcpy(&packed_[0], &word, 4);
    word = 1;
    std::memcpy(&packed_[4], &word, 4);
    word = static_cast<uint32_t>(n) & 0xFFFFFF;
    std::memcpy(&packed_[12], &word, 4);
    for (size_t j = 0; j < n; ++j) {
        const int32_t offset = static_cast<int32_t>(packed_.size());
        std::memcpy(&packed_[kPackedOffsets + 4 * j], &offset, 4);
        packed_.insert(packed_.end(), texts_[j].begin(), texts_[j].end());
        packed_.push_back('}');
        packed_.push_back(0);
    }
    const int32_t total = static_cast<int32_t>(packed_.size());
    std::memcpy(&packed_[kPackedOffsets + 4 * n], &total, 4);
    return reinterpret_cast<const KORVEL::Orl::DB::RowInternal2*>(packed_.data());
}

void ColumnArrays::clear() {
    for (std::string& t : texts_) t.assign(1, '{');
    rows_ = 0;
    bytes_ = 0;
}

} // namespace orlodbc
