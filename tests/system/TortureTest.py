"""What the program does when the system refuses it something, and that tools/torture finds a program that does not bear it.

tools/torture itself tries every call; here are the laws that are known to matter, and its self-test.
"""

import os
import signal
import subprocess
import sys
import time
import unittest.mock

import lab
import screen

TOOL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools", "torture")
NO_MEMORY = "linkometry: there is no memory left, the program ends\n"
RECORD_BYTES = 1 << 20  # at least what the library writes


def built(name):
    return os.path.join(os.path.dirname(lab.program_path()), "tests", "system", name)


class RefusalTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device = self.lab.device("pocket1")
        self.device.configure("udp", peers={"dead": "10.77.0.99"})

    def refusing(self, kind, call, for_good=False, function=None):
        """For Device.start: that call of the program, or of one function, fails, or all from it on."""
        record = os.path.join(self.device.folder, "record")
        with open(record, "wb") as file:
            file.truncate(RECORD_BYTES)
        chosen = () if function is None else (f"TORTURE_FUNCTION={function}",)
        return ("env", f"LD_PRELOAD={built('liblinkometry-torture.so')}", f"TORTURE_RECORD={record}",
                f"TORTURE_KIND={kind}", f"TORTURE_CALL={call}", f"TORTURE_FOR_GOOD={int(for_good)}", *chosen)

    def test_refused_memory_ends_the_program_with_one_line_and_a_status_of_its_own(self):
        for call in (2, 100, 700):
            for for_good in (False, True):
                with self.subTest(call=call, for_good=for_good):
                    program = self.device.start("-headless", "-duration", "2",
                                                through=self.refusing("memory", call, for_good))
                    self.assertEqual((program.wait(), program.errors()[-len(NO_MEMORY):]), (254, NO_MEMORY))
                    self.assertEqual(program.errors().count("memory"), 1)

    def test_refused_memory_ends_a_report_likewise(self):
        program = self.device.start("-getinfo", "report", through=self.refusing("memory", 300))
        self.assertEqual((program.wait(), program.errors()), (254, NO_MEMORY))

    def test_poll_that_is_refused_for_good_does_not_keep_the_program_from_ending(self):
        for call in (1, 2, 5):
            with self.subTest(call=call):
                program = self.device.measure(through=self.refusing("calls", call, for_good=True, function="poll"))
                self.device.wait_for_log_line("Created VTR_CUdpConnector")
                before = program.processor_seconds()
                time.sleep(1)
                self.assertLess(program.processor_seconds() - before, 0.3)
                self.assertEqual(program.stop(within=20), 1)

    def test_poll_that_is_refused_for_good_keeps_a_program_with_a_screen_neither_busy_nor_from_ending(self):
        script = os.path.join(self.device.folder, "refusing")
        words = (*self.refusing("calls", 1, for_good=True, function="poll"), lab.program_path())
        with open(script, "w", encoding="utf-8") as file:
            file.write(f'#!/bin/sh\nexec {" ".join(words)} "$@"\n')
        os.chmod(script, 0o755)
        with unittest.mock.patch.dict(os.environ, LINKOMETRY_PROGRAM=script):
            window = screen.Screen(self.device)
        self.addCleanup(window.close)
        window.wait_until_ready()
        before = window.processor_seconds()
        time.sleep(1)
        self.assertLess(window.processor_seconds() - before, 0.3)
        window.signal(signal.SIGTERM)
        self.assertEqual(window.wait(), 0)
        self.assertEqual(window.terminal_after(), window.terminal_before())

    def test_program_does_not_start_without_what_wakes_it(self):
        # The first descriptor belongs to the raw socket for pings, and a program without pings is of use.
        for call in range(2, 6):
            with self.subTest(call=call):
                program = self.device.start("-headless", through=self.refusing("calls", call, function="eventfd"))
                self.assertEqual((program.wait(), program.errors()),
                                 (4, "linkometry: cannot start: the system refuses a thread or a descriptor\n"))

    def test_program_does_not_start_without_a_source_of_signals(self):
        for call in (1, 2):
            with self.subTest(call=call):
                program = self.device.start("-headless", through=self.refusing("calls", call, function="signalfd"))
                self.assertEqual((program.wait(), program.errors()),
                                 (4, "linkometry: cannot start: the system refuses a thread or a descriptor\n"))


class ToolTest(lab.SystemTest):
    def test_unchecked_memory_and_an_endless_wait_are_found(self):
        environment = {name: value for name, value in os.environ.items() if name != "LINKOMETRY_LAB"}
        answer = subprocess.run(
            [sys.executable, TOOL, "-jobs", "1", "-scene", "report", "-kind", "memory", "-kind", "calls", "-library",
             built("liblinkometry-torture.so"), built("linkometry-torture-sample")],
            env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        self.assertEqual(answer.returncode, 1, answer.stdout)
        self.assertRegex(answer.stdout, r"crash: signal 11\n +after malloc in main ")
        self.assertRegex(answer.stdout, r"hang: .*\n +after open in main ")
        self.assertIn("2 crash, 1 hang, 0 missing words, 0 told again and again, 0 wrong state", answer.stdout)
