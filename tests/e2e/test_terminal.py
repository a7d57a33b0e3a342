# SPDX-License-Identifier: GPL-3.0-or-later
"""The terminal's own promises: arguments, exit statuses, JSON, confirmation, Stop."""

import os
import re
import signal
import time

from harness import (OTHER_USER, TIME_FACTOR, EndToEndTest, Terminal, TrashCan, exists, path_of,
                     run_as_root, send, url_of, wait_until)


class UsageTest(EndToEndTest):
    """A command that cannot be understood as a whole does nothing at all."""

    def setUp(self):
        super().setUp()
        self.entry = self.trash.tree("tree", ["inner/leaf"])
        self.good = self.trash.file("good")

    def refuse(self, *arguments, naming=None):
        run = self.succeed(*arguments, status=2)
        self.assertTrue(run.err, arguments)
        if naming:
            self.assertIn(naming, run.err)
        self.assertEqual(self.trash.names(), [b"good", b"tree"], arguments)
        self.assertTrue(exists(os.path.join(self.entry, b"inner/leaf")), arguments)
        self.assertFalse(exists(os.path.join(self.state, b"Kestrin 3")), arguments)

    def test_words_that_name_nothing_and_a_yes_that_nobody_gave(self):
        for bad in ("/nowhere", "Nowhere Disk", os.fsdecode(self.home)):
            self.refuse("empty", "--yes", "/", bad, naming=bad.encode())
        for arguments in (["empty"], ["erase", self.good], ["empty", "--yes", "--frobnicate"]):
            self.refuse(*arguments)
        for arguments in (["--kind=pictures"], ["--kind"], ["--kind=", "Disk"]):
            self.refuse("empty", "--yes", *arguments, naming=b"all, images, sounds, ")

    def test_paths_that_are_no_entry_of_the_trash(self):
        others = self.volume_trash(self.ext4("Disk"), OTHER_USER)
        others.file("entry")
        run_as_root("chmod", "-R", "a+rwX", others.folder)
        run_as_root("chown", "-R", f"{OTHER_USER}:{OTHER_USER}", others.folder)
        refused = [os.path.join(self.outside, b"file"), self.home, b"/", b"/etc/passwd",
                   os.path.join(self.entry, b"inner"), self.trash.files, self.trash.info,
                   self.trash.folder, self.trash.record_path("tree"), self.trash.path("absent"),
                   self.trash.path(".."), self.trash.path("."), self.trash.path("tree/.."),
                   self.trash.path("tree/inner/../../good/.."), others.path("entry"), b""]
        for path in refused:
            self.refuse("erase", "--yes", self.good, path)
        self.assertEqual(others.names(), [b"entry"])

    def test_desktop_that_is_not_there(self):
        """A line and a status, instead of a program that crashes."""
        self.lend("libkestrin_app.so")
        self.refuse()
        self.environment["DISPLAY"] = ":987"
        self.refuse("--empty-all", naming=b"DISPLAY=:987")


class PoorSystemTest(EndToEndTest):
    def test_disk_of_the_log_is_full(self):
        """A message names the log, and what is told of the erase is true."""
        small = os.path.join(self.home, b"small")
        os.mkdir(small)
        self.tmpfs(small, "mode=755,size=64k")
        self.environment["XDG_STATE_HOME"] = os.fsdecode(small)
        for number in range(2000):
            self.trash.file(f"entry with a rather long name {number}")
        run = self.run_program("empty", "--yes")
        self.assertIn(b"Kestrin 3", run.err)
        self.assertIn(run.status, (0, 1), run)
        self.assertEqual(run.status == 0, self.trash.names() == [], run)
        self.assertEqual(self.trash.names(), self.trash.records())


class JsonTest(EndToEndTest):
    def test_show(self):
        self.trash.tree("folder", ["a", "b/c"], original="/home/x/über%", date="2026-05-06T07:08:09")
        self.trash.file(b"\xff", b"123")
        os.unlink(self.trash.record_path(b"\xff"))
        shown = {entry["url"]: entry for entry in self.succeed("show", "--json").json}
        for entry in shown.values():
            self.assertEqual(set(entry), {"name", "url", "size", "count", "isDirectory", "kind",
                                          "dateAdded", "originalPath", "volumePath"})
        folder = shown[url_of(self.trash.path("folder"))]
        self.assertEqual((folder["name"], folder["size"], folder["count"], folder["isDirectory"]),
                         ("folder", 10, 4, True))
        self.assertEqual(folder["originalPath"], "/home/x/über%")
        self.assertRegex(folder["dateAdded"], r"^2026-05-06T07:08:09([+-]\d\d:\d\d|Z)?$")
        odd = shown[url_of(self.trash.path(b"\xff"))]
        self.assertEqual((odd["size"], odd["count"], odd["isDirectory"]), (3, 1, False))
        self.assertEqual((odd["dateAdded"], odd["originalPath"]), (None, None))


