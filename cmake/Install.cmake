# What "cmake --install" puts where. All of it finds the rest relative to itself, so a prefix may be moved:
#   bin/kzhost, bin/kzgen
#   lib/kzPython2/plugins     the plug-in, and beside it the interpreter's library
#   lib/kzPython2/lib         the picture library, and the program for foreign models
#   lib/kzPython2/kit         the interpreter's home, which the reference host gives to the plug-in
#   include/kz, lib/libkz_sdk.a, lib/cmake/kzPython2, share/kzPython2/idl, share/kzPython2/sdk   what hosts and plug-ins
#                             are built with
#   lib/debug/.build-id       the symbols of all programs and libraries, which are stripped
#   share/doc/kzpython2       documents, examples, licences and the bills of materials
# Components: runtime, pictures, models, development, symbols.

include(CMakePackageConfigHelpers)
include(CheckLinkerFlag)

set(kz_home lib/kzPython2)
set(kz_kit ${kz_home}/kit/Python2_7)
set(kz_python ${kz_kit}/extra64/Python)
set(kz_doc share/doc/kzpython2)
set(kz_bill_inputs "")

# kz_install_code(COMPONENT TEXT): text in which @NAME@ stands for a variable of the build and FOLDER for the prefix in
# which the files land, which is not the final one while a package is made.
function(kz_install_code component text)
    string(CONFIGURE "${text}" text @ONLY)
    install(CODE "set(FOLDER \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")\n${text}" COMPONENT ${component})
endfunction()

