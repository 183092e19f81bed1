#!/usr/bin/env bash
# shellcheck source-path=SCRIPTDIR
# Project-local ODBC configuration for the tests.
#   . scripts/odbc-env.sh     (bash) writes the files and exports ORL_RUN_DIR, ODBCSYSINI, ODBCINI
#   scripts/odbc-env.sh       only writes $ORL_RUN_DIR/odbc/{odbcinst.ini,odbc.ini,env.sh}
#
# unixODBC reads drivers from $ODBCSYSINI/odbcinst.ini and DSNs from $ODBCINI (the user file,
# instead of ~/.odbc.ini) and then $ODBCSYSINI/odbc.ini (the system file, instead of
# /etc/odbc.ini). Both point at our one odbc.ini, so no file outside the run dir takes part.

if [[ "${BASH_SOURCE[0]}" != "$0" ]]; then
    # Sourced: do the writing in a child so the caller's shell options stay untouched.
    bash "${BASH_SOURCE[0]}" || return 1
    ORL_RUN_DIR="$(realpath -m "${ORL_RUN_DIR:-$(dirname "${BASH_SOURCE[0]}")/../build/run}")"
    # shellcheck disable=SC1091  # written just above by the child
    . "$ORL_RUN_DIR/odbc/env.sh"
    return 0
fi

set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

# Absolute path of an ODBC driver library, from its package's file list or the usual place.
find_driver() {
    local file="$1" pkg="$2" path
    path="$(dpkg -L "$pkg" 2>/dev/null | grep -m1 "/$file\$" || true)"
    [[ -n "$path" && -e "$path" ]] || path="$(ls /usr/lib/*/odbc/"$file" 2>/dev/null | head -n1 || true)"
    [[ -n "$path" && -e "$path" ]] || die "ODBC driver $file not found (run scripts/install-deps.sh)"
    printf '%s\n' "$path"
}

sqlite_drv="$(find_driver libsqlite3odbc.so libsqliteodbc)"
pg_drv="$(find_driver psqlodbcw.so odbc-postgresql)"   # the Unicode (W) build
maria_drv="$(find_driver libmaodbc.so odbc-mariadb)"

odbc_dir="$ORL_RUN_DIR/odbc"
mkdir -p "$odbc_dir" "$ORL_RUN_DIR/sqlite"

# Written to a temp file and moved, so a test reading the files never sees half of one.
write_file() {
    local dest="$1" tmp
    tmp="$(mktemp "$dest.XXXXXX")"
    cat > "$tmp"
    chmod 644 "$tmp"
    mv -f "$tmp" "$dest"
}

# CommLog/Debug off: the packaged driver entries turn the PostgreSQL driver's
# communication log on, which scatters log files into /tmp.
write_file "$odbc_dir/odbcinst.ini" <<INI
[ORL SQLite3]
Description=SQLite3 ODBC driver
Driver=$sqlite_drv
Setup=$sqlite_drv

[ORL PostgreSQL Unicode]
Description=PostgreSQL ODBC driver (Unicode)
Driver=$pg_drv
Debug=0
CommLog=0

[ORL MariaDB Unicode]
Description=MariaDB Connector/ODBC (Unicode)
Driver=$maria_drv
Threading=0
INI

# One SQLite file per thread for the thread tests: a file takes one writer at a time.
thread_dsns=""
for t in 0 1 2 3 4 5 6 7; do
    thread_dsns+="$(printf '\n[orl_sqlite_t%s]\nDescription=ORL thread test database %s (SQLite3)\nDriver=ORL SQLite3\nDatabase=%s' \
        "$t" "$t" "$ORL_RUN_DIR/sqlite/thread$t.db")"$'\n'
done

# No user or password here: the library hands both to SQLConnect.
write_file "$odbc_dir/odbc.ini" <<INI
[orl_sqlite]
Description=ORL test database (SQLite3)
Driver=ORL SQLite3
Database=$ORL_RUN_DIR/sqlite/orl.db

[orl_sqlite_copy]
Description=ORL second SQLite3 database, target of the copy examples
Driver=ORL SQLite3
Database=$ORL_RUN_DIR/sqlite/orl_copy.db

[orl_pg]
Description=ORL test database (PostgreSQL)
Driver=ORL PostgreSQL Unicode
Servername=127.0.0.1
Port=$ORL_PG_PORT
Database=$ORL_DB_NAME
SSLmode=disable
Debug=0
CommLog=0

# The same database read through a server-side cursor, a block of rows at a
# time, instead of the whole result at once: for memory measurements of long reads.
[orl_pg_cursor]
Description=ORL test database (PostgreSQL, cursor fetch)
Driver=ORL PostgreSQL Unicode
Servername=127.0.0.1
Port=$ORL_PG_PORT
Database=$ORL_DB_NAME
SSLmode=disable
UseDeclareFetch=1
Fetch=1000
Debug=0
CommLog=0

# The same database with statements prepared on the client: a prepared read
# runs as one plain query at execute, where the server-side prepare makes the
# execute wait on the server and hold the result twice over. The block
# benchmark reads through it.
[orl_pg_plain]
Description=ORL test database (PostgreSQL, prepared on the client)
Driver=ORL PostgreSQL Unicode
Servername=127.0.0.1
Port=$ORL_PG_PORT
Database=$ORL_DB_NAME
SSLmode=disable
UseServerSidePrepare=0
Debug=0
CommLog=0

[orl_maria]
Description=ORL test database (MariaDB)
Driver=ORL MariaDB Unicode
SERVER=127.0.0.1
PORT=$ORL_MARIA_PORT
DATABASE=$ORL_DB_NAME
$thread_dsns
INI

# ODBCINSTINI would rename odbcinst.ini and ODBCSEARCH would skip one of the DSN files.
# PGCLIENTENCODING: without it the PostgreSQL driver works out the client
# encoding at every connect from setlocale(LC_CTYPE, ""), which frees the
# locale name another thread's connect is still reading; connects from many
# threads at once (the thread tests) then read freed memory inside the driver.
# UTF8 is what it would work out from a UTF-8 locale, so nothing else changes.
write_file "$odbc_dir/env.sh" <<SH
export ORL_RUN_DIR='$ORL_RUN_DIR'
export PGCLIENTENCODING=UTF8
export ODBCSYSINI='$odbc_dir'
export ODBCINI='$odbc_dir/odbc.ini'
export ORL_PG_PORT=$ORL_PG_PORT ORL_MARIA_PORT=$ORL_MARIA_PORT
unset ODBCINSTINI ODBCSEARCH
SH

log "wrote $odbc_dir/{odbcinst.ini,odbc.ini,env.sh}"
