# SPDX-License-Identifier: MIT
# The scenes of the demo; to be sourced by it.

mainboard=rmcfg.sys.mainboard.temperature

title 'A qv1202B warms up'
boot qv1202B

reading 'A cold morning' $mainboard -26 'Low Temperature' <<'END'
log 5 Radio Module: -26 C is below -25: Normal Operation -> Low Temperature
END
reading 'In use' $mainboard 40 'Normal Operation' <<'END'
log 5 Radio Module: 40 C is above -20: Low Temperature -> Normal Operation
END
reading 'On the limit: still normal' $mainboard 70 'Normal Operation' <<'END'
END
reading 'Above it' $mainboard 71 'Reduced Performance' <<'END'
log 5 Radio Module: 71 C is above 70: Normal Operation -> Reduced Performance; off: background data, extended USB port, PoE
set ram.status.power_management.limit_background 1
set rmcfg.sys.reduce_background_datarate 1
raise EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
pin 249 high
pin 250 high
pin 251 high
pin 252 low
pin 253 in
pin 254 in
pin 255 high
set ram.status.interfaces.usb.extended_host_interface 0
set ram.status.power_management.usb.extended.pwr_controlled 1
raise EV_AP_HIGH_TEMP_USB_EXT
set ram.status.power_management.lan.poe.pwr_controlled 1
raise EV_AP_HIGH_TEMP_POE
END
told status <<'END'
qv1202B external supply LIMITED since HH:MM:SS (N s)
Radio Module 71 C N s ago Reduced Performance leaves below 65, above 75
HPA N C N s ago Normal Operation state 0 (Normal)
 background data limited Radio Module since HH:MM:SS
 extended USB port off Radio Module since HH:MM:SS
 PoE off Radio Module since HH:MM:SS
END
told why extended <<'END'
The extended USB port is off by heat since HH:MM:SS, when the Radio Module rose to 71 C (above 70).
It returns when the Radio Module falls below 65 C.
END
reading 'A little cooler: hysteresis' $mainboard 66 'Reduced Performance' <<'END'
END
reading 'Hotter' $mainboard 76 'Closing connections' <<'END'
log 5 Radio Module: 76 C is above 75: Reduced Performance -> Closing connections; off: connections
set ram.status.power_management.close_connections 1
raise EV_AP_HIGH_TEMP_CLOSE_CONNECTIONS
END
reading 'Too hot: the PSU MCU is asked to reboot' $mainboard 81 'Power Off' <<'END'
log 5 Radio Module: 81 C is above 80: Closing connections -> Power Off; terminal reboots
set ram.status.power_management.power_off 1
raise EV_AP_HIGH_TEMP_CLOSE_TERMINAL
signal psumcu.powerctrl.reboot "0, Rebooting terminal due to high temperature"
END
reading 'Cool again: everything comes back' $mainboard 50 'Normal Operation' <<'END'
log 5 Radio Module: 50 C is below 60: Power Off -> Normal Operation; back: connections, background data, extended USB port, PoE
set ram.status.power_management.close_connections 0
clear EV_AP_HIGH_TEMP_CLOSE_CONNECTIONS
set ram.status.power_management.limit_background 0
set rmcfg.sys.reduce_background_datarate 0
clear EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
pin 249 high
pin 250 high
pin 251 high
pin 252 high
pin 253 in
pin 254 in
pin 255 high
set ram.status.interfaces.usb.extended_host_interface 1
set ram.status.power_management.usb.extended.pwr_controlled 0
clear EV_AP_HIGH_TEMP_USB_EXT
set ram.status.power_management.lan.poe.pwr_controlled 0
clear EV_AP_HIGH_TEMP_POE
END
stop_daemon

title 'A qv1608B has a USB short circuit'
boot qv1608B
over_current=$board/sys/class/gpio/gpio81/value

# A short while USB has power: the line falls; without power it rises again.
short_circuit() {
    echo 0 >"$over_current"
    sleep 0.05
    echo 1 >"$over_current"
}

printf '\n  A short that is gone when the power comes back:\n'
short_circuit
await 4 1 'clear USB short circuit'
expect 'The short circuit that clears' <<'END'
raise USB short circuit
pin 80 high
pin 80 low
clear USB short circuit
END

printf '\n  A short that persists over two power cycles: one report, no end until it is quiet:\n'
short_circuit
sleep 1.3 # the power has been cycled a second after the short, and is being watched
short_circuit
await 5 1 'clear USB short circuit'
expect 'The short circuit that persists' <<'END'
raise USB short circuit
pin 80 high
pin 80 low
pin 80 high
pin 80 low
clear USB short circuit
END
stop_daemon

title 'A qv1608B powers PoE and phones, and gets hot'
boot qv1608B
lan=cfg.interfaces.lan
phone=cfg.interfaces.phone

change 'PoE is wanted on port 0, but the software update has not settled: nothing yet' \
    $lan.0.poe.enabled 1 ram.status.interfaces.lan.enabled 1 <<'END'
