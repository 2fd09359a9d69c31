#!/usr/bin/env bash
# Installs what is missing and makes pages of the documents and the installed headers: build/docs/html/index.html.
set -euo pipefail
cd "$(dirname "$0")/.."

if (($#)); then
    echo "usage: scripts/docs.sh   (fails when a public symbol has no comment)"
    [[ $1 == -h || $1 == --help ]] && exit 0 || exit 2
fi

scripts/setup.sh build docs
scripts/build.sh package
rm -rf build/docs
mkdir -p build/docs
cmake --install build/package --prefix "$PWD/build/docs/prefix" >/dev/null
cp -r build/docs/prefix/include/SharedStore build/docs/headers
doxygen
echo "Written: build/docs/html/index.html"
