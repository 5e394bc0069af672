#!/usr/bin/env bash
# Installs the Debian 12 packages the studio needs to build, test and run, only those missing.
# With --test it adds the tools the test suite checks the installed studio and its package with.
set -euo pipefail

packages=(
    build-essential cmake ninja-build
    qt6-base-dev libqt6opengl6-dev qt6-svg-dev
    gnuplot-nox
    xvfb xauth
)
if [ "${1:-}" = "--test" ]; then
    # clang with libFuzzer runs the short fuzz pass over the committed corpora.
    packages+=(desktop-file-utils appstream shared-mime-info dpkg-dev clang libclang-rt-14-dev)
    # The reference statistics the convergence table's golden values come from.
    packages+=(r-cran-posterior)
fi

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    echo "All needed packages are installed."
    exit 0
fi

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -q
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
