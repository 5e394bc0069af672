# Shared by the packaging tests: a scratch folder removed on exit, and failing with a message.
set -euo pipefail
work="$(cd "$(mktemp -d)" && pwd -P)"
cleanup_steps=()
cleanup() {
    for step in "${cleanup_steps[@]}"; do eval "$step" || true; done
    rm -rf "$work"
}
trap cleanup EXIT
checks=0
fail() { echo "FAIL: $*" >&2; exit 1; }
pass() { checks=$((checks + 1)); }
need() { grep -qe "$1" "$2" || fail "$3 (no \"$1\" in $2: $(head -c 2000 "$2"))"; pass; }
