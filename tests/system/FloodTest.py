"""A million packets that must not count, over all three transports: no row, no log line, no memory."""

import os
import re

import lab
import traffic


def flood_path():
    return os.path.join(os.path.dirname(lab.program_path()), "tests", "system", "linkometry-flood")


class FloodTest(lab.SystemTest):
    """Takes the processor for itself."""

    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")
        # Each transport's share of the million; a sanitizer's build is many times slower.
        self.share = 17_000 if lab.program_is_sanitized() else 334_000

    def listen(self, protocol):
        # Its own probes are not to be logged meanwhile: one every 200 seconds.
        self.device.configure(protocol, period=200_000, log_events="yes")
        self.program = self.device.measure()
        self.device.wait_until_hearing(protocol)
        self.seed = 0

    def flood(self, how, target, port, count, *more):
        self.seed += 1
        result = self.peer.run(flood_path(), how, target, port, str(count), str(self.seed), *more, within=150)
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def datagrams_read(self):
        """How many UDP datagrams programs on the device have read so far, as its kernel counts."""
        names, values = re.findall(r"^Udp: (.*)$", self.device.run("cat", "/proc/net/snmp").stdout, re.MULTILINE)
        return int(dict(zip(names.split(), values.split()))["InDatagrams"])

    def flood_with_datagrams(self, count, target, port, *more):
        """Until the program has read that many."""
        goal = self.datagrams_read() + count
        missing = count
        while missing > 0:
            self.flood("udp", target, port, max(missing, 1000), *more)
            missing = goal - self.datagrams_read()

    def check(self, flood):
        """No trace of what flood(count) sends, and valid packets count as before."""
        flood(min(20_000, self.share))  # what a receiver needs once, it has after these
        lines, before = self.device.log_lines(), self.program.resident_kib()
        flood(self.share)
        # Bounded by what an allocator may keep; one byte a packet would already be more.
        if not lab.program_is_sanitized():
            self.assertLess(self.program.resident_kib() - before, 256)
        self.assertEqual(self.device.log_lines(), lines)
        self.assertEqual(self.program.rows(), [])
        self.assertEqual([line for line in lines if "received" in line or "SOCKET" in line], [])

    def test_over_udp(self):
        self.listen("udp")
        self.check(lambda count: self.flood_with_datagrams(count, self.device.address, str(traffic.PORT)))
        with traffic.UdpEnd(self.peer) as sender:
            sender.send(traffic.packet(1, "v|x"), self.device.address)
        self.program.wait_for_row(self.peer.address)

    def test_over_multicast(self):
        self.listen("multicast")
        before = self.datagrams_read()

        def joined():
            self.flood("udp", traffic.GROUP, str(traffic.GROUP_PORT), 1, self.peer.address)
            return self.datagrams_read() > before
        lab.eventually(joined, 30, "the listener joins", every=0.2)
        self.check(lambda count: self.flood_with_datagrams(count, traffic.GROUP, str(traffic.GROUP_PORT),
                                                           self.peer.address))
        with traffic.UdpEnd(self.peer) as sender:
            sender.send(traffic.packet(1, "v|x"), traffic.GROUP, traffic.GROUP_PORT)
        self.program.wait_for_row(self.peer.address)

    def test_over_tcp(self):
        self.listen("tcpip")

        def flood(count):
            self.flood("stream", self.device.address, str(traffic.PORT), count)
            self.device.wait_until_read(self.peer)
        self.check(flood)
        with traffic.TcpEnd.connect(self.peer, self.device.address) as end:
            end.send(traffic.packet(1, "v|x"))
            self.program.wait_for_row(self.peer.address)

    def test_over_tcp_each_on_a_connection_of_its_own(self):
        self.listen("tcpip")
        lines = self.device.log_lines()
        for _ in range(10):
            # No more at a time than the listener takes.
            self.flood("tcp", self.device.address, str(traffic.PORT), 40)
            self.device.wait_until_read(self.peer)
        self.assertEqual(self.device.log_lines(), lines)
        self.assertEqual(self.program.rows(), [])
