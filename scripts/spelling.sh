#!/usr/bin/env bash
# Looks for misspelt words in code and pages. What is right, or has to stay wrong, is in
# scripts/spelling.ignore.
#
#   scripts/spelling.sh [FILE...]       without files: everything but other languages and tables
source "$(dirname "$0")/common.sh"
install_deps spelling

files=("$@")
if [ ${#files[@]} -eq 0 ]; then
    mapfile -t files < <(git ls-files --cached --others --exclude-standard |
        grep -vE '^i18n/|\.ts$|^abi/|\.symbols$|\.csv$|spelling\.ignore$')
fi
# Names in the manner of programs are no words.
codespell --quiet-level 3 --ignore-words-list "$(sed 's/[[:space:]]*#.*//' scripts/spelling.ignore | paste -sd,)" \
    --ignore-regex '\b\w*[a-z][A-Z]\w*\b|\b[A-Z][A-Z][a-z]+\b' "${files[@]}" || fail "the words above are misspelt"
echo "spelling: ${#files[@]} files"
