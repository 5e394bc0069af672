#!/usr/bin/env bash
# The studio as a user meets it: a real X server with a window manager, the built studio started
# the way scripts/start.sh starts it (with the first example), and keys typed as real X input.
# Usage: tst_desktop.sh <build folder> <folder for the screenshots and logs>
# Exits 77 (skipped) when the X tools are missing.
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
build="$(cd "$1" && pwd)"
shots="$2"

for tool in Xvfb openbox xdotool import; do
    if ! command -v "$tool" > /dev/null; then
        echo "SKIP: $tool is not installed; scripts/install-deps.sh --test installs it."
        exit 77
    fi
done

rm -rf "$shots"
mkdir -p "$shots"
work="$(mktemp -d)"
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2> /dev/null || true; done
    for pid in "${pids[@]}"; do wait "$pid" 2> /dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT

# A private copy of what start.sh starts, so the example's output lands in the copy, and a home,
# settings, runtime and temporary folder of its own (the single-instance socket lives in TMPDIR).
mkdir -p "$work/build" "$work/home" "$work/config" "$work/cache" "$work/data" "$work/tmp" \
    "$work/runtime" "$work/scripts"
chmod 700 "$work/runtime"
cp -r "$build/bin" "$work/build/bin"
export HOME="$work/home" XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache" \
    XDG_DATA_HOME="$work/data" XDG_RUNTIME_DIR="$work/runtime" TMPDIR="$work/tmp"
export QT_QPA_PLATFORM=xcb
# Leaks are the QtTest suite's business; under X every process keeps a little of libdbus.
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"
unset WAYLAND_DISPLAY SESSION_MANAGER

step=0
fail() {
    echo "FAIL: $*"
    shot "failure"
    echo "--- studio log"; tail -n 40 "$shots/studio.log" || true
    exit 1
}
shot() {
    step=$((step + 1))
    sleep 0.5 # a window just mapped paints its content a moment later
    import -window root "$shots/$(printf '%02d' "$step")-$1.png" 2> /dev/null || true
}
# waitfor <seconds> <description> <command...>: polls the command until it succeeds.
waitfor() {
    local seconds="$1" what="$2"
    shift 2
    local end=$((SECONDS + seconds))
    until "$@" > /dev/null 2>&1; do
        [ "$SECONDS" -lt "$end" ] || fail "$what (after ${seconds} s)"
        sleep 0.2
    done
}
# A visible window whose title is exactly $1.
window_named() { xdotool search --onlyvisible --name "^$1\$" | head -n 1; }
has_window() { [ -n "$(window_named "$1")" ]; }
key() {
    xdotool windowactivate --sync "$studio_window" > /dev/null 2>&1 || true
    xdotool key --clearmodifiers "$@"
}
key_in() { # key_in <window title> <keys...>
    local target
    target="$(window_named "$1")"
    xdotool windowactivate --sync "$target" > /dev/null 2>&1 || true
    shift
    xdotool key --clearmodifiers "$@"
}
alive() { kill -0 "$1" 2> /dev/null; }
plots_made() { compgen -G "$work/tmp/tovrel-studio-*/plot1.svg" > /dev/null; }

# The display, then the window manager: without it no window is ever active.
Xvfb -displayfd 3 -screen 0 1400x900x24 -nolisten tcp 3> "$work/display" 2> "$shots/xvfb.log" &
pids+=($!)
waitfor 10 "Xvfb did not start" test -s "$work/display"
export DISPLAY=":$(head -n 1 "$work/display")"
openbox > "$shots/openbox.log" 2>&1 &
pids+=($!)
sleep 1

TOVREL_BUILD_DIR="$work/build" "$root/scripts/start.sh" --no-build > "$shots/studio.log" 2>&1 &
studio=$!
pids+=("$studio")
waitfor 30 "no studio window" has_window "Tovrel Studio"
studio_window="$(window_named "Tovrel Studio")"
sleep 1
shot "started-with-the-first-example"

