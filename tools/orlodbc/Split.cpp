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
    if (starts.size() < 2) return conditions;
    for (size_t i = 0; i < starts.size(); ++i) {
        const std::string below = key + " < " + (i + 1 < starts.size() ? std::to_string(starts[i + 1]) : "");
        if (i == 0) conditions.push_back(below + " OR " + key + " IS NULL");
        else if (i + 1 == starts.size()) conditions.push_back(key + " >= " + std::to_string(starts[i]));
        else conditions.push_back(key + " >= " + std::to_string(starts[i]) + " AND " + below);
    }
    return conditions;
}

std::string boundsSql(DbKind db, const std::string& key, bool integer, const std::string& source) {
    const char* asInt = db == DbKind::PostgreSQL ? "bigint" : db == DbKind::MariaDB ? "SIGNED" : "INTEGER";
    auto bound = [&](const char* f) {
        const std::string plain = std::string(f) + "(" + key + ")";
        return integer ? plain : "CAST(" + plain + " AS " + asInt + ")";
    };
    return "SELECT " + bound("MIN") + ", " + bound("MAX") + " FROM " + source;
}

bool integerKey(unsigned int type) {
    switch (type & kTypeMask) {
    case INT16:
    case INTEGER:
    case LONG: return true;
    default: return false;
    }
}

bool splittable(unsigned int type) {
    const unsigned int code = type & kTypeMask;
    return integerKey(type) || code == FIXEDDECIMAL || code == MONEY || (code >= MONEY_1 && code <= MONEY_15);
}

} // namespace orlodbc
