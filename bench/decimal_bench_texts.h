// The inputs every decimal benchmark shares, so that ours and the reference
// see the same texts: a spread of digit counts, signs and scales.
#pragma once
#include <random>
#include <string>
#include <vector>

namespace decimalbench {

struct DecimalText {
    std::string text;
    int scale;
};

inline const std::vector<DecimalText>& texts() {
    static const std::vector<DecimalText> all = [] {
        std::vector<DecimalText> out;
        std::mt19937_64 rng(2026);
        for (int i = 0; i < 1024; ++i) {
            const int digits = 1 + static_cast<int>(rng() % 34);
            const int scale = static_cast<int>(rng() % (digits + 1));
            std::string t = (rng() & 1) ? "-" : "";
            std::string d;
            for (int k = 0; k < digits; ++k) d += static_cast<char>('0' + rng() % 10);
            if (scale == digits) d.insert(0, "0");
            if (scale > 0) d.insert(d.size() - scale, ".");
            out.push_back({t + d, scale});
        }
        return out;
    }();
    return all;
}

} // namespace decimalbench
