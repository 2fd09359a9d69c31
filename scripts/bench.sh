#!/usr/bin/env bash
# Installs what is missing, builds, and measures the library next to the floors of what it does.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/bench.sh [--quick]

Prints a table and writes docs/benchmarks.md and docs/benchmarks.svg. Leave the machine alone meanwhile.
  --quick   a rough look in less than a minute, written to build/bench/report instead"

batches=9 largest=1000000 seconds=0.05 report=docs
case ${1:-} in
'') ;;
--quick) batches=3 largest=10000 seconds=0.01 report=build/bench/report ;;
*)
    echo "$usage"
    [[ $1 == -h || $1 == --help ]] && exit 0 || exit 2
    ;;
esac

scripts/setup.sh build bench
scripts/build.sh bench

# A registry and a log of its own, on the disk of the build.
folder=$(mktemp -d -p build/bench)
trap 'rm -rf "$folder"' EXIT
export SHAREDSTORE_REGISTRY=$PWD/$folder/registry SHAREDSTORE_LOG=$PWD/$folder/log SHAREDSTORE_LOG_LEVEL=0

measure() { # PROGRAM RESULT [ARGUMENT...]
    build/bench/bench/"$1" "${@:3}" --benchmark_min_time=$seconds --benchmark_out="$folder/$2.json" >"$folder/out" 2>&1 || {
        cat "$folder/out" >&2
        return 1
    }
}

measure bench 1-rows $batches $largest --benchmark_filter='-, log off/'
for ((batch = 0; batch < batches; ++batch)); do
    measure bench "2-log-$batch" $batches 1 --benchmark_filter=", log off/ours/$batch/"
    measure bench_without_log "2-nolog-$batch" $batches 1 --benchmark_filter=", log off/against/$batch/"
done
measure bench_load 3-load

mkdir -p "$report"
bench/report.py "$folder" "$report"
echo "Written: $report/benchmarks.md, $report/benchmarks.svg"
