#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The built daemon with real clients: telnet, nc and power_manctl.
#   end_to_end.sh POWER_MAN POWER_MANCTL
set -euo pipefail
export LC_ALL=C
daemon=$(realpath "$1")
ctl=$(realpath "$2")
cd "$(dirname "$0")/.."
. scripts/common.sh
. scripts/console.sh

work=$(mktemp -d)
trap 'for pid in $(jobs -p); do end_child "$pid"; done; rm -rf "$work"' EXIT

check() {
    local name=$1
    shift
    "$@" || die "$name: failed ('$*')"
    say "ok: $name"
}

# refused NAME TEXT VARIABLE=VALUE...: the daemon ends with 2 and one line that has the text.
refused() {
    local name=$1 text=$2 result=0
    shift 2
    env "$@" timeout 10 "$daemon" </dev/null >"$work/out" 2>&1 || result=$?
    [ "$result" -eq 2 ] && [ "$(wc -l <"$work/out")" -eq 1 ] && grep -qF -- "$text" "$work/out" ||
        die "$name: exit $result, said: $(cat "$work/out")"
    say "ok: $name"
}

printf 'ram.platform.id = qv1101A\nno equals sign\n' >"$work/bad-line"
refused 'a bad seed line' 'bad-line:2: ' AP_DATABASE_SEED="$work/bad-line"
refused 'a missing seed' 'No such file' AP_DATABASE_SEED="$work/none"
refused 'a board that is not there' 'AP_BOARD_ROOT' AP_BOARD_ROOT="$work/none"
refused 'a log level' 'AP_LOG_LEVEL' AP_LOG_LEVEL=9
refused 'a port' 'AP_CONSOLE_PORT' AP_CONSOLE_PORT=telnet
refused 'a trace without a group' 'AP_TRACE' AP_TRACE=C

AP_DATABSE=unix:/run/redis start_daemon qv1101A
check 'a misspelt variable is named' grep -q '^AP_DATABSE: there is no such variable' "$work/log"

# Their output goes to a file: telnet spins when nobody reads it any more.
by_nc() {
    printf 'temp_status\nexit\n' | timeout 10 nc 127.0.0.1 "$port" >"$work/nc"
    grep -q 'Temp sensor name : Battery' "$work/nc"
}
by_telnet() {
    { sleep 0.3; printf 'temp_status\n'; sleep 0.3; printf 'exit\n'; sleep 0.3; } |
        timeout 10 telnet 127.0.0.1 "$port" >"$work/telnet" 2>&1 || true
    grep -q 'Temp sensor name : Battery' "$work/telnet"
}
still_there() { [ "$(ask config get ram.platform.id)" = "qv1101A" ]; }

check 'nc' by_nc
check 'telnet' by_telnet
check 'power_manctl' still_there

second_ends() {
    local result=0
    touch "$work/stamp"
    sleep 0.05
    env AP_BOARD_ROOT="$board/." AP_DATABASE_SEED="$board/seed" AP_CONSOLE_PORT=1 \
        timeout 10 "$daemon" </dev/null >"$work/out" 2>&1 || result=$?
    [ "$result" -eq 1 ] && [ "$(wc -l <"$work/out")" -eq 1 ] &&
        grep -q "process $daemon_pid is 'pwr_man.'" "$work/out" &&
        [ -z "$(find "$board" -newer "$work/stamp")" ]
}
check 'a second daemon is refused before it touches anything' second_ends

# Nothing wakes it: a process that does not run does not leave the processor either.
switches() { sed -n 's/^voluntary_ctxt_switches:\s*//p' "/proc/$daemon_pid/status"; }
idle() {
    local before
    sleep 0.3
    before=$(switches)
    sleep 1.5
    [ "$(switches)" -eq "$before" ]
}
check 'an idle daemon sleeps' idle

ends_well() { kill -TERM "$daemon_pid" && wait "$daemon_pid"; }
check 'SIGTERM ends it in an orderly way' ends_well
daemon_pid=

# A starter may hand over no standard descriptors. No file of the board may come to stand in their
# place: the log would be written to it.
holds_descriptors() {
    local descriptor
    for descriptor in 0 1 2; do
        [ "$(readlink "/proc/$daemon_pid/fd/$descriptor")" = /dev/null ] || return 1
    done
}
printf '#!/bin/sh\nexec "%s" <&- >&- 2>&-\n' "$daemon" >"$work/bare"
chmod +x "$work/bare"
daemon=$work/bare
start_daemon qv1608B
check 'closed standard descriptors' holds_descriptors
