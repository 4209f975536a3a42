#!/usr/bin/env bash
# clean_root.sh [SUITE]: installs the packages of `make deb` and the wheel of `make wheel` into a Debian (bookworm
# by default) without anything else, as a user does, and builds and runs there a program in C99, one in C++ and
# one in Python. To be run as root.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tests/packages/roots.sh
fresh_root "${1:-bookworm}"

mkdir -p "$root/orvex"
cp build-deb/*.deb build-wheel/orvex-*.whl examples/{flat.c,solve.cpp,toolkit.cpp} "$root/orvex/"

within apt-get update -qq
within sh -c 'apt-get install -y -qq --no-install-recommends /orvex/*.deb >/orvex/install.log'

# The program, with a manual page.
printf '3 5 -3 4\n0 0 -3\n1 1 -1\n2 2 -2\n0 1 2\n1 2 4\n' >"$root/orvex/three.qubo"
within orvex solve /orvex/three.qubo --target -5 --quiet | grep -w -- -5
within test -s /usr/share/man/man1/orvex.1.gz

# C99, C++ and both ways to find the library.
within sh -c 'apt-get install -y -qq --no-install-recommends gcc g++ libc6-dev pkg-config cmake make \
    python3-venv python3-numpy >>/orvex/install.log'
within sh -ec 'cd /orvex
    cc -std=c99 -Wall -Werror flat.c $(pkg-config --cflags --libs orvex) -o flat && ./flat | tail -n 2
    c++ -std=c++20 solve.cpp $(pkg-config --cflags --libs orvex) -o solve && ./solve | head -n 1
    cat >CMakeLists.txt <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(orvex 1.0 REQUIRED)
add_executable(toolkit toolkit.cpp)
target_link_libraries(toolkit PRIVATE orvex::toolkit)
CMAKE
    cmake -S . -B build >/dev/null && cmake --build build >/dev/null
    ./build/toolkit three.qubo | tail -n 1 | grep "^energy -5, "'

# Python: the wheel, beside the Debian packages.
within sh -ec 'python3 -m venv --system-site-packages /orvex/venv
    /orvex/venv/bin/pip install --quiet --no-index --no-deps /orvex/orvex-*.whl'
within /orvex/venv/bin/python -c '
import orvex
result = orvex.solve({(0, 0): -3, (1, 1): -1, (2, 2): -2, (0, 1): 2, (1, 2): 4}, target=-5, time_limit=5)
assert result.energy == -5, result
print(orvex.__version__, result.status)'

within sh -c 'apt-get purge -y -qq orvex liborvex-dev liborvex1 >>/orvex/install.log'
within sh -c '! command -v orvex && ! ls /usr/lib/*/liborvex* 2>/dev/null'
echo "the packages serve a clean Debian $(cat "$root/etc/debian_version")"
