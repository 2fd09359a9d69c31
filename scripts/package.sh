#!/usr/bin/env bash
# Installs what is missing, builds, and makes the Debian packages in build/packages.
set -euo pipefail
cd "$(dirname "$0")/.."

if (($#)); then
    echo "usage: scripts/package.sh   (the packages' maintainer is DEBFULLNAME <DEBEMAIL>, where these are set)"
    [[ $1 == -h || $1 == --help ]] && exit 0 || exit 2
fi

scripts/setup.sh build package
# The date of the packages and of what is in them, so that the same commit makes the same packages.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || date +%s)
export SOURCE_DATE_EPOCH
packages=build/packages
log=$packages/log
rm -rf $packages
mkdir -p $packages
{
    cmake --preset debian ${DEBEMAIL:+"-DCPACK_PACKAGE_CONTACT=${DEBFULLNAME:-$DEBEMAIL} <$DEBEMAIL>"} &&
        cmake --build build/debian &&
        (umask 022 && cpack --config build/debian/CPackConfig.cmake -B $packages)
} >$log 2>&1 || {
    cat $log >&2
    echo "scripts/package.sh: the packages could not be made (see above)" >&2
    exit 1
}
rm -rf $packages/_CPack_Packages

for package in "$packages"/*.deb; do
    echo "$package: $(dpkg-deb --field "$package" Depends)"
done
# CPack calls ldconfig from maintainer scripts beside the trigger that Debian wants; that does no harm.
lintian --suppress-tags maintscript-calls-ldconfig --allow-root --tag-display-limit 0 --fail-on error $packages/*.deb
