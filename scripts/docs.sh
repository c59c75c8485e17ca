#!/usr/bin/env bash
# Writes documentation from the code.
#
#   scripts/docs.sh tables      the tables in docs/ that are made from the library's
source "$(dirname "$0")/common.sh"

case ${1:-} in
tables)
    install_deps build test
    configure dev -DVXDATASTORAGE_BUILD_TESTS=ON
    build dev docs_test >/dev/null
    VXDATASTORAGE_WRITE_DOCS=1 build/dev/tests/docs/docs_test --gtest_brief=1
    git diff --stat -- docs
    ;;
*)
    echo "usage: scripts/docs.sh tables" >&2
    exit 2
    ;;
esac
