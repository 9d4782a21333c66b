#!/bin/bash
# SPDX-License-Identifier: MIT
# Inside the container of scripts/service-test. `check boot` is the first process: it has systemd
# start what is tested, and then this script as a service, which ends the container.
set -euo pipefail
unit=power_man.service
board=/var/lib/board

boot() {
    printf '%s\n' "AP_BOARD_ROOT=$board" "AP_DATABASE_SEED=$board/seed" >>/etc/default/power_man
    mkdir -p /etc/systemd/system/$unit.d
    printf '[Service]\nReadWritePaths=%s\nWatchdogSec=2\n' "$board" >/etc/systemd/system/$unit.d/test.conf
    cat >/etc/systemd/system/check.service <<END
[Unit]
After=multi-user.target
[Service]
Type=oneshot
StandardOutput=append:/result
StandardError=inherit
ExecStart=/check run
ExecStopPost=/bin/sh -c 'systemctl --force exit "\$EXIT_STATUS"'
[Install]
WantedBy=multi-user.target
END
    systemctl --quiet enable check.service power_man.socket $unit
    exec /lib/systemd/systemd
}

check() {
    local name=$1 try
    shift
    for try in $(seq 100); do # up to 10 s
        ! "$@" || { echo "ok: $name"; return; }
        sleep 0.1
    done
    echo "FAILED: $name ('$*')"
    systemctl status --no-pager --full power_man.socket $unit
    journalctl --no-pager -u $unit
    exit 1
}

shows() { [ "$(systemctl show --property="$1" --value $unit)" = "$2" ]; }
says() { [[ $(systemctl show --property=StatusText --value $unit) == $1 ]]; }
process() { systemctl show --property=MainPID --value $unit; }
console() { # STATUS PATTERN COMMAND...
    local answer status=0
    answer=$(power_manctl "${@:3}" 2>&1) || status=$?
    [ "$status" = "$1" ] && [[ $answer == *$2* ]]
}
another_user() { [[ $(setpriv --reuid=65534 power_manctl status 2>&1 || echo "exit $?") == *'exit 2' ]]; }
held_by_systemd() { [ "$(readlink /proc/1/fd/* | grep -cFx "$(readlink "/proc/$(process)/fd/3")")" -ge 1 ]; }
logged() { journalctl --quiet --output=cat --priority="$1" -u $unit --grep="$2" >/dev/null; }
restarted() { shows ActiveState active && [ "$(process)" != "$former" ] && says 'protecting qv1202B'; }

run() {
    local former
    check 'it is ready when it protects' shows ActiveState active
    check 'says so in words' says 'protecting qv1202B'
    check 'the console answers through the socket unit' console 0 NORMAL status
    check 'whose port is the system'\''s' held_by_systemd
    check 'another user is refused' another_user
    check 'heat comes in' console 0 '' config set rmcfg.sys.mainboard.temperature 71
    check 'and is acted upon, inside the sandbox' grep -qx 0 "$board/sys/class/gpio/gpio252/value"
    check 'and said' says 'qv1202B limited since * by Radio Module'
    check 'and logged with its level' logged 5 'Radio Module: 71 C is above 70'
    former=$(process)
    [ "$former" -gt 1 ] # 0 would be a whole group
    kill -KILL "$former"
    check 'it comes back after a kill' restarted
    former=$(process)
    [ "$former" -gt 1 ]
    kill -STOP "$former"
    check 'and after it hung' restarted
    check 'by the watchdog' logged 4 'Watchdog timeout'
    check 'stopped' systemctl stop $unit
    check 'it has ended well' shows Result success
    check 'and stays so' shows ActiveState inactive
}

"$1"
