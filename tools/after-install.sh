#!/usr/bin/env bash
# Says where `make install` has put the program, and what is left to do to call it by its name.
set -euo pipefail
folder=$1/bin
echo
echo "Installed: $folder/orvex"
case ":$PATH:" in
*":$folder:"*) echo "Try it: orvex --help" ;;
*)
    echo "$folder is not on your PATH. This line, in your shell's start file too, puts it there:"
    echo "  export PATH=\"$folder:\$PATH\""
    ;;
esac
