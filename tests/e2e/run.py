# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs one end-to-end test, or lists them all:
    run.py --list
    run.py MODULE.CLASS.METHOD        with KESTRIN=/path/to/kestrin; exit status 77: skipped
"""

import pathlib
import sys
import unittest

import harness


def all_tests(suite):
    for test in suite:
        if isinstance(test, unittest.TestSuite):
            yield from all_tests(test)
        else:
            yield test.id()


def main():
    if sys.argv[1:] == ["--list"]:
        folder = pathlib.Path(__file__).parent
        print("\n".join(all_tests(unittest.TestLoader().discover(folder, "test_*.py"))))
        return 0
    try:
        harness.enter_private_world()
    except unittest.SkipTest as reason:
        print(f"skipped: {reason}")
        return 77
    suite = unittest.TestLoader().loadTestsFromName(sys.argv[1])
    result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2).run(suite)
    if not result.wasSuccessful():
        return 1
    return 77 if result.skipped else 0


sys.exit(main())
