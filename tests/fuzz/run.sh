#!/usr/bin/env bash
# Fuzzes every target for some seconds each, two at a time: tests/fuzz/run.sh SECONDS [TARGET...].
# New inputs are kept in build-fuzz/corpus/TARGET, findings in build-fuzz/findings; a finding becomes
# a test when its file is put into tests/fuzz/corpus/TARGET. The programs are those of the preset
# "fuzz": cmake --preset fuzz && cmake --build --preset fuzz --target orvex_fuzz
set -euo pipefail
seconds=${1:?usage: run.sh SECONDS [TARGET...]}
shift
here=$(cd "$(dirname "$0")" && pwd)
programs=$here/../../build-fuzz
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    targets=($(cd "$here/corpus" && ls))
fi

fuzz() {
    local target=$1
    mkdir -p "$programs/corpus/$target" "$programs/findings"
    local log=$programs/findings/$target.log
    if ! "$programs/tests/fuzz/orvex_fuzz_$target" "$programs/corpus/$target" "$here/corpus/$target" \
        -max_total_time="$seconds" -timeout=20 -rss_limit_mb=3000 -max_len=4096 -print_final_stats=1 \
        -artifact_prefix="$programs/findings/$target-" >"$log" 2>&1; then
        echo "$target: a finding; the end of $log:"
        tail -n 40 "$log"
        return 1
    fi
    echo "$target: $(sed -n 's/^Done //p' "$log"), $(grep -c '' <(ls "$programs/corpus/$target")) inputs"
}
export -f fuzz
export here programs seconds

# A fuzzer that does not find the fault that is planted for it finds nothing else either.
if "$programs/tests/fuzz/orvex_fuzz_planted" -runs=3000000 -seed=1 -max_len=16 \
    -artifact_prefix="$programs/planted-" >/dev/null 2>&1; then
    echo "the planted fault was not found"
    exit 1
fi
printf '%s\n' "${targets[@]}" | xargs -P 2 -I TARGET bash -c 'fuzz TARGET'
