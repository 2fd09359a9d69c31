#!/usr/bin/env bash
# Uses both clients at random for a while and fails when memory, threads or descriptors grow.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-}
[[ $seconds =~ ^[1-9][0-9]{0,6}$ ]] || {
    echo "usage: scripts/soak.sh SECONDS   (a number from 1)"
    [[ $seconds == -h || $seconds == --help ]] && exit 0 || exit 2
}
scripts/setup.sh build test
scripts/build.sh release sharedstore_soak
exec build/release/tests/load/sharedstore_soak "$seconds"
