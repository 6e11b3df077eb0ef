"""The probe packet as the kernel carries it: bytes, ports, time-to-live and period."""

import re
import statistics

import lab
import traffic


def udp_payloads(capture, **fields):
    return [frame.payload for frame in capture.frames(traffic.UDP, **fields)]


class PacketBytesTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")

    def capture_udp(self, count, destination=None):
        """The first frames that the device sends there, the peer unless said otherwise."""
        sought = {"source": self.device.address, "destination": destination or self.peer.address}
        with traffic.Capture(self.peer) as capture, traffic.UdpEnd(self.peer, traffic.PORT):
            program = self.device.measure()
            lab.eventually(lambda: len(capture.frames(traffic.UDP, **sought)) >= count, 20,
                           lambda: f"{count} frames, but {len(capture.frames(traffic.UDP, **sought))}, of {program}")
            return capture.frames(traffic.UDP, **sought)[:count]

    def full_announcement(self, padding=10):
        return traffic.announcement(lab.program_version(), "pocket1", padding)

    def test_first_start_sends_22_bytes_up_to_sequence_9(self):
        self.device.configure("udp", period=50, peers={"peer": self.peer.address})
        payloads = [frame.payload for frame in self.capture_udp(12)]
        self.assertEqual(payloads, [b"Vantiro Diagnostic|%d|\0" % number for number in range(12)])
        self.assertEqual([len(payload) for payload in payloads], [22] * 10 + [23] * 2)

    def test_multicast_carries_the_full_announcement_and_the_default_time_to_live(self):
        self.device.configure("multicast", period=50)
        frames = self.capture_udp(3, traffic.GROUP)
        name = self.full_announcement().encode()
        self.assertRegex(name, rb"^Version \d+\.\d+\.\d+\.\d+\|pocket1\|{10}$")
        self.assertEqual([frame.payload for frame in frames],
                         [b"Vantiro Diagnostic|%d|%s\0" % (number, name) for number in range(3)])
        self.assertEqual({(frame.destination_port, frame.ttl) for frame in frames}, {(traffic.GROUP_PORT, 3)})

    def test_multicast_group_port_and_time_to_live_are_those_of_the_settings(self):
        self.device.configure("multicast", period=50, multicast_group="228.1.2.3", multicast_port="6001",
                              multicast_ttl="7")
        frames = self.capture_udp(2, "228.1.2.3")
        self.assertEqual({(frame.destination_port, frame.ttl) for frame in frames}, {(6001, 7)})

    def test_overhead_bytes_is_the_number_of_bars_behind_the_name(self):
        for padding in (0, 200):
            with self.subTest(padding=padding):
                self.device.configure("multicast", period=50, overhead_bytes=str(padding))
                payload = self.capture_udp(1, traffic.GROUP)[0].payload
                self.assertEqual(payload, traffic.packet(0, self.full_announcement(padding)))
                self.device.programs[-1].stop()

    def test_second_test_sends_the_announcement_of_the_first_and_counts_from_zero(self):
        self.device.configure("udp", period=50, peers={"peer": self.peer.address})
        with traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
            program = self.device.measure()
            first = receiver.receive_many(3, within=20)
            program.signal(lab.signal.SIGHUP)

            def named():
                datagram = receiver.receive(1)
                return datagram if datagram and traffic.parse(datagram.data).name else None
            second = lab.eventually(named, 20, "a packet with a name")
        self.assertEqual([traffic.parse(datagram.data).name for datagram in first], ["", "", ""])
        self.assertEqual(second.data, traffic.packet(0, self.full_announcement()))

    def test_discovered_peer_gets_the_full_announcement_by_udp_and_tcp(self):
        self.device.configure("udp", "tcpip")
        with traffic.TcpServer(self.peer) as server, traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
            program = self.device.measure()

            def answered():
                receiver.send(traffic.packet(1, "x|y"), self.device.address)
                return receiver.receive(0.2)
            datagram = lab.eventually(answered, 20, f"a probe of {program}")
            with server.accept() as end:
                self.assertEqual(end.receive_packet(), traffic.packet(0, self.full_announcement()))
            self.assertEqual(datagram.data, traffic.packet(0, self.full_announcement()))

    def test_tcp_carries_the_same_bytes_as_udp(self):
        self.device.configure("tcpip", period=50, peers={"peer": self.peer.address})
        with traffic.TcpServer(self.peer) as server:
            self.device.measure()
            with server.accept(within=20) as end:
                packets = [end.receive_packet() for _ in range(12)]
        self.assertEqual(packets, [b"Vantiro Diagnostic|%d|\0" % number for number in range(12)])

    def test_length_is_that_of_the_wide_text_so_a_long_name_in_utf_8_loses_its_end(self):
        self.device.write_hive(lab.hive_text({
            lab.SETTINGS_KEY: {"display name": "Owner Name", "frequency qty": "50", "frequency units": "milliseconds",
                               "overhead bytes": "0"},
            r"HKEY_CURRENT_USER\ControlPanel\Owner": {"Owner": "Zo\u00eb \u20ac"}}))
        payload = self.capture_udp(1, traffic.GROUP)[0].payload
        whole = traffic.packet(0, traffic.announcement(lab.program_version(), "Zo\u00eb \u20ac", 0))
        # One byte more for the letter and two for the sign: the NUL and two bytes of the sign stay behind.
        self.assertEqual(payload, whole[:-3])

    def test_udp_target_port_is_that_of_the_settings(self):
        self.device.configure("udp", period=50, peers={"peer": self.peer.address}, port="6002")
        self.assertEqual({frame.destination_port for frame in self.capture_udp(2)}, {6002})


class PacketFlowTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")

    def test_all_probes_of_a_connector_leave_from_one_port(self):
        self.device.configure("udp", "multicast", period=50, peers={"peer": self.peer.address})
        with traffic.Capture(self.peer) as capture, traffic.UdpEnd(self.peer, traffic.PORT):
            self.device.measure()

            def frames():
                return [capture.frames(traffic.UDP, source=self.device.address, destination=destination)
                        for destination in (self.peer.address, traffic.GROUP)]
            lab.eventually(lambda: min(map(len, frames())) >= 20, 20, "20 probes of both kinds")
            ports = [{frame.source_port for frame in group} for group in frames()]
            self.assertEqual([len(each) for each in ports], [1, 1])
            self.assertNotEqual(*ports)
            # The kernel's own list of sockets tells the same.
            sockets = self.device.run("ss", "-Huan").stdout
            self.assertRegex(sockets, rf"0\.0\.0\.0:{ports[0].pop()}\s")

    def test_period_is_kept_and_lateness_is_not_made_up(self):
        period = 0.2
        self.device.configure("udp", period=200, peers={"peer": self.peer.address})
        with traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
            self.device.measure()
            times = [datagram.time for datagram in receiver.receive_many(26, within=60)]
        gaps = [later - earlier for earlier, later in zip(times, times[1:])]
        # The middle one is exact to a few milliseconds on an idle machine; a busy one may delay most of them.
        self.assertGreater(statistics.median(gaps), period * 0.95)
        self.assertLess(statistics.quantiles(gaps, n=4)[0], period * 2)
        # A probe that is sent late does not bring the next one forward: n periods never take less than n periods.
        self.assertGreater(times[-1] - times[0], period * len(gaps) * 0.99)

    def test_first_probe_goes_out_at_once_and_the_second_after_the_period(self):
        self.device.write_settings({"frequency qty": "1", "frequency units": "minutes"}, {"peer": self.peer.address})
        with traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
            self.device.measure()
            self.assertEqual(traffic.parse(receiver.receive(within=20).data).sequence, 0)
            self.assertIsNone(receiver.receive(within=3))

    def test_probes_are_sent_whether_or_not_anybody_listens(self):
        self.device.configure("udp", period=50, peers={"peer": self.peer.address}, log_events="yes")
        with traffic.Capture(self.peer) as capture:
            self.device.measure()
            lab.eventually(lambda: len(udp_payloads(capture, source=self.device.address)) >= 20, 20, "20 probes")
            payloads = udp_payloads(capture, source=self.device.address)
        self.assertEqual(payloads, [traffic.packet(number) for number in range(len(payloads))])
        self.assertFalse([line for line in self.device.log_lines() if re.search("udp connector .*failed", line)])
