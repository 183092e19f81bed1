#!/usr/bin/env bash
# The block benchmark's read ways counted in instructions instead of timed:
# each way runs alone under callgrind, which counts only its pass over the
# result (not the connect, not the table's making), so the ratios come out the
# same on a busy machine as on a quiet one. They leave out what a way costs in
# memory stalls and, on PostgreSQL, the server's own work.
#   scripts/bench-instructions.sh [build dir]    (default build)
# ORL_BENCH_ROWS (100000) rows a read; the test databases must be running.
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
dir="$(realpath -m "${1:-$repo/build}")"
. "$repo/scripts/odbc-env.sh"
command -v valgrind >/dev/null || { echo "bench-instructions.sh: valgrind is not installed" >&2; exit 1; }
bench="$dir/bench/bulk/bulk_block_bench"
[[ -x "$bench" ]] || { echo "bench-instructions.sh: build $bench first" >&2; exit 1; }
export ORL_BENCH_ROWS="${ORL_BENCH_ROWS:-100000}" ORL_BENCH_REPETITIONS=1
out="$(mktemp -d)"
trap 'rm -rf "$out"' EXIT

declare -A count
for db in sqlite pg pg-plain; do
    ways="RawRows RawArrays RawPreparedArrays BulkRows BulkBlocks"
    [[ "$db" == sqlite ]] && ways+=" RawTextArrays"
    for way in $ways; do
        # The pass of each way, as callgrind names it: the connect is left out.
        case "$way" in
        RawRows) fn=rawRowsPass ;;
        RawArrays | RawPreparedArrays) fn=rawArraysPass ;;
        RawTextArrays) fn=rawTextArraysPass ;;
        BulkRows | BulkBlocks) fn=bulkPass ;;
        esac
        valgrind --tool=callgrind --collect-atstart=no --toggle-collect="*::$fn(*" \
            --callgrind-out-file="$out/cg" "$bench" --benchmark_filter="^$db/$way/" \
            >"$out/log" 2>&1 || true
        n="$(sed -n 's/.*Collected : \([0-9]*\).*/\1/p' "$out/log" | tail -n1)"
        if [[ -z "$n" || "$n" == 0 ]] || grep -q "ERROR OCCURRED\|skipped" "$out/log"; then
            echo "$db/$way: no count (log below)" >&2
            tail -n 5 "$out/log" >&2
            continue
        fi
        count["$db/$way"]="$n"
        perRow="$(awk -v n="$n" -v r="$ORL_BENCH_ROWS" 'BEGIN { print n / r }')"
        printf '%-28s %14d instructions, %6.0f a row\n' "$db/$way" "$n" "$perRow"
    done
done

ratio() {
    local a="${count[$1]:-}" b="${count[$2]:-}"
    [[ -n "$a" && -n "$b" ]] || return 0
    printf '%-22s / %-26s %.3f  (%s)\n' "$1" "$2" "$(awk -v a="$a" -v b="$b" 'BEGIN { print a / b }')" "$3"
}
echo
echo "instruction ratios:"
for db in sqlite pg pg-plain; do
    ratio "$db/BulkBlocks" "$db/RawRows" "time target at most 0.80"
    ratio "$db/BulkBlocks" "$db/RawArrays" "time target at most 1.10"
    ratio "$db/BulkBlocks" "$db/RawPreparedArrays" "the same calls as the bulk path"
    ratio "$db/BulkRows" "$db/RawRows" "the row-at-a-time path"
done
ratio "sqlite/RawTextArrays" "sqlite/RawRows" "the driver's floor for text bindings"
ratio "sqlite/BulkBlocks" "sqlite/RawTextArrays" "ours on top of that floor"
