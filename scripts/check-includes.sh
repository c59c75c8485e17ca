#!/usr/bin/env bash
# Checks who includes whom: one directory is one subsystem, and the arrows between them go one way.
source "$(dirname "$0")/common.sh"

# directory | kind of file | what it may include of the project (prefixes of include paths)
# kind: h = public headers, in = what is internal: sources and headers that end in _p.h. The arrays know
# the cache only inside, but for the lock that their readers wait on.
rules='
tools                h    tools/
tools                in   tools/
archive              h    -
json                 h    json/ tools/ datastorage/Export.h
json                 in   json/ tools/ datastorage/Export.h
datastorage/units    h    datastorage/units/ datastorage/Export.h archive/ json/ tools/
datastorage/units    in   datastorage/units/ datastorage/Export.h archive/ json/ tools/
datastorage/arrays   h    datastorage/arrays/ datastorage/units/ datastorage/Export.h archive/ json/ tools/ datastorage/cache/AsyncDataLock.h
datastorage/arrays   in   datastorage/arrays/ datastorage/units/ datastorage/Export.h archive/ json/ tools/ datastorage/cache/
datastorage/cache    h    datastorage/cache/ datastorage/arrays/ datastorage/Export.h json/ tools/
datastorage/cache    in   datastorage/cache/ datastorage/arrays/ datastorage/Export.h json/ tools/
datastorage/config   h    datastorage/config/ datastorage/arrays/ datastorage/units/ datastorage/Export.h json/ tools/
datastorage/config   in   datastorage/config/ datastorage/arrays/ datastorage/units/ datastorage/Export.h json/ tools/
cli                  h    cli/ datastorage/ json/ tools/ archive/
cli                  in   cli/ datastorage/ json/ tools/ archive/
examples             h    datastorage/ json/ tools/ archive/
examples             in   datastorage/ json/ tools/ archive/
'

bad=0
complain() {
    printf '%s\n' "$*" >&2
    bad=1
}

# includes_of FILE: the path of every include of a project file, in angle brackets or quotes.
includes_of() {
    sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]\([^>"]*\)[>"].*/\1/p' "$1" |
        grep -E '^(datastorage|json|tools|archive|cli|tests|benchmarks|fuzz|examples)/' || true
}

# Paths from the include root only, so that the rules above see every arrow. What moc makes is the
# exception: it lies beside no source. (The program's files may name each other from cli/.)
quoted=$(grep -rnE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' datastorage json tools archive \
    --include='*.h' --include='*.cpp' 2>/dev/null | grep -v '\.moc"' || true)
[ -z "$quoted" ] || complain "write these includes as <path from the project root>:
$quoted"

# files_of DIRECTORY KIND
files_of() {
    if [ "$2" = h ]; then
        find "$1" -name '*.h' ! -name '*_p.h' | sort
    else
        find "$1" -name '*.cpp' -o -name '*_p.h' | sort
    fi
}

checked=0
while read -r directory kind allowed; do
    [ -d "$directory" ] || continue
    while IFS= read -r file; do
        checked=$((checked + 1))
        for include in $(includes_of "$file"); do
            permitted=no
            for prefix in $allowed; do
                [[ $include != "$prefix"* ]] || permitted=yes
            done
            [ $permitted = yes ] || complain "$file: may not include <$include>"
        done
    done < <(files_of "$directory" "$kind")
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