# kz_install_binary(TARGET FOLDER COMPONENT): a program or a module, stripped, with its symbols as a file of their own. The
# plug-in and the picture library are modules, which a host loads by their fixed names and never links: a version in such a
# name would leave two of them in a folder that hosts search, and a process takes only one. So each file says its
# version in a note instead ("readelf -n").
check_linker_flag(CXX "-Xlinker;--package-metadata={}" KZ_HAS_PACKAGE_NOTE)
find_program(KZ_OBJCOPY objcopy REQUIRED)
function(kz_install_binary target folder component)
    if(KZ_HAS_PACKAGE_NOTE)
        set(note "{\"type\":\"deb\",\"name\":\"${PROJECT_NAME}\",\"version\":\"${PROJECT_VERSION}\"}")
        target_link_options(${target} PRIVATE "SHELL:-Xlinker '--package-metadata=${note}'")
    endif()
    target_link_options(${target} PRIVATE -Wl,--build-id=sha1)
    install(TARGETS ${target} EXPORT kzPython2-${component}
        RUNTIME DESTINATION ${folder} COMPONENT ${component} LIBRARY DESTINATION ${folder} COMPONENT ${component})
    set(code "set(NAME \"$<TARGET_FILE_NAME:${target}>\")\nset(BUILT \"$<TARGET_FILE:${target}>\")\n")
    kz_install_code(${component} "${code}
execute_process(COMMAND \"@KZ_OBJCOPY@\" --strip-unneeded \"\${FOLDER}/${folder}/\${NAME}\" COMMAND_ERROR_IS_FATAL ANY)")
    kz_install_code(symbols "${code}
execute_process(COMMAND \"@CMAKE_READELF@\" -n \"\${BUILT}\" OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
if(NOT notes MATCHES \"Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)\")
    message(FATAL_ERROR \"\${BUILT} has no build ID, by which debuggers find its symbols\")
endif()
set(SYMBOLS \"lib/debug/.build-id/\${CMAKE_MATCH_1}/\${CMAKE_MATCH_2}.debug\")
cmake_path(GET SYMBOLS PARENT_PATH PLACE)
file(MAKE_DIRECTORY \"\${FOLDER}/\${PLACE}\")
execute_process(COMMAND \"@KZ_OBJCOPY@\" --only-keep-debug --compress-debug-sections \"\${BUILT}\" \"\${FOLDER}/\${SYMBOLS}\"
    COMMAND_ERROR_IS_FATAL ANY)
file(CHMOD \"\${FOLDER}/\${SYMBOLS}\" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${CMAKE_INSTALL_PREFIX}/\${SYMBOLS}\")")
endfunction()

# The plug-in looks beside itself first. Where the linker would not look by itself, the build tree needs the whole path.
cmake_path(GET kz_python2_library PARENT_PATH kz_library_folder)
set_target_properties(kzPython2 PROPERTIES INSTALL_RPATH "$ORIGIN" EXPORT_NAME plugin)
if(kz_library_folder IN_LIST CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES)
    set_target_properties(kzPython2 PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
endif()
kz_install_binary(kzhost bin runtime)
kz_install_binary(kzPython2 ${kz_home}/plugins runtime)
kz_install_binary(kzLineEditor ${kz_home}/lib runtime)
if(TARGET kzPictures)
    kz_install_binary(kzPictures ${kz_home}/lib pictures)
endif()
if(TARGET kzModels)
    kz_install_binary(kzModels ${kz_home}/lib models)
endif()
kz_install_binary(kzgen bin development)

# The interpreter: its library under the name by which the plug-in asks for it, its standard library without tests and
# without what other packages of the system have added, its headers, and our packages.
file(REAL_PATH "${kz_python2_library}" kz_python2_real)
install(FILES "${kz_python2_real}" DESTINATION ${kz_home}/plugins COMPONENT runtime)
install(DIRECTORY "${KZ_PYTHON2_STDLIB}/" DESTINATION ${kz_python}/lib/python2.7 COMPONENT runtime
    REGEX "/(test|tests|idle_test|dist-packages|site-packages|ensurepip|config(-[^/]*)?|sitecustomize\\.py)$" EXCLUDE
    REGEX "(_test|_testcapi|_d)(\\.[^/]*)?\\.so$|_d\\.py$|\\.py[co]$" EXCLUDE)
install(DIRECTORY "${kz_python2_include}/" DESTINATION ${kz_python}/include/python2.7 COMPONENT runtime)
# Where one folder of headers serves several processors, its settings are only a table of those of each.
set(kz_python2_settings "${kz_python2_include}/../${CMAKE_CXX_LIBRARY_ARCHITECTURE}/python2.7/pyconfig.h")
if(EXISTS "${kz_python2_settings}")
    install(FILES "${kz_python2_settings}" DESTINATION ${kz_python}/include/python2.7 COMPONENT runtime)
endif()
install(DIRECTORY "${KZ_KIT_HOME}/Scripts" DESTINATION ${kz_python} COMPONENT runtime)
# The stubs, under two names: type checkers look for NAME, and editors whose interpreter is kzhost find the built-in module
# of that name and read stubs from NAME-stubs alone.
install(DIRECTORY "${KZ_KIT_HOME}/stubs" DESTINATION ${kz_python} COMPONENT runtime
    FILES_MATCHING PATTERN "*.py" PATTERN "*.pyi")
foreach(name IN ITEMS kz kzifc kzu)
    install(DIRECTORY "${KZ_KIT_HOME}/stubs/${name}/" DESTINATION ${kz_python}/stubs/${name}-stubs COMPONENT runtime
        FILES_MATCHING PATTERN "*.pyi")
endforeach()
find_package(Python3 REQUIRED COMPONENTS Interpreter)
kz_install_code(runtime [=[
set(PYTHON "${FOLDER}/@kz_python@")
execute_process(COMMAND "@KZ_PYTHON2@" -E -S -m compileall -q -f -d python2.7 "${PYTHON}/lib/python2.7"
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "@Python3_EXECUTABLE@" "@PROJECT_SOURCE_DIR@/cmake/carry_libraries.py"
    "${PYTHON}/lib/python2.7/lib-dynload" "${PYTHON}/lib" COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE ADDED RELATIVE "${FOLDER}" "${PYTHON}/lib/*.pyc" "${PYTHON}/lib/lib*.so*")
list(TRANSFORM ADDED PREPEND "${CMAKE_INSTALL_PREFIX}/")
list(APPEND CMAKE_INSTALL_MANIFEST_FILES ${ADDED})]=])

# What hosts and plug-ins are built with.
add_library(kz_headers INTERFACE)
target_compile_features(kz_headers INTERFACE cxx_std_20)
add_library(kz_description INTERFACE)
set_target_properties(kz_sdk PROPERTIES EXPORT_NAME sdk)
set_target_properties(kz_headers PROPERTIES EXPORT_NAME headers)
set_target_properties(kz_description PROPERTIES EXPORT_NAME description)
install(TARGETS kz_sdk kz_headers kz_description EXPORT kzPython2-development
    ARCHIVE DESTINATION lib COMPONENT development INCLUDES DESTINATION include)
install(DIRECTORY sdk/include/kz "${PROJECT_BINARY_DIR}/sdk/generated/kz" DESTINATION include COMPONENT development
    FILES_MATCHING PATTERN "*.h")
install(DIRECTORY sdk/idl DESTINATION share/kzPython2 COMPONENT development)
install(DIRECTORY sdk/example DESTINATION share/kzPython2/sdk COMPONENT development)
configure_package_config_file(cmake/kzPython2Config.cmake.in kzPython2Config.cmake
    INSTALL_DESTINATION lib/cmake/kzPython2 NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(kzPython2ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/kzPython2Config.cmake" "${PROJECT_BINARY_DIR}/kzPython2ConfigVersion.cmake"
    DESTINATION lib/cmake/kzPython2 COMPONENT development)
foreach(component IN ITEMS development runtime)
    install(EXPORT kzPython2-${component} NAMESPACE kzPython2:: DESTINATION lib/cmake/kzPython2
        COMPONENT development)
endforeach()

install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION ${kz_doc} COMPONENT runtime)
install(FILES sdk/README.md DESTINATION ${kz_doc}/sdk COMPONENT runtime)  # where links between the documents lead
install(DIRECTORY docs examples DESTINATION ${kz_doc} COMPONENT runtime PATTERN "*.pyc" EXCLUDE PATTERN docs/site EXCLUDE)

# Last, when everything is there: the bill of materials of this component, or of all. The libraries that no installed file
# names, because they are headers alone, are told by one of their files.
find_path(kz_cli11_folder CLI/CLI.hpp)
find_path(kz_json_folder nlohmann/json.hpp)
set(kz_linked "${kz_cli11_folder}/CLI/CLI.hpp" "${kz_json_folder}/nlohmann/json.hpp")
string(CONFIGURE [=[
set(FOLDER "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}")
set(BILL "@PROJECT_BINARY_DIR@/bill_of_materials.txt")
file(WRITE "${BILL}" "${CMAKE_INSTALL_MANIFEST_FILES}")
execute_process(COMMAND "@Python3_EXECUTABLE@" "@PROJECT_SOURCE_DIR@/cmake/bill_of_materials.py"
    --name "@PROJECT_NAME@" --version "@PROJECT_VERSION@" --component "${CMAKE_INSTALL_COMPONENT}"
    --prefix "${CMAKE_INSTALL_PREFIX}" --folder "${FOLDER}" --files "${BILL}" --documents "@kz_doc@"
    --linked "bin/kzhost=@kz_linked@" --linked "bin/kzgen=@kz_json_folder@/nlohmann/json.hpp"
    --origin "@kz_python@/lib/python2.7=@KZ_PYTHON2_STDLIB@" --origin "@kz_python@/include/python2.7=@kz_python2_include@"
    --origin "@kz_home@/plugins/lib=@kz_library_folder@/lib" COMMAND_ERROR_IS_FATAL ANY)]=] kz_bill @ONLY)
install(CODE "${kz_bill}" ALL_COMPONENTS)
