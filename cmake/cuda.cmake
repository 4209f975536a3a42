# The device compiler, for which devices it compiles, and how. Kernels are compiled by
# orvex_add_kernels(<target>), one unit per band, once for all devices.

if(ORVEX_SANITIZE)
  message(FATAL_ERROR "ORVEX_SANITIZE is for ORVEX_PLATFORM=cpu; kernels have compute-sanitizer")
endif()

string(REPLACE " " ";" orvex_cuda_architectures "${ORVEX_CUDA_ARCHITECTURES}")
foreach(architecture IN LISTS orvex_cuda_architectures)
  if(architecture STREQUAL "native")
    # The device compiler looks for the GPUs itself and fails with a message if there are none.
  elseif(NOT architecture MATCHES "^[0-9]+[af]?$")
    message(FATAL_ERROR "ORVEX_CUDA_ARCHITECTURES: '${architecture}' is no compute capability; give "
                        "numbers like 90, separated by spaces or semicolons, or native")
  elseif(architecture LESS 75)
    message(FATAL_ERROR "ORVEX_CUDA_ARCHITECTURES: kernels need compute capability 7.5 or later, "
                        "not ${architecture}")
  endif()
endforeach()

# Set in front of the search for the compiler: its own default may be older than it supports.
list(TRANSFORM orvex_cuda_architectures REPLACE "^([0-9]+[af]?)$" "\\1-real")
set(CMAKE_CUDA_ARCHITECTURES "${orvex_cuda_architectures}")
include(CheckLanguage)
check_language(CUDA)
if(NOT CMAKE_CUDA_COMPILER)
  message(FATAL_ERROR "ORVEX_PLATFORM=cuda needs nvcc, which was not found; put it on PATH or set "
                      "CMAKE_CUDA_COMPILER")
endif()
enable_language(CUDA)
find_package(CUDAToolkit REQUIRED)
if(CMAKE_CUDA_COMPILER_VERSION VERSION_LESS 12.8)
  message(FATAL_ERROR "ORVEX_PLATFORM=cuda needs nvcc 12.8 or later, found "
                      "${CMAKE_CUDA_COMPILER_VERSION}")
endif()
if(NOT CMAKE_CUDA20_STANDARD_COMPILE_OPTION)  # CMake 3.25 does not know that nvcc has C++20
  set(CMAKE_CUDA20_STANDARD_COMPILE_OPTION "-std=c++20")
  set(CMAKE_CUDA20_EXTENSION_COMPILE_OPTION "-std=c++20")
endif()
message(STATUS "CUDA ${CMAKE_CUDA_COMPILER_VERSION}, kernels for ${ORVEX_CUDA_ARCHITECTURES}")

# No relocatable device code: a band's kernel and its constant are in one module of their own, which
# is loaded when the band is first used on a device and not before.
function(orvex_add_kernels name)
  add_library(${name} OBJECT ${ARGN})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/src")
  set(launcher "${PROJECT_SOURCE_DIR}/cmake/keep-report.sh" ${CMAKE_CUDA_COMPILER_LAUNCHER})
  set_target_properties(${name} PROPERTIES
    CUDA_SEPARABLE_COMPILATION OFF
    CUDA_VISIBILITY_PRESET hidden
    # Keeps the assembler's report of every unit beside its object.
    CUDA_COMPILER_LAUNCHER "${launcher}")
  target_compile_options(${name} PRIVATE
    --expt-relaxed-constexpr
    # One rounding per operation everywhere: thresholds must come out equal on every machine.
    --fmad=false
    # So that a multiprocessor holds 1024 threads of any band.
    -maxrregcount=64
    -Xptxas=-v
    --compress-mode=size)
endfunction()
