# SPDX-License-Identifier: MIT
# Debian's packages for 32-bit ARM, without a word to this machine's package manager: apt works in
# a cache of its own, where that architecture is the only one, with this machine's mirror. To be
# sourced with bash, after common.sh.
#
#   armhf_packages ROW   unpacks the packages of that row below $armhf_root; for a kernel without a
#                        version in its name, the present one

armhf_cache=${XDG_CACHE_HOME:-$HOME/.cache}/power_man-armhf
armhf_root=$armhf_cache/root

debian_suite() { (. /etc/os-release && echo "$VERSION_CODENAME"); }

known_mirror() {
    apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' \
        'Origin: Debian' "Codename: $1" 'Component: main' | sed -n 1p
}

# debian_mirror SUITE: where apt has that of Debian from; it does not know before its first update.
debian_mirror() {
    [ -n "$(known_mirror "$1")" ] || as_root apt-get update -qq >&2
    known_mirror "$1"
}

armhf_apt() {
    local suite mirror
    suite=$(debian_suite)
    mirror=$(debian_mirror "$suite")
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
    local package name packages missing=()
    packages=$(packages_of "$1") || die "scripts/packages has no row '$1'"
    for package in $packages; do
        [ -e "$armhf_cache/unpacked/$package" ] || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    need fetch
    say "Fetching ${missing[*]} for armhf"
    armhf_apt
    local -x APT_CONFIG=$armhf_cache/apt.conf
    apt-get update -qq || die "apt-get cannot read the list of armhf packages"
    for package in "${missing[@]}"; do
        name=$package
        case $package in
        linux-image-*) name=$(apt-cache depends "$package" | sed -n 's/^  Depends: //p') ;;
        esac
        [ -n "$name" ] || die "apt-get knows no present version of $package"
        (cd "$armhf_cache/archives" && rm -f "$name"_* && apt-get download -qq "$name") ||
            die "apt-get could not fetch $name"
        dpkg-deb -x "$armhf_cache/archives/$name"_*.deb "$armhf_root"
        mkdir -p "$armhf_cache/unpacked"
        touch "$armhf_cache/unpacked/$package"
    done
}
