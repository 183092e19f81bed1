#include "tools/orlodbc/MaskCommand.h"

#include <CLI/CLI.hpp>
#include <ostream>

namespace orlodbc {

void addMaskOptions(CLI::App& app, MaskOptions& o) {
    app.add_option("kind", o.kind, "date, timestamp, bigdatetime, time, number or unit")->required();
    app.add_option("value", o.value, "what to print or read")->required();
    app.add_option("-m,--mask", o.mask, "the mask");
    app.add_option("-z,--zone", o.zone, "time zone");
    app.add_flag("--parse", o.parse, "read the value through the mask");
}

int runMask(const MaskOptions&, std::ostream&, std::ostream& err) {
    err << "orlodbc: mask: not available" << std::endl;
    return 2;
}

} // namespace orlodbc
