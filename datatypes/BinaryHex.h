// Binary data as hex text: upper-case digits out, either case in, white
// space (tab, space, CR, LF) skipped on the way in.
//
// Errors are pointers to constant text put into the caller's `error`, which
// the caller clears first and must not free.
#pragma once
#include <string>

namespace DataTypes {

// strlen(hex) / 2, white space counted: an upper bound for the decoder's
// output only when the text holds no white space. 0 for a null pointer.
unsigned long getBinaryDataSizeFromHexString(const char* hex);

// Room for the hex text of `length` bytes with the terminator. Non-zero
// groupBytes/lineBytes add room for separators and line breaks.
unsigned long getHexStringSizeForBuffer(unsigned long length, unsigned long groupBytes, unsigned long lineBytes);

// Decodes `hex` into at most `size` bytes at `out`. Returns the bytes written
// (0 for empty or white-space-only text) or -1 with `error` set to
// "Invalid hex character", "Output buffer too small" or
// "Odd number of characters in hex string"; bytes decoded before a failure stay in `out`.
long convertBinaryFromHexString(const char* hex, unsigned char* out, unsigned int size, const char*& error);

// Writes 2 * length upper-case digits and a NUL into `out`, which holds
// `size` bytes, and returns 2 * length. A null `out` gives -1 with `error`
// untouched; too small a buffer (size < 2 * length + 1) gives -1 with
// "output buffer is too small for binary to hex-string conversion", with the
// pairs that fitted already written and no terminator.
long convertBinaryToHexString(unsigned long size, const unsigned char* data, unsigned int length, char* out,
                              const char*& error);

// The same digits into a std::string, without terminator. On allocation
// failure `out` is left empty. Null `data` gives the empty string.
void convertBinaryToHexString(const unsigned char* data, unsigned int length, std::string& out);

} // namespace DataTypes
