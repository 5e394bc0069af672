#!/usr/bin/env bash
# Installs the Debian 12 packages the studio needs to build, test and run, only those missing.
# With --test it adds the tools the test suite checks the installed studio and its package with;
# with --reference the statistics packages that regenerate the committed reference numbers.
set -euo pipefail

packages=(
    build-essential cmake ninja-build
    qt6-base-dev libqt6opengl6-dev qt6-svg-dev
    gnuplot-nox
    xvfb xauth
)
if [ "${1:-}" = "--test" ]; then
    # clang with libFuzzer runs the short fuzz pass over the committed corpora.
    # Xvfb, a window manager and real X input run the studio as a user meets it.
    packages+=(desktop-file-utils appstream shared-mime-info dpkg-dev clang libclang-rt-14-dev
               xvfb openbox xdotool x11-apps imagemagick)
    # python3: the program a received script names on its "#!" line in the trust tests.
    packages+=(python3)
    # pdftoppm: renders exported PDF pages to images, to compare an export's pages with the plots.
    packages+=(poppler-utils)
    # The reference statistics the convergence table's golden values come from.
    packages+=(r-cran-posterior)
fi
if [ "${1:-}" = "--reference" ]; then
    # Only to regenerate committed reference numbers by hand (demo/tests/reference).
    packages+=(r-base-core r-cran-lme4)
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
