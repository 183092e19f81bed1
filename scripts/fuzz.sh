#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for a bounded time.
# Fails on a crash, a sanitizer report or a broken invariant of a target.
#   scripts/fuzz.sh [seconds per target]      (default 60, or ORL_FUZZ_SECONDS)
# Build dir: build-fuzz (ORL_FUZZ_BUILD_DIR). Findings land in <build>/fuzz-artifacts/.
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
seconds="${1:-${ORL_FUZZ_SECONDS:-60}}"
dir="$(realpath -m "${ORL_FUZZ_BUILD_DIR:-$repo/build-fuzz}")"
jobs="${ORL_JOBS:-2}"
targets=(conversion_fuzz text_fuzz format_fuzz)

CC=clang CXX=clang++ cmake -S "$repo" -B "$dir" -G Ninja -DORL_FUZZ=ON -DORL_USE_TCMALLOC=OFF \
    -DORL_BUILD_TESTS=ON -DORL_BUILD_BENCH=OFF ${ORL_CMAKE_FLAGS:-}
# Only the fuzz targets: the rest of the tree is not built with the fuzzer flags.
cmake --build "$dir" -j "$jobs" --target "${targets[@]}"

status=0
for target in "${targets[@]}"; do
    name="${target%_fuzz}"
    binary="$(find "$dir/tests/fuzz" -type f -name "$target" -perm -u+x | head -n 1)"
    [[ -n "$binary" ]] || { echo "fuzz.sh: $target was not built" >&2; exit 1; }
    corpus="$dir/fuzz-corpus/$name"
    artifacts="$dir/fuzz-artifacts/$name/"
    mkdir -p "$corpus" "$artifacts"
    seeds=()
    [[ -d "$repo/tests/fuzz/$name/seeds" ]] && seeds=("$repo/tests/fuzz/$name/seeds")
    echo "fuzz.sh: running $target for ${seconds}s"
    # New inputs go to the first directory (the build's corpus); the seeds are only read.
    if ! ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}" \
        UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}" \
        "$binary" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$artifacts" "$corpus" "${seeds[@]}"; then
        echo "fuzz.sh: $target FAILED; reproducers in $artifacts" >&2
        status=1
    fi
done
exit "$status"
