// orlodbc mask: the date, time and number masks of the type core, tried from
// the command line with the library's own results.
#pragma once
#include <iosfwd>
#include <string>

namespace CLI {
class App;
}

namespace orlodbc {

struct MaskOptions {
    std::string kind;   // date, timestamp, bigdatetime, time, number, unit
    std::string value;  // text or count to print, or text to read
    std::string mask;
    std::string zone;
    bool parse = false;  // read `value` through the mask instead of printing
};

void addMaskOptions(CLI::App& app, MaskOptions& options);

// 0 when the library gave a result, 1 when it gave its failure (explained on
// `err`), 2 when the input was not understood.
int runMask(const MaskOptions& options, std::ostream& out, std::ostream& err);

} // namespace orlodbc
