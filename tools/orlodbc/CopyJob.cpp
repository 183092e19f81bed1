#include "tools/orlodbc/CopyJob.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "datatypes/TypeEnum.h"
#include "tools/orlodbc/ColumnArrays.h"
#include "tools/orlodbc/Interrupt.h"
#include "tools/orlodbc/PackedCells.h"
#include "tools/orlodbc/Plan.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace orlodbc {

namespace {

// Copies one query's rows, or a table's chunks: a reader thread reads packed
// rows from the source into blocks, and this thread writes each block to the
// target's INSERT. The two databases work at once: a block is read while the
// one before it is written, which takes a copy from the sum of the two sides'
// times towards the longer one. At most kDepth blocks wait between them, or
// into column arrays a batch's worth: the reader writes the next batch's
// texts while the target runs the last one.
class CopyJob {
public:
    CopyJob(BulkLink& src, BulkLink& dst, const JobPlan& plan, Progress& progress, std::atomic<bool>& stop)
        : src_(src), dst_(dst), plan_(plan), progress_(progress), stop_(stop) {}

    JobResult run() {
        if (!copy()) {
            result_.failed = true;
            dst_.connection()->rollback(dst_.error());
            stop_ = true;
        }
        return result_;
    }

private:
    static constexpr size_t kDepth = 2;
    // A batch of column arrays goes when its text reaches this, whatever
    // its rows: the memory a job holds stays bounded for wide rows too.
    static constexpr size_t kArrayBytes = 32u << 20;

    // What the reader hands over, in order.
    struct Block {
        enum Kind { Rows, ChunkEnd, End, Failed } kind = Rows;
        std::vector<RowPtr> rows;
        // Into column arrays: the rows' array texts, written by the reader
        // while the target runs the batch before.
        std::optional<ColumnArrays> texts;
        std::string range;     // how a failure names the part the rows came from
        bool reported = false;  // Failed: the source link holds why; else another job or a signal stopped it
    };

    bool copy() {
        Statement ins(dst_, dst_.connection()->createPreparedStatement(plan_.insertSql.c_str(), dst_.error()));
        if (ins.get() == nullptr) return report(dst_.failRecord());
        std::vector<int> columns(plan_.shape->types.size());
        for (size_t j = 0; j < columns.size(); ++j) columns[j] = static_cast<int>(j);
        if (ins->setBindings(columns, plan_.shape->types.data(), dst_.error()) != 0) return report(dst_.failRecord());
        insert_ = ins.get();
        arrays_ = plan_.batch > 1;
        std::optional<Statement> arr;
        if (!plan_.arraySql.empty()) {
            arr.emplace(dst_, dst_.connection()->createPreparedStatement(plan_.arraySql.c_str(), dst_.error()));
            if (arr->get() == nullptr) return report(dst_.failRecord());
            // One text a column, each the column's array literal.
            std::vector<unsigned int> texts(columns.size(), DataTypes::STRING);
            if ((*arr)->setBindings(columns, texts.data(), dst_.error()) != 0) return report(dst_.failRecord());
            arrayInsert_ = arr->get();
            batch_.emplace(plan_.shape->types);
            const size_t block = std::max<size_t>(1, std::min(plan_.arrayRows, static_cast<size_t>(plan_.batch)));
            depth_ = std::max(kDepth, plan_.arrayRows / block + 1);
        }
        // Chunks commit at their ends only; a single read every `commitEvery` rows.
        commitEvery_ = plan_.nextChunk ? 0 : plan_.commitEvery;

        std::thread reader([this] { readAll(); });
        const bool ok = write();
        {
            std::lock_guard<std::mutex> lock(mutex_);
            abort_ = true;
        }
        moved_.notify_all();
        reader.join();
        return ok;
    }

