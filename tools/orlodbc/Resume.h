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

// findResume on the databases: the target's rows counted on its own
// connection, the source's on `probe`. 0, or 1 told on `err`.
int findResumePoint(DriverHost& host, const KORVEL::Orl::DataService& toService, const std::string& targetTable,
                    const std::string& targetKey, BulkLink& probe, const std::string& sourceKey,
                    const std::string& source, const std::vector<KeyChunk>& chunks, ResumePoint& point,
                    std::ostream& err);

// How a message shows a chunk's keys.
std::string shownChunk(const KeyChunk& chunk);

} // namespace orlodbc
