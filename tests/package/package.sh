#!/usr/bin/env bash
# One check of the installed package. usage: package.sh CHECK PREFIX SOURCE_FOLDER COMPILER
set -euo pipefail

check=$1 prefix=$2 source=$3 compiler=$4
library_dir=$(dirname "$(find "$prefix" -name libSharedStore.so)")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LD_LIBRARY_PATH=$library_dir SHAREDSTORE_REGISTRY=$work/registry SHAREDSTORE_LOG=stderr
strict=(-std=c++17 -Wall -Wextra -Wpedantic -Werror)

# The README's example, word for word.
readme_example() {
    sed -n '/^```cpp$/,/^```$/p' "$source/README.md" | sed '1d;$d' >"$work/example.cpp"
    [[ -s $work/example.cpp ]]
}

expect_example_output() {
    local output
    output=$("$1")
    echo "$output"
    [[ $output == "1200 bytes, versions 1/1" ]]
}

CMakeConsumer() {
    readme_example
    cat >"$work/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)
find_package(SharedStore REQUIRED)
add_executable(example example.cpp)
target_link_libraries(example PRIVATE SharedStore::SharedStore)
END
    cmake -S "$work" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="${strict[*]}"
    cmake --build "$work/build"
    expect_example_output "$work/build/example"
}

PkgConfigConsumer() {
    readme_example
    export PKG_CONFIG_PATH=$library_dir/pkgconfig
    local flags
    read -ra flags < <(pkg-config --cflags --libs sharedstore)
    "$compiler" "${strict[@]}" "$work/example.cpp" "${flags[@]}" -o "$work/example"
    expect_example_output "$work/example"
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

# Programs that were built with an earlier package still run with this one. "scripts/abi.sh --update" takes a change over.
Abi() {
    "$source/tests/package/abi.py" "$prefix" "$source/tests/package/abi.txt"
}

# Built against the declarations alone, the library leaves every platform symbol to its user.
ExternalPlatform() {
    cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Debug \
        -DSHAREDSTORE_PLATFORM=external -DSHAREDSTORE_BUILD_TOOLS=OFF -DBUILD_TESTING=OFF
    cmake --build "$work/build"
    cmake --install "$work/build" --prefix "$work/external"
    local library
    library=$(find "$work/external" -name libSharedStore.so)
    readelf --dynamic "$library" | grep NEEDED | tee "$work/needed"
    ! grep -q SharedStoreHost "$work/needed"
    nm --dynamic --undefined-only "$library" | grep -w pvlogLog
}

"$check"
