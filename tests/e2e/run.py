# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs one end-to-end test of the current folder, or lists them all:
    run.py --list
    run.py MODULE.CLASS.METHOD        with KESTRIN=/path/to/kestrin; exit status 77: skipped
"""

import os
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
    sys.path.insert(0, os.getcwd())
    if sys.argv[1:] == ["--list"]:
        print("\n".join(all_tests(unittest.TestLoader().discover(".", "test_*.py"))))
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
