#!/usr/bin/env bash
# Seeds small faults into a copy of the code of tables and files, one at a time, and counts how many of
# them the tests notice; fails below 90 %. Takes some seconds per fault.
#
#   scripts/mutation.sh [COUNT [SEED]]      default: 100 faults, seed 1
source "$(dirname "$0")/common.sh"
install_deps build test mutation

work=$root/build/mutation
mkdir -p "$work"
find "$work" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} +
git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$work"
# Built as by scripts/test.sh, so that with ccache only what a fault touches is compiled.
launcher=()
! have ccache || launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$work} CCACHE_NOHASHDIR=1
# The programs of the tests find the library when they start: a fault in it links nothing but the library.
(cd "$work" && cmake --preset dev -DCMAKE_LINK_DEPENDS_NO_SHARED=ON "${launcher[@]}" >configure.log)
VXDATASTORAGE_JOBS=$jobs python3 -B scripts/mutation.py "$work" "$work/build/dev" --count "${1:-100}" --seed "${2:-1}"
