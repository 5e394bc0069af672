#!/usr/bin/env bash
# Builds and runs the whole test suite twice: a normal build, then one under AddressSanitizer
# and UndefinedBehaviorSanitizer. Tests run headless; the normal build's QtTest suite runs once
# more on a virtual X display, and the desktop tests drive the studio there with real keys.
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

# The QtTest suite once more on a real X server with a window manager (xcb), where window
# activation, focus and key bindings behave as on a user's desktop and not as offscreen.
run_on_xcb() {
    local build="$1" work pids=()
    work="$(mktemp -d)"
    echo "== $(basename "$build"): tests on xcb (Xvfb and openbox)"
    Xvfb -displayfd 3 -screen 0 1400x900x24 -nolisten tcp 3> "$work/display" 2> /dev/null &
    pids+=($!)
    for _ in $(seq 50); do [ -s "$work/display" ] && break; sleep 0.2; done
    local display=":$(head -n 1 "$work/display")"
    DISPLAY="$display" openbox > /dev/null 2>&1 &
    pids+=($!)
    sleep 1
    local status=0
    # One test at a time: tests on one display would take the focus from each other.
    DISPLAY="$display" QT_QPA_PLATFORM=xcb \
        ctest --test-dir "$build" --output-on-failure -L qttest || status=$?
    kill "${pids[@]}" 2> /dev/null || true
    wait "${pids[@]}" 2> /dev/null || true
    rm -rf "$work"
    return "$status"
}

mkdir -p "$root/build-tests"
run_suite "$root/build-tests/release" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTOVREL_BUILD_BENCHMARKS=OFF
run_on_xcb "$root/build-tests/release"
run_suite "$root/build-tests/sanitize" -DCMAKE_BUILD_TYPE=Debug -DTOVREL_SANITIZE=ON \
    -DTOVREL_BUILD_BENCHMARKS=OFF

# Every fuzz target for a few seconds from its committed corpus, so a regression in a parser
# shows at once (clang and libFuzzer come with the test packages).
echo "== fuzz: short pass over the committed corpora"
TOVREL_FUZZ_BUILD="$root/build-tests/fuzz" "$root/scripts/fuzz.sh" 5
