#!/usr/bin/env bash
# Checks the format of all sources and runs clang-tidy over them. Needs a configured preset dev-clang.
set -euo pipefail
cd "$(dirname "$0")/.."

sources=()
while IFS= read -r file; do
    [[ -f $file ]] && sources+=("$file")
done < <(git ls-files -co --exclude-standard '*.h' '*.cpp')
clang-format --dry-run -Werror "${sources[@]}"

[[ -f build/dev-clang/compile_commands.json ]] || cmake --preset dev-clang >/dev/null
units=()
for file in "${sources[@]}"; do
    [[ $file =~ ^(src|host|tools)/.*\.cpp$ ]] && units+=("$file")
done
log=$(mktemp)
trap 'rm -f "$log"' EXIT
printf '%s\0' "${units[@]}" | xargs -0 -n 1 -P "$(nproc)" clang-tidy -p build/dev-clang --quiet '--warnings-as-errors=*' >"$log" 2>&1 || {
    grep -vE '^[0-9]+ warnings? generated|^Suppressed|^Use -header-filter' "$log" >&2
    exit 1
}
echo "clang-format: ${#sources[@]} files, clang-tidy: ${#units[@]} units, no findings"
