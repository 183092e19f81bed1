// Catalog scans: queries whose result set comes from an ODBC catalog function
// instead of SQL text. Search arguments are copied; a null argument means the
// term isn't given and is passed as null, unlike an empty string. Lengths are
// always counted, never SQL_NTS. The caller owns a scan and deletes it; a
// disconnect deletes the scans still alive.
#pragma once
#include "odbc/OdbcQueryImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class OdbcCatalogImpl : public OdbcCatalog, public OdbcQueryImpl {
public:
    OdbcCatalogImpl(OdbcDbcImpl* dbc, const char* catalog, const char* schema);
    ~OdbcCatalogImpl() override;

protected:
    char* catalogName;
    char* schemaName;
};

class OdbcTableCatalogImpl : public OdbcCatalogImpl {
public:
    OdbcTableCatalogImpl(OdbcDbcImpl* dbc, const char* catalog, const char* schema, const char* table,
                         const char* tableType);
    ~OdbcTableCatalogImpl() override;
    e_Status Execute() override;

private:
    char* objectName;
    char* detailName;
};

class OdbcTableColumnCatalogImpl : public OdbcCatalogImpl {
public:
    OdbcTableColumnCatalogImpl(OdbcDbcImpl* dbc, const char* catalog, const char* schema, const char* table,
                               const char* column);
    ~OdbcTableColumnCatalogImpl() override;
    e_Status Execute() override;

private:
    char* objectName;
    char* detailName;
};

// The fourth argument is kept and never passed on.
class OdbcTablePrimaryKeyCatalogImpl : public OdbcCatalogImpl {
public:
    OdbcTablePrimaryKeyCatalogImpl(OdbcDbcImpl* dbc, const char* catalog, const char* schema, const char* table,
                                   const char* unused);
    ~OdbcTablePrimaryKeyCatalogImpl() override;
    e_Status Execute() override;

private:
    char* objectName;
    char* detailName;
};

class OdbcProcedureCatalogImpl : public OdbcCatalogImpl {
public:
    OdbcProcedureCatalogImpl(OdbcDbcImpl* dbc, const char* catalog, const char* schema, const char* procedure);
    ~OdbcProcedureCatalogImpl() override;
    e_Status Execute() override;

private:
    char* objectName;
};

class OdbcProcedureColumnCatalogImpl : public OdbcCatalogImpl {
public:
    OdbcProcedureColumnCatalogImpl(OdbcDbcImpl* dbc, const char* catalog, const char* schema, const char* procedure,
                                   const char* column);
    ~OdbcProcedureColumnCatalogImpl() override;
    e_Status Execute() override;

private:
    char* objectName;
    char* detailName;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
