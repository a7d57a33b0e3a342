# SPDX-License-Identifier: GPL-3.0-or-later
"""A hostile program that an administrator let through: it gets what lies in its user's trash, and
nothing else. After every attack all that must stay is compared with modes, times and contents, and the
helper answers."""

import contextlib
import ctypes
import os
import plistlib
import socket
import struct
import time

import harness
from harness import OTHER_USER, USER, TrashCan, as_root, run_as_root
from helpertest import BUSY, CANCELLED, INVALID, HelperTest, encoded, items_xml

MEGABYTE = 1 << 20


class Attack(HelperTest):
    def setUp(self):
        super().setUp()
        # What root alone may touch.
        self.secret = os.path.join(self.scratch, b"secret")
        self.secret_file = os.path.join(self.secret, b"shadow")
        run_as_root("sh", "-c", 'mkdir -p "$1/folder"; echo own | tee "$1/folder/file" > "$1/shadow"; '
                    'chmod 600 "$1/shadow"', "sh", self.secret)

    def assertRefused(self, *paths):
        """None of these goes, whichever way it is asked for, and nothing changes."""
        self.assertAlive()
        before = self.everything()
        caller = self.caller()
        self.assertEqual(caller.erase(unlock=paths), len(set(paths)))
        self.assertEqual(caller.erase(permissions=paths), len(set(paths)))
        caller.erase(folders=paths)
        reply = caller.call("unlockItems", "(as)", [encoded(path) for path in paths])
        self.assertEqual(reply["values"], [[]])
        self.assertEqual(caller.items, [])
        self.assertEqual(self.everything(), before)
        self.assertAlive()

    def assertEndsAtOnce(self, end):
        began = time.monotonic()
        end()
        harness.wait_until(lambda: not self.workers(), "the end of the worker")
        self.assertLess(time.monotonic() - began, 0.5 * harness.TIME_FACTOR)

    def keeping(self, folders, erase):
        """Runs `erase`; what is in these folders must not change. They themselves may."""
        before = {folder: harness.listing(folder, times="mc") for folder in folders}
        erase()
        for folder, found in before.items():
            self.assertEqual(harness.listing(folder, times="mc"), found)
        self.assertAlive()


