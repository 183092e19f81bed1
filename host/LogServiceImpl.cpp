#include "host/LogServiceImpl.h"

#include <cstdio>
#include <mutex>

namespace KORVEL { namespace Orl { namespace DB {

namespace {
std::mutex g_logMutex;
FILE* g_logFile = nullptr;  // null: standard error
LogServiceImpl::Sink g_sink;

void emit(const char* id, const std::string& text) {
    std::lock_guard<std::mutex> lock(g_logMutex);
    const char* safeId = id ? id : "";
    if (g_sink) {
        g_sink(safeId, text);
        return;
    }
    FILE* out = g_logFile ? g_logFile : stderr;
    std::fprintf(out, "%s %s\n", safeId, text.c_str());
    std::fflush(out);
}
} // namespace

void LogServiceImpl::log(const char* id, const char* text) { emit(id, text ? text : ""); }

void LogServiceImpl::log(const char* id, const char* first, const char* second) {
    std::string t(first ? first : "");
    t += ' ';
    t += second ? second : "";
    emit(id, t);
}

bool LogServiceImpl::setLogFile(const std::string& path) {
    std::lock_guard<std::mutex> lock(g_logMutex);
    if (path.empty()) {
        if (g_logFile) std::fclose(g_logFile);
        g_logFile = nullptr;
        return true;
    }
    FILE* f = std::fopen(path.c_str(), "a");
    if (!f) return false;
    if (g_logFile) std::fclose(g_logFile);
    g_logFile = f;
    return true;
}

void LogServiceImpl::setSink(Sink sink) {
    std::lock_guard<std::mutex> lock(g_logMutex);
    g_sink = std::move(sink);
}

}}} // namespace KORVEL::Orl::DB
