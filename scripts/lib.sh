# shellcheck shell=bash disable=SC2034  # the settings here are used by the scripts that source it
# Shared bits of the test rig scripts; sourced, never run.
# Sets ORL_REPO (absolute repo root) and ORL_RUN_DIR (default <repo>/build/run).

# mariadbd and runuser live in sbin, which a non-login PATH may lack.
case ":$PATH:" in *:/usr/sbin:*) ;; *) PATH="$PATH:/usr/sbin:/sbin" ;; esac

ORL_REPO="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
ORL_RUN_DIR="$(realpath -m "${ORL_RUN_DIR:-$ORL_REPO/build/run}")"
export ORL_REPO ORL_RUN_DIR

# Ports may be moved when two checkouts run servers at the same time; the DSNs follow.
ORL_PG_PORT="${ORL_PG_PORT:-55432}"
ORL_MARIA_PORT="${ORL_MARIA_PORT:-53306}"
ORL_DB_USER=orl
ORL_DB_PASSWORD=orl_pw
ORL_DB_NAME=orl_test
ORL_START_TIMEOUT="${ORL_START_TIMEOUT:-60}"
ORL_STOP_TIMEOUT="${ORL_STOP_TIMEOUT:-30}"

log() { printf '[%s] %s\n' "$(basename "$0")" "$*" >&2; }
die() { log "ERROR: $*"; exit 1; }

# Prints the last lines of a server log so a failed start explains itself in CI output.
log_tail() {
    [[ -f "$1" ]] || { log "(no log at $1)"; return 0; }
    log "---- last lines of $1 ----"
    tail -n "${2:-40}" "$1" >&2 || true
    log "---- end of log ----"
}

# True when pid $1 is alive and its command name is $2 (guards against a reused pid
# from a stale pid file after a reboot; avoids needing procps).
pid_is() {
    local pid="$1" comm="$2"
    [[ "$pid" =~ ^[0-9]+$ ]] && [[ -r "/proc/$pid/comm" ]] &&
        [[ "$(cat "/proc/$pid/comm" 2>/dev/null)" == "$comm" ]]
}

# Which databases a start/stop script acts on: pg, maria or all (the default).
parse_target() {
    case "${1:-all}" in
        pg|maria|all) printf '%s\n' "${1:-all}" ;;
        *) die "usage: $(basename "$0") [pg|maria|all]" ;;
    esac
}

# ---- database servers ----
PG_DIR="$ORL_RUN_DIR/pg"             # socket and log; data in $PG_DIR/data
PG_DATA="$PG_DIR/data"
PG_LOG="$PG_DIR/server.log"
MARIA_DIR="$ORL_RUN_DIR/maria"       # socket, pid, log, tmp; data in $MARIA_DIR/data
MARIA_DATA="$MARIA_DIR/data"
MARIA_SOCK="$MARIA_DIR/mysqld.sock"
MARIA_PID="$MARIA_DIR/mysqld.pid"
MARIA_LOG="$MARIA_DIR/server.log"

# initdb refuses root, so as root the PostgreSQL tools run as the postgres OS user;
# otherwise as the caller. The superuser is named after that OS user (peer auth on the socket).
if ((EUID == 0)); then
    PG_OS_USER=postgres
    as_pg() { (cd / && runuser -u postgres -- "$@"); }
else
    PG_OS_USER="$(id -un)"
    as_pg() { "$@"; }
fi

# The bin dir matching an existing cluster, else the newest installed PostgreSQL.
pg_bindir() {
    local v
    if [[ -f "$PG_DATA/PG_VERSION" ]]; then
        v="$(cat "$PG_DATA/PG_VERSION")"
        [[ -x "/usr/lib/postgresql/$v/bin/postgres" ]] && { echo "/usr/lib/postgresql/$v/bin"; return; }
    fi
    v="$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n1)"
    [[ -n "$v" ]] || die "no PostgreSQL under /usr/lib/postgresql (run scripts/install-deps.sh)"
    echo "$v"
}

# The admin client over our socket; as root the root account authenticates by unix_socket.
maria_admin_client() { mariadb --no-defaults --protocol=socket --socket="$MARIA_SOCK" -u "$(id -un)" "$@"; }
maria_admin() { mariadb-admin --no-defaults --protocol=socket --socket="$MARIA_SOCK" -u "$(id -un)" --connect-timeout=2 "$@"; }
maria_pid() { cat "$MARIA_PID" 2>/dev/null || true; }
