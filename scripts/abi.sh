#!/usr/bin/env bash
# Compares what programs rely on that were built with an installed package with tests/package/abi.txt.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/abi.sh [--update]

Installs what is missing, builds, prints what is gone, changed or new, and fails unless it is only new.
  --update   write tests/package/abi.txt instead"

case ${1:-} in
'' | --update) ;;
*)
    echo "$usage"
    [[ $1 == -h || $1 == --help ]] && exit 0 || exit 2
    ;;
esac

scripts/setup.sh build abi
scripts/build.sh package
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install build/package --prefix "$prefix" >/dev/null
tests/package/abi.py "$prefix" tests/package/abi.txt "$@"
