#!/usr/bin/python3
"""What tools/windows-ce/make-wine-root says where 32-bit Wine cannot be had: a stage of ./dev reads it."""

import os
import subprocess
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SCRIPT = os.path.join(ROOT, "tools", "windows-ce", "make-wine-root")
CANNOT_RUN = 77


def is_debian():
    with open("/etc/os-release", encoding="utf-8") as file:
        return "ID=debian" in file.read().splitlines()


@unittest.skipUnless(is_debian(), "on another system than Debian the script says that at once")
class WineRootTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.tools = os.path.join(temporary.name, "tools")
        self.folder = os.path.join(temporary.name, "wine")
        os.mkdir(self.tools)

    def give(self, name, script):
        """A tool that stands before the machine's own of that name."""
        path = os.path.join(self.tools, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\n" + script)
        os.chmod(path, 0o755)

    def make(self):
        environment = dict(os.environ, PATH=self.tools + ":" + os.environ["PATH"])
        return subprocess.run([SCRIPT, self.folder], env=environment, capture_output=True, text=True, check=False)

    def check_skipped(self, why):
        result = self.make()
        self.assertEqual(result.returncode, CANNOT_RUN, result)
        reasons = [line for line in result.stdout.splitlines() if line.startswith("SKIPPED: ")]
        self.assertEqual(len(reasons), 1, result)
        self.assertIn(why, reasons[0])
        self.assertFalse(os.path.exists(os.path.join(self.folder, "key")))

    def test_a_mirror_out_of_reach_is_a_reason_not_to_run(self):
        self.give("id", "echo 0\n")
        self.give("debootstrap", "echo no such mirror >&2\nexit 1\n")
        self.check_skipped("debootstrap --arch=i386")
        with open(os.path.join(self.folder, "make-wine-root.log"), encoding="utf-8") as file:
            self.assertIn("no such mirror", file.read())

    def test_packages_that_cannot_be_installed_are_a_reason_not_to_run(self):
        self.give("id", "echo 0\n")
        self.give("debootstrap", "exit 0\n")
        self.give("unshare", "exit 1\n")
        self.check_skipped("apt-get update")

    def test_a_user_other_than_root_is_a_reason_not_to_run(self):
        self.give("id", "echo 1000\n")
        self.give("debootstrap", "exit 0\n")
        self.check_skipped("only root")

    def test_a_later_attempt_begins_anew(self):
        self.give("id", "echo 0\n")
        self.give("debootstrap", 'mkdir -p "$4" && echo half >"$4/half" && exit 1\n')
        self.make()
        self.assertTrue(os.path.exists(os.path.join(self.folder, "root", "half")))
        self.give("debootstrap", '[ ! -e "$4" ] || exit 1\necho second attempt >&2\nexit 1\n')
        self.make()
        with open(os.path.join(self.folder, "make-wine-root.log"), encoding="utf-8") as file:
            self.assertIn("second attempt", file.read())


if __name__ == "__main__":
    unittest.main()
