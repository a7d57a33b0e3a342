# SPDX-License-Identifier: GPL-3.0-or-later
"""An erase from the question to the report."""

import os
import re
import time

from desktop import EMPTY_ALL, DesktopTest
from harness import exists, listing, run_as_root


class EraseTest(DesktopTest):
    def ask_to_empty_all(self):
        self.choose(EMPTY_ALL)
        return self.wait_for_window("Empty all trashes")

    def empty_all(self):
        """Says yes when the figures are there."""
        question = self.ask_to_empty_all()
        self.wait_for_text(question, r"^\d+ items?,")
        self.press(question, "Empty Trash")

    def test_question_gathers_its_figures(self):
        slow = self.gated("Slow")
        slow.trash.tree("tree", ["slow/a", "slow/b", "c"])
        self.trash.tree("tree")
        self.start_program()
        slow.shut()
        question = self.ask_to_empty_all()
        self.wait_for_text(question, "Counting")
        slow.open()
        self.wait_for_text(question, "^9 items, 25 B$")

    def test_cancel_changes_nothing(self):
        self.trash.tree("tree")
        disk = self.ext4("Disk")
        self.volume_trash(disk).tree("tree")
        places = self.trash.folder, disk
        before = [listing(place, "mc") for place in places]
        self.start_program()
        self.press(self.ask_to_empty_all(), "Cancel")
        self.wait_until_gone("Empty all")
        self.ask_to_empty_all()
        self.escape_until(lambda: not self.window("Empty all"), "the question to close")
        self.assertTrue(self.open_menu().find("menu item", EMPTY_ALL))
        self.assertEqual([listing(place, "mc") for place in places], before)
        self.assertFalse(self.log_files())

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
        """Progress shows after 0.7 s, and what stays after Stop is told by the log."""
        slow = self.gated("Slow")
        slow.trash.tree("first", ["slow/a", "slow/b"])
        for number in range(300):
            slow.trash.tree(f"tree {number}", ["a", "b/c"])
        self.start_program()
        question = self.ask_to_empty_all()
        self.wait_for_text(question, "^1,20\\d items")
        slow.shut()
        self.press(question, "Empty Trash")
        pressed = time.monotonic()
        progress = self.wait(self.progress, "the progress")
        self.assertGreater(time.monotonic() - pressed, 0.7)
        slow.shut(b"all")
        self.press(progress, "Stop")
        self.wait_for_text(progress, "Stopping")
        self.assertNotIn("enabled", progress.find("button", "Stop").states)
        slow.open()
        self.wait(lambda: not self.progress(), "the end of the erase")
        self.assertRuns()
        gone = [line for line in self.log_lines() if " /" in line]
        left = slow.entries_left()
        self.assertEqual(len(gone) + left, 1204)
        self.assertEqual(slow.trash.names(), slow.trash.records())
        self.assertGreater(left, 0)

    def test_refused_entries(self):
        """What the user skips stays, once answered for all of a kind."""
        locked = [self.trash.file(f"locked {number}.txt") for number in range(3)]
        if not run_as_root("chattr", "+i", *locked, check=False):
            self.skipTest("the file system keeps no such attribute")
        forbidden = self.trash.tree("of the administrator")
        run_as_root("chown", "-R", "0:0", forbidden)
        self.trash.tree("tree")
        self.start_program()
        self.empty_all()
        asked = {self.skip_all_such() for _ in range(2)}
        self.assertEqual(asked, {"locked", "permission"})
        self.wait(lambda: b"tree" not in self.trash.names(), "the rest to go")
        self.assertEqual(self.trash.names(), [b"locked 0.txt", b"locked 1.txt", b"locked 2.txt",
                                              b"of the administrator"])
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

    def test_without_the_helper(self):
        """Who wants no helper is told what stays for it."""
        self.write_settings()
        locked = self.trash.file("locked")
        if not run_as_root("chattr", "+i", locked, check=False):
            self.skipTest("the file system keeps no such attribute")
        self.trash.tree("tree")
        self.start_program()
        self.press(self.wait_for_window("install Kestrin’s helper"), "Don’t Install")
        self.wait_until_gone("install Kestrin’s helper")
        self.empty_all()
        self.press(self.wait_for_window("not authorized"), "OK")
        self.wait(lambda: self.trash.names() == [b"locked"], "the rest to go")
        self.assertTrue(exists(locked))

    def test_report_of_what_stayed(self):
        """A folder that something is mounted on is in use, and the report names it."""
        point = self.trash.tree("mounted", ["inside/a"])
        run_as_root("mount", "-t", "tmpfs", "none", os.path.join(point, b"inside"))
        self.trash.tree("tree")
        self.start_program()
        self.empty_all()
        report = self.wait_for_window("not erased|could not be erased")
        details = report.find("button", "What stayed")
        if details:
            self.click(details)
            self.wait(lambda: report.find(name="inside"), "the entry that stayed")
        self.press(report, "OK")
        self.assertEqual(self.trash.names(), [b"mounted"])