    // This thread's side: the blocks into the target, commits where due.
    bool write() {
        while (true) {
            Block b = take();
            switch (b.kind) {
            case Block::Rows:
                range_ = b.range;
                pending_ = std::move(b.rows);
                texts_ = std::move(b.texts);
                if (!flush()) return false;
                break;
            case Block::ChunkEnd: {
                // A batch holds one chunk's rows at most, so that a failure names the chunk it came from.
                if (!sendArrays()) return false;
                const bool due = plan_.commitEvery > 0
                                     ? sinceCommit_ >= static_cast<uint64_t>(plan_.commitEvery)
                                     : std::chrono::steady_clock::now() - lastCommit_ >=
                                           std::chrono::duration<double>(plan_.commitSeconds);
                if (due && !commit()) return false;
                break;
            }
            case Block::End:
                if (stop_ || Interrupt::happened()) return false;
                return sendArrays() && commit();
            case Block::Failed:
                return b.reported ? report(false) : false;
            }
        }
    }

    // The reader thread's side: every row of the source, then End or Failed.
    void readAll() {
        Block last;
        if (!plan_.nextChunk) {
            last.kind = readQuery(plan_.selectSql, plan_.range, plan_.commitEvery, last.reported) ? Block::End
                                                                                                 : Block::Failed;
        } else {
            std::string sql, range;
            last.kind = Block::End;
            while (!stopped() && plan_.nextChunk(sql, range)) {
                if (!readQuery(sql, range, 0, last.reported)) {
                    last.kind = Block::Failed;
                    break;
                }
                Block end;
                end.kind = Block::ChunkEnd;
                hand(std::move(end));
            }
            if (stopped()) last.kind = Block::Failed;
        }
        hand(std::move(last));
    }

    // Reads one query's rows into blocks that end where a commit every
    // `commitEvery` rows is due, so that commits fall on exact counts.
    // False when it failed (`reported`: with the source link's why) or was stopped.
    bool readQuery(const std::string& selectSql, const std::string& range, long commitEvery, bool& reported) {
        reported = true;
        Statement sel(src_, src_.connection()->createPreparedStatement(selectSql.c_str(), src_.error()));
        if (sel.get() == nullptr) return src_.failRecord();
        Shape shape;
        if (!shapeOf(src_, sel.get(), shape)) return false;
        if (shape.types != plan_.shape->types) return src_.fail("the source's columns changed under the copy");
        bool more = false;
        if (sel->execute(src_.error()) != 0 || sel->nextResultSet(more, src_.error()) != 0) return src_.failRecord();
        Block block;
        block.range = range;
        batchFill_ = 0;  // the writer sends a batch at a chunk's end
        while (!stopped()) {
            if (sel->hasMoreData(more, src_.error()) != 0) return src_.failRecord();
            if (!more) break;
            RowPtr row(sel->nextRow(src_.error()));
            if (!row) return src_.fail("row " + std::to_string(read_ + 1) + range + ": " + recordText(src_.error()));
            ++read_;
            if (!unmarkRow(row.get())) {
                return src_.fail("row " + std::to_string(read_) + range + ": column " +
                                 shownName(plan_.shape->names[badColumn_]) +
                                 " came without the mark the copy's query adds to its texts");
            }
            block.rows.push_back(std::move(row));
            if (block.rows.size() >= cutAt(commitEvery)) {
                writeTexts(block);
                handed_ += block.rows.size();
                batchFill_ += block.rows.size();
                // The writer sends what it holds with a commit.
                if (commitEvery > 0 && handed_ % static_cast<uint64_t>(commitEvery) == 0) batchFill_ = 0;
                hand(std::move(block));
                block = Block();
                block.range = range;
            }
        }
        // Another job failed, or a signal came: leave what was committed, drop ours since.
        if (stopped()) {
            reported = false;
            return false;
        }
        // The read is over: an embedded database holds its file's read lock
        // until the source transaction ends, and the target's commit may
        // need that file.
        src_.connection()->rollback(src_.error());
        if (!block.rows.empty()) {
            writeTexts(block);
            handed_ += block.rows.size();
            hand(std::move(block));
        }
        return true;
    }

    // Takes the marks off the texts read with one, in place: the text ends
    // where its NUL is put, which is how the write takes its length. False,
    // with the column in badColumn_, for a text without its mark.
    bool unmarkRow(RowInternal2* row) {
        if (plan_.marked == nullptr) return true;
        char* base = reinterpret_cast<char*>(row);
        for (size_t j : *plan_.marked) {
            const int32_t offset = packedOffset(base, j);
            if (offset > 0 && !unmark(base + offset)) {
                badColumn_ = j;
                return false;
            }
        }
        return true;
    }

