#!/usr/bin/env bash
# The inner half of copy.sh, in namespaces of its own: puts the copy together and runs the command in it.
# usage: enter.sh SCRATCH ROOT FOLDER COMMAND...
set -euo pipefail

scratch=$1 root=$2 folder=$3
shift 3
copy=$scratch/copy

# What is written to a file system of the machine goes to a folder of the scratch.
layers=0
overlay() {
    local layer=$scratch/layer$((++layers))
    mkdir -p "$layer/upper" "$layer/work" "$copy$2"
    mount -t overlay overlay -o "lowerdir=$1,upperdir=$layer/upper,workdir=$layer/work" "$copy$2" 2>/dev/null
}
if ! overlay "$root" /; then
    # A disk that can't take it may itself be an overlay, as in a container. Memory can, if there is enough.
    mount -t tmpfs tmpfs "$scratch"
    overlay "$root" / || {
        echo "scripts/walk/enter.sh: the kernel refuses an overlay over $root" >&2
        exit 77
    }
fi
# A machine can have several disks, and the clone can lie anywhere. What can't be copied can be read.
while read -r mounted; do
    mounted=$(printf %b "$mounted")
    [[ -d $mounted && $mounted != / && $mounted == "${root%/}"/* ]] || continue
    place=${mounted#"${root%/}"}
    overlay "$mounted" "$place" || mount --bind -o ro "$mounted" "$copy$place"
done < <({ findmnt --real --raw --noheadings --output TARGET && findmnt --raw --noheadings --output TARGET --target "$PWD"; } | sort -u)

mount -t proc proc "$copy/proc"
mount --bind -o ro /sys "$copy/sys"
mount --rbind /dev "$copy/dev"
mount -t tmpfs tmpfs "$copy/dev/shm"
# A place on the disk itself, for a copy of the copy: what an overlay writes can't go to an overlay.
install -d -m 1777 "$scratch/tmp" "$copy/var/tmp" "$copy/tmp"
mount --bind "$scratch/tmp" "$copy/var/tmp"

[[ ! -e /etc/resolv.conf ]] || cp --remove-destination /etc/resolv.conf "$copy/etc/resolv.conf"
hostname clean
echo "127.0.0.1 clean" >>"$copy/etc/hosts"
[[ -x $copy/usr/bin/sudo ]] || {
    printf '#!/bin/sh\nexec env "$@"\n' >"$copy/usr/local/bin/sudo"
    chmod 755 "$copy/usr/local/bin/sudo"
}

# The environment of a fresh login, with an empty home; how this machine reaches others; its compiler's cache; and whose files
# git may trust.
home=/home/newcomer
mkdir -p "$copy$home"
environment=(HOME=$home USER=root LOGNAME=root SHELL=/bin/bash LANG=C.UTF-8 TERM=dumb
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "CCACHE_DIR=${CCACHE_DIR:-$HOME/.cache/ccache}")
for name in http_proxy https_proxy no_proxy SUDO_UID; do
    [[ -z ${!name:-} ]] || environment+=("$name=${!name}")
done
# Not by exec: the first process of the namespace would not be ended by an interrupt.
chroot "$copy" /usr/bin/env -i "${environment[@]}" bash -c 'cd "$1" && shift && "$@"' bash "$folder" "$@"
