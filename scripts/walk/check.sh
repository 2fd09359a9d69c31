#!/usr/bin/env bash
# Checks what documents name without running it: files of this tree, and commands of sharedstore. Builds sharedstore.
# usage: scripts/walk/check.sh DOCUMENT...
set -euo pipefail

scripts/setup.sh build
scripts/build.sh release sharedstore
sharedstore=build/release/tools/sharedstore
nouns=" $("$sharedstore" help | awk '/^  [a-z]+ [a-z]+  / { print $1 }' | sort -u | paste -sd ' ') "
failed=0
commands=0

complain() {
    echo "$1" >&2
    failed=1
}

# A file of the tree, by its path from the top, or a header, by its path in an #include; NAME stands for any name.
check_file() {
    [[ $1 =~ ^[A-Za-z.]+/ && $1 != build/* ]] || return 0
    [[ -d ${1%%/*} || $1 =~ \.(sh|md|txt|h|cpp|py)$ ]] || return 0
    compgen -G "${1//NAME/*}" >/dev/null || compgen -G "src/$1" >/dev/null || complain "$2: there is no $1"
}

check_command() {
    local words=()
    read -ra words <<<"$1"
    [[ ${words[0]:-} != sharedstore ]] || words=("${words[@]:1}")
    [[ ${words[0]:-} =~ ^[a-z]+$ ]] || return 0
    # A noun alone can be any word; with a verb, or behind the program's name, it is a command.
    [[ $1 == sharedstore* || (${words[1]:-} =~ ^[a-z]+$ && $nouns == *" ${words[0]} "*) ]] || return 0
    local command=("${words[0]}")
    [[ ${words[1]:-} =~ ^[a-z]+$ ]] && command+=("${words[1]}")
    "$sharedstore" help "${command[@]}" >/dev/null 2>&1 || complain "$2: there is no command '${command[*]}'"
}

for document in "$@"; do
    records=$(awk -f scripts/walk/lines.awk "$document") || failed=1
    while IFS=: read -r kind line text; do
        case $kind in
        code)
            check_file "${text%% *}" "$document:$line"
            check_command "$text" "$document:$line"
            ;;
        link) [[ -e $(dirname "$document")/$text ]] || complain "$document:$line: there is no $text" ;;
        command) commands=$((commands + 1)) ;;
        esac
    done <<<"$records"
done
((commands)) || complain "there is no command in $*"
exit $failed
