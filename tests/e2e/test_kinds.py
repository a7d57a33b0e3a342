# SPDX-License-Identifier: GPL-3.0-or-later
"""What is shown of one kind is what is erased of it, and nothing else."""

import os

from harness import EndToEndTest, listing, path_of

NAMES = {"images": [b"PHOTO.PNG", b".hidden.jpg", b"\xff\n.Jpeg"], "sounds": [b"SONG.MP3"],
         "movies": [b"Film.mkV"], "archives": [b"BACKUP.TAR.GZ", b"own.ZOO2"], "documents": [b"REPORT.PDF", b"a.rtf"],
         "text": [b"Main.PY", b"README"], "fonts": [b"SANS.TTF"], "folders": [b"folder.jpg", b".git"],
         "other": [b"link.jpg", b"fifo.jpg", b"unknown", b".png."]}
# A database of the user's own: what it calls own/zoo has another name elsewhere.
OWN_TYPE = """<mime-info xmlns="http://www.freedesktop.org/standards/shared-mime-info">
<mime-type type="own/zoo"><alias type="application/x-zoo"/><glob pattern="*.zoo2"/></mime-type></mime-info>"""


class KindsTest(EndToEndTest):
    def setUp(self):
        super().setUp()
        os.makedirs(os.path.join(self.home, b".local/share/mime/packages"))
        for name, text in ((b"globs2", "50:own/zoo:*.zoo2\n"), (b"packages/own.xml", OWN_TYPE)):
            with open(os.path.join(self.home, b".local/share/mime", name), "w") as file:
                file.write(text)

    def fill(self, can):
        for name in (name for names in NAMES.values() for name in names):
            if name in NAMES["folders"]:
                can.tree(name, ["inside.png"])
            elif name == b"link.jpg":
                os.symlink(self.outside, can.path(name))
            elif name == b"fifo.jpg":
                os.mkfifo(can.path(name))
            else:
                can.file(name, b"12")
            can.record(name)
        return can

    def test_every_kind_is_shown_and_erased_alone(self):
        cans = self.fill(self.trash), self.fill(self.volume_trash(self.ext4("Disk")))
        shown = self.succeed("show", "--sort=kind", "--json").json
        self.assertEqual([entry["kind"] for entry in shown],
                         [kind for kind, names in NAMES.items() for name in names for can in cans])
        left = sorted(name for names in NAMES.values() for name in names)
        for kind, names in NAMES.items():
            option = "--kind=" + kind
            before = [listing(can.folder, "mc") for can in cans]
            shown = self.succeed("show", option, "--json").json
            self.assertEqual({path_of(entry["url"]) for entry in shown},
                             {can.path(name) for can in cans for name in names})
            forecast = self.succeed("empty", option, "--dry-run", "--json").json
            self.assertEqual([listing(can.folder, "mc") for can in cans], before)
            self.assertEqual(self.succeed("show", "--kind", kind).out.count(b"\n"), 1 + len(shown))
            for option_of, can in ((["Disk"], cans[1]), ([], cans[0])):
                others = [listing(other.folder) for other in cans if other is not can]
                run = self.succeed("empty", option, "--yes", "--json", *option_of)
                self.assertEqual(2 * run.json["erasedCount"], forecast["erasedCount"])
                self.assertEqual([listing(other.folder) for other in cans if other is not can], others)
            left = [name for name in left if name not in names]
            for can in cans:
                self.assertEqual((can.names(), can.records()), (left, left))
            for command in (["show"], ["empty", "--yes"], ["empty", "--dry-run"]):
                self.assertIn(f'"{kind}"'.encode(), self.succeed(*command, option).out)
        self.assertEqual([os.path.basename(os.path.dirname(log)) for log in self.log_files()],
                         [b"Selected Items"])
