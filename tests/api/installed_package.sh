#!/usr/bin/env bash
# Installs the library into an empty prefix and uses it as its users do: the examples are built
# through find_package and through pkg-config, and run. The README's program must be the example.
set -euo pipefail
source_dir=$1 build_dir=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >"$work/install.log"

cat >"$work/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(orvex REQUIRED)
foreach(example solve callback)
  add_executable(${example} ${EXAMPLES}/${example}.cpp)
  target_link_libraries(${example} PRIVATE orvex::orvex)
endforeach()
CMAKE
cmake -S "$work" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" -DEXAMPLES="$source_dir/examples" >"$work/configure.log"
cmake --build "$work/build" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/build/solve"
"$work/build/callback" | tail -n 1

pkgconfig=$(dirname "$(find "$work/prefix" -name orvex.pc)")
export PKG_CONFIG_PATH=$pkgconfig
# shellcheck disable=SC2046
"$compiler" -std=c++20 "$source_dir/examples/solve.cpp" $(pkg-config --cflags --libs orvex) \
    -o "$work/solve-pkg-config"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir orvex) "$work/solve-pkg-config"

python3 - "$source_dir" <<'PYTHON'
import pathlib, sys
root = pathlib.Path(sys.argv[1])
example = (root / "examples/solve.cpp").read_text()
assert example in (root / "README.md").read_text(), "README.md does not show examples/solve.cpp"
PYTHON
echo "the installed package serves its users"
