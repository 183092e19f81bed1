// A scripted ODBC driver for tests: the SQL text of a statement describes the
// result it yields, the user name at connect picks the connect behaviour, and
// every SQLGetData, SQLBindParameter and catalog call is written as one line to
// the file named by ORL_SCRIPTDRV_LOG, so a test can check the calls the
// object layer makes one by one. It shows on demand what no real driver does:
// SQL_NO_TOTAL, truncation at any size, SQL_ERROR without a diagnostic record.
//
// Statement text: directives separated by ';'
//   col=NAME:SQLTYPE:SIZE:KIND:ARG[:nototal][:unsigned][:disp=N][:nullrow=K][:zeroat=K][:digits=N][:lie=N][:rc=N]
//       KIND text|bin (ARG = length; bytes 'a'+i%26 or i%251), num (ARG the
//       number), ts, time, nodata (every read answers SQL_NO_DATA). nullrow=K makes row K NULL (-1: every row);
//       zeroat=K puts a zero byte at offset K of a text or binary value; digits=N is
//       the decimal digits the column describes. lie=N reports N as every read's length
//       (negative, or past the buffer) while the bytes written stay inside it; rc=N makes
//       every SQLGetData of the column return N (with a diagnostic record when N is -1).
//   rows=N        rows of each result (default 1)
//   next          starts a further result set (for SQLMoreResults)
//   error         SQLExecute fails with 42000; longmsg=N makes its message N bytes
//   error-norecord SQLExecute fails without a diagnostic record
//   error=STATE[:NATIVE] SQLExecute fails with that SQLSTATE and native code
//   failrow=K     that row of a parameter array reports SQL_PARAM_ERROR
//   rowcount=N    what SQLRowCount reports (default the parameter set size)
//   bind          SQLBindCol is taken (else refused with HYC00), and SQLFetch fills
//                 SQL_ATTR_ROW_ARRAY_SIZE rows of the bound columns, column-wise, with
//                 the rows-fetched count and the row status array
//   short=N       a fetch fills at most N rows, whatever the array size
//   rowerror=K    row K is marked SQL_ROW_ERROR (with an HY000 record) and left unfilled
//   scroll        SQLFetchScroll takes SQL_FETCH_ABSOLUTE (else HY106, as on a forward-only cursor)
//   refuse=A      SQLSetStmtAttr of attribute A fails with HYC00
// Column option longrow=K: row K of a text or binary column has 40 times its length.
// Every '?' is a parameter marker, described as SQL_VARCHAR of size 10.
// User name at connect: "info" succeeds with info, "norecord" fails without a
// record, "dbms=NAME" reports NAME as the DBMS name, "lost" makes every
// SQLEndTran fail with 08S01, "stuck" makes SQLDisconnect fail with 25000 until an SQLEndTran,
// "single" allows one active statement per connection: executing or scanning while
// another statement's cursor is open (until SQLFreeStmt SQL_CLOSE or its release)
// fails with HY000.
// SQLDriverConnect writes its connection string, then connects as above.
// At SQLExecute each bound timestamp, time, text or binary parameter is also
// written as a "value param=N ..." line.
#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Diag {
    std::string state;
    std::string message;
    SQLINTEGER native;
};

struct Handle {
    virtual ~Handle() = default;
    std::vector<Diag> diags;
};

struct Dbc : Handle {
    std::string dbms = "Scripted DB";
    std::string user;
    bool openTransaction = false;
    std::vector<Handle*> statements;  // live ones; a disconnect frees them, as a driver must
};

struct Column {
    std::string name;
    SQLSMALLINT sqlType = SQL_VARCHAR;
    SQLULEN size = 0;
    std::string kind = "text";
    std::string arg;
    // The kind is worked out at prepare and the value at its first read, once:
    // the fuzzer's many reads then compare no text and build no value twice.
    enum Kind { Text, Bin, Num, Ts, Time, NoData, Other } k = Text;
    mutable std::string bytes;
    mutable bool built = false;
    bool noTotal = false;
    bool isUnsigned = false;
    SQLLEN display = -1;  // -1: size
    long nullRow = -2;    // -2: none, -1: all
    long zeroAt = -1;
    SQLSMALLINT digits = 0;
    bool lie = false;
    SQLLEN lieLength = 0;
    bool forceRc = false;
    SQLRETURN rc = SQL_SUCCESS;
    long longRow = -1;
};

struct BoundColumn {
    SQLSMALLINT cType = 0;
    char* target = nullptr;
    SQLLEN bufferLength = 0;
    SQLLEN* ind = nullptr;
};

struct Result {
    std::vector<Column> columns;
};

struct Stmt : Handle {
    Dbc* owner = nullptr;
    std::string text;
    std::vector<Result> results;
    size_t current = 0;
    long rows = 1;
    long row = -1;  // before the first fetch
    long nextRow = 0;  // the first row of the next fetch
    bool failExecute = false, noRecord = false;
    size_t longMessage = 0;
    long failRow = -1;
    long long rowCount = -1;  // -1: the parameter set size
    int params = 0;
    std::vector<SQLLEN*> bound;  // the indicator array of each parameter
    std::vector<std::pair<SQLSMALLINT, SQLPOINTER> > data;  // C type and buffer of each parameter
    std::string errorState;
    SQLINTEGER errorNative = 42;
    SQLULEN paramsetSize = 1;
    SQLUSMALLINT* paramStatus = nullptr;
    std::vector<SQLLEN> offsets;  // bytes handed out of each column this row
    std::vector<int> calls;
    bool cursorOpen = false;
    // Column binding and row arrays.
    bool bindable = false, scrollable = false;
    long shortFetch = 0;
    long rowError = -1;
    long refused = -1;
    std::vector<BoundColumn> columnsBound;
    SQLULEN arraySize = 1;
    SQLULEN* rowsFetched = nullptr;
    SQLUSMALLINT* rowStatus = nullptr;
};

