// Stand-in for the server's log service: one line per call.
#pragma once
#include <functional>
#include <string>

namespace KORVEL { namespace Orl { namespace DB {

// Lines go to standard error unless the host names a file. A line is the id,
// then each text behind a blank; a text ends at its first NUL, as C text does.
class LogServiceImpl {
public:
    static void log(const char* id, const char* text);
    static void log(const char* id, const char* first, const char* second);

    // Appends lines to `path` from now on; an empty path returns to standard error.
    // False if the file can't be opened (the old target stays).
    static bool setLogFile(const std::string& path);

    // In-process capture for tests and embedding hosts: while set, lines go to the
    // sink (with the id and the joined text apart) instead of a stream.
    using Sink = std::function<void(const std::string& id, const std::string& text)>;
    static void setSink(Sink sink);
};

}}} // namespace KORVEL::Orl::DB
