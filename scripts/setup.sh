#!/usr/bin/env bash
# Installs the Debian packages that a task needs and that are missing. Silent when there is nothing to do.
set -euo pipefail

build=(g++ ccache cmake ninja-build pkg-config libssl-dev liblmdb-dev libspdlog-dev libcli11-dev nlohmann-json3-dev)
demo=(ca-certificates openssl libp11-kit-dev softhsm2)
test=(libgtest-dev)
clang=(clang libclang-rt-14-dev)
lint=(clang-format clang-tidy)
bench=(libbenchmark-dev libkeyutils-dev libsqlite3-dev python3)
instructions=(valgrind)
abi=(python3 python3-clang)
package=(dpkg-dev file lintian)
docs=(doxygen)
journeys=(debootstrap)
groups="build demo test clang lint bench instructions abi package docs journeys"

if (($# == 0)) || [[ $1 == -h || $1 == --help ]]; then
    echo "usage: scripts/setup.sh GROUP...   with groups ${groups// /, }"
    exit $(($# == 0 ? 2 : 0))
fi

wanted=()
for group in "$@"; do
    [[ " $groups " == *" $group "* ]] || {
        echo "scripts/setup.sh: there is no group '$group'; the groups are ${groups// /, }" >&2
        exit 2
    }
    declare -n packages=$group
    wanted+=("${packages[@]}")
done

missing=()
for package in "${wanted[@]}"; do
    state=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
    [[ $state == installed || " ${missing[*]} " == *" $package "* ]] || missing+=("$package")
done
((${#missing[@]})) || exit 0

sudo=()
if ((EUID != 0)); then
    command -v sudo >/dev/null || {
        echo "scripts/setup.sh: run this as root: apt-get install ${missing[*]}" >&2
        exit 1
    }
    sudo=(sudo)
fi
echo "Installing: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
{
    "${sudo[@]}" apt-get update -qq &&
        "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -qq --no-install-recommends "${missing[@]}"
} >"$log" 2>&1 || {
    cat "$log" >&2
    echo "scripts/setup.sh: the packages could not be installed (see above)" >&2
    exit 1
}
