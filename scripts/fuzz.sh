#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each to a bounded number of
# executions. Fails on a crash, a sanitizer report or a broken invariant of a
# target, and prints each target's execution count.
#   scripts/fuzz.sh [runs per target]     (default 5000000, or ORL_FUZZ_RUNS)
# Every target runs at once and the system shares the cores among them: the
# driver target, which goes through the driver manager on every input and is
# the slowest by far, runs as ORL_FUZZ_DRIVER_JOBS processes (default 2) on one
# corpus, each taking its share of the runs, so the cores stay busy until the
# last run. ORL_FUZZ_MAX_SECONDS caps each process's time (default 900).
# Build dir: build-fuzz (ORL_FUZZ_BUILD_DIR). Findings land in <build>/fuzz-artifacts/.
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
runs="${1:-${ORL_FUZZ_RUNS:-5000000}}"
cap="${ORL_FUZZ_MAX_SECONDS:-900}"
driver_jobs="${ORL_FUZZ_DRIVER_JOBS:-2}"
dir="$(realpath -m "${ORL_FUZZ_BUILD_DIR:-$repo/build-fuzz}")"
jobs="${ORL_JOBS:-2}"
targets=(format_fuzz conversion_fuzz text_fuzz driver_fuzz)

launcher=()
if command -v ccache >/dev/null && [[ "${ORL_CCACHE:-1}" != 0 ]]; then
    export CCACHE_BASEDIR="$repo"
    launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
CC=clang CXX=clang++ cmake -S "$repo" -B "$dir" -G Ninja -DORL_FUZZ=ON -DORL_USE_TCMALLOC=OFF \
    -DORL_BUILD_TESTS=ON -DORL_BUILD_BENCH=OFF "${launcher[@]}" ${ORL_CMAKE_FLAGS:-}
# Only the fuzz targets: the rest of the tree is not built with the fuzzer flags.
cmake --build "$dir" -j "$jobs" --target "${targets[@]}"

# Runs one process of a target to $2 executions; its log goes to
# <build>/fuzz-logs/<log>.log.
run_target() {
    local target="$1" count="$2" log="$3" name="${1%_fuzz}" binary corpus artifacts
    binary="$(find "$dir/tests/fuzz" -type f -name "$target" -perm -u+x | head -n 1)"
    [[ -n "$binary" ]] || { echo "fuzz.sh: $target was not built" >&2; return 1; }
    corpus="$dir/fuzz-corpus/$name"
    artifacts="$dir/fuzz-artifacts/$name/"
    mkdir -p "$corpus" "$artifacts" "$dir/fuzz-logs"
    local seeds=() extra=()
    [[ -d "$repo/tests/fuzz/$name/seeds" ]] && seeds=("$repo/tests/fuzz/$name/seeds")
    # The driver manager keeps memory from one input to the next, so a leak
    # scan would follow every input; leaks are still looked for at exit. The
    # classic path prints each failed read's diagnostics to stdout, which
    # nobody reads here: closed, it costs nothing (reports go to stderr). Each
    # of its inputs reaches thousands of features, and the entropic schedule's
    # bookkeeping of them took a sixth of every run under perf.
    [[ "$target" == driver_fuzz ]] && extra=(-detect_leaks=0 -close_fd_mask=1 -entropic=0)
    # New inputs go to the first directory (the build's corpus, shared by the
    # processes of a target, which read each other's finds); the seeds are only read.
    ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}" \
        UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}" \
        "$binary" -runs="$count" -max_total_time="$cap" "${extra[@]}" -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$artifacts" "$corpus" "${seeds[@]}" >"$dir/fuzz-logs/$log.log" 2>&1
}

executions() { sed -n 's/^stat::number_of_executed_units: *//p' "$dir/fuzz-logs/$1.log" 2>/dev/null | tail -n1; }

rm -f "$dir"/fuzz-logs/*.log
pids=()
echo "fuzz.sh: running format_fuzz"
run_target format_fuzz "$runs" format &
pids+=("$!:format")
# The two quick targets one after the other, as one process's worth of work.
echo "fuzz.sh: running conversion_fuzz, then text_fuzz"
(run_target conversion_fuzz "$runs" conversion && run_target text_fuzz "$runs" text) &
pids+=("$!:conversion text")
share=$(((runs + driver_jobs - 1) / driver_jobs))
for ((j = 1; j <= driver_jobs; j++)); do
    echo "fuzz.sh: running driver_fuzz process $j of $driver_jobs"
    run_target driver_fuzz "$share" "driver-$j" &
    pids+=("$!:driver-$j")
done

status=0
for entry in "${pids[@]}"; do
    pid="${entry%%:*}" logs="${entry#*:}"
    if ! wait "$pid"; then
        for log in $logs; do
            [[ -f "$dir/fuzz-logs/$log.log" ]] || continue
            tail -n 60 "$dir/fuzz-logs/$log.log" >&2 || true
            echo "fuzz.sh: $log FAILED; reproducers in $dir/fuzz-artifacts/${log%-*}/" >&2
        done
        status=1
    fi
done

for name in format conversion text driver; do
    total=0
    for log in "$dir"/fuzz-logs/"$name".log "$dir"/fuzz-logs/"$name"-*.log; do
        [[ -f "$log" ]] || continue
        n="$(executions "$(basename "$log" .log)")"
        total=$((total + ${n:-0}))
    done
    echo "fuzz.sh: ${name}_fuzz: $total executions"
    if ((total < runs)); then
        echo "fuzz.sh: WARNING: ${name}_fuzz stopped at its time cap before $runs executions" >&2
    fi
done
exit "$status"
