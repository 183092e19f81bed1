#!/usr/bin/env bash
# shellcheck source-path=SCRIPTDIR
# Starts the throwaway test servers: scripts/db-start.sh [pg|maria|all]   (default all)
# PostgreSQL on 127.0.0.1:55432, MariaDB on 127.0.0.1:53306, data and sockets under $ORL_RUN_DIR.
# Account: orl / orl_pw, database orl_test, password authentication over TCP.
# Idempotent: a running server is left alone, an existing data dir is reused.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
target="$(parse_target "${1:-all}")"

# As root, the postgres user must be able to walk down to its directory; a clone under
# /root (mode 700) would stop it, so grant search (not read) permission on the way.
pg_make_reachable() {
    ((EUID == 0)) || return 0
    local d="" part parts
    IFS=/ read -ra parts <<<"${PG_DIR#/}"
    for part in "${parts[@]}"; do      # top down: a parent must be fixed before its child is tested
        d="$d/$part"
        if ! as_pg test -x "$d"; then
            log "granting o+x on $d so the postgres user can reach $PG_DIR"
            chmod o+x "$d"
        fi
    done
}

pg_init() {
    local bin="$1"
    log "pg: initialising $PG_DATA"
    rm -rf "$PG_DATA"
    as_pg "$bin/initdb" -D "$PG_DATA" -U "$PG_OS_USER" -E UTF8 --no-locale --no-sync \
        --auth-local=peer --auth-host=scram-sha-256 >"$PG_DIR/initdb.log" 2>&1 ||
        { log_tail "$PG_DIR/initdb.log"; die "pg: initdb failed"; }
    # Only the superuser on the socket (for setup) and password logins on loopback.
    as_pg tee "$PG_DATA/pg_hba.conf" >/dev/null <<HBA
# TYPE  DATABASE  USER  ADDRESS       METHOD
local   all       $PG_OS_USER          peer
host    all       all   127.0.0.1/32  scram-sha-256
HBA
    echo "include_if_exists = 'orl.conf'" | as_pg tee -a "$PG_DATA/postgresql.conf" >/dev/null
}

pg_start() {
    local bin
    mkdir -p "$PG_DIR"
    ((EUID != 0)) || chown "$PG_OS_USER:" "$PG_DIR"
    pg_make_reachable
    bin="$(pg_bindir)"
    if as_pg "$bin/pg_ctl" -D "$PG_DATA" status >/dev/null 2>&1; then
        log "pg: already running"
    else
        [[ -f "$PG_DATA/PG_VERSION" ]] || pg_init "$bin"
        # Rewritten on every start so a moved run dir still gets the right socket dir.
        # fsync off: the data is thrown away, and table churn in tests gets much faster.
        as_pg tee "$PG_DATA/orl.conf" >/dev/null <<CONF
listen_addresses = '127.0.0.1'
port = $ORL_PG_PORT
unix_socket_directories = '$PG_DIR'
password_encryption = 'scram-sha-256'
fsync = off
synchronous_commit = off
full_page_writes = off
CONF
        log "pg: starting on 127.0.0.1:$ORL_PG_PORT"
        as_pg "$bin/pg_ctl" -D "$PG_DATA" -l "$PG_LOG" -w -t "$ORL_START_TIMEOUT" -s start ||
            { log_tail "$PG_LOG"; die "pg: server did not start (a server of another run dir on port $ORL_PG_PORT? see ORL_PG_PORT in scripts/README.md)"; }
    fi
    as_pg "$bin/psql" -X -q -v ON_ERROR_STOP=1 -h "$PG_DIR" -p "$ORL_PG_PORT" -U "$PG_OS_USER" -d postgres \
        >/dev/null <<SQL || { log_tail "$PG_LOG"; die "pg: account setup failed"; }
SELECT format('CREATE ROLE %I LOGIN', '$ORL_DB_USER')
 WHERE NOT EXISTS (SELECT 1 FROM pg_roles WHERE rolname = '$ORL_DB_USER') \gexec
ALTER ROLE $ORL_DB_USER LOGIN PASSWORD '$ORL_DB_PASSWORD';
SELECT format('CREATE DATABASE %I OWNER %I', '$ORL_DB_NAME', '$ORL_DB_USER')
 WHERE NOT EXISTS (SELECT 1 FROM pg_database WHERE datname = '$ORL_DB_NAME') \gexec
SQL
    PGPASSWORD="$ORL_DB_PASSWORD" PGCONNECT_TIMEOUT=5 "$bin/psql" -X -qAt -h 127.0.0.1 -p "$ORL_PG_PORT" \
        -U "$ORL_DB_USER" -d "$ORL_DB_NAME" -c 'select 1' >/dev/null ||
        die "pg: password login as $ORL_DB_USER failed"
    log "pg: ready ($ORL_DB_USER@127.0.0.1:$ORL_PG_PORT/$ORL_DB_NAME)"
}

