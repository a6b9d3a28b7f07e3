# tessaro_fmu_add_fmu(TARGET DESCRIPTION [BUNDLE] [OUTPUT ARCHIVE])
#
# A target, built by default, that makes an FMU from a description. The FMU is made again when the description, the
# template, a resource, a file of the documentation or libtessaro_fmu.so changes. DESCRIPTION is relative to the current
# source folder. ARCHIVE is relative to the current binary folder; its default is the description's name with .fmu. The
# target's property FMU is the archive. BUNDLE adds the libraries that the FMU needs.
function(tessaro_fmu_add_fmu target description)
    cmake_parse_arguments(PARSE_ARGV 2 fmu BUNDLE OUTPUT "")
    if(fmu_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "tessaro_fmu_add_fmu: unknown arguments: ${fmu_UNPARSED_ARGUMENTS}")
    endif()
    cmake_path(ABSOLUTE_PATH description BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
    if(NOT fmu_OUTPUT)
        cmake_path(GET description STEM LAST_ONLY fmu_OUTPUT)
        string(APPEND fmu_OUTPUT .fmu)
    endif()
    cmake_path(ABSOLUTE_PATH fmu_OUTPUT BASE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
    cmake_path(GET fmu_OUTPUT PARENT_PATH folder)
    file(MAKE_DIRECTORY ${folder})
    set(depfile ${CMAKE_CURRENT_BINARY_DIR}/${target}.fmu.d)
    add_custom_command(OUTPUT ${fmu_OUTPUT}
        COMMAND tessaro_fmu::tessaro-fmu pack ${description} --output ${fmu_OUTPUT} --depfile ${depfile}
            --library $<TARGET_FILE:tessaro_fmu::tessaro_fmu> $<$<BOOL:${fmu_BUNDLE}>:--bundle>
        DEPENDS ${description} $<TARGET_FILE:tessaro_fmu::tessaro_fmu>
        DEPFILE ${depfile}
        COMMENT "Making ${fmu_OUTPUT}"
        COMMAND_EXPAND_LISTS VERBATIM)
    add_custom_target(${target} ALL DEPENDS ${fmu_OUTPUT})
    set_target_properties(${target} PROPERTIES FMU ${fmu_OUTPUT})
endfunction()
