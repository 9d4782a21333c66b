#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The clients for the terminal's other daemons, as they are installed: each header, and the example
# built with them in both ways, beside the daemon and with a shared database.
#   client_library.sh CMAKE BUILD-DIRECTORY POWER_MAN POWER_MANCTL
# The compilers are $CC with $CFLAGS, and $CXX.
set -euo pipefail
export LC_ALL=C
cmake=$1
build=$(realpath "$2")
daemon=$(realpath "$3")
ctl=$(realpath "$4")
cd "$(dirname "$0")/../.."
. scripts/common.sh
. scripts/console.sh
. scripts/shared.sh

work=$(mktemp -d)
trap 'for pid in $(jobs -p); do end_child "$pid"; done; rm -rf "$work"' EXIT

"$cmake" --install "$build" --component libpower-bite-dev --prefix "$work/usr" >/dev/null
PKG_CONFIG_PATH=$(dirname "$(find "$work/usr" -name power_bite.pc)")
export PKG_CONFIG_PATH
read -ra strict <<<"-Wall -Wextra -Wpedantic -Werror $(pkg-config --cflags power_bite)"
read -ra libraries <<<"$(pkg-config --libs power_bite ap_host)"

# Each header is enough by itself; those for C in both languages.
mkdir "$work/headers"
(cd "$work/usr/include/power_bite" && find . -name '*.h' -printf '%P\n') | while read -r header; do
    unit=$work/headers/${header//\//-}
    printf '#include "%s"\n' "$header" >"$unit.cpp"
    case $header in
    ap/* | bite/bite_api.h | event_handler/event_client.h) cp "$unit.cpp" "$unit.c" ;;
    esac
done
"$CC" -std=c99 "${strict[@]}" -fsyntax-only "$work"/headers/*.c
"$CXX" -std=c++17 "${strict[@]}" -fsyntax-only "$work"/headers/*.cpp
say "ok: $(ls "$work"/headers/*.c | wc -l) headers for C, $(ls "$work"/headers/*.cpp | wc -l) for C++"

example=$(dirname "$(find "$work/usr" -name clock_daemon.c)")
mkdir "$work/by-hand"
"$CC" -std=c99 ${CFLAGS:-} "${strict[@]}" "$example/clock_daemon.c" -o "$work/by-hand/clock_daemon" \
    "${libraries[@]}"
{
    "$cmake" -S "$example" -B "$work/by-cmake" -DCMAKE_PREFIX_PATH="$work/usr" &&
        "$cmake" --build "$work/by-cmake"
} >"$work/out" 2>&1 || die "by CMake: $(cat "$work/out")"

# To be run in the background or within ( ): takes the place of the shell.
clock_daemon() {
    exec env AP_DATABASE="unix:$work/database.sock" AP_BOARD_ROOT="$board" "$work/$1/clock_daemon" \
        </dev/null >"$work/$1.log" 2>&1
}

# story NAME: standard input is what was done since the last one, but for the daemon's own tests.
story() {
    local told expected try
    expected=$(cat)
    for try in $(seq 100); do
        told=$(actions | tail -n +$((shown + 1)) | sed '/"id\.11421296/d')
        [ "$told" != "$expected" ] || break
        sleep 0.1
    done
    diff <(printf '%s\n' "$expected") <(printf '%s\n' "$told") || die "$1: see above"
    collect
    say "ok: $1"
}

start_daemon qv1101A
set_keys ram.post.id.1142949121.enable 1
collect
clock_daemon by-hand &
client_pid=$!
story 'events are defined at the start' <<'END'
set txt.evh.stxt.132353 Clock missing
signal event_handler.registerEventDefinition
END

result=0
(clock_daemon by-cmake) || result=$?
refusal="^clock_daemon: the process [0-9]* is 'clock_daemon\.' for this board"
[ "$result" -eq 1 ] && grep -q "$refusal" "$work/by-cmake.log" ||
    die "a second one of its name: exit $result, said: $(cat "$work/by-cmake.log")"

set_keys ram.post.hnd.ready 1
story 'a test that fails, and its events' <<'END'
set ram.post.hnd.ready 1
signal bite.post.state "id.1142949121.post.state=1"
signal bite.post.state "id.1142949121.post.state=2"
signal bite.post.state "id.1142949121.post.state=4"
signal bite.event.state "id.1277166849.ev.state=2:info=0"
raise Clock missing
END
[[ $(actions) =~ '"id.1142129676.post.state='[34]'"' ]] || die "the daemon beside it reports no test"

kill -TERM "$client_pid"
wait "$client_pid" || die "SIGTERM: exit $?"
mkdir -p "$board/dev"
touch "$board/dev/rtc0"
clock_daemon by-cmake &
story 'a handler that is ready already, and a test that passes' <<'END'
set txt.evh.stxt.132353 Clock missing
signal event_handler.registerEventDefinition
signal bite.post.state "id.1142949121.post.state=1"
signal bite.post.state "id.1142949121.post.state=2"
signal bite.post.state "id.1142949121.post.state=3"
signal bite.event.state "id.1277166849.ev.state=1:info=0"
clear Clock missing
END
