// What orlodbc does on SIGINT and SIGTERM: the statements it has running on a
// database server are cancelled there, not only abandoned by this process.
//
// The driver keeps its statement handles to itself, so the cancel goes the
// way a database administrator would take: every server session the tool
// opens on PostgreSQL or MariaDB is noted with its session id right after
// the connect (pg_backend_pid(), CONNECTION_ID()), and on the signal a
// watcher thread opens one more connection to the same data source and
// cancels each noted session's statement (pg_cancel_backend, KILL QUERY),
// again every half second until the work has stopped. The same holds for
// both front ends and any number of copy jobs. The work itself sees its
// statement fail, rolls back what isn't committed and ends; main then
// prints one line and exits 130 (143 for SIGTERM). A second signal ends the
// process at once; a database that doesn't stop within 10 s is left to roll
// back on its own when the connections drop with the process.
//
// Without install() nothing is noted and no statement of ours runs.
#pragma once
#include <cstdint>
#include <ostream>
#include <string>

#include "host/Connection.h"
#include "host/DataService.h"
#include "tools/orlodbc/DriverHost.h"

namespace orlodbc {

class BulkLink;

// The statement that cancels session `id`'s running statement, by the
// database's DBMS name; empty for a database without server sessions to
// cancel (SQLite) or one we don't know.
std::string cancelStatement(const std::string& dbmsName, int64_t id);
// The statement that gives this session's id, by DBMS name; empty as above.
std::string sessionIdQuery(const std::string& dbmsName);

class Interrupt {
public:
    // Handlers for SIGINT and SIGTERM and the watcher thread. The cancel
    // connections go through `host`, which must outlive uninstall().
    static void install(DriverHost& host);
    // Stops the watcher and gives back its connections.
    static void uninstall();

    // A signal came; the work should stop at its next step.
    static bool happened();
    // 130 after SIGINT, 143 after SIGTERM, 0 before any.
    static int exitCode();

    // Notes the session of a classic connection (asked on its own ODBC
    // handle) or of a bulk one (asked through a statement of its own: only
    // for a data source whose classic connection told its DBMS before).
    // A token for forget(); 0 when nothing was noted.
    static long noteClassic(const KORVEL::Orl::DataService& service, KORVEL::Orl::DB::Connection& connection);
    static long noteBulk(const KORVEL::Orl::DataService& service, BulkLink& link);
    static void forget(long token);
};

} // namespace orlodbc
