# SPDX-License-Identifier: GPL-3.0-or-later
"""The terminal's own promises: arguments, exit statuses, JSON, confirmation, Stop."""

import os
import re
import resource
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

    def test_commands_and_options(self):
        for arguments in (["destroy"], ["empty", "--yes", "--frobnicate"], ["erase", "--yes"],
                          ["empty", "--yes", "--locked=perhaps"], ["list", "--yes"], ["show", "/", "/"],
                          ["empty"], ["erase", self.good]):  # the last two: no terminal and no --yes
            self.refuse(*arguments)

    def test_unknown_and_ambiguous_volumes(self):
        cans = [self.volume_trash(self.ext4(name, label="Twin")) for name in ("one", "two")]
        for can in cans:
            can.file("entry")
        for *names, bad in (["/nowhere"], ["Nowhere Disk"], [os.fsdecode(self.home), "/nowhere"], ["Twin"],
                            ["/media/one", "Twin"]):
            self.refuse("empty", "--yes", *names, bad, naming=bad.encode())
        self.refuse("show", "Nowhere Disk", naming=b"Nowhere Disk")
        self.assertEqual([can.names() for can in cans], [[b"entry"], [b"entry"]])
        self.succeed("empty", "--yes", "/media/one")
        self.assertEqual([can.names() for can in cans], [[], [b"entry"]])

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

    def test_help_and_version(self):
        for arguments in (["--help"], ["help"], ["help", "erase"], ["empty", "--help"]):
            run = self.succeed(*arguments)
            self.assertTrue(run.out, arguments)
            self.assertEqual(run.err, b"", arguments)
        self.assertRegex(self.succeed("--version").out, rb"3\.0\.0")

    def test_desktop_that_is_not_there(self):
        """A line and a status, instead of a program that crashes."""
        self.lend("libkestrin_app.so")
        for arguments in ([], ["--empty-all"], ["--quit"]):
            self.environment.pop("DISPLAY", None)
            self.refuse(*arguments)
            self.environment["DISPLAY"] = ":987"
            self.refuse(*arguments, naming=b"DISPLAY=:987")
        self.environment["XDG_RUNTIME_DIR"] = os.fsdecode(self.home)  # libwayland complains else
        self.environment["WAYLAND_DISPLAY"] = "nowhere-7"
        err = self.succeed(status=2).err
        self.assertEqual(err.count(b"\n"), 1, err)


class PoorSystemTest(EndToEndTest):
    def test_no_further_thread(self):
        """The user's processes are at their limit: said in a line, and nothing is lost."""
        self.trash.file("entry")
        run = self.succeed("empty", "--yes", limits=[(resource.RLIMIT_NPROC, 1)], status=1)
        self.assertIn(b"temporarily unavailable", run.err)
        self.assertEqual((self.trash.names(), self.trash.records()), ([b"entry"], [b"entry"]))


class JsonTest(EndToEndTest):
    def test_list(self):
        volume = self.ext4("Disk")
        self.volume_trash(volume).tree("tree", ["a", "b/c"])
        trashes = self.succeed("list", "--json").json
        for trash in trashes:
            self.assertEqual(set(trash), {"volumeName", "volumePath", "trashURL", "trashIsEmpty",
                                          "size", "count"})
        disk, = [trash for trash in trashes if trash["volumePath"] == "/media/Disk"]
        self.assertEqual(disk, {"volumeName": "Disk", "volumePath": "/media/Disk", "trashIsEmpty": False,
                                "size": 10, "count": 4, "trashURL": "file:///media/Disk/.Trash-61234/files"})
        home, = [trash for trash in trashes if path_of(trash["trashURL"]) == self.trash.files]
        self.assertIs(home["trashIsEmpty"], True)

    def test_show(self):
        self.trash.tree("folder", ["a", "b/c"], original="/home/x/über%", date="2026-05-06T07:08:09")
        self.trash.file(b"\xff", b"123")
        os.unlink(self.trash.record_path(b"\xff"))
        shown = {entry["url"]: entry for entry in self.succeed("show", "--json").json}
        for entry in shown.values():
            self.assertEqual(set(entry), {"name", "url", "size", "count", "isDirectory", "dateAdded",
                                          "originalPath", "volumePath"})
        folder = shown[url_of(self.trash.path("folder"))]
        self.assertEqual((folder["name"], folder["size"], folder["count"], folder["isDirectory"]),
                         ("folder", 10, 4, True))
        self.assertEqual(folder["originalPath"], "/home/x/über%")
        self.assertRegex(folder["dateAdded"], r"^2026-05-06T07:08:09([+-]\d\d:\d\d|Z)?$")
        odd = shown[url_of(self.trash.path(b"\xff"))]
        self.assertEqual((odd["size"], odd["count"], odd["isDirectory"]), (3, 1, False))
        self.assertEqual((odd["dateAdded"], odd["originalPath"]), (None, None))


class ConfirmationTest(EndToEndTest):
    def ask(self, keys, *command):
        """Types once the program asks; answers its exit status, and what the terminal shows."""
        terminal = Terminal(self, *command)
        terminal.read_until(lambda text: re.search(rb"[?\]:>] ?$", text))
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


class StopTest(EndToEndTest):
    """Ctrl-C and SIGTERM: the end comes at once, and what is told about it is true."""

    FOLDERS, FILES = 60, 1000

    def fill(self):
        for number in range(self.FOLDERS):
            self.trash.tree(f"tree{number}", [f"{leaf}" for leaf in range(self.FILES)])

    def left(self):
        return sum(1 + len(os.listdir(self.trash.path(name))) for name in self.trash.names())

    def wait_until_it_erases(self):
        wait_until(lambda: len(os.listdir(self.trash.files)) < self.FOLDERS, "the erase to begin")

    def test_sigterm(self):
        self.fill()
        process = self.start("empty", "--yes", "--json")
        self.wait_until_it_erases()
        sent = time.monotonic()
        send(process, signal.SIGTERM)
        run = self.finish(process)
        self.assertEqual(run.status, 3, run)
        self.assertLess(time.monotonic() - sent, 0.5 * TIME_FACTOR)
        self.assertIs(run.json["wasStoppedByUser"], True)
        self.assertGreater(self.left(), 0)
        self.assertEqual(run.json["erasedCount"] + self.left(), self.FOLDERS * (self.FILES + 1))
        self.assertEqual(self.trash.names(), self.trash.records())
        self.assertEqual(len([line for line in self.log_lines() if " /" in line]), run.json["erasedCount"])
        self.succeed("empty", "--yes")
        self.assertGone()

    def test_ctrl_c_on_a_terminal(self):
        self.fill()
        terminal = Terminal(self, "empty", "--yes")
        self.wait_until_it_erases()
        sent = time.monotonic()
        terminal.type(b"\x03")
        self.assertEqual(terminal.end(), 3, terminal.text)
        self.assertLess(time.monotonic() - sent, 0.5 * TIME_FACTOR)
        self.assertEqual(self.trash.names(), self.trash.records())
