#!/usr/bin/env bash
# shellcheck source-path=SCRIPTDIR
# Installs every Debian package the build and the tests need.
# Fast and offline-safe when all is present: apt-get runs only for missing packages.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

PACKAGES=(
    g++ cmake ninja-build pkg-config make git python3 dpkg-dev
    unixodbc unixodbc-dev odbcinst libsqliteodbc sqlite3 odbc-postgresql odbc-mariadb
    postgresql mariadb-server mariadb-client
    libicu-dev libgoogle-perftools-dev libgtest-dev libgmock-dev libbenchmark-dev
    libcli11-dev libintelrdfpmath-dev clang libclang-rt-14-dev valgrind ccache
    # The copy benchmark: pgbench (shipped with the server of Debian 12's
    # PostgreSQL, 15, not with its client) makes the rows, and GNU time
    # reports the tool's peak memory.
    postgresql-15 time
)

missing=()
for p in "${PACKAGES[@]}"; do
    status="$(dpkg-query -W -f='${db:Status-Abbrev}' "$p" 2>/dev/null || true)"
    [[ "$status" == ii* ]] || missing+=("$p")
done

if ((${#missing[@]} == 0)); then
    log "all ${#PACKAGES[@]} packages present"
    exit 0
fi
log "missing: ${missing[*]}"

SUDO=()
if ((EUID != 0)); then
    command -v sudo >/dev/null || die "not root and no sudo: install ${missing[*]} by hand"
    SUDO=(sudo)
fi

# The server packages would start their system-wide instances on the default ports;
# ours run on their own ports and data dirs, so keep service starts off during the
# install unless the machine already has its own policy.
POLICY=/usr/sbin/policy-rc.d
if [[ ! -e "$POLICY" ]]; then
    "${SUDO[@]}" sh -c "printf '#!/bin/sh\nexit 101\n' > $POLICY && chmod 755 $POLICY"
    trap '"${SUDO[@]}" rm -f "$POLICY"' EXIT
fi

export DEBIAN_FRONTEND=noninteractive
"${SUDO[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
"${SUDO[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q \
    -o Dpkg::Options::=--force-confdef -o Dpkg::Options::=--force-confold "${missing[@]}"
log "installed: ${missing[*]}"

# The servers this script brought must not come up on their default ports at
# the next boot either: the tests start their own. A server that was there
# before is the machine's own business and stays as it was.
disable_service() {
    local service="$1"
    if command -v systemctl >/dev/null; then
        "${SUDO[@]}" systemctl disable "$service" >/dev/null 2>&1 || true
    fi
    if command -v update-rc.d >/dev/null && [[ -e "/etc/init.d/$service" ]]; then
        "${SUDO[@]}" update-rc.d "$service" disable >/dev/null 2>&1 || true
    fi
    log "left the system service $service disabled"
}
for p in "${missing[@]}"; do
    case "$p" in
        postgresql) disable_service postgresql ;;
        mariadb-server) disable_service mariadb ;;
    esac
done