class ConfirmationTest(EndToEndTest):
    def ask(self, keys, *command, meanwhile=lambda: None):
        """Types once the program asks; answers its exit status, and what the terminal shows."""
        terminal = Terminal(self, *command)
        terminal.read_until(lambda text: re.search(rb"[?\]:>] ?$", text))
        meanwhile()
        terminal.type(keys)
        return terminal.end(), terminal.text

    def test_nothing_but_yes_confirms(self):
        """Nor does the desktop's setting switch it off."""
        self.write_settings(show_alert="false")
        for command in (["empty"], ["erase", self.trash.path("tree")]):
            self.trash.tree("tree", [f"{leaf}" for leaf in range(41)])
            log = self.log_files()
            for keys in (b"n\n", b"\n", b"\x04", b"\x03"):
                self.assertEqual(self.ask(keys, *command)[0], 3, keys)
                self.assertEqual((self.trash.names(), self.log_files()), ([b"tree"], log), keys)
            status, text = self.ask(b"y\n", *command)
            self.assertEqual(status, 0)
            self.assertIn(b"42", text)
            self.assertGone()

    def test_what_comes_of_a_kind_during_the_question_stays(self):
        for name in ("goes.png", "taken.png", "folder.png"):
            self.trash.file(name)
        other = self.trash.file("other")

        def change():
            os.rename(other, self.trash.path("taken.png"))
            os.unlink(self.trash.path("folder.png"))
            self.trash.tree("folder.png")
            self.trash.file("comes.png")
        status, text = self.ask(b"y\n", "empty", "--kind=images", meanwhile=change)
        self.assertEqual((status, self.trash.names()), (1, [b"comes.png", b"folder.png", b"taken.png"]), text)
        self.assertIn(b"3 items", text)

    def test_volume_that_goes_during_the_question(self):
        """Its entries stay with it, also when another one comes, and nothing says otherwise."""
        self.trash.tree("home")
        for name, come, *command in (("A", "", "empty", "A"), ("B", "", "erase"),
                                     ("C", "mount -t tmpfs none", "empty", "C"),
                                     ("K", "mount -t tmpfs none", "empty", "K", "--kind=folders"),
                                     ("D", "mount -t tmpfs none", "erase"), ("E", "", "empty")):
            point = self.ext4(name)
            trash = self.volume_trash(point)
            trash.tree("tree")
            if command == ["erase"]:
                command.append(trash.path("tree"))
            at = os.fsdecode(point)
            go = f"umount -l {at}; test -z '{come}' || {come} {at}"
            status, text = self.ask(b"y\n", *command, meanwhile=lambda: run_as_root("sh", "-c", go))
            self.assertEqual((status, self.trash.names()), (1, [] if name == "E" else [b"home"]), text)
            self.assertIn(os.fsencode(point), text)


class StopTest(EndToEndTest):
    def test_sigterm(self):
        """The end comes at once, and what is told about it is true."""
        folders, files = 60, 1000
        for number in range(folders):
            self.trash.tree(f"tree{number}", [f"{leaf}" for leaf in range(files)])
        process = self.start("empty", "--yes", "--json")
        wait_until(lambda: len(os.listdir(self.trash.files)) < folders, "the erase to begin")
        sent = time.monotonic()
        send(process, signal.SIGTERM)
        run = self.finish(process)
        self.assertEqual(run.status, 3, run)
        self.assertLess(time.monotonic() - sent, 0.5 * TIME_FACTOR)
        self.assertIs(run.json["wasStoppedByUser"], True)
        left = sum(1 + len(os.listdir(self.trash.path(name))) for name in self.trash.names())
        self.assertGreater(left, 0)
        self.assertEqual(run.json["erasedCount"] + left, folders * (files + 1))
        self.assertEqual(self.trash.names(), self.trash.records())
        numbers = [int(re.sub(r"\D", "", line.split(" /")[0])) for line in self.log_lines() if " /" in line]
        self.assertEqual(numbers, list(range(1, run.json["erasedCount"] + 1)))
        self.succeed("empty", "--yes")
        self.assertGone()
