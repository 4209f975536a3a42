#!/usr/bin/env bash
# run.sh [FOLDER]: checks the library on this machine's GPU. Needs a GPU, nvcc, CMake and Ninja, and
# no network. FOLDER (build-gpu by default) is built in. ORVEX_BANDS overrides the bands that are
# built, ORVEX_BENCH=1 adds the performance table, MODELS names a folder of benchmark instances for it.
# The last line is 'N passed, N failed'.
set -uo pipefail
source_folder=$(cd "$(dirname "$0")/../.." && pwd)
folder=${1:-$source_folder/build-gpu}
bands=${ORVEX_BANDS:-'^qb(64|128|192|256|384|512|768|1024|2048|4096|5120|10240|65536)_'}
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

cmake -G Ninja -S "$source_folder" -B "$folder" -DORVEX_PLATFORM=cuda -DORVEX_BANDS="$bands" \
    -DORVEX_CUDA_ARCHITECTURES=native -DORVEX_GPU_TESTS=ON -DORVEX_BUILD_TOOLS=OFF &&
    cmake --build "$folder"
verdict build $?
[ "$failed" -eq 0 ] || end
programs=$folder/tests/gpu

interface=$("$programs/orvex_gpu_interface_test")
status=$?
echo "$interface"
passed=$((passed + $(grep -c '^passed ' <<<"$interface")))
failed=$((failed + $(grep -c '^FAILED ' <<<"$interface")))
[ "$(grep -Ec '^(passed|FAILED) ' <<<"$interface")" -eq 10 ]
verdict "interface.all-cases-ran (status $status)" $?

"$programs/orvex_fiber_play" >"$folder/play.host" && "$programs/orvex_gpu_play" >"$folder/play.device" &&
    diff "$folder/play.host" "$folder/play.device" && [ -s "$folder/play.host" ]
verdict "the device plays as the host" $?

if command -v compute-sanitizer >/dev/null; then
    for tool in memcheck racecheck synccheck initcheck; do
        ! compute-sanitizer --tool "$tool" --error-exitcode 9 \
            "$programs/orvex_gpu_planted_faults" "$tool" >"$folder/$tool.planted" 2>&1
        verdict "$tool sees a planted fault" $?
        compute-sanitizer --tool "$tool" --error-exitcode 9 \
            "$programs/orvex_gpu_interface_test" short-run >"$folder/$tool.short" 2>&1
        verdict "$tool finds nothing in a short run" $?
    done
else
    echo "compute-sanitizer is not on PATH"
    verdict "compute-sanitizer" 1
fi

if [ -n "${ORVEX_BENCH:-}" ]; then
    "$programs/orvex_gpu_bench" ${MODELS:+"$MODELS"}
    verdict "performance table" $?
fi
end
