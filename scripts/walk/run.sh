#!/usr/bin/env bash
# Runs the commands of a document in one shell, as a reader would type them, and shows each with what it prints.
# usage: scripts/walk/run.sh DOCUMENT [LEFT_OUT...]   (programs that are shown only, as they would walk this document again)
set -eo pipefail
exec </dev/null 2>&1

# The document's commands share this shell: every name of ours begins with walk_.
walk_document=$1
walk_left_out=" ${*:2} "
mapfile -d '' -t walk_steps < <("$(dirname "$0")/commands.sh" "$walk_document")
wait $!
set --

walk_step=0
walk_end() {
    local status=$?
    ((status == 0 && walk_step == ${#walk_steps[@]})) && return
    echo "$walk_document:${walk_steps[walk_step]}: the walk ended here, with exit code $status"
    exit 1
}
trap walk_end EXIT

for (( ; walk_step < ${#walk_steps[@]}; walk_step += 2)); do
    walk_command=${walk_steps[walk_step + 1]}
    if [[ $walk_command == '#'* ]]; then
        echo "$walk_command"
        continue
    fi
    sed '1s/^/$ /; 2,$s/^/> /' <<<"$walk_command"
    walk_program=${walk_command#sudo } walk_program=${walk_program#./}
    if [[ $walk_left_out == *" ${walk_program%%[[:space:]]*} "* ]]; then
        echo "(left out: it would walk this document again)"
        continue
    fi
    eval "$walk_command"
done
