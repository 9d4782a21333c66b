# SPDX-License-Identifier: MIT
# A daemon on an emulated board, and its console, for scripts; to be sourced with bash.
#
#   start_daemon MODEL        makes a board in $board and starts the daemon on it
#   ask COMMAND WORD ...      runs a console command; its output, which must be read to the end
#   set_keys KEY VALUE ...    writes keys of the database, together
#   collect                   what the daemon did since the last call goes to $seen
#   comparable                standard input without the lines that collect cannot see
#   interval                  the sensor's temperature interval
#   farewell                  shows the state, and lets a person on
#   stop_daemon               ends all
#
# Needs $daemon and $ctl (the programs), $work (a directory) and common.sh.

daemon_pid=
port=
line=0 # of the journal, the last one that was collected

# An answer other than "done" is told by the command's own words.
ask() { "$ctl" --port "$port" --timeout 5 "$@" || [ $? -eq 1 ] || die "the console does not answer"; }

connect() {
    local try
    for try in $(seq 50); do
        kill -0 "$daemon_pid" 2>/dev/null || return 1
        ! "$ctl" --port "$port" --timeout 5 help >/dev/null 2>&1 || return 0
        sleep 0.1
    done
    return 1
}

make_board() {
    board=$work/$1
    rm -rf "$board"
    board/make-board "$1" "$board" >/dev/null
}

# launch VARIABLE=VALUE: the daemon on that board, with its database. Another program may have the
# console's port already: the daemon says so and ends, and the next is tried.
launch() {
    local try
    for try in $(seq 10); do
        port=$((20000 + RANDOM % 20000))
        env "$1" AP_BOARD_ROOT="$board" AP_CONSOLE_PORT=$port "$daemon" \
            </dev/null >"$work/log" 2>&1 &
        daemon_pid=$!
        connect && return
        end_child "$daemon_pid"
        daemon_pid=
    done
    die "the daemon does not start: $(cat "$work/log")"
}

start_daemon() {
    make_board "$1"
    line=0
    launch AP_DATABASE_SEED="$board/seed"
}

set_keys() { ask config set "$@" >/dev/null; }

collect() {
    local number time text
    seen=
    while read -r number time text; do
        [[ $number =~ ^[0-9]+$ ]] || continue
        line=$number
        seen+="$text"$'\n'
    done < <(ask journal "$line")
}

comparable() { cat; }

interval() { ask temp_status | sed -n '0,/^State  *: /s/^State  *: //p'; }

farewell() {
    printf '\nstatus on the console:\n\n'
    ask status
    [ -t 0 ] && [ -t 1 ] || return 0
    printf '\nThe console is yours. Try: help, config set %s 40, status, why, journal, exit\n' \
        ram.status.battery.1.temperature
    "$ctl" --port "$port" || true
}

stop_daemon() {
    end_child "$daemon_pid"
    daemon_pid=
}
