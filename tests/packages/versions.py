#!/usr/bin/env python3
"""versions.py SOURCE_DIR: all places that state the project's version state the same."""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
PLACES = {
    "CMakeLists.txt": r"project\(orvex VERSION ([\d.]+)",
    "python/pyproject.toml": r'^version = "([\d.]+)"',
    "python/src/orvex/__init__.py": r'^__version__ = "([\d.]+)"',
    "CITATION.cff": r"^version: ([\d.]+)",
    "packaging/conda/recipe.yaml": r'^  version: "([\d.]+)"',
}
found = {}
for place, pattern in PLACES.items():
    match = re.search(pattern, (root / place).read_text(), re.MULTILINE)
    found[place] = match[1] if match else None
print("\n".join(f"{version}  {place}" for place, version in found.items()))
sys.exit(0 if len(set(found.values())) == 1 and None not in found.values() else "the versions differ")
