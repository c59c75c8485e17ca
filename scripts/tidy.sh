#!/usr/bin/env bash
# Runs clang-tidy with .clang-tidy over our sources. The clang warnings of cmake/Warnings.cmake, its
# check of lock annotations among them, count too: the files are read with clang's command lines.
#
#   scripts/tidy.sh [FILE...]       without files: every source of the library, program and tests
source "$(dirname "$0")/common.sh"
install_deps build test plot lint

files=()
for file in "$@"; do
    files+=("$(cd "$started_in" && realpath "$file")")
done

configure tidy -DVXDATASTORAGE_BUILD_TESTS=ON
# The sources include what moc makes; nothing else needs to be built.
mapfile -t generated < <(ninja -C build/tidy -t targets all | sed -n 's/^\([^/: ]*_autogen\): phony$/\1/p')
[ ${#generated[@]} -eq 0 ] || build tidy "${generated[@]}" >/dev/null

if [ ${#files[@]} -eq 0 ]; then
    mapfile -t files < <(sed -n 's/^  "file": "\(.*\)",\{0,1\}$/\1/p' build/tidy/compile_commands.json |
        grep -v "^$root/build/" | sort -u)
fi
[ ${#files[@]} -gt 0 ] || fail "no source found in build/tidy/compile_commands.json"

printf '%s\0' "${files[@]}" |
    xargs -0 -n 1 -P "$jobs" clang-tidy -p build/tidy --quiet 2> >(grep -v 'warnings\{0,1\} generated\.$' >&2)
echo "tidy: ${#files[@]} files"