void Record(const char* format, ...) {
    static FILE* f = [] {
        const char* path = std::getenv("ORL_SCRIPTDRV_LOG");
        return path && *path ? std::fopen(path, "a") : nullptr;
    }();
    if (!f) return;
    va_list ap;
    va_start(ap, format);
    std::vfprintf(f, format, ap);
    va_end(ap);
    std::fputc('\n', f);
    std::fflush(f);
}

std::string Text(SQLCHAR* s, SQLINTEGER length) {
    if (s == nullptr) return std::string();
    if (length == SQL_NTS) return std::string(reinterpret_cast<char*>(s));
    return std::string(reinterpret_cast<char*>(s), static_cast<size_t>(length < 0 ? 0 : length));
}

std::vector<std::string> Split(const std::string& s, char sep) {
    std::vector<std::string> out;
    size_t from = 0;
    while (from < s.size()) {
        size_t to = s.find(sep, from);
        if (to == std::string::npos) to = s.size();
        out.emplace_back(s, from, to - from);
        from = to + 1;
    }
    return out;
}

std::string ColumnBytes(const Column& c, bool longer = false) {
    if (c.k == Column::Text || c.k == Column::Bin) {
        size_t n = std::strtoull(c.arg.c_str(), nullptr, 10) * (longer ? 40 : 1);
        std::string s(n, '\0');
        for (size_t i = 0; i < n; ++i)
            s[i] = c.k == Column::Text ? static_cast<char>('a' + i % 26) : static_cast<char>(i % 251);
        if (c.zeroAt >= 0 && static_cast<size_t>(c.zeroAt) < n) s[static_cast<size_t>(c.zeroAt)] = '\0';
        return s;
    }
    if (c.k == Column::Ts) return "2024-02-29 23:59:58.123";
    if (c.k == Column::Time) return "23:59:58";
    return c.arg;
}

Column::Kind KindOf(const std::string& kind) {
    static const std::pair<const char*, Column::Kind> kinds[] = {
        {"text", Column::Text}, {"bin", Column::Bin},   {"num", Column::Num},
        {"ts", Column::Ts},     {"time", Column::Time}, {"nodata", Column::NoData}};
    for (const auto& k : kinds)
        if (kind == k.first) return k.second;
    return Column::Other;
}

void Parse(Stmt* st) {
    st->results.assign(1, Result());
    st->failExecute = st->noRecord = false;
    st->errorState.clear();
    st->errorNative = 42;
    st->longMessage = 0;
    st->failRow = -1;
    st->rowCount = -1;
    st->rows = 1;
    st->params = 0;
    st->bindable = st->scrollable = false;
    st->shortFetch = 0;
    st->rowError = st->refused = -1;
    for (char c : st->text)
        if (c == '?') ++st->params;
    for (const std::string& raw : Split(st->text, ';')) {
        size_t a = raw.find_first_not_of(" \t\n"), b = raw.find_last_not_of(" \t\n");
        std::string d = a == std::string::npos ? std::string() : raw.substr(a, b - a + 1);
        if (d.compare(0, 4, "col=") == 0) {
            std::vector<std::string> f = Split(d.substr(4), ':');
            Column c;
            if (f.size() > 0) c.name = f[0];
            if (f.size() > 1) c.sqlType = static_cast<SQLSMALLINT>(std::atoi(f[1].c_str()));
            if (f.size() > 2) c.size = std::strtoull(f[2].c_str(), nullptr, 10);
            if (f.size() > 3) c.kind = f[3];
            if (f.size() > 4) c.arg = f[4];
            for (size_t i = 5; i < f.size(); ++i) {
                if (f[i] == "nototal") c.noTotal = true;
                if (f[i] == "unsigned") c.isUnsigned = true;
                if (f[i].compare(0, 5, "disp=") == 0) c.display = std::atol(f[i].c_str() + 5);
                if (f[i].compare(0, 8, "nullrow=") == 0) c.nullRow = std::atol(f[i].c_str() + 8);
                if (f[i].compare(0, 7, "zeroat=") == 0) c.zeroAt = std::atol(f[i].c_str() + 7);
                if (f[i].compare(0, 7, "digits=") == 0) c.digits = static_cast<SQLSMALLINT>(std::atoi(f[i].c_str() + 7));
                if (f[i].compare(0, 4, "lie=") == 0) c.lie = true, c.lieLength = std::atol(f[i].c_str() + 4);
                if (f[i].compare(0, 3, "rc=") == 0) c.forceRc = true, c.rc = static_cast<SQLRETURN>(std::atoi(f[i].c_str() + 3));
                if (f[i].compare(0, 8, "longrow=") == 0) c.longRow = std::atol(f[i].c_str() + 8);
            }
            c.k = KindOf(c.kind);
            st->results.back().columns.push_back(c);
        } else if (d.compare(0, 5, "rows=") == 0) {
            st->rows = std::atol(d.c_str() + 5);
        } else if (d == "next") {
            st->results.push_back(Result());
        } else if (d == "error") {
            st->failExecute = true;
        } else if (d.compare(0, 6, "error=") == 0) {
            std::vector<std::string> f = Split(d.substr(6), ':');
            st->failExecute = true;
            st->errorState = f.empty() ? "42000" : f[0];
            st->errorNative = f.size() > 1 ? std::atoi(f[1].c_str()) : 42;
        } else if (d == "error-norecord") {
            st->failExecute = st->noRecord = true;
        } else if (d.compare(0, 8, "longmsg=") == 0) {
            st->longMessage = std::strtoul(d.c_str() + 8, nullptr, 10);
        } else if (d.compare(0, 8, "failrow=") == 0) {
            st->failRow = std::atol(d.c_str() + 8);
        } else if (d.compare(0, 9, "rowcount=") == 0) {
            st->rowCount = std::atoll(d.c_str() + 9);
        } else if (d == "bind") {
            st->bindable = true;
        } else if (d == "scroll") {
            st->scrollable = true;
        } else if (d.compare(0, 6, "short=") == 0) {
            st->shortFetch = std::atol(d.c_str() + 6);
        } else if (d.compare(0, 9, "rowerror=") == 0) {
            st->rowError = std::atol(d.c_str() + 9);
        } else if (d.compare(0, 7, "refuse=") == 0) {
            st->refused = std::atol(d.c_str() + 7);
        }
    }
}

