#!/usr/bin/env bash
# Compiles what the cache asks of Windows (it needs no Qt there) together with a program that prints the
# figures, and runs that program when wine is installed.
#
#   scripts/mingw.sh
source "$(dirname "$0")/common.sh"
install_deps mingw

compiler=x86_64-w64-mingw32-g++
have "$compiler" || fail "$compiler is missing: install g++-mingw-w64-x86-64"
mkdir -p build/mingw
note "compile for Windows"
"$compiler" -std=c++20 -O2 -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Werror \
    -static -I"$root" -o build/mingw/system_memory.exe \
    datastorage/cache/SystemMemory_win.cpp tests/cache/SystemMemoryFigures.cpp
echo "build/mingw/system_memory.exe: $(stat -c %s build/mingw/system_memory.exe) bytes"

if have wine; then
    note "run with wine"
    export WINEPREFIX=$root/build/mingw/wine
    WINEDEBUG=-all timeout 300 wine build/mingw/system_memory.exe
else
    echo "wine is not installed: not run"
fi
