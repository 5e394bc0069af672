#!/usr/bin/env bash
# Installs the build into a scratch prefix and checks what a user gets: the layout, the installed
# studio answering --help/--version without a display or settings, opening an example and finding
# its engine and examples from there, the installed engine running an example, and the desktop
# files passing their validators.
#   tst_install.sh <build folder> <version> <application id>
build="$1" version="$2" app_id="$3"
# shellcheck source=tests/packaging/common.sh
source "$(dirname "$0")/common.sh"

prefix="$work/prefix"
# Twice: installing over an earlier install replaces its links without touching their targets.
for _ in 1 2; do
    cmake --install "$build" --prefix "$prefix" > "$work/install.log" 2>&1 \
        || { cat "$work/install.log"; fail "cmake --install failed"; }
done
private="$prefix/lib/tovrel-studio"
example_dir="$private/User Guide Examples/2.1-Linear Regression"

# Every piece where the studio or the desktop looks for it.
for path in bin/tovrel-studio lib/tovrel-studio/tovrel-studio lib/tovrel-studio/tovrel \
    lib/tovrel-studio/tovrel-demo "share/tovrel-studio/User Guide Examples/1.1-Potential Scale Reduction/slow.dat" \
    "lib/tovrel-studio/User Guide Examples/2.1-Linear Regression/linear_regression.imp" \
    lib/tovrel-studio/user-guide/index.html "share/applications/$app_id.desktop" \
    "share/metainfo/$app_id.metainfo.xml" "share/mime/packages/$app_id.xml" \
    share/doc/tovrel-studio/copyright; do
    [ -e "$prefix/$path" ] || fail "not installed: $path"; pass
done
[ -x "$private/tovrel" ] && [ -x "$prefix/bin/tovrel-studio" ] || fail "programs not executable"
# Links are relative, so the tree can be moved or packaged.
for link in bin/tovrel-studio lib/tovrel-studio/tovrel "lib/tovrel-studio/User Guide Examples" \
    lib/tovrel-studio/user-guide; do
    target="$(readlink "$prefix/$link")" || fail "$link is not a link"
    [[ "$target" != /* ]] || fail "$link points to the absolute $target"; pass
done
# Each icon is scalable and rendered at every usual size, at that size.
png_width() { echo $((16#$(od -An -tx1 -j16 -N4 "$1" | tr -d ' \n'))); }
for icon in "apps/$app_id" mimetypes/text-x-tovrel-script mimetypes/text-x-tovrel-output; do
    [ -s "$prefix/share/icons/hicolor/scalable/$icon.svg" ] || fail "no scalable $icon"
    for size in 16 22 24 32 48 64 128 256; do
        png="$prefix/share/icons/hicolor/${size}x${size}/$icon.png"
        [ "$(png_width "$png")" = "$size" ] || fail "$png is not ${size} pixels wide"; pass
    done
done

# --help and --version: standard output, exit 0, no display needed, no settings written.
cli_env=(env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb HOME="$work/cli-home"
         XDG_CONFIG_HOME="$work/cli-config")
for row in "--version|Tovrel Studio $version" "-h|Usage: tovrel-studio \[FILE\]" \
    "--help|--version      Show the version" "a.imp --version|Tovrel Studio $version"; do
    IFS='|' read -r arguments expected <<< "$row"
    # shellcheck disable=SC2086 # the arguments are meant to split
    "${cli_env[@]}" "$prefix/bin/tovrel-studio" $arguments > "$work/cli.out" 2> "$work/cli.err" \
        || fail "tovrel-studio $arguments exited with $?: $(cat "$work/cli.err")"
    need "$expected" "$work/cli.out" "tovrel-studio $arguments"
done
[ ! -e "$work/cli-config" ] && [ ! -e "$work/cli-home" ] || fail "--help or --version wrote settings"

# The installed studio, started through bin/ with an example, opens it and finds its engine and
# examples in the installed tree.
mkdir -p "$work/config" "$work/home" "$work/tmp" "$work/runtime" && chmod 700 "$work/runtime"
env XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache" XDG_DATA_HOME="$work/data" \
    XDG_RUNTIME_DIR="$work/runtime" HOME="$work/home" TMPDIR="$work/tmp" QT_QPA_PLATFORM=offscreen \
    "$prefix/bin/tovrel-studio" "$example_dir/linear_regression.imp" > "$work/studio.log" 2>&1 &
studio=$!
cleanup_steps+=("kill $studio 2>/dev/null; wait $studio 2>/dev/null")
settings="$work/config/tovrel/gui.conf"
for _ in $(seq 600); do
    if grep -q " ~ did_open ~ " "$work/studio.log" \
        && grep -qx "CommandLineToolName=$private/tovrel" "$settings" 2>/dev/null; then
        break
    fi
    kill -0 "$studio" 2>/dev/null || fail "the installed studio ended: $(cat "$work/studio.log")"
    sleep 0.1
done
need " ~ did_open ~ " "$work/studio.log" "the installed studio did not open the example"
need "^CommandLineToolName=$private/tovrel\$" "$settings" "the installed studio did not find its engine"
! grep -q "^FAILED" "$work/studio.log" || fail "the installed studio found no examples"
pass

# The installed engine runs the installed example (copied: the installed one is read-only).
cp -r "$example_dir" "$work/run"
"$private/tovrel" "$work/run/linear_regression.imp" --output "$work/run/out.tovrel-out" \
    --traceplot "$work/run" > "$work/engine.log" 2>&1 || fail "the engine failed: $(cat "$work/engine.log")"
[ -s "$work/run/out.tovrel-out" ] && [ -s "$work/run/burn1.csv" ] || fail "the engine wrote no output"
pass

# Desktop entry, software-centre metadata and file types: validated, and consistent.
desktop="$prefix/share/applications/$app_id.desktop"
metainfo="$prefix/share/metainfo/$app_id.metainfo.xml"
desktop-file-validate "$desktop" > "$work/validate.log" 2>&1 || fail "$(cat "$work/validate.log")"
appstreamcli validate --no-net "$metainfo" > "$work/validate.log" 2>&1 || fail "$(cat "$work/validate.log")"
need "^Exec=tovrel-studio %F\$" "$desktop" "desktop entry command"
need "^MimeType=text/x-tovrel-script;text/x-tovrel-output;\$" "$desktop" "desktop entry file types"
need "<release version=\"$version\"" "$metainfo" "no release entry for this version"
cp -r "$prefix/share/mime" "$work/mime"
update-mime-database "$work/mime" > "$work/validate.log" 2>&1 || fail "$(cat "$work/validate.log")"
need "text/x-tovrel-script:\*\.imp\$" "$work/mime/globs2" "script file type"
need "text/x-tovrel-output:\*\.tovrel-out\$" "$work/mime/globs2" "output file type"
! grep -qE ':\*\.(inp|out)$' "$work/mime/globs2" || fail "claims .inp or .out"
pass
echo "install: $checks checks passed"
