// Column-wise parameter arrays of one statement: for each parameter `stride`
// bytes per row and a length or indicator per row, refilled for each chunk
// of rows, plus the status array the driver fills at SQLExecute.
#pragma once
#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <vector>

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

struct ParamColumn {
    SQLLEN stride = 0;
    std::vector<uint64_t> data;  // 8-byte aligned for the numeric arrays
    std::vector<SQLLEN> lengths;
    unsigned char* at(size_t row) { return reinterpret_cast<unsigned char*>(data.data()) + row * static_cast<size_t>(stride); }
};

struct ParamBlock {
    std::vector<ParamColumn> columns;
    std::vector<SQLUSMALLINT> status;  // SQL_ATTR_PARAM_STATUS_PTR
    SQLULEN processed = 0;             // SQL_ATTR_PARAMS_PROCESSED_PTR
    // SQLite's driver takes the first row's length for every binary of an
    // array: there, rows with a binary parameter go one at a time.
    bool sharedBinaryLengths = false;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
