# SPDX-License-Identifier: GPL-3.0-or-later
"""What other programs put into the trash is found, told as they tell it, and gone for them too."""

import os

from harness import EndToEndTest, require, run_as_root

TOOLS = ["gio", "trash"], ["trash-put", "--"]
NAMES = ["plain.txt", "with space", "ümlaut", "per%cent", "-rf", "folder"]


class AgreementTest(EndToEndTest):
    def test_home_and_other_volumes(self):
        require("gio", "trash-put", "trash-list")
        shared = self.ext4("Shared")
        run_as_root("mkdir", "-m", "1777", os.path.join(shared, b".Trash"))
        for volume in (self.home, self.ext4("Second"), shared):
            with self.subTest(volume):
                self.check(volume)
        self.assertTrue(os.path.isdir(os.path.join(shared, b".Trash/61234/files")))

    def check(self, volume):
        paths = set()
        for tool in TOOLS:
            folder = os.path.join(volume, b"of " + tool[0].encode())
            os.makedirs(os.path.join(folder, b"folder"))
            for name in [*NAMES[:-1], "folder/inside"]:
                with open(os.path.join(folder, name.encode()), "wb") as file:
                    file.write(b"content")
            for name in NAMES:
                paths.add(os.path.join(folder, name.encode()).decode())
                self.run_as_user(*tool, os.path.join(folder, name.encode()))
        shown = {(entry["originalPath"], entry["dateAdded"][:19]) for entry in self.ours()}
        self.assertEqual({path for path, _ in shown}, paths)
        self.assertEqual(shown, self.theirs())
        run = self.succeed("empty", "--yes", "--json")
        self.assertEqual(run.json["erasedCount"], len(paths) + len(TOOLS))
        self.assertEqual((self.ours(), self.theirs()), ([], set()))

    def ours(self):
        return self.succeed("show", "--json").json

    def theirs(self):
        lines = self.run_as_user("trash-list").decode().splitlines()
        return {(line[20:], line[:19].replace(" ", "T")) for line in lines}
