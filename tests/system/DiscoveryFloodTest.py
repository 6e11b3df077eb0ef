"""Probes from thousands of senders that do not exist: they cost a bounded share of the device, and no longer than they last."""

import json
import os
import re
import signal
import time

import lab
import traffic

MOST = 150


def flood_path():
    return os.path.join(os.path.dirname(lab.program_path()), "tests", "system", "linkometry-flood")


class DiscoveryFloodTest(lab.SystemTest):
    """Takes the processor for itself."""

    def threads(self):
        with open(f"/proc/{self.program.process.pid}/status", encoding="ascii", errors="replace") as file:
            return int(re.search(r"^Threads:\s*(\d+)", file.read(), re.MULTILINE).group(1))

    def rows(self):
        """The addresses of the rows of the latest snapshot that is there whole: a later one has begun."""
        lines = self.program.output().split("\n")[:-1]
        rows = [json.loads(line) for line in lines[-3 * MOST - 3:]]
        times = list(dict.fromkeys(row["time"] for row in rows))
        return {row["address"] for row in rows if row["time"] in times[-2:-1]}

    def forged(self):
        return {address for address in self.rows() if address.startswith("11.")}

    def flood(self, count, seconds):
        result = self.intruder.run(flood_path(), "senders", self.device.address, str(traffic.PORT), str(count),
                                   str(seconds), within=120)
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_takes_bounded_room_and_gives_it_back(self):
        self.device, peer, self.intruder = self.lab.devices_named("pocket1", "pocket2", "pocket3")
        self.device.write_settings(
            {"frequency qty": "100", "frequency units": "milliseconds", "multicast selected": "no",
             "most discovered peers": str(MOST), "rest after silent seconds": "1"}, {"peer": peer.address})
        peer.configure("udp", "tcpip", period=100, peers={"device": self.device.address})
        peer.measure()
        self.program = self.device.measure(every=1)
        self.program.wait_for_row(peer.address, lambda row: row["tcpip"]["received"] > 0, within=30)
        before = self.threads()

        most_threads = most_rows = 0
        for _ in range(4):
            self.flood(5_000, 1)
            most_threads = max(most_threads, self.threads())
            most_rows = max(most_rows, len(self.forged()))
        self.assertLessEqual(most_threads, 3 * MOST + 16)
        self.assertLessEqual(most_rows, MOST)
        lab.eventually(lambda: len(self.forged()) == MOST, 30, lambda: f"a full table, not {len(self.forged())}", every=0.5)
        self.device.wait_for_log_line(r" \d+ more devices discovered$")

        # Nobody of them is ever heard again. Their rows stay, their probes end.
        lab.eventually(lambda: self.threads() <= before, 40, lambda: f"{before} threads, not {self.threads()}", every=0.5)
        self.assertEqual(len(self.forged()), MOST)
        self.assertIn(peer.address, self.rows())
        received = self.program.row(peer.address)["tcpip"]["received"]
        self.program.wait_for_row(peer.address, lambda row: row["tcpip"]["received"] > received + 5)
        # Two probes that a slow program reads as one piece count as one.
        self.assertLessEqual(self.program.row(peer.address)["tcpip"]["lost"], 3 if lab.program_is_sanitized() else 0)

        began = time.monotonic()
        self.program.signal(signal.SIGTERM)
        # A forged sender that was heard twice has a figure, and the pace decides how many were.
        self.assertIn(self.program.wait(), (0, 1))
        if not lab.program_is_sanitized():
            self.assertLess(time.monotonic() - began, 10)

    def test_of_strangers_beyond_the_networks_finds_nobody_where_only_neighbours_are_discovered(self):
        self.device, peer, self.intruder = self.lab.devices_named("pocket1", "pocket2", "pocket3")
        self.device.configure("udp", discover_only_neighbours="yes")
        self.program = self.device.measure()
        self.device.wait_until_listening()
        self.flood(200, 1)
        with traffic.UdpEnd(peer) as sender:
            sender.send(traffic.packet(1, "v|neighbour"), self.device.address)
        lab.eventually(lambda: peer.address in self.rows(), lab.PATIENCE, lambda: f"the neighbour, not {self.rows()}")
        self.assertEqual(self.rows(), {peer.address})
