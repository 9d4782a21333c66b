# SPDX-License-Identifier: MIT
# Debian's packages for 32-bit ARM, without a word to this machine's package manager: apt works in
# a cache of its own, where that architecture is the only one, with this machine's mirror. To be
# sourced with bash, after common.sh.
#
#   armhf_packages PACKAGE...   unpacks the packages below $armhf_root; for a kernel without a
#                               version in its name, the present one

armhf_cache=${XDG_CACHE_HOME:-$HOME/.cache}/power_man-armhf
armhf_root=$armhf_cache/root

# mirror SUITE: where apt has that of Debian from; nothing before its first update.
mirror() {
    apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' \
        'Origin: Debian' "Codename: $1" 'Component: main' | sed -n 1p
}

armhf_apt() {
    local suite mirror
    suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
    mirror=$(mirror "$suite")
    if [ -z "$mirror" ]; then
        as_root apt-get update -qq
        mirror=$(mirror "$suite")
    fi
    [ -n "$mirror" ] || die "apt has no Debian '$suite' among its sources"
    mkdir -p "$armhf_cache"/{archives,lists/partial,archives/partial}
    : >"$armhf_cache/status"
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg]" \
        "$mirror $suite main" >"$armhf_cache/sources.list"
    cat >"$armhf_cache/apt.conf" <<CONF
APT::Architecture "armhf";
APT::Architectures { "armhf"; };
APT::Sandbox::User "";
Dir::Cache "$armhf_cache";
Dir::State::lists "$armhf_cache/lists";
Dir::State::status "$armhf_cache/status";
Dir::Etc::sourcelist "$armhf_cache/sources.list";
Dir::Etc::sourceparts "/dev/null";
CONF
}

armhf_packages() {
    local package name missing=()
    for package in "$@"; do
        [ -e "$armhf_cache/unpacked/$package" ] || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    need ca-certificates debian-archive-keyring
    armhf_apt
    local -x APT_CONFIG=$armhf_cache/apt.conf
    apt-get update -qq || die "apt-get cannot read the list of armhf packages"
    for package in "${missing[@]}"; do
        name=$package
        case $package in
        linux-image-*) name=$(apt-cache depends "$package" | sed -n 's/^  Depends: //p') ;;
        esac
        say "Fetching $name for armhf"
        (cd "$armhf_cache/archives" && rm -f "$name"_* && apt-get download -qq "$name") ||
            die "apt-get could not fetch $name"
        dpkg-deb -x "$armhf_cache/archives/$name"_*.deb "$armhf_root"
        mkdir -p "$armhf_cache/unpacked"
        touch "$armhf_cache/unpacked/$package"
    done
}
