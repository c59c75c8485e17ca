#!/usr/bin/env bash
# Installs what is missing, builds the program and shows what it is for.
#
#   scripts/demo.sh                 makes a sample experiment and reports it
#   scripts/demo.sh FILE...         reports these tables of measurements
#
# The sample experiment (three charge and discharge cycles of a modelled cell at 10 Hz, over a million
# rows, and an impedance spectrum of the same cell) goes to build/demo.
source "$(dirname "$0")/common.sh"

files=()
for file in "$@"; do
    files+=("$(cd "$started_in" && realpath "$file")") || fail "no such file: $file"
done

install_deps build
note "build (release)"
configure release -DVXDATASTORAGE_BUILD_TESTS=OFF
build release vxdata
vxdata=$root/build/release/cli/vxdata

if [ ${#files[@]} -eq 0 ]; then
    note "generate the sample experiment"
    "$vxdata" generate --out build/demo
    mapfile -t files < <(find build/demo -maxdepth 1 -name '*.csv' | sort)
    [ ${#files[@]} -gt 0 ] || fail "nothing was generated in build/demo"
fi

# A tenth of the samples fits: the rest is read back from the cache files while the report is made.
bytes=0
for file in "${files[@]}"; do
    rows=$(wc -l <"$file")
    columns=$(head -n 20 "$file" | tail -n 1 | tr ';\t' ',,' | tr -cd , | wc -c)
    bytes=$((bytes + rows * (columns + 1) * 4))
done
budget=$((bytes / 10))
[ $budget -ge 1024 ] || budget=1024

note "report, with $budget bytes of memory for $bytes bytes of samples"
cache=$(mktemp -d)
trap 'rm -rf "$cache"' EXIT
"$vxdata" report "${files[@]}" --budget $budget --cache-dir "$cache"
