# The commands of the first hour. Each says what it installs before it does.
#
#   make demo        builds the library with all 150 bands and solves two benchmark instances
#   make install     installs the program, the library and the headers; PREFIX=FOLDER says where
#   make multi       builds the library with all 150 bands, for models of up to 65536 variables
#   make test        builds and runs all tests
#   make instances   solves all benchmark instances and writes docs/instances.md
#   make man         makes docs/man/orvex.1 from docs/command-line.md (needs pandoc)
#   make bench       measures speed and times, other solvers beside, and writes docs/performance.md
#
# CMAKE_FLAGS is handed to CMake, BENCH_FLAGS to bench/run.py. MODELS=FOLDER names a folder of benchmark
# instances; without it, those are solved that need no download.
BUILD := build
PROGRAM := $(BUILD)/app/orvex
CMAKE_FLAGS ?=
BENCH_FLAGS ?=
MODELS ?=
PREFIX ?= $(shell test -w /usr/local/bin && echo /usr/local || echo "$$HOME/.local")

# The tests are left out of a folder that is built for the demo alone: they need more packages.
FIRST_BUILD = $(if $(wildcard $(BUILD)/CMakeCache.txt),,-DORVEX_BUILD_TESTS=OFF)

# What of how much is done, and for how long it has gone on.
export NINJA_STATUS ?= [%f of %t, %e s] 

.PHONY: demo install multi test instances man bench program help

help:
	@sed -n 's/^#   //p' Makefile

program:
	@tools/install-dependencies.sh demo
	@if [ ! -x $(PROGRAM) ]; then echo "Building ORVEX: about a minute on two processors, once."; fi
	cmake --preset release -DORVEX_BUILD_APP=ON $(FIRST_BUILD) $(CMAKE_FLAGS)
	cmake --build $(BUILD) --target orvex_app

demo: program
	@app/demo.sh $(PROGRAM)

install: program
	cmake --build $(BUILD)
	cmake --install $(BUILD) --prefix "$(PREFIX)" >$(BUILD)/install.log
	@tools/after-install.sh "$(PREFIX)"

# ORVEX_BANDS is set since a folder may have been configured for fewer.
multi:
	@tools/install-dependencies.sh demo
	cmake --preset release $(FIRST_BUILD) -DORVEX_BANDS=. $(CMAKE_FLAGS)
	cmake --build $(BUILD) --target orvex

test:
	@tools/install-dependencies.sh test
	cmake --preset release -DORVEX_BUILD_APP=ON -DORVEX_BUILD_TESTS=ON $(CMAKE_FLAGS)
	cmake --build $(BUILD)
	ctest --test-dir $(BUILD) --output-on-failure -j $$(nproc)

instances: program
	tests/instances/run.py $(if $(MODELS),--models $(MODELS)) --write docs/instances.md

man:
	docs/man/make.sh

bench:
	@tools/install-dependencies.sh demo
	cmake --preset release -B build-bench -DORVEX_BUILD_BENCH=ON -DORVEX_BUILD_TESTS=OFF $(CMAKE_FLAGS)
	cmake --build build-bench --target orvex_app orvex_bench_flips orvex_bench_startup
	bench/run.py $(if $(MODELS),--models $(MODELS)) $(BENCH_FLAGS)