class APath(Attack):
    def test_outside_of_any_trash_or_that_needs_interpreting(self):
        self.trash.tree("entry")
        files = self.trash.files
        self.assertRefused(
            self.secret_file, self.secret, os.path.join(self.outside, b"file"), b"/", b"/etc/passwd",
            self.home, self.trash.folder, self.trash.files, self.trash.info,
            self.trash.record_path("x"), self.trash.files + b"/", b"/proc/self/cwd/etc/passwd",
            os.path.join(self.home, b".local/share/Trash-2/files/x"),
            files + b"/../../../../../secret/shadow", files + b"/entry/../../info",
            files + b"/entry/..", files + b"/entry/.", files + b"/./entry", files + b"//entry",
            files + b"/entry/", files + b"/entry//a", b"/" + files + b"/entry",
            os.path.relpath(files, b"/") + b"/entry", b"entry", b".", b"..", b"./entry",
            files + b"/" + b"n" * 256, os.path.join(self.home, b"../home/.local/share/Trash/files/entry"))

    def test_into_the_trash_of_another_user(self):
        volume = self.tmpfs(self.mount_point("Disk"), "mode=1777")
        run_as_root("mkdir", "-m", "1777", os.path.join(volume, b".Trash"))
        with harness.as_root():
            cans = [TrashCan(os.path.join(volume, b".Trash-%d" % OTHER_USER)),
                    TrashCan(os.path.join(volume, b".Trash/%d" % OTHER_USER)),
                    TrashCan(os.path.join(volume, b".Trash-0"))]
            paths = [can.file("file") for can in cans]
        run_as_root("chown", "-R", f"{OTHER_USER}:{OTHER_USER}", *(can.folder for can in cans[:2]))
        before = harness.listing(volume, times="mc")
        self.assertRefused(*paths)
        self.assertEqual(harness.listing(volume, times="mc"), before)
        # Nor by a trash folder that only has the user's name.
        own = os.path.join(volume, b".Trash-%d" % USER)
        run_as_root("mv", cans[0].folder, own)
        self.assertRefused(os.path.join(own, b"files/file"))

    def test_with_a_link_at_each_component(self):
        top = self.trash.tree("entry", ["real/file"])
        os.symlink(self.secret, os.path.join(top, b"out"))
        os.symlink(os.path.relpath(self.secret, top), os.path.join(top, b"near"))
        os.symlink(b"real", os.path.join(top, b"in"))
        os.symlink(self.secret, self.trash.path("top"))
        self.assertRefused(os.path.join(top, b"out/shadow"), os.path.join(top, b"out/folder/file"),
                           os.path.join(top, b"near/shadow"), os.path.join(top, b"near/folder/file"),
                           os.path.join(top, b"in/file"), self.trash.path("top/shadow"))
        for part in (b".local", b".local/share", b".local/share/Trash", b".local/share/Trash/files"):
            place = os.path.join(self.home, part)
            os.rename(place, self.home + b"/aside")
            os.symlink(os.path.relpath(self.home + b"/aside", os.path.dirname(place)), place)
            self.assertRefused(os.path.join(top, b"real/file"))
            os.unlink(place)
            os.rename(self.home + b"/aside", place)
        # The links themselves are entries like any other.
        def erase():
            self.assertEqual(self.caller().erase(permissions=[top], unlock=[self.trash.path("top")]), 0)
        self.keeping([self.secret], erase)
        self.assertEqual(self.trash.names(), [])

    def test_into_what_is_mounted_there(self):
        top = self.trash.tree("entry", ["file", "bound/x", "mounted/x", "bound-file"])
        point = lambda name: os.path.join(top, name)
        run_as_root("mount", "--bind", self.secret, point(b"bound"))
        run_as_root("mount", "-t", "tmpfs", "none", point(b"mounted"))
        run_as_root("mount", "--bind", self.secret_file, point(b"bound-file"))
        run_as_root("touch", point(b"mounted/precious"))
        self.assertRefused(point(b"bound/shadow"), point(b"bound/folder/file"), point(b"mounted/precious"),
                           point(b"bound"), point(b"mounted"), point(b"bound-file"))
        def erase():
            self.assertEqual(self.caller().erase(permissions=[top]), 1)
        self.keeping([self.secret, point(b"mounted")], erase)
        self.assertEqual(sorted(os.listdir(top)), [b"bound", b"bound-file", b"mounted"])


