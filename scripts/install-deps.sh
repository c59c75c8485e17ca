#!/usr/bin/env bash
# Installs what is missing on a Debian 12 system, by profile:
#
#   scripts/install-deps.sh build test lint
#
# As root or through sudo. Instant when everything is there. Where there is no apt-get, or with
# VXDATASTORAGE_NO_INSTALL=1, it only names what it would have installed.
set -euo pipefail

packages_of() {
    case $1 in
    build) echo g++ cmake ninja-build qt6-base-dev ;;
    test) echo libgtest-dev libgmock-dev qt6-l10n-tools librapidcheck-dev ;;
    plot) echo libqcustomplot-dev qt6-svg-dev fonts-dejavu-core ;;
    lint) echo clang clang-format clang-tidy ;;
    mingw) echo g++-mingw-w64-x86-64 wine wine64 ;;
    package) echo git pkgconf qmake6 qt6-l10n-tools make binutils clang ;;
    coverage) echo gcovr ;;
    mutation) echo python3 ;;
    spelling) echo codespell ;;
    bench) echo libbenchmark-dev python3 ;;
    peers) echo liblmdb-dev librocksdb-dev libsqlite3-dev libhdf5-dev libudunits2-dev pkgconf ;;
    docs) echo doxygen qt6-documentation-tools ;;
    abi) echo abigail-tools binutils ;;
    debian) echo debhelper doxygen dpkg-dev fakeroot lintian qt6-documentation-tools ;;
    root) echo debootstrap ;;
    *)
        echo "error: unknown profile $1; there are build, test, plot, lint, mingw, package, coverage, mutation, spelling, bench, peers, docs, abi, debian, root" >&2
        exit 2
        ;;
    esac
}

[ $# -gt 0 ] || set -- build test
wanted=()
for profile in "$@"; do
    listed=$(packages_of "$profile")
    # shellcheck disable=SC2206 # one word per package
    wanted+=($listed)
done

is_installed() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

missing=()
if command -v dpkg-query >/dev/null 2>&1; then
    for package in "${wanted[@]}"; do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || exit 0
else
    missing=("${wanted[@]}")
fi

if [ -n "${VXDATASTORAGE_NO_INSTALL:-}" ] || ! command -v apt-get >/dev/null 2>&1; then
    echo "note: not installed by this script (Debian's names): ${missing[*]}" >&2
    exit 0
fi

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null 2>&1 || {
        echo "error: run as root, or install sudo: these packages are missing: ${missing[*]}" >&2
        exit 1
    }
    as_root=(sudo)
fi

echo "installing: ${missing[*]}"
apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o Dpkg::Use-Pty=0 "$@" </dev/null
}
apt update
apt install -y --no-install-recommends "${missing[@]}"
