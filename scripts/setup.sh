#!/usr/bin/env bash
# Installs what is missing on a fresh Debian 12 or 13. Quick, and silent, when nothing is missing.
#
#   scripts/setup.sh GROUP...
#
#   build       what the library, the demo's solver and the tests are built with
#   python      the virtual environment build/venv: the co-simulation master, the plots
#   masters     a virtual environment in build/masters for each co-simulation master that the tests try
#   browser     what opens the reports in tests
#   checks      a second compiler with its fuzzer, formatter, linter
#   benchmarks  what measures times
#   release     what scripts/release packs with
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/build_folder.sh"

declare -A packages_of=(
    [build]="g++ cmake make ninja-build pkg-config libxml2-dev libsimbody-dev libfmt-dev libgtest-dev libgmock-dev \
libcli11-dev libtomlplusplus-dev libzip-dev libelf-dev uuid-dev nlohmann-json3-dev patchelf python3 valgrind \
groff-base"
    [python]="python3-venv"
    [masters]="python3-venv libtbb12 unzip"
    [browser]="chromium fonts-dejavu-core"
    [checks]="clang clang-format clang-tidy libclang-rt-dev libbenchmark-dev procps"
    [benchmarks]="libbenchmark-dev"
    [release]="python3-venv dpkg-dev file git debootstrap"
)

groups="build, python, masters, browser, checks, benchmarks, release"

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

    command -v apt-get >/dev/null || fail "no apt-get here; please install what Debian calls: ${missing[*]}"
    if ((EUID != 0)) && ! command -v sudo >/dev/null; then
        fail "neither root nor sudo; please have these packages installed: ${missing[*]}"
    fi

    say "reading the package lists"
    as_root apt-get update -qq
    say "installing ${missing[*]}"
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -qq --yes --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}" >/dev/null
}

# make_environment FOLDER REQUIREMENTS [PIP-OPTION...]: a virtual environment in build/. The stamp holds what it depends on,
# its own place among it, and is written last, so an interrupted installation starts again.
make_environment() {
    local folder=$root/build/$1 requirements=$root/$2 stamp origin
    stamp=$folder/made-of
    origin="$folder $(/usr/bin/python3 --version) $(sha256sum <"$requirements")"
    if [[ -x $folder/bin/python && -f $stamp && $(<"$stamp") == "$origin" ]]; then
        return 0
    fi

    say "making the virtual environment build/$1"
    rm -rf "$folder"
    /usr/bin/python3 -m venv "$folder" &&
        "$folder/bin/python" -m pip install --quiet --no-input --no-compile --disable-pip-version-check \
            --requirement "$requirements" "${@:3}" &&
        echo "$origin" >"$stamp"
}

# All at once. One that can't be installed leaves the others alone; the masters' tests fail for it. The requirements are
# complete.
make_masters() {
    local requirements
    for requirements in tests/masters/requirements/*.txt; do
        make_master "$(basename "$requirements" .txt)" "$requirements" &
    done
    wait
}

make_master() {
    make_environment "masters/$1" "$2" --no-deps || printf 'set-up: the master %s could not be installed\n' "$1" >&2
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
    case $group in
        python) make_environment venv demo/requirements.txt ;;
        masters) make_masters ;;
        release) make_environment release-tools scripts/release.txt ;;
    esac
done
