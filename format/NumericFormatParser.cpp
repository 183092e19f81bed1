#include "format/NumericFormatParser.h"

#include <cctype>
#include <cmath>

#include "host/DataService.h"

namespace DataTypes {

NumericFormatParser::NumericFormatParser(double value, std::string /*mask*/) : m_value(value) {}

std::string NumericFormatParser::BrokenHashString() { return std::string(m_mask.size() + 1, '#'); }

void NumberToString(double value, const char* mask, std::string& out) {
    try {
        const std::string m = mask != nullptr ? mask : "";
        NumericFormatParser parser(value, m);
        parser.ParseToString(m, out);
    } catch (...) { // std::bad_alloc: no exception leaves the library
        out.clear();
    }
}

void NumericFormatParser::ParseToString(std::string mask, std::string& out) {
    m_mask = mask;
    for (char& c : m_mask) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    auto broken = [&]() { out = BrokenHashString(); };
    // Left open by the mask language: an empty mask would read before its
    // first character, and NaN or infinity would print words. Both are "#...".
    if (m_mask.empty() || !std::isfinite(m_value)) return broken();

    int64_t integerPlaces = 0, fractionPlaces = 0;
    bool afterPoint = false;
    for (char c : m_mask) {
        if (c == '9' || c == '0') ++(afterPoint ? fractionPlaces : integerPlaces);
        else if (c == '.' || c == 'D') afterPoint = true;
    }
    const size_t n = m_mask.size();
    auto at = [&](size_t i) { return i < n ? m_mask[i] : '\0'; };

    size_t p = 0;
    if (at(0) == 'F') {
        if (at(1) != 'M') return broken();
        p = 2;
    }
    const char first = at(p);
    const bool trailing = m_mask[n - 1] == 'S';
    if (first == 'S') {
        if (trailing) return broken();
        out.push_back(m_value < 0 ? '-' : '+');
    } else if (!trailing) {
        out.push_back(m_value < 0 ? '-' : ' ');
    }
    if (at(p) == 'S') ++p;
    if (at(p) == 'F') {
        if (at(p + 1) != 'M') return broken();
        p += 2;
    }

    if (m_mask.find('E') != std::string::npos) {
        if (!Scientific(integerPlaces, fractionPlaces, out)) return broken();
        return;
    }

    if (m_value != 0) {
        double a = std::fabs(m_value);
        if (a < 1) a = 1 / a;
        if (std::fabs(m_value) > 1.0 && integerPlaces < static_cast<int64_t>(std::ceil(std::log10(a)))) return broken();
    }
    char buffer[1024];
    int64_t expected = 0;
    const int width = static_cast<int>(integerPlaces < 1000 ? integerPlaces : 1000);
    if (fractionPlaces == 0) {
        // Beyond 64 bits the rounding has no integer to land on; the "%f"
        // path below prints such numbers as they are.
        if (std::fabs(m_value) >= 9.2e18) return broken();
        const long rounded = static_cast<long>(m_value >= 0 ? m_value + 0.5 : m_value - 0.5);
        intl_snprintf(buffer, sizeof buffer, "%*ld", width, rounded < 0 ? -rounded : rounded);
        expected = integerPlaces;
    } else {
        expected = integerPlaces + 1 + fractionPlaces;
        const int precision = static_cast<int>(fractionPlaces < 1000 ? fractionPlaces : 1000);
        intl_snprintf(buffer, sizeof buffer, "%*.*f", static_cast<int>(expected < 1000 ? expected : 1000), precision,
                      std::fabs(m_value));
    }
    // One leading zero becomes a blank: "0.50" is " .50".
    if (buffer[0] == ' ' || buffer[0] == '0') {
        size_t k = 0;
        while (buffer[k] == ' ') ++k;
        if (buffer[k] == '0') buffer[k] = ' ';
    }
    m_text = buffer;
    if (static_cast<int64_t>(m_text.size()) > expected && m_text[0] == '-') m_text.erase(0, 1);

    if (!Walk(p, integerPlaces, fractionPlaces, out)) return broken();

    if (m_mask.find('$') != std::string::npos) {
        size_t k = 0;
        if (k < out.size() && (out[k] == '+' || out[k] == '-')) ++k;
        while (k < out.size() && out[k] == ' ') ++k;
        out.insert(k, 1, '$');
    }
    if (first == 'S' || !trailing) {
        // The sign moves right, next to the first non-blank.
        if (!out.empty() && (out[0] == '-' || out[0] == '+')) {
            size_t k = 1;
            while (k < out.size() && out[k] == ' ') ++k;
            if (k > 1) {
                out[k - 1] = out[0];
                out[0] = ' ';
            }
        }
    } else {
        out.push_back(m_value >= 0 ? '+' : '-');
    }

    const size_t fm = m_mask.find("FM");
    if (fm != std::string::npos) {
        if (fm > 1) return broken(); // position 1 counts whatever stands before it
        const size_t b = out.find_first_not_of(' ');
        if (b == std::string::npos) out.clear();
        else out = out.substr(b, out.find_last_not_of(' ') - b + 1);
    }
}

bool NumericFormatParser::Walk(size_t from, int64_t integerPlaces, int64_t fractionPlaces, std::string& out) {
    size_t cursor = 0;
    int64_t places = 0;
    bool force = false;
    int64_t remaining = integerPlaces;
    for (size_t i = from; i < m_mask.size(); ++i) {
        const char c = m_mask[i];
        switch (c) {
        case '$':
        case 'F':
        case 'M':
            break;
        case ',':
            if (places == 0 || m_previous == 'D' || m_previous == '.') return false;
            if (m_digitsPrinted != 0) {
                out.push_back(',');
                break;
            }
            out.push_back(' ');
            continue; // a blank separator leaves the previous character as it was
        case '.':
        case 'D':
            out.push_back('.');
            if (cursor < m_text.size()) {
                if (m_text[cursor] != '.') return false;
                ++cursor;
            }
            break;
        case '0':
        case '9': {
            if (c == '0') force = true;
            ++places;
            if (cursor >= m_text.size()) return false; // cannot arise: the text is at least as wide
            const char t = m_text[cursor++];
            if (remaining == 0) {
                out.push_back(t);
                ++m_digitsPrinted;
                break;
            }
            if (t == ' ' && force) {
                out.push_back('0');
                ++m_digitsPrinted;
            } else if (t == ' ') {
                out.push_back(remaining == 1 && fractionPlaces == 0 ? '0' : ' ');
            } else {
                out.push_back(t);
                ++m_digitsPrinted;
                force = true;
            }
            if (--remaining == 0) force = true;
            break;
        }
        case 'S':
            if (i != m_mask.size() - 1) return false;
            break;
        default:
            return false;
        }
        m_previous = c;
    }
    // More digits than places.
    return cursor >= m_text.size();
}

bool NumericFormatParser::Scientific(int64_t integerPlaces, int64_t fractionPlaces, std::string& out) {
    const size_t e = m_mask.find("EEEE");
    if (e == std::string::npos || e + 4 != m_mask.size() || m_mask.find(',') != std::string::npos) return false;
    char buffer[1024];
    const int64_t width = integerPlaces + 6 + fractionPlaces;
    const int written = intl_snprintf(buffer, sizeof buffer, "%*.*E", static_cast<int>(width < 1000 ? width : 1000),
                                      static_cast<int>(fractionPlaces < 1000 ? fractionPlaces : 1000), m_value);
    if (written <= 0) return false;
    std::string text = buffer;
    // A three-digit exponent with a leading zero keeps two digits.
    if (text.size() > 2 && text[text.size() - 3] == '0') text.erase(text.size() - 3, 1);
    const size_t b = text.find_first_not_of(' ');
    // The sign written before is dropped: a positive number shows none.
    out = b == std::string::npos ? std::string() : text.substr(b);
    return true;
}

} // namespace DataTypes
