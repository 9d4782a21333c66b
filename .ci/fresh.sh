# SPDX-License-Identifier: MIT
# A fresh machine for the scripts: a minimal Debian in a directory, an ordinary user who has sudo,
# and the checkout at a place with a space in its name. To be sourced with bash, after common.sh and
# armhf.sh.
#
#   make_fresh DIRECTORY          makes it below a new directory
#   fresh USER SCRIPT [ARG...]    runs a script there, as `user` or `root`. What it installs is gone
#                                 afterwards, what it builds is kept for the next
#
# The packages of row "build" are there already, because every script installs these, and ccache,
# which is given this machine's cache, CCACHE_DIR. Where no such machine can be made (it takes root, namespaces and
# Debian's mirror), a line says so, and the scripts run on this one, as another user all the same.

fresh_place="power man"

make_fresh() {
    fresh=$1
    mkdir -p "$fresh/home/$fresh_place" "$fresh/archives"
    chmod 711 "$fresh"
    git ls-files -z | tar --create --null --files-from=- |
        tar --extract --no-same-owner --directory "$fresh/home/$fresh_place"
    fresh_machine=$fresh/minimal
    if make_minimal >"$fresh/log" 2>&1; then
        inside "$fresh_machine" user bash -c '. scripts/common.sh; need build'
        return
    fi
    tail -n 3 "$fresh/log"
    say "NO FRESH MACHINE can be made here: the scripts run on this one."
    fresh_machine=
    need $(sed -n 's/^\([a-z][^ ,]*\).*/\1/p' scripts/packages |
        grep -vE '^(target|container)-|^package-test-armhf$')
    [ "$(id -u)" -ne 0 ] || chown -R nobody "$fresh/home"
}

make_minimal() {
    local suite root=$fresh/minimal
    [ "$(id -u)" -eq 0 ] && unshare --mount --pid --fork true || return
    suite=$(debian_suite)
    mmdebstrap --variant=apt --mode=root --include=sudo,ccache --skip=cleanup/apt/lists "$suite" \
        "$root" "$(debian_mirror "$suite")" || return
    chroot "$root" useradd --create-home --uid 1000 user || return
    printf '%s\n' 'user ALL=(ALL) NOPASSWD: ALL' \
        'Defaults env_keep += "http_proxy https_proxy"' >"$root/etc/sudoers.d/user" || return
    apt-config dump Acquire::http >"$root/etc/apt/apt.conf.d/00here" || return
    cp /etc/resolv.conf /etc/hosts /etc/hostname "$root/etc" || return
    chown -R 1000:1000 "$fresh/home"
}

# inside ROOT USER COMMAND...: runs it as a machine of its own, which nothing outlives.
inside() {
    unshare --mount --pid --fork --kill-child bash -c '
        root=$1 user=$2 fresh=$3 place=$4
        shift 4
        mount -t proc proc "$root/proc" && mount --rbind /dev "$root/dev" &&
            mount --rbind /sys "$root/sys" && mount --bind "$fresh/home" "$root/home/user" &&
            mount --bind "$fresh/archives" "$root/var/cache/apt/archives" &&
            mkdir -p "$root/var/cache/ccache" &&
            mount --bind "$CCACHE_DIR" "$root/var/cache/ccache" || exit
        chroot --userspec="$user" "$root" env -i HOME=/home/user LANG=C.UTF-8 CI="$CI" \
            $(env | grep ^CCACHE_) CCACHE_DIR=/var/cache/ccache \
            http_proxy="$http_proxy" https_proxy="$https_proxy" \
            PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
            bash -c "cd \"/home/user/$place\" && exec \"\$@\"" bash "$@"
        exit' bash "$1" "$2" "$fresh" "$fresh_place" "${@:3}" </dev/null
}

fresh() {
    local user=$1 result=0 other_user=()
    shift
    say "As $user, in '$fresh_place': $*"
    if [ -n "$fresh_machine" ]; then
        cp -a "$fresh_machine" "$fresh/machine"
        inside "$fresh/machine" "$user" "$@" || result=$?
        rm -rf --one-file-system "$fresh/machine"
    else
        [ "$user" = root ] || [ "$(id -u)" -ne 0 ] ||
            other_user=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
        (cd "$fresh/home/$fresh_place" &&
            env -u CCACHE_DIR HOME="$fresh/home" "${other_user[@]}" "$@") || result=$?
    fi
    return "$result"
}