void ResetCursor(Stmt* st) {
    st->row = -1;
    st->nextRow = 0;
    size_t n = st->current < st->results.size() ? st->results[st->current].columns.size() : 0;
    st->offsets.assign(n, 0);
    st->calls.assign(n, 0);
}

const Result* CurrentResult(Stmt* st) {
    return st->current < st->results.size() ? &st->results[st->current] : nullptr;
}

SQLRETURN Fail(Handle* h, const char* state, const std::string& message) {
    h->diags.push_back({state, message, 42});
    return SQL_ERROR;
}

// In "single" mode, whether another statement of the connection still has its cursor open.
bool BusyElsewhere(const Stmt* st) {
    if (st->owner == nullptr || st->owner->user != "single") return false;
    for (const Handle* h : st->owner->statements)
        if (h != st && static_cast<const Stmt*>(h)->cursorOpen) return true;
    return false;
}

// Copies text into an application buffer of `length` bytes, NUL-terminated,
// and reports its whole length; true when it had to be cut.
bool PutText(const std::string& text, void* buffer, SQLSMALLINT length, SQLSMALLINT* total) {
    if (total) *total = static_cast<SQLSMALLINT>(text.size());
    if (buffer == nullptr || length <= 0) return false;
    size_t n = text.size() < static_cast<size_t>(length - 1) ? text.size() : static_cast<size_t>(length - 1);
    std::memcpy(buffer, text.data(), n);
    static_cast<char*>(buffer)[n] = 0;
    return n < text.size();
}

// Bytes of each integer C type; 0 for the others.
SQLLEN IntegerWidth(SQLSMALLINT cType) {
    switch (cType) {
    case SQL_C_BIT: case SQL_C_TINYINT: case SQL_C_STINYINT: case SQL_C_UTINYINT: return 1;
    case SQL_C_SHORT: case SQL_C_SSHORT: case SQL_C_USHORT: return 2;
    case SQL_C_LONG: case SQL_C_SLONG: case SQL_C_ULONG: return 4;
    case SQL_C_SBIGINT: case SQL_C_UBIGINT: return 8;
    default: return 0;
    }
}

template <typename T>
SQLRETURN PutFixed(T value, SQLPOINTER target, SQLLEN* ind) {
    std::memcpy(target, &value, sizeof value);
    if (ind) *ind = sizeof value;
    return SQL_SUCCESS;
}

} // namespace

