#include "tools/orlodbc/Resume.h"

#include <ostream>

namespace orlodbc {

std::string shownChunk(const KeyChunk& c) {
    if (c.nulls) return "without a key";
    if (!c.hasLow && !c.hasHigh) return "with any key";
    return std::string("with keys ") + (c.hasLow ? "(" + std::to_string(c.low) : std::string("(..")) + ", " +
           (c.hasHigh ? std::to_string(c.high) + "]" : std::string("..)"));
}

bool findResume(const std::vector<KeyChunk>& chunks, uint64_t targetRows, bool hasMax, int64_t targetMax,
                const ChunkCount& targetCount, const ChunkCount& sourceCount, ResumePoint& point, std::string& why) {
    point = ResumePoint();
    point.done.assign(chunks.size(), false);
    if (targetRows == 0) return true;
    for (size_t i = 0; i < chunks.size(); ++i) {
        const KeyChunk& c = chunks[i];
        // Above the target's largest key: nothing of it can be there.
        if (!c.nulls && c.hasLow && (!hasMax || c.low >= targetMax)) continue;
        uint64_t have = 0;
        if (!targetCount(c, have, why)) return false;
        if (have == 0) continue;
        uint64_t want = c.rows;
        if (have != want && !sourceCount(c, want, why)) return false;
        if (have != want) {
            why = "the target holds " + std::to_string(have) + " of the source's " + std::to_string(want) + " rows " +
                  shownChunk(c) + ": not a chunk a copy in chunks of this size committed (was --chunk-rows "
                  "different, or did other rows go into the table?)";
            return false;
        }
        point.done[i] = true;
        point.keptRows += have;
        ++point.keptChunks;
    }
    return true;
}

int resumeChunks(DriverHost& host, BulkLink& probe, const ResumeInput& in, const std::vector<KeyChunk>& chunks,
                 std::vector<size_t>& todo, uint64_t& kept, std::ostream& out, std::ostream& err) {
    BulkLink target(host, "target");
    if (!target.open(*in.toService)) {
        err << "orlodbc: " << target.why() << std::endl;
        return 1;
    }
    std::vector<int64_t> v(2);
    std::vector<bool> nulls(2);
    if (!readLongs(target, "SELECT COUNT(*), MAX(" + in.targetKey + ") FROM " + in.targetTable, v, nulls)) {
        err << "orlodbc: resume: " << target.why() << std::endl;
        return 1;
    }
    const auto counter = [](BulkLink& link, const std::string& key, const std::string& from) {
        return [&link, key, from](const KeyChunk& c, uint64_t& rows, std::string& why) {
            std::vector<int64_t> n(1);
            std::vector<bool> none(1);
            if (!readLongs(link, "SELECT COUNT(*) FROM " + from + " WHERE " + chunkCondition(key, c), n, none)) {
                why = link.why();
                return false;
            }
            rows = static_cast<uint64_t>(n[0]);
            return true;
        };
    };
    std::string why;
    ResumePoint point;
    const bool ok = findResume(chunks, static_cast<uint64_t>(v[0]), !nulls[1], v[1],
                               counter(target, in.targetKey, in.targetTable), counter(probe, in.sourceKey, in.source),
                               point, why);
    target.connection()->rollback(target.error());
    probe.connection()->rollback(probe.error());
    if (!ok) {
        err << "orlodbc: resume: " << why << "; nothing was written" << std::endl;
        return 1;
    }
    kept = point.keptRows;
    todo.clear();
    size_t last = chunks.size();
    for (size_t i = 0; i < chunks.size(); ++i) {
        if (point.done[i]) last = i;
        else todo.push_back(i);
    }
    out << "resumed: the target holds " << kept << " rows in " << point.keptChunks << " of the " << chunks.size()
        << " chunks of " << in.keyName;
    if (last < chunks.size() && chunks[last].hasHigh) out << " (keys up to " << chunks[last].high << ")";
    out << "; copying the other " << todo.size() << std::endl;
    return 0;
}

} // namespace orlodbc
