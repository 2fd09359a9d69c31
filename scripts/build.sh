#!/usr/bin/env bash
# Configures and builds one preset, quietly. It installs nothing: the other scripts do before they call it.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/build.sh PRESET [TARGET...]"
case ${1:-} in
-h | --help)
    echo "$usage"
    exit 0
    ;;
'' | -*)
    echo "$usage" >&2
    exit 2
    ;;
esac
preset=$1
shift
log=$(mktemp)
trap 'rm -f "$log"' EXIT

quietly() {
    "$@" >"$log" 2>&1 || {
        cat "$log" >&2
        echo "scripts/build.sh: '$*' failed (see above)" >&2
        exit 1
    }
}

[[ -f build/$preset/build.ninja ]] || quietly cmake --preset "$preset"
if [[ -t 1 ]] && ! ninja -C "build/$preset" -n "$@" | grep -q 'no work to do'; then
    ninja -C "build/$preset" "$@" # its own status line shows the progress
else
    quietly ninja -C "build/$preset" "$@"
fi
