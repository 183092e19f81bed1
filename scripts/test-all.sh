#!/usr/bin/env bash
# From a fresh machine: installs, builds (plain and sanitizer), starts the test
# databases, runs every test, and stops the databases again.
set -euo pipefail
repo="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"
cd "$repo"

bash scripts/install-deps.sh
bash scripts/build.sh release
bash scripts/build.sh asan
bash scripts/build.sh tsan

. scripts/odbc-env.sh
trap 'bash scripts/db-stop.sh all || true' EXIT
bash scripts/db-start.sh all

# The host against every database first: the quickest sign the rig is whole.
for dsn in orl_sqlite orl_pg orl_maria; do
    ./build/tools/orlodbc/orlodbc --dsn "$dsn" --user orl --password orl_pw
done

# Runs one ctest and adds its count of test programs to the tally.
passed=0
run_ctest() {
    local out
    out="$(mktemp)"
    ctest "$@" --output-on-failure 2>&1 | tee "$out"
    local status="${PIPESTATUS[0]}"
    local n
    n="$(sed -n 's/.*tests passed, 0 tests failed out of \([0-9]*\).*/\1/p' "$out" | tail -n1)"
    passed=$((passed + ${n:-0}))
    rm -f "$out"
    return "$status"
}

# Integration tests share tables in the servers, so they run one at a time.
run_ctest --test-dir build -L unit -j "$(nproc)"
run_ctest --test-dir build -L integration

# The SQLite integration tests under valgrind's memcheck.
bash scripts/memcheck.sh build

# Peak memory of a 5,000,000-row read against a 100,000-row one, both front ends.
./build/bench/memory/long_read --dsn orl_pg_cursor --small 100000 --large 5000000

# Leaks inside the databases' own ODBC drivers and the driver manager are
# theirs, not ours; everything of this project is still checked.
export LSAN_OPTIONS="suppressions=$repo/scripts/lsan.supp:print_suppressions=0"
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
# The thread test writes 50,000 rows a thread in the plain build; fewer under
# the sanitizers, which multiply the cost of every call.
ORL_STRESS_ROWS=5000 run_ctest --test-dir build-asan

# The race detector over the unit tests and the thread test. Its suppressions
# name only the databases' ODBC drivers and the driver manager.
export TSAN_OPTIONS="suppressions=$repo/scripts/tsan.supp:halt_on_error=1:second_deadlock_stack=1"
run_ctest --test-dir build-tsan -L unit -j "$(nproc)"
ORL_STRESS_ROWS=2000 run_ctest --test-dir build-tsan -R thread_stress_integration
# orlodbc copy --jobs: one bulk connection pair per thread through the loaded driver.
run_ctest --test-dir build-tsan -R orlodbc_integration

# Every parser of outside text, and the read paths over a driver that returns
# what the fuzzer chooses, under the fuzzer for a bounded number of executions.
bash scripts/fuzz.sh "${ORL_FUZZ_RUNS:-5000000}"

echo "test programs: $passed passed, 0 failed"
