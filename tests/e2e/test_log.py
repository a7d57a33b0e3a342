# SPDX-License-Identifier: GPL-3.0-or-later
"""The log tells every entry that went, and never stands in the way of the truth."""

import os
import re

from harness import EndToEndTest, listing, run_as_root


class LogTest(EndToEndTest):
    def test_start_numbered_lines_and_end(self):
        names = [f"tree{number}" for number in range(30)]
        for name in names:
            self.trash.tree(name, [f"{leaf}" for leaf in range(50)])
        run = self.succeed("empty", "--yes", "--json")
        lines = self.log_lines()
        self.assertEqual(lines.pop(), "", "the last line ends with a line feed")
        entries = [line for line in lines if " /" in line]
        numbers = [int(re.sub(r"\D", "", line.split(" ", 1)[0])) for line in entries]
        self.assertEqual(numbers, list(range(1, 30 * 51 + 1)))
        self.assertEqual(run.json["erasedCount"], len(entries))
        self.assertEqual(lines[1:-1], entries, "one start line and one end line")
        paths = {line.split(" ", 1)[1].encode() for line in entries}
        self.assertIn(os.path.join(self.trash.path("tree7"), b"49"), paths)
        self.assertIn(self.trash.path("tree29"), paths)

    def test_no_log_when_it_is_not_wanted(self):
        self.trash.file("entry")
        self.succeed("empty", "--yes", "--no-log")
        self.assertFalse(os.path.lexists(os.path.join(self.state, b"Kestrin 3")))
        self.write_settings(write_log="false")
        self.trash.file("entry")
        self.succeed("empty", "--yes")
        self.assertGone()
        self.assertFalse(os.path.lexists(os.path.join(self.state, b"Kestrin 3")))


class LogTroubleTest(EndToEndTest):
    """Of a log that cannot be opened or written a message tells; without the first nothing is erased."""

    def test_log_folder_is_a_link(self):
        before = listing(self.outside)
        os.makedirs(self.state)
        os.symlink(self.outside, os.path.join(self.state, b"Kestrin 3"))
        self.trash.file("entry")
        run = self.run_program("empty", "--yes")
        self.assertNotEqual(run.status, 0, run)
        self.assertIn(b"Kestrin 3", run.err, run)
        self.assertEqual((self.trash.names(), self.trash.records()), ([b"entry"], [b"entry"]))
        self.succeed("empty", "--yes", "--no-log")
        self.assertGone()
        self.assertEqual(listing(self.outside), before)

    def test_full_disk(self):
        small = os.path.join(self.home, b"small")
        os.mkdir(small)
        self.tmpfs(small, "mode=755,size=64k")
        self.environment["XDG_STATE_HOME"] = os.fsdecode(small)
        for number in range(2000):
            self.trash.file(f"entry with a rather long name {number}")
        run = self.run_program("empty", "--yes")
        self.assertIn(b"Kestrin 3", run.err, "a message that names the log")
        self.assertIn(run.status, (0, 1), run)
        self.assertEqual(run.status == 0, self.trash.names() == [], run)
        self.assertEqual(self.trash.names(), self.trash.records())
