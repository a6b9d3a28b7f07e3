# What an installation brings along for machines that do not have it.
#
# TESSARO_BUNDLE is a regular expression of the names of libraries; "." is all but the C library. `cmake --install` copies
# those that the program and the library need to LIBDIR/tessaro-fmu, where they find each other, and the licences of
# their packages to DOCDIR/licences (bundle_install.cmake).
set(TESSARO_BUNDLE "" CACHE STRING "Regular expression of the libraries that an installation brings along")

# tessaro_search(TARGET FOLDER...): where the loader looks for what the target needs, before its own folders. Only the
# target's own needs: not those of a library that it loads.
function(tessaro_search target)
    if(TESSARO_BUNDLE)
        set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${ARGN}")
        target_link_options(${target} PRIVATE -Wl,--enable-new-dtags)
    endif()
endfunction()

if(TESSARO_BUNDLE AND TESSARO_TOOL)
    install(CODE "
        set(bundle [[${TESSARO_BUNDLE}]])
        set(needy \"\$<TARGET_FILE:tessaro_fmu_program>\" \"\$<TARGET_FILE:tessaro_fmu>\")
        set(destination \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
        set(libraries \"\${destination}/${CMAKE_INSTALL_LIBDIR}/tessaro-fmu\")
        set(licences \"\${destination}/${CMAKE_INSTALL_DOCDIR}/licences\")")
    install(SCRIPT ${CMAKE_CURRENT_LIST_DIR}/bundle_install.cmake)
endif()
