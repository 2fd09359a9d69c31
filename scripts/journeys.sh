#!/usr/bin/env bash
# Walks the documents of the three people who meet this software, each on a clean machine, and keeps what was to be seen.
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: scripts/journeys.sh [--without-ci] [engineer|administrator|developer]...

Walks the last commit of this tree on a fresh Debian 12 that has git and sudo, and writes what a terminal would have shown to
docs/journeys. The image is made once, in build/journeys. Neither the system nor this tree is changed otherwise.
  --without-ci  leave out .ci/run, which takes most of the developer's time; nothing is written to docs/journeys then"

declare -A documents=([engineer]=docs/guide.md [administrator]=docs/admin.md [developer]=CONTRIBUTING.md)
journeys=()
left_out=()
for argument in "$@"; do
    case $argument in
    -h | --help)
        echo "$usage"
        exit 0
        ;;
    --without-ci) left_out=(.ci/run) ;;
    *)
        [[ -n ${documents[$argument]:-} ]] || {
            printf "scripts/journeys.sh: there is no journey '%s'\n%s\n" "$argument" "$usage" >&2
            exit 2
        }
        journeys+=("$argument")
        ;;
    esac
done
((${#journeys[@]})) || journeys=(engineer administrator developer)

scripts/setup.sh journeys
image=$PWD/build/journeys/bookworm
[[ -d $image ]] || scripts/walk/image.sh "$image"
clone=/srv/sharedstore
rm -rf "$image$clone"
git -c advice.detachedHead=false clone --quiet --no-hardlinks . "$image$clone"
git -C "$image$clone" remote remove origin

# As on a terminal: a line that was written over shows its last state. Colours, the names of mirrors and the dots that
# dpkg puts in front of a file don't matter.
mirrors=$(sed -nE 's#^deb [^ ]*(//[^/]+).*#\1#p' "$image/etc/apt/sources.list" | sort -u | sed 's/[.]/\\./g' | paste -sd '|')
mirrors=${mirrors:-//deb[.]debian[.]org}
readable() {
    sed -u -E -e 's/\x1b\[[0-9;]*[A-Za-z]//g' -e 's/\r+$//' -e 's/.*\r//' -e "s#$mirrors#//mirror#g" -e 's#[.]{3}/##g'
}

for journey in "${journeys[@]}"; do
    document=${documents[$journey]}
    transcript=build/journeys/$journey.txt
    echo "== $journey: $document"
    begun=$SECONDS
    scripts/walk/copy.sh "$image" "$clone" scripts/walk/run.sh "$document" "${left_out[@]}" </dev/null |& readable | tee "$transcript"
    took=$((SECONDS - begun))
    grep -q '^\$ ' "$transcript" || {
        echo "scripts/journeys.sh: there is no command in $document" >&2
        exit 1
    }
    echo "== $journey: $took s"
    ((${#left_out[@]})) && continue
    {
        echo "Walked:  $document"
        echo "Date:    $(date --utc +%F)"
        echo "Machine: Debian $(cat "$image/etc/debian_version"), $(dpkg-query --root "$image" --show | wc -l) packages, git and sudo among them; $(nproc) cores"
        echo "Commit:  $(git -C "$image$clone" log -1 --format=%s)"
        echo "Took:    $((took / 60)) min $((took % 60)) s"
        echo
        cat "$transcript"
    } >"docs/journeys/$journey.txt"
done
