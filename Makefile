# The commands of the first hour. Each says what it installs before it does.
#
#   make demo        builds the library with all 150 bands and solves two benchmark instances
#   make install     installs the program, the library and the headers; PREFIX=FOLDER says where
#   make multi       builds the library with all 150 bands, for models of up to 65536 variables
#   make test        builds and runs all tests
#   make instances   solves all benchmark instances and writes docs/instances.md
#   make man         makes docs/man/orvex.1 from docs/command-line.md (needs pandoc)
#   make bench       measures speed and times, other solvers beside, and writes docs/performance.md
#   make docs        builds the documentation site in build-docs/html
#   make deb         builds Debian packages in build-deb: library, development files, program
#   make wheel       builds a wheel for all versions of Python in build-wheel
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

# The Python that the site is made with: of a virtual environment of its own, unless one is named that has
# the package already.
DOCS_PYTHON ?= build-docs/bin/python

.PHONY: demo install multi test instances man bench program help docs deb wheel lint-packages docs-tools

help:
	@sed -n 's/^#   //p' Makefile

program:
	@tools/install-dependencies.sh demo
	@if [ ! -x $(PROGRAM) ]; then echo "Building ORVEX: about two minutes on two processors, once."; fi
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
	ctest --test-dir $(BUILD) --output-on-failure --timeout 300 -j $$(nproc)

instances: program
	tests/instances/run.py $(if $(MODELS),--models $(MODELS)) --write docs/instances.md

man:
	docs/man/make.sh

bench:
	@tools/install-dependencies.sh demo
	cmake --preset release -B build-bench -DORVEX_BUILD_BENCH=ON -DORVEX_BUILD_TESTS=OFF $(CMAKE_FLAGS)
	cmake --build build-bench --target orvex_app orvex_bench_flips orvex_bench_startup
	bench/run.py $(if $(MODELS),--models $(MODELS)) $(BENCH_FLAGS)

docs-tools:
	@tools/install-dependencies.sh docs
	@$(DOCS_PYTHON) -c '' 2>/dev/null || python3 -m venv build-docs
	$(DOCS_PYTHON) -m pip install --quiet -r docs/requirements.txt

# The reference of the package is made by loading it; one band is enough for that.
docs: docs-tools
	@$(DOCS_PYTHON) -c 'import orvex' 2>/dev/null || $(DOCS_PYTHON) -m pip install ./python \
	    --config-settings='cmake.define.ORVEX_BANDS=^qb64_'
	@mkdir -p build-docs
	doxygen docs/Doxyfile
	$(DOCS_PYTHON) -m sphinx -W --keep-going -q -b html docs build-docs/html
	@echo "The site begins at build-docs/html/index.html"

deb:
	@tools/install-dependencies.sh packages
	cmake -S . -B build-deb -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
	    -DCMAKE_SKIP_INSTALL_RPATH=ON -DORVEX_BUILD_TESTS=OFF -DORVEX_BUILD_APP=ON \
	    -DORVEX_DEBIAN_FILES=ON \
	    -DCMAKE_INSTALL_DOCDIR=share/doc/liborvex-dev $(CMAKE_FLAGS)
	cmake --build build-deb
	rm -f build-deb/*.deb
	cd build-deb && cpack -G DEB
	lintian --fail-on error --info build-deb/*.deb

wheel:
	@tools/install-dependencies.sh packages
	packaging/wheel.sh build-wheel $(WHEEL_FLAGS)

lint-packages:
	packaging/lint.sh
