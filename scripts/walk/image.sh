#!/usr/bin/env bash
# Makes the files of a newcomer's machine in FOLDER: Debian 12 with git and sudo, and no more than it needs. Packages come
# from where this machine gets its own. usage: scripts/walk/image.sh FOLDER
set -euo pipefail

image=$1
making=$image.new
release=bookworm
log=$image.log
umask 022
mkdir -p "$(dirname "$image")"
rm -rf --one-file-system "$making"

sources=$(apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    grep -E "^deb [^ ]+ $release(-updates|-security)? main$" || echo "deb http://deb.debian.org/debian $release main")
mirror=$(sed -En "s/^deb ([^ ]+) $release main$/\1/p" <<<"$sources" | head -n 1)

debootstrap --variant=minbase --include=ca-certificates,git,sudo "$release" "$making" "$mirror" >"$log" 2>&1 || {
    tail "$log" >&2
    echo "scripts/walk/image.sh: the image could not be made (all of the output: $log)" >&2
    exit 1
}
rm -f "$making"/etc/apt/sources.list.d/*
echo "$sources" >"$making/etc/apt/sources.list"
# How this machine gets through to its mirror: proxies, and who vouches for them.
apt-config dump Acquire | grep -E '^Acquire::(http|https|ftp|Check-|Retries)' >"$making/etc/apt/apt.conf.d/90machine" || true
cp /etc/ssl/certs/ca-certificates.crt "$making/etc/ssl/certs/" 2>/dev/null || true
echo "127.0.0.1 localhost" >"$making/etc/hosts"
mv "$making" "$image"
