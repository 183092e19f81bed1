#!/usr/bin/env bash
# Measures orlodbc copy's peak memory and speed, in chunks and read whole:
# pgbench_accounts at SCALE (default 10: 1,000,000 rows) from PostgreSQL and
# from SQLite, through their default data sources, into each of the three
# databases. pgbench comes with the PostgreSQL server package. Needs the test
# databases running (scripts/db-start.sh all); prints the load first, as
# timings on a shared machine vary with it, and runs each copy REPEAT times
# (default 3), in chunks and whole in turn, giving the median rows/s and the
# largest peak.
#   ORL_REPEAT=3 scripts/measure-chunks.sh [SCALE] [extra copy flags, e.g. --verify]
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
cd "$repo"
scale="${1:-10}"
repeat="${ORL_REPEAT:-3}"
shift $(($# < 1 ? $# : 1))
. scripts/odbc-env.sh >/dev/null
orlodbc=./build/tools/orlodbc/orlodbc
pg=(--from orl_pg --from-user orl --from-password orl_pw)
sqlite=(--from orl_sqlite --from-user orl)
declare -A to=([pg]="--to orl_pg --to-user orl --to-password orl_pw"
               [maria]="--to orl_maria --to-user orl --to-password orl_pw"
               [sqlite]="--to orl_sqlite_copy --to-user orl")

PGPASSWORD=orl_pw pgbench -i -q -s "$scale" -h 127.0.0.1 -p "${ORL_PG_PORT:-55432}" -U orl orl_test >/dev/null 2>&1
"$orlodbc" copy "${pg[@]}" --to orl_sqlite --to-user orl --table pgbench_accounts --create --drop-existing \
    --progress never >/dev/null
uptime
printf '%-8s %-7s %-7s %10s %12s\n' from to chunks "peak MB" "rows/s"
median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
for from in pg sqlite; do
    if [ "$from" = pg ]; then src=("${pg[@]}"); else src=("${sqlite[@]}"); fi
    for dst in pg maria sqlite; do
        declare -A peaks=() rates=()
        for ((r = 0; r < repeat; r++)); do
            for chunks in 50000 0; do
                # shellcheck disable=SC2086
                out=$( { /usr/bin/time -f 'peak %M' "$orlodbc" copy "${src[@]}" ${to[$dst]} --table pgbench_accounts \
                        --to-table orl_measure_acc --create --drop-existing --progress never --chunk-rows "$chunks" \
                        "$@"; } 2>&1)
                peaks[$chunks]+="$(sed -n 's/^peak \([0-9]*\)$/\1/p' <<<"$out") "
                rates[$chunks]+="$(sed -n 's/^copied .* s (\([0-9,]*\) rows\/s.*/\1/p' <<<"$out" | tr -d ,) "
            done
        done
        for chunks in 50000 0; do
            peak=$(tr ' ' '\n' <<<"${peaks[$chunks]}" | sort -n | tail -1)
            rate=$(tr ' ' '\n' <<<"${rates[$chunks]}" | grep . | median)
            printf '%-8s %-7s %-7s %10d %12d\n' "$from" "$dst" "$chunks" $((peak / 1024)) "$rate"
        done
    done
done
uptime
