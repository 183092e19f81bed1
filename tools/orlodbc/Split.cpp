#include "tools/orlodbc/Split.h"

#include "datatypes/DataTypes.h"

using namespace DataTypes;

namespace orlodbc {

std::vector<int64_t> splitRanges(int64_t min, int64_t max, int jobs) {
    std::vector<int64_t> starts;
    if (jobs < 1) jobs = 1;
    const __int128 span = static_cast<__int128>(max) - min + 1;
    for (int i = 0; i < jobs; ++i) {
        const int64_t start = static_cast<int64_t>(min + span * i / jobs);
        // Fewer keys than jobs: the empty ranges are dropped.
        if (starts.empty() || start > starts.back()) starts.push_back(start);
    }
    return starts;
}

std::vector<std::string> splitConditions(const std::string& key, int64_t min, int64_t max, int jobs) {
    std::vector<std::string> conditions;
    const std::vector<int64_t> starts = splitRanges(min, max, jobs);
    for (size_t i = 0; i < starts.size(); ++i) {
        std::string c = key + " >= " + std::to_string(starts[i]);
        c += i + 1 < starts.size() ? " AND " + key + " < " + std::to_string(starts[i + 1])
                                   : " AND " + key + " <= " + std::to_string(max);
        if (i == 0) c = "(" + c + ") OR " + key + " IS NULL";
        conditions.push_back(c);
    }
    return conditions;
}

bool splittable(unsigned int type) {
    switch (type & kTypeMask) {
    case INT16:
    case INTEGER:
    case LONG: return true;
    default: return false;
    }
}

} // namespace orlodbc
