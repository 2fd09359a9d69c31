#!/usr/bin/env bash
# Checks the format of all sources and the picture of the rooms, and runs clang-tidy over the sources. It looks at the sources as the
# preset fuzz puts them together, several to a unit, so that it reads what they include once.
set -euo pipefail
cd "$(dirname "$0")/.."

sources=()
while IFS= read -r file; do
    [[ -f $file ]] && sources+=("$file")
done < <(git ls-files -co --exclude-standard '*.h' '*.cpp')
clang-format --dry-run -Werror "${sources[@]}"
scripts/rooms.sh

[[ -f build/fuzz/compile_commands.json ]] || cmake --preset fuzz >/dev/null
mapfile -t units < <(sed -n 's/^ *"file": "\(.*\)",\?$/\1/p' build/fuzz/compile_commands.json |
    grep -E "^$PWD/(build/fuzz/)?(src|host|tools)/")
log=$(mktemp)
trap 'rm -f "$log"' EXIT
printf '%s\0' "${units[@]}" | xargs -0 -n 1 -P "$(nproc)" clang-tidy -p build/fuzz --quiet '--warnings-as-errors=*' >"$log" 2>&1 || {
    grep -vE '^[0-9]+ warnings? generated|^Suppressed|^Use -header-filter' "$log" >&2
    exit 1
}
echo "clang-format: ${#sources[@]} files, clang-tidy: ${#units[@]} units, no findings"
