# SPDX-License-Identifier: MIT
"""The console's client, with a daemon and with servers that go wrong:
ctl_test.py POWER_MAN POWER_MANCTL"""
import fcntl
import json
import os
import pathlib
import pty
import re
import select
import signal
import socket
import subprocess
import sys
import tempfile
import termios
import threading
import time
import unittest

import openmetrics

DAEMON, CLIENT = (os.path.abspath(program) for program in sys.argv[1:3])
ROOT = pathlib.Path(__file__).resolve().parents[2]
TRY_PORTS = 10


def ctl(port, *words, text="", **options):
    """Status, output and complaints, these without the program's name."""
    done = subprocess.run([CLIENT, "--port", str(port), *words], input=text.encode(),
                          capture_output=True, timeout=30, **options)
    return (done.returncode, done.stdout.decode("latin-1"),
            done.stderr.decode().removeprefix("power_manctl: "))


class Terminal:
    """The client on a terminal of its own."""

    def __init__(self, port):
        try:
            self.master, slave = pty.openpty()
        except OSError as error:
            raise unittest.SkipTest(f"no pseudo-terminal can be had: {error}") from None
        self.before = termios.tcgetattr(slave)
        self.client = subprocess.Popen(
            [CLIENT, "--port", str(port)], stdin=slave, stdout=slave, stderr=slave,
            start_new_session=True, preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        self.slave = slave

    def see(self, expected):
        seen = b""
        while not seen.endswith(expected):
            seen += os.read(self.master, 4096)
        return seen

    def type(self, keys, expected=b""):
        os.write(self.master, keys)
        return self.see(expected)

    def end(self):
        """How it ended, and whether the terminal is as it was."""
        status = self.client.wait(timeout=30)
        restored = termios.tcgetattr(self.slave) == self.before
        os.close(self.slave)
        os.close(self.master)
        return status, restored


class WithDaemon(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.board = os.path.join(directory.name, "board")
        subprocess.run([ROOT / "board/make-board", "qv1101A", self.board], check=True,
                       stdout=subprocess.DEVNULL)
        for _ in range(TRY_PORTS):
            with socket.create_server(("127.0.0.1", 0)) as free:
                self.port = free.getsockname()[1]
            if self.start():
                return
        self.fail("the daemon does not start")

    def start(self):
        self.daemon = subprocess.Popen(
            [DAEMON], stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env=os.environ | {"AP_BOARD_ROOT": self.board, "AP_CONSOLE_PORT": str(self.port),
                              "AP_DATABASE_SEED": os.path.join(self.board, "seed")})
        self.addCleanup(lambda: (self.daemon.kill(), self.daemon.wait()))
        while self.daemon.poll() is None:
            if ctl(self.port, "loop")[0] == 0:
                return True
            time.sleep(0.05)
        return False

    def test_one_command(self):
        none = "config: none: No such file or directory\n"
        for words, expected in {
            ("config", "set", "k", "two  words", "e", ""): (0, "", ""),
            ("config", "get", "k"): (0, "two  words\n", ""),
            ("config", "get", "e"): (0, "\n", ""),
            ("config", "get", "none"): (1, none, ""),
            ("config", "watch", "two words"): (1, "config: two words: Invalid argument\n", ""),
            ("nothing",): (1, "nothing: no such command; try 'help'\n", ""),
            ("result", "x"): (0, "x 0\n", ""),
            ("exit",): (0, "", ""),
            ("a\"b",): (2, "", "the console has no way to write a word with a '\"'\n"),
            ("a\nb",): (2, "", "the console takes printable ASCII characters only\n"),
            ("x" * 256,): (2, "", "the command is longer than 255 characters\n"),
            ("--port", "0"): (2, "", "--port: '0' is not a number from 1 to 65535\n"),
            ("--host", "x"): (2, "", f"x, port {self.port}: write an IPv4 address\n"),
        }.items():
            self.assertEqual(ctl(self.port, *words), expected, words)
        status, output, _ = ctl(self.port, "temp_status")
        self.assertIn("\nTemp sensor name : Battery\n", output)
        self.assertEqual((status, "\r" in output, "power_man>" in output), (0, False, False))
        self.assertEqual(ctl("1", "x", env={"AP_CONSOLE_PORT": "y"})[0], 2)
        self.daemon.kill()
        self.daemon.wait()
        self.assertEqual(ctl(self.port, "loop"),
                         (2, "", f"127.0.0.1, port {self.port}: cannot connect: Connection "
                                 "refused; is power_man running?\n"))

    def test_status_for_programs(self):
        supply = "ram.status.psumcu.events.external_supply"
        battery = "ram.status.battery.1.temperature"
        seen = []
        for words in ((battery, "40"), (battery, "66"), (supply, "mains")):
            ctl(self.port, "config", "set", *words)
            code, text, _ = ctl(self.port, "status", "--json")
            status = json.loads(text)
            sensor, = status["sensors"]
            self.assertEqual(code, {"normal": 0, "limited": 1, "not protected": 3}[
                status["condition"]])
            self.assertLess(abs(time.time() - sensor["read_at"]), 60)
            metrics = openmetrics.read(ctl(self.port, "status", "--openmetrics")[1])
            self.assertEqual(ctl(self.port, "--version")[1],
                             f"power_manctl {status['version']}\n")
            self.assertEqual(metrics["power_man_build_info", status["version"]], 1)
            self.assertEqual(metrics["power_man_temperature_celsius", "Battery"],
                             sensor["temperature"])
            seen.append((status["condition"], [held["name"] for held in status["in_force"]],
                         metrics["power_man_protected",], metrics["power_man_crossings_total",
                         "Battery", "Normal Operation", "up"],
                         metrics["power_man_hold", "background data", "Battery"]))
        held = ["background data", "extended USB port"]
        self.assertEqual(seen, [("normal", [], 1, 0, 0), ("limited", held, 1, 1, 1),
                                ("not protected", held, 0, 1, 1)])

    def test_each_line_of_the_input(self):
        keys = "".join(f"config set many.{i:04} {'v' * 200}\n" for i in range(2000))
        self.assertEqual(ctl(self.port, text=keys), (0, "", ""))
        status, output, _ = ctl(self.port, "config", "list", "many")
        self.assertEqual((status, output.count(" = " + "v" * 160)), (0, 2000))
        self.assertEqual(ctl(self.port, text=" config get k\t\r\n\nprobe \"x\nconfig set k \"a b\"\n"
                                             "config get k\nexit\nnothing"),
                         (0, "config: k: No such file or directory\n"
                             "A closing '\"' is missing\na b\n", ""))
        self.assertEqual(ctl(self.port, text="x\ty\nx")[0], 1)
        self.assertEqual(ctl(self.port, text="help\n" + "x" * 300)[0], 2)

    def test_watch_goes_on(self):
        with subprocess.Popen([CLIENT, "--port", str(self.port), "config", "watch", "k"],
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as watch:
            while not select.select([watch.stdout], [], [], 0.05)[0]:  # until the watch is there
                ctl(self.port, "config", "set", "k", "0")
            ctl(self.port, "config", "set", "k.long", "a  b", "k", "1")
            line = "set k 0\n"
            while line == "set k 0\n":
                line = watch.stdout.readline()
            self.assertEqual(line + watch.stdout.readline(), "set k.long a  b\nset k 1\n")
            self.daemon.terminate()
            self.assertEqual(watch.wait(timeout=30), 2)

    def test_terminal(self):
        prompt = b"power_man> "
        terminal = Terminal(self.port)
        terminal.see(prompt)
        self.assertEqual(terminal.type(b"nothing\xff\x03config get no\x7fone\r",
                                       b"directory\r\n" + prompt),
                         b"nothing^C\r\npower_man> config get no\b \bone\r\n"
                         b"config: none: No such file or directory\r\npower_man> ")
        self.assertEqual(terminal.type(b"exit\r", b"exit\r\n"), b"exit\r\n")
        self.assertEqual(terminal.end(), (0, True))
        for keys, status in ((b"\x04", 0), (b"x\x1dy", 0), (signal.SIGTERM, -signal.SIGTERM),
                             (signal.SIGHUP, -signal.SIGHUP), ("daemon", 2)):
            terminal = Terminal(self.port)
            terminal.see(prompt)
            self.assertNotEqual(termios.tcgetattr(terminal.slave), terminal.before)
            if keys == "daemon":
                self.daemon.kill()
            elif isinstance(keys, bytes):
                terminal.type(keys)
            else:
                terminal.client.send_signal(keys)
            self.assertEqual(terminal.end(), (status, True), keys)

    def test_completion(self):
        ctl(self.port, text="config set a.b.c 1 a.b.d 1 a.e 1\nconfig set a.$(exit 1\n")
        script = """
            . "$1"
            while IFS= read -r line; do
                COMP_WORDS=($line) COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
                COMP_WORDS[COMP_CWORD]=${COMP_WORDS[COMP_CWORD]%.}
                _power_manctl "$2" 2>/dev/null
                echo "${COMPREPLY[*]}"
            done"""
        for port, answers in ((self.port, {
                "p te.": "temp_status", "p -- t.": "temp_status thresholds trace",
                "p help co.": "config",
                "p config .": "get set del list watch", "p config get a..": "a.b. a.e",
                "p config get a.b..": "a.b.c a.b.d", "p config set a.e 1 a.e.": "a.e",
                "p config set a.e a.": "", "p config get a.b a.": "", "p nothing .": "",
                "p why p.": "poe phone", "p whatif .": "battery",
                "p history hpa 2.": "2h 24h",
                f"p --host 127.0.0.1 --port = {self.port} lo.": "loop", "p --ti.": "--timeout"}),
                              (1, {"p .": "bus config help history journal loop status "
                                       "temp_status thresholds trace whatif why"})):
            done = subprocess.run(
                ["bash", "-c", script, "bash", ROOT / "packaging/power_manctl.bash", CLIENT],
                input="\n".join(answers) + "\n", text=True, capture_output=True, timeout=30,
                env=os.environ | {"AP_CONSOLE_PORT": str(port)})
            self.assertEqual(dict(zip(answers, done.stdout.split("\n"))), answers)


class WithFaultyConsole(unittest.TestCase):
    def meet(self, behave, *words):
        """What the client says of a server that behaves like that."""
        def serve():
            client, _ = server.accept()
            with client:
                client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
                try:
                    behave(client)
                except OSError:
                    pass  # the client has seen enough

        with socket.create_server(("127.0.0.1", 0)) as server:
            thread = threading.Thread(target=serve)
            thread.start()
            port = server.getsockname()[1]
            status, output, complaint = ctl(port, *words)
            thread.join()
        return status, output, complaint.removeprefix(f"127.0.0.1, port {port}: ")

    def answer(self, output, ending="%s 7\r\n> "):
        """A server that answers like that, and sends each byte alone."""
        def behave(client):
            def send(data):
                for byte in data:
                    client.sendall(bytes([byte]))
                    time.sleep(0.0005)

            send(b"\xff\xfb\x01\xff\xfd\x03\xff\xfa\x18\xff\xff\xf0\xff\xf0\xff\xf1> ")
            asked = b""
            while asked.count(b"\n") < 2:
                asked += client.recv(1000)
            command, question = asked.decode().split("\n")[:2]
            send(command.encode() + b"\r\n" + output)
            if ending is not None:
                send(f"> {question}\r\n".encode())
                send((ending % re.sub("^result ", "", question)).encode())
                client.recv(1)
        return behave

    def test_output_is_told_from_all_else(self):
        text = b"> x\r\n> result 0\xff\xff!\r\n\xff\xfb\x01> result \rz\r\0\r\r\n> res"
        self.assertEqual(self.meet(self.answer(text), "x", "\\y"),
                         (7, "> x\n> result 0\xff!\n> result \rz\r\r\n> res", ""))

    def test_what_is_no_answer(self):
        no_console = "that is not the console of power_man, or of an older one\n"
        refused = "refused: the console lets in root and the daemon's own user\n"
        for behave, expected in (
            (lambda client: None, ("", refused)),
            (lambda client: client.sendall(b"Too many console connections\r\n"),
             ("", "Too many console connections\n")),
            (lambda client: client.recv(1), ("", "no answer within 1 s\n")),
            (lambda client: (client.sendall(b"> "), client.recv(1000), client.recv(1)),
             ("", "no answer within 1 s\n")),
            (lambda client: client.sendall(b"x" * 100000), ("", no_console)),
            (lambda client: client.sendall(b"x\r\n" * 100000), ("", no_console)),
            (self.answer(b"", "result %s: no such command\r\n"), ("", no_console)),
            (self.answer(b"half> ", None), ("half", "the connection was lost\n")),
        ):
            self.assertEqual(self.meet(behave, "--timeout", "1", "x"), (2, *expected))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
