# SPDX-License-Identifier: GPL-3.0-or-later
"""Measures the program in the status area; scripts/bench --desktop runs it. See README.md."""

import contextlib
import os
import re
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/desktop"))

from desktop import DesktopTest  # noqa: E402
from harness import as_root  # noqa: E402

VOLUMES, FILES, LINKS_A_FILE, ROUNDS = 5, 200_000, 500, 5


class DesktopBench(DesktopTest):
    def test_figures(self):
        # What a screen reader needs costs the program threads and memory that others do not pay.
        self.environment.pop("QT_LINUX_ACCESSIBILITY_ALWAYS_ON")
        for number in range(VOLUMES):
            self.fill(self.tmpfs(self.mount_point(f"Disk {number}"), "mode=755,nr_inodes=0"))
        starts = [self.time_start() for _ in range(ROUNDS)]
        self.show("start to icon", starts, "ms")
        self.show("wake-ups idle", [self.wake_ups(10)], "in 10 s")
        self.show("private memory, idle", [self.private_memory()], "MB")
        self.show("the tools that see a menu open", [self.time_tools() for _ in range(ROUNDS)], "ms")
        self.show("menu open, with these tools", [self.time_menu() for _ in range(ROUNDS)], "ms")
        self.show("private memory, rows counted", [self.private_memory()], "MB")

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

    def time_tools(self):
        began = time.monotonic()
        self.xdotool("getmouselocation")
        self.tool_tip()
        return (time.monotonic() - began) * 1000

    def time_menu(self):
        """From the click until the menu is there."""
        self.point(self.icon_place())
        self.wait(lambda: not self.tool_tip(), "no tool tip")
        began = time.monotonic()
        self.xdotool("click", 1)
        while not self.tool_tip():
            pass
        taken = time.monotonic() - began
        # Its rows count from now on, beside the menus that are timed next.
        self.key("Down", "Down", "Right")
        self.key("Escape", "Escape")
        self.wait(lambda: not self.tool_tip(), "the menu to close")
        return taken * 1000

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
