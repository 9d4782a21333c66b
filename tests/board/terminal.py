# SPDX-License-Identifier: MIT
"""The daemon on an emulated machine: its process, its console, its journal."""
import re

from machine import BoardError

PROMPT = r"power_man> "
CONSOLE_PORT = 2205


class Terminal:
    """Starts the program as the given model; its seed lies on the machine as /seed-MODEL."""

    def __init__(self, machine, model, program="/bin/power_man"):
        self.machine = machine
        machine.run("rm -f /tmp/log")
        _, pid = machine.run(f"AP_DATABASE_SEED=/seed-{model} {program} </dev/null >/tmp/log 2>&1 "
                             "& echo $!")
        self.pid = int(pid)
        self._bridge = None
        self._connect()

    def _connect(self):
        """The machine's data port becomes the daemon's console."""
        for _ in range(50):
            status, _ = self.machine.run(f"grep -qi ':{CONSOLE_PORT:04x} ' /proc/net/tcp")
            if status == 0:
                break
            if self.machine.run(f"sleep 0.1; kill -0 {self.pid}")[0] != 0:
                raise BoardError(f"the daemon ended: {self.log()}")
        _, self._bridge = self.machine.run(f"nc 127.0.0.1 {CONSOLE_PORT} </dev/ttymxc0 "
                                           ">/dev/ttymxc0 2>/dev/null & echo $!")
        self.machine.data.until(PROMPT)

    def ask(self, command):
        """A console command's output."""
        self.machine.data.send(command)
        output, _ = self.machine.data.until(PROMPT)
        return output.partition("\n")[2].rstrip("\n")  # without the echo

    def log(self):
        return self.machine.read("/tmp/log")

    def journal(self, after=0):
        """What the daemon did after the journal's line of that number:
        (number, milliseconds, text)."""
        lines = re.findall(r"^(\d+) (\d+)\.(\d{3}) (.*)$", self.ask(f"journal {after}"), re.M)
        return [(int(number), int(seconds) * 1000 + int(rest), text)
                for number, seconds, rest, text in lines]

    def mark(self):
        """The number of the journal's last line."""
        lines = self.journal()
        return lines[-1][0] if lines else 0

    def stop(self):
        """Ends the daemon in an orderly way; its exit status."""
        status, _ = self.machine.run(f"kill -TERM {self.pid}; wait {self.pid}")
        self.machine.run(f"kill {self._bridge}; wait {self._bridge}")
        self.machine.data.drain(0.2)
        return status
