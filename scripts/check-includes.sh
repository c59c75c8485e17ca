#!/usr/bin/env bash
# Checks who includes whom: one directory is one subsystem, and the arrows between them go one way.
source "$(dirname "$0")/common.sh"

# directory | kind of file | what it may include of the project (prefixes of include paths)
# kind: h = headers, cpp = sources
rules='
tools                h    tools/
tools                cpp  tools/
archive              h    -
json                 h    json/ tools/ datastorage/Export.h
json                 cpp  json/ tools/ datastorage/Export.h
datastorage/units    h    datastorage/units/ datastorage/Export.h archive/ json/ tools/
datastorage/units    cpp  datastorage/units/ datastorage/Export.h archive/ json/ tools/
datastorage/arrays   h    datastorage/arrays/ datastorage/units/ datastorage/Export.h archive/ json/ tools/
datastorage/arrays   cpp  datastorage/arrays/ datastorage/units/ datastorage/Export.h archive/ json/ tools/ datastorage/cache/
datastorage/cache    h    datastorage/cache/ datastorage/arrays/ datastorage/Export.h json/ tools/
datastorage/cache    cpp  datastorage/cache/ datastorage/arrays/ datastorage/Export.h json/ tools/
datastorage/config   h    datastorage/config/ datastorage/arrays/ datastorage/units/ datastorage/Export.h json/ tools/
datastorage/config   cpp  datastorage/config/ datastorage/arrays/ datastorage/units/ datastorage/Export.h json/ tools/
cli                  h    cli/ datastorage/ json/ tools/ archive/
cli                  cpp  cli/ datastorage/ json/ tools/ archive/
examples             h    datastorage/ json/ tools/ archive/
examples             cpp  datastorage/ json/ tools/ archive/
'

bad=0
complain() {
    printf '%s\n' "$*" >&2
    bad=1
}

# includes_of FILE: "line path" of every include of a project file, in angle brackets or quotes.
includes_of() {
    sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]\([^>"]*\)[>"].*/\1/p' "$1" |
        grep -E '^(datastorage|json|tools|archive|cli|tests|benchmarks|fuzz|examples)/' || true
}

checked=0
while read -r directory kind allowed; do
    [ -n "$directory" ] && [ -d "$directory" ] || continue
    while IFS= read -r file; do
        checked=$((checked + 1))
        for include in $(includes_of "$file"); do
            permitted=no
            for prefix in $allowed; do
                [[ $include != "$prefix"* ]] || permitted=yes
            done
            [ $permitted = yes ] || complain "$file: may not include <$include>"
        done
    done < <(find "$directory" -name "*.$kind" | sort)
done <<<"$rules"

# What is installed stands on its own: it includes nothing that is not.
mapfile -t public < <(find datastorage json tools archive -name '*.h' ! -name '*_p.h' | sort)
for header in "${public[@]}"; do
    for include in $(includes_of "$header"); do
        [[ $include != *_p.h ]] || complain "$header: a public header may not include <$include>"
    done
    listed=$(dirname "$header")/CMakeLists.txt
    grep -qE "(^|[ (])$(basename "$header")([ )]|\$)" "$listed" ||
        complain "$header: not listed in $listed; internal headers end in _p.h"
done
while IFS= read -r file; do
    for include in $(includes_of "$file"); do
        [[ $include != *_p.h || $include == cli/* ]] ||
            complain "$file: programs on top of the library use public headers, not <$include>"
    done
done < <(find cli examples \( -name '*.h' -o -name '*.cpp' \) 2>/dev/null | sort)

[ $checked -gt 20 ] || fail "only $checked files found to check"
[ $bad -eq 0 ] || fail "wrong includes"
echo "includes: $checked files, ${#public[@]} public headers"