maria_init() {
    log "maria: initialising $MARIA_DATA"
    rm -rf "$MARIA_DATA"
    mkdir -p "$MARIA_DATA"
    mariadb-install-db --no-defaults --datadir="$MARIA_DATA" --user="$(id -un)" \
        --auth-root-authentication-method=socket --skip-test-db --skip-name-resolve \
        >"$MARIA_DIR/install.log" 2>&1 ||
        { log_tail "$MARIA_DIR/install.log"; die "maria: mariadb-install-db failed"; }
    touch "$MARIA_DIR/.initialized"
}

maria_wait() {
    local pid="$1" deadline=$((SECONDS + ORL_START_TIMEOUT))
    until maria_admin ping >/dev/null 2>&1; do
        pid_is "$pid" mariadbd || { log_tail "$MARIA_LOG"; die "maria: server exited during start (a server of another run dir on port $ORL_MARIA_PORT? see ORL_MARIA_PORT in scripts/README.md)"; }
        ((SECONDS < deadline)) || { log_tail "$MARIA_LOG"; die "maria: server did not start within ${ORL_START_TIMEOUT}s"; }
        sleep 0.5
    done
}

maria_start() {
    local pid user_opt=()
    mkdir -p "$MARIA_DIR/tmp"
    pid="$(maria_pid)"
    if pid_is "$pid" mariadbd; then
        log "maria: already running (pid $pid)"
    else
        [[ -f "$MARIA_DIR/.initialized" ]] || maria_init
        rm -f "$MARIA_PID" "$MARIA_SOCK"
        ((EUID != 0)) || user_opt=(--user=root)
        log "maria: starting on 127.0.0.1:$ORL_MARIA_PORT"
        # --no-defaults keeps the system my.cnf (its socket, port and log paths) out;
        # setsid detaches the server from the caller's session and signals.
        # local-infile: the copy benchmark's loader reads its CSV file from the
        # client; said here so a changed server default can't turn it off.
        setsid mariadbd --no-defaults "${user_opt[@]}" --datadir="$MARIA_DATA" \
            --bind-address=127.0.0.1 --port="$ORL_MARIA_PORT" --socket="$MARIA_SOCK" \
            --pid-file="$MARIA_PID" --tmpdir="$MARIA_DIR/tmp" --skip-name-resolve \
            --character-set-server=utf8mb4 --collation-server=utf8mb4_general_ci \
            --innodb-flush-log-at-trx-commit=2 --max-allowed-packet=256M --local-infile=1 \
            </dev/null >>"$MARIA_LOG" 2>&1 &
        pid=$!
    fi
    maria_wait "$pid"
    # Both hosts: TCP from 127.0.0.1 matches the first, the socket the second.
    maria_admin_client <<SQL || { log_tail "$MARIA_LOG"; die "maria: account setup failed"; }
CREATE DATABASE IF NOT EXISTS $ORL_DB_NAME CHARACTER SET utf8mb4;
CREATE USER IF NOT EXISTS '$ORL_DB_USER'@'127.0.0.1';
CREATE USER IF NOT EXISTS '$ORL_DB_USER'@'localhost';
ALTER USER '$ORL_DB_USER'@'127.0.0.1' IDENTIFIED BY '$ORL_DB_PASSWORD';
ALTER USER '$ORL_DB_USER'@'localhost' IDENTIFIED BY '$ORL_DB_PASSWORD';
GRANT ALL PRIVILEGES ON $ORL_DB_NAME.* TO '$ORL_DB_USER'@'127.0.0.1';
GRANT ALL PRIVILEGES ON $ORL_DB_NAME.* TO '$ORL_DB_USER'@'localhost';
SQL
    mariadb --no-defaults --protocol=tcp -h 127.0.0.1 -P "$ORL_MARIA_PORT" --connect-timeout=5 \
        -u "$ORL_DB_USER" -p"$ORL_DB_PASSWORD" "$ORL_DB_NAME" -e 'select 1' >/dev/null ||
        die "maria: password login as $ORL_DB_USER failed"
    log "maria: ready ($ORL_DB_USER@127.0.0.1:$ORL_MARIA_PORT/$ORL_DB_NAME)"
}

case "$target" in
    pg) pg_start ;;
    maria) maria_start ;;
    all) pg_start; maria_start ;;
esac
