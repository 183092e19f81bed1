#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each to a bounded number of
# executions, two at a time (one per core). Fails on a crash, a sanitizer report
# or a broken invariant of a target, and prints each target's execution count.
#   scripts/fuzz.sh [runs per target]     (default 5000000, or ORL_FUZZ_RUNS)
# ORL_FUZZ_MAX_SECONDS caps each target's time (default 600). The driver target
# goes through the driver manager on every input and is run by time instead:
# ORL_FUZZ_DRIVER_SECONDS (default 150).
# Build dir: build-fuzz (ORL_FUZZ_BUILD_DIR). Findings land in <build>/fuzz-artifacts/.
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
runs="${1:-${ORL_FUZZ_RUNS:-5000000}}"
cap="${ORL_FUZZ_MAX_SECONDS:-600}"
driver_seconds="${ORL_FUZZ_DRIVER_SECONDS:-150}"
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

# Runs one target; its log goes to <build>/fuzz-logs/<name>.log.
run_target() {
    local target="$1" name="${1%_fuzz}" binary corpus artifacts limit
    binary="$(find "$dir/tests/fuzz" -type f -name "$target" -perm -u+x | head -n 1)"
    [[ -n "$binary" ]] || { echo "fuzz.sh: $target was not built" >&2; return 1; }
    corpus="$dir/fuzz-corpus/$name"
    artifacts="$dir/fuzz-artifacts/$name/"
    mkdir -p "$corpus" "$artifacts" "$dir/fuzz-logs"
    local seeds=()
    [[ -d "$repo/tests/fuzz/$name/seeds" ]] && seeds=("$repo/tests/fuzz/$name/seeds")
    if [[ "$target" == driver_fuzz ]]; then
        # The driver manager keeps memory from one input to the next, so a leak
        # scan would follow every input; leaks are still looked for at exit.
        limit=(-max_total_time="$driver_seconds" -detect_leaks=0)
    else
        limit=(-runs="$runs" -max_total_time="$cap")
    fi
    # New inputs go to the first directory (the build's corpus); the seeds are only read.
    ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}" \
        UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}" \
        "$binary" "${limit[@]}" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$artifacts" "$corpus" "${seeds[@]}" >"$dir/fuzz-logs/$name.log" 2>&1
}

status=0
# Two at a time: libFuzzer runs on one core.
for ((i = 0; i < ${#targets[@]}; i += 2)); do
    pids=()
    for target in "${targets[@]:i:2}"; do
        echo "fuzz.sh: running $target"
        run_target "$target" &
        pids+=("$!:$target")
    done
    for entry in "${pids[@]}"; do
        pid="${entry%%:*}" target="${entry#*:}" name="${target%_fuzz}"
        if ! wait "$pid"; then
            tail -n 60 "$dir/fuzz-logs/$name.log" >&2 || true
            echo "fuzz.sh: $target FAILED; reproducers in $dir/fuzz-artifacts/$name/" >&2
            status=1
        fi
        done_runs="$(sed -n 's/^stat::number_of_executed_units: *//p' "$dir/fuzz-logs/$name.log" | tail -n1)"
        echo "fuzz.sh: $target: ${done_runs:-?} executions"
        if [[ "$target" != driver_fuzz && "${done_runs:-0}" -lt "$runs" ]]; then
            echo "fuzz.sh: WARNING: $target stopped at its time cap before $runs executions" >&2
        fi
    done
done
exit "$status"
