#!/usr/bin/env bash
# Solves the bundled benchmark instance with the program given as the first argument and ends with
# one line: energy, best known energy, time. Fails when the best known energy is not reached.
set -euo pipefail
program=$1
folder=$(cd "$(dirname "$0")/.." && pwd)
best_known=-371438 # examples/data/README.md

result=$(mktemp)
trap 'rm -f "$result"' EXIT
value() { sed -n "s/^$1=//p" "$result"; }

echo
"$program" solve "$folder/examples/data/bqp1000-1.qubo.gz" --target "$best_known" \
    --time-limit 60 --output "$result"
echo
echo "Energy $(value energy), best known energy $best_known, found in $(value tts) s."
[[ $(value energy) -le $best_known ]]
