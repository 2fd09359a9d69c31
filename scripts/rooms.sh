#!/usr/bin/env bash
# Draws which room includes headers of which other, from the #include lines, into docs/architecture.md.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C # for one order everywhere

usage="usage: scripts/rooms.sh [--update]

Compares the picture and the table of rooms in docs/architecture.md with the code, and fails when they differ, when rooms
include each other in a circle, or when a header is in no room.
  --update   write the picture anew; the words of the table are yours"

case ${1:-} in
'' | --update) ;;
*)
    echo "$usage"
    [[ $1 == -h || $1 == --help ]] && exit 0 || exit 2
    ;;
esac

page=docs/architecture.md
failed=0
fail() {
    echo "scripts/rooms.sh: $1" >&2
    failed=1
}

# Rooms are the folders of src/ and host/, and tools/ and examples/ as a whole.
room_of() {
    local rest=${1#*/}
    case $1 in
    src/*/* | host/*/*) echo "${1%%/*}/${rest%%/*}" ;;
    *) echo "${1%%/*}" ;;
    esac
}

# Finds a header as the compilers do: next to the file, then in its own tree, then in the others.
room_of_header() { # FOLDER HEADER
    local folder found
    for folder in "$1" "${1%%/*}" src host; do
        found=$folder/$2
        [[ -f $found ]] || continue
        [[ $found != *../* ]] || found=$(realpath --relative-to=. "$found")
        room_of "$found" && return
    done
    return 1
}

# Which rooms there are, and which a room includes headers of: "ROOM" and "ROOM OTHER" are keys.
declare -A is_room uses
while IFS= read -r file; do
    [[ -f $file ]] || continue
    room=$(room_of "$file")
    is_room[$room]=1
    while IFS= read -r header; do
        if other=$(room_of_header "${file%/*}" "${header:1:-1}"); then
            [[ $other == "$room" ]] || uses["$room $other"]=1
        elif [[ $header == \"* ]]; then
            fail "$file includes $header, which is in no room"
        fi
    done < <(sed -n 's/^#include \([<"].*[>"]\).*/\1/p' "$file")
done < <(git ls-files -co --exclude-standard {src,host,tools,examples}/'*.h' {src,host,tools,examples}/'*.cpp')

# From top to bottom. A circle has none: tsort complains and names its rooms.
rooms=$(printf '%s\n' "${!is_room[@]}" | sort)
order=$({ printf '%s\n' "${!uses[@]}" && paste -d ' ' <(echo "$rooms") <(echo "$rooms"); } | sort | tsort) || {
    fail "these rooms include each other in a circle"
    exit 1
}

# An arrow is left out where a way over other rooms leads to the same one. Of the rooms that one uses, those higher up
# come first, so such a way is known by then.
declare -A reaches
arrows=()
for room in $(tac <<<"$order"); do
    for other in $order; do
        [[ -v uses["$room $other"] && ! -v reaches["$room $other"] ]] || continue
        arrows+=("    $room --> $other")
        reaches["$room $other"]=1
        for further in $order; do
            [[ ! -v reaches["$other $further"] ]] || reaches["$room $further"]=1
        done
    done
done

library() { # ROOT NAME
    echo "    subgraph $1 [\"$1/, $2\"]"
    grep "^$1/" <<<"$rooms" | sed 's/^/        /'
    echo "    end"
}

draw() {
    echo '```mermaid'
    echo "flowchart TD"
    library src libSharedStore.so
    library host libSharedStoreHost.so
    printf '%s\n' "${arrows[@]}" | sort
    echo '```'
}

# The page with the picture as it should be.
begin='<!-- The picture is drawn by scripts/rooms.sh --update -->' end='<!-- The picture ends -->'
drawn=$(mktemp)
trap 'rm -f "$drawn"' EXIT
awk -v begin="$begin" -v end="$end" -v picture="$(draw)" '
    $0 == end { inside = 0; ends++ }
    !inside { print }
    $0 == begin { print picture; inside = 1; begins++ }
    END { exit begins != 1 || ends != 1 }' "$page" >"$drawn" || fail "$page lacks the lines around the picture"

((failed)) || if [[ ${1:-} == --update ]]; then
    cat "$drawn" >"$page"
elif ! diff -u --label "$page" "$page" --label "as the code is" "$drawn" >&2; then
    fail "the picture is not that of the code: remove the include, or redraw with --update"
fi

# The table behind the picture has words about every room.
diff <(sed -n "/$end/,/^#/s/^| \`\([^\`]*\)\` |.*/\1/p" "$page" | sort) - <<<"$rooms" >&2 ||
    fail "the table in $page (<) is not of the rooms that there are (>)"
exit $failed
