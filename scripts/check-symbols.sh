#!/usr/bin/env bash
# Checks what a shared library exports: the names of the library, its singletons and its JSON
# functions, and nothing else.
#
#   scripts/check-symbols.sh [LIBRARY]
source "$(dirname "$0")/common.sh"
library=${1:-build/release/libVXDataStorage.so}

# What a name may start with, after what the compiler puts before it (tables, type information,
# guards and thunks belong to the class that they serve).
ours='(vx::datastorage::|JsonUtils::|nel::tools::Singleton<vx::datastorage::(CacheManager|DynamicEnumHandler)>::)'
belonging='(vtable|typeinfo|typeinfo name|VTT|construction vtable|guard variable) for '
thunk='(non-virtual|virtual) thunk to |covariant return thunk to '

mapfile -t exported < <(nm --dynamic --defined-only --demangle "$library" | cut -d' ' -f3-)
[ ${#exported[@]} -gt 0 ] || fail "$library exports nothing"

foreign=$(printf '%s\n' "${exported[@]}" |
    grep -vE "^($belonging|$thunk)*$ours" |
    grep -vE "^($belonging)(vx::datastorage::|nel::tools::Singleton<vx::datastorage::(CacheManager|DynamicEnumHandler)>)" || true)
if [ -n "$foreign" ]; then
    printf '%s\n' "$foreign" >&2
    fail "$library exports the names above"
fi
internal=$(printf '%s\n' "${exported[@]}" | grep -E '_p::|::detail::|\(anonymous namespace\)' || true)
[ -z "$internal" ] || fail "internal names are exported: $internal"
echo "ok  ${#exported[@]} exported names"
