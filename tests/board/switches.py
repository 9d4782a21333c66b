# SPDX-License-Identifier: MIT
"""USB power: what the daemon switches, what the kernel's files then read, what the wires carry."""
import re
import time

from over_current import LINE, POWER, RAISE, events, interrupts, pulse
from terminal import Terminal


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
