# Libraries that the build needs. Each is the system's; where it is not installed, configuring stops
# and names the Debian package, or, if ORVEX_FETCH_DEPENDENCIES is on, fetches the release below.
option(ORVEX_FETCH_DEPENDENCIES "Download libraries that are not installed" OFF)
include(FetchContent)

# orvex_require(PACKAGE DEBIAN_PACKAGE REPOSITORY TAG): afterwards the package's targets are there.
macro(orvex_require package debian_package repository tag)
  find_package(${package} QUIET)
  if(NOT ${package}_FOUND)
    if(NOT ORVEX_FETCH_DEPENDENCIES)
      message(FATAL_ERROR
        "${package} is not installed. On Debian, the package ${debian_package} has it; elsewhere, or "
        "without the right to install, -DORVEX_FETCH_DEPENDENCIES=ON downloads it.")
    endif()
    message(STATUS "${package} is not installed: fetching ${tag} from ${repository}")
    FetchContent_Declare(${package} GIT_REPOSITORY "${repository}" GIT_TAG "${tag}" GIT_SHALLOW ON
                         SYSTEM)
    FetchContent_MakeAvailable(${package})
  endif()
endmacro()

# ORVEX_HIGHWAY_IS_FETCHED: nobody else has it, so what is installed must have it inside.
macro(orvex_require_highway)
  set(HWY_ENABLE_TESTS OFF)
  set(HWY_ENABLE_EXAMPLES OFF)
  set(HWY_ENABLE_CONTRIB OFF)
  set(HWY_ENABLE_INSTALL OFF)
  set(BUILD_TESTING OFF)
  # So that these hold for a project of an older policy.
  set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
  set(CMAKE_POLICY_DEFAULT_CMP0126 NEW)
  orvex_require(hwy libhwy-dev https://github.com/google/highway 1.0.3)
  set(ORVEX_HIGHWAY_IS_FETCHED FALSE)
  set(ORVEX_HIGHWAY hwy::hwy)
  if(NOT TARGET hwy::hwy)
    add_library(hwy::hwy ALIAS hwy)
    set(ORVEX_HIGHWAY_IS_FETCHED TRUE)
    set(ORVEX_HIGHWAY "$<BUILD_INTERFACE:hwy::hwy>")
  endif()
endmacro()
