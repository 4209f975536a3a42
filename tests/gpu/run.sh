#!/usr/bin/env bash
# run.sh [FOLDER]: checks the library on this machine's GPU. Needs a GPU, nvcc, CMake and Ninja, and
# no network. FOLDER (build-gpu by default) is built in. The last line is 'N passed, N failed'; the
# status is 0 if nothing failed.
#
#   ORVEX_BANDS=REGEX               builds these bands beside those of bench/gpu
#   ORVEX_CUDA_ARCHITECTURES=LIST   compiles for these instead of the GPU that is here
#   ORVEX_BENCH=1                   measures speed and times to best known as well
#   MODELS=FOLDER                   holds the benchmark instances for that
set -uo pipefail
source_folder=$(cd "$(dirname "$0")/../.." && pwd)
folder=${1:-$source_folder/build-gpu}
bands=${ORVEX_BANDS:-'^qb(64|128|192|256|384|512|768|1024|2048|4096|5120|10240|65536)_'}
# The bands of the speed table (the programs of bench/gpu do not link without them) and of the
# benchmark instances.
bands+='|^qb(256|512|1024|2048|2560|3072|4096|5120|6144|7168|8192|10240|16384|32768|65536)_32_32'
command -v nvcc >/dev/null || PATH=$PATH:/usr/local/cuda/bin
passed=0
failed=0

verdict() {  # verdict NAME STATUS
    if [ "$2" -eq 0 ]; then passed=$((passed + 1)); echo "passed $1"
    else failed=$((failed + 1)); echo "FAILED $1"; fi
}

end() {
    echo "$passed passed, $failed failed"
    [ "$failed" -eq 0 ]
    exit
}

# A kernel that does not come to its end must not stop the other checks.
limited() { timeout --kill-after=10 "${LIMIT:-300}" "$@"; }

cmake -G Ninja -S "$source_folder" -B "$folder" -DORVEX_PLATFORM=cuda -DORVEX_GPU_TESTS=ON \
    -DORVEX_BANDS="$bands" -DORVEX_BUILD_TOOLKIT=OFF -DORVEX_BUILD_APP=OFF \
    -DORVEX_CUDA_ARCHITECTURES="${ORVEX_CUDA_ARCHITECTURES:-native}" && cmake --build "$folder"
verdict build $?
[ "$failed" -eq 0 ] || end
programs=$folder/tests/gpu

limited "$programs/orvex_gpu_planted_faults" none
verdict "a GPU runs a kernel" $?
[ "$failed" -eq 0 ] || end

interface=$(limited "$programs/orvex_gpu_interface_test")
status=$?
echo "$interface"
passed=$((passed + $(grep -c '^passed ' <<<"$interface")))
failed=$((failed + $(grep -c '^FAILED ' <<<"$interface")))
[ "$(grep -Ec '^(passed|FAILED) ' <<<"$interface")" -eq 10 ]
verdict "interface.all-cases-ran (status $status)" $?

limited "$programs/orvex_fiber_play" >"$folder/play.host" &&
    limited "$programs/orvex_gpu_play" >"$folder/play.device" &&
    diff "$folder/play.host" "$folder/play.device" && [ -s "$folder/play.host" ]
verdict "the device plays as the host" $?
limited "$programs/orvex_gpu_power" >"$folder/power.out"
verdict "the device's powers are near to the host's" $?

readonly SEEN=9  # the status that a sanitizer gives when it has seen something
if command -v compute-sanitizer >/dev/null; then
    for tool in memcheck racecheck synccheck initcheck; do
        limited compute-sanitizer --tool "$tool" --error-exitcode $SEEN \
            "$programs/orvex_gpu_planted_faults" "$tool" >"$folder/$tool.planted" 2>&1
        [ $? -eq $SEEN ]
        verdict "$tool sees a planted fault" $?
        limited compute-sanitizer --tool "$tool" --error-exitcode $SEEN \
            "$programs/orvex_gpu_interface_test" short-run >"$folder/$tool.short" 2>&1
        verdict "$tool finds nothing in a short run" $?
    done
else
    echo "compute-sanitizer is not on PATH"
    verdict "compute-sanitizer" 1
fi

if [ -n "${ORVEX_BENCH:-}" ]; then
    LIMIT=1800 limited "$programs/orvex_gpu_speed"
    verdict "table of speeds" $?
    LIMIT=1800 limited "$programs/orvex_gpu_times" ${MODELS:+--models "$MODELS"}
    verdict "times to best known" $?
fi
end
