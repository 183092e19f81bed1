#!/usr/bin/env bash
# shellcheck source-path=SCRIPTDIR
# Stops the test servers: scripts/db-stop.sh [pg|maria|all]   (default all)
# Clean shutdown with a bounded wait, then a kill. Data dirs are kept; a stopped server is fine.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
target="$(parse_target "${1:-all}")"

# Waits up to $2 seconds for pid $1 to go away.
wait_gone() {
    local pid="$1" comm="$2" deadline=$((SECONDS + $3))
    while pid_is "$pid" "$comm"; do
        ((SECONDS < deadline)) || return 1
        sleep 0.5
    done
}

pg_stop() {
    local bin pid
    [[ -d "$PG_DATA" ]] || { log "pg: no data dir, nothing to stop"; return 0; }
    bin="$(pg_bindir)"
    if ! as_pg "$bin/pg_ctl" -D "$PG_DATA" status >/dev/null 2>&1; then
        log "pg: not running"
        return 0
    fi
    log "pg: stopping"
    as_pg "$bin/pg_ctl" -D "$PG_DATA" -m fast -w -t "$ORL_STOP_TIMEOUT" -s stop && return 0
    log "pg: no clean stop within ${ORL_STOP_TIMEOUT}s, forcing"
    as_pg "$bin/pg_ctl" -D "$PG_DATA" -m immediate -w -t 10 -s stop && return 0
    pid="$(head -n1 "$PG_DATA/postmaster.pid" 2>/dev/null || true)"
    pid_is "$pid" postgres && kill -KILL "$pid"
    wait_gone "$pid" postgres 10 || die "pg: pid $pid survived SIGKILL"
}

maria_stop() {
    local pid
    pid="$(maria_pid)"
    if ! pid_is "$pid" mariadbd; then
        log "maria: not running"
        rm -f "$MARIA_PID"
        return 0
    fi
    log "maria: stopping (pid $pid)"
    maria_admin --shutdown-timeout="$ORL_STOP_TIMEOUT" shutdown >/dev/null 2>&1 || kill -TERM "$pid" 2>/dev/null || true
    wait_gone "$pid" mariadbd "$ORL_STOP_TIMEOUT" && return 0
    log "maria: no clean stop within ${ORL_STOP_TIMEOUT}s, killing"
    kill -KILL "$pid" 2>/dev/null || true
    wait_gone "$pid" mariadbd 10 || die "maria: pid $pid survived SIGKILL"
    rm -f "$MARIA_PID" "$MARIA_SOCK"
}

case "$target" in
    pg) pg_stop ;;
    maria) maria_stop ;;
    all) pg_stop; maria_stop ;;
esac
