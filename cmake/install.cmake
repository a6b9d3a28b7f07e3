# What `cmake --install` gives: the library, its public headers, a package for find_package(tessaro_fmu), the documentation
# with the examples, and the program tessaro-fmu, which tool/CMakeLists.txt adds.
#
#   tessaro_fmu::tessaro_fmu        the library, with the headers of its exported functions
#   tessaro_fmu::access_interface   the header that a solver's interface library is written against, without the library
#   tessaro_fmu::tessaro-fmu        the program; tessaro_fmu_add_fmu(TARGET DESCRIPTION ...) makes an FMU with it
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DOCDIR share/doc/tessaro-fmu CACHE PATH "Documentation")
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

# Folder paths are part of every include, so the headers keep their folders.
install(FILES plant/access_interface.h DESTINATION ${header_directory}/plant)
install(FILES fmi/fmi2.h DESTINATION ${header_directory}/fmi)
install(FILES resources/location_prefix.h resources/model_generation.h resources/parameter_files.h
    DESTINATION ${header_directory}/resources)
install(FILES fmi/instance/fmi2_types.h DESTINATION ${header_directory}/fmi/instance)
install(FILES util/internal/export.h DESTINATION ${header_directory}/util/internal)
install(DIRECTORY util/ DESTINATION ${header_directory}/util
    FILES_MATCHING PATTERN *.h
    PATTERN internal EXCLUDE)

configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/tessaro_fmuConfig.cmake.in ${PROJECT_BINARY_DIR}/tessaro_fmuConfig.cmake
    INSTALL_DESTINATION ${package_directory}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tessaro_fmuConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tessaro_fmuConfig.cmake ${PROJECT_BINARY_DIR}/tessaro_fmuConfigVersion.cmake
        ${CMAKE_CURRENT_LIST_DIR}/tessaro_fmu_add_fmu.cmake
    DESTINATION ${package_directory})

install(FILES README.md CHANGELOG.md CONTRIBUTING.md cmake/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
# What the pages refer to.
install(DIRECTORY benchmarks demo plant DESTINATION ${CMAKE_INSTALL_DOCDIR}
    FILES_MATCHING PATTERN *.md PATTERN *.py PATTERN *.png PATTERN *.toml PATTERN *.mdl PATTERN *.html PATTERN access_interface.h
    PATTERN out EXCLUDE
    PATTERN __pycache__ EXCLUDE)
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR} USE_SOURCE_PERMISSIONS
    PATTERN __pycache__ EXCLUDE)
