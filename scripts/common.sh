# SPDX-License-Identifier: MIT
# What the scripts share; to be sourced with bash, from the project's root.

say() { printf '%s\n' "$*"; }

die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# explain ARGUMENT...: with --help among them, prints the comment that the script begins with.
explain() {
    local argument place=scripts
    [ -e "scripts/${0##*/}" ] || place=.ci
    for argument in "$@"; do
        case $argument in
        --help | -h)
            sed -n '3,${/^#/!q; s/^# \{0,1\}//p}' "$place/${0##*/}"
            exit 0
            ;;
        esac
    done
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        command -v sudo >/dev/null || die "there is no sudo; run as root: $*"
        sudo "$@"
    fi
}

# packages_of ROW: the packages in that row of scripts/packages.
packages_of() {
    awk -v row="$1" '!/^#/ { count = split($1, names, ",")
        for (i = 1; i <= count; i++) if (names[i] == row) { $1 = ""; print; found = 1 } }
        END { exit !found }' scripts/packages
}

# need ROW...: installs the packages of these rows that are missing.
need() {
    local row packages package missing=()
    for row in "$@"; do
        packages=$(packages_of "$row") || die "scripts/packages has no row '$row'"
        for package in $packages; do
            [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
                missing+=("$package")
        done
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
    need build
    ! packages_of "$preset" >/dev/null || need "$preset"
    say "Building '$preset'${*:+ ($*)}"
    if command -v ccache >/dev/null; then
        launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    [ $# -eq 0 ] || targets=(--target "$@")
    log=$(cmake --preset "$preset" "${launcher[@]}" 2>&1) ||
        { say "$log"; die "configuring '$preset' failed"; }
    cmake --build --preset "$preset" "${targets[@]}" -- --quiet
}

# end_child PID: ends a process that this shell has started, and waits for it. Nothing else is ever
# sent a signal: neither no number at all nor one that belongs to somebody else by now.
end_child() {
    [[ $1 =~ ^[1-9][0-9]*$ ]] || return 0
    ! grep -qx "$1" <<<"$(jobs -p)" || kill "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
}
