#include "tools/orlodbc/Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace orlodbc {

std::string grouped(uint64_t n) {
    std::string digits = std::to_string(n), out;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i != 0 && (digits.size() - i) % 3 == 0) out += ',';
        out += digits[i];
    }
    return out;
}

std::string clock(double seconds) {
    long s = seconds < 0 ? 0 : static_cast<long>(seconds);
    char text[32];
    if (s >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", s / 3600, (s / 60) % 60, s % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", s / 60, s % 60);
    return text;
}

std::string Progress::line(uint64_t rows, uint64_t total, double seconds, int width) {
    const double rate = seconds > 0 ? rows / seconds : 0;
    std::string tail = grouped(rows) + " rows  " + grouped(static_cast<uint64_t>(rate)) + " rows/s  " + clock(seconds);
    if (total == 0) return tail;
    double fraction = static_cast<double>(rows) / static_cast<double>(total);
    if (fraction > 1) fraction = 1;
    char pct[16];
    std::snprintf(pct, sizeof pct, "%3d%% ", static_cast<int>(fraction * 100));
    std::string eta = rate > 0 && rows < total ? "  ETA " + clock((total - rows) / rate) : "";
    tail += eta;
    // The bar takes what the terminal has left beside the figures (and the
    // last column, where a terminal would wrap), within reason.
    int room = width - 1 - static_cast<int>(tail.size()) - 5 - 3;
    if (room > 40) room = 40;
    std::string bar;
    if (room >= 10) {
        int filled = static_cast<int>(fraction * room);
        bar = "[" + std::string(filled, '#') + std::string(room - filled, '.') + "] ";
    }
    return bar + pct + tail;
}

Progress::Progress(FILE* out, bool draw, uint64_t total)
    : out_(out), draw_(draw), total_(total), start_(std::chrono::steady_clock::now()) {
    if (!draw_) return;
    thread_ = std::thread([this] {
        std::unique_lock<std::mutex> lock(mutex_);
        while (!done_) {
            this->draw();
            wake_.wait_for(lock, std::chrono::milliseconds(250));
        }
    });
}

Progress::~Progress() { finish(); }

double Progress::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void Progress::draw() {
    winsize ws{};
    int width = ioctl(fileno(out_), TIOCGWINSZ, &ws) == 0 && ws.ws_col > 0 ? ws.ws_col : 80;
    std::string text = line(rows_.load(), total_, seconds(), width);
    if (static_cast<int>(text.size()) >= width) text.resize(width - 1);
    // Return to the start and clear what the last line left.
    std::fprintf(out_, "\r%s\033[K", text.c_str());
    std::fflush(out_);
}

void Progress::finish() {
    if (!thread_.joinable()) return;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        done_ = true;
    }
    wake_.notify_all();
    thread_.join();
    draw();
    std::fputc('\n', out_);
    std::fflush(out_);
}

} // namespace orlodbc
