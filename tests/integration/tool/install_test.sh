#!/usr/bin/env bash
# cmake --install into a scratch prefix: the installed orlodbc reports its
# version, finds the installed driver and host libraries, and connects.
set -euo pipefail
build="$1"
prefix="$(mktemp -d)"
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
tool="$prefix/bin/orlodbc"
"$tool" --version | grep -Eq '^orlodbc [0-9]+\.[0-9]+\.[0-9]+$'
unset ORL_DRIVER_PATH
"$tool" --help | grep -q -- "--driver TEXT=$prefix/bin/../lib/liborl_db_odbc64_lib.so"
if ldd "$tool" | grep -q 'liborl_.*not found'; then
    echo "host libraries not found" >&2
    exit 1
fi
"$tool" --dsn orl_sqlite --user orl | grep -qx 'database: OTHERS'
echo "installed under $prefix: ok"
