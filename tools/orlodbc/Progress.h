// A progress line for long work: rows, rows/s and elapsed time, with a bar,
// percentage and ETA when the total is known. Redrawn in place on a terminal
// a few times a second by its own thread; silent elsewhere.
#pragma once
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

namespace orlodbc {

class Progress {
public:
    // `total` 0 means unknown. `draw` false keeps it silent (not a terminal).
    Progress(FILE* out, bool draw, uint64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Called by the workers, from any thread.
    void advance(uint64_t rows) { rows_.fetch_add(rows, std::memory_order_relaxed); }
    // Draws the last state, ends the line and stops the thread.
    void finish();

    uint64_t rows() const { return rows_.load(); }
    double seconds() const;

    // The text of one progress line; exposed for the tests.
    static std::string line(uint64_t rows, uint64_t total, double seconds, int width);

private:
    void draw();

    FILE* out_;
    bool draw_;
    uint64_t total_;
    std::atomic<uint64_t> rows_{0};
    std::chrono::steady_clock::time_point start_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool done_ = false;
    std::thread thread_;
};

// "1,234,567"
std::string grouped(uint64_t n);
// "0:07", "1:02:03"
std::string clock(double seconds);

} // namespace orlodbc
