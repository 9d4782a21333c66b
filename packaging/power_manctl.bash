# SPDX-License-Identifier: MIT
# Bash completion for power_manctl. Commands and keys are those of the daemon that runs; without
# one, its usual commands.

# _power_manctl_offer WORD...: those that could stand in place of $current.
_power_manctl_offer() {
    local word
    for word in "$@"; do
        [[ $word != "$current"* ]] || COMPREPLY+=("$word")
    done
}

_power_manctl_ask() { "${ask[@]}" "$@" </dev/null 2>/dev/null; }

_power_manctl_commands() {
    local name rest names=()
    while read -r name rest; do
        case $name in exit | result) ;; *) names+=("$name") ;; esac
    done < <(_power_manctl_ask help)
    [ ${#names[@]} -gt 0 ] || names=(bus config help history journal loop status temp_status
        thresholds trace whatif why)
    _power_manctl_offer "${names[@]}"
}

# One level of the dotted names at a time. Anybody may have named a key: the shell would run what
# some characters say, so keys with others than these are not offered.
_power_manctl_keys() {
    local line key rest above=
    [[ $current != *.* ]] || above=${current%.*}
    while IFS= read -r line; do
        key=${line%% = *}
        [[ $key == "$current"* && $key != *[!A-Za-z0-9._-]* ]] || continue
        rest=${key#"$current"}
        [[ $rest != *.* ]] || key=$current${rest%%.*}.
        [ ${#COMPREPLY[@]} -gt 0 ] && [ "${COMPREPLY[-1]}" = "$key" ] || COMPREPLY+=("$key")
    done < <(_power_manctl_ask config list ${above:+"$above"})
    [ ${#COMPREPLY[@]} -ne 1 ] || [[ ${COMPREPLY[0]} != *. ]] || compopt -o nospace
}

_power_manctl_config() {
    case $1 in
    1) _power_manctl_offer get set del list watch ;;
    2) _power_manctl_keys ;;
    *) [ "$2" != set ] || [ $(($1 % 2)) -ne 0 ] || _power_manctl_keys ;; # KEY VALUE KEY ...
    esac
}

# A sensor that there cannot be is refused with the names of those that there are.
_power_manctl_sensors() {
    local names
    mapfile -t names < <(_power_manctl_ask thresholds '?' | sed -n 's/.*there are: //p' |
        tr ',' '\n' | sed -n 's/^ *\([^ ]*\)$/\1/p')
    [ ${#names[@]} -gt 0 ] || names=(mainboard hpa battery)
    _power_manctl_offer "${names[@]}"
}

# The first word behind a command that has no keys.
_power_manctl_argument() {
    case $1 in
    status) _power_manctl_offer --json --openmetrics ;;
    thresholds | whatif | history) _power_manctl_sensors ;;
    why)
        _power_manctl_offer usb extended poe phone isdn background connections
        _power_manctl_sensors
        ;;
    esac
}

_power_manctl() {
    local current=${COMP_WORDS[COMP_CWORD]} word at=1 ask=("$1" --timeout 1)
    COMPREPLY=()
    while [ "$at" -lt "$COMP_CWORD" ] && [[ ${COMP_WORDS[at]} == -* ]]; do
        word=${COMP_WORDS[at]}
        at=$((at + 1))
        case $word in
        --host | --port | --timeout)
            [ "${COMP_WORDS[at]}" != = ] || at=$((at + 1)) # bash splits --port=NUMBER
            [ "$at" -lt "$COMP_CWORD" ] || return
            [ "$word" = --timeout ] || ask+=("$word" "${COMP_WORDS[at]}")
            at=$((at + 1))
            ;;
        esac
    done
    at=$((COMP_CWORD - at)) # words of the command before this one
    word=${COMP_WORDS[COMP_CWORD - at]}
    if [ "$at" -eq 0 ] && [[ $current == -* ]]; then
        _power_manctl_offer --help --host --port --timeout --version
    elif [ "$at" -eq 0 ] || { [ "$at" -eq 1 ] && [ "$word" = help ]; }; then
        _power_manctl_commands
    elif [ "$word" = config ]; then
        _power_manctl_config "$at" "${COMP_WORDS[COMP_CWORD - at + 1]}"
    elif [ "$at" -eq 1 ]; then
        _power_manctl_argument "$word"
    elif [ "$word" = history ]; then
        _power_manctl_offer 30m 2h 6h 24h --csv
    fi
}

complete -F _power_manctl power_manctl
