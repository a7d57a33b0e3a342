# SPDX-License-Identifier: GPL-3.0-or-later
"""Measures how the preview follows the arrow keys, beside image viewers; scripts/bench --preview runs it. See
README.md."""

import os
import re
import shutil
import statistics
import subprocess
import sys
import time

from Xlib import XK, X, display
from Xlib.ext import xtest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/desktop"))

from desktop import SCREEN, DesktopTest  # noqa: E402
from harness import USER  # noqa: E402

PICTURES = int(os.environ.get("KESTRIN_BENCH_PICTURES", "1000"))
WIDTH, HEIGHT = 2048, 1536
REPEAT, PAUSE = 1 / 30, 0.4  # seconds between two keys: held down, and one after the other
SINGLE_KEYS = 50
# Each is given the pictures' folder and the first of them, and the key that goes on.
PEERS = {"feh": (("feh", "--scale-down", "--geometry", "1200x700", "{folder}"), "Right"),
         "qimgv": (("qimgv", "{first}"), "Right"),
         "eog": (("eog", "{first}"), "Right")}


# The three parts of a colour begin at these, so that no grey of a window is one of them.
FIRST, STEP, BLUR = (15, 15, 3), 25, 7


def colour_of(number):
    """Of the middle of a picture: far enough from any other that neither scaling nor JPEG mixes them up."""
    return tuple(first + STEP * (number // place % 10) for first, place in zip(FIRST, (1, 10, 100)))


def number_of(pixel):
    """The picture that a pixel is of; None when it is of none."""
    steps = [round((part - first) / STEP) for part, first in zip(pixel, FIRST)]
    number = sum(step * place for step, place in zip(steps, (1, 10, 100)))
    is_near = all(0 <= step <= 9 and abs(first + STEP * step - part) <= BLUR
                  for step, first, part in zip(steps, FIRST, pixel))
    return number if is_near and number < PICTURES else None


class PreviewBench(DesktopTest):
    """Every program is seen from outside: keys go in by the X server, and one place of the screen is read."""

    def setUp(self):
        super().setUp()
        self.environment.pop("QT_LINUX_ACCESSIBILITY_ALWAYS_ON")
        self.screen = display.Display(self.environment["DISPLAY"])
        self.make_pictures()

    def make_pictures(self):
        """Photographs as far as a decoder can tell, of 3 megapixels, each with a colour of its own in the middle."""
        middle = f"rectangle {WIDTH // 4},{HEIGHT // 4} {WIDTH * 3 // 4},{HEIGHT * 3 // 4}"
        self.names = [f"picture{number:03}.jpg" for number in range(PICTURES)]
        batches = []
        for first in range(0, PICTURES, 50):
            command = ["convert", "-size", f"{WIDTH}x{HEIGHT}", "-seed", str(first + 1), "plasma:fractal",
                       "-attenuate", "0.2", "+noise", "Gaussian", "-quality", "85"]
            for number in range(first, min(first + 50, PICTURES)):
                red, green, blue = colour_of(number)
                command += ["(", "+clone", "-fill", f"rgb({red},{green},{blue})", "-draw", middle, "-write",
                            os.fsdecode(self.trash.path(self.names[number])), "+delete", ")"]
            batches.append(subprocess.Popen([*command, "null:"]))
            if len(batches) % 2 == 0:
                self.assertEqual([batch.wait() for batch in batches[-2:]], [0, 0])
        self.assertEqual({batch.wait() for batch in batches}, {0})
        for name in self.names:
            self.trash.record(name)

    def test_figures(self):
        size = sum(os.path.getsize(self.trash.path(name)) for name in self.names) / PICTURES
        print(f"{PICTURES} pictures of {WIDTH} x {HEIGHT}, {size / 1000:.0f} kB each", flush=True)
        before = self.state_of_files()
        ours = self.run_part(self.program, "--smart-window")
        self.wait(lambda: self.first_row_is_shown(ours), "the preview of the first row", 60)
        single = self.measure("kestrin", ours, "Down")
        self.assertEqual(self.state_of_files(), before, "the pictures were changed")
        self.end(ours)
        ratios = {}
        for name, (command, key) in PEERS.items():
            if shutil.which(name):
                median = self.measure_peer(name, command, key)
                if median:
                    ratios[name] = single / median
        for name, ratio in sorted(ratios.items(), key=lambda item: -item[1]):
            print(f"kestrin takes {ratio:.2f} of the time of {name} to the picture")

    def state_of_files(self):
        return [(s.st_atime_ns, s.st_mtime_ns, s.st_mode, s.st_size)
                for s in (os.stat(self.trash.path(name)) for name in self.names)]

    def first_row_is_shown(self, process):
        self.assertIsNone(process.poll(), self.report())
        time.sleep(0.3)
        self.xdotool("mousemove", "600", "300", "click", "1")
        self.press("Home")
        time.sleep(0.7)
        return self.find_picture()

    def measure_peer(self, name, command, key):
        first = os.fsdecode(self.trash.path(self.names[0]))
        command = [part.format(folder=os.fsdecode(self.trash.files), first=first) for part in command]
        process = self.run_part(*command)
        try:
            self.wait(self.find_picture, f"a picture of {name}", 30)
        except AssertionError:
            print(f"\n{name} shows no picture", flush=True)
            self.end(process)
            return None
        time.sleep(1)
        median = self.measure(name, process, key)
        self.end(process)
        return median

    def end(self, process):
        self._end_kindly(process)
        os.seteuid(USER)
        self.wait(lambda: not self.find_picture(), "an empty screen")

    # One program.

    def measure(self, name, process, key):
        """Prints what the keys bring about and answers the median time to the picture, in seconds."""
        self.find_picture()
        print(f"\n{name}", flush=True)
        median = self.tell("one key after the other", self.follow(key, PAUSE, SINGLE_KEYS))
        self.tell("key held down", self.follow(key, REPEAT, PICTURES - SINGLE_KEYS - 1))
        decoders = [pid for pid in os.listdir("/proc") if pid.isdigit() and parent_of(pid) == process.pid]
        print(f"  resident: {resident(process.pid):.0f} MB, its decoders "
              f"{', '.join(f'{resident(pid):.0f} MB' for pid in decoders) or 'none'}", flush=True)
        return median

    def follow(self, key, interval, count):
        """Presses the key `count` times and answers for each press the time until the place changed, the time until
        its picture was there (None: never), how long the picture of another was still there, and whether one came
        late."""
        shown = self.shown()
        presses, began = [], time.monotonic()
        while len(presses) < count or time.monotonic() - presses[-1]["at"] < max(interval, 1):
            now = time.monotonic()
            if len(presses) < count and now >= began + len(presses) * interval:
                self.press(key)
                before = presses[-1]["wanted"] if presses else shown
                presses.append({"at": now, "wanted": (before + 1) % PICTURES, "changed": None, "there": None,
                                "stale": 0, "wrong": False, "before": self.last})
            if presses:
                self.look(presses[-1])
            time.sleep(0.0005)
        return presses

    def look(self, press):
        self.last = self.pixel()
        after = time.monotonic() - press["at"]
        number = number_of(self.last)
        if press["changed"] is None and self.last != press["before"]:
            press["changed"] = after
        if number == press["wanted"]:
            if press["there"] is None:
                press["there"] = after
        elif number is not None:
            press["stale"] = after
            # That of the row before may still come when the program has not seen the key.
            is_late = (number + 1) % PICTURES != press["wanted"] or press["there"] is not None
            press["wrong"] = press["wrong"] or is_late

    @staticmethod
    def tell(what, presses):
        changed = [press["changed"] for press in presses if press["changed"] is not None]
        there = [press["there"] for press in presses if press["there"] is not None]
        stale = sorted(press["stale"] for press in presses)
        print(f"  {what}, {len(presses)} times: changed after {milliseconds(changed)}, picture after "
              f"{milliseconds(there)}, {len(there)} pictures shown, that of another stayed for "
              f"{stale[len(stale) // 2] * 1000:.0f} ms, at most {stale[-1] * 1000:.0f} ms, and came late "
              f"{sum(press['wrong'] for press in presses)} times", flush=True)
        return statistics.median(there) if there else None

    # The screen.

    def press(self, key):
        code = self.screen.keysym_to_keycode(XK.string_to_keysym(key))
        xtest.fake_input(self.screen, X.KeyPress, code)
        xtest.fake_input(self.screen, X.KeyRelease, code)
        self.screen.flush()

    def find_picture(self):
        """Takes the middle of the picture on the screen as the place to look at; false when there is none."""
        data = self.screen.screen().root.get_image(0, 0, *SCREEN, X.ZPixmap, 0xffffffff).data
        places = {}
        for y in range(4, SCREEN[1], 8):
            for x in range(4, SCREEN[0], 8):
                at = (y * SCREEN[0] + x) * 4
                number = number_of((data[at + 2], data[at + 1], data[at]))
                if number is not None:
                    places.setdefault(number, []).append((x, y))
        best = max(places.values(), key=len, default=[])
        if len(best) < 100:
            return False
        self.place = tuple(sum(part) // len(best) for part in zip(*best))
        self.last = self.pixel()
        return True

    def pixel(self):
        data = self.screen.screen().root.get_image(*self.place, 1, 1, X.ZPixmap, 0xffffffff).data
        return data[2], data[1], data[0]

    def shown(self):
        number = number_of(self.pixel())
        self.assertIsNotNone(number, "no picture is shown")
        return number


def milliseconds(times):
    if not times:
        return "never"
    ordered = sorted(times)
    return (f"{statistics.median(ordered) * 1000:.1f} ms (95 %: {ordered[len(ordered) * 95 // 100] * 1000:.1f} ms, "
            f"at most {ordered[-1] * 1000:.1f} ms)")


def parent_of(pid):
    try:
        with open(f"/proc/{pid}/stat", "rb") as stat:
            return int(stat.read().rpartition(b")")[2].split()[1])
    except OSError:
        return 0


def resident(pid):
    with open(f"/proc/{pid}/status", encoding="ascii", errors="replace") as status:
        return int(re.search(r"VmRSS:\s+(\d+)", status.read())[1]) / 1000
