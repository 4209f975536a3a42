#!/usr/bin/env bash
# Solves two benchmark instances with the program given as the first argument: a bundled one, which takes
# an instant and must reach its best known energy, and one that is worth watching for some seconds. Ends
# with what to try next.
set -euo pipefail
program=$1
folder=$(cd "$(dirname "$0")/.." && pwd)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
value() { sed -n "s/^$1=//p" "$work/result"; }

best_known=-371438 # examples/data/README.md
printf '\n1. bqp1000-1: 1000 variables, a tenth of the pairs with a weight.\n\n'
"$program" solve "$folder/examples/data/bqp1000-1.qubo.gz" --target "$best_known" \
    --time-limit 60 --output "$work/result"
echo
echo "Energy $(value energy), best known energy $best_known, found in $(value tts) s."
[[ $(value energy) -le $best_known ]]

best_known=-33337 # docs/instances.md
seconds=6
printf '\n2. K2000: the largest cut of a complete graph of 2000 vertices with weights of 1 and -1.\n'
printf '   A hard one; at most %d seconds.\n\n' "$seconds"
"$program" generate k2000 "$work/K2000.qubo"
"$program" solve "$work/K2000.qubo" --target "$best_known" --time-limit "$seconds" \
    --output "$work/result"
echo
awk -v energy="$(value energy)" -v best="$best_known" 'BEGIN {
    printf "Energy %d, best known energy %d: %.2f %% of it.\n", energy, best, 100 * energy / best }'

printf '\nNext:\n'
printf '  %-44s %s\n' \
    "$program solve FILE" "solve a file of yours, for 10 seconds (docs/formats.md)" \
    "$program --help" "the other commands and their options" \
    "make install" "put orvex on your PATH" \
    "pip install ./python" "the Python package (docs/tutorial/python.md)" \
    "README.md" "C++, C, Python, settings"
