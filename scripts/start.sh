#!/usr/bin/env bash
# Installs what is missing, builds the studio with its demo engine and examples, and starts it
# with an example script open, ready to run.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${TOVREL_BUILD_DIR:-$root/build}"

# --no-build starts what is already built (the desktop tests start the studio this way).
if [ "${1:-}" != "--no-build" ]; then
    "$root/scripts/install-deps.sh"
    cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTOVREL_BUILD_TESTS=OFF \
          -DTOVREL_BUILD_BENCHMARKS=OFF
    cmake --build "$build" -j"$(nproc)"
fi

studio="$build/bin/tovrel-studio"
example="$(find "$build/bin/User Guide Examples" -name '*.imp' 2>/dev/null | sort | head -n 1 || true)"
# The demo engine sits beside the studio as "tovrel", so the first start picks it as the stable
# engine and Run works at once.
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "Built $studio. No display was found, so it was not started."
    echo "To start it on a virtual display (xvfb is installed by scripts/install-deps.sh):"
    echo "  xvfb-run -a -s '-screen 0 1280x800x24' '$studio' ${example:+'$example'}"
    exit 0
fi
echo "Starting $studio ${example:+with $example}"
exec "$studio" ${example:+"$example"}
