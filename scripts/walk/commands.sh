#!/usr/bin/env bash
# Prints the commands of a document's sh blocks: of each the line it stands in and its text, with a NUL behind both.
# usage: scripts/walk/commands.sh DOCUMENT
set -euo pipefail

document=$1
text=
lines=$(awk -f "$(dirname "$0")/lines.awk" "$document")
while IFS= read -r record; do
    kind=${record%%:*} rest=${record#*:}
    [[ $kind == code || $kind == link ]] && continue
    if [[ $kind == end ]]; then
        [[ -z $text ]] || {
            echo "$document:$begun: this command has no end" >&2
            exit 1
        }
        continue
    fi
    [[ -n $text ]] || begun=${rest%%:*}
    text+=${rest#*:}$'\n'
    # A command is complete when the shell misses nothing of it: no quote, no keyword, no end of a here-document.
    [[ $text != *\\$'\n' && -z $(bash -n <<<"$text" 2>&1) ]] || continue
    [[ $text =~ ^[[:space:]]*$ ]] || printf '%s\0%s\0' "$begun" "${text%$'\n'}"
    text=
done <<<"$lines"
