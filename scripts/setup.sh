#!/usr/bin/env bash
# Installs what a fresh Debian 12 lacks. Quick, and silent, when nothing is missing.
#
#   scripts/setup.sh GROUP...
#
#   build       what the library, the demo's solver and the tests are built with
#   python      the virtual environment build/venv: the co-simulation master, the plots
#   checks      a second compiler with its fuzzer, formatter, linter
#   benchmarks  what measures times
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
venv=$root/build/venv
requirements=$root/demo/requirements.txt

declare -A packages_of=(
    [build]="g++ cmake ninja-build pkg-config libxml2-dev libsimbody-dev libfmt-dev libgtest-dev \
libcli11-dev libtomlplusplus-dev libzip-dev libelf-dev nlohmann-json3-dev patchelf valgrind"
    [python]="python3-venv"
    [checks]="clang clang-format clang-tidy libclang-rt-dev procps"
    [benchmarks]="libbenchmark-dev"
)

groups="build, python, checks, benchmarks"

say() { printf 'set-up: %s\n' "$*"; }
fail() {
    printf 'set-up: %s\n' "$*" >&2
    exit 1
}

is_installed() {
    [[ $(dpkg-query --show --showformat '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# Runs a command as root, directly or through sudo.
as_root() {
    if ((EUID == 0)); then
        "$@"
    else
        sudo "$@"
    fi
}

install_packages() {
    local package missing=()
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    ((${#missing[@]} > 0)) || return 0

    command -v apt-get >/dev/null || fail "no apt-get here; please install what Debian 12 calls: ${missing[*]}"
    if ((EUID != 0)) && ! command -v sudo >/dev/null; then
        fail "neither root nor sudo; please have these packages installed: ${missing[*]}"
    fi

    say "reading the package lists"
    as_root apt-get update -qq
    say "installing ${missing[*]}"
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -qq --yes --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}" >/dev/null
}

# The stamp is written last, so an interrupted installation starts again.
install_python() {
    local stamp=$venv/requirements.sha256 sum
    sum=$(sha256sum <"$requirements")
    if [[ -x $venv/bin/python && -f $stamp && $(<"$stamp") == "$sum" ]]; then
        return 0
    fi

    say "making the virtual environment build/venv"
    rm -rf "$venv"
    /usr/bin/python3 -m venv "$venv"
    "$venv/bin/python" -m pip install --quiet --no-input --disable-pip-version-check --requirement "$requirements"
    echo "$sum" >"$stamp"
}

(($# > 0)) || fail "name one or more of: $groups"

packages=()
for group in "$@"; do
    [[ -v packages_of[$group] ]] || fail "there is no group '$group'; there are: $groups"
    read -ra more <<<"${packages_of[$group]}"
    packages+=("${more[@]}")
done
install_packages "${packages[@]}"

for group in "$@"; do
    if [[ $group == python ]]; then install_python; fi
done
