#!/usr/bin/env bash
# Installs what is missing, builds the program and shows what it is for.
#
#   scripts/demo.sh                 makes a sample experiment, draws and reports it
#   scripts/demo.sh FILE...         reports these tables of measurements
#
# The sample experiment (three charge and discharge cycles of a modelled cell at 10 Hz, over a million
# rows, and an impedance spectrum of the same cell) goes to build/demo, and so do its pictures.
source "$(dirname "$0")/common.sh"

files=()
for file in "$@"; do
    files+=("$(cd "$started_in" && realpath "$file")") || fail "no such file: $file"
done

install_deps build
install_deps plot || echo "note: without pictures: what draws them could not be installed"
note "build (release)"
configure release -DVXDATASTORAGE_BUILD_TESTS=OFF
build release vxdata
vxdata=$root/build/release/cli/vxdata

if [ ${#files[@]} -eq 0 ]; then
    note "generate the sample experiment"
    "$vxdata" generate --out build/demo
    mapfile -t files < <(find build/demo -maxdepth 1 -name '*.csv' | sort)
    [ ${#files[@]} -gt 0 ] || fail "nothing was generated in build/demo"

    # Exit code 2: this build has nothing to draw with.
    note "draw it: build/demo/run.png and build/demo/impedance.png"
    drawn=0
    "$vxdata" plot build/demo/cell_cycles.csv -x Time -y Voltage,Current --unit Time=h -o build/demo/run.png &&
        "$vxdata" plot build/demo/cell_impedance.csv --nyquist -o build/demo/impedance.png || drawn=$?
    [ $drawn -eq 0 ] || [ $drawn -eq 2 ] || fail "the pictures could not be drawn"
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
