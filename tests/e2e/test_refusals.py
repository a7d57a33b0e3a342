# SPDX-License-Identifier: GPL-3.0-or-later
"""What cannot be removed stays, with its record, and is named with its reason."""

import os

from harness import EndToEndTest, as_root, path_of, run_as_root


class RefusalsTest(EndToEndTest):
    def chattr(self, flag, path):
        if not run_as_root("chattr", flag, path, check=False):
            self.skipTest("the file system keeps no such attribute")

    def empty(self):
        """Empties the trash in vain, as the dry run foretold."""
        forecast = self.succeed("empty", "--dry-run", "--json", status=1)
        run = self.succeed("empty", "--yes", "--json", status=1)
        named = [sorted((entry["url"], entry["reason"]) for entry in of.json["notErased"]) for of in (forecast, run)]
        self.assertEqual(named[0], named[1])
        self.assertEqual(forecast.json["erasedCount"], run.json["erasedCount"])
        self.assertEqual(forecast.json["erasedSize"], run.json["erasedSize"])
        return run

    def test_locked_entries(self):
        locked = self.trash.file("locked")
        inner = os.path.join(self.trash.tree("tree", ["locked", "other"]), b"locked")
        folder = self.trash.tree("folder", ["inside"])
        self.trash.file("goes")
        for path in (locked, inner, folder):
            self.chattr("+i", path)
        run = self.empty()
        self.assertStayed(run, locked, "locked")
        self.assertStayed(run, inner, "locked")
        self.assertIn("locked", {entry["reason"] for entry in run.json["notErased"]
                                 if path_of(entry["url"]).startswith(folder)})
        self.assertEqual(self.trash.names(), [b"folder", b"locked", b"tree"])
        self.assertEqual(self.trash.records(), [b"folder", b"locked", b"tree"])
        self.assertEqual(os.listdir(self.trash.path("tree")), [b"locked"])
        self.assertEqual(run.json["erasedCount"], 2)
        logged = [line.split(" ", 1)[1].encode() for line in self.log_lines() if " /" in line]
        self.assertEqual(set(logged), {self.trash.path("goes"), self.trash.path("tree/other")})

    def test_folder_of_root_with_contents(self):
        """Its contents cannot be removed, and it cannot be while it holds them."""
        top = self.trash.tree("tree", ["mine", "root/file"])
        closed = self.trash.tree("closed", ["file"])
        run_as_root("chown", "-R", "0:0", os.path.join(top, b"root"), closed)
        run_as_root("chmod", "700", closed)
        run = self.empty()
        self.assertStayed(run, closed, "forbidden")
        self.assertStayed(run, os.path.join(top, b"root/file"), "forbidden")
        self.assertEqual(os.listdir(top), [b"root"])
        self.assertEqual(self.trash.records(), [b"closed", b"tree"])

    def test_empty_folder_of_root_goes(self):
        top = self.trash.tree("tree", ["a"])
        with as_root():
            os.mkdir(os.path.join(top, b"root"))
            os.mkdir(self.trash.path("top"))
            os.mkdir(self.trash.path("closed"), 0o700)
        self.succeed("empty", "--yes")
        self.assertGone()

    def test_sticky_folder_of_root(self):
        """Only the owner of an entry may take it out."""
        folder = self.trash.path("sticky")
        with as_root():
            os.mkdir(folder)
            os.chmod(folder, 0o1777)
            with open(os.path.join(folder, b"of root"), "wb"):
                os.chmod(os.path.join(folder, b"of root"), 0o666)
        with open(os.path.join(folder, b"mine"), "wb"):
            pass
        run = self.empty()
        self.assertStayed(run, os.path.join(folder, b"of root"), "forbidden")
        self.assertEqual(os.listdir(folder), [b"of root"])

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
        self.assertEqual(can.names(), [b"entry"])
        self.assertEqual(can.records(), [b"entry"])

    def test_answers_by_option(self):
        """Without the helper nothing is unlocked; an entry that the user chose to skip says so."""
        locked = self.trash.file("locked")
        self.chattr("+i", locked)
        for answer in ("skip", "erase", "ask"):
            run = self.succeed("empty", "--yes", "--json", f"--locked={answer}", status=1)
            self.assertStayed(run, locked, "locked")
        run = self.succeed("empty", "--yes", "--json", "--locked=skip", status=1)
        self.assertIs(run.json["notErased"][0].get("skipped"), True)
        self.assertEqual(self.trash.names(), [b"locked"])


class UnusableTrashTest(EndToEndTest):
    """What is in a trash that cannot be used is not gone, and nobody says so."""

    def check_told(self, named):
        for command in (["list"], ["show"], ["empty", "--yes"], ["empty", "--dry-run"]):
            run = self.succeed(*command, status=1)
            self.assertIn(named, run.err, command)
            self.assertNotIn(b"is empty", run.out, command)

    def test_closed_home_trash(self):
        self.trash.file("entry")
        for folder in (self.trash.files, self.trash.folder):
            os.chmod(folder, 0)
            self.check_told(folder)
            os.chmod(folder, 0o700)
        self.assertEqual(self.trash.names(), [b"entry"])


class RecordsTest(EndToEndTest):
    def test_records_of_vanished_data_go_when_old_and_all_is_emptied(self):
        self.trash.record("old")
        os.utime(self.trash.record_path("old"), (1, 1))
        self.trash.record("young")
        self.trash.file("entry")
        self.succeed("erase", "--yes", self.trash.path("entry"))
        self.assertEqual(self.trash.records(), [b"old", b"young"])
        self.trash.file("entry")
        self.succeed("empty", "--yes")
        self.assertEqual(self.trash.records(), [b"young"])
        os.utime(self.trash.record_path("young"), (1, 1))
        self.succeed("empty", "--yes")  # a trash without data too
        self.assertGone()

    def test_missing_info_folder(self):
        self.trash.file("entry")
        run_as_root("rm", "-rf", self.trash.info)
        self.succeed("empty", "--yes")
        self.assertEqual(self.trash.names(), [])

    def test_directory_sizes_keep_the_lines_of_what_stayed(self):
        for name in ("goes", "stays", "with space"):
            self.trash.tree(name)
        sizes = os.path.join(self.trash.folder, b"directorysizes")
        with open(sizes, "wb") as file:
            file.write(b"10 20 goes\n10 20 stays\n10 20 with%20space\n")
        self.succeed("erase", "--yes", self.trash.path("goes"), self.trash.path("with space"))
        with open(sizes, "rb") as file:
            self.assertEqual(file.read(), b"10 20 stays\n")
        self.assertEqual(self.trash.records(), [b"stays"])
