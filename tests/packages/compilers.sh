#!/usr/bin/env bash
# compilers.sh PACKAGE=COMPILER...: installs each compiler, builds a few bands with it, warnings being errors,
# and solves a benchmark instance with what it has built. To be run in a Debian of its own, as root.
set -euo pipefail
cd "$(dirname "$0")/../.."
apt-get update -qq
tools/install-dependencies.sh demo >build-install.log
for pair in "$@"; do
    package=${pair%=*} compiler=${pair#*=}
    apt-get install -y -qq --no-install-recommends "$package" >>build-install.log
    echo "---- $($compiler --version | head -n 1)"
    cmake -S . -B "build-$compiler" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVEX_WERROR=ON \
        -DCMAKE_CXX_COMPILER="$compiler" -DORVEX_BANDS='^qb(64|1024)_' -DORVEX_BUILD_TESTS=OFF
    cmake --build "build-$compiler"
    "build-$compiler/app/orvex" solve examples/data/bqp1000-1.qubo.gz --target -371438 --time-limit 120 |
        tee build-solved.log
    grep -q "target reached" build-solved.log
done
