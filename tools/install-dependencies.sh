#!/usr/bin/env bash
# Installs what a job needs on Debian 12 and is missing: says what first, and where it may not
# install prints the one command that would, and fails.
#
#   tools/install-dependencies.sh demo    the library and the program
#   tools/install-dependencies.sh test    the same and the tests
#   tools/install-dependencies.sh ci      the same and what CI checks with
#   tools/install-dependencies.sh docs    the documentation site and the manual page
#   tools/install-dependencies.sh packages  Debian packages and wheels
set -euo pipefail

demo=(g++ cmake ninja-build libhwy-dev libcli11-dev nlohmann-json3-dev zlib1g-dev)
test=(libgtest-dev libgmock-dev pkg-config python3)
ci=(ccache chromium clang clang-format fish git python3-venv zsh)
docs=(doxygen python3-venv)
packages=(dpkg-dev file lintian python3-venv)

case "${1:-}" in
demo) needed=("${demo[@]}") ;;
test) needed=("${demo[@]}" "${test[@]}") ;;
ci) needed=("${demo[@]}" "${test[@]}" "${docs[@]}" "${ci[@]}") ;;
docs) needed=("${demo[@]}" "${docs[@]}") ;;
packages) needed=("${demo[@]}" "${packages[@]}") ;;
*)
    echo "usage: $0 demo|test|ci|docs|packages" >&2
    exit 2
    ;;
esac

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "This is no Debian system, so nothing is installed. Needed are, by their names there:"
    echo "  ${needed[*]}"
    exit 0
fi

missing=()
for package in "${needed[@]}"; do
    state=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
    [[ $state == "install ok installed" ]] || missing+=("$package")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

may_use_sudo() {
    command -v sudo >/dev/null || return 1
    sudo -n true 2>/dev/null || { [[ -t 0 ]] && sudo -v; }
}

install="apt-get update && apt-get install -y --no-install-recommends ${missing[*]}"
echo "Needed and not installed: ${missing[*]}"
if [[ $(id -u) -eq 0 ]]; then
    as_root=()
elif may_use_sudo; then
    as_root=(sudo)
else
    echo "They cannot be installed from here. This command, run as root, does it:" >&2
    echo "  $install" >&2
    exit 1
fi
echo "Installing them: $install"
"${as_root[@]}" sh -c "export DEBIAN_FRONTEND=noninteractive; $install"
