# SPDX-License-Identifier: GPL-3.0-or-later
"""What cannot be removed stays, with its record, and is named with its reason."""

import os

from harness import EndToEndTest, run_as_root


class RefusalsTest(EndToEndTest):
    def empty(self):
        """Empties the trash in vain, as the dry run foretold."""
        forecast = self.succeed("empty", "--dry-run", "--json", status=1)
        run = self.succeed("empty", "--yes", "--json", status=1)
        told = [(sorted((entry["url"], entry["reason"]) for entry in of.json["notErased"]),
                 of.json["erasedCount"], of.json["erasedSize"]) for of in (forecast, run)]
        self.assertEqual(told[0], told[1])
        self.assertEqual(self.trash.names(), self.trash.records())
        return run

    def test_folders_that_nothing_tells_from_others(self):
        """Root leaves what it had to close, where no handle and no time of birth is kept."""
        run_as_root("mount", "-t", "ramfs", "none", self.home)
        self.user = 0
        run_as_root("mkdir", "-p", self.trash.info, self.trash.path("deep" + "/d" * 700))
        run_as_root("touch", self.trash.record_path("deep"), self.trash.path("deep" + "/d" * 700 + "/file"))
        run = self.succeed("empty", "--yes", "--json", "--no-log", status=1)
        self.assertEqual([entry["reason"] for entry in run.json["notErased"]], ["not-found-again"])
        self.assertIn(b"/d: it could not be found again safely", run.err)

    def test_folders_of_root(self):
        """An empty one goes. In one with contents, and in a sticky one, what is not the user's own stays."""
        top = self.trash.tree("tree", ["mine", "root/file"])
        closed = self.trash.tree("closed", ["file"])
        sticky = self.trash.tree("sticky", ["mine", "of root"])
        with_empty = self.trash.tree("with an empty one", ["a"])
        run_as_root("mkdir", os.path.join(with_empty, b"root"), self.trash.path("empty"))
        of_root = os.path.join(sticky, b"of root")
        run_as_root("chown", "-R", "0:0", os.path.join(top, b"root"), closed, of_root)
        run_as_root("chown", "0:0", sticky)
        run_as_root("chmod", "700", closed)
        run_as_root("chmod", "1777", sticky)
        run_as_root("chmod", "666", of_root)
        run = self.empty()
        for path in (closed, os.path.join(top, b"root/file"), of_root):
            self.assertStayed(run, path, "forbidden")
        self.assertEqual((os.listdir(top), os.listdir(sticky)), ([b"root"], [b"of root"]))
        # Of a closed one no dry run can say that it is empty.
        run_as_root("mkdir", "-m", "700", self.trash.path("empty and closed"))
        self.succeed("empty", "--yes", status=1)
        self.assertEqual(self.trash.names(), [b"closed", b"sticky", b"tree"])
        self.lock(self.trash.files)
        self.assertStayed(self.empty(), self.trash.files, "locked")

    def test_read_only_volume(self):
        volume = self.ext4("Disk")
        can = self.volume_trash(volume)
        path = can.file("entry")
        run_as_root("mount", "-o", "remount,ro", volume)
        gone = self.trash.file("gone")
        for command in (["erase", "--dry-run", path, gone], ["empty", "--dry-run", "/media/Disk", "/"],
                        ["erase", "--yes", path, gone]):
            run = self.succeed(*command, "--json", status=1)
            self.assertStayed(run, path, "read-only")
            self.assertEqual(run.json["erasedCount"], 1)
        self.assertIn(path, self.succeed("empty", "--dry-run", "/media/Disk", status=1).err)
        self.assertEqual((can.names(), can.records()), ([b"entry"], [b"entry"]))


class TrashTest(EndToEndTest):
    def test_closed_home_trash(self):
        """What is in a trash that cannot be used is not gone, and nobody says so."""
        self.trash.file("entry")
        for folder in (self.trash.files, self.trash.folder):
            os.chmod(folder, 0)
            for command in (["list"], ["show"], ["empty", "--yes"], ["empty", "--dry-run"],
                            ["show", "--kind=text"], ["empty", "--yes", "--kind=text"]):
                run = self.succeed(*command, status=1)
                self.assertIn(folder, run.err, command)
                self.assertNotRegex(run.out, b"is empty|nothing", command)
            os.chmod(folder, 0o700)
        self.assertEqual(self.trash.names(), [b"entry"])

    def test_records_of_vanished_data_go_when_old_and_all_is_emptied(self):
        self.write_settings(write_log="false")
        self.trash.record("old")
        os.utime(self.trash.record_path("old"), (1, 1))
        self.trash.record("young")
        self.trash.file("entry")
        self.trash.tree("stays")
        sizes = os.path.join(self.trash.folder, b"directorysizes")
        with open(sizes, "wb") as file:
            file.write(b"10 20 stays\n10 20 entry\n")
        self.succeed("erase", "--yes", self.trash.path("entry"))
        self.assertEqual(self.trash.records(), [b"old", b"stays", b"young"])
        with open(sizes, "rb") as file:
            self.assertEqual(file.read(), b"10 20 stays\n")
        self.succeed("empty", "--yes")
        self.assertEqual(self.trash.records(), [b"young"])
        self.assertEqual(self.log_files(), [])
        self.trash.file("entry")
        self.write_settings(write_log="\0false")
        run = self.succeed("empty", "--yes")
        self.assertEqual(run.err.count(b"kestrin-3.conf holds something other"), 1, run.err)
        self.assertEqual(len(self.log_files()), 1, "the default")
