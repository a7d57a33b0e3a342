# SPDX-License-Identifier: GPL-3.0-or-later
"""Nothing outside the erased entries changes, whatever the trash holds."""

import contextlib
import os
import threading

from harness import OTHER_USER, EndToEndTest, TrashCan, exchange, listing, run_as_root


class SafetyTest(EndToEndTest):
    def setUp(self):
        super().setUp()
        self.before = listing(self.outside)

    def check_outside(self):
        self.assertEqual(listing(self.outside), self.before)

    def out(self, name):
        return os.path.join(self.outside, name)

    def test_links_and_pipes_go_and_what_is_behind_them_stays(self):
        top = self.trash.tree("tree")
        os.mkfifo(os.path.join(top, b"fifo"))  # who opens it waits
        os.mkfifo(self.trash.path("fifo"))
        for number, target in enumerate([b"file", b"folder", b"folder/deep", b"link", b"absent", b""]):
            os.symlink(self.out(target), os.path.join(top, b"link%d" % number))
            os.symlink(self.out(target), self.trash.path(f"link{number}"))
        os.symlink(b"../../../../..", self.trash.path("upwards"))
        os.symlink(b"loop", self.trash.path("loop"))
        os.link(self.out(b"file"), self.trash.path("hard"))
        os.chmod(self.out(b"file"), 0o400)
        self.before = listing(self.outside)
        self.succeed("empty", "--yes")
        self.assertEqual(self.trash.names(), [])
        self.check_outside()

    def test_mounts_inside_an_entry_stay_untouched(self):
        top = self.trash.tree("tree", ["a"])
        points = [b"bind", b"memory", b"deep/down/bind"]
        for point in points:
            os.makedirs(os.path.join(top, point))
        run_as_root("mount", "--bind", self.outside, os.path.join(top, b"bind"))
        run_as_root("mount", "--bind", self.out(b"folder"), os.path.join(top, b"deep/down/bind"))
        self.tmpfs(os.path.join(top, b"memory"))
        with open(os.path.join(top, b"memory/kept"), "wb") as file:
            file.write(b"kept")
        self.trash.file("file")
        os.mkdir(self.trash.path("folder"))
        for name in (b"file", b"folder"):
            run_as_root("mount", "--bind", self.out(name), self.trash.path(name))
        mounted = listing(os.path.join(top, b"memory"))

        forecast = self.succeed("empty", "--dry-run", "--json", status=1)
        run = self.succeed("empty", "--yes", "--json", status=1)
        self.assertCountEqual(forecast.json["notErased"], run.json["notErased"])
        for point in points:
            self.assertStayed(run, os.path.join(top, point), "mount-point")
        for name in ("file", "folder"):
            self.assertStayed(run, self.trash.path(name), "mount-point")
        self.assertEqual(len(run.json["notErased"]), 5)
        self.assertEqual(sorted(os.listdir(top)), [b"bind", b"deep", b"memory"])
        self.assertEqual(listing(os.path.join(top, b"memory")), mounted)
        self.assertEqual(self.trash.records(), [b"file", b"tree"])
        self.check_outside()

    def empty_while_swapping(self, pairs):
        """The two of every pair change places all the while; what is outside stays."""
        swaps, end = [0], threading.Event()

        def swap():
            while not end.is_set():
                for one, other in pairs:
                    swaps[0] += exchange(one, other)

        swapper = threading.Thread(target=swap)
        swapper.start()
        while swaps[0] < 100:
            pass
        try:
            run = self.run_program("empty", "--yes", "--json")
        finally:
            end.set()
            swapper.join()
        self.assertIn(run.status, (0, 1), run)
        self.assertGreater(swaps[0], 300)
        self.check_outside()

    def test_entries_and_folders_swapped_for_links_while_erasing(self):
        pairs = []
        for number in range(40):
            top = self.trash.tree(f"tree{number}", [f"sub/{inner}/{leaf}" for inner in range(8)
                                                    for leaf in range(12)])
            os.symlink(self.outside, os.path.join(top, b"link"))
            pairs.append((os.path.join(top, b"sub"), os.path.join(top, b"link")))
        for number in range(60):
            link = os.path.join(self.home, b"link%d" % number)
            os.symlink(self.outside, link)
            pairs.append((self.trash.tree(f"top{number}", [f"{leaf}" for leaf in range(50)]), link))
        self.empty_while_swapping(pairs)
        self.succeed("empty", "--yes")
        self.assertEqual(self.trash.names(), [])
        self.check_outside()

    def test_entries_that_vanish_meanwhile_count_as_gone(self):
        for number in range(300):
            self.trash.tree(f"tree{number}", ["a", "b/c"])
        begun = threading.Event()

        def vanish():
            begun.set()
            for number in reversed(range(300)):
                for name in ("b/c", "a"):
                    with contextlib.suppress(OSError):
                        os.unlink(self.trash.path(f"tree{number}/{name}"))

        other = threading.Thread(target=vanish)
        other.start()
        begun.wait()
        run = self.run_program("empty", "--yes", "--json")
        other.join()
        self.assertEqual(run.status, 0, run)
        self.assertGone()
        self.check_outside()


