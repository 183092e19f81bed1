// copy --resume: which chunks of the key the target holds already. Chunks
// are committed whole, so each is either all there or not there at all; a
// chunk partly there was not written by a copy of these chunks, and the
// resume stops rather than guess.
#pragma once
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "tools/orlodbc/Chunks.h"
#include "tools/orlodbc/Links.h"

namespace orlodbc {

struct ResumePoint {
    std::vector<bool> done;  // per chunk: the target holds it
    uint64_t keptRows = 0;
    size_t keptChunks = 0;
};

// Rows in a chunk's range on one side; false when the query failed (with `why`).
typedef std::function<bool(const KeyChunk& chunk, uint64_t& rows, std::string& why)> ChunkCount;

// `targetRows` and `targetMax` are the target's COUNT(*) and MAX(key) (no
// max when it holds no key). Only the chunks that can hold keys up to that
// max are counted on the target; a chunk whose counts differ is counted on
// the source too, as a key with repeated values can hold more rows than the
// walk counted. False with `why` when the target holds part of a chunk or
// rows the source has no chunk for.
bool findResume(const std::vector<KeyChunk>& chunks, uint64_t targetRows, bool hasMax, int64_t targetMax,
                const ChunkCount& targetCount, const ChunkCount& sourceCount, ResumePoint& point, std::string& why);

// --resume on the databases: findResume with the target's rows counted on
// a connection of its own and the source's on `probe`; the chunks left to
// copy in `todo`, the rows the target holds in `kept`, and what was found
// told on `out` (the key shown as `keyName`). 0, or 1 told on `err`.
struct ResumeInput {
    const KORVEL::Orl::DataService* toService = nullptr;
    std::string targetTable, targetKey;  // written in the target's way
    std::string source, sourceKey;       // written in the source's way
    std::string keyName;
};
int resumeChunks(DriverHost& host, BulkLink& probe, const ResumeInput& in, const std::vector<KeyChunk>& chunks,
                 std::vector<size_t>& todo, uint64_t& kept, std::ostream& out, std::ostream& err);

// How a message shows a chunk's keys.
std::string shownChunk(const KeyChunk& chunk);

} // namespace orlodbc
