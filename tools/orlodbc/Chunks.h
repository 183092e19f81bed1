// Reading a table in chunks of its integer key, so that no driver holds more
// than a chunk of rows at once: several ODBC drivers keep a whole result in
// memory unless their data source says otherwise.
//
// Chunks are found by keyset walking: each chunk's last key is the `rows`-th
// key after the previous chunk's last key. Unlike ranges cut from MIN..MAX,
// this gives chunks of exactly `rows` rows however sparse or skewed the keys
// are, and each bound is one query over the key's index.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/orlodbc/Dialect.h"
#include "tools/orlodbc/Links.h"
#include "tools/orlodbc/Plan.h"

namespace orlodbc {

// The rows of one chunk: the rows without a key, or the keys in (low, high],
// either end open.
struct KeyChunk {
    bool nulls = false;
    bool hasLow = false, hasHigh = false;
    int64_t low = 0, high = 0;
    uint64_t rows = 0;  // as counted when the chunk was found
};

// The WHERE condition of a chunk on the key written `quotedKey`.
std::string chunkCondition(const std::string& quotedKey, const KeyChunk& chunk);

// The `rows`-th smallest key of `source` above `after` (of all keys when
// `first`): the last key of a full chunk. An index walk that stops there,
// where a MAX and COUNT over the same keys made some databases gather them
// first (MariaDB: 24 ms a chunk of 50,000 against 5 ms).
std::string nthKeySql(const std::string& quotedKey, const std::string& source, bool first, int64_t after,
                      long rows);

// MAX and COUNT of the keys above `after`: the last chunk, when nthKeySql found no row.
std::string restOfKeysSql(const std::string& quotedKey, const std::string& source, bool first, int64_t after);

// The next chunk's last key and row count: false when the query failed; `empty` when no key is left.
typedef std::function<bool(bool first, int64_t after, bool& empty, int64_t& last, uint64_t& count)> BoundQuery;

// The chunks of a key, walked with `bound`: the rows without a key first
// when `nullRows` (their count), then closed chunks of `rows` keys, then an
// open one above the last bound, so that a row added meanwhile falls in a
// chunk and shows in the count check instead of vanishing. False when a
// query failed.
bool walkChunks(const BoundQuery& bound, long rows, uint64_t nullRows, std::vector<KeyChunk>& chunks);

// walkChunks over `source` on `probe`, by `key` written in the source's way;
// `nullable`: rows without a key are counted first. False with probe.why().
bool sourceChunks(BulkLink& probe, const std::string& key, const std::string& source, bool nullable, long rows,
                  std::vector<KeyChunk>& chunks);

// The column that is the whole primary key: -1 without a key,
// kSeveralKeyColumns when the key has more than one column.
constexpr int kSeveralKeyColumns = -2;
int soleKeyColumn(const std::vector<SourceColumn>& columns);

// Which column a copy reads in chunks: the one named by --split-by, else the
// source's primary key when it is a single integer column. -1 with `why`
// when there is none.
int chunkKey(const std::vector<SourceColumn>& columns, const std::vector<unsigned int>& words,
             const std::string& splitBy, int splitColumn, std::string& why);

// The data-source setting that makes a database's ODBC driver read a result
// a block at a time instead of whole, where one is known; empty otherwise.
std::string streamingSetting(DbKind db);

} // namespace orlodbc
