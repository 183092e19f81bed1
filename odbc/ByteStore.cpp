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
    // A request that would wrap the 32-bit counters can't be met; without
    // this check the wrapped sum passes as "room enough" and the copy overruns.
    if (n > 0xFFFFFFFFu - kSlack - size) return 0;
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
    // A reused store mostly has the room already: the cells copy each value
    // out this way, so that case skips Grow's checks.
    if (data != nullptr && bytes != nullptr && n < capacity - size) {
        std::memcpy(data + size, bytes, n);
        size += n;
        data[size] = 0;
        return size;
    }
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

unsigned int ByteStore::Stretch(unsigned int newSize, char fill) {
    if (size >= newSize) return size;
    unsigned int gap = newSize - size;
    if (Grow(gap) == 0) return size;
    if (size > 0) std::memmove(data + gap, data, size);
    std::memset(data, static_cast<unsigned char>(fill), gap);
    size = newSize;
    data[size] = 0;
    return size;
}

unsigned int ByteStore::Snip(unsigned int position, int count, ByteStore* cut) {
    if (count < 1 || size == 0 || position >= size) return 0;
    unsigned int n = static_cast<unsigned int>(count);
    bool tail = position + n > size || position + n < position;
    unsigned int removed = tail ? size - position : n;
    if (cut != nullptr) {
        cut->Truncate(0, false);
        cut->Append(data + position, removed);
    }
    if (!tail) std::memmove(data + position, data + position + removed, size - position - removed);
    size -= removed;
    data[size] = 0;
    return removed;
}

namespace {
// Room an insertion of count bytes at position needs; beyond the end the gap
// and one more byte come on top.
unsigned int InsertRoom(unsigned int position, unsigned int size, unsigned int count) {
    return position <= size ? count : count + (position - size) + 1;
}
} // namespace

unsigned int ByteStore::Ins(unsigned int position, const void* bytes, int count) {
    if (count < 1 || bytes == nullptr) return 0;
    unsigned int n = static_cast<unsigned int>(count);
    if (Grow(InsertRoom(position, size, n)) == 0) return 0;
    if (position <= size) std::memmove(data + position + n, data + position, size - position);
    std::memcpy(data + position, bytes, n);
    size += n;
    data[size] = 0;
    return n;
}

unsigned int ByteStore::Jam(unsigned int position, int count, char fill) {
    if (count < 1) return 0;
    unsigned int n = static_cast<unsigned int>(count);
    unsigned int room = InsertRoom(position, size, n);
    if (Grow(room) == 0) return 0;
    if (position <= size) {
        std::memmove(data + position + n, data + position, size - position);
        std::memset(data + position, static_cast<unsigned char>(fill), n);
    } else {
        // No fill beyond the end, but no stale heap bytes either.
        std::memset(data + size, 0, room);
    }
    size += room;
    data[size] = 0;
    return n;
}

unsigned int ByteStore::Index(char c) const {
    if (data == nullptr || size == 0) return 0;
    const void* hit = std::memchr(data, static_cast<unsigned char>(c), size);
    return hit ? static_cast<unsigned int>(static_cast<const unsigned char*>(hit) - data) + 1 : 0;
}

unsigned char& ByteStore::operator[](int index) {
    static unsigned char scratch = 0;
    unsigned int at = index < 0 ? 0u : static_cast<unsigned int>(index);
    if (at >= size) Extend(at + 1, 0);
    if (data != nullptr && at < size) return data[at];
    return scratch;
}

unsigned int ByteStore::Slam(unsigned int position, const void* bytes, int count) {
    unsigned int n = count > 0 ? static_cast<unsigned int>(count) : 0u;
    if (position + n > size) Extend(position + n, 0);
    // Without the room (out of memory) the write would land outside the buffer.
    if (n == 0 || bytes == nullptr || data == nullptr || position + n > size) return size;
    std::memmove(data + position, bytes, n);
    return size;
}

unsigned int ByteStore::Slam(unsigned int position, const ByteStore& other) {
    return Slam(position, other.data, static_cast<int>(other.size));
}

unsigned int ByteStore::Slam8(unsigned int position, unsigned char value) { return Slam(position, &value, 1); }

unsigned int ByteStore::Slam16(unsigned int position, unsigned short value) {
    unsigned char b[2] = {static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8)};
    return Slam(position, b, 2);
}

unsigned int ByteStore::Slam32(unsigned int position, unsigned int value) {
    unsigned char b[4] = {static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
                          static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
    return Slam(position, b, 4);
}

unsigned int ByteStore::SlamMi16(unsigned int position, unsigned short value) {
    unsigned char b[2] = {static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
    return Slam(position, b, 2);
}

unsigned int ByteStore::SlamMi32(unsigned int position, unsigned int value) {
    unsigned char b[4] = {static_cast<unsigned char>(value >> 24), static_cast<unsigned char>(value >> 16),
                          static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
    return Slam(position, b, 4);
}

unsigned int ByteStore::_SlamVli(unsigned int position, int adjust, int mode, bool mostSignificantFirst) {
    long long end = static_cast<long long>(position) + 4;
    if (static_cast<long long>(size) > end) end = size;
    long long value;
    switch (mode) {
    case 0:
        value = end;
        break;
    case 1:
        value = end - position;
        break;
    case 2:
        value = end - position - 4;
        break;
    default:
        return 0;
    }
    value -= adjust;
    if (value < 0) value = 0;
    unsigned int field = static_cast<unsigned int>(value);
    return mostSignificantFirst ? SlamMi32(position, field) : Slam32(position, field);
}

unsigned int ByteStore::SlamVli(unsigned int position, int adjust) { return _SlamVli(position, adjust, 0, false); }
unsigned int ByteStore::SlamVliIncl(unsigned int position, int adjust) { return _SlamVli(position, adjust, 1, false); }
unsigned int ByteStore::SlamVliExcl(unsigned int position, int adjust) { return _SlamVli(position, adjust, 2, false); }
unsigned int ByteStore::SlamMiVli(unsigned int position, int adjust) { return _SlamVli(position, adjust, 0, true); }
unsigned int ByteStore::SlamMiVliIncl(unsigned int position, int adjust) { return _SlamVli(position, adjust, 1, true); }
unsigned int ByteStore::SlamMiVliExcl(unsigned int position, int adjust) { return _SlamVli(position, adjust, 2, true); }

}}}} // namespace KORVEL::Orl::DB::ODBC
