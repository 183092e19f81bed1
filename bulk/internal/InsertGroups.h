// The statements a plain INSERT's rows go through several at a time: one
// prepared for a full group, kept for the statement's life, and one for the
// last shorter group, prepared again only when its size changes.
#pragma once
#include <sql.h>

#include <cstddef>
#include <vector>

#include "bulk/internal/PlainInsert.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

struct GroupStatement {
    SQLHSTMT stmt = SQL_NULL_HSTMT;
    size_t rows = 0;  // the groups it is prepared for; 0: not prepared
    // The parameter block's column buffers at the last bind: several hundred
    // markers a row group make binding cost more than filling, so unchanged
    // buffers stay bound.
    struct Bound {
        const void* data;
        SQLLEN stride;
        const void* lengths;
        bool operator==(const Bound& o) const { return data == o.data && stride == o.stride && lengths == o.lengths; }
    };
    std::vector<Bound> bound;  // empty: nothing bound
};

struct InsertGroups {
    PlainInsert form;
    GroupStatement full, tail;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
