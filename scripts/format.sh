#!/usr/bin/env bash
# Checks the layout of every C++ file against .clang-format; with --fix, mends it.
source "$(dirname "$0")/common.sh"
install_deps lint

mode=(--dry-run -Werror)
case ${1:-} in
'') ;;
--fix) mode=(-i) ;;
*)
    echo "usage: scripts/format.sh [--fix]" >&2
    exit 2
    ;;
esac

# Files that git knows or would add, so that a new file is checked before its first commit.
mapfile -d '' -t files < <(git ls-files -z --cached --others --exclude-standard -- '*.h' '*.cpp')
existing=()
for file in "${files[@]}"; do
    [ ! -f "$file" ] || existing+=("$file")
done
[ ${#existing[@]} -gt 0 ] || fail "no C++ file found"
printf '%s\0' "${existing[@]}" | xargs -0 -n 20 -P "$jobs" clang-format "${mode[@]}"
echo "format: ${#existing[@]} files"
