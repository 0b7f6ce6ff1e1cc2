# What every target is compiled with: the language, warnings, the compiler cache and the sanitizers of a preset.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# With paths taken relative to the source tree, several checkouts share one cache. The sloppiness is what the cache asks
# for with precompiled headers: no source of ours depends on the time at which it is compiled.
find_program(KZ_CCACHE ccache)
if(KZ_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        "${CMAKE_COMMAND}" -E env "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}" CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_PCH_EXTSUM=1 "${KZ_CCACHE}")
endif()

add_library(kz_options INTERFACE)
# Calls into the interpreter go through its address at once, not through a stub.
target_compile_options(kz_options INTERFACE -Wall -Wextra -Wpedantic -fno-plt)

set(KZ_SANITIZE "" CACHE STRING "Sanitizers to build with: empty, address,undefined or thread")
if(KZ_SANITIZE)
    add_compile_options(-fsanitize=${KZ_SANITIZE} -fno-omit-frame-pointer)
    # Instrumented code confuses g++'s flow analysis, which then reports values as uninitialised that are not.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-Wno-maybe-uninitialized)
    endif()
    add_link_options(-fsanitize=${KZ_SANITIZE})
endif()
if(KZ_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
endif()

option(KZ_COVERAGE "Count what is executed" OFF)
if(KZ_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()

option(KZ_LIBFUZZER "Instrument for libFuzzer, which needs Clang" OFF)
if(KZ_LIBFUZZER)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
