# Debian packages, made by `make deb`: liborvex1 (the shared library), liborvex-dev (headers, toolkit,
# CMake and pkg-config packages, examples) and orvex (the program, its manual page and completion). Each
# is one component of cmake/install.cmake. They are configured with CMAKE_INSTALL_PREFIX=/usr.
set(ORVEX_PACKAGE_MAINTAINER "ORVEX developers <orvex@packages.invalid>" CACHE STRING
    "Name and address of who answers for the packages")
set(ORVEX_PACKAGE_DATE "" CACHE STRING "Date of the packages' changelog, as date -R writes it; now by default")
if(NOT ORVEX_PACKAGE_DATE)
  execute_process(COMMAND date -R OUTPUT_VARIABLE ORVEX_PACKAGE_DATE OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvex)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${ORVEX_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development program)
set(CPACK_COMPONENTS_GROUPING IGNORE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/src")

set(library liborvex${PROJECT_VERSION_MAJOR})
set(about "ORVEX minimises quadratic functions of up to 65536 binary variables\n\
with integer coefficients by a population search on all processors.\n.\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "${about}This package has the shared library.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/debian/triggers"
                                               "${PROJECT_BINARY_DIR}/debian/shlibs")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborvex-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${library} (= ${PROJECT_VERSION}), libhwy-dev, zlib1g-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "${about}This package has the headers, the toolkit above the library, and examples.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME orvex)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION math)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
    "${about}This package has the program for the command line.")

# What every package says of itself: licence and changes. Installed for packages alone.
file(WRITE "${PROJECT_BINARY_DIR}/debian/triggers" "activate-noawait ldconfig\n")
file(WRITE "${PROJECT_BINARY_DIR}/debian/shlibs"
     "liborvex ${PROJECT_VERSION_MAJOR} ${library} (>= ${PROJECT_VERSION})\n")
configure_file(cmake/debian/copyright.in "${PROJECT_BINARY_DIR}/debian/copyright" @ONLY)
configure_file(cmake/debian/changelog.in "${PROJECT_BINARY_DIR}/debian/changelog" @ONLY)
option(ORVEX_DEBIAN_FILES "Install what a Debian package must have beside its contents" OFF)
if(ORVEX_DEBIAN_FILES)
  execute_process(COMMAND gzip -9nf "${PROJECT_BINARY_DIR}/debian/changelog" COMMAND_ERROR_IS_FATAL ANY)
  foreach(pair library:${library} development:liborvex-dev program:orvex)
    string(REPLACE ":" ";" pair "${pair}")
    list(GET pair 0 component)
    list(GET pair 1 package)
    install(FILES "${PROJECT_BINARY_DIR}/debian/copyright" "${PROJECT_BINARY_DIR}/debian/changelog.gz"
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
  endforeach()
endif()
include(CPack)
