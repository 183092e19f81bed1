// A prepared statement: SQL text, prepared ODBC statement and one cell per
// parameter marker. Prepared for single execution (one value per cell) or as
// a batch (column-wise arrays, one SQLExecute for all rows).
#pragma once
#include <string>
#include <vector>

#include "odbc/OdbcQueryImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class OdbcParamImpl;

class OdbcStmtImpl : public OdbcQueryImpl, public OdbcStmt {
public:
    explicit OdbcStmtImpl(OdbcDbcImpl* dbc);
    ~OdbcStmtImpl() override;

    // Unprepares, takes the text up to its first NUL and prepares at once;
    // the batch flag is chosen here. A failure leaves the text stored.
    e_Status SetSql(const std::string& text, bool batch) override;
    e_Status Parse() override;
    // Prepares (a no-op when prepared), binds what changed, executes.
    e_Status Execute() override;
    e_Status Close() override;
    e_Status RowCount(long& rows) override;
    OdbcParam* GetParam(int number) override;
    e_Status IncrementBatchSize() override;
    // Written only for a batch.
    e_Status GetBatchSize(int& size) override;
    // Zero-based row; 0 for success (with or without info), -1 otherwise.
    // Not written outside an executed batch or beyond its rows.
    e_Status GetBatchParamStatus(int row, int& status) override;

    e_Status Prepare(bool batchFlag);
    e_Status Unprepare();
    e_Status CreateParams(bool batchFlag);
    e_Status DeleteParams();
    e_Status Bind();
    e_Status Unbind();

private:
    void ReleaseParamStatus();
    void SettleUnwrittenStatuses(SQLRETURN rc);

    // No driver writes this into a status array: it marks the entries left alone.
    static constexpr SQLUSMALLINT kStatusUnwritten = 0xFFFF;

    bool prepared;
    std::string sql;
    bool batch;
    int batchSize;
    SQLUSMALLINT* paramStatus;  // filled by ODBC through SQL_ATTR_PARAM_STATUS_PTR
    int paramStatusRows;        // entries of paramStatus, which rows added later don't have
    std::vector<OdbcParamImpl*> params;  // one-based, slot 0 null
};

}}}} // namespace KORVEL::Orl::DB::ODBC
