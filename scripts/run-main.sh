#!/usr/bin/env bash
# From a fresh machine: installs what is needed, builds, and runs the main job:
# the command-line host loads the driver library, makes a table of every type
# in the embedded SQLite database, copies it through the driver's bulk path
# into a second SQLite database, verifies both sides and prints the summary.
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
cd "$repo"

bash scripts/install-deps.sh
bash scripts/build.sh release
. scripts/odbc-env.sh

orlodbc=./build/tools/orlodbc/orlodbc
"$orlodbc" --dsn orl_sqlite --user orl
"$orlodbc" query --dsn orl_sqlite --user orl \
    -e "DROP TABLE IF EXISTS orl_demo" \
    -e "CREATE TABLE orl_demo (id INTEGER PRIMARY KEY, name VARCHAR(20), note TEXT, amount DECIMAL(10,2),
        ratio DOUBLE, big BIGINT, seen TIMESTAMP, day DATE, at TIME, flag BOOLEAN, raw BLOB)" \
    -e "INSERT INTO orl_demo VALUES (1, 'first', 'comma, \"quote\"', 12.50, 0.1, 9007199254740993,
        '1969-12-31 23:59:59.999', '1950-02-03', '23:59:59', 1, X'00FF0001')" \
    -e "INSERT INTO orl_demo VALUES (2, 'second', '', -0.01, -1e10, -9000000000,
        '2026-11-21 08:00:00', '2026-11-21', '08:00:00', 0, X'')" \
    -e "INSERT INTO orl_demo (id) VALUES (3)"
"$orlodbc" copy --from orl_sqlite --from-user orl --to orl_sqlite_copy --to-user orl \
    --table orl_demo --create --drop-existing --verify
"$orlodbc" query --dsn orl_sqlite_copy --user orl --output json -e "SELECT * FROM orl_demo ORDER BY id"