END
change 'It has settled: the supply first, then the ports' ram.status.sw_update.settled 1 <<'END'
signal psumcu.poe.signal.set.poe.psu.enabled on
signal psumcu.poe.signal.set.port.poe.enabled port 0 on
signal psumcu.poe.signal.set.poe.psu.enabled on
signal psumcu.poe.signal.set.port.poe.enabled port 1 off
END
change 'The PSU MCU says that the supply is on' ram.status.psumcu.psu.poe.enable 1 <<'END'
END
change 'PoE on port 1 as well' $lan.1.poe.enabled 1 <<'END'
signal psumcu.poe.signal.set.port.poe.enabled port 1 on
END
change 'Both phones' $phone.1.enabled 1 $phone.2.enabled 1 <<'END'
file /dev/slic0.0 +=
set ram.status.interfaces.phone.1.enabled 1
file /dev/slic0.1 +=
set ram.status.interfaces.phone.2.enabled 1
END
reading 'Hot: port 1 loses its power, the fan runs' $mainboard 73 'Reduced Performance' <<'END'
log 5 Radio Module - Morvin BDU: 73 C is above 72: Normal Operation -> Reduced Performance; off: background data, PoE; fan full speed
set ram.status.power_management.limit_background 1
set rmcfg.sys.reduce_background_datarate 1
raise EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
set ram.status.power_management.lan.poe.pwr_controlled 1
raise EV_AP_HIGH_TEMP_POE
set ram.fan.set_speed 255
signal psumcu.poe.signal.set.port.poe.enabled port 0 on
signal psumcu.poe.signal.set.port.poe.enabled port 1 off
END
reading 'Cool again' $mainboard 60 'Normal Operation' <<'END'
log 5 Radio Module - Morvin BDU: 60 C is below 67: Reduced Performance -> Normal Operation; back: background data, PoE; fan off
set ram.status.power_management.limit_background 0
set rmcfg.sys.reduce_background_datarate 0
clear EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
set ram.status.power_management.lan.poe.pwr_controlled 0
clear EV_AP_HIGH_TEMP_POE
set ram.fan.set_speed 0
signal psumcu.poe.signal.set.port.poe.enabled port 0 on
signal psumcu.poe.signal.set.port.poe.enabled port 1 on
END
change 'The user takes one phone away' $phone.2.enabled 0 <<'END'
file /dev/slic0.1 -
set ram.status.interfaces.phone.2.enabled 0
END
stop_daemon

title 'A qv1608B tests itself'
boot qv1608B
isdn_test=1142129670 phone_test=1142129669 over_current_test=1142129671
switch_test=1142129680 usb_test=1142129679 temperature_test=1142129676
isdn_file=$board/sys/devices/platform/fpga.0/control/isdnpwr

# As the built-in test equipment does before it reports that it is ready.
enable_tests() {
    local test
    for test in $isdn_test $phone_test $over_current_test $switch_test $usb_test \
        $temperature_test; do
        set_keys "ram.post.id.$test.enable" 1
    done
    look
}

# state TEST NUMBER...: the reports 1 (allowed), 2 (started), 3 (passed) or 4 (failed).
state() {
    local test=$1 number
    shift
    for number in "$@"; do
        printf 'signal bite.post.state "id.%s.post.state=%s"\n' "$test" "$number"
    done
}

enable_tests
mv "$isdn_file" "$work/isdnpwr"
change 'Ready, but the ISDN control file is missing: the first of six tests fails' \
    ram.post.hnd.ready 1 <<END
$(state $isdn_test 1 2 4)
$(state $phone_test 1 2 3)
$(state $over_current_test 1 2 3)
$(state $switch_test 1 2 3)
$(state $usb_test 1 2 3)
$(state $temperature_test 1 2 3)
END
mv "$work/isdnpwr" "$isdn_file"
change 'Mended, and asked again: all pass' ram.post.hnd.ready 1 <<END
$(state $isdn_test 1 2 3)
$(state $phone_test 1 2 3)
$(state $over_current_test 1 2 3)
$(state $switch_test 1 2 3)
$(state $usb_test 1 2 3)
$(state $temperature_test 1 2 3)
END
stop_daemon

title 'A qv1101A loses its supply at 60 degrees'
boot qv1101A
battery=ram.status.battery.1.temperature

reading 'Warm, on external supply' $battery 60 'Normal Operation' <<'END'
END
reading 'Unplugged: the battery stands less' ram.status.psumcu.events.external_supply 0 'Power Off' <<'END'
log 5 Battery: 60 C is above 58 (without external supply): Normal Operation -> Power Off; off: extended USB port, background data, connections; terminal reboots
pin 53 low
pin 54 high
pin 55 high
pin 56 high
pin 52 high
set ram.status.interfaces.usb.extended_host_interface 0
set ram.status.power_management.usb.extended.pwr_controlled 1
raise EV_AP_HIGH_TEMP_USB_EXT
set ram.status.power_management.limit_background 1
set rmcfg.sys.reduce_background_datarate 1
raise EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
set ram.status.power_management.close_connections 1
raise EV_AP_HIGH_TEMP_CLOSE_CONNECTIONS
set ram.status.power_management.power_off 1
raise EV_AP_HIGH_TEMP_CLOSE_TERMINAL
signal psumcu.powerctrl.reboot "0, Rebooting terminal due to high temperature"
END
