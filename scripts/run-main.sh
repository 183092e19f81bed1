#!/usr/bin/env bash
# From a fresh machine: installs what is needed, builds, and runs the main job:
# the command-line host loads the driver library, connects through it to the
# embedded SQLite database, and writes and reads a small table.
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
cd "$repo"

bash scripts/install-deps.sh
bash scripts/build.sh release
. scripts/odbc-env.sh

orlodbc=./build/tools/orlodbc/orlodbc
"$orlodbc" --dsn orl_sqlite --user orl
"$orlodbc" --dsn orl_sqlite --user orl \
    -e "DROP TABLE IF EXISTS orl_demo" \
    -e "CREATE TABLE orl_demo (id INTEGER PRIMARY KEY, name VARCHAR(20), amount DECIMAL(10,2), seen TIMESTAMP)" \
    -e "INSERT INTO orl_demo VALUES (1, 'first', 12.50, '1969-12-31 23:59:59.999')" \
    -e "INSERT INTO orl_demo VALUES (2, 'second', -0.01, '2026-11-21 08:00:00')" \
    -e "INSERT INTO orl_demo (id) VALUES (3)" \
    -e "SELECT id, name, amount, seen FROM orl_demo ORDER BY id"
