# SPDX-License-Identifier: GPL-3.0-or-later
"""An erase from the question to the report."""

import os
import re
import signal
import time

from desktop import DesktopTest
from harness import exists, listing, run_as_root, send


class EraseTest(DesktopTest):
    def test_empty_all_erases_exactly_that(self):
        cans = [self.trash, *(self.volume_trash(self.ext4(name)) for name in ("One", "Two"))]
        for can in cans:
            can.tree("tree", ["a", "b/c"])
            can.file(b"\xff odd \n name")
        outside = listing(self.outside), listing("/media/One"), listing("/media/Two")
        self.start_program()
        self.empty_all()
        self.wait(lambda: not any(can.names() or can.records() for can in cans), "empty trashes")
        self.wait(lambda: self.log_files() and "Finished" in self.log_lines()[-2], "the log's end")
        self.assertEqual(len([line for line in self.log_lines() if " /" in line]), 15)
        self.assertEqual(listing(self.outside), outside[0])
        for point, before in zip(("/media/One", "/media/Two"), outside[1:]):
            gone = set(before) - set(listing(point))
            self.assertTrue(all(b"/.Trash-" in path for path in gone), gone)
        self.assertIsNone(self.window("erased"), "nothing stayed, so nothing is reported")
        self.assertRuns()

    def test_progress_and_stop(self):
        """By the button and by SIGTERM. The question gathers its figures, progress shows after 0.7 s, and
        what stays is told by the log."""
        slow = self.gated("Slow")
        slow.trash.tree("first", ["slow/a", "slow/b"])
        for number in range(300):
            slow.trash.tree(f"tree {number}", ["a", "b/c"])
        self.start_program()
        slow.shut()
        question = self.ask_to_empty_all("Counting")
        slow.open()
        self.wait_for_text(question, "^1,204 items")
        for total in (1204, 1208):
            slow.shut()
            pressed = time.monotonic()  # the click counts before xdotool says that it is done
            self.press(question, "Empty Trash")
            progress = self.wait(self.progress, "the progress")
            self.assertGreater(time.monotonic() - pressed, 0.7)
            slow.shut(b"all")
            if total == 1204:
                self.press(progress, "Stop")
            else:
                send(self.kestrin, signal.SIGTERM)
            self.wait_for_text(progress, "Stopping")
            self.assertNotIn("enabled", progress.find("button", "Stop").states)
            slow.open()
            self.wait(lambda: self.kestrin.poll() is not None or not self.progress(), "the end of the erase")
            gone = [line for line in self.log_lines() if " /" in line]
            left = slow.entries_left()
            self.assertEqual(len(gone) + left, total)
            self.assertEqual(slow.trash.names(), slow.trash.records())
            self.assertGreater(left, 0)
            if total == 1204:
                slow.trash.tree("again", ["slow/a", "slow/b"])
                question = self.ask_to_empty_all("items,")
        self.assertEqual(self.wait_for_end(), 0)

    def test_refused_entries(self):
        """What the user skips stays, once answered for all of a kind; so does what something is mounted on,
        and the report names it."""
        locked = [self.trash.file(f"locked {number}.txt") for number in range(3)]
        self.lock(*locked)
        run_as_root("mount", "-t", "tmpfs", "none", os.path.join(self.trash.tree("mounted", ["in/a"]), b"in"))
        forbidden = self.trash.tree("of the administrator")
        run_as_root("chown", "-R", "0:0", forbidden)
        self.trash.tree("tree")
        self.start_program()
        self.empty_all()
        asked = {self.skip_all_such() for _ in range(2)}
        self.assertEqual(asked, {"locked", "permission"})
        report = self.wait_for_window("not erased|could not be erased")
        self.press(report, "What stayed.*")
        told = self.wait(lambda: [cell.name for cell in report.find_all("cell")], "the entries that stayed")
        self.assertEqual(sorted(told[0::3]), ["a", "c", "in", "locked 0.txt", "locked 1.txt", "locked 2.txt"])
        self.assertEqual(len(set(told[1::3])), 3, told)
        self.press(report, "OK")
        self.assertEqual(self.trash.names(), [b"locked 0.txt", b"locked 1.txt", b"locked 2.txt",
                                              b"mounted", b"of the administrator"])
        self.assertTrue(exists(os.path.join(forbidden, b"b/c")))

    def skip_all_such(self):
        """Answers the question that is open for all entries of its kind; answers the kind."""
        question = self.wait_for_window("is locked|permission")
        title = question.name
        kind = "locked" if "locked" in title else "permission"
        self.click(question.find("check box", "Apply to all"))
        self.press(question, "Skip")
        self.wait_until_gone(re.escape(title))
        return kind
