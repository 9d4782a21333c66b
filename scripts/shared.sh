# SPDX-License-Identifier: MIT
# The same operations as in console.sh, through a shared database: a private server in $work, and
# redis-cli in the part of the terminal's other daemons. To be sourced after console.sh.

server_pid=
monitor_pid=
shown=0 # actions that were collected

database() { redis-cli -s "$work/database.sock" "$@"; }

start_server() {
    mkdir -p "$work/server"
    redis-server - >"$work/server/log" <<END &
port 0
unixsocket "$work/database.sock"
unixsocketperm 700
dir "$work/server"
save ""
hz 1
END
    server_pid=$!
    local try
    for try in $(seq 100); do
        [ "$(database PING 2>/dev/null)" != PONG ] || return 0
        sleep 0.05
    done
    die "the database does not start: $(tail -n 3 "$work/server/log")"
}

# Every command that reaches the server goes to a file, in order.
start_monitor() {
    redis-cli -s "$work/database.sock" MONITOR >"$work/monitor" 2>/dev/null &
    monitor_pid=$!
    until grep -qs OK "$work/monitor"; do sleep 0.02; done
    shown=0
}

start_daemon() {
    local pairs
    make_board "$1"
    start_server
    mapfile -t pairs < <(sed -n 's/^\([^# ][^ ]*\) *= *\(.*\)$/\1\n\2/p' "$board/seed")
    database MSET "${pairs[@]}" >/dev/null
    start_monitor
    launch AP_DATABASE="unix:$work/database.sock"
}

set_keys() { database MSET "$@" >/dev/null; }

# The monitor's lines as the journal would have them.
actions() {
    perl -ne '
        sub text { my $t = shift; $t =~ s/\\(x(..)|.)/defined $2 ? chr hex $2 :
            {n => "\n", r => "\r", t => "\t", a => "\a", b => "\b"}->{$1} \/\/ $1/ge; $t }
        sub signal { my ($name, $data) = @_;
            if ($name eq "event_handler.forwardEventReport") {
                my ($id, $state) = (unpack "V4", $data)[0, 3];
                return ($state == 2 ? "raise " : "clear ") . ($event{$id} // $id) }
            if ($name eq "psumcu.poe.signal.set.port.poe.enabled") {
                my ($port, $on) = unpack "VC", $data;
                return "signal $name port $port " . ($on ? "on" : "off") }
            return "signal $name " . (ord $data ? "on" : "off") if length $data == 1;
            return "signal $name" if $name eq "event_handler.registerEventDefinition";
            $data =~ s/\0$//; "signal $name \"$data\"" }
        s/^[\d.]+ \[[^\]]*\] // or next;
        ($command, @w) = map { text $_ } /"((?:[^"\\]|\\.)*)"/g;
        $command = uc $command;
        if ($command eq "SET" || $command eq "MSET") {
            while (($key, $value) = splice @w, 0, 2) {
                $event{$1} = $value if $key =~ /^txt\.evh\.stxt\.(\d+)$/;
                print "set $key $value\n" } }
        print "del $_\n" for $command eq "DEL" ? @w : ();
        print signal(@w), "\n" if $command eq "PUBLISH"' "$work/monitor"
}

# The daemon reacts within a few milliseconds; when nothing has come for a while, it is done.
collect() {
    local size=-1
    while [ "$size" != "$(stat -c %s "$work/monitor")" ]; do
        size=$(stat -c %s "$work/monitor")
        sleep 0.15
    done
    seen=$(actions | tail -n +$((shown + 1)))
    [ -z "$seen" ] || seen+=$'\n'
    shown=$((shown + $(printf '%s' "$seen" | wc -l)))
}

# pin NUMBER STATE: the line is in that state.
pin() {
    local line=$board/sys/class/gpio/gpio$1 direction=out level
    case $2 in
    high) level=1 ;;
    low) level=0 ;;
    in) direction=in level=$(cat "$line/value") ;;
    esac
    [ "$(cat "$line/direction") $(cat "$line/value")" = "$direction $level" ] ||
        die "pin $1 is not $2"
}

# The database does not show the log, nor the board's files: what they hold in the end is looked
# at instead.
comparable() {
    local verb first second
    declare -A pins=()
    while read -r verb first second; do
        case $verb in
        pin) pins[$first]=$second ;;
        log) ;;
        file) [ "$(cat "$board$first")" = "$second" ] || die "$first is not '$second'" ;;
        *) printf '%s\n' "$verb $first${second:+ $second}" ;;
        esac
    done
    for first in "${!pins[@]}"; do
        pin "$first" "${pins[$first]}"
    done
}

interval() { :; } # no key has it

farewell() {
    local key
    printf '\nWhat the database says in the end:\n\n'
    database --scan --pattern 'ram.status.power_management.*' | sort | while read -r key; do
        printf '%s%s = %s\n' "$indent" "$key" "$(database GET "$key")"
    done
    [ -t 0 ] && [ -t 1 ] || return 0
    printf '\nThe database is yours. Try: SET %s 40, PSUBSCRIBE event*, exit\n' \
        ram.status.battery.1.temperature
    database || true
}

stop_daemon() {
    local pid
    for pid in "$daemon_pid" "$monitor_pid" "$server_pid"; do
        end_child "$pid"
    done
    daemon_pid='' monitor_pid='' server_pid=''
}
