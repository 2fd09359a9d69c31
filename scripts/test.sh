#!/usr/bin/env bash
# Installs what is missing, builds, and runs all tests: of the release build, or of the presets named.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/test.sh [--lint] [PRESET...]

Builds and tests each PRESET (default: release): release, dev, asan, tsan; with -clang behind it for clang++.
  --lint   also check the format and run clang-tidy"

presets=()
lint=false
for argument in "$@"; do
    case $argument in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --lint) lint=true ;;
    dev | release | asan | tsan | dev-clang | release-clang | asan-clang | tsan-clang) presets+=("$argument") ;;
    *)
        echo "scripts/test.sh: there is no preset '$argument'" >&2
        echo "$usage" >&2
        exit 2
        ;;
    esac
done
((${#presets[@]})) || presets=(release)

groups=(build test)
[[ ${presets[*]} == *-clang* ]] && groups+=(clang)
$lint && groups+=(clang lint)
scripts/setup.sh "${groups[@]}"

for preset in "${presets[@]}"; do
    echo "== $preset"
    scripts/build.sh "$preset"
    ctest --test-dir "build/$preset" --output-on-failure --parallel "$(nproc)" --progress --quiet \
        --output-log "build/$preset/test.log" || {
        cat "build/$preset/test.log" >&2
        exit 1
    }
    grep -E 'tests passed|Total Test time' "build/$preset/test.log"
done
if $lint; then
    echo "== lint"
    scripts/lint.sh
fi
