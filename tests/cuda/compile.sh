#!/usr/bin/env bash
# compile.sh [FOLDER]: compiles for GPUs on a machine with nvcc and no GPU, as CI does on every
# submission, and holds what the assembler says of the kernels to tests/cuda/kernel_resources.csv.
#   * the whole library, all 150 bands, for one device, with the tests that need no GPU, and the
#     programs that need one, unrun;
#   * the kernels of bands with 1, 4, 10 and 64 bits for each thread, in all widths, for all seven
#     devices.
# FOLDER-all-bands and FOLDER-all-devices (FOLDER is build-gpu-compile by default) keep the objects, so
# that a second run compiles only what changed. The time of each part and the size of the library are printed.
set -euo pipefail
source_folder=$(cd "$(dirname "$0")/../.." && pwd)
folder=${1:-$source_folder/build-gpu-compile}

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

configure all-bands 90 .
cmake --build "$folder-all-bands"
ctest --test-dir "$folder-all-bands" --output-on-failure
echo "all bands for one device: $SECONDS s, library of" \
    "$(stat -Lc %s "$folder-all-bands/src/liborvex.so") bytes"

start=$SECONDS
configure all-devices "75 80 86 89 90 100 120" \
    '^qb(64|1024|10240|65536)_'
cmake --build "$folder-all-devices" --target orvex_kernels
ctest --test-dir "$folder-all-devices" --output-on-failure -R kernel_resources
echo "12 bands for all devices: $((SECONDS - start)) s"
