#!/usr/bin/env bash
# Writes documentation from the code.
#
#   scripts/docs.sh tables      the tables in docs/ that are made from the library, and the examples
#   scripts/docs.sh reference   the reference of the public headers, with the pages and an offline
#                               search, to build/docs/html/index.html; anything undocumented is an error
source "$(dirname "$0")/common.sh"

case ${1:-} in
tables)
    install_deps build test
    configure dev -DVXDATASTORAGE_BUILD_TESTS=ON
    build dev docs_test >/dev/null
    awk -f scripts/examples.awk docs/examples.md >build/examples.md
    cp build/examples.md docs/examples.md
    VXDATASTORAGE_WRITE_DOCS=1 build/dev/tests/docs/docs_test --gtest_brief=1
    git diff --stat -- docs
    ;;
reference)
    install_deps docs
    output=$root/build/docs
    rm -rf "$output"
    mkdir -p "$output"
    version=$(project_version)
    # The tool that packs the pages into one file for Qt Assistant and Qt Creator, where there is one.
    helper=$(command -v qhelpgenerator-qt6 /usr/lib/qt6/libexec/qhelpgenerator | head -1) || true
    sed "s#@VERSION@#$version#g; s#@OUTPUT@#$output#g; s#@QHELPGENERATOR@#$helper#g
        s#@QHELP@#$([ -n "$helper" ] && echo YES || echo NO)#g" Doxyfile.in >"$output/Doxyfile"
    status=0
    doxygen "$output/Doxyfile" || status=$?
    if [ -s "$output/warnings.txt" ]; then
        sed "s#^$root/##" "$output/warnings.txt" | sort -u >&2
        fail "the lines above need documentation"
    fi
    [ $status -eq 0 ] || fail "doxygen failed"
    [ -z "$helper" ] || [ -s "$output/VXDataStorage.qch" ] || fail "no $output/VXDataStorage.qch was made"
    echo "reference: $(find "$output/html" -name '*.html' | wc -l) pages in $output/html"
    ;;
*)
    echo "usage: scripts/docs.sh tables|reference" >&2
    exit 2
    ;;
esac