    void writeTexts(Block& block) const {
        if (plan_.arraySql.empty()) return;
        block.texts.emplace(plan_.shape->types);
        for (const RowPtr& r : block.rows) block.texts->add(r.get());
    }

    // Rows in the block being filled when it is handed over. Into column
    // arrays a block also ends where the writer's batch fills, so that a
    // batch goes whole and not as a full one and a few rows after it.
    size_t cutAt(long commitEvery) const {
        long room = plan_.batch;
        if (!plan_.arraySql.empty() && plan_.arrayRows > 0) {
            const long left = static_cast<long>(plan_.arrayRows - batchFill_ % plan_.arrayRows);
            if (left < room) room = left;
        }
        if (commitEvery > 0) {
            const long due = commitEvery - static_cast<long>(handed_ % static_cast<uint64_t>(commitEvery));
            if (due < room) room = due;
        }
        return room < 1 ? 1 : static_cast<size_t>(room);
    }

    bool stopped() const { return stop_ || abort_ || Interrupt::happened(); }

    void hand(Block b) {
        std::unique_lock<std::mutex> lock(mutex_);
        moved_.wait(lock, [this] { return queue_.size() < depth_ || abort_; });
        if (abort_) return;
        queue_.push_back(std::move(b));
        moved_.notify_all();
    }

    Block take() {
        std::unique_lock<std::mutex> lock(mutex_);
        moved_.wait(lock, [this] { return !queue_.empty(); });
        Block b = std::move(queue_.front());
        queue_.pop_front();
        moved_.notify_all();
        return b;
    }

    bool flush() {
        if (pending_.empty()) return true;
        if (arrayInsert_ != nullptr) {
            // The rows stay until their batch is in: a failing batch goes again row by row.
            // A batch is whole blocks, which the reader cuts no longer than a batch.
            if (batch_->rows() > 0 && batch_->rows() + pending_.size() > plan_.arrayRows && !sendArrays())
                return false;
            if (texts_) batch_->append(*texts_);
            else
                for (const RowPtr& r : pending_) batch_->add(r.get());
            texts_.reset();
            for (RowPtr& r : pending_) batchRows_.push_back(std::move(r));
            pending_.clear();
            const bool commitDue =
                commitEvery_ > 0 && sinceCommit_ + batch_->rows() >= static_cast<uint64_t>(commitEvery_);
            if (batch_->rows() >= plan_.arrayRows || batch_->bytes() >= kArrayBytes || commitDue) return sendArrays();
            return true;
        }
        bool done = false;
        if (arrays_) {
            std::vector<const RowInternal2*> block;
            for (const RowPtr& r : pending_) block.push_back(r.get());
            block.push_back(nullptr);  // the block ends at the first null row
            if (insert_->execute(block.data(), dst_.error()) == 0) {
                done = true;
                result_.arrays = true;
            } else if (std::strlen(dst_.error()->getErrorString()) == 0) {
                arrays_ = false;  // the driver has no row arrays: one row per execute from now on
            } else {
                return blockFailed();
            }
        }
        if (!done) {
            for (size_t i = 0; i < pending_.size(); ++i)
                if (insert_->execute(pending_[i].get(), dst_.error()) != 0) return rowFailed(i);
        }
        result_.rows += pending_.size();
        sinceCommit_ += pending_.size();
        progress_.advance(pending_.size());
        pending_.clear();
        if (commitEvery_ > 0 && sinceCommit_ >= static_cast<uint64_t>(commitEvery_)) return commit();
        return true;
    }

    // The batch of column arrays as one statement, then a commit where due.
    bool sendArrays() {
        if (arrayInsert_ == nullptr || batch_->rows() == 0) return true;
        const RowInternal2* packed = batch_->packed();
        if (packed == nullptr)
            return report(dst_.fail("rows " + std::to_string(result_.rows) + " to " +
                                    std::to_string(result_.rows + batch_->rows() - 1) +
                                    " (counted from 0): their array texts pass 2 GB; copy with fewer "
                                    "--rows-per-statement or a smaller --batch"));
        if (arrayInsert_->execute(packed, dst_.error()) != 0) return arraysFailed();
        const size_t n = batch_->rows();
        batch_->clear();
        batchRows_.clear();
        result_.rows += n;
        result_.columnArrays = true;
        sinceCommit_ += n;
        progress_.advance(n);
        if (commitEvery_ > 0 && sinceCommit_ >= static_cast<uint64_t>(commitEvery_)) return commit();
        return true;
    }

