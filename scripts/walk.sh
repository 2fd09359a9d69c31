#!/usr/bin/env bash
# Runs every command of the documents, each document on a copy of this machine that is thrown away.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/walk.sh [DOCUMENT...]

Runs the sh blocks of each DOCUMENT (default: all) in order, in one shell, as root, from the top of this tree; and checks that
files and commands named elsewhere exist. The first command that fails ends the walk. Neither the system nor this tree
is changed: each document has a copy of the machine for itself. TMPDIR names the disk for what it writes (default /var/tmp).
Exit code 77 means that there can be no copy here: not root, or no namespaces."

documents=()
for argument in "$@"; do
    case $argument in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    -*)
        printf "scripts/walk.sh: there is no option '%s'\n%s\n" "$argument" "$usage" >&2
        exit 2
        ;;
    esac
    [[ -f $argument ]] || {
        echo "scripts/walk.sh: there is no document '$argument'" >&2
        exit 2
    }
    documents+=("$argument")
done
(($#)) || documents=(*.md docs/*.md docs/journeys/*.md)

# Without a terminal, so that no program asks for anything or draws its progress.
copy() {
    scripts/walk/copy.sh / "$PWD" "$@" </dev/null |& cat
}

copy scripts/walk/check.sh "${documents[@]}"
for document in "${documents[@]}"; do
    echo "== $document"
    begun=$SECONDS
    copy scripts/walk/run.sh "$document" .ci/run scripts/walk.sh
    echo "== $document: $((SECONDS - begun)) s"
done
