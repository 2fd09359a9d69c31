#!/usr/bin/env bash
# Installs what is missing, builds, and runs all tests: of the release build, or of the presets named.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/test.sh [--lint] [--fuzz SECONDS] [PRESET...]

Builds and tests each PRESET (default: release): release, dev, asan, tsan, with -clang behind it for clang++; and fuzz,
which is asan-clang with the fuzzers.
  --lint           also check the format, the binary interface and the picture of the rooms, and run clang-tidy
  --fuzz SECONDS   also run each fuzzer that long (scripts/fuzz.sh)"

fail_usage() {
    printf 'scripts/test.sh: %s\n%s\n' "$1" "$usage" >&2
    exit 2
}

presets=()
lint=false
fuzz=
while (($#)); do
    case $1 in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --lint) lint=true ;;
    --fuzz)
        fuzz=${2:-}
        [[ $fuzz =~ ^[1-9][0-9]{0,6}$ ]] || fail_usage "--fuzz needs a number of seconds from 1"
        shift
        ;;
    dev | release | asan | tsan | fuzz | dev-clang | release-clang | asan-clang | tsan-clang) presets+=("$1") ;;
    *) fail_usage "there is no preset '$1'" ;;
    esac
    shift
done
((${#presets[@]})) || presets=(release)

groups=(build test)
[[ ${presets[*]} == *-clang* || ${presets[*]} == *fuzz* ]] && groups+=(clang)
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
    scripts/abi.sh
fi
if [[ -n $fuzz ]]; then
    echo "== fuzz"
    scripts/fuzz.sh "$fuzz"
fi
