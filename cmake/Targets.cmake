# The ways to add a target: libraries, tests, and the plug-in that the object libraries end up in.

# Reading the standard headers takes a compiler longer than compiling what a source of ours says, so the release build
# compiles them once. That would hide a missing include: the other presets, and the analysis of sources, go without.
option(KZ_PRECOMPILE "Compile the standard headers once, with Clang" OFF)

# kz_precompile(NAME OPTION... HEADERS HEADER...): headers for kz_use_precompiled(), with the options of those that use them.
# CMake's own way names them by absolute paths, with which checkouts could not share one compiler cache; and the cache compares
# their text in place of them, as the compiled ones have such paths inside.
function(kz_precompile name)
    if(NOT KZ_PRECOMPILE)
        return()
    endif()
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS")
    list(TRANSFORM arg_HEADERS REPLACE "(.+)" "#include <\\1>\n")
    list(JOIN arg_HEADERS "" text)
    file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/${name}.h" CONTENT "${text}" @ONLY)
    string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
    separate_arguments(flags UNIX_COMMAND "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${build_type}}")
    get_directory_property(options COMPILE_OPTIONS)  # the sanitizers'
    set(compile "${CMAKE_CXX_COMPILER}" ${flags} ${options} -std=c++${CMAKE_CXX_STANDARD} -fPIC -fvisibility=hidden
        -fvisibility-inlines-hidden ${arg_UNPARSED_ARGUMENTS} -x c++-header ${name}.h)
    add_custom_command(OUTPUT "${PROJECT_BINARY_DIR}/${name}.pch"
        COMMAND ${compile} -E -P -o ${name}.pch.sum
        COMMAND ${compile} -Xclang -fno-pch-timestamp -fpch-instantiate-templates -MD -MF ${name}.pch.d -o ${name}.pch
        DEPFILE "${PROJECT_BINARY_DIR}/${name}.pch.d" DEPENDS "${PROJECT_BINARY_DIR}/${name}.h"
        WORKING_DIRECTORY "${PROJECT_BINARY_DIR}" COMMENT "Compiling the headers of ${name}" VERBATIM)
    add_custom_target(${name} DEPENDS "${PROJECT_BINARY_DIR}/${name}.pch")
endfunction()

# The target takes those that the variable kz_headers names; a program, as position-independent code like a library's.
function(kz_use_precompiled name)
    if(NOT KZ_PRECOMPILE)
        return()
    endif()
    add_dependencies(${name} ${kz_headers})
    get_target_property(sources ${name} SOURCES)
    set_property(SOURCE ${sources} APPEND PROPERTY OBJECT_DEPENDS "${PROJECT_BINARY_DIR}/${kz_headers}.pch")
    target_compile_options(${name} PRIVATE "SHELL:-include-pch ${kz_headers}.pch")
    get_target_property(kind ${name} TYPE)
    if(kind STREQUAL EXECUTABLE)
        set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
        target_compile_options(${name} PRIVATE -fPIC)
    endif()
endfunction()

set(kz_standard_list algorithm array atomic charconv chrono cmath cstdint cstring deque
    ext/pb_ds/assoc_container.hpp ext/pb_ds/tree_policy.hpp filesystem fstream functional limits
    map memory mutex optional set span sstream string string_view thread unordered_map unordered_set utility variant vector)
kz_precompile(kz_standard_headers -DFMT_SHARED HEADERS ${kz_standard_list} fmt/format.h)
set(kz_headers kz_standard_headers)

# What the headers of a library cost is paid once for each group of its sources rather than for each source. That would hide a
# name that two files use and an include that a neighbour has: the debug preset and the analysis of sources go without.
option(KZ_JOIN_SOURCES "Compile the sources of a library in groups" OFF)

# kz_join_sources(NAME [EXCEPT FOLDER...]): groups of eight to sixteen sources of one folder, chosen by their names, so that a
# new source changes the group that it joins and no other.
function(kz_join_sources name)
    if(NOT KZ_JOIN_SOURCES)
        return()
    endif()
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "EXCEPT")
    get_target_property(sources ${name} SOURCES)
    set(folders "")
    foreach(source IN LISTS sources)
        get_filename_component(folder "./${source}" DIRECTORY)
        list(APPEND folders "${folder}")
    endforeach()
    foreach(source folder IN ZIP_LISTS sources folders)
        set(fellows ${folders})
        list(FILTER fellows INCLUDE REGEX "^${folder}$")
        list(LENGTH fellows count)
        string(MD5 digest "${source}")
        string(SUBSTRING "${digest}" 0 2 digest)
        set(groups 1)
        while(count GREATER 16)
            math(EXPR groups "${groups} * 2")
            math(EXPR count "${count} / 2")
        endwhile()
        math(EXPR group "0x${digest} % ${groups}")
        string(REGEX REPLACE "^\\./?" "" folder "${folder}")
        if(NOT "${folder}" IN_LIST arg_EXCEPT)
            string(MAKE_C_IDENTIFIER "${folder}" folder)
            set_source_files_properties("${source}" PROPERTIES UNITY_GROUP "${folder}_${group}")
        endif()
    endforeach()
    set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endfunction()

# kz_inline_less(NAME): for code that costs next to nothing in what scripts do. With Clang, it takes a third less time to compile.
function(kz_inline_less name)
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        target_compile_options(${name} PRIVATE "$<$<CONFIG:Release>:SHELL:-mllvm -inline-threshold=50>")
    endif()
endfunction()