    // The database names no element of an array: after the rollback the
    // batch's rows go again one by one through the single-row INSERT, to
    // name the first one it refuses alone, and that is rolled back too.
    bool arraysFailed() {
        const std::string batchText = recordText(dst_.error());
        const uint64_t first = result_.rows;
        dst_.connection()->rollback(dst_.error());
        std::string alone;
        for (size_t i = 0; i < batchRows_.size(); ++i)
            if (insert_->execute(batchRows_[i].get(), dst_.error()) != 0) {
                alone = "; alone, row " + std::to_string(first + i) + " fails: " + recordText(dst_.error());
                break;
            }
        dst_.connection()->rollback(dst_.error());
        return report(dst_.fail("rows " + std::to_string(first) + " to " +
                                std::to_string(first + batchRows_.size() - 1) + " (counted from 0)" + range_ +
                                ", sent as one statement of column arrays: " + batchText + alone));
    }

    bool commit() {
        if (dst_.connection()->commit(dst_.error()) != 0) return report(dst_.fail("commit: " + recordText(dst_.error())));
        result_.committed = result_.rows;
        sinceCommit_ = 0;
        lastCommit_ = std::chrono::steady_clock::now();
        return true;
    }

    bool rowFailed(size_t i) {
        const uint64_t number = result_.rows + i + 1;
        return report(dst_.fail("row " + std::to_string(number) + range_ + ": " + recordText(dst_.error())));
    }

    // A block names no row: after the rollback, its rows go again one by one
    // to find the one the database refuses, and that is rolled back too.
    bool blockFailed() {
        const std::string blockText = recordText(dst_.error());
        dst_.connection()->rollback(dst_.error());
        for (size_t i = 0; i < pending_.size(); ++i)
            if (insert_->execute(pending_[i].get(), dst_.error()) != 0) return rowFailed(i);
        dst_.connection()->rollback(dst_.error());
        return report(dst_.fail("rows " + std::to_string(result_.rows + 1) + " to " +
                                std::to_string(result_.rows + pending_.size()) + range_ + ": " + blockText));
    }

    bool report(bool ok) {
        if (!ok) {
            result_.why = !dst_.why().empty() ? dst_.why() : src_.why();
        }
        return ok;
    }

    BulkLink& src_;
    BulkLink& dst_;
    const JobPlan& plan_;
    Progress& progress_;
    std::atomic<bool>& stop_;
    PreparedStatement* insert_ = nullptr;
    PreparedStatement* arrayInsert_ = nullptr;  // null: rows go through insert_
    std::optional<ColumnArrays> batch_;
    std::vector<RowPtr> batchRows_;
    std::vector<RowPtr> pending_;
    std::optional<ColumnArrays> texts_;  // of pending_, when the reader wrote them
    uint64_t sinceCommit_ = 0;
    long commitEvery_ = 0;  // of a single read; chunks commit at their ends
    // The reader's counts: rows read, and of them handed over in blocks.
    uint64_t read_ = 0;
    uint64_t handed_ = 0;
    size_t batchFill_ = 0;  // rows of the writer's batch of column arrays the reader has handed
    size_t badColumn_ = 0;
    std::mutex mutex_;
    std::condition_variable moved_;  // a block handed over or taken, or the writer gone
    std::deque<Block> queue_;
    size_t depth_ = kDepth;  // blocks the queue holds
    std::atomic<bool> abort_{false};  // the writer stopped: the reader ends
    std::chrono::steady_clock::time_point lastCommit_ = std::chrono::steady_clock::now();
    std::string range_;     // how a failure names the part being read
    bool arrays_ = false;
    JobResult result_;
};

} // namespace

JobResult runJob(BulkLink& src, BulkLink& dst, const JobPlan& plan, Progress& progress, std::atomic<bool>& stop) {
    CopyJob job(src, dst, plan, progress, stop);
    return job.run();
}

} // namespace orlodbc
