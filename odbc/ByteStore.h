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

    // Editing. Positions are zero-based; results are the new size unless told.
    // As Extend, but the old bytes move up and the fill comes in at the front.
    unsigned int Stretch(unsigned int newSize, char fill);
    // Removes up to count bytes at position (into cut, emptied first, when given).
    // Returns the number removed, 0 when position is outside or count < 1.
    unsigned int Snip(unsigned int position, int count, ByteStore* cut);
    // Inserts count bytes at position; returns count, 0 on failure. A position
    // beyond the size lands the bytes outside it (position is meant to lie within).
    unsigned int Ins(unsigned int position, const void* bytes, int count);
    // Inserts count fill bytes at position; returns count. Beyond the size
    // nothing is filled and the size grows by the whole gap.
    unsigned int Jam(unsigned int position, int count, char fill);
    // One-based position of the first c, 0 when absent.
    unsigned int Index(char c) const;
    // The byte at index (negative counts as 0), extending with zeros to reach it.
    // Without room it is one scratch byte shared by all stores.
    unsigned char& operator[](int index);

    // Overwriting writers for records assembled in place; they extend with
    // zero bytes as needed and return the size. Mi = most significant byte first.
    unsigned int Slam(unsigned int position, const void* bytes, int count);
    unsigned int Slam(unsigned int position, const ByteStore& other);
    unsigned int Slam8(unsigned int position, unsigned char value);
    unsigned int Slam16(unsigned int position, unsigned short value);
    unsigned int Slam32(unsigned int position, unsigned int value);
    unsigned int SlamMi16(unsigned int position, unsigned short value);
    unsigned int SlamMi32(unsigned int position, unsigned int value);
    // 4-byte length fields filled in behind the body: the distance from the
    // start of the store (Vli), from the field itself (Incl) or from behind it
    // (Excl) to the present end, less adjust and at least 0.
    unsigned int SlamVli(unsigned int position, int adjust);
    unsigned int SlamVliIncl(unsigned int position, int adjust);
    unsigned int SlamVliExcl(unsigned int position, int adjust);
    unsigned int SlamMiVli(unsigned int position, int adjust);
    unsigned int SlamMiVliIncl(unsigned int position, int adjust);
    unsigned int SlamMiVliExcl(unsigned int position, int adjust);

    unsigned char* Data() const { return data; }
    const char* Text() const { return data ? reinterpret_cast<const char*>(data) : ""; }
    unsigned int Size() const { return size; }
    unsigned int Capacity() const { return capacity; }

protected:
    unsigned int _SlamVli(unsigned int position, int adjust, int mode, bool mostSignificantFirst);

    unsigned char* data;    // null in a store that never held anything or was released
    unsigned int size;      // bytes in use
    unsigned int capacity;  // bytes allocated; size < capacity whenever data is set
};

}}}} // namespace KORVEL::Orl::DB::ODBC
