#!/usr/bin/env bash
# Installs the library, moves the installed copy and links the program of examples/quickstart against
# it in every supported way; checks what was installed, what the library exports, and that every
# public header compiles alone with g++ and with clang.
source "$(dirname "$0")/common.sh"
install_deps build package

work=$root/build/packaging
rm -rf "$work"
mkdir -p "$work"
quickstart=$root/examples/quickstart
version=$(project_version)
[ -n "$version" ] || fail "no version found in CMakeLists.txt"
launcher=()
! have ccache || launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

# quietly LOG COMMAND...: shows the command's output only when it fails.
quietly() {
    local log=$work/$1.log
    shift
    "$@" >"$log" 2>&1 || {
        cat "$log" >&2
        fail "failed: $*"
    }
}

# expect_output NAME COMMAND...: runs the consumer and compares what it prints.
expect_output() {
    local name=$1
    shift
    "$@" >"$work/$name.out" </dev/null || fail "$name: the consumer failed"
    diff -u "$quickstart/expected.txt" "$work/$name.out" || fail "$name: the consumer printed something else"
    echo "ok  $name"
}

note "build and install"
configure release -DVXDATASTORAGE_BUILD_TESTS=OFF
build release
quietly install cmake --install build/release --prefix "$work/stage"
mv "$work/stage" "$work/moved"
quietly destdir env DESTDIR="$work/destdir" cmake --install build/release --prefix /opt/vx
prefix=$work/moved
library=$(find "$prefix" -name "libVXDataStorage.so.$version")
[ -f "$library" ] || fail "no libVXDataStorage.so.$version in the installed copy"
libdir=$(dirname "$library")
readelf -d "$library" | grep -q "SONAME.*\[libVXDataStorage.so.${version%%.*}\]" || fail "wrong SONAME"
grep -q "\"$version\"" "$prefix/include/VXDataStorage/datastorage/Version.h" || fail "Version.h has another version"

note "a source tree that nobody may write to"
mkdir "$work/source"
git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$work/source"
chmod -R a-w "$work/source"
touch "$work/before"
quietly readonly-configure cmake -G Ninja -S "$work/source" -B "$work/readonly" "${launcher[@]}" \
    -DCMAKE_BUILD_TYPE=Release -DVXDATASTORAGE_BUILD_TESTS=OFF
quietly readonly-build cmake --build "$work/readonly" --parallel "$jobs"
# Directories change when something is made in them, and root may write all the same.
! find "$work/source" -newer "$work/before" | grep . || fail "the build has written into its sources"
echo "ok  built from it, unchanged"

note "installed files"
(cd "$prefix" && find . -type f -o -type l | sort) >"$work/moved.list"
(cd "$work/destdir/opt/vx" && find . -type f -o -type l | sort) >"$work/destdir.list"
diff -u "$work/moved.list" "$work/destdir.list" || fail "DESTDIR changes what is installed"
# Neither this checkout nor the first prefix may be written into any file, DESTDIR into none either.
for path in "$root" "$work/stage" "$work/destdir"; do
    ! grep -rlF -e "$path" "$prefix" "$work/destdir" || fail "the path $path stands in the files above"
done
! grep -rnE '(^|[ "=;(])/(usr|opt|home|root|tmp|build)/' "$prefix" --include='*.cmake' --include='*.pc' \
    --include='*.pri' --include='*.h' || fail "an absolute path stands in the lines above"
while IFS= read -r -d '' binary; do
    # shellcheck disable=SC2016 # the loader's own word, not the shell's
    if readelf -d "$binary" 2>/dev/null | grep -E 'R(UN)?PATH' | grep -v '\[\$ORIGIN[^:]*\]'; then
        fail "$binary looks for libraries outside of the installed copy"
    fi
done < <(find "$prefix" -type f -perm -u+x -print0)
! grep '_p\.h$' "$work/moved.list" || fail "an internal header is installed"
echo "ok  $(wc -l <"$work/moved.list") files, no absolute path"

note "exported symbols"
scripts/check-symbols.sh "$library"

note "headers on their own"
build release all_verify_interface_header_sets >/dev/null
configure tidy -DVXDATASTORAGE_BUILD_TESTS=OFF
build tidy all_verify_interface_header_sets >/dev/null
echo "ok  g++ and clang++"

note "consumers"
cmake_consumer() {
    local name=$1
    shift
    quietly "$name-configure" cmake -G Ninja -S tests/packaging/consumer -B "$work/$name" "${launcher[@]}" \
        -DCMAKE_BUILD_TYPE=Release -DSOURCE="$root" "$@"
    quietly "$name-build" cmake --build "$work/$name" --parallel "$jobs" --target consumer
    expect_output "$name" "$work/$name/consumer"
}
cmake_consumer package -DCONSUME=package -DCMAKE_PREFIX_PATH="$prefix"
cmake_consumer package-destdir -DCONSUME=package -DCMAKE_PREFIX_PATH="$work/destdir/opt/vx"
cmake_consumer subdirectory-own-archive -DCONSUME=subdirectory \
    -DVXDATASTORAGE_ARCHIVE_INCLUDE_DIR="$root/tests/packaging/own_archive" \
    -DCMAKE_CXX_FLAGS=
cmake_consumer fetchcontent-static -DCONSUME=fetchcontent -DVXDATASTORAGE_STATIC=ON

quietly examples-configure cmake -G Ninja -S examples -B "$work/examples" "${launcher[@]}" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix"
quietly examples-build cmake --build "$work/examples" --parallel "$jobs"
quietly examples-run ctest --test-dir "$work/examples" --no-tests=error
echo "ok  examples"

export PKG_CONFIG_PATH=$libdir/pkgconfig
[ "$(pkg-config --modversion VXDataStorage)" = "$version" ] || fail "pkg-config knows another version"
# shellcheck disable=SC2046 # one word per flag
quietly pkg-config-build g++ -std=c++20 -fPIC "$quickstart/main.cpp" -o "$work/pkg-config-consumer" \
    $(pkg-config --cflags --libs VXDataStorage) -Wl,-rpath,"$libdir"
expect_output pkg-config "$work/pkg-config-consumer"

mkdir "$work/qmake"
quietly qmake-configure env -C "$work/qmake" PRI="$prefix/share/VXDataStorage/VXDataStorage.pri" \
    MAIN="$quickstart/main.cpp" qmake6 "$root/tests/packaging/consumer/consumer.pro"
quietly qmake-build make -C "$work/qmake" -j "$jobs"
expect_output qmake env LD_LIBRARY_PATH="$libdir" "$work/qmake/consumer"

if [ -x "$prefix/bin/vxdata" ]; then
    "$prefix/bin/vxdata" --version | grep -qF "$version" || fail "the moved vxdata does not run or has another version"
    echo "ok  vxdata from the moved copy"
fi

echo "packaging: done"
