#!/usr/bin/env bash
# Measures orlodbc copy: ROWS rows (default 1,000,000) made in SQLite, copied
# into PostgreSQL with one job and with JOBS jobs (default 4), each with its
# rows/s. Needs the test databases running (scripts/db-start.sh pg).
#   scripts/measure-copy.sh [ROWS] [JOBS] [extra copy flags, e.g. --batch 1]
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
cd "$repo"
rows="${1:-1000000}"
jobs="${2:-4}"
shift $(($# < 2 ? $# : 2))
. scripts/odbc-env.sh >/dev/null
orlodbc=./build/tools/orlodbc/orlodbc

"$orlodbc" query --dsn orl_sqlite --user orl \
    -e "DROP TABLE IF EXISTS orl_measure" \
    -e "CREATE TABLE orl_measure (id INTEGER PRIMARY KEY, name TEXT, amount DOUBLE, qty BIGINT, at TIMESTAMP)" \
    -e "INSERT INTO orl_measure WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < $rows)
        SELECT x, 'customer ' || x, x * 0.25, x * 1000, datetime(1700000000 + x, 'unixepoch') FROM c" >/dev/null
for j in 1 "$jobs"; do
    "$orlodbc" copy --from orl_sqlite --from-user orl --to orl_pg --to-user orl --to-password orl_pw \
        --table orl_measure --create --drop-existing --commit-every 100000 --progress never \
        --jobs "$j" --split-by id "$@"
done
