#!/bin/sh
# SPDX-License-Identifier: MIT
# What the structure of the sources promises:
#   portability.sh SOURCE-DIRECTORY [LINKER-COMMAND...]
# - what the command links, the daemon or its clients for others, links against any implementation of
#   the platform interface: with its objects, the operations that the interface declares and the
#   compiler's own libraries, nothing is left undefined;
# - includes follow the tables below, so nothing outside src/platform includes what is behind the
#   interface;
# - only src/models names a platform id, and src/platform no key, signal or event.
set -u
cd "$1" || exit 1
shift
failed=0

complain() {
    printf '%s\n' "$1"
    failed=1
}

# The daemon's folders, from the top, each with what it may include beside itself and the platform
# interface.
daemon_rows='
core:          insight temperature post usb poe phone gpio bite event_handler console models base
insight:       temperature post usb poe phone gpio event_handler models base
temperature:   usb poe phone gpio bite event_handler models base
post:          usb poe phone gpio bite models base
usb:           gpio event_handler models base
poe:           gpio models base
phone:         gpio bite models base
gpio:          base
models:        base
bite:          base
event_handler: base
console:       base
base:
'
# The rooms of the host platform: each may include those to its right. The first has the interface's
# functions, and it and the next know the one instance.
rooms='api host shell net board bus redis config loop log base'
room_rows=$(set -- $rooms; while [ $# -gt 0 ]; do room=$1; shift; echo "$room: $*"; done)

# check_includes FOLDER PREFIX ROWS: files in FOLDER's folders include each other by PREFIX.
check_includes() {
    found=$(grep -rE '^[[:space:]]*#[[:space:]]*include' "$1" --include='*.cpp' --include='*.h')
    [ -n "$found" ] || complain "$1 includes nothing"
    bad=$({ echo "$3" && echo --- && echo "$found"; } | awk -v folder="$1/" -v prefix="$2" '
        /^---$/ { sources = 1; next }
        !sources { from = $1; sub(/:$/, "", from); if (from == "") next
            known[from] = 1; allowed[from, from] = 1
            for (i = 2; i <= NF; i++) allowed[from, $i] = 1
            next }
        index($0, folder) != 1 || (folder == "src/" && /^src\/platform\//) { next }
        { from = substr($0, length(folder) + 1); sub(/\/.*/, "", from)
            match($0, /["<][^">]*/)
            quote = substr($0, RSTART, 1); header = substr($0, RSTART + 1, RLENGTH - 1)
            if (header ~ /^ap\/[a-z]+\.h$/) next
            own = prefix == "" || index(header, prefix) == 1
            to = own ? substr(header, length(prefix) + 1) : header
            sub(/\/.*/, "", to)
            if (own && to in known) good = (from, to) in allowed
            else good = quote == "<" && header !~ /(^|\/)(\.\.|host|platform)\//
            if (!good) print }') || complain "the includes of $1 cannot be checked"
    [ -z "$bad" ] || complain "$bad
    The includes above point upwards, sideways or behind the interface: see the tables in $0"
}

check_includes src '' "$daemon_rows"
check_includes src/platform/host host/ "$room_rows"
check_includes src/platform/include '' 'ap:'

ids=$(grep -rnE 'qv[0-9]{4}[A-Z]' src | grep -v '^src/models/')
[ -z "$ids" ] || complain "$ids
    Only src/models names platform ids"

names=$(grep -rnE '"(ram|cfg|rmcfg|txt|psumcu|event_handler|bite)[."]' src/platform)
[ -z "$names" ] || complain "$names
    The platform knows no key, signal or event"

if [ $# -gt 0 ]; then
    operations=$(cat src/platform/include/ap/*.h |
        grep -oE '\b(qv|fdloop|config|cbus|shell|socket|appmgr|device)_[a-z_]+\(' | tr -d '(' |
        sort -u)
    [ -n "$operations" ] || complain "no operations are declared in src/platform/include/ap"
    # Any address will do: the program is linked, not run.
    program=$(mktemp) || exit 1
    "$@" $(printf ' -Wl,--defsym=%s=main' $operations) -o "$program" ||
        complain "there is need of more than the interface"
    rm -f "$program"
fi
exit $failed
