#!/usr/bin/env bash
# Installs what is missing, checks the format of all sources and the picture of the rooms, and runs clang-tidy.
set -euo pipefail
cd "$(dirname "$0")/.."

if (($#)); then
    echo "usage: scripts/lint.sh"
    [[ $1 == -h || $1 == --help ]] && exit 0 || exit 2
fi

scripts/setup.sh build test clang lint
files=$(git ls-files -co --exclude-standard '*.h' '*.cpp')
sources=()
while IFS= read -r file; do
    [[ -f $file ]] && sources+=("$file")
done <<<"$files"
clang-format --dry-run -Werror "${sources[@]}"
scripts/rooms.sh

# clang-tidy looks at the sources as the preset fuzz puts them together, several to a unit: it reads what they include once.
[[ -f build/fuzz/compile_commands.json ]] || cmake --preset fuzz >/dev/null
mapfile -t units < <(sed -n 's/^ *"file": "\(.*\)",\?$/\1/p' build/fuzz/compile_commands.json |
    awk -v top="$PWD/" 'index($0, top) == 1 && substr($0, length(top) + 1) ~ /^(build\/fuzz\/)?(src|host|tools)\//')
((${#units[@]} > 10))
log=$(mktemp)
trap 'rm -f "$log"' EXIT
printf '%s\0' "${units[@]}" | xargs -0 -n 1 -P "$(nproc)" clang-tidy -p build/fuzz --quiet '--warnings-as-errors=*' >"$log" 2>&1 || {
    grep -vE '^[0-9]+ warnings? generated|^Suppressed|^Use -header-filter' "$log" >&2
    exit 1
}
echo "clang-format: ${#sources[@]} files, clang-tidy: ${#units[@]} units, no findings"
