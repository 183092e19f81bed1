// The library's own strptime: fixed English names, no locale, and a few rules
// of its own that the plain conversions depend on (see Calendar.h).
#include <cstring>

#include "format/Calendar.h"

namespace DataTypes {

namespace {

constexpr const char* kDayNames[7][2] = {
    {"Sunday", "Sun"},     {"Monday", "Mon"}, {"Tuesday", "Tue"}, {"Wednesday", "Wed"},
    {"Thursday", "Thu"},   {"Friday", "Fri"}, {"Saturday", "Sat"},
};

constexpr const char* kMonthNames[12][2] = {
    {"January", "Jan"}, {"February", "Feb"}, {"March", "Mar"},     {"April", "Apr"},
    {"May", "May"},     {"June", "Jun"},     {"July", "Jul"},      {"August", "Aug"},
    {"September", "Sep"}, {"October", "Oct"}, {"November", "Nov"}, {"December", "Dec"},
};

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

const char* skipBlanks(const char* p) {
    while (isBlank(*p)) ++p;
    return p;
}

// Length of `name` when the input starts with it, ignoring ASCII case; else 0.
size_t matchName(const char* input, const char* name) {
    size_t n = 0;
    for (; name[n] != '\0'; ++n) {
        if (lowerAscii(input[n]) != lowerAscii(name[n])) return 0;
    }
    return n;
}

// Whole-text comparison ignoring ASCII case.
bool equalsIgnoringCase(const char* a, const char* b) {
    for (; *a != '\0' && *b != '\0'; ++a, ++b) {
        if (lowerAscii(*a) != lowerAscii(*b)) return false;
    }
    return *a == *b;
}

// Tries each entry's full name, then its short one; the first match wins.
template <size_t N>
bool readName(const char*& p, const char* const (&names)[N][2], int& index) {
    for (size_t i = 0; i < N; ++i) {
        for (const char* name : names[i]) {
            size_t n = matchName(p, name);
            if (n != 0) {
                p += n;
                index = static_cast<int>(i);
                return true;
            }
        }
    }
    return false;
}

// A number in [lo, hi]. The first byte must be a digit; digits are taken while
// one more could still stay within hi and no more than hi has digits, so
// "2024" under %m stops after the "2" and "13" is read whole and refused.
bool readNumber(const char*& p, int lo, int hi, int& out) {
    if (!isDigit(*p)) return false;
    int result = 0;
    int room = hi;
    do {
        result = result * 10 + (*p - '0');
        room /= 10;
        ++p;
    } while (result * 10 <= hi && room != 0 && isDigit(*p));
    if (result < lo || result > hi) return false;
    out = result;
    return true;
}

// A modifier is legal when absent or the one the conversion takes.
bool modifierAllowed(char modifier, char allowed) { return modifier == '\0' || modifier == allowed; }

} // namespace

const char* strptime(const char* input, const char* format, tm* t) {
    if (input == nullptr || format == nullptr || t == nullptr) return nullptr;
    std::memset(t, 0, sizeof *t);
    t->tm_year = 70;
    t->tm_mon = 0;
    t->tm_mday = 1;
    bool centurySeen = false;

    const char* p = input;
    const char* f = format;
    while (*f != '\0') {
        char c = *f++;
        if (isBlank(c)) {
            p = skipBlanks(p);
            continue;
        }
        if (c != '%') {
            if (*p != c) return nullptr;
            ++p;
            continue;
        }

        char modifier = '\0';
        c = *f;
        if (c == 'E' || c == 'O') {
            modifier = c;
            c = *++f;
        }
        if (c == '\0') return nullptr;  // a format ending in "%" or "%E"
        ++f;

        // A composite starts over through the entry, defaults and all: what was
        // parsed before it is lost. Callers rely on this; don't mend it.
        const char* composite = nullptr;
        // The field a plain number goes to, with its range.
        int* field = nullptr;
        int lo = 0, hi = 0;
        int n = 0;

        switch (c) {
        case '%':
            if (!modifierAllowed(modifier, '\0') || *p != '%') return nullptr;
            ++p;
            break;
        case 'a':
        case 'A':
            if (!modifierAllowed(modifier, '\0') || !readName(p, kDayNames, t->tm_wday)) return nullptr;
            break;
        case 'b':
        case 'B':
        case 'h':
            if (!modifierAllowed(modifier, '\0') || !readName(p, kMonthNames, t->tm_mon)) return nullptr;
            break;
        case 'C':
            if (!modifierAllowed(modifier, 'E') || !readNumber(p, 0, 99, n)) return nullptr;
            // Kept as it always was: the first %C sets tm_year to n * 100,
            // not to the years since 1900.
            t->tm_year = centurySeen ? t->tm_year % 100 + n * 100 : n * 100;
            centurySeen = true;
            break;
        case 'c':
            if (!modifierAllowed(modifier, 'E')) return nullptr;
            composite = "%x %X";
            break;
        case 'D':
            if (!modifierAllowed(modifier, '\0')) return nullptr;
            composite = "%m/%d/%y";
            break;
        case 'd':
        case 'e':
            if (!modifierAllowed(modifier, 'O')) return nullptr;
            field = &t->tm_mday, lo = 1, hi = 31;
            break;
        case 'H':
            if (!modifierAllowed(modifier, 'O')) return nullptr;
            field = &t->tm_hour, lo = 0, hi = 23;
            break;
        case 'k':
            if (!modifierAllowed(modifier, '\0')) return nullptr;
            field = &t->tm_hour, lo = 0, hi = 23;
            break;
        case 'I':
        case 'l':
            if (!modifierAllowed(modifier, c == 'I' ? 'O' : '\0') || !readNumber(p, 1, 12, n)) return nullptr;
            t->tm_hour = n == 12 ? 0 : n;
            break;
        case 'j':
            if (!modifierAllowed(modifier, '\0') || !readNumber(p, 1, 366, n)) return nullptr;
            t->tm_yday = n - 1;
            break;
        case 'M':
            if (!modifierAllowed(modifier, 'O')) return nullptr;
            field = &t->tm_min, lo = 0, hi = 59;
            break;
        case 'm':
            if (!modifierAllowed(modifier, 'O') || !readNumber(p, 1, 12, n)) return nullptr;
            t->tm_mon = n - 1;
            break;
        case 'n':
        case 't':
            if (!modifierAllowed(modifier, '\0')) return nullptr;
            p = skipBlanks(p);
            break;
        case 'p':
            // The whole rest of the input must be "AM" or "PM": a %p ends the text.
            if (!modifierAllowed(modifier, '\0')) return nullptr;
            if (equalsIgnoringCase(p, "AM")) {
                if (t->tm_hour > 11) return nullptr;
            } else if (equalsIgnoringCase(p, "PM")) {
                if (t->tm_hour > 11) return nullptr;
                t->tm_hour += 12;
            } else {
                return nullptr;
            }
            p += 2;
            break;
        case 'R':
            if (!modifierAllowed(modifier, '\0')) return nullptr;
            composite = "%H:%M";
            break;
        case 'r':
            if (!modifierAllowed(modifier, '\0')) return nullptr;
            composite = "%I:%M:%S %p";
            break;
        case 'S':
            if (!modifierAllowed(modifier, 'O')) return nullptr;
            field = &t->tm_sec, lo = 0, hi = 61;
            break;
        case 'T':
            if (!modifierAllowed(modifier, '\0')) return nullptr;
            composite = "%H:%M:%S";
            break;
        case 'U':
        case 'W':
            // The week number is read and dropped.
            if (!modifierAllowed(modifier, 'O') || !readNumber(p, 0, 53, n)) return nullptr;
            break;
        case 'w':
            if (!modifierAllowed(modifier, 'O')) return nullptr;
            field = &t->tm_wday, lo = 0, hi = 6;
            break;
        case 'X':
            if (!modifierAllowed(modifier, 'E')) return nullptr;
            composite = "%H:%M:%S";
            break;
        case 'x':
            if (!modifierAllowed(modifier, 'E')) return nullptr;
            composite = "%m/%d/%y";
            break;
        case 'Y':
            if (!modifierAllowed(modifier, 'E') || !readNumber(p, 0, 9999, n)) return nullptr;
            t->tm_year = n - 1900;
            break;
        case 'y':
            // The one conversion that takes any modifier.
            if (!readNumber(p, 0, 99, n)) return nullptr;
            if (centurySeen) {
                t->tm_year = n + t->tm_year / 100 * 100;
            } else {
                t->tm_year = n > 68 ? n : n + 100;
                centurySeen = true;
            }
            break;
        default:
            return nullptr;
        }

        if (field != nullptr && !readNumber(p, lo, hi, *field)) return nullptr;
        if (composite != nullptr) {
            p = DataTypes::strptime(p, composite, t);
            if (p == nullptr) return nullptr;
        }
    }
    return p;
}

} // namespace DataTypes
