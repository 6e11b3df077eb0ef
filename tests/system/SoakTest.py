"""tools/soak: it measures, and it finds a program that grows or a fault script that makes no sense."""

import os
import subprocess
import sys
import tempfile
import unittest

import lab

TOOL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools", "soak")
FAULTS = "3 unplug 1\n4 plug 1\n\n6 again  # and so on\n"


# The tool makes the network itself.
class SoakTest(unittest.TestCase):
    def soak(self, *options, faults=FAULTS, **environment):
        with tempfile.NamedTemporaryFile("w", encoding="utf-8", suffix=".txt") as file:
            file.write(faults)
            file.flush()
            command = (sys.executable, TOOL, "-faults", file.name, *options, lab.program_path())
            return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False,
                                  env={**os.environ, **environment})

    def test_program_neither_grows_nor_loses_count_while_a_cable_is_pulled(self):
        result = self.soak("-minutes", "0.25", "-period", "20", "-peers", "2")
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        self.assertRegex(result.stdout, r"pings        sent \d{4} = answered \d{3,4} \+ lost \d{2,3} \+ under way [0-4]\n")
        self.assertRegex(result.stdout, r"datagrams    sent \d{4} = counted by the peers \d{4} \+ under way [0-4]\n")

    def test_program_that_keeps_memory_and_descriptors_is_found(self):
        library = os.path.join(os.path.dirname(lab.program_path()), "tests", "system", "liblinkometry-leak.so")
        result = self.soak("-minutes", "0.2", "-period", "5", "-peers", "2", LD_PRELOAD=library)
        self.assertEqual(result.returncode, 1, result.stdout + result.stderr)
        self.assertRegex(result.stdout, r"kib .* second half \+\d{3,}\.\d\n")
        self.assertRegex(result.stdout, r"descriptors .* second half \+\d{2,}\.\d\n")

    def test_fault_that_makes_no_sense_is_named(self):
        for line in ("3 unplug 3", "3 unplug", "x plug 1", "3 burn 1", "0 again"):
            with self.subTest(line):
                result = self.soak("-peers", "2", faults="1 plug 1\n" + line + "\n")
                self.assertEqual((result.returncode, result.stderr), (2, f"soak: line 2 is no fault of 2 peers: {line}\n"))
        result = self.soak("-peers", "2", faults="1 plug 1\n")
        self.assertEqual((result.returncode, result.stderr), (2, "soak: no line says when the round begins again\n"))
