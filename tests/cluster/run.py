"""Runs the tests of the cluster on a Slurm of their own.

    run.py BUILD [TEST]...    such as run.py build/cluster Cluster, or one test of it
"""

import importlib.util
import os
import signal
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.realpath(__file__))))

from cluster.case import Case  # noqa: E402
from cluster.slurm import Slurm  # noqa: E402

MODULES = ("basics", "wrapper", "way_a", "way_b", "way_c", "documents")


class Result(unittest.TextTestResult):
    """Shows what the daemons said, once, when something fails."""

    shown = False

    def _show(self):
        if not self.shown:
            self.shown = True
            self.stream.writeln(Case.slurm.logs())

    def addFailure(self, test, err):
        super().addFailure(test, err)
        self._show()

    def addError(self, test, err):
        super().addError(test, err)
        self._show()


def tests(names):
    found = [name for name in (f"cluster.{module}" for module in MODULES)
             if importlib.util.find_spec(name)]
    loader = unittest.defaultTestLoader
    suite = loader.loadTestsFromNames(found)
    if not names:
        return suite
    wanted = unittest.TestSuite()
    for test in (test for module in suite for one in module for test in one):
        if any(name in (type(test).__name__, test.id().split(".", 2)[2]) for name in names):
            wanted.addTest(test)
    return wanted


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    Case.build = os.path.realpath(sys.argv[1])
    wanted = tests(sys.argv[2:])
    if wanted.countTestCases() == 0:
        sys.exit("script/test-cluster: no such test")
    with Slurm() as Case.slurm:
        result = unittest.TextTestRunner(verbosity=2, resultclass=Result).run(wanted)
    return 0 if result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
