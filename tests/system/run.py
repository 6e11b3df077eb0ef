"""Runs one system test in namespaces of its own; this is what the ctest entries system.* call.

usage: run.py --program PATH Module.Class.test_method   (or Module.Class, or Module)

Exit status: 0 passed, 1 failed, 77 could not run; then the last line says why, after "SKIPPED: ".
"""

import argparse
import os
import sys
import unittest

import lab

SKIPPED = 77


def skip(reason):
    print(f"SKIPPED: {reason}", flush=True)
    sys.exit(SKIPPED)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--windows-program")
    parser.add_argument("test")
    arguments = parser.parse_args()
    try:
        lab.enter_namespaces()
    except lab.NamespacesRefused as refused:
        skip(str(refused))
    os.environ["LINKOMETRY_PROGRAM"] = os.path.abspath(arguments.program)
    if arguments.windows_program:
        os.environ["LINKOMETRY_WINDOWS_PROGRAM"] = os.path.abspath(arguments.windows_program)

    suite = unittest.defaultTestLoader.loadTestsFromName(arguments.test)
    result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2).run(suite)
    if not result.wasSuccessful() or result.testsRun == 0:
        sys.exit(1)
    if result.skipped:
        skip("; ".join(sorted({reason for _, reason in result.skipped})))


if __name__ == "__main__":
    main()
