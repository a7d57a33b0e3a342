# SPDX-License-Identifier: GPL-3.0-or-later
"""What the helper does for a program that is authorised."""

import os

from helpertest import HelperTest


class ACommand(HelperTest):
    def test_erases_what_the_user_cannot(self):
        locked = self.locked(self.trash.file("locked", b"12345"))
        forbidden = self.forbidden("forbidden")
        kept = self.trash.file("kept")
        caller = self.caller()
        self.assertEqual(caller.erase(unlock=[locked], permissions=[forbidden], size=100, count=7), 0)
        self.assertEqual(self.trash.names(), [b"kept"])
        self.assertEqual(self.trash.records(), [b"kept"])
        self.assertEqual(sorted(caller.paths()), sorted(
            [locked, forbidden, *(os.path.join(forbidden, name) for name in (b"a", b"b", b"b/c"))]))
        self.assertEqual([item[0] for item in caller.items], [8, 9, 10, 11, 12])
        self.assertEqual(caller.items[-1][1], 115)
        self.assertTrue(os.path.exists(kept))
