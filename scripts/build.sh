#!/usr/bin/env bash
# Configures and builds one flavour of the tree.
#   scripts/build.sh [release|asan|tsan]
#     release -> build/       optimised with debug info, tcmalloc, tests and benchmarks
#     asan    -> build-asan/  AddressSanitizer + UndefinedBehaviorSanitizer, tcmalloc off, no benchmarks
#     tsan    -> build-tsan/  ThreadSanitizer, tcmalloc off, no benchmarks
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
flavour="${1:-release}"
jobs="${ORL_JOBS:-$(nproc)}"

case "$flavour" in
    release) dir="$repo/build";      flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo) ;;
    asan)    dir="$repo/build-asan"; flags=(-DCMAKE_BUILD_TYPE=Debug -DORL_SANITIZE=ON -DORL_BUILD_BENCH=OFF) ;;
    tsan)    dir="$repo/build-tsan"; flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DORL_TSAN=ON -DORL_BUILD_BENCH=OFF) ;;
    *) echo "usage: $0 [release|asan|tsan]" >&2; exit 2 ;;
esac

# The same sources are built in up to four flavours; a compiler cache keeps a
# rebuild (or another checkout of the same code) from compiling them again.
if command -v ccache >/dev/null && [[ "${ORL_CCACHE:-1}" != 0 ]]; then
    export CCACHE_BASEDIR="$repo"
    flags+=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi

cmake -S "$repo" -B "$dir" -G Ninja "${flags[@]}" ${ORL_CMAKE_FLAGS:-}
cmake --build "$dir" -j "$jobs"
