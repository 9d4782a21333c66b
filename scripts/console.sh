# SPDX-License-Identifier: MIT
# A daemon on an emulated board, and its telnet console, for scripts; to be sourced with bash.
#
#   start_daemon MODEL        makes a board in $board and starts the daemon on it
#   ask COMMAND               runs a console command; its output, without echo and prompt
#   set_keys KEY VALUE ...    writes keys of the database, together
#   collect                   what the daemon did since the last call goes to $seen
#   comparable                standard input without the lines that collect cannot see
#   interval                  the sensor's temperature interval
#   farewell                  shows the state, and lets a person on
#   stop_daemon               ends all
#
# Needs $daemon (the program), $work (a directory) and common.sh.

console=
daemon_pid=
port=
line=0 # of the journal, the last one that was collected

# Reads up to the prompt and prints what stood before it.
until_prompt() {
    local chunk text=
    while IFS= read -r -t 5 -d '>' -u "$console" chunk; do
        text+=$chunk
        if [ "${text%power_man}" != "$text" ]; then
            IFS= read -r -t 5 -N 1 -u "$console" chunk # the blank behind it
            printf '%s' "${text%power_man}"
            return
        fi
        text+='>'
    done
    die "the console does not answer"
}

connect() {
    local try
    for try in $(seq 50); do
        kill -0 "$daemon_pid" 2>/dev/null || return 1
        if { exec {console}<>"/dev/tcp/127.0.0.1/$port"; } 2>/dev/null; then
            until_prompt >/dev/null
            return 0
        fi
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

ask() {
    local output
    printf '%s\n' "$1" >&"$console"
    output=$(until_prompt)
    output=${output//$'\r'/}
    printf '%s' "${output#*$'\n'}" # the first line is the echo
}

set_keys() { ask "config set $*" >/dev/null; }

collect() {
    local number time text
    seen=
    while read -r number time text; do
        [[ $number =~ ^[0-9]+$ ]] || continue
        line=$number
        seen+="$text"$'\n'
    done < <(ask "journal $line" && echo)
}

comparable() { cat; }

interval() { ask temp_status | sed -n 's/^State  *: //p' | head -n 1; }

farewell() {
    printf '\nstatus on the console:\n\n'
    ask status
    [ -t 0 ] && [ -t 1 ] || return 0
    printf '\nThe console is yours. Try: help, config set %s 40, status, why, journal, exit\n' \
        ram.status.battery.1.temperature
    telnet 127.0.0.1 "$port" || true
}

stop_daemon() {
    [ -z "$console" ] || exec {console}>&-
    console=
    end_child "$daemon_pid"
    daemon_pid=
}
