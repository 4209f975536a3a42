# What a user installs: the library, its headers, a CMake package with the target orvex::orvex, and a
# pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS orvex EXPORT orvex LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/orvex DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvex)
install(EXPORT orvex NAMESPACE orvex:: FILE orvex-targets.cmake DESTINATION ${package_dir})
configure_package_config_file(cmake/orvex-config.cmake.in "${PROJECT_BINARY_DIR}/orvex-config.cmake"
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/orvex-config-version.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/orvex-config.cmake"
              "${PROJECT_BINARY_DIR}/orvex-config-version.cmake"
        DESTINATION ${package_dir})

# Relative to where the file lies, so that the installed tree can be moved as a whole.
file(RELATIVE_PATH ORVEX_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/orvex.pc.in "${PROJECT_BINARY_DIR}/orvex.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/orvex.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
