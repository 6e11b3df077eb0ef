"""Runs one system test in namespaces of its own; this is what the ctest entries system.* call.

usage: run.py --program PATH Module.Class.test_method   (or Module.Class, or Module)

Exit status: 0 passed, 1 failed, 77 could not run; then the last line says why, after "SKIPPED: ".
"""

import argparse
import os
import subprocess
import sys
import unittest

SKIPPED = 77
INSIDE = "LINKOMETRY_LAB"


def skip(reason):
    print(f"SKIPPED: {reason}", flush=True)
    sys.exit(SKIPPED)


def enter_namespaces():
    """Starts this script again in network and mount namespaces of its own; whoever is not root becomes it there."""
    as_root = [] if os.geteuid() == 0 else ["--user", "--map-root-user"]
    unshare = ["unshare", *as_root, "--mount", "--net"]
    # Everything that a lab will ask of the kernel, so that a lack of it is a reason to skip and not a failed test.
    attempt = subprocess.run([*unshare, "--uts", "sh", "-e", "-c",
                              "mount -t tmpfs tmpfs /run; hostname lab; ip netns add lab; ip link add lab type bridge; "
                              "ip link add lab0 type veth peer name lab1 netns lab"],
                             stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
    if attempt.returncode != 0:
        skip(f"network namespaces cannot be made here: {' '.join(attempt.stderr.split())}")
    os.environ[INSIDE] = "inside"
    os.execvp("unshare", [*unshare, sys.executable, os.path.abspath(__file__), *sys.argv[1:]])


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("test")
    arguments = parser.parse_args()
    if INSIDE not in os.environ:
        enter_namespaces()
    # `ip netns` keeps its names below /run, which is the machine's; this one is nobody else's.
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/run"], check=True)
    os.environ["LINKOMETRY_PROGRAM"] = os.path.abspath(arguments.program)

    sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
    suite = unittest.defaultTestLoader.loadTestsFromName(arguments.test)
    result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2).run(suite)
    if not result.wasSuccessful() or result.testsRun == 0:
        sys.exit(1)
    if result.skipped:
        skip("; ".join(sorted({reason for _, reason in result.skipped})))


if __name__ == "__main__":
    main()
