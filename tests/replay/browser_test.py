# SPDX-License-Identifier: MIT
# The page in a real browser: nothing is logged as an error, and lanes, marks, zoom and readout of a
# known trace are there. Skipped (77) where there is no chromium, unless POWER_MAN_BROWSER says that
# there must be one.
#   browser_test.py REPLAY SOURCE_DIR
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

REPLAY, SOURCE = sys.argv[1], pathlib.Path(sys.argv[2])
BROWSER = shutil.which("chromium")

# Played by the page itself at its end: zooms in twice, moves to the right, points at a moment.
PLAY = """<script>
window.onerror = what => document.body.dataset.error = what;
const frame = document.querySelector('.frame'), picture = document.getElementById('picture');
for (const action of ['in', 'in', 'right'])
    document.querySelector(`[data-action=${action}]`).click();
const key = name => frame.dispatchEvent(new KeyboardEvent('keydown', { key: name, bubbles: true }));
for (const name of ['Home', '+', 'ArrowRight', 'ArrowLeft']) key(name);
document.body.dataset.zoomed = picture.querySelector('.plot').getAttribute('viewBox');
key('0');
document.body.dataset.all = picture.querySelector('.plot').getAttribute('viewBox');
const box = picture.getBoundingClientRect();
const at = part => picture.dispatchEvent(new PointerEvent('pointermove',
    { clientX: box.left + box.width * part, clientY: box.top + 50, bubbles: true }));
at(54600 / 86400); // 15:10
document.body.dataset.readout = document.getElementById('readout').innerText;
document.body.dataset.wide = document.documentElement.scrollWidth > window.innerWidth;
</script></body>"""


def browse(page, profile, width):
    # Headless, alone, and without a word to anybody.
    return subprocess.run(
        [BROWSER, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
         "--no-first-run", "--disable-background-networking", "--disable-component-update",
         "--disable-sync", f"--user-data-dir={profile}", f"--window-size={width},900",
         "--enable-logging=stderr", "--v=0", "--dump-dom", page.as_uri()],
        capture_output=True, text=True, timeout=50, check=True)


def expect(condition, what):
    if not condition:
        sys.exit(f"failed: {what}")


def main():
    if BROWSER is None:
        expect(os.environ.get("POWER_MAN_BROWSER") != "required", "there is no chromium")
        print("skipped: there is no chromium")
        sys.exit(77)
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as directory:
        work = pathlib.Path(directory)
        page = work / "day.html"
        subprocess.run([REPLAY, "--model", "qv1202B", "--interpolate", "--html", page,
                        SOURCE / "share/traces/hot-summer-day.csv"], check=True, timeout=60)
        page.write_text(page.read_text().replace("</body>", PLAY))
        for width in [1280, 500]:
            done = browse(page, work / f"profile{width}", width)
            console = [line for line in done.stderr.splitlines() if "CONSOLE" in line]
            expect(console == [], f"the console says {console}")
            data = dict(re.findall(r'data-(\w+)="([^"]*)"',
                                   re.search("<body[^>]*>", done.stdout)[0]))
            expect("error" not in data, data)
            expect(data["all"] == "0 -86 86400 55", f"all is {data['all']}")
            expect(data["zoomed"].split()[2] == "10800", f"zoomed is {data['zoomed']}")
            expect(data["wide"] == "false", f"the page is wider than its {width} pixels")
            readout = data["readout"].splitlines()
            expect(readout[0].startswith("2026-07-14 15:10:"), readout)
            for said in ["Radio Module: 81 °C", "Radio Module: Power Off",
                         "HPA: Reduced Performance", "PoE off: by Radio Module",
                         "Background data limited: by Radio Module and HPA",
                         "reboot asked at 2026-07-14 15:10:00"]:
                expect(said in readout, f"'{said}' is not in {readout}")
            lanes = re.findall('data-lane="([^"]*)"', done.stdout)
            expect(lanes == ["Radio Module", "HPA", "Connections closed",
                             "Background data limited", "Extended USB port off", "PoE off"], lanes)
            expect("Background data limited: once." in done.stdout, "what is read aloud")
            expect('data-mark="reboot asked" d="M54600 .5h0"' in done.stdout, "the reboot's mark")
            expect(done.stdout.count('<line x1=') >= 4, "the ticks")
    print("the page is fine")


main()
