"""The handheld's program on the network with others: it and they measure one another."""

import os
import re

import lab
import windows
from windows import START, STOP

ENOUGH = 8  # received of each kind, at two probes a second
SETTINGS = {"frequency qty": "500", "frequency units": "milliseconds"}
DESKTOP = os.path.join(os.path.dirname(__file__), "..", "..", "build", "windows-x64")
# What a thread of the handheld has: the program's header says it, and a device knows no other.
STACK = 65536


def has_enough(row):
    return all(windows.received_and_total(cell)[0] >= ENOUGH for cell in row[2:])


class HandheldGroupTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        lab.take_precedence()

    def start(self, name, **more):
        """(the device, its program, its main window); the test is running."""
        device = windows.WindowsDevice(self.lab.device(name), SETTINGS, **more)
        self.addCleanup(device.close)
        program = device.start()
        dialog = device.window(f"({name})")
        dialog.press(START)
        dialog.wait_until_enabled(STOP)
        return device, program, dialog

    def handheld(self, name):
        return self.start(name, handheld="full")

    def check_row(self, dialog, label):
        """All that was sent has arrived, but for a ping that waits: there is nothing in this network that loses any."""
        row = dialog.wait_for_row(label, has_enough, within=120)
        lost = [total - received for received, total in map(windows.received_and_total, row[2:])]
        self.assertEqual(lost[:-1], [0, 0, 0], row)
        self.assertIn(lost[-1], (0, 1), row)

    def end(self, device, program, dialog):
        dialog.press(STOP)
        dialog.wait_until_enabled(START)
        dialog.close()
        self.assertEqual(program.exit_status(), 0)
        self.check_cost(device, program)

    def check_cost(self, device, program):
        """Well below what a handheld has."""
        if not device.build.is_handheld:
            return
        journal = "\n".join(program.journal())
        deepest = int(re.search(r"THREADS \d+ instructions, deepest stack (\d+) of (\d+)", journal)[1])
        heap = int(re.search(r"HEAP .* at most (\d+) bytes at a time", journal)[1])
        self.assertLess(deepest, STACK // 3)
        self.assertLess(heap, 512 * 1024)

    def test_a_handheld_a_windows_device_and_a_linux_device_measure_one_another(self):
        if not os.path.exists(os.path.join(DESKTOP, "linkometry.exe")):
            self.skipTest("the program for 64-bit Windows is not built")
        handheld = self.handheld("pocket1")
        desktop = self.start("pocket2", build=DESKTOP)
        linux = self.lab.device("pocket3")
        linux.write_settings(SETTINGS)
        program = linux.measure()
        for dialog, others in ((handheld[2], ("10.77.0.2 (pocket2)", "10.77.0.3 (pocket3)")),
                               (desktop[2], ("10.77.0.1 (pocket1)", "10.77.0.3 (pocket3)"))):
            for label in others:
                self.check_row(dialog, label)
        for address, name in (("10.77.0.1", "pocket1"), ("10.77.0.2", "pocket2")):
            row = program.wait_for_row(address, lambda row: all(
                row[kind]["received"] >= ENOUGH for kind in lab.PROTOCOLS), within=120)
            self.assertEqual((row["name"], row["quality"]), (name, 100), row)
        handheld[0].picture("handheld-group")
        self.assertEqual(program.stop(), 0)
        self.end(*handheld)
        self.end(*desktop)

    def test_two_handhelds_measure_each_other(self):
        first, second = self.handheld("pocket1"), self.handheld("pocket2")
        self.check_row(first[2], "10.77.0.2 (pocket2)")
        self.check_row(second[2], "10.77.0.1 (pocket1)")
        self.end(*first)
        self.end(*second)
