// Growable C-heap byte buffer whose address can be handed to ODBC as it is.
// The byte behind the last one is kept at NUL, so the bytes always read as text.
// Lengths are 32-bit unsigned and wrap without a check; running out of memory
// shows in the results (0 from Grow/Append, the old size from Extend), never
// as an exception, and the contents survive it. One thread at a time.
#pragma once

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class ByteStore {
public:
    ByteStore();
    ByteStore(const ByteStore& other);
    // A length of 0xFFFFFFFF takes strlen; 0 leaves the store without a buffer.
    ByteStore(const char* text, unsigned int length);
    ByteStore(const unsigned char* bytes, unsigned int length);
    virtual ~ByteStore();
    ByteStore& operator=(const ByteStore& other);

    // Makes room for n more bytes: 1025 bytes of slack beyond the request, no
    // doubling. Returns 0 on failure (and for n == 0), n + 1 when the first
    // buffer was made, n otherwise.
    unsigned int Grow(unsigned int n);
    // Adds n bytes at the end; null bytes only make room. Returns the new size,
    // 0 when room could not be made.
    unsigned int Append(const void* bytes, unsigned int n);
    // Grows to newSize writing fill; a larger store stays. Returns the size.
    unsigned int Extend(unsigned int newSize, char fill);
    unsigned int ExtendBy(unsigned int n, char fill);
    // Sets the size to n: cuts the head (fromFront) or the tail, or lengthens
    // with zero bytes. release gives memory back (all of it when n is 0).
    unsigned int Trunc(unsigned int n, bool fromFront, bool release);
    unsigned int Truncate(unsigned int n, bool fromFront) { return Trunc(n, fromFront, false); }
    unsigned int Resize(unsigned int n, bool fromFront) { return Trunc(n, fromFront, true); }

    unsigned char* Data() const { return data; }
    const char* Text() const { return data ? reinterpret_cast<const char*>(data) : ""; }
    unsigned int Size() const { return size; }
    unsigned int Capacity() const { return capacity; }

protected:
    unsigned char* data;    // null in a store that never held anything or was released
    unsigned int size;      // bytes in use
    unsigned int capacity;  // bytes allocated; size < capacity whenever data is set
};

}}}} // namespace KORVEL::Orl::DB::ODBC