class TrashFolderTest(EndToEndTest):
    """A trash folder must be a real folder of the user's own, at each level."""

    def setUp(self):
        super().setUp()
        self.bait = TrashCan(os.path.join(self.outside, b"bait"))
        self.bait.file("precious")
        self.before = listing(self.outside)

    def check_ignored(self):
        for command in ("list", "show"):
            run = self.run_program(command, "--json")
            self.assertNotRegex(run.out, b'precious|"count": ?1', run)
        self.run_program("empty", "--yes")
        self.assertEqual(listing(self.outside), self.before)

    def test_info_folder_is_a_link(self):
        os.rmdir(self.trash.info)
        os.symlink(self.bait.info, self.trash.info)
        with open(self.trash.path("precious"), "wb") as file:
            file.write(b"of the trash")
        self.succeed("empty", "--yes")
        self.assertEqual(os.listdir(self.trash.files), [])
        self.assertEqual(listing(self.outside), self.before)

    def test_volume_trash_that_is_none(self):
        volume = self.ext4("Disk")
        for make in (self.link_own_trash, self.link_own_files, self.link_shared, self.link_shared_own,
                     self.share_without_sticky_bit, self.give_to_another_user):
            with self.subTest(make.__name__):
                run_as_root("sh", "-c", 'rm -rf "$1"/.Trash*', "sh", volume)
                self.baits = []
                make(volume)
                self.check_ignored()
                self.assertEqual([can.names() for can in self.baits], [[b"precious"]] * len(self.baits))

    def link_own_trash(self, volume):
        os.symlink(self.bait.folder, os.path.join(volume, b".Trash-61234"))

    def link_own_files(self, volume):
        os.makedirs(os.path.join(volume, b".Trash-61234/info"))
        os.symlink(self.bait.files, os.path.join(volume, b".Trash-61234/files"))

    def link_shared(self, volume):
        shared = TrashCan(os.path.join(self.home, b"shared/61234")).folder
        os.chmod(os.path.dirname(shared), 0o1777)
        os.symlink(os.path.dirname(shared), os.path.join(volume, b".Trash"))
        self.put_bait(volume, b".Trash/61234")

    def link_shared_own(self, volume):
        run_as_root("mkdir", "-m", "1777", os.path.join(volume, b".Trash"))
        os.symlink(self.bait.folder, os.path.join(volume, b".Trash/61234"))

    def share_without_sticky_bit(self, volume):
        self.put_bait(volume, b".Trash/61234")
        os.chmod(os.path.join(volume, b".Trash"), 0o777)
        self.assertIn(b"sticky bit", self.succeed("empty", "--yes", status=1).err)

    def give_to_another_user(self, volume):
        for path, mode in ((b".Trash-61234", "a+rwX"), (b".Trash-61236", "go-rwx")):
            can = self.put_bait(volume, path)
            run_as_root("chmod", "-R", mode, can.folder)
            run_as_root("chown", "-R", f"{OTHER_USER}:{OTHER_USER}", can.folder)

    def put_bait(self, volume, path):
        can = TrashCan(os.path.join(volume, path))
        can.file("precious")
        self.baits.append(can)
        return can


class ListingTest(EndToEndTest):
    """Looking changes nothing on disk."""

    def test_listing_showing_and_dry_run(self):
        volume = self.ext4("Disk")
        os.chmod(volume, 0o777)
        can = self.volume_trash(volume)
        can.file("entry")
        self.trash.tree("tree")
        os.chmod(self.trash.tree("closed"), 0)
        with open(os.path.join(self.trash.folder, b"directorysizes"), "wb") as file:
            file.write(b"10 20 stale\n")
        self.trash.record("orphan")
        os.utime(self.trash.record_path("orphan"), (0, 0))
        self.ext4("Untouched")
        before = [listing(place, "mc") for place in (self.home, b"/media")]
        for command in (["list"], ["list", "--json"], ["show"], ["show", "/media/Disk"],
                        ["show", "--sort", "size"], ["empty", "--dry-run"],
                        ["empty", "--dry-run", "--yes"], ["empty", "--dry-run", "--json"],
                        ["erase", "--dry-run", self.trash.path("tree")], ["--help"]):
            self.succeed(*command)
            self.assertEqual([listing(place, "mc") for place in (self.home, b"/media")], before, command)
        self.assertIs(self.succeed("empty", "--dry-run", "--json").json["dryRun"], True)

    def test_access_times_stay(self):
        can = self.volume_trash(self.ext4("Disk"))
        for trash in (can, self.trash):
            trash.tree("tree")
            trash.file("file")
        paths = [os.path.join(folder, name) for top in (self.home, can.folder)
                 for folder, folders, files in os.walk(top) for name in folders + files]
        for path in paths:
            os.utime(path, (1, 2))
        for command in (["list"], ["show", "--sort=date"], ["show", "Disk"], ["empty", "--dry-run"],
                        ["erase", "--dry-run", self.trash.path("tree")]):
            self.succeed(*command)
            read = [path for path in paths if os.lstat(path).st_atime != 1]
            self.assertEqual(read, [], command)
