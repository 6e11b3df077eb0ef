"""What tools/test-summary makes of ctest's result files."""

import os
import subprocess
import tempfile
import unittest
from xml.sax.saxutils import escape

TOOL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools", "test-summary")

# What GoogleTest prints, shortened.
GOOD_SUITE = """\
[ RUN      ] Clock.Ticks
[       OK ] Clock.Ticks (0 ms)
[ RUN      ] Clock.Strikes
[       OK ] Clock.Strikes (0 ms)
[  PASSED  ] 2 tests.
"""
MIXED_SUITE = """\
[ RUN      ] Lamp.Burns
[       OK ] Lamp.Burns (0 ms)
[ RUN      ] Lamp.Dims
LampTest.cpp:4: Skipped
no dimmer here

[  SKIPPED ] Lamp.Dims (0 ms)
[ RUN      ] Lamp.Flickers/0
LampTest.cpp:5: Failure
[  FAILED  ] Lamp.Flickers/0, where GetParam() = 7 (1 ms)
[ RUN      ] Lamp.Breaks
[  FAILED  ] Lamp.Breaks (1 ms)
[  PASSED  ] 1 test.
[  SKIPPED ] 1 test, listed below:
[  SKIPPED ] Lamp.Dims
[  FAILED  ] 2 tests, listed below:
[  FAILED  ] Lamp.Flickers/0, where GetParam() = 7
[  FAILED  ] Lamp.Breaks
"""
CRASHED_SUITE = """\
[ RUN      ] Bell.Rings
[       OK ] Bell.Rings (0 ms)
[ RUN      ] Bell.Falls
"""


def case(name, status, output=""):
    inner = "<skipped/>" if status == "notrun" else ""
    return f'<testcase name="{name}" status="{status}">{inner}<system-out>{escape(output)}</system-out></testcase>'


class TestSummaryTest(unittest.TestCase):
    def summary(self, *cases, arguments=()):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "linux", "results.xml")
            os.mkdir(os.path.dirname(path))
            with open(path, "w", encoding="utf-8") as file:
                file.write(f"<testsuite>{''.join(cases)}</testsuite>")
            result = subprocess.run([TOOL, *arguments, path], stdout=subprocess.PIPE, text=True, check=False)
        return result.returncode, result.stdout.splitlines()

    def test_an_entry_that_is_one_test_counts_as_one(self):
        self.assertEqual(self.summary(case("Clock.Ticks", "run", GOOD_SUITE), case("rule.plain", "run")),
                         (0, ["2 passed, 0 failed, 0 skipped"]))

    def test_an_entry_that_is_a_suite_counts_as_its_tests(self):
        self.assertEqual(self.summary(case("Clock", "run", GOOD_SUITE.replace("\n", "\r\n"))),
                         (0, ["2 passed, 0 failed, 0 skipped"]))

    def test_an_entry_without_a_test_program_counts_as_one(self):
        self.assertEqual(self.summary(case("wine-files", "run")), (0, ["1 passed, 0 failed, 0 skipped"]))

    def test_what_failed_and_what_was_skipped_in_a_suite_is_named(self):
        self.assertEqual(self.summary(case("Lamp", "fail", MIXED_SUITE)), (1, [
            "Not run (no dimmer here): 1 tests", "    linux: Lamp.Dims", "Failed:", "    linux: Lamp.Flickers/0",
            "    linux: Lamp.Breaks", "1 passed, 2 failed, 1 skipped"]))

    def test_a_suite_that_ended_early_failed(self):
        self.assertEqual(self.summary(case("Bell", "fail", CRASHED_SUITE)),
                         (1, ["Failed:", "    linux: Bell", "0 passed, 1 failed, 0 skipped"]))

    def test_a_system_test_that_must_run_and_cannot_has_failed(self):
        cases = case("system.A.B.c", "notrun", "SKIPPED: no namespaces\n")
        self.assertEqual(self.summary(cases), (0, ["Not run (no namespaces): 1 tests", "    linux: system.A.B.c",
                                                   "0 passed, 0 failed, 1 skipped"]))
        self.assertEqual(self.summary(cases, arguments=["--system-tests-must-run"]),
                         (1, ["Failed:", "    linux: system.A.B.c could not run: no namespaces",
                              "0 passed, 1 failed, 0 skipped"]))

    def test_a_result_file_that_is_not_there_is_a_failure(self):
        result = subprocess.run([TOOL, "linux/results.xml"], stdout=subprocess.PIPE, text=True, check=False)
        self.assertEqual((result.returncode, result.stdout),
                         (1, "Failed:\n    linux: no test ran\n0 passed, 1 failed, 0 skipped\n"))


if __name__ == "__main__":
    unittest.main()
