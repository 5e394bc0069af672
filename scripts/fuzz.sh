#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, ASan+UBSan, in build-fuzz) and runs each in turn.
#   scripts/fuzz.sh [SECONDS] [TARGET...]
# SECONDS (default 60) is each target's run time. With 0 every target only replays its committed
# corpus once (the quick regression check CI makes). New inputs found go to build-fuzz/runs/<target>;
# a crash, leak or timeout leaves its input there and makes the script fail.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
seconds="${1:-60}"; shift || true
build="${TOVREL_FUZZ_BUILD:-$root/build-fuzz}"
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    targets=(fuzz_labels fuzz_plotrequests fuzz_scripthighlighter fuzz_outputhighlighter
             fuzz_plotsettings fuzz_updateanswer fuzz_singleinstance fuzz_demoscript fuzz_demodata)
fi

launcher=()
command -v ccache > /dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DTOVREL_FUZZ=ON -DTOVREL_BUILD_TESTS=OFF -DTOVREL_BUILD_BENCHMARKS=OFF "${launcher[@]}" \
    > "$build.configure.log" 2>&1 || { cat "$build.configure.log"; exit 1; }
cmake --build "$build" -j"$(nproc)" --target "${targets[@]}"

export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}"
export LSAN_OPTIONS="suppressions=$root/fuzz/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
export XDG_RUNTIME_DIR="$(mktemp -d)"
trap 'rm -rf "$XDG_RUNTIME_DIR"' EXIT

failed=0
for target in "${targets[@]}"; do
    corpus="$root/fuzz/corpus/$target"
    work="$build/runs/$target"
    mkdir -p "$work"
    # No input may take 100 ms; -timeout is whole seconds, so slow inputs are reported too.
    options=(-timeout=1 -report_slow_units=1 -rss_limit_mb=2048 -print_final_stats=1
             -artifact_prefix="$work/")
    if [ "$seconds" = 0 ]; then
        args=(-runs=0 "${options[@]}" "$corpus")
    else
        args=(-max_total_time="$seconds" "${options[@]}" "$work" "$corpus")
    fi
    echo "== $target"
    if ! "$build/fuzz/$target" "${args[@]}" > "$work/log.txt" 2>&1; then
        tail -n 60 "$work/log.txt"
        failed=1
    fi
    grep -E '^stat::number_of_executed_units|^stat::peak_rss_mb|cov: .*ft:' "$work/log.txt" \
        | tail -n 3 || true
done
exit $failed
