#!/usr/bin/env bash
# Installs the library into an empty prefix and uses it as its users do: the examples are built
# through find_package and through pkg-config, and run. The README's program must be the example.
set -euo pipefail
source_dir=$1 build_dir=$2 compiler=$3 c_compiler=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# An installed tree may be moved as a whole.
cmake --install "$build_dir" --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$work/prefix"

if [ -x "$build_dir/app/orvex" ]; then
    PATH=$work/prefix/bin:$PATH orvex --version
fi

# What is installed is what its users build.
examples=$(dirname "$(find "$work/prefix" -path '*/examples/solve.cpp')")

# Bands enter themselves, whichever kind of library they come in.
bands=$(grep -c '"file": ".*/src/bands/qb[^/]*\.cpp"' "$build_dir/compile_commands.json")
cat >"$work/bands.cpp" <<'CPP'
#include <iostream>
#include <orvex/registry.hpp>
int main() { std::cout << qubo_multi::band_count() << "\n"; }
CPP

cat >"$work/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(orvex 1.0 REQUIRED)
foreach(example solve callback)
  add_executable(${example} ${EXAMPLES}/${example}.cpp)
  target_link_libraries(${example} PRIVATE orvex::orvex)
endforeach()
add_executable(bands bands.cpp)
target_link_libraries(bands PRIVATE orvex::orvex)
if(TARGET orvex::toolkit)
  foreach(example toolkit travelling_salesman graph_colouring spin_glass)
    add_executable(${example} ${EXAMPLES}/${example}.cpp)
    target_link_libraries(${example} PRIVATE orvex::toolkit)
  endforeach()
endif()
CMAKE
mkdir "$work/other"
printf 'cmake_minimum_required(VERSION 3.25)\nproject(other LANGUAGES CXX)\nfind_package(orvex 2.0 REQUIRED)\n' \
    >"$work/other/CMakeLists.txt"
cmake -S "$work" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" -DEXAMPLES="$examples" >"$work/configure.log"
cmake --build "$work/build" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/build/solve"
[ "$("$work/build/bands")" = "$bands" ]
! cmake -S "$work/other" -B "$work/other/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" 2>"$work/refusal"
grep -q "version" "$work/refusal"  # of another major version
"$work/build/callback" | tail -n 1
toolkit=$([ -x "$work/build/toolkit" ] && echo yes || echo no)
if [ "$toolkit" = yes ]; then
    printf '3 3 -2 4\n0 0 -2\n1 1 -1\n0 1 4\n' >"$work/model.qubo"
    "$work/build/toolkit" "$work/model.qubo" >"$work/toolkit.log"
    grep "^refused: time_limit must be an integer from 0 to 4294967295, not \"soon\"" "$work/toolkit.log"
    tail -n 1 "$work/toolkit.log" | grep "^energy -2, "
    ! "$work/build/toolkit" "$work/missing.qubo" 2>"$work/refusal"  # an error, not the end
    grep "No such file" "$work/refusal"
    for example in travelling_salesman graph_colouring spin_glass; do  # each ends with 1 off its optimum
        (cd "$work" && "build/$example" && grep -q "</svg>" "$example.svg")
    done
fi

pkgconfig=$(dirname "$(find "$work/prefix" -name orvex.pc)")
export PKG_CONFIG_PATH=$pkgconfig
# shellcheck disable=SC2046
"$compiler" -std=c++20 "$examples/solve.cpp" $(pkg-config --cflags --libs orvex) \
    $(pkg-config --variable=rpath orvex) -o "$work/solve-pkg-config"
env -u LD_LIBRARY_PATH "$work/solve-pkg-config"
# shellcheck disable=SC2046
"$compiler" -std=c++20 "$work/bands.cpp" $(pkg-config --cflags --libs orvex) \
    $(pkg-config --variable=rpath orvex) -o "$work/bands-pkg-config"
[ "$("$work/bands-pkg-config")" = "$bands" ]
if [ "$toolkit" = yes ]; then
    # shellcheck disable=SC2046
    "$compiler" -std=c++20 "$examples/toolkit.cpp" $(pkg-config --cflags --libs orvex-toolkit) \
        $(pkg-config --variable=rpath orvex-toolkit) -o "$work/toolkit-pkg-config"
    env -u LD_LIBRARY_PATH "$work/toolkit-pkg-config" "$work/model.qubo" | grep "^energy -2, "
fi

if [ "$toolkit" = yes ]; then
    "$source_dir/tests/api/snippets.py" "$source_dir/docs/start.md" "$work/prefix" "$compiler" "$c_compiler"
fi

python3 - "$source_dir" <<'PYTHON'
import pathlib, sys
root = pathlib.Path(sys.argv[1])
example = (root / "examples/solve.cpp").read_text()
assert example in (root / "README.md").read_text(), "README.md does not show examples/solve.cpp"
PYTHON
echo "the installed package serves its users"
