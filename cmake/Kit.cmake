# The kit: what a host installation carries beside the plug-in, laid out in the build tree as there.
#   kit/Python2_7/extra64/Python/lib/python2.7     the interpreter's own library
#   kit/Python2_7/extra64/Python/include/python2.7 its headers, whose settings sysconfig reads
#   kit/Python2_7/extra64/Python/Scripts/NAME      our Python packages

set(KZ_KIT_HOME "${PROJECT_BINARY_DIR}/kit/Python2_7/extra64/Python")

file(MAKE_DIRECTORY "${KZ_KIT_HOME}/lib" "${KZ_KIT_HOME}/include" "${KZ_KIT_HOME}/Scripts")
file(CREATE_LINK "${KZ_PYTHON2_STDLIB}" "${KZ_KIT_HOME}/lib/python2.7" SYMBOLIC)
file(CREATE_LINK "${kz_python2_include}" "${KZ_KIT_HOME}/include/python2.7" SYMBOLIC)

# kz_kit: the packages are in place. kz_run_time: everything is that a program needs to load the plug-in and run it.
add_custom_target(kz_kit ALL)
add_custom_target(kz_run_time)
add_dependencies(kz_run_time kz_kit)

# kz_add_kit_package(NAME BASE FOLDER FILES FILE...): copies files, relative to FOLDER, into the kit's package NAME.
# Copied, not linked, because their compiled files lie beside them: an installation may be one that its users cannot
# write to, and then each start would compile all of them again. Generated files may be among them.
function(kz_add_kit_package name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "BASE" "FILES")
    set(copies "")
    set(compiled "")
    foreach(file IN LISTS arg_FILES)
        cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY "${arg_BASE}" NORMALIZE OUTPUT_VARIABLE from)
        cmake_path(RELATIVE_PATH from BASE_DIRECTORY "${arg_BASE}" OUTPUT_VARIABLE relative)
        set(to "${KZ_KIT_HOME}/Scripts/${name}/${relative}")
        add_custom_command(OUTPUT "${to}" DEPENDS "${from}"
            COMMAND "${CMAKE_COMMAND}" -E copy "${from}" "${to}"
            COMMENT "Kit: ${name}/${relative}")
        list(APPEND copies "${to}")
        list(APPEND compiled "${to}c")
    endforeach()
    add_custom_command(OUTPUT ${compiled} DEPENDS ${copies}
        COMMAND "${KZ_PYTHON2}" "${PROJECT_SOURCE_DIR}/cmake/compile_package.py" "${KZ_KIT_HOME}" ${copies}
        COMMENT "Kit: ${name}, compiled"
        VERBATIM)
    add_custom_target(kz_kit_${name} DEPENDS ${copies} ${compiled})
    add_dependencies(kz_kit kz_kit_${name})
endfunction()
