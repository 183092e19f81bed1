#include "odbc/OdbcImpl.h"

#include <sqlext.h>

#include <iostream>
#include <new>

#include "odbc/OdbcEnvImpl.h"

namespace KORVEL { namespace Orl { namespace DB { namespace ODBC {

namespace {
// SQLGetDiagRec takes its buffer length as SQLSMALLINT; a longer message than
// that can't be asked for, so the second read is capped there.
constexpr unsigned int kMaxDiagBuffer = 32767;
} // namespace

OdbcEnv* Odbc::CreateEnv() { return OdbcImpl::CreateEnv(); }

OdbcImpl::OdbcImpl(OdbcImpl* parentObject)
    : root(this), parent(parentObject), diagNative(0), hasInfo(false) {
    if (parentObject != nullptr) {
        root = parentObject->root;
        parentObject->Notify(Notice_Created, this);
    }
}

OdbcImpl::~OdbcImpl() {
    if (parent != nullptr) parent->Notify(Notice_Deleted, this);
    parent = nullptr;
}

bool OdbcImpl::HasInfo() { return root->hasInfo; }

void OdbcImpl::HasInfo(bool value) { root->hasInfo = value; }

void OdbcImpl::GetInfo(std::string& state, long& code, std::string& message) {
    if (root != this) {
        root->GetInfo(state, code, message);
        return;
    }
    // The stores keep their extended sizes: the text ends at the first NUL.
    state = diagState.Text();
    message = diagMessage.Text();
    code = static_cast<long>(diagNative);
}

void OdbcImpl::DumpInfo(std::ostringstream& stream) {
    if (HasInfo()) {
        std::string state, message;
        long code = 0;
        GetInfo(state, code, message);
        stream << "[" << state << "][" << code << "][" << message << "]";
    }
    stream << std::ends;
}

void OdbcImpl::DumpInfo(const char* prefix) {
    if (!HasInfo()) return;
    std::string state, message;
    long code = 0;
    GetInfo(state, code, message);
    const char* p = prefix ? prefix : "";
    std::cout << p << ":  state: " << state << std::endl;
    std::cout << p << ":  error: " << code << std::endl;
    std::cout << p << ":  message: " << message << std::endl;
}

void OdbcImpl::Notify(e_Notice notice, OdbcImpl* child) {
    if (child == nullptr) return;
    if (notice == Notice_Created) {
        children[child] = false;
        return;
    }
    auto it = children.find(child);
    if (it == children.end() || it->second) return;
    children.erase(it);
}

void OdbcImpl::DeleteChildren() {
    // The bool is set before the delete so the child's own Notify(Deleted)
    // leaves the map alone and the walk stays valid.
    for (auto& entry : children) {
        if (entry.second) continue;
        entry.second = true;
        delete entry.first;
    }
}

e_Status OdbcImpl::GetStatus(OdbcImpl* source, short returnCode) {
    root->hasInfo = false;
    switch (returnCode) {
    case SQL_SUCCESS:
        return Status_Ok;
    case SQL_SUCCESS_WITH_INFO:
        SetDiagnosticInfo(source);
        return Status_Ok;
    case SQL_ERROR:
        SetDiagnosticInfo(source);
        return Status_Error;
    case SQL_INVALID_HANDLE:
        return Status_Error;
    case SQL_NEED_DATA:
        return Status_NeedData;
    case SQL_NO_DATA:
        return Status_NoData;
    default:
        return Status_Unknown;
    }
}

void OdbcImpl::SetDiagnosticInfo(OdbcImpl* source) {
    if (source == nullptr) return;
    if (root != this) {
        root->SetDiagnosticInfo(source);
        return;
    }
    diagState.Truncate(0, false);
    diagState.Extend(6, 0);
    diagMessage.Truncate(0, false);
    diagMessage.Extend(513, 0);
    diagNative = 0;
    SQLSMALLINT textLength = 0;
    // Without room for the texts (out of memory) there is nothing safe to fill.
    if (diagState.Data() == nullptr || diagMessage.Data() == nullptr) return;

    SQLSMALLINT type = source->GetHandleType();
    SQLHANDLE handle = source->GetHandle();
    SQLINTEGER native = 0;
    SQLRETURN rc = SQLGetDiagRec(type, handle, 1, diagState.Data(), &native, diagMessage.Data(),
                                 static_cast<SQLSMALLINT>(diagMessage.Size()), &textLength);
    if (rc == SQL_SUCCESS_WITH_INFO) {
        // The message was cut: make room for all of it and ask once more.
        unsigned int want = static_cast<unsigned int>(textLength) + 1;
        if (want > kMaxDiagBuffer) want = kMaxDiagBuffer;
        diagMessage.Extend(want, 0);
        textLength = 0;
        native = 0;
        rc = SQLGetDiagRec(type, handle, 1, diagState.Data(), &native, diagMessage.Data(),
                           static_cast<SQLSMALLINT>(diagMessage.Size()), &textLength);
    }
    diagNative = static_cast<int>(native);
    if (rc == SQL_SUCCESS) {
        hasInfo = true;
    } else if (rc == SQL_NO_DATA) {
        // A failure without a record still gets a diagnostic to show.
        hasInfo = true;
        diagState.Truncate(0, false);
        diagState.Append("ORL", 3);
        diagMessage.Truncate(0, false);
        static const char kNoMessage[] = "No error message returned by driver";
        diagMessage.Append(kNoMessage, sizeof kNoMessage - 1);
    }
}

void OdbcImpl::PrintFactoryFailure(OdbcImpl* object, const char* what) {
    if (object != nullptr && object->HasInfo()) {
        std::ostringstream stream;
        object->DumpInfo(stream);
        std::cout << what << "." << stream.str() << std::endl;
    } else {
        std::cout << what << ".  No error info available" << std::endl;
    }
}

OdbcEnv* OdbcImpl::CreateEnv() {
    static const char kWhat[] = "OdbcImpl::CreateEnv()  Failed to initialize env";
    OdbcEnvImpl* env = new (std::nothrow) OdbcEnvImpl();
    if (env != nullptr && env->Initialize() == Status_Ok) return env;
    PrintFactoryFailure(env, kWhat);
    delete env;
    return nullptr;
}

}}}} // namespace KORVEL::Orl::DB::ODBC
