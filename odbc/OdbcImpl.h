// Common implementation of every handle class: parent/child bookkeeping and
// the diagnostics store, which is meaningful at the root only.
#pragma once
#include <sql.h>

#include <map>

#include "odbc/ByteStore.h"
#include "odbc/Odbc.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

class OdbcImpl : public virtual Odbc {
public:
    // With a parent, the object joins its tree and tells the parent of its birth.
    explicit OdbcImpl(OdbcImpl* parentObject);
    ~OdbcImpl() override;
    OdbcImpl(const OdbcImpl&) = delete;
    OdbcImpl& operator=(const OdbcImpl&) = delete;

    bool HasInfo() override;
    void GetInfo(std::string& state, long& code, std::string& message) override;
    void DumpInfo(const char* prefix) override;
    void DumpInfo(std::ostringstream& stream) override;

    // Two-step life: the constructor makes no ODBC call; Initialize allocates the
    // handle, Finalize frees it (safe without one).
    virtual e_Status Initialize() = 0;
    virtual e_Status Finalize() = 0;
    virtual SQLHANDLE GetHandle(e_Handle which) = 0;
    virtual SQLHANDLE GetHandle() = 0;
    virtual SQLSMALLINT GetHandleType() = 0;

    void Notify(e_Notice notice, OdbcImpl* child);
    // Deletes every child not yet taken, deepest first through their destructors.
    // Taken entries stay in the map, marked, and are never followed again.
    void DeleteChildren();
    void HasInfo(bool value);
    // Reads record 1 of `source`'s handle into the root's store.
    void SetDiagnosticInfo(OdbcImpl* source);
    // Maps an ODBC return code to a status, wiping the previous diagnostic and
    // recording the new one from `source` for SQL_ERROR and SQL_SUCCESS_WITH_INFO.
    // The layer also passes made-up codes 0 and -1 to get Ok and Error.
    e_Status GetStatus(OdbcImpl* source, short returnCode);
    e_Status GetStatus(short returnCode) { return GetStatus(nullptr, returnCode); }

    static OdbcEnv* CreateEnv();

protected:
    // A factory's failure goes to standard output, as a null result can't
    // carry a status: "<what>." with the diagnostic, or with the note that
    // there is none.
    static void PrintFactoryFailure(OdbcImpl* object, const char* what);

    OdbcImpl* root;
    OdbcImpl* parent;
    std::map<OdbcImpl*, bool> children;
    ByteStore diagState;
    ByteStore diagMessage;
    int diagNative;
    bool hasInfo;
};

}}}} // namespace KORVEL::Orl::DB::ODBC
