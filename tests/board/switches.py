# SPDX-License-Identifier: MIT
"""USB power: what the daemon switches, what the kernel's files then read, what the wires carry."""
import re
import time

from over_current import LINE, POWER, RAISE, events, interrupts, pulse
from terminal import Terminal

ENABLED = "cfg.interfaces.usb.enabled"
EXTENDED = "cfg.interfaces.usb.extended_host_interface"
BATTERY = "ram.status.battery.1.temperature"

OVER_CURRENT_TEST = 1142129671


def line_files(machine, line):
    """Direction, level and edge of a line; None when it is not exported."""
    directory = f"/sys/class/gpio/gpio{line}"
    text = machine.read(f"{directory}/direction {directory}/value {directory}/edge")
    return text.replace("\n", " ") if text else None


def pins(terminal, mark):
    return [text for _, _, text in terminal.journal(mark)
            if re.match(r"(pin|export|unexport|edge) ", text)]


def kernel_complaints(machine):
    """Clears them, too."""
    return machine.run("dmesg -c | grep -iE 'gpio ?chip|gpiolib|export_store|WARNING|BUG:'")[1]


def at_start(report, terminal):
    report.section("Start on a qv1608B")
    machine = terminal.machine
    kernel_complaints(machine)  # of those before
    report.same("lines are exported and set in order", pins(terminal, 0),
                ["export 80", "pin 80 low", "export 81", "pin 81 in", "edge 81 falling"])
    report.same("power: the kernel's files", line_files(machine, POWER), "out 0 none")
    report.same("over-current: the kernel's files", line_files(machine, LINE), "in 1 falling")
    report.same("power: the wire stays low", machine.outputs(POWER), [])
    time.sleep(0.3)
    report.same("a fresh value file is no over-current", events(terminal, 0), [])
    report.same("the log names what this board lacks, and nothing else",
                sorted(set(re.findall(r"/\S*/(\S+)", terminal.log()))),
                ["isdnpwr", "slic0.0", "slic0.1"])


def by_setting(report, terminal):
    report.section("The user's setting on a qv1608B")
    machine = terminal.machine
    for value, wanted in ((0, "out 1 none"), (1, "out 0 none")):
        mark, begin = terminal.mark(), time.monotonic()
        terminal.ask(f"config set {ENABLED} {value}")
        report.same(f"USB {value}: the kernel's files", line_files(machine, POWER), wanted)
        report.same(f"USB {value}: the wire",
                    [level for _, level in machine.outputs(POWER, begin)], [1 - value])
        report.same(f"USB {value}: one pin is written", pins(terminal, mark),
                    [f"pin 80 {'low' if value else 'high'}"])
    mark, begin = terminal.mark(), time.monotonic()
    terminal.ask(f"config set {EXTENDED} 0")
    time.sleep(0.1)
    moves = machine.outputs(POWER, begin)
    report.same("the other port's setting: off and on", [level for _, level in moves], [1, 0])
    if len(moves) == 2:
        report.between("off for so many ms", round(1000 * (moves[1][0] - moves[0][0])), 19, 200)
    report.same("switching is no over-current", events(terminal, mark), [])


def self_tests(report, terminal):
    report.section("Self-test of the over-current line")
    machine = terminal.machine
    terminal.ask("config set ram.post.hnd.state 1 ram.post.hnd.ready 0")
    terminal.ask(f"config set ram.post.id.{OVER_CURRENT_TEST}.enable 1")
    for level, state in ((1, 3), (0, 4)):
        if level == 0:
            machine.drive(LINE, 0)
            time.sleep(2.6)  # an over-current in its own right, which must be over
            terminal.ask("bus")
        mark = terminal.mark()
        terminal.ask("config set ram.post.hnd.ready 1")
        time.sleep(0.2)
        seen = [text for _, _, text in terminal.journal(mark) if str(OVER_CURRENT_TEST) in text]
        report.check(f"line at {level}: state {state}",
                     bool(seen) and f"state={state}" in seen[-1], seen)
    machine.drive(LINE, 1)


def restart(report, terminal):
    report.section("Restart, the lines being exported already")
    machine = terminal.machine
    report.same("SIGTERM ends it in an orderly way", terminal.stop(), 0)
    report.same("USB keeps its power", line_files(machine, POWER), "out 0 none")
    begin = time.monotonic()
    pulse(machine)  # while nobody looks
    again = Terminal(machine, "qv1608B")
    time.sleep(0.3)
    report.same("an edge of before is no over-current", events(again, 0), [])
    report.same("the wire stayed on", [level for _, level in machine.outputs(POWER, begin)
                                       if level == 1], [])
    report.same("over-current: the kernel's files", line_files(machine, LINE), "in 1 falling")
    seen = interrupts(machine)
    pulse(machine)
    time.sleep(0.3)
    report.same("an edge is one interrupt", interrupts(machine) - seen, 1)
    report.same("and one event", events(again, 0), [RAISE])
    machine.run(f"kill -9 {again.pid}; wait {again.pid}")
    third = Terminal(machine, "qv1608B")
    time.sleep(0.3)
    report.same("killed in the middle of it: starts anew", events(third, 0), [])
    report.same("the kernel has no complaint", kernel_complaints(machine), "")
    third.stop()


def ext_lines(machine):
    """Levels of 52 to 56, when all are outputs without an edge."""
    files = [line_files(machine, line) for line in range(52, 57)]
    levels = "".join(text[4] if text and re.fullmatch("out [01] none", text) else "?"
                     for text in files)
    return levels if "?" not in levels else str(files)


def extended_port(report, machine):
    report.section("USB ports of a qv1101A")
    terminal = Terminal(machine, "qv1101A")
    on, off = (53, 54, 55, 56, 52), (52, 53, 54, 55, 56)
    report.same("start: exported and switched on in order", pins(terminal, 0),
                [text for line in on for text in (f"export {line}", f"pin {line} high")])
    report.same("start: the kernel's files, 52 to 56", ext_lines(machine), "11111")
    steps = (
        ("extended off", f"{EXTENDED} 0", "10111"),
        ("extended on", f"{EXTENDED} 1", "11111"),
        ("heat takes the extended port", f"{BATTERY} 54", "10111"),
        ("the user cannot take it back", f"{EXTENDED} 1", "10111"),
        ("cool again", f"{BATTERY} 40", "11111"),
        ("USB off", f"{ENABLED} 0", "00000"),
        ("USB on", f"{ENABLED} 1", "11111"),
    )
    for name, setting, levels in steps:
        mark = terminal.mark()
        terminal.ask("config set ram.status.psumcu.events.external_supply 0 " + setting)
        time.sleep(0.1)
        report.same(f"{name}: the kernel's files", ext_lines(machine), levels)
        written = [int(text.split()[1]) for text in pins(terminal, mark)]
        rows = [tuple(written[i:i + 5]) for i in range(0, len(written), 5)]
        report.check(f"{name}: whole rows of pins in order ({len(rows)})",
                     bool(rows) and all(row in (on, off) for row in rows), written)
    terminal.stop()
