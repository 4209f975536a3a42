#!/usr/bin/env bash
# compile.sh [BANDS]: compiles for GPUs on a machine with nvcc and no GPU, as CI does on every
# submission, and holds what the assembler says of the kernels to tests/cuda/kernel_resources.csv.
#   * the library for one device, with the tests that need no GPU, and the programs that need one,
#     unrun. BANDS is a regular expression; by default it takes every number of bits for each thread,
#     and of the 31 sizes that have four of them those that bench/gpu/speed_sizes.inc names;
#   * the kernels of bands with 1, 4, 10 and 64 bits for each thread, in all widths, for the other six
#     devices.
# build-gpu-compile-one-device and build-gpu-compile-others keep the objects, so that a second run compiles
# only what changed. The time of each part and the size of the library are printed.
set -euo pipefail
source_folder=$(cd "$(dirname "$0")/../.." && pwd)
folder=$source_folder/build-gpu-compile
bands=${1:-'^qb(64|128|192|256|512|1024|2048|4096|5120|6144|7168|8192|[1-6][0-9][0-9][0-9][0-9])_'}

command -v nvcc >/dev/null || PATH=$PATH:/usr/local/cuda/bin
if ! command -v nvcc >/dev/null; then
    echo "nvcc is neither on PATH nor in /usr/local/cuda/bin. Kernels are compiled with CUDA 12.8 or" >&2
    echo "later, which Debian does not have: install it from the vendor. No GPU is needed." >&2
    exit 1
fi

configure() {  # configure NAME DEVICES BANDS
    cmake -G Ninja -S "$source_folder" -B "$folder-$1" -DORVEX_PLATFORM=cuda \
        -DORVEX_CUDA_ARCHITECTURES="$2" -DORVEX_BANDS="$3" -DORVEX_WERROR=ON \
        -DORVEX_BUILD_TOOLKIT=OFF -DORVEX_BUILD_APP=OFF -DORVEX_GPU_TESTS=ON
}

configure one-device 90 "$bands"
cmake --build "$folder-one-device"
ctest --test-dir "$folder-one-device" --output-on-failure
echo "for one device: $SECONDS s, library of" \
    "$(stat -Lc %s "$folder-one-device/src/liborvex.so") bytes"

start=$SECONDS
configure others "75 80 86 89 100 120" '^qb(64|1024|10240|65536)_'
cmake --build "$folder-others" --target orvex_kernels
ctest --test-dir "$folder-others" --output-on-failure -R kernel_resources
echo "12 bands for the other devices: $((SECONDS - start)) s"
