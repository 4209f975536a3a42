#!/usr/bin/env bash
# wheel_everywhere.sh WHEEL [PYTHON...]: installs the wheel into a fresh virtual environment of each of these
# Pythons, by default of all from 3.9 on that are on the path, and solves a problem there. Fails if there is none.
set -euo pipefail
wheel=$1
shift
pythons=("$@")
if [ ${#pythons[@]} -eq 0 ]; then
    for minor in 9 10 11 12 13 14; do
        ! python3.$minor -c '' 2>/dev/null || pythons+=("python3.$minor")
    done
fi
[ ${#pythons[@]} -gt 0 ]
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for python in "${pythons[@]}"; do
    "$python" -m venv "$work/venv"
    "$work/venv/bin/pip" install --quiet "$wheel"
    (cd "$work" && "$work/venv/bin/python" -c '
import platform, numpy, orvex
W = numpy.array([[-3, 2, 0], [0, -1, 4], [0, 0, -2]])
for options in {}, {"presolve": False, "companion": 0}, {"presolve": False, "companion": 1.0}:
    result = orvex.solve(W, time_limit=5, target=-5, **options)
    assert (result.energy, result.x.tolist()) == (-5, [True, False, True]), result
print("Python", platform.python_version(), "numpy", numpy.__version__, "orvex", orvex.__version__)')
    rm -rf "$work/venv"
done
