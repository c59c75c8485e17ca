#!/usr/bin/env bash
# Builds with coverage counters, runs all tests and writes line and branch coverage of the library's
# code to build/coverage/report (text on the terminal, pages in index.html).
source "$(dirname "$0")/common.sh"
install_deps build test coverage

note "build (coverage)"
configure coverage
build coverage
find build/coverage -name '*.gcda' -delete

note "test (coverage)"
ctest --test-dir build/coverage --parallel "$jobs" --output-on-failure --no-tests=error </dev/null

note "coverage of the library"
mkdir -p build/coverage/report
gcovr --root . --object-directory build/coverage -j "$jobs" \
    --filter 'datastorage/' --filter 'json/' --filter 'tools/' \
    --exclude-throw-branches --exclude-unreachable-branches \
    --html-details build/coverage/report/index.html \
    --txt build/coverage/report/lines.txt
cat build/coverage/report/lines.txt
gcovr --root . --object-directory build/coverage -j "$jobs" \
    --filter 'datastorage/' --filter 'json/' --filter 'tools/' \
    --exclude-throw-branches --exclude-unreachable-branches --print-summary --txt /dev/null | tail -3
