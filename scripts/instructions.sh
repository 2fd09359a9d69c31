#!/usr/bin/env bash
# Counts the instructions of one operation of each kind and compares them with bench/instructions.txt.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/instructions.sh [--check | --update]

Installs what is missing, builds, and prints a line per operation.
  --check    fail when one got more than 5 % dearer
  --update   write the counts into bench/instructions.txt"

case ${1:-} in
'' | --check | --update) ;;
*)
    echo "$usage"
    [[ $1 == -h || $1 == --help ]] && exit 0 || exit 2
    ;;
esac

scripts/setup.sh build bench instructions
scripts/build.sh bench instructions

# A registry and a log of its own: policies are looked up where none are set, and nothing is logged.
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export SHAREDSTORE_REGISTRY=$folder/registry SHAREDSTORE_LOG=$folder/log SHAREDSTORE_LOG_LEVEL=0

count() { # NAME COUNT
    valgrind --tool=callgrind --callgrind-out-file=/dev/null build/bench/bench/instructions "$@" 2>"$folder/valgrind" || {
        cat "$folder/valgrind" >&2
        return 1
    }
    sed -n 's/^.*Collected : //p' "$folder/valgrind"
}

table=bench/instructions.txt
times=1000
dearer=0
printf '%-20s %8s %8s %8s\n' operation old new change
for name in $(build/bench/bench/instructions); do
    once=$(count "$name" $times)
    twice=$(count "$name" $((2 * times)))
    new=$(((twice - once) / times))
    old=$(awk -v name="$name" '$1 == name { print $2 }' "$table" 2>/dev/null || true)
    echo "$name $new" >>"$folder/new"
    change=-
    [[ -z $old ]] || change=$(awk -v old="$old" -v new="$new" 'BEGIN { printf "%+.1f %%", 100 * (new / old - 1) }')
    printf '%-20s %8s %8s %8s\n' "$name" "${old:--}" "$new" "$change"
    [[ -z $old ]] || ((100 * new <= 105 * old)) || dearer=1
done

if [[ ${1:-} == --update ]]; then
    cp "$folder/new" "$table"
elif ((dearer)) && [[ ${1:-} == --check ]]; then
    echo "scripts/instructions.sh: an operation got more than 5 % dearer" >&2
    exit 1
fi
