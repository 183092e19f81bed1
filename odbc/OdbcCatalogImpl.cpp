#include "odbc/OdbcCatalogImpl.h"

#include <sqlext.h>

#include <cstdlib>
#include <cstring>

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

namespace {

char* Copy(const char* text) { return text ? strdup(text) : nullptr; }

// A search term as ODBC takes it: null stays null with length 0, so an absent
// term differs from an empty one. The length is narrowed to 16 bits.
struct Term {
    explicit Term(char* text)
        : text(reinterpret_cast<SQLCHAR*>(text)),
          length(text ? static_cast<SQLSMALLINT>(std::strlen(text)) : static_cast<SQLSMALLINT>(0)) {}
    SQLCHAR* text;
    SQLSMALLINT length;
};

} // namespace

OdbcCatalogImpl::OdbcCatalogImpl(OdbcDbcImpl* dbc, const char* catalog, const char* schema)
    : OdbcQueryImpl(dbc), catalogName(Copy(catalog)), schemaName(Copy(schema)) {}

OdbcCatalogImpl::~OdbcCatalogImpl() {
    std::free(catalogName);
    std::free(schemaName);
}

OdbcTableCatalogImpl::OdbcTableCatalogImpl(OdbcDbcImpl* dbc, const char* catalog, const char* schema,
                                           const char* table, const char* tableType)
    : OdbcCatalogImpl(dbc, catalog, schema), objectName(Copy(table)), detailName(Copy(tableType)) {}

OdbcTableCatalogImpl::~OdbcTableCatalogImpl() {
    std::free(objectName);
    std::free(detailName);
}

e_Status OdbcTableCatalogImpl::Execute() {
    Term c(catalogName), s(schemaName), o(objectName), d(detailName);
    return GetStatus(this, SQLTables(hstmt, c.text, c.length, s.text, s.length, o.text, o.length, d.text, d.length));
}

OdbcTableColumnCatalogImpl::OdbcTableColumnCatalogImpl(OdbcDbcImpl* dbc, const char* catalog, const char* schema,
                                                       const char* table, const char* column)
    : OdbcCatalogImpl(dbc, catalog, schema), objectName(Copy(table)), detailName(Copy(column)) {}

OdbcTableColumnCatalogImpl::~OdbcTableColumnCatalogImpl() {
    std::free(objectName);
    std::free(detailName);
}

e_Status OdbcTableColumnCatalogImpl::Execute() {
    Term c(catalogName), s(schemaName), o(objectName), d(detailName);
    return GetStatus(this, SQLColumns(hstmt, c.text, c.length, s.text, s.length, o.text, o.length, d.text, d.length));
}

OdbcTablePrimaryKeyCatalogImpl::OdbcTablePrimaryKeyCatalogImpl(OdbcDbcImpl* dbc, const char* catalog,
                                                               const char* schema, const char* table,
                                                               const char* unused)
    : OdbcCatalogImpl(dbc, catalog, schema), objectName(Copy(table)), detailName(Copy(unused)) {}

OdbcTablePrimaryKeyCatalogImpl::~OdbcTablePrimaryKeyCatalogImpl() {
    std::free(objectName);
    std::free(detailName);
}

e_Status OdbcTablePrimaryKeyCatalogImpl::Execute() {
    Term c(catalogName), s(schemaName), o(objectName);
    return GetStatus(this, SQLPrimaryKeys(hstmt, c.text, c.length, s.text, s.length, o.text, o.length));
}

OdbcProcedureCatalogImpl::OdbcProcedureCatalogImpl(OdbcDbcImpl* dbc, const char* catalog, const char* schema,
                                                   const char* procedure)
    : OdbcCatalogImpl(dbc, catalog, schema), objectName(Copy(procedure)) {}

OdbcProcedureCatalogImpl::~OdbcProcedureCatalogImpl() { std::free(objectName); }

e_Status OdbcProcedureCatalogImpl::Execute() {
    Term c(catalogName), s(schemaName), o(objectName);
    return GetStatus(this, SQLProcedures(hstmt, c.text, c.length, s.text, s.length, o.text, o.length));
}

OdbcProcedureColumnCatalogImpl::OdbcProcedureColumnCatalogImpl(OdbcDbcImpl* dbc, const char* catalog,
                                                               const char* schema, const char* procedure,
                                                               const char* column)
    : OdbcCatalogImpl(dbc, catalog, schema), objectName(Copy(procedure)), detailName(Copy(column)) {}

OdbcProcedureColumnCatalogImpl::~OdbcProcedureColumnCatalogImpl() {
    std::free(objectName);
    std::free(detailName);
}

e_Status OdbcProcedureColumnCatalogImpl::Execute() {
    Term c(catalogName), s(schemaName), o(objectName), d(detailName);
    return GetStatus(this,
                     SQLProcedureColumns(hstmt, c.text, c.length, s.text, s.length, o.text, o.length, d.text, d.length));
}

}}}} // namespace KORVEL::Orl::DB::ODBC
