# The embedded interpreter: imported target kz::python2, and KZ_PYTHON2_PREFIX, KZ_PYTHON2_STDLIB.
# KZ_PYTHON2 (cache or environment) names another interpreter; KZ_PYTHON2_DEBUG takes the debug build of the default one.

option(KZ_PYTHON2_DEBUG "Build against the interpreter's debug build" OFF)

set(kz_default_python2 /usr/bin/python2.7)
if(KZ_PYTHON2_DEBUG)
    set(kz_default_python2 /usr/bin/python2.7-dbg)
elseif(NOT "$ENV{KZ_PYTHON2}" STREQUAL "")
    set(kz_default_python2 "$ENV{KZ_PYTHON2}")
endif()
set(KZ_PYTHON2 "${kz_default_python2}" CACHE FILEPATH "The Python 2.7 to embed; it must have a shared library")

execute_process(
    COMMAND "${KZ_PYTHON2}" "${CMAKE_CURRENT_LIST_DIR}/python2_probe.py"
    OUTPUT_VARIABLE kz_probe ERROR_VARIABLE kz_probe_error RESULT_VARIABLE kz_probe_status
    OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_STRIP_TRAILING_WHITESPACE)
if(NOT kz_probe_status STREQUAL "0")
    message(FATAL_ERROR "Cannot embed ${KZ_PYTHON2}: ${kz_probe_error} (status: ${kz_probe_status}). "
        "Run ./dev setup, or set KZ_PYTHON2 to a Python 2.7 that has a shared library.")
endif()

string(REPLACE "\n" ";" kz_probe "${kz_probe}")
list(GET kz_probe 0 KZ_PYTHON2_PREFIX)
list(GET kz_probe 1 kz_python2_include)
list(GET kz_probe 2 kz_python2_library)
list(GET kz_probe 3 KZ_PYTHON2_STDLIB)

add_library(kz::python2 SHARED IMPORTED GLOBAL)
set_target_properties(kz::python2 PROPERTIES
    IMPORTED_LOCATION "${kz_python2_library}"
    INTERFACE_INCLUDE_DIRECTORIES "${kz_python2_include}")

# The headers say "register", which C++17 took away; as system headers they are not warned about. The debug headers
# are links to the release ones, and g++ resolves such links in system folders, so that the release pyconfig.h would
# silently be read: they have to come as ordinary headers.
if(KZ_PYTHON2_DEBUG)
    set_target_properties(kz::python2 PROPERTIES IMPORTED_NO_SYSTEM ON INTERFACE_COMPILE_OPTIONS "-Wno-register")
endif()
message(STATUS "Python 2.7: ${KZ_PYTHON2} (${kz_python2_library})")
