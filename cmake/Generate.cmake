# What is made from the SDK description at build time. Every output has the description and the generator as its
# dependencies; the generator leaves a file alone that would not change, so an edit rebuilds only what it concerns.

set(KZ_IDL_DIR "${PROJECT_SOURCE_DIR}/sdk/idl")
set_property(DIRECTORY "${PROJECT_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${KZ_IDL_DIR}/headers.txt")
file(STRINGS "${KZ_IDL_DIR}/headers.txt" KZ_HEADERS REGEX "^[^#]")
list(TRANSFORM KZ_HEADERS STRIP)

set(kz_idl_files "${KZ_IDL_DIR}/headers.txt")
foreach(header IN LISTS KZ_HEADERS)
    list(APPEND kz_idl_files "${KZ_IDL_DIR}/${header}.idl")
endforeach()

# kz_generate(TARGET PART FOLDER FILE...): the target TARGET stands for the files, relative to FOLDER, that kzgen writes
# for PART. Sources that use them are added to the same folder's targets, or the target is made a dependency. The target
# kz_generated stands for all that is generated.
add_custom_target(kz_generated)
function(kz_generate target part folder)
    list(TRANSFORM ARGN PREPEND "${folder}/" OUTPUT_VARIABLE outputs)
    add_custom_command(OUTPUT ${outputs}
        COMMAND kzgen emit "${KZ_IDL_DIR}" "${folder}" --part ${part}
        DEPENDS kzgen ${kz_idl_files}
        COMMENT "SDK description: ${part}"
        VERBATIM)
    add_custom_target(${target} DEPENDS ${outputs})
    add_dependencies(kz_generated ${target})
endfunction()

# kz_generate_sdk(LIBRARY): the C++ headers kz/NAME.h, ready for whoever links LIBRARY.
function(kz_generate_sdk library)
    set(folder "${PROJECT_BINARY_DIR}/sdk/generated")
    list(TRANSFORM KZ_HEADERS REPLACE "(.+)" "kz/\\1.h" OUTPUT_VARIABLE headers)
    kz_generate(kz_generated_sdk sdk "${folder}" ${headers} kz/all.h kz/absent.h kz/methods.h kz/tables.h)
    target_include_directories(${library} PUBLIC "$<BUILD_INTERFACE:${folder}>")
    add_dependencies(${library} kz_generated_sdk)
endfunction()
