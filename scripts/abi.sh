#!/usr/bin/env bash
# Compares the binary interface of the library with that of the last release, which is kept in
# abi/VXDataStorage.abi. What was added is no difference; docs/abi.md says what may change when.
#
#   scripts/abi.sh            compare
#   scripts/abi.sh update     take the present interface as the release, in abi/ and in debian/
source "$(dirname "$0")/common.sh"
install_deps build abi

baseline=abi/VXDataStorage.abi
symbols=debian/libvxdatastorage1.symbols
work=$root/build/abi

note "build"
configure abi
build abi >/dev/null
rm -rf "$work/stage"
cmake --install "$work" --prefix "$work/stage" >/dev/null
library=$(find "$work/stage" -name "libVXDataStorage.so.$(project_version)")

# What is in the installed headers belongs to the interface, everything else is the library's own.
abidw --headers-dir "$work/stage/include" --drop-private-types --exported-interfaces-only \
    --suppressions abi/outside.suppressions --no-corpus-path --no-comp-dir-path --no-show-locs --short-locs --type-id-style hash \
    --out-file "$work/current.abi" "$library"
! grep -nF -e "$root" "$work/current.abi" || fail "a path of this machine stands in the description"

# exported: the names that the library exports, sorted.
exported() {
    nm --dynamic --defined-only "$library" | cut -d' ' -f3- | c++filt | LC_ALL=C sort -u
}

# symbols_file: every exported name as dpkg-gensymbols reads it. Names of templates over sizes are
# spelt otherwise where a size has 32 bits.
symbols_file() {
    echo "libVXDataStorage.so.$(project_version | cut -d. -f1) libvxdatastorage1 #MINVER#"
    echo "* Build-Depends-Package: libvxdatastorage-dev"
    while IFS= read -r name; do
        case $name in
        *[0-9]ul* | *"unsigned long"[,\)\>]*) tags='c++|arch-bits=64' ;;
        *) tags=c++ ;;
        esac
        printf ' (%s)"%s@Base" %s\n' "$tags" "$name" "$(first_version "$name")"
    done < <(exported)
}

# first_version NAME: the release that had it first, from the file as it is.
first_version() {
    local line
    line=$(grep -F "\"$1@Base\"" "$symbols" 2>/dev/null) || true
    if [ -n "$line" ]; then echo "${line##* }"; else project_version; fi
}

case ${1:-compare} in
update)
    mkdir -p abi
    cp "$work/current.abi" "$baseline"
    symbols_file >"$work/symbols"
    cp "$work/symbols" "$symbols"
    git diff --stat -- "$baseline" "$symbols"
    echo "abi: $baseline and $symbols are those of this checkout"
    ;;
compare)
    note "compare with $baseline"
    abidiff --no-added-syms "$baseline" "$work/current.abi" ||
        fail "the interface differs from that of the last release: see docs/abi.md"
    LC_ALL=C comm -13 <(sed -n 's/^ (.*)"\(.*\)@Base".*/\1/p' "$symbols" | LC_ALL=C sort) <(exported) >"$work/added"
    [ ! -s "$work/added" ] || sed 's/^/new: /' "$work/added"
    gone=$(LC_ALL=C comm -23 <(sed -n 's/^ (.*)"\(.*\)@Base".*/\1/p' "$symbols" | LC_ALL=C sort) <(exported))
    [ -z "$gone" ] || fail "the library does not have these names of $symbols:
$gone"
    echo "abi: no symbol is gone, no class and no virtual function has changed; $(wc -l <"$work/added") names are new"
    ;;
*)
    echo "usage: scripts/abi.sh [compare|update]" >&2
    exit 2
    ;;
esac