# kz_add_library(NAME OBJECT|STATIC SOURCE... [LINK LIBRARY...])
# Sources include each other from the top of the tree ("wrap/marshal.h"), generated ones from the top of the build tree.
function(kz_add_library name kind)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "LINK")
    add_library(${name} ${kind} ${arg_UNPARSED_ARGUMENTS})
    target_include_directories(${name} PUBLIC
        "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>" "$<BUILD_INTERFACE:${PROJECT_BINARY_DIR}>")
    target_link_libraries(${name} PUBLIC ${arg_LINK} PRIVATE "$<BUILD_INTERFACE:kz_options>")
    kz_use_precompiled(${name})
endfunction()

# kz_add_program(NAME SOURCE... [LINK LIBRARY...]): an executable in bin/.
function(kz_add_program name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINK")
    add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}")
    target_link_libraries(${name} PRIVATE ${arg_LINK} kz_options)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
    kz_use_precompiled(${name})
endfunction()

# The leak checker's suppressions for tests whose servers keep what they return: the general ones and their own.
set(kz_served_suppressions "${PROJECT_BINARY_DIR}/lsan_served.supp")
file(READ "${PROJECT_SOURCE_DIR}/tools/sanitizers/lsan.supp" kz_general_leaks)
file(READ "${PROJECT_SOURCE_DIR}/tools/sanitizers/lsan_served.supp" kz_served_leaks)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/tools/sanitizers/lsan.supp" "${PROJECT_SOURCE_DIR}/tools/sanitizers/lsan_served.supp")
file(WRITE "${kz_served_suppressions}" "${kz_general_leaks}${kz_served_leaks}")

# With KEEPS_SERVED the leak checker is told of what servers keep on purpose, with DEEP_STACKS it follows allocations through
# libraries without frame pointers, slowly, so that it recognises what they leak themselves.
# kz_add_test(NAME SOURCE... [LINK LIBRARY...] [TIMEOUT SECONDS] [LABELS LABEL...])
# A GoogleTest program whose every TEST is a test of its own, in a process of its own. The plug-in and the kit are there
# when it runs; "kz_paths.h" tells it where. Its labels are its folder's name and those given; the target
# kz_tests_LABEL builds all tests with that label.
function(kz_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "KEEPS_SERVED;DEEP_STACKS" "TIMEOUT" "LINK;LABELS")
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 300)
    endif()
    get_filename_component(folder "${CMAKE_CURRENT_SOURCE_DIR}" NAME)
    list(APPEND arg_LABELS ${folder})
    add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}")
    target_link_libraries(${name} PRIVATE ${arg_LINK} GTest::gtest_main kz_options)
    kz_use_precompiled(${name})
    add_dependencies(${name} kz_run_time)
    set(environment "")
    if(arg_KEEPS_SERVED)
        set(environment ENVIRONMENT "LSAN_OPTIONS=suppressions=${kz_served_suppressions}:print_suppressions=0")
    endif()
    if(arg_DEEP_STACKS)
        list(APPEND environment ENVIRONMENT_MODIFICATION "ASAN_OPTIONS=string_append::fast_unwind_on_malloc=0")
    endif()
    foreach(label IN LISTS arg_LABELS)
        if(NOT TARGET kz_tests_${label})
            add_custom_target(kz_tests_${label})
        endif()
        add_dependencies(kz_tests_${label} ${name})
    endforeach()
    list(JOIN arg_LABELS "+" labels)  # a list would be cut at its semicolons; ctest -L looks for a part of the label
    gtest_discover_tests(${name}
        DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 TEST_PREFIX "${name}."
        PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS ${labels} ${environment})
endfunction()

# A header of its own rather than definitions on every command line: only what includes it differs between checkouts,
# so that the compiler cache serves the rest of the tests to all of them.
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/kz_paths.h" CONTENT [=[
// Where this build tree and its sources are, for tests.
#pragma once

#define KZ_BUILD_DIR "@PROJECT_BINARY_DIR@"
#define KZ_SOURCE_DIR "@PROJECT_SOURCE_DIR@"
]=] @ONLY)

file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/kz_version.h" CONTENT [=[
// The version of the plug-in and the reference host. CMakeLists.txt has it; what a release is: docs/releasing.md.
#pragma once

#define KZ_VERSION "@PROJECT_VERSION@"
]=] @ONLY)

# kz_add_plugin(): links the object libraries of all folders that are there into the one plug-in.
function(kz_add_plugin)
    set(parts "")
    foreach(part IN ITEMS kz_module kz_wrap kz_observe kz_wrap_methods kz_kzmod kz_serve kz_serve_adapters kz_script kz_plugin)
        if(TARGET ${part})
            list(APPEND parts ${part})
        endif()
    endforeach()
    if(NOT parts)
        return()
    endif()
    add_library(kzPython2 MODULE)
    set_property(GLOBAL PROPERTY KZ_PLUGIN_PARTS ${parts})  # for tests that look inside
    target_link_libraries(kzPython2 PRIVATE ${parts} kz_options)
    # It stays mapped until the process ends: the interpreter, extension modules and threads still have its addresses when
    # the host has unloaded it.
    set(exports "${PROJECT_SOURCE_DIR}/plugin/exports.map")
    # The tables of the SDK are tens of thousands of pointers, which are corrected at every start: packed, they are read
    # faster.
    target_link_options(kzPython2 PRIVATE -Wl,--no-undefined -Wl,-z,nodelete "-Wl,--version-script=${exports}"
        -Wl,-z,pack-relative-relocs)
    set_property(TARGET kzPython2 APPEND PROPERTY LINK_DEPENDS "${exports}")
    set_target_properties(kzPython2 PROPERTIES
        PREFIX "" LINKER_LANGUAGE CXX LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/plugins")
    add_dependencies(kz_run_time kzPython2)
endfunction()