extern "C" {

SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT type, SQLHANDLE parent, SQLHANDLE* output) {
    if (type == SQL_HANDLE_ENV) {
        *output = static_cast<Handle*>(new Handle);
    } else if (type == SQL_HANDLE_DBC) {
        *output = static_cast<Handle*>(new Dbc);
    } else if (type == SQL_HANDLE_STMT) {
        Stmt* st = new Stmt;
        st->owner = static_cast<Dbc*>(static_cast<Handle*>(parent));
        st->owner->statements.push_back(st);
        *output = static_cast<Handle*>(st);
    } else {
        return SQL_ERROR;
    }
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT type, SQLHANDLE handle) {
    if (type == SQL_HANDLE_STMT) {
        std::vector<Handle*>& live = static_cast<Stmt*>(static_cast<Handle*>(handle))->owner->statements;
        live.erase(std::remove(live.begin(), live.end(), static_cast<Handle*>(handle)), live.end());
    }
    delete static_cast<Handle*>(handle);
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLSetEnvAttr(SQLHENV, SQLINTEGER, SQLPOINTER, SQLINTEGER) { return SQL_SUCCESS; }
SQLRETURN SQL_API SQLSetConnectAttr(SQLHDBC, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER) {
    Record("setconnectattr attr=%d value=%ld", static_cast<int>(attribute), static_cast<long>(reinterpret_cast<SQLLEN>(value)));
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLConnect(SQLHDBC hdbc, SQLCHAR* dsn, SQLSMALLINT dsnLength, SQLCHAR* user, SQLSMALLINT userLength,
                             SQLCHAR* password, SQLSMALLINT passwordLength) {
    Dbc* d = static_cast<Dbc*>(hdbc);
    d->diags.clear();
    std::string u = Text(user, userLength);
    d->user = u;
    d->openTransaction = true;
    Record("connect dsn=%s user=%s password=%s", Text(dsn, dsnLength).c_str(), u.c_str(),
           Text(password, passwordLength).c_str());
    if (u == "norecord") return SQL_ERROR;
    if (u.compare(0, 5, "dbms=") == 0) d->dbms = u.substr(5);
    if (u == "info") {
        d->diags.push_back({"01000", "scripted connect info", 7});
        return SQL_SUCCESS_WITH_INFO;
    }
    return SQL_SUCCESS;
}

// A connection string is written whole as one line, then connects as
// SQLConnect with its DSN, UID and PWD (plain values, no braces).
SQLRETURN SQL_API SQLDriverConnect(SQLHDBC hdbc, SQLHWND, SQLCHAR* in, SQLSMALLINT inLength, SQLCHAR* out,
                                   SQLSMALLINT outMax, SQLSMALLINT* outLength, SQLUSMALLINT) {
    const std::string text = Text(in, inLength);
    Record("driverconnect %s", text.c_str());
    std::string dsn, user, password;
    for (const std::string& pair : Split(text, ';')) {
        const size_t eq = pair.find('=');
        if (eq == std::string::npos) continue;
        const std::string key = pair.substr(0, eq), value = pair.substr(eq + 1);
        if (key == "DSN") dsn = value;
        if (key == "UID") user = value;
        if (key == "PWD") password = value;
    }
    if (outLength) *outLength = 0;
    if (out && outMax > 0) *out = 0;
    return SQLConnect(hdbc, reinterpret_cast<SQLCHAR*>(&dsn[0]), SQL_NTS, reinterpret_cast<SQLCHAR*>(&user[0]),
                      SQL_NTS, reinterpret_cast<SQLCHAR*>(&password[0]), SQL_NTS);
}

SQLRETURN SQL_API SQLDisconnect(SQLHDBC hdbc) {
    Dbc* d = static_cast<Dbc*>(hdbc);
    d->diags.clear();
    Record("disconnect");
    if (d->user == "stuck" && d->openTransaction) return Fail(d, "25000", "transaction still open");
    for (Handle* st : d->statements) delete st;
    d->statements.clear();
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLEndTran(SQLSMALLINT, SQLHANDLE handle, SQLSMALLINT completion) {
    Dbc* d = static_cast<Dbc*>(handle);
    d->diags.clear();
    Record("endtran %s", completion == SQL_COMMIT ? "commit" : "rollback");
    d->openTransaction = false;
    if (d->user == "lost") {
        d->diags.push_back({"08S01", "Communication link failure", 0});
        return SQL_ERROR;
    }
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLGetInfo(SQLHDBC hdbc, SQLUSMALLINT info, SQLPOINTER value, SQLSMALLINT length,
                             SQLSMALLINT* outLength) {
    if (info == SQL_DBMS_NAME || info == SQL_DRIVER_ODBC_VER || info == SQL_DRIVER_NAME) {
        PutText(info == SQL_DBMS_NAME         ? static_cast<Dbc*>(hdbc)->dbms
                : info == SQL_DRIVER_ODBC_VER ? "03.00"
                                              : "liborl_scriptdrv.so",
                value, length, outLength);
        return SQL_SUCCESS;
    }
    // Numeric answers: zero is "not supported" for everything asked.
    if (value && length >= 4) std::memset(value, 0, 4);
    if (outLength) *outLength = 4;
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLGetDiagRec(SQLSMALLINT, SQLHANDLE handle, SQLSMALLINT record, SQLCHAR* state, SQLINTEGER* native,
                                SQLCHAR* message, SQLSMALLINT length, SQLSMALLINT* textLength) {
    Handle* h = static_cast<Handle*>(handle);
    if (h == nullptr || record < 1 || static_cast<size_t>(record) > h->diags.size()) return SQL_NO_DATA;
    const Diag& d = h->diags[record - 1];
    if (state) std::snprintf(reinterpret_cast<char*>(state), 6, "%s", d.state.c_str());
    if (native) *native = d.native;
    return PutText(d.message, message, length, textLength) ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

SQLRETURN SQL_API SQLGetDiagField(SQLSMALLINT, SQLHANDLE handle, SQLSMALLINT record, SQLSMALLINT field,
                                  SQLPOINTER value, SQLSMALLINT, SQLSMALLINT*) {
    Handle* h = static_cast<Handle*>(handle);
    if (h == nullptr) return SQL_INVALID_HANDLE;
    if (record == 0 && field == SQL_DIAG_NUMBER) {
        if (value) *static_cast<SQLINTEGER*>(value) = static_cast<SQLINTEGER>(h->diags.size());
        return SQL_SUCCESS;
    }
    return SQL_NO_DATA;
}

SQLRETURN SQL_API SQLPrepare(SQLHSTMT hstmt, SQLCHAR* text, SQLINTEGER length) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    st->diags.clear();
    st->text = Text(text, length);
    Parse(st);
    st->current = 0;
    ResetCursor(st);
    Record("prepare %s", st->text.c_str());
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLNumParams(SQLHSTMT hstmt, SQLSMALLINT* count) {
    *count = static_cast<SQLSMALLINT>(static_cast<Stmt*>(hstmt)->params);
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDescribeParam(SQLHSTMT, SQLUSMALLINT, SQLSMALLINT* type, SQLULEN* size, SQLSMALLINT* digits,
                                   SQLSMALLINT* nullable) {
    if (type) *type = SQL_VARCHAR;
    if (size) *size = 10;
    if (digits) *digits = 0;
    if (nullable) *nullable = SQL_NULLABLE;
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLBindParameter(SQLHSTMT hstmt, SQLUSMALLINT number, SQLSMALLINT direction, SQLSMALLINT cType,
                                   SQLSMALLINT sqlType, SQLULEN size, SQLSMALLINT digits, SQLPOINTER value,
                                   SQLLEN bufferLength, SQLLEN* indicator) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    if (number < 1 || number > st->params) return Fail(st, "07009", "invalid parameter number");
    if (st->bound.size() < number) st->bound.resize(number);
    st->bound[number - 1] = indicator;
    if (st->data.size() < number) st->data.resize(number);
    st->data[number - 1] = {cType, value};
    Record("bindparam n=%d dir=%d ctype=%d sqltype=%d size=%lu digits=%d buflen=%ld", number, direction, cType,
           sqlType, static_cast<unsigned long>(size), digits, static_cast<long>(bufferLength));
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLSetStmtAttr(SQLHSTMT hstmt, SQLINTEGER attribute, SQLPOINTER value, SQLINTEGER) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    switch (attribute) {
    case SQL_ATTR_PARAMSET_SIZE:
        st->paramsetSize = reinterpret_cast<SQLULEN>(value);
        break;
    case SQL_ATTR_PARAM_STATUS_PTR:
        st->paramStatus = static_cast<SQLUSMALLINT*>(value);
        break;
    case SQL_ATTR_ROW_ARRAY_SIZE:
        st->arraySize = reinterpret_cast<SQLULEN>(value);
        break;
    case SQL_ATTR_ROWS_FETCHED_PTR:
        st->rowsFetched = static_cast<SQLULEN*>(value);
        break;
    case SQL_ATTR_ROW_STATUS_PTR:
        st->rowStatus = static_cast<SQLUSMALLINT*>(value);
        break;
    default:
        break;
    }
    Record("setstmtattr attr=%d value=%ld", static_cast<int>(attribute), static_cast<long>(reinterpret_cast<SQLLEN>(value)));
    if (attribute == st->refused) return Fail(st, "HYC00", "optional feature not implemented");
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLExecute(SQLHSTMT hstmt) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    st->diags.clear();
    if (BusyElsewhere(st)) return Fail(st, "HY000", "connection is busy with results for another statement");
    st->current = 0;
    ResetCursor(st);
    // Each parameter of each row as the driver would read it: its indicator.
    for (size_t p = 0; p < st->bound.size(); ++p) {
        std::string line;
        for (SQLULEN r = 0; r < st->paramsetSize && st->bound[p]; ++r)
            line += " " + std::to_string(static_cast<long>(st->bound[p][r]));
        Record("execute param=%zu paramset=%lu ind=%s", p + 1, static_cast<unsigned long>(st->paramsetSize),
               line.c_str());
    }
    for (size_t p = 0; p < st->data.size() && p < st->bound.size(); ++p) {
        SQLSMALLINT cType = st->data[p].first;
        const void* v = st->data[p].second;
        if (st->paramsetSize != 1 || v == nullptr || st->bound[p] == nullptr || *st->bound[p] < 0) continue;
        if (cType == SQL_C_TYPE_TIMESTAMP) {
            const SQL_TIMESTAMP_STRUCT* t = static_cast<const SQL_TIMESTAMP_STRUCT*>(v);
            Record("value param=%zu %04d-%02u-%02u %02u:%02u:%02u.%09lu", p + 1, t->year, t->month, t->day, t->hour,
                   t->minute, t->second, static_cast<unsigned long>(t->fraction));
        } else if (cType == SQL_C_TYPE_TIME) {
            const SQL_TIME_STRUCT* t = static_cast<const SQL_TIME_STRUCT*>(v);
            Record("value param=%zu %02u:%02u:%02u", p + 1, t->hour, t->minute, t->second);
        } else if (cType == SQL_C_CHAR || cType == SQL_C_BINARY) {
            Record("value param=%zu %s", p + 1,
                   std::string(static_cast<const char*>(v), static_cast<size_t>(*st->bound[p])).c_str());
        }
    }
    if (st->failExecute) {
        if (!st->errorState.empty()) {
            st->diags.push_back({st->errorState, "scripted failure", st->errorNative});
            return SQL_ERROR;
        }
        if (st->noRecord) return SQL_ERROR;
        std::string message = "scripted failure";
        if (st->longMessage) message = std::string(st->longMessage, 'm');
        return Fail(st, "42000", message);
    }
    if (st->paramStatus) {
        for (SQLULEN r = 0; r < st->paramsetSize; ++r)
            st->paramStatus[r] = static_cast<long>(r) == st->failRow ? SQL_PARAM_ERROR : SQL_PARAM_SUCCESS;
    }
    st->cursorOpen = !st->results.empty();
    return st->failRow >= 0 ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

SQLRETURN SQL_API SQLNumResultCols(SQLHSTMT hstmt, SQLSMALLINT* count) {
    const Result* r = CurrentResult(static_cast<Stmt*>(hstmt));
    *count = r ? static_cast<SQLSMALLINT>(r->columns.size()) : 0;
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDescribeCol(SQLHSTMT hstmt, SQLUSMALLINT number, SQLCHAR* name, SQLSMALLINT length,
                                 SQLSMALLINT* nameLength, SQLSMALLINT* type, SQLULEN* size, SQLSMALLINT* digits,
                                 SQLSMALLINT* nullable) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    const Result* r = CurrentResult(st);
    if (!r || number < 1 || number > r->columns.size()) return Fail(st, "07009", "invalid column number");
    const Column& c = r->columns[number - 1];
    PutText(c.name, name, length, nameLength);
    if (type) *type = c.sqlType;
    if (size) *size = c.size;
    if (digits) *digits = c.digits;
    if (nullable) *nullable = SQL_NULLABLE;
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLColAttribute(SQLHSTMT hstmt, SQLUSMALLINT number, SQLUSMALLINT field, SQLPOINTER text,
                                  SQLSMALLINT length, SQLSMALLINT* textLength, SQLLEN* numeric) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    const Result* r = CurrentResult(st);
    if (!r || number < 1 || number > r->columns.size()) return Fail(st, "07009", "invalid column number");
    const Column& c = r->columns[number - 1];
    switch (field) {
    case SQL_DESC_DISPLAY_SIZE:
        if (numeric) *numeric = c.display >= 0 ? c.display : static_cast<SQLLEN>(c.size);
        break;
    case SQL_DESC_UNSIGNED:
        if (numeric) *numeric = c.isUnsigned ? SQL_TRUE : SQL_FALSE;
        break;
    case SQL_DESC_TYPE:
    case SQL_DESC_CONCISE_TYPE:
        if (numeric) *numeric = c.sqlType;
        break;
    case SQL_DESC_NAME:
    case SQL_COLUMN_NAME:
    case SQL_DESC_LABEL:
        PutText(c.name, text, length, textLength);
        break;
    default:
        if (numeric) *numeric = 0;
        break;
    }
    return SQL_SUCCESS;
}

// Writes row `row` of the bound columns into array element `at`; true when a
// text or binary was cut.
bool FillBound(Stmt* st, long row, SQLULEN at) {
    const Result* r = CurrentResult(st);
    bool cut = false;
    for (size_t j = 0; j < st->columnsBound.size() && j < r->columns.size(); ++j) {
        const BoundColumn& b = st->columnsBound[j];
        if (b.target == nullptr) continue;
        const Column& c = r->columns[j];
        char* target = b.target + at * static_cast<SQLULEN>(b.bufferLength);
        SQLLEN* ind = b.ind ? b.ind + at : nullptr;
        SQLLEN reported = 0;
        if (c.nullRow == -1 || c.nullRow == row) {
            reported = SQL_NULL_DATA;
        } else if (c.k == Column::Num && IntegerWidth(b.cType) > 0) {
            long long v = std::strtoll(c.arg.c_str(), nullptr, 10);
            std::memcpy(target, &v, static_cast<size_t>(reported = IntegerWidth(b.cType)));
        } else if (c.k == Column::Num && b.cType == SQL_C_DOUBLE) {
            PutFixed(std::strtod(c.arg.c_str(), nullptr), target, &reported);
        } else if (c.k == Column::Ts && b.cType == SQL_C_TYPE_TIMESTAMP) {
            PutFixed(SQL_TIMESTAMP_STRUCT{2024, 2, 29, 23, 59, 58, 123000000}, target, &reported);
        } else {
            const std::string bytes = c.k == Column::Num ? c.arg : ColumnBytes(c, c.longRow == row);
            const SQLLEN room = b.cType == SQL_C_CHAR ? b.bufferLength - 1 : b.bufferLength;
            const SQLLEN whole = static_cast<SQLLEN>(bytes.size());
            const SQLLEN n = whole < room ? whole : room;
            if (n > 0) std::memcpy(target, bytes.data(), static_cast<size_t>(n));
            if (b.cType == SQL_C_CHAR) target[n] = 0;
            reported = whole;
            cut = cut || whole > room;
        }
        if (ind) *ind = reported;
    }
    return cut;
}

SQLRETURN SQL_API SQLFetch(SQLHSTMT hstmt) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    if (!CurrentResult(st) || CurrentResult(st)->columns.empty()) return Fail(st, "24000", "no result set");
    if (st->bindable) st->diags.clear();
    if (st->nextRow >= st->rows) return SQL_NO_DATA;
    std::fill(st->offsets.begin(), st->offsets.end(), 0);
    std::fill(st->calls.begin(), st->calls.end(), 0);
    SQLULEN count = st->arraySize < 1 ? 1 : st->arraySize;
    if (st->shortFetch > 0 && count > static_cast<SQLULEN>(st->shortFetch)) count = static_cast<SQLULEN>(st->shortFetch);
    if (count > static_cast<SQLULEN>(st->rows - st->nextRow)) count = static_cast<SQLULEN>(st->rows - st->nextRow);
    const long first = st->nextRow;
    SQLRETURN rc = SQL_SUCCESS;
    for (SQLULEN k = 0; k < count; ++k) {
        SQLUSMALLINT status = SQL_ROW_SUCCESS;
        if (first + static_cast<long>(k) == st->rowError) {
            status = SQL_ROW_ERROR;
            st->diags.push_back({"HY000", "scripted row failure", 9});
            rc = SQL_SUCCESS_WITH_INFO;
        } else if (FillBound(st, first + static_cast<long>(k), k)) {
            status = SQL_ROW_SUCCESS_WITH_INFO;
            st->diags.push_back({"01004", "String data, right truncated", 0});
            rc = SQL_SUCCESS_WITH_INFO;
        }
        if (st->rowStatus) st->rowStatus[k] = status;
    }
    if (st->rowStatus)
        for (SQLULEN k = count; k < st->arraySize; ++k) st->rowStatus[k] = SQL_ROW_NOROW;
    if (st->rowsFetched) *st->rowsFetched = count;
    // The cursor stands on the rowset's first row; the next fetch follows the last.
    st->row = first;
    st->nextRow = first + static_cast<long>(count);
    if (st->arraySize > 1 || !st->columnsBound.empty())
        Record("fetch rows=%lu from=%ld rc=%d", static_cast<unsigned long>(count), first, rc);
    return rc;
}

SQLRETURN SQL_API SQLFetchScroll(SQLHSTMT hstmt, SQLSMALLINT orientation, SQLLEN offset) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    if (orientation == SQL_FETCH_NEXT) return SQLFetch(hstmt);
    st->diags.clear();
    if (!st->scrollable || orientation != SQL_FETCH_ABSOLUTE)
        return Fail(st, "HY106", "fetch type out of range");
    Record("fetchscroll absolute=%ld", static_cast<long>(offset));
    if (offset < 1 || offset > st->rows) return SQL_NO_DATA;
    st->nextRow = offset - 1;
    return SQLFetch(hstmt);
}

SQLRETURN SQL_API SQLBindCol(SQLHSTMT hstmt, SQLUSMALLINT number, SQLSMALLINT cType, SQLPOINTER target,
                             SQLLEN bufferLength, SQLLEN* ind) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    if (!st->bindable) return Fail(st, "HYC00", "optional feature not implemented");
    if (number < 1) return Fail(st, "07009", "invalid column number");
    if (st->columnsBound.size() < number) st->columnsBound.resize(number);
    st->columnsBound[number - 1] = {cType, static_cast<char*>(target), bufferLength, ind};
    Record("bindcol col=%d ctype=%d buflen=%ld", number, cType, static_cast<long>(bufferLength));
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLGetData(SQLHSTMT hstmt, SQLUSMALLINT number, SQLSMALLINT cType, SQLPOINTER target,
                             SQLLEN bufferLength, SQLLEN* ind) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    const Result* r = CurrentResult(st);
    if (!r || number < 1 || number > r->columns.size() || st->row < 0) return Fail(st, "07009", "no such column");
    const Column& c = r->columns[number - 1];
    SQLRETURN rc = SQL_SUCCESS;
    SQLLEN reported = 0;
    int& calls = st->calls[number - 1];
    SQLLEN& offset = st->offsets[number - 1];
    if (c.k == Column::NoData) {
        rc = SQL_NO_DATA;
    } else if (c.nullRow == -1 || c.nullRow == st->row) {
        reported = SQL_NULL_DATA;
    } else if (c.k == Column::Num && IntegerWidth(cType) > 0) {
        // The low bytes of the number, as the little-endian target stores them.
        long long v = std::strtoll(c.arg.c_str(), nullptr, 10);
        std::memcpy(target, &v, static_cast<size_t>(reported = IntegerWidth(cType)));
    } else if (c.k == Column::Num && cType == SQL_C_DOUBLE) {
        rc = PutFixed(std::strtod(c.arg.c_str(), nullptr), target, &reported);
    } else if (c.k == Column::Ts && cType == SQL_C_TYPE_DATE) {
        rc = PutFixed(SQL_DATE_STRUCT{2024, 2, 29}, target, &reported);
    } else if (c.k == Column::Ts && cType == SQL_C_TYPE_TIMESTAMP) {
        rc = PutFixed(SQL_TIMESTAMP_STRUCT{2024, 2, 29, 23, 59, 58, 123000000}, target, &reported);
    } else if (c.k == Column::Time && cType == SQL_C_TYPE_TIME) {
        rc = PutFixed(SQL_TIME_STRUCT{23, 59, 58}, target, &reported);
    } else if (cType == SQL_C_CHAR || cType == SQL_C_BINARY) {
        if (!c.built) c.bytes = ColumnBytes(c), c.built = true;
        const std::string longer = c.longRow == st->row ? ColumnBytes(c, true) : std::string();
        const std::string& bytes = c.longRow == st->row ? longer : c.bytes;
        SQLLEN remaining = static_cast<SQLLEN>(bytes.size()) - offset;
        if (calls > 0 && remaining == 0) {
            rc = SQL_NO_DATA;
        } else {
            SQLLEN room = cType == SQL_C_CHAR ? bufferLength - 1 : bufferLength;
            if (room < 0) room = 0;
            SQLLEN n = remaining < room ? remaining : room;
            if (n > 0) std::memcpy(target, bytes.data() + offset, static_cast<size_t>(n));
            if (cType == SQL_C_CHAR && bufferLength > 0) static_cast<char*>(target)[n] = 0;
            bool cut = remaining > room;
            reported = cut && c.noTotal ? SQL_NO_TOTAL : remaining;
            offset += n;
            if (cut) {
                st->diags.push_back({"01004", "String data, right truncated", 0});
                rc = SQL_SUCCESS_WITH_INFO;
            }
        }
    } else {
        rc = Fail(st, "07006", "restricted data type");
    }
    ++calls;
    if (c.lie) reported = c.lieLength;
    if (c.forceRc) {
        rc = c.rc;
        if (rc == SQL_ERROR) st->diags.push_back({"HY000", "scripted read failure", 7});
    }
    if (ind && rc != SQL_NO_DATA && rc != SQL_ERROR) *ind = reported;
    Record("getdata col=%d ctype=%d buflen=%ld ind=%ld rc=%d", number, cType, static_cast<long>(bufferLength),
           static_cast<long>(reported), rc);
    return rc;
}

SQLRETURN SQL_API SQLMoreResults(SQLHSTMT hstmt) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    if (st->current + 1 >= st->results.size()) return SQL_NO_DATA;
    ++st->current;
    ResetCursor(st);
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLRowCount(SQLHSTMT hstmt, SQLLEN* count) {
    const Stmt* st = static_cast<Stmt*>(hstmt);
    *count = st->rowCount >= 0 ? static_cast<SQLLEN>(st->rowCount) : static_cast<SQLLEN>(st->paramsetSize);
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFreeStmt(SQLHSTMT hstmt, SQLUSMALLINT option) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    if (option == SQL_CLOSE) {
        ResetCursor(st);
        st->cursorOpen = false;
    }
    if (option == SQL_UNBIND) st->columnsBound.clear();
    if (option == SQL_RESET_PARAMS) {
        st->bound.clear();
        st->data.clear();
    }
    Record("freestmt option=%d", option);
    return SQL_SUCCESS;
}

// Catalog calls record their arguments (<null> or 'text'/length) and yield
// one empty result.
static SQLRETURN Catalog(SQLHSTMT hstmt, const char* name, int count, ...) {
    Stmt* st = static_cast<Stmt*>(hstmt);
    std::string line = name;
    va_list ap;
    va_start(ap, count);
    for (int i = 0; i < count; ++i) {
        SQLCHAR* text = va_arg(ap, SQLCHAR*);
        int length = va_arg(ap, int);
        line += text ? " '" + Text(text, length) + "'/" + std::to_string(length) : std::string(" <null>/") + std::to_string(length);
    }
    va_end(ap);
    Record("%s", line.c_str());
    st->diags.clear();
    if (BusyElsewhere(st)) return Fail(st, "HY000", "connection is busy with results for another statement");
    st->cursorOpen = true;
    st->text.clear();
    st->results.assign(1, Result());
    Column c;
    c.name = "TABLE_NAME";
    c.size = 128;
    st->results[0].columns.push_back(c);
    st->rows = 0;
    st->current = 0;
    ResetCursor(st);
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLTables(SQLHSTMT h, SQLCHAR* c, SQLSMALLINT cl, SQLCHAR* s, SQLSMALLINT sl, SQLCHAR* t,
                            SQLSMALLINT tl, SQLCHAR* y, SQLSMALLINT yl) {
    return Catalog(h, "tables", 4, c, int(cl), s, int(sl), t, int(tl), y, int(yl));
}
SQLRETURN SQL_API SQLColumns(SQLHSTMT h, SQLCHAR* c, SQLSMALLINT cl, SQLCHAR* s, SQLSMALLINT sl, SQLCHAR* t,
                             SQLSMALLINT tl, SQLCHAR* n, SQLSMALLINT nl) {
    return Catalog(h, "columns", 4, c, int(cl), s, int(sl), t, int(tl), n, int(nl));
}
SQLRETURN SQL_API SQLPrimaryKeys(SQLHSTMT h, SQLCHAR* c, SQLSMALLINT cl, SQLCHAR* s, SQLSMALLINT sl, SQLCHAR* t,
                                 SQLSMALLINT tl) {
    return Catalog(h, "primarykeys", 3, c, int(cl), s, int(sl), t, int(tl));
}
SQLRETURN SQL_API SQLProcedures(SQLHSTMT h, SQLCHAR* c, SQLSMALLINT cl, SQLCHAR* s, SQLSMALLINT sl, SQLCHAR* p,
                                SQLSMALLINT pl) {
    return Catalog(h, "procedures", 3, c, int(cl), s, int(sl), p, int(pl));
}
SQLRETURN SQL_API SQLProcedureColumns(SQLHSTMT h, SQLCHAR* c, SQLSMALLINT cl, SQLCHAR* s, SQLSMALLINT sl, SQLCHAR* p,
                                      SQLSMALLINT pl, SQLCHAR* n, SQLSMALLINT nl) {
    return Catalog(h, "procedurecolumns", 4, c, int(cl), s, int(sl), p, int(pl), n, int(nl));
}

} // extern "C"
