# The ways to add a target: libraries, tests, and the plug-in that the object libraries end up in.

# kz_add_library(NAME OBJECT|STATIC SOURCE... [LINK LIBRARY...])
# Sources include each other from the top of the tree ("wrap/marshal.h"), generated ones from the top of the build tree.
function(kz_add_library name kind)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "LINK")
    add_library(${name} ${kind} ${arg_UNPARSED_ARGUMENTS})
    target_include_directories(${name} PUBLIC
        "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>" "$<BUILD_INTERFACE:${PROJECT_BINARY_DIR}>")
    target_link_libraries(${name} PUBLIC ${arg_LINK} PRIVATE "$<BUILD_INTERFACE:kz_options>")
endfunction()

# kz_add_program(NAME SOURCE... [LINK LIBRARY...]): an executable in bin/.
function(kz_add_program name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINK")
    add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}")
    target_link_libraries(${name} PRIVATE ${arg_LINK} kz_options)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
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
