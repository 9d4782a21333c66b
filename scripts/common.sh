# SPDX-License-Identifier: MIT
# What the scripts share; to be sourced with bash, from the project's root.

say() { printf '%s\n' "$*"; }

die() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        command -v sudo >/dev/null || die "there is no sudo; run as root: $*"
        sudo "$@"
    fi
}

# need PACKAGE...: installs the Debian packages that are missing.
need() {
    local package missing=()
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    say "Installing ${missing[*]}"
    as_root apt-get update -qq
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null ||
        die "apt-get could not install: ${missing[*]}"
}

# build PRESET [TARGET...]: configures where needed, and builds.
build() {
    local preset=$1 launcher=() targets=() log
    shift
    need g++ cmake ninja-build libgtest-dev libhiredis-dev
    if command -v ccache >/dev/null; then
        launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    [ $# -eq 0 ] || targets=(--target "$@")
    log=$(cmake --preset "$preset" "${launcher[@]}" 2>&1) ||
        { say "$log"; die "configuring '$preset' failed"; }
    cmake --build --preset "$preset" "${targets[@]}" -- --quiet
}
