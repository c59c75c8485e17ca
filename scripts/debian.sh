#!/usr/bin/env bash
# Builds the Debian packages into build/debian and has lintian look at them. With "root DIRECTORY", also
# installs, tries and purges them in a new Debian 12 made by scripts/fresh-root.sh.
#
#   scripts/debian.sh [root DIRECTORY]
source "$(dirname "$0")/common.sh"
install_deps build debian

version=$(project_version)
dpkg-parsechangelog --show-field Version | grep -qxF "$version" ||
    fail "debian/changelog has another version than project(VERSION), $version"

note "build the packages"
work=$root/build/debian
rm -rf "$work"
mkdir -p "$work/source"
# What is committed or would be, and nothing that was built.
git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$work/source"
(
    cd "$work/source"
    export DEB_BUILD_OPTIONS="nocheck parallel=$jobs ${DEB_BUILD_OPTIONS:-}"
    dpkg-buildpackage --no-sign --build=full --build-profiles=nocheck >"$work/build.log" 2>&1
) || {
    tail -n 60 "$work/build.log" >&2
    fail "dpkg-buildpackage failed"
}
ls "$work"/*.deb

note "lintian"
lintian --fail-on error,warning --info "$work"/*.changes

if [ "${1:-}" = root ]; then
    directory=${2:?a directory}
    note "install, run and purge in a fresh root"
    rm -rf "$directory/packages"
    scripts/fresh-root.sh "$directory" true
    mkdir -p "$directory/packages"
    cp "$work"/*.deb "$directory/packages/"
    scripts/fresh-root.sh "$directory" "apt-get -q update && apt-get -q install -y --no-install-recommends \
        /packages/*.deb cmake g++ ninja-build pkgconf &&
        sh debian/tests/consumer && sh debian/tests/vxdata &&
        apt-get -q purge -y libvxdatastorage1 libvxdatastorage-dev vxdatastorage-tools vxdatastorage-doc &&
        ! find / -xdev -path /proc -prune -o -path /packages -prune -o -path /work -prune -o -iname '*vxdata*' -print | grep . "
fi
echo "debian: done"