class APatientUser(Attack):
    """What he does to his entries while they are erased: his program answers no report, so that the worker
    waits for him."""

    def test_gives_no_folder_the_inode_number_of_one_that_was_closed(self):
        volume = self._volume("Disk", 32, ["mkfs.ext4", "-q", "-b", "4096", "-I", "128"],  # no times of birth
                              ["mount", "-o", "loop"])
        self.trash = self.volume_trash(volume)
        top = self.trash.tree("top", ["d/" * 700 + f"{'n' * 200}{file}" for file in range(3000)])
        parent, aside = top + b"/d" * 20, os.path.join(volume, b"aside")
        caller = self.hold(permissions=[top])
        inode = os.stat(parent).st_ino
        os.rename(parent + b"/d", aside)
        os.rmdir(parent)
        with as_root():
            for taken in (b"%s/%d" % (volume, number) for number in range(1000)):
                os.mkdir(taken)
                if os.stat(taken).st_ino == inode:
                    break
            else:
                self.skipTest("the file system gives the inode number to nobody")
            with open(os.path.join(taken, b"precious"), "wb"):
                os.chmod(taken, 0o1777)
        os.rename(aside, taken + b"/d")
        os.makedirs(parent + b"/decoy")  # so that what passes for the folder is listed once more
        caller.order(do="answer", answers=True)
        self.assertEqual(caller.end(), 1)
        self.assertEqual(sorted(os.listdir(taken)), [b"d", b"precious"])
        self.assertEqual(os.listdir(parent), [b"decoy"])

    def test_has_no_file_unlocked_that_has_other_names(self):
        """Whoever takes a name out of the folder that he holds sleeps as long as he likes."""
        top = self.trash.tree("top", [])
        others = [os.path.join(self.outside, name) for name in (b"file", b"folder/file")]
        names = [os.path.join(top, b"%d" % number) for number in range(2)]
        for other, name, attribute in zip(others, names, ("+i", "+a")):
            os.link(other, name)
            self.lock(other, attribute=attribute)
        def writable():
            return [other for other in others if not {"i", "a"} & set(self.attributes(other))]
        self.held_folder(top)
        caller = self.caller()
        tag = caller.send_erase(items_xml(unlock=names[:1], permissions=[top]))
        self.assertIsNone(caller.reply(tag)["error"])
        harness.wait_until(lambda: writable() or not self.workers(), "the worker")
        self.assertEqual(writable(), [])
        self.assertEqual(caller.end(), 2)
        reply = caller.call("unlockItems", "(as)", [encoded(path) for path in names])
        self.assertEqual(reply["values"], [[]])
        self.assertEqual(writable(), [])

    def test_takes_little_memory_by_a_deep_chain(self):
        self.keep_home_in_memory()
        name, depth = b"n" * 255, 17_000
        folder = os.open(self.trash.files, os.O_RDONLY)
        for _ in range(depth):
            os.mkdir(name, dir_fd=folder)
            below = os.open(name, os.O_RDONLY, dir_fd=folder)
            os.close(folder)
            folder = below
        os.close(os.open("file", os.O_CREAT, dir_fd=folder))
        os.close(folder)
        caller = self.hold(permissions=[self.trash.path(name)])
        self.assertEqual(len(caller.items[0][3]), 4 * MEGABYTE)  # the whole would be longer
        worker, = self.workers()
        self.assertBounded(100, worker)
        self.assertBounded(100)
        caller.send("setStoppedByUser", "(b)", True)
        caller.order(do="answer", answers=True)
        self.assertEqual(caller.end(), 1)


class AWorker(Attack):
    """That its user's list has taken over: what is said here is said in its place."""

    ACCEPTED, ERASED, TO_CLEAR, SETTLED, LOST, FINISHED = (0x3141574b + number for number in (0, 3, 4, 5, 7, 8))

    def take_over(self):
        """A worker that does nothing any more; answers its caller, its process, and its end of the socket."""
        caller = self.hold(permissions=[self.much("top%d" % len(self.trash.names()))])
        harness.wait_until(lambda: len(self.workers()) == 1, "the end of the worker before")
        worker, = self.workers()
        run_as_root("kill", "-STOP", worker)
        caller.order(do="answer", answers=True)
        number, = self.sockets(worker)
        with as_root():
            pidfd_getfd = 438
            end = ctypes.CDLL(None).syscall(pidfd_getfd, os.pidfd_open(int(worker)), number, 0)
        if end < 0:
            self.skipTest("the kernel hands over no descriptors")
        end = socket.socket(fileno=end)
        end.settimeout(1)
        return caller, worker, end

    @staticmethod
    def say(end, packets):
        """Answers how much of that was said before nobody heard it any more."""
        said = 0
        with contextlib.suppress(OSError):
            for packet in packets:
                said += end.send(packet)
        return said

    def test_is_not_believed(self):
        self.keep_home_in_memory()
        service, most = None, (1 << 64) - 1
        entry = struct.pack("<IQI", self.ERASED, most, 50_000) + b"/" * 50_000
        finished = struct.pack("<IQQ", self.FINISHED, most, most)
        to_clear = [struct.pack("<IQiiIQQqI4000si", self.TO_CLEAR, number, 0, 0, 0, 1, 1, 0, 4000, b"/" * 4000, 16)
                    for number in range(1, 10_000)]
        for lie in ([b"x"], [struct.pack("<IQQQ", self.ACCEPTED, most, 0, 0)], [struct.pack("<IQ", self.SETTLED, 1)],
                    [struct.pack("<IQI", self.ERASED, most, 0)], [struct.pack("<IQi", self.LOST, 1, 5)],
                    [entry, finished, entry], to_clear):
            caller, worker, end = self.take_over()
            with end:
                self.say(end, lie)
                harness.wait_until(lambda: not self.is_running(worker), "the end of the worker")
            caller.wait(lambda: caller.left or caller.told["interrupted"])
            self.assertIn((caller.left, caller.told["interrupted"]), (([], [False]), ([most], [])))
            self.assertEqual(self.caller(OTHER_USER).erase(), 0)
            self.assertEqual(self.bus.process_of(), service := service or self.bus.process_of())
        self.assertTrue(caller.told["attributesNotRestored"])
        self.assertBounded(150)

    def test_does_not_flood_the_service(self):
        self.keep_home_in_memory()
        caller, worker, end = self.take_over()
        caller.order(do="answer", answers=False)
        entry = struct.pack("<IQI", self.ERASED, 1, 50_000) + b"/" * 50_000
        with end:
            self.assertLess(self.say(end, [entry] * 2000), 8 * MEGABYTE)  # it reads no further
            caller.send("setStoppedByUser", "(b)", True)
            for _ in range(20):
                self.say(end, [entry] * 100)
            harness.wait_until(lambda: not self.is_running(worker), "the end of the worker")
            self.assertBounded(100)
        caller.order(do="answer", answers=True)
        caller.wait(lambda: caller.told["interrupted"])
        self.assertAlive()


