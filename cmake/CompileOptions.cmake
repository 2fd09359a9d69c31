# How every target of this project is compiled and linked.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# The build folders of several presets hold the same objects: a compiler cache makes them once.
find_program(SHAREDSTORE_CCACHE ccache)
mark_as_advanced(SHAREDSTORE_CCACHE)
if(SHAREDSTORE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${SHAREDSTORE_CCACHE})
endif()

# An installation finds its own libraries under whatever prefix it lies; packagers who set the linker's path
# configure with -DCMAKE_SKIP_INSTALL_RPATH=ON.
file(RELATIVE_PATH bin_to_lib "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_INSTALL_RPATH "$ORIGIN" "$ORIGIN/${bin_to_lib}")

include(CheckPIESupported)
check_pie_supported()

set(sanitized FALSE)
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
    set(sanitized TRUE)
endif()

add_compile_options(
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
    # g++ 12 sees overlapping copies and huge lengths in libstdc++'s inlined strings and vectors where there are
    # none (gcc.gnu.org/PR105651, PR105329).
    "$<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict;-Wno-stringop-overread>"
    # With a sanitizer's code in between, g++ can't tell what is initialised (it says so in its manual).
    "$<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${sanitized}>>:-Wno-maybe-uninitialized>"
    # With several sources to a unit, g++ takes their anonymous namespaces for those of headers.
    "$<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wno-subobject-linkage>"
    # A process must be able to unload the libraries, which GNU's unique symbols forbid.
    $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>
    -fstack-protector-strong
    -fstack-clash-protection
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection>)

# glibc checks buffer sizes only in optimised builds.
add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
add_compile_definitions(_GLIBCXX_ASSERTIONS)

# "now": lazy binding would save argument registers, and with them clear bytes, on the stack.
add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

if(SHAREDSTORE_BUILD_FUZZERS)
    # The fuzzer follows the coverage of the libraries too.
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# sharedstore_library(TARGET): what a library of this project is besides its sources. Unless UNRESOLVED is given,
# its every symbol must come from what it links to (the runtime of a sanitizer comes from the executable).
function(sharedstore_library target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "UNRESOLVED" "" "")
    set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    target_compile_features(${target} INTERFACE cxx_std_17)
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/SharedStore>)
    set(map ${PROJECT_SOURCE_DIR}/cmake/weak-symbols.map)
    target_link_options(${target} PRIVATE LINKER:--version-script=${map})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
    if(NOT arg_UNRESOLVED AND NOT sanitized)
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
endfunction()
