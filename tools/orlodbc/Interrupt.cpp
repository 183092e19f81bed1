#include "tools/orlodbc/Interrupt.h"

#include <signal.h>
#include <sql.h>
#include <sqlext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "tools/orlodbc/Links.h"

using namespace KORVEL::Orl;
using namespace KORVEL::Orl::DB;

namespace orlodbc {

namespace {

std::string upper(const std::string& text) {
    std::string out = text;
    for (char& c : out)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return out;
}

bool isPostgres(const std::string& dbms) { return upper(dbms).find("POSTGRESQL") != std::string::npos; }
bool isMaria(const std::string& dbms) {
    const std::string u = upper(dbms);
    return u.find("MARIADB") != std::string::npos || u.find("MYSQL") != std::string::npos;
}

// A session we may have to cancel: where it lives and how.
struct Session {
    DataService service;
    std::string cancelSql;
};

// Written by the signal handler, which may touch nothing else.
std::atomic<int> g_signal{0};
int g_pipe[2] = {-1, -1};

struct State {
    DriverHost* host = nullptr;
    std::mutex mutex;
    std::condition_variable wake;
    bool stopping = false;
    long nextToken = 1;
    std::map<long, Session> sessions;
    std::map<std::string, std::string> dbmsOfDsn;  // learnt from classic connections
    std::thread watcher;
    // The watcher's own connections, one per data source and user; only it touches them.
    std::map<std::string, Connection*> cancellers;
};

State& state() {
    static State s;
    return s;
}

void onSignal(int sig) {
    int expected = 0;
    if (!g_signal.compare_exchange_strong(expected, sig)) _exit(sig == SIGTERM ? 143 : 130);
    const char byte = 's';
    ssize_t ignored = write(g_pipe[1], &byte, 1);
    (void)ignored;
}

std::string keyOf(const DataService& service) {
    return service.getPropertyValueAsString("DSN", "") + '\n' + service.getPropertyValueAsString("User", "");
}

void cancelOnce(State& s) {
    std::vector<Session> now;
    {
        std::lock_guard<std::mutex> lock(s.mutex);
        for (const auto& entry : s.sessions) now.push_back(entry.second);
    }
    for (const Session& session : now) {
        Connection*& c = s.cancellers[keyOf(session.service)];
        if (c == nullptr) {
            c = s.host->driver()->createConnection(session.service);
            if (c == nullptr) continue;
            if (c->open() != 1) {
                s.host->driver()->releaseConnection(c);
                c = nullptr;
                continue;
            }
        }
        std::vector<Parameter> none;
        int rows = 0;
        c->executeUpdate(session.cancelSql, none, rows);
        c->rollback();
    }
}

void watch() {
    State& s = state();
    for (;;) {
        char byte = 0;
        const ssize_t n = read(g_pipe[0], &byte, 1);
        if (n < 0 && errno == EINTR) continue;
        if (n != 1 || byte == 'q') return;
        const int code = Interrupt::exitCode();
        // The last word if the work doesn't end: the connections then drop
        // with the process and the servers roll back what they held.
        std::thread([code] {
            std::this_thread::sleep_for(std::chrono::seconds(10));
            static const char text[] = "orlodbc: interrupted; the database did not stop within 10 s, leaving it\n";
            ssize_t ignored = write(2, text, sizeof text - 1);
            (void)ignored;
            _exit(code);
        }).detach();
        for (;;) {
            cancelOnce(s);
            std::unique_lock<std::mutex> lock(s.mutex);
            if (s.wake.wait_for(lock, std::chrono::milliseconds(500), [&] { return s.stopping; })) return;
        }
    }
}

long note(const DataService& service, const std::string& dbms, int64_t id) {
    const std::string sql = cancelStatement(dbms, id);
    if (sql.empty()) return 0;
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    const long token = s.nextToken++;
    s.sessions[token] = Session{service, sql};
    return token;
}

} // namespace

std::string cancelStatement(const std::string& dbmsName, int64_t id) {
    if (isPostgres(dbmsName)) return "SELECT pg_cancel_backend(" + std::to_string(id) + ")";
    if (isMaria(dbmsName)) return "KILL QUERY " + std::to_string(id);
    return std::string();
}

std::string sessionIdQuery(const std::string& dbmsName) {
    if (isPostgres(dbmsName)) return "SELECT pg_backend_pid()";
    if (isMaria(dbmsName)) return "SELECT CONNECTION_ID()";
    return std::string();
}

void Interrupt::install(DriverHost& host) {
    State& s = state();
    if (s.host != nullptr || pipe(g_pipe) != 0) return;
    s.host = &host;
    s.stopping = false;
    s.watcher = std::thread(watch);
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    // Calls inside the database drivers go on where a signal met them.
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void Interrupt::uninstall() {
    State& s = state();
    if (s.host == nullptr) return;
    {
        std::lock_guard<std::mutex> lock(s.mutex);
        s.stopping = true;
        s.sessions.clear();
    }
    s.wake.notify_all();
    const char byte = 'q';
    ssize_t ignored = write(g_pipe[1], &byte, 1);
    (void)ignored;
    s.watcher.join();
    for (auto& entry : s.cancellers)
        if (entry.second != nullptr) s.host->driver()->releaseConnection(entry.second);
    s.cancellers.clear();
    s.host = nullptr;
}

bool Interrupt::happened() { return g_signal.load() != 0; }

int Interrupt::exitCode() {
    const int sig = g_signal.load();
    return sig == 0 ? 0 : sig == SIGTERM ? 143 : 130;
}

long Interrupt::noteClassic(const DataService& service, Connection& connection) {
    State& s = state();
    if (s.host == nullptr) return 0;
    SQLHDBC dbc = static_cast<SQLHDBC>(connection.getHandle());
    if (dbc == nullptr) return 0;
    char name[256] = "";
    SQLSMALLINT length = 0;
    const SQLRETURN info = SQLGetInfo(dbc, SQL_DBMS_NAME, name, sizeof name, &length);
    if (info != SQL_SUCCESS && info != SQL_SUCCESS_WITH_INFO) return 0;
    {
        std::lock_guard<std::mutex> lock(s.mutex);
        s.dbmsOfDsn[service.getPropertyValueAsString("DSN", "")] = name;
    }
    const std::string query = sessionIdQuery(name);
    if (query.empty()) return 0;
    // A statement of our own on the connection's handle: the driver's single
    // statement of the connection stays as it was.
    SQLHSTMT st = SQL_NULL_HSTMT;
    if (SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st) != SQL_SUCCESS) return 0;
    SQLBIGINT id = 0;
    SQLLEN indicator = 0;
    const bool ok = SQL_SUCCEEDED(SQLExecDirect(st, (SQLCHAR*)query.c_str(), SQL_NTS)) &&
                    SQL_SUCCEEDED(SQLFetch(st)) &&
                    SQL_SUCCEEDED(SQLGetData(st, 1, SQL_C_SBIGINT, &id, 0, &indicator)) && indicator != SQL_NULL_DATA;
    SQLFreeStmt(st, SQL_CLOSE);
    SQLFreeHandle(SQL_HANDLE_STMT, st);
    return ok ? note(service, name, static_cast<int64_t>(id)) : 0;
}

long Interrupt::noteBulk(const DataService& service, BulkLink& link) {
    State& s = state();
    if (s.host == nullptr) return 0;
    std::string dbms;
    {
        std::lock_guard<std::mutex> lock(s.mutex);
        auto it = s.dbmsOfDsn.find(service.getPropertyValueAsString("DSN", ""));
        if (it == s.dbmsOfDsn.end()) return 0;
        dbms = it->second;
    }
    const std::string query = sessionIdQuery(dbms);
    if (query.empty()) return 0;
    std::vector<int64_t> values(1);
    std::vector<bool> nulls(1);
    if (!readLongs(link, query, values, nulls) || nulls[0]) return 0;
    return note(service, dbms, values[0]);
}

void Interrupt::forget(long token) {
    if (token == 0) return;
    State& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.sessions.erase(token);
}

} // namespace orlodbc
