#include "tools/orlodbc/CopyJob.h"

#include <chrono>
#include <cstring>
#include <vector>

#include "tools/orlodbc/Interrupt.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace orlodbc {

namespace {

// Copies one query's rows: reads packed rows from the source statement and
// writes them to the target's INSERT, in blocks when the driver runs them.
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
    bool copy() {
        Statement ins(dst_, dst_.connection()->createPreparedStatement(plan_.insertSql.c_str(), dst_.error()));
        if (ins.get() == nullptr) return report(dst_.failRecord());
        std::vector<int> columns(plan_.shape->types.size());
        for (size_t j = 0; j < columns.size(); ++j) columns[j] = static_cast<int>(j);
        if (ins->setBindings(columns, plan_.shape->types.data(), dst_.error()) != 0) return report(dst_.failRecord());
        insert_ = ins.get();
        arrays_ = plan_.batch > 1;
        if (!plan_.nextChunk) {
            range_ = plan_.range;
            if (!read(plan_.selectSql, plan_.commitEvery)) return false;
            return flush() && commit();
        }
        std::string sql;
        while (!stop_ && plan_.nextChunk(sql, range_)) {
            if (!read(sql, 0) || !flush()) return false;
            const bool due = plan_.commitEvery > 0
                                 ? sinceCommit_ >= static_cast<uint64_t>(plan_.commitEvery)
                                 : std::chrono::steady_clock::now() - lastCommit_ >=
                                       std::chrono::duration<double>(plan_.commitSeconds);
            if (due && !commit()) return false;
        }
        if (stop_ || Interrupt::happened()) return false;
        return commit();
    }

    // Reads one query's rows into the target, committing every `commitEvery`.
    bool read(const std::string& selectSql, long commitEvery) {
        commitEvery_ = commitEvery;
        Statement sel(src_, src_.connection()->createPreparedStatement(selectSql.c_str(), src_.error()));
        if (sel.get() == nullptr) return report(src_.failRecord());
        Shape shape;
        if (!shapeOf(src_, sel.get(), shape)) return report(false);
        if (shape.types != plan_.shape->types) return report(src_.fail("the source's columns changed under the copy"));
        bool more = false;
        if (sel->execute(src_.error()) != 0 || sel->nextResultSet(more, src_.error()) != 0)
            return report(src_.failRecord());
        while (!stop_ && !Interrupt::happened()) {
            if (sel->hasMoreData(more, src_.error()) != 0) return report(src_.failRecord());
            if (!more) break;
            RowPtr row(sel->nextRow(src_.error()));
            if (!row) return report(src_.fail("row " + std::to_string(result_.rows + pending_.size() + 1) +
                                              range_ + ": " + recordText(src_.error())));
            pending_.push_back(std::move(row));
            if (static_cast<int>(pending_.size()) >= flushAt() && !flush()) return false;
        }
        // Another job failed, or a signal came: leave what was committed, drop ours since.
        if (stop_ || Interrupt::happened()) return false;
        // The read is over: an embedded database holds its file's read lock
        // until the source transaction ends, and the target's commit may
        // need that file.
        src_.connection()->rollback(src_.error());
        return true;
    }

    // A block ends where a commit is due, so that commits fall on exact counts.
    int flushAt() const {
        long room = plan_.batch;
        if (commitEvery_ > 0) {
            long due = commitEvery_ - static_cast<long>(sinceCommit_);
            if (due < room) room = due;
        }
        return room < 1 ? 1 : static_cast<int>(room);
    }

    bool flush() {
        if (pending_.empty()) return true;
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
    std::vector<RowPtr> pending_;
    uint64_t sinceCommit_ = 0;
    long commitEvery_ = 0;  // within one read
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
