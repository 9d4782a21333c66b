# SPDX-License-Identifier: MIT
"""The daemon on an emulated machine: its process, its console, its journal."""
import re

from machine import BoardError

PROMPT = "power_man> "
CONSOLE_PORT = 2205


class Terminal:
    """Starts the program as the given model; its seed lies on the machine as /seed-MODEL."""

    def __init__(self, machine, model, program="/bin/power_man"):
        self.machine = machine
        machine.run("rm -f /tmp/log")
        _, pid = machine.run(f"AP_DATABASE_SEED=/seed-{model} {program} </dev/null >/tmp/log 2>&1 "
                             "& echo $!")
        self.pid = int(pid)
        listening = f":{CONSOLE_PORT:04X} 00000000:0000 0A"
        while self.machine.run(f"grep -q '{listening}' /proc/net/tcp")[0] != 0:
            if self.machine.run(f"sleep 0.1; kill -0 {self.pid}")[0] != 0:
                raise BoardError(f"the daemon ended: {self.log()}")

    def ask(self, command):
        """A console command's output, by a telnet session of its own."""
        _, session = self.machine.run(f"printf '{command}\\nexit\\n' | nc 127.0.0.1 {CONSOLE_PORT}")
        echo, end = f"{command}\n", f"{PROMPT}exit"
        if echo not in session or end not in session:
            raise BoardError(f"the console answers '{command}' with {session!r}")
        output = session[session.index(echo) + len(echo):session.rindex(end)]
        return output.rstrip("\n")

    def log(self):
        return self.machine.read("/tmp/log")

    def journal(self, after=0):
        """What the daemon did after the journal's line of that number:
        (number, milliseconds of the day, text)."""
        lines = re.findall(r"^(\d+) (?:\S+T)?(\d\d):(\d\d):(\d\d)\.(\d{3}) (.*)$",
                           self.ask(f"journal {after}"), re.M)
        return [(int(number), ((int(h) * 60 + int(m)) * 60 + int(s)) * 1000 + int(rest), text)
                for number, h, m, s, rest, text in lines]

    def mark(self):
        """The number of the journal's last line."""
        lines = self.journal()
        return lines[-1][0] if lines else 0

    def stop(self):
        """Ends the daemon in an orderly way; its exit status."""
        status, _ = self.machine.run(f"kill -TERM {self.pid}; wait {self.pid}")
        return status
