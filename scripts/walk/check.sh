#!/usr/bin/env bash
# Checks what documents name without running it: files of this tree, and commands of sharedstore. Builds sharedstore.
# usage: scripts/walk/check.sh DOCUMENT...
set -euo pipefail

scripts/setup.sh build
scripts/build.sh release sharedstore
sharedstore=build/release/tools/sharedstore
failed=0

complain() {
    echo "$1" >&2
    failed=1
}

# A file below one of the tree's folders; NAME stands for any name.
check_file() {
    [[ $1 == */* && -n ${1%%/*} && ${1%%/*} != build && -d ${1%%/*} ]] || return 0
    compgen -G "${1//NAME/*}" >/dev/null || complain "$2: there is no $1"
}

check_command() {
    local words=()
    read -ra words <<<"$1"
    [[ ${words[0]:-} == sharedstore && ${words[1]:-} =~ ^[a-z]+$ ]] || return 0
    local command=("${words[1]}")
    [[ ${words[2]:-} =~ ^[a-z]+$ ]] && command+=("${words[2]}")
    "$sharedstore" help "${command[@]}" >/dev/null 2>&1 || complain "$2: there is no command '${words[*]:0:3}'"
}

for document in "$@"; do
    records=$(awk -f scripts/walk/lines.awk "$document") || failed=1
    while IFS= read -r record; do
        [[ $record == code:* ]] || continue
        record=${record#code:}
        at=$document:${record%%:*} code=${record#*:}
        check_file "${code%% *}" "$at"
        check_command "$code" "$at"
    done <<<"$records"
done
exit $failed
