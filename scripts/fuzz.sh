#!/usr/bin/env bash
# Builds the fuzzers and runs them, one line each.
set -euo pipefail
cd "$(dirname "$0")/.."

names=()
for seeds in fuzz/corpus/*/; do
    names+=("$(basename "$seeds")")
done
usage="usage: scripts/fuzz.sh SECONDS [FUZZER...]

Runs each FUZZER (default: all of ${names[*]}) on what was found earlier (fuzz/regress), then for SECONDS from its seeds
(fuzz/corpus) and what it learned in earlier runs (build/fuzz/corpus). What it finds lies in build/fuzz/findings."

fail_usage() {
    printf 'scripts/fuzz.sh: %s\n%s\n' "$1" "$usage" >&2
    exit 2
}

if [[ ${1:-} == -h || ${1:-} == --help ]]; then
    echo "$usage"
    exit 0
fi
[[ ${1:-} =~ ^[1-9][0-9]{0,6}$ ]] || fail_usage "SECONDS is a number from 1"
seconds=$1
shift
for name in "$@"; do
    [[ " ${names[*]} " == *" $name "* ]] || fail_usage "there is no fuzzer '$name'"
done
(($#)) && names=("$@")

scripts/setup.sh build test clang
targets=("${names[@]/#/fuzz/}")
scripts/build.sh fuzz "${targets[@]/%/_fuzz}"

# Registry, log and temporary files of their own.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export TMPDIR=$scratch SHAREDSTORE_REGISTRY=$scratch/registry SHAREDSTORE_LOG=$scratch/log

# Runs one fuzzer; what it writes goes to a log. A crash, a leak, a hang and a broken rule all end it with a failure.
fuzz() {
    "$PWD/build/fuzz/fuzz/${1}_fuzz" -timeout=25 -artifact_prefix="$PWD/build/fuzz/findings/$1-" "${@:2}" </dev/null >>"$log" 2>&1
}

failed=0
mkdir -p build/fuzz/findings
for name in "${names[@]}"; do
    log=$PWD/build/fuzz/$name.log
    learned=$PWD/build/fuzz/corpus/$name
    mkdir -p "$learned"
    : >"$log"
    result=ok
    regressions=("$PWD/fuzz/regress/$name"/*)
    [[ ! -e ${regressions[0]} ]] || fuzz "$name" "${regressions[@]}" || result="FAILED on a finding of fuzz/regress/$name"
    if [[ $result == ok ]] && ! fuzz "$name" -max_total_time="$seconds" -print_final_stats=1 "$learned" "$PWD/fuzz/corpus/$name"; then
        artifact=$(sed -n 's/.*Test unit written to //p' "$log" | tail -n 1)
        result="FAILED: ${artifact:-it did not run}"
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    printf '%-10s %9s runs  %s\n' "$name" "${runs:-0}" "$result"
    [[ $result == ok ]] && continue
    failed=1
    grep -E 'ERROR|SUMMARY|runtime error|Running: ' "$log" >&2 || tail -n 20 "$log" >&2
    echo "scripts/fuzz.sh: $name failed; all of its output: $log" >&2
done
exit $failed
