#!/usr/bin/env bash
# Runs a command as root on a copy of a machine that is thrown away afterwards, with all processes that it left behind.
# usage: scripts/walk/copy.sh ROOT FOLDER COMMAND...
# ROOT holds the machine's files: / is this one. COMMAND begins in FOLDER of the copy. Exit code 77: there can be no copy.
set -euo pipefail

namespaces=(--mount --pid --uts --fork --kill-child)
if ((EUID != 0)) || ! unshare "${namespaces[@]}" true 2>/dev/null; then
    echo "scripts/walk/copy.sh: a copy of the machine needs root, and a kernel that lets root have namespaces" >&2
    exit 77
fi

# What the copy writes; on a disk, as it can be much.
scratch=$(mktemp -d --tmpdir="${TMPDIR:-/var/tmp}" walk.XXXXXX)
unshare "${namespaces[@]}" "$(dirname "$0")/enter.sh" "$scratch" "$@" &
inside=$!
# unshare passes nothing on, but what it runs dies with it.
trap 'kill -KILL "$inside" 2>/dev/null && wait "$inside" 2>/dev/null || true; rm -rf --one-file-system "$scratch"' EXIT
trap 'exit 143' HUP INT TERM
wait "$inside"
