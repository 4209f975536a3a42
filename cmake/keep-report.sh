#!/bin/sh
# keep-report.sh COMMAND...: runs a device compilation and keeps what the assembler says about
# registers, stack and spills in <object>.ptxas, beside the object; everything else that the compiler
# writes goes on to the standard error stream.
set -u
object=
previous=
for argument in "$@"; do
    [ "$previous" = -o ] && object=$argument
    previous=$argument
done
[ -n "$object" ] || exec "$@"

output=$("$@" 2>&1)
status=$?
report='^ptxas info|^    [0-9]+ bytes stack frame|^$'
printf '%s\n' "$output" | grep -E "$report" >"$object.ptxas"
printf '%s\n' "$output" | grep -Ev "$report" >&2
exit $status
