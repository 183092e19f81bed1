#include "odbc/ByteStore.h"

#include <cstdlib>
#include <cstring>

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

namespace {
// 1024 bytes of slack and one for the NUL: most small values never reallocate,
// and the data cells rely on reusing that room.
constexpr unsigned int kSlack = 1025;
} // namespace

ByteStore::ByteStore() : data(nullptr), size(0), capacity(0) {}

ByteStore::ByteStore(const ByteStore& other) : ByteStore() { Append(other.data, other.size); }

ByteStore::ByteStore(const char* text, unsigned int length) : ByteStore() {
    if (length == 0xFFFFFFFFu) length = text ? static_cast<unsigned int>(std::strlen(text)) : 0;
    Append(text, length);
}

ByteStore::ByteStore(const unsigned char* bytes, unsigned int length)
    : ByteStore(reinterpret_cast<const char*>(bytes), length) {}

ByteStore::~ByteStore() {
    std::free(data);
    data = nullptr;
    size = 0;
    capacity = 0;
}

ByteStore& ByteStore::operator=(const ByteStore& other) {
    if (this == &other) return *this;
    Truncate(0, false);
    Append(other.data, other.size);
    return *this;
}

unsigned int ByteStore::Grow(unsigned int n) {
    if (n == 0) return 0;
    if (data == nullptr) {
        unsigned char* p = static_cast<unsigned char*>(std::malloc(static_cast<size_t>(n) + kSlack));
        if (p == nullptr) return 0;
        data = p;
        capacity = n + kSlack;
        size = 0;
        data[0] = 0;
        return n + 1;
    }
    unsigned int need = size + n;
    if (need < capacity) return n;
    unsigned char* p = static_cast<unsigned char*>(std::realloc(data, static_cast<size_t>(need) + kSlack));
    if (p == nullptr) return 0;
    data = p;
    capacity = need + kSlack;
    return n;
}

unsigned int ByteStore::Append(const void* bytes, unsigned int n) {
    if (n == 0) return size;
    if (Grow(n) == 0) return 0;
    if (bytes != nullptr) {
        std::memcpy(data + size, bytes, n);
        size += n;
        data[size] = 0;
    }
    return size;
}

unsigned int ByteStore::Extend(unsigned int newSize, char fill) {
    if (size >= newSize) return size;
    if (Grow(newSize - size) == 0) return size;
    std::memset(data + size, static_cast<unsigned char>(fill), newSize - size);
    size = newSize;
    data[size] = 0;
    return size;
}

unsigned int ByteStore::ExtendBy(unsigned int n, char fill) { return Extend(size + n, fill); }

unsigned int ByteStore::Trunc(unsigned int n, bool fromFront, bool release) {
    if (n == 0) {
        if (release) {
            std::free(data);
            data = nullptr;
            size = 0;
            capacity = 0;
            return 0;
        }
        if (data != nullptr) data[0] = 0;
        size = 0;
        return 0;
    }
    if (data != nullptr && n < size) {
        if (fromFront) std::memmove(data, data + (size - n), n);
        size = n;
        if (release) {
            unsigned char* p = static_cast<unsigned char*>(std::realloc(data, static_cast<size_t>(n) + 1));
            if (p != nullptr) {
                data = p;
                capacity = n + 1;
            }
        }
        data[size] = 0;
        return size;
    }
    Extend(n, 0);
    return size;
}

}}}} // namespace KORVEL::Orl::DB::ODBC
