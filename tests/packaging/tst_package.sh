#!/usr/bin/env bash
# Builds the Debian package from the finished build and reads it back: control fields, the file
# list, every shared library the programs load coming from a package it depends on, and the
# unpacked studio answering --version.
#   tst_package.sh <build folder> <version> <application id>
build="$1" version="$2" app_id="$3"
# shellcheck source=tests/packaging/common.sh
source "$(dirname "$0")/common.sh"

cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work" > "$work/cpack.log" 2>&1 \
    || { cat "$work/cpack.log"; fail "cpack failed"; }
arch="$(dpkg --print-architecture)"
deb="$work/tovrel-studio_${version}_$arch.deb"
[ -f "$deb" ] || fail "no $deb: $(ls "$work")"
echo "package: $(basename "$deb"), $(stat -c %s "$deb") bytes"

dpkg-deb -f "$deb" > "$work/control"
for field in "Package: tovrel-studio" "Version: $version" "Architecture: $arch" "Section: science" \
    "Maintainer: ..*<.*@.*>" "Homepage: https://" "Description: .*Tovrel" \
    "Depends: .*gnuplot-nox" "Depends: .*libqt6widgets6 (>= 6" "Depends: .*libqt6svg6"; do
    need "^$field" "$work/control" "control field"
done
depends="$(sed -n 's/^Depends: //p' "$work/control")"
echo "Depends: $depends"

dpkg-deb -c "$deb" | awk '{ $1 = $2 = $3 = $4 = $5 = ""; sub(/^ +/, ""); print }' > "$work/files"
for entry in "./usr/bin/tovrel-studio -> ../lib/tovrel-studio/tovrel-studio" \
    "./usr/lib/tovrel-studio/tovrel -> tovrel-demo" "./usr/lib/tovrel-studio/tovrel-demo" \
    "./usr/lib/tovrel-studio/User Guide Examples -> ../../share/tovrel-studio/User Guide Examples" \
    "./usr/share/tovrel-studio/user-guide/index.html" "./usr/share/applications/$app_id.desktop" \
    "./usr/share/metainfo/$app_id.metainfo.xml" "./usr/share/mime/packages/$app_id.xml" \
    "./usr/share/icons/hicolor/48x48/apps/$app_id.png" "./usr/share/doc/tovrel-studio/copyright"; do
    grep -qxF "$entry" "$work/files" || fail "not in the package: $entry"; pass
done
! grep -vE '^\./(usr/.*)?$' "$work/files" | grep -q . || fail "files outside /usr: $(grep -v '^\./usr' "$work/files")"
! grep -qE '/include/|\.a$|/tests?/' "$work/files" || fail "development or test files in the package"
pass

# Unpacked, every library the programs link directly comes from a package named in Depends.
owner_of() {
    local path candidates
    path="$(realpath "$1")"
    candidates=("$1" "$path" "${1#/usr}" "${path#/usr}" "/usr$1" "/usr$path")
    for candidate in "${candidates[@]}"; do
        dpkg -S "$candidate" 2>/dev/null | head -n 1 | cut -d: -f1 && return 0
    done
    return 1
}
dpkg-deb -x "$deb" "$work/root"
for program in "$work/root/usr/lib/tovrel-studio/tovrel-studio" "$work/root/usr/lib/tovrel-studio/tovrel-demo"; do
    ldd "$program" > "$work/ldd" || fail "ldd $program"
    ! grep -q "not found" "$work/ldd" || fail "missing libraries: $(grep "not found" "$work/ldd")"
    for needed in $(objdump -p "$program" | awk '$1 == "NEEDED" { print $2 }'); do
        # ldd names the dynamic loader by its path alone ("/lib64/ld-linux-x86-64.so.2 (...)").
        library="$(awk -v name="$needed" '$1 == name { print $3 } $1 ~ ("/" name "$") { print $1 }' \
            "$work/ldd")"
        owner="$(owner_of "$library")" || fail "no package owns $library"
        [[ ", $depends," == *", $owner "* || ", $depends," == *", $owner,"* ]] \
            || fail "$program needs $library from $owner, which is not in Depends"; pass
    done
done
env -u DISPLAY "$work/root/usr/bin/tovrel-studio" --version > "$work/version" \
    || fail "unpacked studio --version"
need "Tovrel Studio $version" "$work/version" "unpacked studio"
echo "package: $checks checks passed"
