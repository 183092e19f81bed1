#include "tools/orlodbc/Chunks.h"

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/Split.h"

namespace orlodbc {

std::string chunkCondition(const std::string& key, const KeyChunk& c) {
    if (c.nulls) return key + " IS NULL";
    const std::string low = key + " > " + std::to_string(c.low);
    const std::string high = key + " <= " + std::to_string(c.high);
    if (c.hasLow && c.hasHigh) return low + " AND " + high;
    if (c.hasLow) return low;
    if (c.hasHigh) return high;
    return key + " IS NOT NULL";
}

namespace {

std::string keysAfter(const std::string& key, bool first, int64_t after) {
    return first ? key + " IS NOT NULL" : key + " > " + std::to_string(after);
}

} // namespace

std::string nthKeySql(const std::string& key, const std::string& source, bool first, int64_t after, long rows) {
    // LIMIT and OFFSET read the same on the three databases.
    return "SELECT " + key + " FROM " + source + " WHERE " + keysAfter(key, first, after) + " ORDER BY " + key +
           " LIMIT 1 OFFSET " + std::to_string(rows - 1);
}

std::string restOfKeysSql(const std::string& key, const std::string& source, bool first, int64_t after) {
    return "SELECT MAX(" + key + "), COUNT(*) FROM " + source + " WHERE " + keysAfter(key, first, after);
}

bool walkChunks(const BoundQuery& bound, long rows, uint64_t nullRows, std::vector<KeyChunk>& chunks) {
    chunks.clear();
    if (nullRows > 0) {
        KeyChunk c;
        c.nulls = true;
        c.rows = nullRows;
        chunks.push_back(c);
    }
    bool first = true;
    int64_t after = 0;
    while (true) {
        bool empty = false;
        int64_t last = 0;
        uint64_t count = 0;
        if (!bound(first, after, empty, last, count)) return false;
        if (empty || count == 0) break;
        KeyChunk c;
        c.hasLow = !first;
        c.low = after;
        c.hasHigh = true;
        c.high = last;
        c.rows = count;
        chunks.push_back(c);
        first = false;
        after = last;
        // Fewer than asked: that was the end. The largest key can't be followed.
        if (count < static_cast<uint64_t>(rows) || last == INT64_MAX) break;
    }
    KeyChunk tail;
    tail.hasLow = !first;
    tail.low = after;
    chunks.push_back(tail);
    return true;
}

bool sourceChunks(BulkLink& probe, const std::string& key, const std::string& source, bool nullable, long rows,
                  std::vector<KeyChunk>& chunks) {
    std::vector<int64_t> v(2);
    std::vector<bool> nulls(2);
    uint64_t nullRows = 0;
    if (nullable) {
        if (!readLongs(probe, "SELECT COUNT(*), 0 FROM " + source + " WHERE " + key + " IS NULL", v, nulls)) return false;
        nullRows = nulls[0] ? 0 : static_cast<uint64_t>(v[0]);
    }
    const BoundQuery bound = [&](bool first, int64_t after, bool& empty, int64_t& last, uint64_t& count) {
        std::vector<int64_t> nth(1);
        std::vector<bool> nthNull(1);
        bool found = false;
        if (!readLongsIfAny(probe, nthKeySql(key, source, first, after, rows), nth, nthNull, found)) return false;
        if (found && !nthNull[0]) {
            empty = false;
            last = nth[0];
            count = static_cast<uint64_t>(rows);
            return true;
        }
        // Fewer than a chunk's keys are left: the last chunk, counted whole.
        if (!readLongs(probe, restOfKeysSql(key, source, first, after), v, nulls)) return false;
        empty = nulls[0];
        last = v[0];
        count = static_cast<uint64_t>(v[1]);
        return true;
    };
    return walkChunks(bound, rows, nullRows, chunks);
}

int soleKeyColumn(const std::vector<SourceColumn>& columns) {
    int key = -1;
    for (size_t j = 0; j < columns.size(); ++j) {
        if (!columns[j].key) continue;
        if (key >= 0) return kSeveralKeyColumns;
        key = static_cast<int>(j);
    }
    return key;
}

int chunkKey(const std::vector<SourceColumn>& columns, const std::vector<unsigned int>& words,
             const std::string& splitBy, int splitColumn, std::string& why) {
    auto integer = [&](size_t j) {
        if (j < columns.size()) {
            switch (columns[j].type.kind) {
            case Kind::Int8:
            case Kind::Int16:
            case Kind::Int32:
            case Kind::Int64: return true;
            case Kind::Other: break;
            default: return false;
            }
        }
        return j < words.size() && integerKey(words[j]);
    };
    if (!splitBy.empty()) {
        if (splitColumn < 0) {
            why = "the source has no column " + shownName(splitBy);
            return -1;
        }
        if (!integer(static_cast<size_t>(splitColumn))) {
            why = "--split-by " + shownName(splitBy) + " is not an integer column";
            return -1;
        }
        return splitColumn;
    }
    const int key = soleKeyColumn(columns);
    if (key == kSeveralKeyColumns) {
        why = "its primary key has more than one column; name an integer column with --split-by";
        return -1;
    }
    if (key < 0) {
        why = "it has no primary key; name an integer column with --split-by";
        return -1;
    }
    if (!integer(static_cast<size_t>(key))) {
        why = "its primary key " + shownName(columns[key].name) + " is not an integer; name one with --split-by";
        return -1;
    }
    return key;
}

std::string streamingSetting(DbKind db) {
    switch (db) {
    case DbKind::PostgreSQL: return "UseDeclareFetch=1";
    case DbKind::SQLite: return "StepAPI=1";
    default: return std::string();
    }
}

} // namespace orlodbc
