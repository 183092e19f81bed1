// Registers the scripted driver with the driver manager for this process: a
// private odbcinst.ini and odbc.ini in a temporary directory, ODBCSYSINI and
// ODBCINI pointed at them. Must run before the first ODBC call of the process.
#pragma once
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace orltest {

class ScriptDsn {
public:
    static constexpr const char* kDsn = "orl_script";

    static ScriptDsn& Instance() {
        static ScriptDsn instance;
        return instance;
    }

    // Lines the driver wrote since `mark` (a count from Mark()).
    size_t Mark() const { return ReadAll().size(); }
    std::vector<std::string> Since(size_t mark, const std::string& prefix = "") const {
        std::vector<std::string> all = ReadAll(), out;
        for (size_t i = mark; i < all.size(); ++i)
            if (all[i].compare(0, prefix.size(), prefix) == 0) out.push_back(all[i]);
        return out;
    }

private:
    ScriptDsn() {
        char dir[] = "/tmp/orl_scriptdrv_XXXXXX";
        if (mkdtemp(dir) == nullptr) std::abort();
        directory = dir;
        std::ofstream(directory + "/odbcinst.ini") << "[OrlScript]\nDriver=" << ORL_SCRIPTDRV_PATH << "\n";
        std::ofstream(directory + "/odbc.ini") << "[" << kDsn << "]\nDriver=OrlScript\n";
        log = directory + "/calls.log";
        std::ofstream(log).flush();
        setenv("ODBCSYSINI", directory.c_str(), 1);
        setenv("ODBCINI", (directory + "/odbc.ini").c_str(), 1);
        setenv("ORL_SCRIPTDRV_LOG", log.c_str(), 1);
    }

    ~ScriptDsn() {
        for (const char* name : {"/odbcinst.ini", "/odbc.ini", "/calls.log"}) std::remove((directory + name).c_str());
        rmdir(directory.c_str());
    }

    std::vector<std::string> ReadAll() const {
        std::vector<std::string> lines;
        std::ifstream in(log);
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }

    std::string directory;
    std::string log;
};

} // namespace orltest
