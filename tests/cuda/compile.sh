#!/usr/bin/env bash
# compile.sh [FOLDER]: compiles the kernels for CI, on a machine with nvcc and no GPU, and holds what
# the assembler says of them to tests/cuda/kernel_resources.csv.
#   * all 150 bands for one device, linked to the whole library, with the tests that need no GPU;
#   * bands of every kind of shape, in all widths, for all seven devices.
# FOLDER (build-cuda by default) keeps the objects, so that a second run compiles only what changed.
# The time that each part took and the size of the library are printed.
set -euo pipefail
source_folder=$(cd "$(dirname "$0")/../.." && pwd)
folder=${1:-$source_folder/build-cuda}

part() {  # part NAME DEVICES BANDS
    local start=$SECONDS
    echo "==== $1: kernels for $2"
    cmake -G Ninja -S "$source_folder" -B "$folder/$1" -DORVEX_PLATFORM=cuda \
        -DORVEX_CUDA_ARCHITECTURES="$2" -DORVEX_BANDS="$3" -DORVEX_WERROR="${ORVEX_WERROR:-OFF}" \
        -DORVEX_BUILD_TOOLS=OFF -DORVEX_BUILD_TESTS=ON
    cmake --build "$folder/$1" -- ${ORVEX_JOBS:+-j "$ORVEX_JOBS"}
    ctest --test-dir "$folder/$1" --output-on-failure
    echo "==== $1: $((SECONDS - start)) s, $(stat -Lc %s "$folder/$1/src/liborvex.so") bytes of library"
}

part all-bands 90 .
part all-devices "75 80 86 89 90 100 120" \
    '^qb(64|128|192|256|384|1024|4096|5120|10240|65536)_'
