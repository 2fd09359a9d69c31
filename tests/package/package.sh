#!/usr/bin/env bash
# One check of the installed package. usage: package.sh CHECK PREFIX SOURCE_FOLDER COMPILER
set -euo pipefail

check=$1 prefix=$2 source=$3 compiler=$4
library_dir=$(dirname "$(find "$prefix" -name libSharedStore.so)")
work=$(mktemp -d)
service=
trap 'rm -rf "$work"; [[ -z $service ]] || kill "$service"' EXIT
export LD_LIBRARY_PATH=$library_dir SHAREDSTORE_REGISTRY=$work/registry SHAREDSTORE_LOG=stderr
strict=(-std=c++17 -Wall -Wextra -Wpedantic -Werror)
programs=0

# The documents' programs: each block of C++ becomes NUMBER.cpp, the next text behind it NUMBER.txt, which it must print.
documented_programs() {
    awk -v folder="$work" '
        /^```cpp$/ { file = sprintf("%s/%d.cpp", folder, ++count); next }
        /^```text$/ && printed < count { file = sprintf("%s/%d.txt", folder, printed = count); next }
        /^```/ { file = ""; next }
        file != "" { print >file }' "$source/README.md" "$source/docs/guide.md"
}

# usage: expect_documented_output NUMBER PROGRAM
expect_documented_output() {
    "$2" | diff -u "$work/$1.txt" -
    programs=$((programs + 1))
}

CMakeConsumer() {
    documented_programs
    cat >"$work/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)
find_package(SharedStore REQUIRED)
file(GLOB programs *.cpp)
foreach(program IN LISTS programs)
    cmake_path(GET program STEM name)
    add_executable(program${name} ${program})
    target_include_directories(program${name} PRIVATE ${EXAMPLES})
    target_link_libraries(program${name} PRIVATE SharedStore::SharedStore)
endforeach()
END
    cmake -S "$work" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_CXX_FLAGS="${strict[*]}" -DEXAMPLES="$source/examples"
    cmake --build "$work/build"
    local program
    for program in "$work"/*.cpp; do
        program=$(basename "$program" .cpp)
        expect_documented_output "$program" "$work/build/program$program"
    done
    echo "$programs documented programs print what is documented"
    ((programs == 4))
}

PkgConfigConsumer() {
    documented_programs
    export PKG_CONFIG_PATH=$library_dir/pkgconfig
    local flags
    read -ra flags < <(pkg-config --cflags --libs sharedstore)
    "$compiler" "${strict[@]}" "$work/1.cpp" "${flags[@]}" -o "$work/example"
    expect_documented_output 1 "$work/example"
}

# What the examples print; those of scripts/demo.sh are only built.
Examples() {
    cmake -S "$source/examples" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_CXX_FLAGS="-Werror"
    cmake --build "$work/build"

    "$work/build/own-platform" | diff -u - <(
        echo "store BuiltIn of product Platform, shared"
        printf '%s: 1200 bytes\n' mail signing
        echo "[SRVSHAREDSTORE] CStaticDataCacheClient::GetData: GetData failed hr = 80070057"
        echo "after the removal: not there"
    )
    [[ ! -e $SHAREDSTORE_REGISTRY ]]

    "$work/build/session-service" "$work/socket" serve &
    service=$!
    for ((try = 0; try < 200; ++try)); do
        [[ -S $work/socket ]] && break
        sleep 0.05
    done
    # A login session, in which $$ is the session's number; other sessions begin with setsid.
    # shellcheck disable=SC2016
    setsid --wait bash -c '
        printf 4938 | "$@" set
        "$@" get
        setsid --wait "$@" get
        "$@" end $$
        "$@" get
        printf 4938 | "$@" set
        printf 5271 | setsid --wait "$@" set' _ "$work/build/session-service" "$work/socket" |
        diff -u <(printf '%s\n' 'done' 4938 refused 'done' refused refused 'done') -
    kill "$service"
    wait "$service"
    service=
    [[ ! -e $work/socket ]]
}

HeadersAlone() {
    local include=$prefix/include/SharedStore header count=0
    while IFS= read -r header; do
        echo "#include \"$header\"" >"$work/alone.cpp"
        "$compiler" "${strict[@]}" -I"$include" -fsyntax-only "$work/alone.cpp"
        count=$((count + 1))
    done < <(cd "$include" && find . -name '*.h' -printf '%P\n' | sort)
    echo "$count headers compile alone"
    ((count > 10))
}

# Each library exports what its list names, and nothing else. Weak symbols do not count: which of them there are
# (inline functions, tables of virtual functions, type information) is the compiler's affair.
ExportedSymbols() {
    local library
    for library in SharedStore SharedStoreHost; do
        nm --dynamic --defined-only --extern-only --format=posix "$library_dir/lib$library.so" |
            awk '$2 !~ /[WVu]/ { print $1 }' | c++filt | grep -vE '^(typeinfo|vtable)' | LC_ALL=C sort -u >"$work/$library.exports"
        diff -u "$source/tests/package/lib$library.exports" "$work/$library.exports"
    done
}

# Built against the declarations alone, the library leaves every platform symbol to its user.
ExternalPlatform() {
    cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release \
        -DSHAREDSTORE_PLATFORM=external -DSHAREDSTORE_BUILD_TOOLS=OFF -DBUILD_TESTING=OFF
    cmake --build "$work/build"
    cmake --install "$work/build" --prefix "$work/external"
    local library
    library=$(find "$work/external" -name libSharedStore.so)
    readelf --dynamic "$library" | grep NEEDED | tee "$work/needed"
    [[ $(<"$work/needed") != *SharedStoreHost* ]]
    nm --dynamic --undefined-only "$library" | grep -w pvlogLog
}

"$check"
