#include "datatypes/BinaryHex.h"

#include <cstring>
#include <exception>

namespace DataTypes {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool isHexSpace(char c) { return c == '\t' || c == ' ' || c == '\r' || c == '\n'; }

} // namespace

unsigned long getBinaryDataSizeFromHexString(const char* hex) {
    return hex == nullptr ? 0 : std::strlen(hex) / 2;
}

unsigned long getHexStringSizeForBuffer(unsigned long length, unsigned long groupBytes, unsigned long lineBytes) {
    unsigned long size = 2 * length;
    if (groupBytes != 0) size += length / groupBytes + 1;
    if (lineBytes != 0) size += 2 * (length / lineBytes) + 2;
    return size + 1;
}

long convertBinaryFromHexString(const char* hex, unsigned char* out, unsigned int size, const char*& error) {
    if (hex == nullptr) return 0;
    if (out == nullptr) size = 0;
    unsigned long written = 0;
    int high = -1;  // first digit of a pair, held until its partner comes
    // White space may fall anywhere, even between the two digits of a byte.
    for (const char* p = hex; *p != '\0'; ++p) {
        if (isHexSpace(*p)) continue;
        int digit = hexValue(*p);
        if (digit < 0) {
            error = "Invalid hex character";
            return -1;
        }
        if (high < 0) {
            high = digit;
            continue;
        }
        if (written >= size) {
            error = "Output buffer too small";
            return -1;
        }
        out[written++] = static_cast<unsigned char>(high * 16 + digit);
        high = -1;
    }
    if (high >= 0) {
        error = "Odd number of characters in hex string";
        return -1;
    }
    return static_cast<long>(written);
}

long convertBinaryToHexString(unsigned long size, const unsigned char* data, unsigned int length, char* out,
                              const char*& error) {
    if (out == nullptr) return -1;
    if (data == nullptr) length = 0;  // nothing to read: print as empty
    unsigned long pos = 0;
    for (unsigned int i = 0; i < length; ++i) {
        // Each pair must leave room for the terminator behind it.
        if (pos + 2 >= size) {
            error = "output buffer is too small for binary to hex-string conversion";
            return -1;
        }
        out[pos++] = kHexDigits[data[i] >> 4];
        out[pos++] = kHexDigits[data[i] & 0x0F];
    }
    if (pos >= size) {
        error = "output buffer is too small for binary to hex-string conversion";
        return -1;
    }
    out[pos] = '\0';
    return static_cast<long>(pos);
}

void convertBinaryToHexString(const unsigned char* data, unsigned int length, std::string& out) {
    out.clear();
    if (data == nullptr) return;
    try {
        out.reserve(2ul * length);
        for (unsigned int i = 0; i < length; ++i) {
            out.push_back(kHexDigits[data[i] >> 4]);
            out.push_back(kHexDigits[data[i] & 0x0F]);
        }
    } catch (const std::exception&) {
        out.clear();
    }
}

} // namespace DataTypes
