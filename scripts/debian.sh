#!/usr/bin/env bash
# Builds the Debian packages into build/debian, has lintian look at them, unpacks them and runs their
# tests against the unpacked copy. With "root DIRECTORY", also installs, tries and purges them in a new
# Debian 12 made by scripts/fresh-root.sh.
#
#   scripts/debian.sh [root DIRECTORY]
source "$(dirname "$0")/common.sh"
install_deps build plot debian package

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
lintian --allow-root --fail-on error,warning --info "$work"/*.changes
echo "ok  no error, no warning"

note "tests of the packages"
for package in "$work"/*.deb; do
    dpkg-deb --extract "$package" "$work/unpacked"
done
libdir=$(dirname "$(find "$work/unpacked" -name 'libVXDataStorage.so.1')")
for name in consumer vxdata; do
    mkdir "$work/$name"
    env AUTOPKGTEST_TMP="$work/$name" PATH="$work/unpacked/usr/bin:$PATH" LD_LIBRARY_PATH="$libdir" \
        CMAKE_PREFIX_PATH="$work/unpacked/usr" PKG_CONFIG_PATH="$libdir/pkgconfig" \
        sh "debian/tests/$name" >"$work/$name.log" 2>&1 || {
        cat "$work/$name.log" >&2
        fail "debian/tests/$name failed"
    }
    echo "ok  $name"
done

if [ "${1:-}" = root ]; then
    directory=${2:?a directory}
    note "install, run and purge in a fresh root"
    rm -rf "$directory/packages"
    scripts/fresh-root.sh "$directory" true
    mkdir -p "$directory/packages"
    cp "$work"/*.deb "$directory/packages/"
    scripts/fresh-root.sh "$directory" "apt-get -q update && apt-get -q install -y --no-install-recommends \
        /packages/*.deb cmake g++ ninja-build pkgconf qt6-l10n-tools &&
        sh debian/tests/consumer && sh debian/tests/vxdata &&
        apt-get -q purge -y libvxdatastorage1 libvxdatastorage-dev vxdatastorage-tools vxdatastorage-doc &&
        ! find / -xdev -path /proc -prune -o -path /packages -prune -o -path /work -prune -o -iname '*vxdata*' -print | grep . "
fi
echo "debian: done"
