// One ODBC statement handle and the columns of its current result set. No
// result column is bound: after each SQLFetch every column of the row is read
// at once, long values included, and sits in its cell until the next fetch.
#pragma once
#include <vector>

#include "odbc/OdbcImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class OdbcDbcImpl;
class OdbcColImpl;

class OdbcQueryImpl : public OdbcImpl, public virtual OdbcQuery {
public:
    explicit OdbcQueryImpl(OdbcDbcImpl* dbc);
    ~OdbcQueryImpl() override;

    e_Status Initialize() override;
    e_Status Finalize() override;
    SQLHANDLE GetHandle(e_Handle which) override;
    SQLHANDLE GetHandle() override { return hstmt; }
    SQLSMALLINT GetHandleType() override { return SQL_HANDLE_STMT; }

    e_Status MaxRows(int rows) override;
    // Builds the columns on the first row, fetches, reads every column.
    // Status_NoData at the end of the rows (or from the last column read).
    e_Status Fetch() override;
    // Drops the columns; Status_Ok when a further result is there.
    e_Status MoreResults() override;
    // These three ask the driver directly and need no Fetch before them.
    e_Status GetColumnName(int column, std::string& name) override;
    e_Status GetColumnType(int column, int& type) override;
    e_Status GetColumnCount(int& count) override;
    // Null before the first Fetch and outside 1..count.
    OdbcCol* GetColumn(int column) override;

    e_Status CreateColumns();
    e_Status DeleteColumns();
    e_Status FetchData();

protected:
    SQLHSTMT hstmt;
    SQLHDBC hdbc;
    SQLHENV henv;
    OdbcDbcImpl* dbc;  // the parent; source of diagnostics while there is no hstmt
    std::vector<OdbcColImpl*> columns;  // one-based, slot 0 null
};

}}}} // namespace KORVEL::Orl::DB::ODBC
