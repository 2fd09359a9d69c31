#!/usr/bin/env bash
# Builds the fuzzers and runs each for SECONDS, from its committed seeds. usage: scripts/fuzz.sh SECONDS
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:?usage: scripts/fuzz.sh SECONDS}
scripts/setup.sh build clang
scripts/build.sh fuzz

export SHAREDSTORE_REGISTRY=$PWD/build/fuzz/no-registry SHAREDSTORE_LOG=$PWD/build/fuzz/log
for seeds in fuzz/corpus/*; do
    name=$(basename "$seeds")
    echo "== $name"
    mkdir -p "build/fuzz/corpus/$name"
    "build/fuzz/fuzz/${name}_fuzz" -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="build/fuzz/$name-" \
        "build/fuzz/corpus/$name" "$seeds" 2>&1 | tail -n 12
done
