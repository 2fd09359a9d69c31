#!/usr/bin/env bash
# Installs what is missing, builds, and shows the library at its jobs: it caches the certificates of Debian's
# ca-certificates as the certificate directory of a card, keeps values encrypted in the registry, and caches the PIN
# of a token.
set -euo pipefail
cd "$(dirname "$0")/.."

if [[ ${1:-} == -h || ${1:-} == --help ]]; then
    echo "usage: scripts/demo.sh"
    exit 0
fi

scripts/setup.sh build demo
scripts/build.sh package

quiet=build/demo/build.log
mkdir -p build/demo
{
    cmake --install build/package --prefix build/demo/prefix &&
        cmake -S examples -B build/demo/examples -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$PWD/build/demo/prefix" &&
        cmake --build build/demo/examples
} >"$quiet" 2>&1 || {
    cat "$quiet" >&2
    echo "scripts/demo.sh: the example could not be built (see above)" >&2
    exit 1
}

# A registry and a log of its own, so that the demo leaves those of the user alone.
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export SHAREDSTORE_REGISTRY=$folder/registry SHAREDSTORE_LOG=$folder/log
sharedstore=build/demo/prefix/bin/sharedstore

echo "The store list, after 'sharedstore store add Cards --product Demo':"
"$sharedstore" store add Cards --product Demo
"$sharedstore" store list
echo
build/demo/examples/card-directory Cards /usr/share/ca-certificates/mozilla
echo
scripts/demo/encrypted-store.sh build/demo/prefix
echo
scripts/demo/token.sh build/demo/prefix build/demo/examples
