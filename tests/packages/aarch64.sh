#!/usr/bin/env bash
# aarch64.sh: builds a few bands for 64-bit ARM with Debian's cross compiler, warnings being errors, and runs
# the program and tests of the blocks in an emulator. To be run in a Debian of its own, as root: it adds an
# architecture.
set -euo pipefail
cd "$(dirname "$0")/../.."
machine=aarch64-linux-gnu

dpkg --add-architecture arm64
apt-get update -qq
apt-get install -y -qq --no-install-recommends cmake ninja-build pkg-config python3 qemu-user \
    crossbuild-essential-arm64 libcli11-dev nlohmann-json3-dev \
    libhwy-dev:arm64 zlib1g-dev:arm64 libgtest-dev:arm64 libgmock-dev:arm64 >build-install.log

cmake -S . -B build-aarch64 -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVEX_WERROR=ON -DORVEX_ASSERTIONS=ON \
    -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64 \
    -DCMAKE_C_COMPILER=$machine-gcc -DCMAKE_CXX_COMPILER=$machine-g++ \
    -DCMAKE_CROSSCOMPILING_EMULATOR="$(command -v qemu-aarch64)" \
    -DORVEX_BANDS='^qb(64|128|256|1024)_'
cmake --build build-aarch64 --target orvex_app orvex_device_tests

orvex() { qemu-aarch64 build-aarch64/app/orvex "$@"; }
reaches() {  # FILE ENERGY [OPTION...]
    orvex solve "$1" --target "$2" --time-limit 300 "${@:3}" | tee build-solved.log
    grep -q "target reached" build-solved.log
}
orvex info
reaches examples/data/bqp1000-1.qubo.gz -371438  # by blocks
orvex generate colouring --size 60 --colours 3 --edges 130 build-colouring.qubo
reaches build-colouring.qubo -60 --presolve off --companion 1

# The blocks' loops. The rest of these tests is statistics or races, which take an emulator hours.
qemu-aarch64 build-aarch64/tests/orvex_device_tests --gtest_brief=1 \
    --gtest_filter='TARGETS_TEST/*:FLIP*:Layout.*:MaxMin*:ShapeTest.*:SumTest.*:TESTED_SUMS_TEST/*:RingTest.*'
