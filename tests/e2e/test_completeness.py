# SPDX-License-Identifier: GPL-3.0-or-later
"""Whatever a user may remove is removed."""

import os

from harness import USER, EndToEndTest, path_of, run_as_root

NAMES = [b"plain", b"with space", b"-rf", b"--yes", b"%41%", b"line\nfeed", b"tab\tcr\r", b"\x1b[31mred",
         b"\xff\xfe", b"latin-\xe9", b"n" * 255, "é".encode() * 127, b"*?[", b"\\", b"'\"$(reboot)`",
         b".hidden", b"...", b"a.trashinfo", "\u202egnp.txt".encode(), b"\xc2\x9b31m"]


class NamesTest(EndToEndTest):
    def test_every_name_is_listed_byte_for_byte_and_erased(self):
        inside = self.trash.tree("folder")
        paths = [self.trash.path(name) for name in NAMES]
        for path in [*paths, *(os.path.join(inside, name) for name in NAMES)]:
            with open(path, "wb") as file:
                file.write(b"123")
        thumbnails = [self.make_thumbnail(path) for path in paths]
        for command in (["show"], ["empty", "--dry-run"]):
            self.check_output(self.succeed(*command))
        shown = {path_of(entry["url"]) for entry in self.succeed("show", "--json").json}
        self.assertEqual(shown, {*paths, self.trash.path("folder")})
        self.check_output(self.succeed("erase", "--yes", "--", *paths[::2]))
        self.assertEqual(self.trash.names(), sorted([*NAMES[1::2], b"folder"]))
        self.assertEqual([path for path in thumbnails if os.path.exists(path)], thumbnails[1::2])
        for name in NAMES[1::2]:
            if len(name) + len(b".trashinfo") <= 255:
                self.trash.record(name)
        run = self.succeed("empty", "--yes", "--json")
        self.assertEqual(run.json["erasedCount"], len(NAMES[1::2]) + len(NAMES) + 4)
        self.assertGone()

    def check_output(self, run):
        """No control character reaches the terminal."""
        text = (run.out + run.err).decode("utf-8")  # and it is valid UTF-8
        self.assertNotRegex(text, "[\x00-\x09\x0b-\x1f\x7f-\x9f\u202e]")


class VolumesTest(EndToEndTest):
    def test_nested_subvolumes_are_folders(self):
        can = self.volume_trash(self.btrfs("Tree"))
        inner = os.path.join(can.tree("tree", ["a"]), b"sub")
        if not run_as_root("/usr/bin/btrfs", "subvolume", "create", inner, check=False):
            self.skipTest("no subvolume can be made")
        run_as_root("touch", os.path.join(inner, b"file"))
        run_as_root("chown", "-R", f"{USER}:{USER}", inner)
        self.succeed("empty", "--yes")
        self.assertGone(can)

    def test_every_kind_of_volume(self):
        for kind, point in (("ext4", self.ext4("Disk")), ("fat", self.fat("Stick"))):
            with self.subTest(kind):
                can = self.volume_trash(point)
                can.tree("tree", ["a", "b/c"])
                can.file("file", original="file")
                trash, = [t for t in self.succeed("list", "--json").json
                          if t["volumePath"] == os.fsdecode(point)]
                self.assertEqual(trash, {
                    "volumeName": os.path.basename(point).decode(), "volumePath": os.fsdecode(point), "count": 5,
                    "size": 17, "trashIsEmpty": False, "trashURL": "file://" + os.fsdecode(can.files)})
                self.succeed("empty", "--yes", point)
                self.assertGone(can)

    def test_empty_takes_all_volumes_or_the_named_ones(self):
        cans = {name: self.volume_trash(self.ext4(name)) for name in ("One", "Two", "Three")}
        for can in [*cans.values(), self.trash]:
            can.file("entry")
        self.succeed("empty", "--yes", "One")
        self.assertEqual([c.names() for c in cans.values()], [[], [b"entry"], [b"entry"]])
        cans["One"].file("entry")
        both = ["One", "/media/Two/"]
        self.assertEqual(len(self.succeed("show", "--json", *both).json), 2)
        self.succeed("empty", "--yes", *both)
        self.assertEqual([c.names() for c in cans.values()], [[], [], [b"entry"]])
        self.assertEqual(self.trash.names(), [b"entry"])
        run = self.succeed("empty", "--yes", "--json")
        self.assertEqual(run.json["erasedCount"], 2)
        self.assertGone(cans["Three"])
        self.assertGone()
