#!/usr/bin/env bash
# Makes the man page of the program from docs/command-line.md; needs pandoc. The page is kept in the
# repository, so that nobody needs pandoc who only builds.
#
#   docs/man/make.sh [FILE]   writes docs/man/orvex.1, or the file
set -euo pipefail
cd "$(dirname "$0")"
pandoc ../command-line.md --from gfm --to man --standalone --lua-filter man.lua --output "${1:-orvex.1}"
