#!/usr/bin/env bash
# Writes documentation from the code.
#
#   scripts/docs.sh tables      the tables in docs/ that are made from the library
#   scripts/docs.sh reference   the reference of the public headers, with the pages and an offline
#                               search, to build/docs/html/index.html; anything undocumented is an error
source "$(dirname "$0")/common.sh"

case ${1:-} in
tables)
    install_deps build test
    configure dev -DVXDATASTORAGE_BUILD_TESTS=ON
    build dev docs_test >/dev/null
    VXDATASTORAGE_WRITE_DOCS=1 build/dev/tests/docs/docs_test --gtest_brief=1
    git diff --stat -- docs
    ;;
reference)
    install_deps docs
    output=$root/build/docs
    rm -rf "$output"
    mkdir -p "$output"
    version=$(project_version)
    sed "s#@VERSION@#$version#g; s#@OUTPUT@#$output#g" Doxyfile.in >"$output/Doxyfile"
    status=0
    doxygen "$output/Doxyfile" || status=$?
    if [ -s "$output/warnings.txt" ]; then
        sed "s#^$root/##" "$output/warnings.txt" | sort -u >&2
        fail "the lines above need documentation"
    fi
    [ $status -eq 0 ] || fail "doxygen failed"
    echo "reference: $(find "$output/html" -name '*.html' | wc -l) pages in $output/html"
    ;;
*)
    echo "usage: scripts/docs.sh tables|reference" >&2
    exit 2
    ;;
esac
