# SPDX-License-Identifier: GPL-3.0-or-later
"""What other programs put into the trash is found, told as they tell it, and gone for them too."""

import os
import re
import unittest

from harness import EndToEndTest, require, run_as_root


class Agreement:
    """The same for every tool that trashes. `put` does it, `listed` says what the tool now sees as a
    set of (original path, date)."""

    def check(self, folder):
        names = ["plain.txt", "with space", "ümlaut", "per%cent", "-rf", "folder"]
        for name in names[:-1]:
            self.write(os.path.join(folder, name.encode()))
        os.mkdir(os.path.join(folder, b"folder"))
        self.write(os.path.join(folder, b"folder/inside"))
        for name in names:
            self.put(os.path.join(folder, name.encode()))

        shown = {(entry["originalPath"], entry["dateAdded"][:19]) for entry in self.ours()}
        expected = {os.path.join(folder, name.encode()).decode() for name in names}
        self.assertEqual({path for path, _ in shown}, expected)
        self.assertEqual(shown, self.listed())

        run = self.succeed("empty", "--yes", "--json")
        self.assertEqual(run.json["erasedCount"], len(names) + 1)
        self.assertEqual(self.listed(), set())
        self.assertEqual(self.ours(), [])

    @staticmethod
    def write(path):
        with open(path, "wb") as file:
            file.write(b"content")

    def ours(self):
        return self.succeed("show", "--json").json

    def test_home_and_other_volumes(self):
        shared = self.ext4("Shared")
        run_as_root("mkdir", "-m", "1777", os.path.join(shared, b".Trash"))
        for volume in (self.home, self.ext4("Second"), shared):
            with self.subTest(volume):
                folder = os.path.join(volume, b"work")
                os.mkdir(folder)
                self.check(folder)
        self.assertTrue(os.path.isdir(os.path.join(shared, b".Trash/61234/files")))


class TrashCliTest(Agreement, EndToEndTest):
    def setUp(self):
        require("trash-put", "trash-list")
        super().setUp()

    def put(self, path):
        self.run_as_user("trash-put", "--", path)

    def listed(self):
        lines = self.run_as_user("trash-list").decode().splitlines()
        return {(line[20:], line[:19].replace(" ", "T")) for line in lines}


class GioTest(Agreement, EndToEndTest):
    """`gio list trash://` asks gvfs, which needs a session bus."""

    def setUp(self):
        require("gio", "dbus-run-session")
        if not any(map(os.path.exists, ("/usr/lib/gvfs/gvfsd-trash", "/usr/libexec/gvfsd-trash"))):
            raise unittest.SkipTest("gvfsd-trash is not installed")
        super().setUp()
        self.environment["XDG_RUNTIME_DIR"] = os.fsdecode(self.home) + "/runtime"
        os.mkdir(self.environment["XDG_RUNTIME_DIR"], 0o700)

    def put(self, path):
        self.run_as_user("gio", "trash", path)

    def listed(self):
        text = self.run_as_user("dbus-run-session", "--", "gio", "list", "-u", "-a",
                                "trash::orig-path,trash::deletion-date", "trash:///").decode()
        return {self.read_line(line) for line in text.splitlines()}

    @staticmethod
    def read_line(line):
        """The attributes end the line; gio writes bytes beyond ASCII as "\\xNN"."""
        path, date = re.search(r"trash::orig-path=(.*) trash::deletion-date=(\S+)$", line).groups()
        raw = re.sub(rb"\\x([0-9a-f]{2})", lambda code: bytes.fromhex(code[1].decode()), path.encode())
        return raw.decode(), date
