# What `cmake --install` gives: the library, its public headers, a package for find_package(tessaro_fmu), and the program
# tessaro-fmu, which packaging/CMakeLists.txt adds.
#
#   tessaro_fmu::tessaro_fmu        the library, with the headers of its exported functions
#   tessaro_fmu::access_interface   the header that a solver's interface library is written against, without the library
#   tessaro_fmu::tessaro-fmu        the program, for custom commands that make FMUs
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(header_directory ${CMAKE_INSTALL_INCLUDEDIR}/tessaro_fmu)
set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/tessaro_fmu)

add_library(access_interface INTERFACE)
target_compile_features(access_interface INTERFACE cxx_std_11)
target_compile_features(tessaro_fmu INTERFACE cxx_std_11)

install(TARGETS tessaro_fmu access_interface
    EXPORT tessaro_fmuTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${header_directory})
install(EXPORT tessaro_fmuTargets NAMESPACE tessaro_fmu:: DESTINATION ${package_directory})

# Folder paths stand in every include, so the headers keep them.
install(FILES plant/access_interface.h DESTINATION ${header_directory}/plant)
install(FILES fmi/fmi2.h DESTINATION ${header_directory}/fmi)
install(DIRECTORY util/ DESTINATION ${header_directory}/util
    FILES_MATCHING PATTERN *.h
    PATTERN c_locale.h EXCLUDE
    PATTERN joining.h EXCLUDE
    PATTERN owners.h EXCLUDE)

configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/tessaro_fmuConfig.cmake.in ${PROJECT_BINARY_DIR}/tessaro_fmuConfig.cmake
    INSTALL_DESTINATION ${package_directory}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tessaro_fmuConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tessaro_fmuConfig.cmake ${PROJECT_BINARY_DIR}/tessaro_fmuConfigVersion.cmake
    DESTINATION ${package_directory})
