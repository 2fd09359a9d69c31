#!/usr/bin/env bash
# The second act of the demo: an encrypted registry store, filled by one process, read and damaged by others.
# usage: encrypted-store.sh PREFIX   (of an installed package)
#
# The library reads its key from a fixed place. The act runs in a mount namespace with an empty /opt, and its key goes
# with that. Where namespaces are forbidden it uses the machine's key, or makes one for as long as it runs.
set -euo pipefail

prefix=$1
key=/opt/orvane/pv.sharedstore/remanentstore.key
folder=$(mktemp -d)
made=()

clean_up() {
    rm -rf "$folder"
    local path
    for path in "${made[@]}"; do
        rm --force --dir "$path"
    done
}
trap clean_up EXIT

# Shows a line and runs it.
run() {
    echo "\$ $1"
    eval "$1"
}

expect() {
    [[ $2 == "$3" ]] || {
        echo "scripts/demo/encrypted-store.sh: $1: '$2', expected '$3'" >&2
        exit 1
    }
}

files_with() {
    { grep --recursive --text --fixed-strings --files-with-matches "$1" "$SHAREDSTORE_REGISTRY" || true; } | wc -l
}

if [[ ${2:-} == private ]]; then
    cp -r "$prefix" "$folder/prefix" # in sight even if the project lies below /opt
    prefix=$folder/prefix
    mount -t tmpfs none /opt
else
    private=(unshare --mount)
    ((EUID == 0)) || private+=(--map-root-user)
    if "${private[@]}" mount -t tmpfs none /opt 2>/dev/null; then
        "${private[@]}" "$0" "$prefix" private
        exit
    fi
    if [[ ! -e $key ]] && ((EUID == 0)); then
        for path in "${key%/*}" /opt/orvane; do
            [[ -e $path ]] || made+=("$path")
        done
    elif [[ ! -r $key ]]; then
        echo "The second act, an encrypted registry store, is left out. It needs a key in"
        echo "$key, and this user may neither read one there, nor make"
        echo "one, nor put an empty folder in its place in a mount namespace."
        exit
    fi
fi

export PATH=$prefix/bin:$PATH SHAREDSTORE_REGISTRY=$folder/registry SHAREDSTORE_LOG=$folder/log
export compartment='HKLM\Software\Orvane\SharedStore\RemanentDataStore\Wallet\Card1'
value='Ada Lovelace, PUK 83154092'

echo "An encrypted registry store; each command is a process of its own:"
if [[ ! -e $key ]]; then
    run 'sharedstore keyfile create'
    made=("$key" "${made[@]}")
fi
run 'sharedstore store add Wallet --type registry --encrypted'
run "printf '$value' | sharedstore data set Wallet Card1 holder"
run 'sharedstore data set Wallet Card1 serial --int 4711'
run 'sharedstore data get Wallet Card1 holder' >"$folder/shown"
cat "$folder/shown" && echo
expect "the value read back" "$(tail -n 1 "$folder/shown")" "$value"

echo
echo "What lies in the registry (compartment=$compartment):"
run 'sharedstore registry list "$compartment"'
expect "files that hold the clear text" "$(files_with "$value")" 0
sharedstore store add Plain --type registry
printf '%s' "$value" | sharedstore data set Plain Card1 holder
expect "files that hold it once a plain store has it" "$(files_with "$value")" 1
echo "grep finds the clear text nowhere in the registry's files; the same value in a store without encryption it finds."

echo
echo "A value that lost its last byte is reported, and the rest is served:"
run 'sharedstore registry get "$compartment" holder | head -c -1 | sharedstore registry set "$compartment" holder --file -'
status=0
run 'sharedstore tree Wallet' 2>&1 || status=$?
expect "the exit code" "$status" 1
