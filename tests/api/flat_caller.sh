#!/usr/bin/env bash
# Installs the library into an empty prefix and uses its flat interface as callers in C do: the
# header alone, the C caller's tests and the example, compiled as C99 and as C11 without a warning,
# with pkg-config and with a CMake project that knows no C++. The page on the flat interface must show
# the example.
set -euo pipefail
source_dir=$1 build_dir=$2 c_compiler=$3 cxx_compiler=$4 sanitizers=${5:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >"$work/install.log"
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name orvex.pc)")
export PKG_CONFIG_PATH
library_dir=$(pkg-config --variable=libdir orvex)
header=$(find "$work/prefix" -name tarvik_orvex.h)

warnings=(-Wall -Wextra -Wshadow -Wpedantic -Werror)
read -ra flags <<<"$(pkg-config --cflags orvex)"
read -ra libraries <<<"$(pkg-config --libs orvex) -Wl,-rpath,$library_dir -pthread"
sanitized=() sanitized_link=()
if [ -n "$sanitizers" ]; then
    # A program must be linked with the sanitizer that its library was built with.
    sanitized=("-fsanitize=${sanitizers//;/,}" -g)
    if "$c_compiler" --version | grep -q clang; then
        # Clang leaves out of programs in C what its checks of C++ objects need, which the library has.
        sanitized_link=(-fsanitize-link-c++-runtime -lstdc++)
    fi
    flags+=("${sanitized[@]}")
    libraries+=("${sanitized_link[@]}")
fi

for standard in c99 c11; do
    "$c_compiler" -std=$standard "${warnings[@]}" -fsyntax-only -x c "$header"
done
for standard in c++11 c++20; do
    "$cxx_compiler" -std=$standard "${warnings[@]}" -fsyntax-only -x c++ "$header"
done

for standard in c99 c11; do
    echo "== $standard"
    "$c_compiler" -std=$standard "${warnings[@]}" "${flags[@]}" \
        "$source_dir"/tests/api/flat_caller*.c "${libraries[@]}" -o "$work/caller-$standard"
    "$work/caller-$standard"
    "$c_compiler" -std=$standard "${warnings[@]}" "${flags[@]}" "$source_dir/examples/flat.c" \
        "${libraries[@]}" -o "$work/example-$standard"
    "$work/example-$standard" | tail -n 2
done

cat >"$work/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES C)
find_package(orvex REQUIRED)
add_executable(flat ${EXAMPLES}/flat.c)
target_link_libraries(flat PRIVATE orvex::orvex)
CMAKE
cmake -S "$work" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_C_COMPILER="$c_compiler" -DEXAMPLES="$source_dir/examples" \
    -DCMAKE_C_FLAGS="${sanitized[*]}" -DCMAKE_EXE_LINKER_FLAGS="${sanitized_link[*]}" >"$work/configure.log"
cmake --build "$work/build" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
"$work/build/flat" >/dev/null

python3 - "$source_dir" <<'PYTHON'
import pathlib, sys
root = pathlib.Path(sys.argv[1])
example = (root / "examples/flat.c").read_text()
page = (root / "docs/flat-interface.md").read_text()
assert "```c\n" + example + "```\n" in page, "docs/flat-interface.md does not show examples/flat.c"
PYTHON
echo "the flat interface serves callers in C"