class AList(Attack):
    def assertInvalid(self, *lists):
        self.assertAlive()
        before = self.everything()
        for xml in lists:
            caller = self.caller()
            reply = caller.reply(caller.send_erase(xml))
            self.assertEqual(reply["error"], INVALID, str(xml)[:200])
        self.assertBounded(60)
        self.assertEqual(self.everything(), before)
        self.assertAlive()

    def begun(self, xml):
        caller = self.caller()
        tag = caller.send_erase(xml)
        harness.wait_until(self.workers, "a worker")
        return caller, tag

    def test_that_is_no_list_of_paths(self):
        good = items_xml(permissions=[self.trash.file("file")])
        head, tail = good.split(b"<plist")
        nested = b"<array>" * 100_000 + b"</array>" * 100_000
        entities = b'<!DOCTYPE plist [<!ENTITY a "aaaaaaaaaa"><!ENTITY b "&a;&a;&a;&a;&a;&a;">]>'
        self.assertInvalid(
            b"", b"\0" * 1000, b"bplist00", good[:-20], good[:len(good) // 2], good + b"<x/>",
            head + b'<plist version="1.0">' + nested + b"</plist>",
            b'<?xml version="1.0"?>' + entities + b"<plist" + tail,
            b'<?xml version="1.0"?><!DOCTYPE plist SYSTEM "file:///etc/passwd" [%a;]><plist' + tail,
            plistlib.dumps({"permissionsItems": ["%2"]}), plistlib.dumps({"permissionsItems": [7]}),
            plistlib.dumps({"permissionsItems": ["/a%00"]}), plistlib.dumps({"other": ["/a"]}),
            plistlib.dumps(["/a"]), good.replace(b"permissionsItems", b"\xff"),
            good[:-10] + b" " * MEGABYTE + good[-10:])

    def test_in_a_file_that_is_none(self):
        xml = items_xml(permissions=[self.trash.file("file")])
        write, grow, shrink = 8, 4, 2
        for_all = {"data": xml.hex()}
        self.assertInvalid(
            {"size": 1 << 30}, {"size": (256 << 20) + 1}, {"size": 1 << 20}, {"path": "/etc/passwd"},
            {"path": "/dev/zero"}, {"path": "/"}, {**for_all, "seals": 0},
            {**for_all, "seals": write | grow}, {**for_all, "seals": write | shrink},
            {**for_all, "seals": grow | shrink}, {"data": xml[:-20].hex()})
        self.assertEqual(self.caller().erase(for_all), 0)
        self.assertGone()

    def test_of_a_million_paths(self):
        gone = self.forbidden("gone")
        good = items_xml(permissions=[gone])
        files = encoded(self.trash.files).encode()
        paths = b"".join(b"<string>%s/absent%d</string>" % (files, n) for n in range(500_000))
        paths += b"".join(b"<string>/etc/outside%d</string>" % n for n in range(500_000))
        at = good.rindex(b"</array>")
        list_file = os.path.join(self.home, b"list")
        with open(list_file, "wb") as file:
            file.write(good[:at] + paths + good[at:])
        before = harness.listing(self.secret, times="mc")
        self.assertAlive()
        for is_accepted in (False, True):
            caller, tag = self.begun({"copy": os.fsdecode(list_file)})
            if is_accepted:
                self.assertIsNone(caller.reply(tag)["error"])
            self.assertEndsAtOnce(lambda: caller.call("setStoppedByUser", "(b)", True))
            self.assertIn(tag, caller.replies)  # by now it is known whether anything was begun
            self.assertEqual(caller.reply(tag)["error"], None if is_accepted else CANCELLED)
            self.assertEqual(caller.end() if is_accepted else 1_000_001, 1_000_001)
        self.assertEndsAtOnce(self.begun({"copy": os.fsdecode(list_file)})[0].kill)
        caller = self.caller()
        tag = caller.send_erase({"copy": os.fsdecode(list_file)})
        self.assertEqual(self.caller().version(), ["2.0.0"])  # others are served meanwhile
        self.assertIsNone(caller.reply(tag)["error"])
        self.assertEqual(caller.end(), 500_000)
        self.assertGone()
        self.assertBounded(40)  # a worker has read it
        self.assertEqual(harness.listing(self.secret, times="mc"), before)
        self.assertAlive()

    def test_of_too_much_to_unlock(self):
        """The bus library goes on reading only while few bytes of calls wait for their reply."""
        caller = self.caller()
        for paths in (["/"] * (MEGABYTE // 8), ["/" + "a" * MEGABYTE], ["/" + "\u20ac" * 400_000]):
            self.assertEqual(caller.call("unlockItems", "(as)", paths)["error"], INVALID)
        self.assertEqual(caller.call("unlockItems", "(as)", ["", "%", "%00", "a", "/%2e%2e"])["values"], [[]])
        self.assertAlive()


class ACaller(Attack):
    def test_that_does_not_listen(self):
        self.keep_home_in_memory()
        silent = self.hold(permissions=[self.much("top")])
        other = self.caller()
        tag = other.send_erase(items_xml(permissions=[self.forbidden("other")]))
        self.assertIsNone(other.reply(tag)["error"])  # accepted, and waits for its turn
        self.assertEqual(other.end(timeout=100), 0)
        self.assertBounded(100)
        silent.order(do="answer", answers=True)  # as a program does that was put to sleep
        silent.wait(lambda: silent.told["interrupted"])
        self.assertEqual([silent.told["interrupted"], silent.left], [[False], []])

    def test_has_seven_commands_behind_the_one_that_is_carried_out(self):
        self.hold(permissions=[self.much("top")])
        callers = [self.caller() for _ in range(8)]
        for caller in callers:
            tag = caller.send_erase(items_xml(permissions=[self.secret_file]))
            caller.version()
        self.assertEqual(caller.reply(tag)["error"], BUSY)
        self.assertTrue(all(other.version() and tag not in other.replies for other in callers[:7]))

    def test_that_wants_no_replies(self):
        """Nothing limits how many such calls it sends."""
        self.assertAlive()
        service = self.bus.process_of()
        for flood in ({"count": 15_000}, {"count": 1_000, "descriptors": 16}):
            callers = [self.caller() for _ in range(4)]
            for caller in callers:
                caller.order(do="flood", **flood)
            for caller in callers:
                caller.wait(lambda: caller.has_flooded)
            other = self.caller()
            other.reply(other.send("getVersion"), timeout=8)
        self.assertBounded(30)
        self.assertEqual(self.bus.process_of(), service)
