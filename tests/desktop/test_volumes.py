# SPDX-License-Identifier: GPL-3.0-or-later
"""Volumes that come, go and hang while the program shows or erases them."""

import os

from desktop import EMPTY_ALL, QUIT, DesktopTest
from harness import USER, run_as_root


class VolumeTest(DesktopTest):
    def disk(self, name, leaves=4):
        point = self.ext4(name)
        self.volume_trash(point).tree("tree", [f"{leaf}" for leaf in range(leaves)])
        return point

    def unmount(self, name, point):
        """Its row goes with it."""
        run_as_root("umount", "-l", point)
        self.wait(lambda: self.disks() and not self.row(name), f"the row of {name} to go")

    def test_rows_come_and_go_in_the_open_menu(self):
        self.trash.tree("tree")
        self.disk("One")
        self.start_program()
        self.open_disks()
        self.wait_for_row("One", "5 items")
        two = self.disk("Two", leaves=7)
        self.wait_for_row("Two", "8 items")
        self.unmount("Two", two)
        slow = self.gated("Slow")
        slow.shut()
        slow.trash.tree("tree", ["slow/a"])
        self.wait_for_row("Slow", "Counting")
        self.unmount("Slow", slow.point)
        slow.open()
        self.wait_for_row("One", "5 items")
        self.wait_for_row("File System", "4 items")
        self.close_menus()
        self.choose(QUIT)
        self.assertEqual(self.wait_for_end(), 0)

    def test_unmount_while_its_disk_is_erased(self):
        """What is left of the erase ends with an error, not with the program."""
        self.trash.tree("tree")
        slow = self.gated("Slow")
        slow.trash.tree("tree", ["slow/a", "slow/b"])
        self.start_program()
        self.open_disks()
        self.click(self.wait_for_row("Slow", "4 items"))
        question = self.wait_for_window("Empty the trash of “Slow”")
        slow.shut()
        self.press(question, "Empty Trash")
        self.wait(self.progress, "the progress")
        run_as_root("umount", "-l", slow.point)
        slow.end()
        self.wait(lambda: not self.progress(), "the end of the erase")
        for window in self.app.children:
            self.press(window, "OK")
        self.wait(lambda: not self.app.children, "the reports to close")
        self.assertEqual(self.trash.names(), [b"tree"])
        self.open_menu()
        self.assertRuns()

    def test_hanging_volume(self):
        """It blocks neither the menu nor the other rows nor the end. It is shown, beside disks whose trash may
        not be used, and erased as little as they are."""
        self.trash.tree("tree")
        one = self.volume_trash(self.disk("One"))
        os.symlink(one.folder, os.path.join(self.ext4("Bad"), b".Trash-%d" % USER))
        run_as_root("mount", "-o", "remount,ro", self.ext4("Fixed"))
        hanging = self.gated("Hanging")
        hanging.trash.tree("tree")
        hanging.shut(b"all")
        self.start_program()
        self.assertTrue(self.open_menu().find("menu item", EMPTY_ALL))
        self.close_menus()
        self.open_disks()
        self.wait_for_row("One", "5 items")
        self.wait_for_row("File System", "4 items")
        self.wait_for_row("Bad", "Cannot be used: the trash folder is a link")
        self.wait_for_row("Fixed", "Read-only volume")
        self.wait_for_row("Hanging", "Not answering$")
        hanging.open()
        self.wait_for_row("Hanging", "Hanging: 4 items")
        hanging.shut(b"all")
        self.close_menus()
        self.open_disks()
        self.wait_for_row("One", "5 items")
        self.wait_for_row("Hanging", r"Not answering \(4 items")
        self.close_menus()
        question = self.ask_to_empty_all("“Hanging” is left out: it is not answering.")
        self.press(question, "Empty Trash")
        self.wait(lambda: not self.trash.names() and not one.names(), "the others to be emptied")
        terminal = self.start("empty", "--yes", "Hanging")
        self.assertIn(b"does not answer", terminal.stderr.readline())
        self.choose(QUIT)
        # The kernel keeps a process that waits for a volume, but it must be over for the user.
        self.wait(lambda: self.kestrin.poll() is not None or not self.icon_place(), "the icon to go", 5)
        hanging.open()
        self.assertEqual(self.wait_for_end(timeout=5), 0)
        self.assertEqual(self.finish(terminal).status, 1)
        self.assertEqual(hanging.trash.names(), [b"tree"])

    def test_volume_that_hangs_while_it_is_erased(self):
        """Quitting waits for it only for seconds, and the program can be started again."""
        hanging = self.gated("Hanging")
        hanging.trash.tree("tree", ["slow/a"])
        self.start_program()
        question = self.ask_to_empty_all("^3 items")
        hanging.shut(b"all")
        self.press(question, "Empty Trash")
        self.wait(self.progress, "the progress")
        self.choose(QUIT)
        self.wait(lambda: not self.icon_place(), "the icon to go", 10)
        first = self.kestrin
        self.kestrin = self.launch()
        self.wait(self.icon_place, "the icon of the second start")
        hanging.open()
        self.wait_for_end(first)
        self.assertEqual(hanging.trash.names(), [b"tree"])
        self.assertRuns()