echo "== Ctrl+R runs the example opened from the command line"
example="$(find "$work/build/bin/User Guide Examples" -name '*.imp' | sort | head -n 1)"
output="${example%.imp}.tovrel-out"
rm -f "$output"
key ctrl+r
waitfor 120 "Ctrl+R made no output file $output" test -s "$output"
waitfor 120 "no plots were made" plots_made
sleep 1
shot "ctrl-r-ran-the-example"

echo "== A refused run, then a good run in the same document"
cp "$(dirname "$example")"/* "$work/scripts/"
refused="$work/scripts/refused.imp"
{ echo "#!$work/no-such-engine"; cat "$example"; } > "$refused"
# A second start hands its file to the running studio.
"$work/build/bin/tovrel-studio" "$refused" >> "$shots/studio.log" 2>&1
sleep 2
key ctrl+r
sleep 1
shot "refused-run"
[ ! -e "${refused%.imp}.tovrel-out" ] || fail "the refused run wrote output"
# Drop the "#!" line, save and run again: Run must still be there.
key ctrl+Home shift+Down Delete ctrl+s
waitfor 10 "the script was not saved" sh -c "! grep -q '^#!' '$refused'"
key ctrl+r
waitfor 120 "the second run after a refused one made no output" test -s "${refused%.imp}.tovrel-out"
sleep 1
shot "good-run-after-the-refused-one"

echo "== Ctrl+Shift+S opens Save As"
key ctrl+shift+s
waitfor 10 "Ctrl+Shift+S opened no Save As dialog" has_window "Enter file name to save"
shot "save-as-dialog"
key_in "Enter file name to save" Escape
waitfor 10 "the Save As dialog stayed open" sh -c "! xdotool search --onlyvisible --name '^Enter file name to save$'"

echo "== Quitting with an unsaved script asks"
key ctrl+End
xdotool type --delay 30 "# unsaved"
key ctrl+q
waitfor 10 "quitting with an unsaved script asked nothing" has_window "refused.imp"
shot "quit-asks-to-save"
key_in "refused.imp" Escape
sleep 1
alive "$studio" || fail "the studio quit although the question was cancelled"
grep -q "# unsaved" "$refused" && fail "a cancelled question saved the script"

echo "== Closing while the engine runs asks first"
slow="$work/scripts/slow.imp"
printf '#!/bin/sh\necho $$ > "%s/engine.pid"\nexec sleep 60\n' "$work" > "$work/slow-engine"
chmod +x "$work/slow-engine"
{ echo "#!$work/slow-engine"; echo "DATA: slow.dat;"; } > "$slow"
"$work/build/bin/tovrel-studio" "$slow" >> "$shots/studio.log" 2>&1
sleep 2
key ctrl+r
# The "#!" line names a program that is none of the user's engines: the studio asks first.
waitfor 10 "a foreign program ran without a question" has_window "Warning!"
test -s "$work/engine.pid" && fail "the program ran while its question was open"
shot "foreign-program-asks-first"
# Cancel has the focus; "Run" (this once) is two buttons before it.
key_in "Warning!" shift+Tab shift+Tab space
waitfor 20 "the slow engine did not start" test -s "$work/engine.pid"
engine="$(cat "$work/engine.pid")"
key ctrl+w
waitfor 10 "closing a running document asked nothing" has_window "slow.imp"
shot "close-while-running-asks"
key_in "slow.imp" Escape
sleep 1
alive "$engine" || fail "Cancel stopped the engine"
key ctrl+w
waitfor 10 "the second close asked nothing" has_window "slow.imp"
# Cancel has the focus; the other button is "Stop and Close".
key_in "slow.imp" Tab space
waitfor 10 "Stop and Close left the engine running" sh -c "! kill -0 $engine"
sleep 1
shot "stopped-and-closed"

echo "PASS: the studio answered real keys on a real display; screenshots in $shots"
