#include "tools/orlodbc/Checksum.h"

#include <cstdio>
#include <cstring>

#include "datatypes/DataTypes.h"
#include "tools/orlodbc/PackedCells.h"

using namespace DataTypes;

namespace orlodbc {

namespace {

// FNV-1a, then a finaliser so that sums of many hashes stay well mixed.
uint64_t hashBytes(const std::string& bytes) {
    uint64_t h = 1469598103934665603ULL;
    for (unsigned char c : bytes) {
        h ^= c;
        h *= 1099511628211ULL;
    }
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdULL;
    h ^= h >> 33;
    h *= 0xc4ceb9fe1a85ec53ULL;
    h ^= h >> 33;
    return h;
}

std::string tagged(char kind, int64_t v) {
    std::string out(1, kind);
    out.append(reinterpret_cast<const char*>(&v), sizeof v);
    return out;
}

// "12.500" and "12.5" are the same number in two scales. Only text that is
// wholly a plain decimal number is touched.
std::string plainDecimal(std::string text) {
    size_t i = !text.empty() && text[0] == '-' ? 1 : 0, digits = 0, point = std::string::npos;
    for (; i < text.size(); ++i) {
        if (text[i] >= '0' && text[i] <= '9') ++digits;
        else if (text[i] == '.' && point == std::string::npos) point = i;
        else return text;
    }
    if (digits == 0) return text;
    if (point != std::string::npos) {
        while (text.back() == '0') text.pop_back();
        if (text.back() == '.') text.pop_back();
    }
    if (text == "-0") text = "0";
    return text;
}

} // namespace

std::string canonicalValue(unsigned int type, const unsigned char* packed) {
    if (packed == nullptr) return "n";
    DataValue v;
    unpackValue(type, const_cast<unsigned char*>(packed), v);
    switch (type & kTypeMask) {
    case INT16: return tagged('i', v.int16Value);
    case INTEGER: return tagged('i', v.int32Value);
    case BOOLEAN: return tagged('i', v.boolValue ? 1 : 0);
    case LONG:
    case INTERVAL: return tagged('i', v.int64Value);
    case FLOAT: {
        double d = v.doubleValue == 0 ? 0.0 : v.doubleValue;  // -0 is 0
        int64_t bits;
        std::memcpy(&bits, &d, sizeof bits);
        return tagged('f', bits);
    }
    // Some drivers hand decimals over as text (SQLite's does): a decimal and
    // its text are one value, whichever way a database keeps it.
    case STRING: return "s" + plainDecimal(reinterpret_cast<const char*>(packed));
    case BINARY:
        return "b" + std::string(reinterpret_cast<const char*>(packed) + 4, getLengthFromPackedBinary(packed));
    case DATE: return tagged('t', v.int64Value * 1000000);
    case TIMESTAMP: return tagged('t', v.int64Value * 1000);
    case BIGDATETIME: return tagged('t', v.int64Value);
    case TIME: return tagged('h', v.int64Value);
    default: {
        char text[128] = "";
        convertToString(type, false, false, const_cast<unsigned char*>(packed), text, sizeof text);
        return "s" + plainDecimal(text);
    }
    }
}

void TableChecksum::add(const KORVEL::Orl::DB::RowInternal2* row) {
    const unsigned char* base = reinterpret_cast<const unsigned char*>(row);
    for (size_t j = 0; j < types_.size(); ++j) {
        const int32_t offset = packedOffset(base, j);
        sums_[j] += hashBytes(canonicalValue(types_[j], offset > 0 ? base + offset : nullptr));
    }
    ++rows_;
}

void TableChecksum::merge(const TableChecksum& other) {
    if (sums_.empty()) {
        *this = other;
        return;
    }
    for (size_t j = 0; j < sums_.size() && j < other.sums_.size(); ++j) sums_[j] += other.sums_[j];
    rows_ += other.rows_;
}

std::string TableChecksum::text() const {
    std::string all = tagged('r', static_cast<int64_t>(rows_));
    for (uint64_t s : sums_) all.append(reinterpret_cast<const char*>(&s), sizeof s);
    char out[17];
    std::snprintf(out, sizeof out, "%016llx", static_cast<unsigned long long>(hashBytes(all)));
    return out;
}

} // namespace orlodbc
