#!/usr/bin/env bash
# Builds and runs the whole test suite twice: a normal build, then one under AddressSanitizer
# and UndefinedBehaviorSanitizer. Tests run headless.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
jobs="$(nproc)"

"$root/scripts/install-deps.sh" --test

export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"

run_suite() {
    local build="$1"; shift
    echo "== $(basename "$build"): configure and build"
    cmake -S "$root" -B "$build" -G Ninja "$@" > "$build.configure.log" 2>&1 \
        || { cat "$build.configure.log"; return 1; }
    cmake --build "$build" -j"$jobs"
    echo "== $(basename "$build"): tests"
    ctest --test-dir "$build" --output-on-failure -j"$jobs"
}

mkdir -p "$root/build-tests"
run_suite "$root/build-tests/release" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTOVREL_BUILD_BENCHMARKS=OFF
run_suite "$root/build-tests/sanitize" -DCMAKE_BUILD_TYPE=Debug -DTOVREL_SANITIZE=ON \
    -DTOVREL_BUILD_BENCHMARKS=OFF

# Every fuzz target for a few seconds from its committed corpus, so a regression in a parser
# shows at once (clang and libFuzzer come with the test packages).
echo "== fuzz: short pass over the committed corpora"
TOVREL_FUZZ_BUILD="$root/build-tests/fuzz" "$root/scripts/fuzz.sh" 5
