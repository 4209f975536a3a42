# What a user installs: the library and the toolkit with their headers, a CMake package with the targets
# orvex::orvex and orvex::toolkit, and a pkg-config file for each.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Components are what packages are made of: what programs need to run, what is needed to build them, and
# the program for the command line.
install(TARGETS orvex EXPORT orvex
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
set(ORVEX_TOOLKIT_IS_INSTALLED FALSE)
set(without_toolkit PATTERN toolkit.hpp EXCLUDE)
if(TARGET orvex_toolkit)
  set(ORVEX_TOOLKIT_IS_INSTALLED TRUE)
  set(without_toolkit "")
endif()
install(DIRECTORY include/orvex DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        COMPONENT development ${without_toolkit})

# The examples, as documents: sources to copy and build.
install(FILES examples/solve.cpp examples/callback.cpp examples/flat.c
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT development)
if(TARGET orvex_toolkit)
  install(FILES examples/toolkit.cpp examples/travelling_salesman.cpp examples/graph_colouring.cpp
                examples/spin_glass.cpp
          DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT development)
endif()

# Highway, unless it is inside.
set(ORVEX_NEEDS_HIGHWAY FALSE)
set(ORVEX_PC_HIGHWAY "")
if((ORVEX_STATIC OR ORVEX_TOOLKIT_IS_INSTALLED) AND NOT ORVEX_HIGHWAY_IS_FETCHED)
  set(ORVEX_NEEDS_HIGHWAY TRUE)
  set(ORVEX_PC_HIGHWAY " -lhwy")
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvex)
install(EXPORT orvex NAMESPACE orvex:: FILE orvex-targets.cmake DESTINATION ${package_dir}
        COMPONENT development)
configure_package_config_file(cmake/orvex-config.cmake.in "${PROJECT_BINARY_DIR}/orvex-config.cmake"
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/orvex-config-version.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/orvex-config.cmake"
              "${PROJECT_BINARY_DIR}/orvex-config-version.cmake"
        DESTINATION ${package_dir} COMPONENT development)

# Relative to where the file lies, so that the installed tree can be moved as a whole.
file(RELATIVE_PATH ORVEX_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
set(packages orvex)
set(ORVEX_PC_LIBS "-lorvex")
if(ORVEX_STATIC)
  # What the shared library would bring along, the C++ library for callers in C too. It is in Libs, not in
  # Libs.private: there is no shared library for which a caller could leave it out.
  set(language_libraries ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
  list(REMOVE_ITEM language_libraries ${CMAKE_C_IMPLICIT_LINK_LIBRARIES})
  list(TRANSFORM language_libraries PREPEND "-l")
  string(JOIN " " ORVEX_PC_LIBS "${ORVEX_PC_LIBS}${ORVEX_PC_HIGHWAY}" ${language_libraries} -pthread)
endif()
if(ORVEX_TOOLKIT_IS_INSTALLED)
  list(APPEND packages orvex-toolkit)
endif()
foreach(package IN LISTS packages)
  configure_file(cmake/${package}.pc.in "${PROJECT_BINARY_DIR}/${package}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${package}.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT development)
endforeach()
