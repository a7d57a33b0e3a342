# SPDX-License-Identifier: GPL-3.0-or-later
# What the scripts share. Sourced by bash; sets `root_dir` and `build_root`.

set -euo pipefail
root_dir=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)

# A checkout that may only be read is built in the user's cache.
if [[ -w $root_dir ]]; then
    build_root=${KESTRIN_BUILD_ROOT:-$root_dir/build}
else
    build_root=${KESTRIN_BUILD_ROOT:-${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/kestrin-build}
fi

say() { printf '\n== %s\n' "$*" >&2; }
fail() { printf '%s: %s\n' "${0##*/}" "$*" >&2; exit 2; }

# Whether commands can be run as root without anybody typing a password.
can_be_root() { [[ $EUID -eq 0 ]] || sudo -n true 2>/dev/null; }

# as_root COMMAND...: runs it as root; where a terminal is there, sudo may ask for the password.
as_root() {
    if [[ $EUID -eq 0 ]]; then
        "$@"
    elif command -v sudo >/dev/null && { [[ -t 0 ]] || sudo -n true 2>/dev/null; }; then
        sudo -- "$@"
    else
        fail "needs root or sudo for: $*"
    fi
}

# packages_for USE...: the packages of these uses, one a line.
packages_for() {
    awk -v uses=" $* " '!/^#/ && NF >= 2 && index(uses, " " $2 " ") { print $1 }' \
        "$root_dir/scripts/packages.txt"
}

is_installed() {
    [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# install_packages USE...: installs what is missing of these uses, and touches nothing else.
install_packages() {
    local package missing=()
    for package in $(packages_for "$@"); do
        is_installed "$package" || missing+=("$package")
    done
    [[ ${#missing[@]} -eq 0 ]] && return
    say "Installing ${missing[*]}"
    as_root apt-get update -q </dev/null
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends "${missing[@]}" </dev/null
}

# build PRESET [CMAKE-OPTION...]: configures and builds; `build_dir PRESET` is where.
build_dir() { printf '%s/%s\n' "$build_root" "$1"; }
build() {
    local preset=$1 directory
    shift
    directory=$(build_dir "$preset")
    say "Building $preset in $directory"
    # Presets are looked for in the current folder.
    (cd -- "$root_dir" && cmake --preset "$preset" -B "$directory" "$@" >"$directory.configure.log" 2>&1) ||
        { cat -- "$directory.configure.log" >&2; return 1; }
    cmake --build "$directory" --parallel "$(nproc)"
}
mkdir -p -- "$build_root"
