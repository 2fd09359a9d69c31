#!/usr/bin/env bash
# The third act of the demo: the PIN of a token (SoftHSM's, in a folder of its own), typed once and cached.
# usage: token.sh PREFIX EXAMPLES   (of an installed package; folder of the built examples)
set -euo pipefail

PATH=$1/bin:$2:$PATH
module=/usr/lib/softhsm/libsofthsm2.so
if [[ ! -e $module ]] || ! command -v softhsm2-util >/dev/null; then
    echo "scripts/demo/token.sh: SoftHSM is missing; scripts/setup.sh demo installs it" >&2
    exit 1
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export SHAREDSTORE_REGISTRY=$folder/registry SHAREDSTORE_LOG=$folder/log SOFTHSM2_CONF=$folder/softhsm2.conf
mkdir "$folder/tokens"
printf 'directories.tokendir = %s\nlog.level = ERROR\n' "$folder/tokens" >"$SOFTHSM2_CONF"
pin=493817
softhsm2-util --init-token --free --label Demo --so-pin 20731865 --pin "$pin" >/dev/null

# Shows a line and runs it.
run() {
    echo "   \$ $1"
    eval "$1"
}

# Does what the program asks for in a line: the part of the user, and of the administrator.
answer() {
    case $1 in
    *'> PIN of the token:') echo "$pin" >&3 ;;
    *'> Use the cached PIN? [y]') echo y >&3 ;;
    *'> Set the policy '*)
        [[ $1 =~ policy\ ([A-Za-z]+)=([0-9]+) ]]
        run "sharedstore policy set ${BASH_REMATCH[1]} ${BASH_REMATCH[2]}"
        echo >&3
        ;;
    *'> Change the PIN '*)
        echo '   $ token-login MODULE change-pin'
        printf '%s\n' "$pin" 150962 | token-login "$module" change-pin >/dev/null
        pin=150962
        echo >&3
        ;;
    esac
}

echo "A token's PIN; the user at the pipe answers the lines that begin with '>':"
mkfifo "$folder/answers"
token-login "$module" <"$folder/answers" | while IFS= read -r line; do
    echo "$line"
    answer "$line"
done 3>"$folder/answers"
