# SPDX-License-Identifier: GPL-3.0-or-later
"""Measures the program in the status area; scripts/bench --desktop runs it. See README.md."""

import contextlib
import os
import re
import statistics
import sys
import time

from Xlib import XK, X, display
from Xlib.ext import xtest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/desktop"))

from desktop import BACKGROUND, DesktopTest  # noqa: E402
from harness import as_root  # noqa: E402

VOLUMES, FILES, LINKS_A_FILE, ROUNDS = 5, 200_000, 500, 5


class Screen:
    """A connection to the display that works the mouse and the keys and sees a popup come without a
    process for each look, which would take longer than what is measured."""

    def __init__(self, name):
        self._display = display.Display(name)
        self._root = self._display.screen().root
        self._root.change_attributes(event_mask=X.SubstructureNotifyMask)
        self._display.sync()

    def press(self, kind, detail):
        for event in kind:
            xtest.fake_input(self._display, event, detail)
        self._display.flush()

    def time_popup(self, kind, detail):
        """From that press until a popup is on the screen with something in it, in milliseconds."""
        while self._display.pending_events():
            self._display.next_event()
        began = time.monotonic()
        self.press(kind, detail)
        place = self._next_popup()
        while self._pixel(*place) == BACKGROUND:
            pass
        return (time.monotonic() - began) * 1000

    def _next_popup(self):
        while True:
            event = self._display.next_event()
            if event.type == X.MapNotify and event.override:
                shape = event.window.get_geometry()
                return shape.x + 3, shape.y + 3

    def _pixel(self, x, y):
        blue, green, red, _ = self._root.get_image(x, y, 1, 1, X.ZPixmap, 0xffffffff).data
        return f"({red},{green},{blue})"

    def key(self, name):
        self.press(KEY, self._key_code(name))

    def time_popup_of_key(self, name):
        return self.time_popup(KEY, self._key_code(name))

    def _key_code(self, name):
        return self._display.keysym_to_keycode(XK.string_to_keysym(name))


CLICK = (X.ButtonPress, X.ButtonRelease)
KEY = (X.KeyPress, X.KeyRelease)


class DesktopBench(DesktopTest):
    def test_figures(self):
        # What a screen reader needs costs the program threads and memory that others do not pay.
        self.environment.pop("QT_LINUX_ACCESSIBILITY_ALWAYS_ON")
        self.screen = Screen(self.environment["DISPLAY"])
        for number in range(VOLUMES):
            self.fill(self.tmpfs(self.mount_point(f"Disk {number}"), "mode=755,nr_inodes=0"))
        rounds = [self.round() for _ in range(ROUNDS)]
        for what, values in zip(("start to icon", "first menu", "rows", "menu beside the counts"),
                                zip(*rounds)):
            self.show(what, values, "ms")
        self.settle()
        self.show("private memory, rows counted", [self.private_memory()], "MB")
        self.time_start()
        self.settle()
        self.show("wake-ups idle", [self.wake_ups(10)], "in 10 s")
        self.show("private memory, idle", [self.private_memory()], "MB")

    @staticmethod
    def show(what, values, unit):
        print(f"{what}: {statistics.median(values):.1f} {unit} "
              f"({', '.join(f'{value:.1f}' for value in values)})", flush=True)

    def fill(self, point):
        """200,000 entries that are quickly made: links of few files."""
        folder = self.volume_trash(point).tree("tree", ["seed"])
        seed = os.path.join(folder, b"seed")
        for number in range(FILES // LINKS_A_FILE):
            leaf = os.path.join(folder, b"%d" % number)
            os.mkdir(leaf)
            for link in range(LINKS_A_FILE):
                os.link(seed, os.path.join(leaf, b"%d" % link))

    def time_start(self):
        """From the start of the process until the tray shows the icon; the tools add some 10 ms."""
        if self.kestrin:
            self.launch("--quit")
            self.wait_for_end()
        began = time.monotonic()
        self.kestrin = self.launch()
        while not self.icon_place():
            pass
        return (time.monotonic() - began) * 1000

    def round(self):
        """Of a program that was just started: its start, its first menu, the rows of the disks, which
        begin to count, and the menu once more, while they do."""
        start = self.time_start()
        self.settle()
        menu = self.time_menu()
        self.screen.key("Down")
        self.screen.key("Down")
        rows = self.screen.time_popup_of_key("Right")
        for _ in range(2):
            self.screen.key("Escape")
        self.wait(lambda: not self.tool_tip(), "the menus to close")
        again = self.time_menu()
        self.assertTrue(self.is_counting(), "all rows were counted before the menu was there")
        self.screen.key("Escape")
        return start, menu, rows, again

    def is_counting(self):
        names = []
        for task in os.listdir(f"/proc/{self.kestrin.pid}/task"):
            with contextlib.suppress(OSError), open(f"/proc/{self.kestrin.pid}/task/{task}/comm") as comm:
                names.append(comm.read().strip())
        return "menuCreation" in names

    def time_menu(self):
        self.point(self.icon_place())
        self.wait(lambda: not self.tool_tip(), "no tool tip")
        return self.screen.time_popup(CLICK, X.Button1)

    def settle(self):
        """Until the threads of what was done have ended, and the tray has been answered."""
        self.wait(lambda: self.wake_ups(1.5) == 0, "nothing to do")

    def wake_ups(self, seconds):
        """Of the threads that are there at both ends."""
        before = self.switches()
        time.sleep(seconds)
        return sum(count - before.get(task, count) for task, count in self.switches().items())

    def switches(self):
        counts = {}
        folder = f"/proc/{self.kestrin.pid}/task"
        for task in os.listdir(folder):
            # One that ends meanwhile is none of those.
            with contextlib.suppress(OSError), open(f"{folder}/{task}/status") as status:
                counts[task] = int(re.search(r"\nvoluntary_ctxt_switches:\s+(\d+)", status.read())[1])
        return counts

    def private_memory(self):
        with as_root(), open(f"/proc/{self.kestrin.pid}/smaps_rollup") as rollup:
            return sum(int(size) for size in re.findall(r"Private_\w+:\s+(\d+) kB", rollup.read())) / 1024
