#!/bin/sh
# Hardening checks: the whole test suite under AddressSanitizer +
# UndefinedBehaviorSanitizer, the concurrency test under ThreadSanitizer, the
# test programs under valgrind memcheck, and a timed run of every libFuzzer
# target. Needs tools/setup.sh (clang, libclang-rt-14-dev, valgrind).
#
#   tools/hardening.sh           all four; 60 s per fuzz target
#   tools/hardening.sh --quick   ASan + UBSan test suite and 20 s per fuzz target
#
# Builds in build-asan/, build-tsan/, build-fuzz/ (and build/ for valgrind).
# FUZZ_SECONDS overrides the time per fuzz target, FUZZ_SEED its seed (0: a
# new one). Exits non-zero on the first failing check.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
quick=0
case "${1:-}" in
    --quick) quick=1 ;;
    "") ;;
    *) echo "usage: $0 [--quick]" >&2; exit 2 ;;
esac
# The quick run (CI) fuzzes from a fixed seed, so that a run explores the same
# inputs in the same order every time and a failure can be replayed; the full
# run takes a new seed each time. FUZZ_SEED overrides either.
if [ "$quick" = 1 ]; then
    seconds=${FUZZ_SECONDS:-20}; seed=${FUZZ_SEED:-1}
else
    seconds=${FUZZ_SECONDS:-60}; seed=${FUZZ_SEED:-0}
fi
jobs=$(nproc)
supp=$root/tools/sanitizers

# Sanitizer reports are fatal. The one retained allocation of
# FNCHypergeometricCDF is the only suppressed leak. A failed allocation
# returns null (and new throws std::bad_alloc) as it would without ASan, so
# that a refused size is the program's answer, not a sanitizer report.
export ASAN_OPTIONS="detect_leaks=1:allocator_may_return_null=1:detect_stack_use_after_return=1:strict_init_order=1:check_initialization_order=1"
export LSAN_OPTIONS="suppressions=$supp/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$supp/tsan.supp"

summary=""
note() { summary="$summary$1
"; echo "== $1"; }
now() { date +%s; }

configure() {  # configure DIR CMAKE-ARGS...
    dir=$1; shift
    cmake -S "$root" -B "$root/$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ "$@" >/dev/null
}

# ---- ASan + UBSan: the whole test suite --------------------------------------
t0=$(now)
configure build-asan -DKCM_SANITIZE=address
cmake --build "$root/build-asan" -j "$jobs"
t1=$(now)
(cd "$root/build-asan" && ctest --output-on-failure -j "$jobs")
t2=$(now)
note "ASan+UBSan: build $((t1 - t0)) s, test suite $((t2 - t1)) s, no report"

if [ "$quick" = 0 ]; then
    # ---- TSan: the concurrency test ------------------------------------------
    t0=$(now)
    configure build-tsan -DKCM_SANITIZE=thread
    cmake --build "$root/build-tsan" -j "$jobs" --target test_concurrency
    t1=$(now)
    "$root/build-tsan/tests/test_concurrency" | grep -E 'threads|PASSED|FAILED'
    t2=$(now)
    note "TSan: build $((t1 - t0)) s, concurrency test $((t2 - t1)) s, no report"

    # ---- valgrind memcheck: the test programs --------------------------------
    # The ordinary build (tools/build.sh); python and the consumer project are
    # not test programs of this library and stay out.
    [ -d "$root/build" ] || "$root/tools/build.sh"
    cmake --build "$root/build" -j "$jobs"
    t0=$(now)
    # memcheck's verdict is its exit status 99. valgrind computes x87 80-bit
    # arithmetic in 64 bits, so assertions on long-double accuracy may fail
    # under it (exit status 1): reported, not counted against memcheck.
    for program in "$root"/build/tests/test_*; do
        [ -x "$program" ] || continue
        name=$(basename "$program")
        log=$root/build/$name.valgrind.log
        s0=$(now)
        status=0
        valgrind --quiet --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite \
            --show-leak-kinds=definite --track-origins=yes \
            --suppressions="$supp/valgrind.supp" "$program" >"$log" 2>&1 || status=$?
        case $status in
            0) echo "valgrind: $name clean in $(($(now) - s0)) s" ;;
            1) echo "valgrind: $name clean in $(($(now) - s0)) s (assertions differing under valgrind's 64-bit x87: $(grep -c '^\[  FAILED  \]' "$log"))" ;;
            *) tail -n 60 "$log"
               echo "valgrind: $name failed (exit status $status), log in $log" >&2
               exit 1 ;;
        esac
    done
    note "valgrind memcheck: every test program clean in $(($(now) - t0)) s"
fi

# ---- libFuzzer targets ----------------------------------------------------------
t0=$(now)
configure build-fuzz -DKCM_FUZZ=ON
cmake --build "$root/build-fuzz" -j "$jobs"
note "fuzz build: $(($(now) - t0)) s"
for target in fuzz_scalar fuzz_linalg fuzz_arrays; do
    corpus=$root/build-fuzz/corpus/$target
    mkdir -p "$corpus"
    log=$root/build-fuzz/$target.log
    s0=$(now)
    # Runs in the seed corpus too, then grows its own working copy.
    # The per-input limit leaves room for a machine busy with other work.
    "$root/build-fuzz/fuzz/$target" -max_total_time="$seconds" -seed="$seed" -timeout=30 -rss_limit_mb=4096 \
        -print_final_stats=1 -artifact_prefix="$root/build-fuzz/$target-" \
        "$corpus" "$root/fuzz/corpus/$target" >"$log" 2>&1 || {
        grep -E '^\*\*\*|ERROR|SUMMARY|runtime error' "$log" | head -n 20
        echo "fuzz: $target failed, log in $log; the input is build-fuzz/$target-*" >&2
        exit 1
    }
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    note "fuzz: $target $runs executions in $(($(now) - s0)) s"
done

echo
echo "Hardening checks passed:"
printf '%s' "$summary"
