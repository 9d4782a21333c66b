# SPDX-License-Identifier: MIT
# power_man-replay from outside: the traces that ship, every form of input, what is refused, and
# outputs that fail.
#   replay_test.py REPLAY SOURCE_DIR
import gzip
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from xml.etree import ElementTree

REPLAY, SOURCE = sys.argv[1], pathlib.Path(sys.argv[2])
TRACES = SOURCE / "share/traces"
KEY = "rmcfg.sys.mainboard.temperature"


def changes(output):
    """The changes of interval, without what the daemon logged and did about them."""
    return [line for line in output.decode().splitlines()
            if " -> " in line and not line.lstrip().startswith("log ")]


class Replay(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.work = pathlib.Path(directory.name)
        (self.work / "boards").mkdir()
        self.environment = {**os.environ, "TMPDIR": str(self.work / "boards")}
        # The platform's own variables steer a daemon, not a replay.
        self.environment.update(AP_BOARD_ROOT="/nowhere", AP_DATABASE="tcp:nowhere:1")

    def tearDown(self):
        self.assertEqual(list((self.work / "boards").iterdir()), [], "a board was left behind")

    def run_replay(self, *arguments, content=None, **options):
        return subprocess.run([REPLAY, *map(str, arguments)], input=content, cwd=TRACES,
                              env=self.environment, capture_output=True, timeout=280, **options)

    def text(self, *arguments, content=None):
        done = self.run_replay(*arguments, content=content)
        self.assertEqual((done.returncode, done.stderr.decode()), (0, ""))
        return done.stdout.decode()

    def story(self, content, *arguments, model="qv1202B"):
        """The changes of interval, each behind its time."""
        content = content if isinstance(content, bytes) else content.encode()
        text = self.run_replay("--model", model, *arguments, "-", content=content)
        self.assertEqual(text.returncode, 0, text.stderr)
        return changes(text.stdout)


class Traces(Replay):
    def test_each_tells_its_story(self):
        traces = sorted(TRACES.glob("*.csv")) + sorted(TRACES.glob("*.log"))
        self.assertGreaterEqual(len(traces), 9)
        for trace in traces:
            with self.subTest(trace.name):
                options = re.search("power_man-replay (.*)", trace.read_text())[1].split()
                done = self.run_replay(*options, trace.name)
                self.assertEqual(done.stdout.decode(), trace.with_suffix(".txt").read_text())
                self.assertEqual(done.returncode, 0)

    def test_the_picture_in_the_readme_is_what_the_tool_makes(self):
        self.text("--model", "qv1202B", "--interpolate", "--svg", self.work / "now.svg",
                  "hot-summer-day.csv")
        ElementTree.parse(self.work / "now.svg")  # or it is no picture at all
        self.assertEqual((self.work / "now.svg").read_text(),
                         (SOURCE / "docs/hot-summer-day.svg").read_text())


class Input(Replay):
    def test_tables_in_every_form(self):
        told = ["00:01:40  Radio Module 71: Normal Operation -> Reduced Performance"]
        rows = f"time,{KEY}\n0,40\n100,71\n"
        forms = {
            "plain": rows,
            "no line end": rows.rstrip("\n"),
            "carriage returns, a mark, comments": "\ufeff# a\n" + rows.replace("\n", "\r\n") + "\r\n",
            "quotes and blanks": f'"time", "x""y" ,"{KEY}"\n"0",, 40 \n100.000,,"71"\n',
            "columns without a name": f"time,,{KEY},,\n0,,40,,\n100,,71,,\n",
        }
        for name, form in forms.items():
            with self.subTest(name):
                self.assertEqual(self.story(form), told)
        if b"does not read" not in self.run_replay(
                "--model", "qv1202B", "-", content=gzip.compress(b"")).stderr:
            packed = gzip.compress(rows[:20].encode()) + gzip.compress(rows[20:].encode())
            self.assertEqual(self.story(packed), told)

    def test_times(self):
        for first, second, told in [
                ("1700000000", "1700000000.25", "2023-11-14 22:13:20.250"),
                ("2024-02-28T23:59Z", "2024-02-29T01:00:00+01:00", "2024-02-29 00:00:00"),
                ("2026-07-14 13:05:00", "2026-07-14T13:05:00.5-0000", "2026-07-14 13:05:00.500"),
                ("5", "100005", "1d 03:46:45")]:
            line = self.story(f"t,{KEY}\n{first},40\n{second},71\n")[0]
            self.assertTrue(line.startswith(told + "  Radio"), line)

    def test_an_empty_cell_writes_nothing_and_a_dash_removes(self):
        supply = "ram.status.psumcu.events.external_supply"
        rows = f"t,{KEY},{supply}\n0,40,\n1,71,-\n2,72,\n3,,1\n4,73,\n"
        self.assertEqual(self.story(rows),
                         ["          Radio Module 72: Normal Operation -> Reduced Performance"])

    def test_interpolation_makes_every_degree_a_reading(self):
        rows = f"t,{KEY}\n0,60\n100,80\n100,80\n200,-2147483648\n"
        self.assertEqual(self.story(rows, "--interpolate", model="qv1305A"),
                         ["00:03:20  Radio Module - V640 -2147483648: Normal Operation -> "
                          "Low Temperature"])
        self.assertEqual([line[:25] for line in self.story(rows, "--interpolate")],
                         ["00:00:55  Radio Module 71", "00:01:20  Radio Module 76",
                          "00:03:20  Radio Module -2"])

        rows = f"t,{KEY},x\n0,60,\n30,,1\n60,,\n100,80,\n200,-,\n300,60,\n"
        self.assertEqual([line[:25] for line in self.story(rows, "--interpolate")],
                         ["00:00:55  Radio Module 71", "00:01:20  Radio Module 76",
                          "00:05:00  Radio Module 60"])

    def test_a_recording_is_replayed_without_what_the_daemon_wrote(self):
        def line(at, *words):
            quoted = " ".join('"' + word + '"' for word in words)
            return f"17000000{at} [0 unix:/run/r.sock] {quoted}\n"
        recording = "".join([
            "OK\n", line("00.1", "GET", KEY), line("01.5", "set", KEY, "40", "EX", "10"),
            line("02.0", "MSET", "a", r"\x00\"\\\n", KEY, "71"),
            line("03.0", "SET", "ram.status.power_management.limit_background", "0"),
            line("04.0", "SET", KEY, "90", "NX"), line("05.0", "SET", "ram.platform.id", "x"),
            line("06.0", "SET", KEY, "76"), line("06.0", "SETEX", KEY, "5", "77"), line("07.0", "SET", KEY)[:-3] + "\n",
            line("08.0", "DEL", KEY, "b"), "noise\n",
            line("01.0", "SET", KEY, "64"),  # the clock was set: time goes on
            line("03.0", "SET", KEY, "63"), line("05.0", "PING")])
        done = self.run_replay("--model", "qv1202B", "-", content=recording.encode())
        story = [line for line in done.stdout.decode().splitlines() if "Radio Module " in line]
        self.assertEqual([line.split("  ")[:2] for line in story[:3]], [
            ["2023-11-14 22:13:22", "Radio Module 71: Normal Operation -> Reduced Performance"],
            ["2023-11-14 22:13:26", "Radio Module 76: Reduced Performance -> Closing connections"],
            ["2023-11-14 22:13:28", "Radio Module 64: Closing connections -> Normal Operation"]])
        self.assertIn("Time: 00:00:10.500", done.stdout.decode())
        notes = re.findall(r"passed over (\d+): (\w+)", done.stderr.decode())
        self.assertEqual(notes, [("5", "other"), ("1", "SET"), ("1", "keys"), ("1", "the"),
                                 ("1", "lines"), ("1", "times")])

    def test_a_seed_gives_other_keys_and_the_supply_its_option(self):
        seed = self.work / "seed"
        seed.write_text(f"{KEY} = 75\nram.platform.id = qv2500A\n")
        rows = b"t,other.key,line.81\n0,1,1\n"
        done = self.run_replay("--model", "qv1202B", "--seed", seed, "-", content=rows)
        self.assertIn(b"highest 75", done.stdout)
        self.assertEqual(done.stderr.decode(),
                         "standard input: note: the daemon does not follow 'other.key'\n"
                         "standard input: note: the daemon does not follow 'line.81'\n")
        battery = "t,ram.status.battery.1.temperature\n0,60\n"
        self.assertEqual(self.story(battery, model="qv1101A"), [])
        self.assertIn("-> Power Off",
                      self.story(battery, "--supply", "off", model="qv1101A")[0])


class Refusals(Replay):
    def refused(self, content, reason, *arguments):
        content = content if isinstance(content, bytes) else content.encode()
        done = self.run_replay("--model", "qv1202B", *arguments, "-", content=content)
        self.assertEqual(done.returncode, 2, (content[:80], done.stderr))
        self.assertIn(reason, done.stderr.decode())
        self.assertEqual(done.stderr.count(b"\n"), 1)

    def test_bad_traces_with_line_column_and_reason(self):
        head = f"time,{KEY}\n"
        for content, reason in [
                ("", "standard input: it is empty"),
                (head, "it has no row"),
                (bytes(range(256)) * 40, ":1: this is neither"),
                ("just words\n", ":1: this is neither"),
                ("0,40\n1,75\n", ":1: column 1: '0' is a time: the first line names"),
                ("time,,\n0,,\n", ":1: there is no column beside"),
                ("time,a,\n0,1,2\n", ":2: column 3: the column has no name"),
                (f"time,{KEY},{KEY}\n0,1,2\n", ":1: column 3: there is another column"),
                ("time,a b\n0,1\n", ":1: column 2: 'a b' cannot be a key"),
                ("time,ram.platform.id\n0,1\n", ":1: column 2: the model is told by --model"),
                (head + "0,40\nsoon,41\n", ":3: column 1: 'soon' is no time"),
                (head + "0,40\n-1,41\n", ":3: column 1: '-1' is no time"),
                (head + "9" * 40 + ",41\n", ":2: column 1: "),
                (head + "2026-02-30T00:00:00Z,41\n", ":2: column 1: "),
                (head + "5,40\n4,41\n", ":3: column 1: '4' lies before the row above"),
                (head + "5,40\n99999999,41\n", ":3: column 1: '99999999' lies more than a year"),
                (head + "0,40,1\n", ":2: column 3: the column has no name"),
                (head + '0,"40\n', ":2: column 2: its quote is not closed"),
                (head + '0,"4"0\n', ":2: column 2: there is something behind"),
                (head + "0," + "1" * (3 << 20), ":2: the line has more than 1048576"),
                (head + "0," + "1" * 70000, ":2: column 2: its value is refused"),
                ("t,line.81\n0,2\n", ":2: column 2: '2' is no level"),
                ("t,ambient\n0,nan\n", ":2: column 2: 'nan' is no number"),
                ("t,ambient\n0,20\n", ":2: the trace tells 'ambient', which is for a closed loop"),
                (b"\x1f\x8b\x08", "compressed"),
                (gzip.compress(head.encode() * 9)[:-12], "compressed")]:
            with self.subTest(reason):
                self.refused(content, reason)

    def test_bad_heat_models(self):
        heat = self.work / "heat"
        for content, reason in [
                ("", "it describes no sensor"), ("off = 1\n", ":1: write 'sensor NAME' first"),
                ("sensor Nose\n", ":1: a qv1202B has no sensor 'Nose'"),
                ("sensor HPA\n", ":1: HPA reports a state"),
                ("sensor Radio Module\noff = 1\n", "no 'time constant'"),
                ("sensor Radio Module\ntime constant = 1\n" * 2, ":3: Radio Module is described"),
                ("sensor Radio Module\ntime constant = 0\n", ":2: a time constant"),
                ("sensor Radio Module\nPoE = -3\n", ":2: '-3' is no number"),
                ("sensor Radio Module\ntea = 3\n", ":2: 'tea' is neither")]:
            heat.write_text(content)
            with self.subTest(reason):
                self.refused("t,ambient\n0,20\n", reason, "--heat", heat)
        self.refused("t,ambient\n0,20\n", "not a regular file", "--heat", "/")

    def test_wrong_use(self):
        for arguments in [["x"], ["--model", "qv0", "x"], ["--model", "qv1202B"],
                          ["--model", "qv1202B", "x", "y"], ["--model", "qv1202B", "/no/such"],
                          ["--step", "0", "x"], ["--nothing"], ["--model", "qv1202B", "/"]]:
            done = self.run_replay(*arguments)
            self.assertEqual((done.returncode, done.stdout), (2, b""), arguments)
            self.assertNotEqual(done.stderr, b"")
        self.assertIn("qv1202B", self.text("--help"))
        self.assertRegex(self.text("--version"), r"^power_man-replay \d+\.\d+")


class Outputs(Replay):
    def test_outputs_that_fail(self):
        day = ["--model", "qv1202B", "hot-summer-day.csv"]
        for option in [["--text", "/dev/full"], ["--html", "/dev/full"], ["--svg", "/no/such/x"]]:
            done = self.run_replay(*option, *day)
            self.assertEqual((done.returncode, done.stderr.count(b"\n")), (1, 1), option)
        with open("/dev/full", "wb") as full:
            done = subprocess.run([REPLAY, *day], cwd=TRACES, env=self.environment, stdout=full,
                                  stderr=subprocess.PIPE, timeout=60)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"No space left", done.stderr)
        closed = subprocess.run(["sh", "-c", 'exec "$@" >&-', "sh", REPLAY, *day], cwd=TRACES,
                                env=self.environment, stderr=subprocess.PIPE, timeout=60)
        self.assertEqual(closed.returncode, 1, closed.stderr)

    def test_no_output_is_written_over_an_input_or_another(self):
        trace, link = self.work / "trace.csv", self.work / "link"
        trace.write_text(f"t,{KEY}\n0,40\n")
        link.symlink_to(trace)
        for options in [["--html", link], ["--svg", trace], ["--seed", link, "--text", trace],
                        ["--svg", "x", "--html", "x"], ["--text", "-", "--html", "-"]]:
            done = self.run_replay("--model", "qv1202B", *options, trace)
            self.assertEqual((done.returncode, done.stdout), (2, b""), options)
        self.assertEqual(trace.read_text(), f"t,{KEY}\n0,40\n")

    def test_an_interruption_leaves_nothing_behind(self):
        waiting = subprocess.Popen([REPLAY, "--model", "qv1202B", "-"], stdin=subprocess.PIPE,
                                   stdout=subprocess.DEVNULL, env=self.environment,
                                   stderr=subprocess.DEVNULL)
        waiting.stdin.write(f"t,{KEY}\n0,40\n".encode())
        waiting.stdin.flush()
        for _ in range(600):
            if any((self.work / "boards").glob("*/sys/class/gpio/gpio255")):
                break
            time.sleep(0.05)
        time.sleep(0.2)
        waiting.send_signal(signal.SIGINT)
        status = waiting.wait(60)
        waiting.stdin.close()
        self.assertIn(status, (-signal.SIGINT, 128 + signal.SIGINT))

    def test_who_reads_no_further_ends_the_run_silently(self):
        rows = "".join(f"{second},{60 + second % 2 * 20}\n" for second in range(3000))
        (self.work / "trace.csv").write_text(f"t,{KEY}\n{rows}")
        piped = subprocess.run(["sh", "-c", '"$@" | head -n 1', "sh", REPLAY,
                                "--model", "qv1202B", self.work / "trace.csv"],
                               env=self.environment, capture_output=True, timeout=60)
        self.assertEqual((piped.stdout.count(b"\n"), piped.stderr), (1, b""))

    def test_a_day_at_1_hz_is_a_small_page_with_every_transition(self):
        def wave(second):  # one up and down every half hour, and noise
            return 60 + abs(second % 1800 - 900) // 50 + second * 7919 % 3
        rows = "".join(f"{second},{wave(second)}\n" for second in range(86400))
        page = self.work / "day.html"
        text = self.text("--model", "qv1202B", "--html", page, "--text", "-", "-",
                         content=f"t,{KEY}\n{rows}".encode())
        self.assertEqual(len(changes(text.encode())), page.read_text().count("<td>Radio Module "))
        self.assertLess(page.stat().st_size, 2_000_000)
        dots = re.search('class="dots" d="([^"]*)"', page.read_text())[1]
        self.assertGreater(dots.count("M"), 90)
        self.assertEqual(re.findall(r'src=|href="(?!#)|https?:(?!//www.w3.org/)', page.read_text()), [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
