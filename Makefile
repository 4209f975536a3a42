# The commands of the first hour. Each installs what it needs and is missing, having said what.
#
#   make demo        builds the library with all 150 bands and solves a benchmark instance
#   make test        builds and runs all tests
#   make instances   solves all benchmark instances and writes docs/instances.md
#   make bench       measures speed and times, other solvers beside, and writes docs/performance.md
#
# CMAKE_FLAGS is handed to CMake, BENCH_FLAGS to bench/run.py. MODELS=FOLDER is where the benchmark instances
# are; without it those are taken that need no download.
BUILD := build
PROGRAM := $(BUILD)/app/orvex
CMAKE_FLAGS ?=
BENCH_FLAGS ?=
MODELS ?=

# The tests are left out of a folder that is built for the demo alone: they need more packages.
FIRST_BUILD = $(if $(wildcard $(BUILD)/CMakeCache.txt),,-DORVEX_BUILD_TESTS=OFF)

.PHONY: demo test instances bench program help

help:
	@sed -n 's/^#   //p' Makefile

program:
	@tools/install-dependencies.sh demo
	cmake --preset release -DORVEX_BUILD_APP=ON $(FIRST_BUILD) $(CMAKE_FLAGS)
	cmake --build $(BUILD) --target orvex_app

demo: program
	@app/demo.sh $(PROGRAM)

test:
	@tools/install-dependencies.sh test
	cmake --preset release -DORVEX_BUILD_APP=ON -DORVEX_BUILD_TESTS=ON $(CMAKE_FLAGS)
	cmake --build $(BUILD)
	ctest --test-dir $(BUILD) --output-on-failure -j $$(nproc)

instances: program
	tests/instances/run.py $(if $(MODELS),--models $(MODELS)) --write docs/instances.md

bench:
	@tools/install-dependencies.sh demo
	cmake --preset release -B build-bench -DORVEX_BUILD_BENCH=ON -DORVEX_BUILD_TESTS=OFF $(CMAKE_FLAGS)
	cmake --build build-bench --target orvex_app orvex_bench_flips orvex_bench_startup
	bench/run.py $(if $(MODELS),--models $(MODELS)) $(BENCH_FLAGS)
