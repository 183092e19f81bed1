// The packed row of the bulk interface: one malloc block that the receiver
// frees. All numbers are in host byte order.
//
//   0   uint32  total size of the row in bytes
//   4   uint32  1
//   8   uint32  0
//   12  uint32  number of columns, cut to 24 bits
//   16  21 bytes of zero, then 3 spare bytes
//   40  uint32  0
//   44  uint32  0
//   48  int32[n + 1]  offset table: entry j is the distance from the row's start
//                     to column j's packed value, 0 for NULL; entry n is the total
//   52 + 4n  4 spare bytes
//   56 + 4n  the packed values in column order, no padding
#pragma once
#include <cstdint>

namespace KORVEL { namespace Orl { namespace DB {

struct RowInternal2 {
    uint32_t size;
    uint32_t one;
    uint32_t zero;
    uint32_t columnCount;
    unsigned char reserved[24];
    uint32_t zero40;
    uint32_t zero44;
    // The offset table and the values follow.
};
static_assert(sizeof(RowInternal2) == 48, "the offset table starts at 48");

}}} // namespace KORVEL::Orl::DB
