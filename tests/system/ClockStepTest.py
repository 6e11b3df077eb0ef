"""The device's time is set while a test runs."""

import datetime
import os
import statistics
import struct
import time

import lab
import traffic

HOUR = 3600
PERIOD = 0.2


def library_path():
    return os.path.join(os.path.dirname(lab.program_path()), "tests", "system", "liblinkometry-clock-steps.so")


class ClockStepTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")
        self.device.configure("udp", "multicast", "ping", period=int(PERIOD * 1000), peers={"peer": self.peer.address})
        self.step_path = os.path.join(self.device.folder, "clock-step")
        self.set_clock(0)
        self.program = self.device.measure(
            through=("env", "LD_PRELOAD=" + library_path(), "LINKOMETRY_CLOCK_STEP=" + self.step_path))

    def set_clock(self, seconds):
        """The device's time from now on: so much later than the true one."""
        mode = "r+b" if os.path.exists(self.step_path) else "wb"
        with open(self.step_path, mode) as file:
            file.write(struct.pack("q", seconds))

    def shown_clock(self):
        """How much later than the true time the rows say that it is, in whole hours."""
        row = self.program.row(self.peer.address)
        shown = datetime.datetime.fromisoformat(row["time"].replace("Z", "+00:00")) if row else None
        return round((shown.timestamp() - time.time()) / HOUR) if row else None

    def check_pace(self, receiver):
        """Probes come one period apart, neither in a burst nor after a pause."""
        arrivals = [datagram.time for datagram in receiver.receive_many(10, within=20)]
        gaps = [later - earlier for earlier, later in zip(arrivals, arrivals[1:])]
        # A period, and what a busy machine adds; one that sent without a pause would be a hundred times faster.
        self.assertGreater(statistics.median(gaps), 0.9 * PERIOD, gaps)
        self.assertLess(statistics.median(gaps), 3 * PERIOD, gaps)

    def test_neither_an_hour_forward_nor_two_back_move_a_probe(self):
        with traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
            receiver.receive_many(1, within=20)
            self.check_pace(receiver)
            for hours in (1, -1):
                with self.subTest(hours=hours):
                    self.set_clock(hours * HOUR)
                    pings = self.program.row(self.peer.address)["ping"]["total"]
                    self.check_pace(receiver)
                    # The rows are printed as often as before, and with the time that the device has now.
                    lab.eventually(lambda: self.shown_clock() == hours, 10, lambda: f"{hours} h, not {self.shown_clock()}")
                    row = self.program.wait_for_row(self.peer.address, lambda row: row["ping"]["total"] >= pings + 5)
                    self.assertLess(row["ping"]["total"], pings + 100)
                    self.assertEqual(row["ping"]["lost"], 0)
        begin = time.monotonic()
        self.assertEqual(self.program.stop(), 0)
        self.assertLess(time.monotonic() - begin, 10)

    def test_a_line_of_the_log_bears_the_time_that_the_device_has_then(self):
        self.program.wait_for_row(self.peer.address, lambda row: row["ping"]["total"] > 0)
        self.set_clock(5 * HOUR)
        self.program.stop()
        lines = self.device.log_lines()
        hours = [int(line[:2]) for line in lines if line[2:3] == ":"]
        self.assertEqual((hours[-1] - hours[0]) % 24 in (5, 6), True, (lines[0], lines[-1]))
