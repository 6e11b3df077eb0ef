"""Connections of the TCP probes, and what a listener makes of the pieces in which a stream arrives."""

import re
import time

import lab
import traffic

FIRST = traffic.packet(0)


def sequences_on_the_wire(capture, source, count):
    """The numbers in the first TCP probes that crossed the interface, in order, what TCP repeated left out."""
    def payloads():
        found = dict.fromkeys(frame.payload for frame in capture.frames(traffic.TCP, source=source) if frame.payload)
        return list(found)[:count]
    lab.eventually(lambda: len(payloads()) == count, 10, lambda: f"{count} probes: {payloads()}")
    return [traffic.parse(payload).sequence for payload in payloads()]


class TcpConnectorTest(lab.SystemTest):
    REFUSED = r"SOCKET ERROR: \(logged only once until successfull tcpip send to this address to avoid filling the " \
              r"logfile\) on tcpip connector \( 10\.77\.0\.2 \) :connect failed 10061$"

    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")
        self.device.configure("tcpip", period=200, peers={"peer": self.peer.address}, log_events="yes")

    def refusals(self, capture):
        """How many connections the peer's kernel has refused."""
        return len(capture.frames(traffic.TCP, source=self.peer.address, source_port=traffic.PORT))

    def logged(self, pattern):
        return [line for line in self.device.log_lines() if re.search(pattern, line)]

    def test_refused_connections_are_tried_every_period_and_logged_once(self):
        with traffic.Capture(self.peer) as capture:
            self.device.measure()
            lab.eventually(lambda: self.refusals(capture) >= 5, 30, "five refusals")
        self.device.wait_for_log_line(self.REFUSED)
        self.assertEqual(len(self.logged(self.REFUSED)), 1)
        self.assertEqual(self.logged("sent seq"), [])

    def test_peer_that_accepts_later_gets_the_sequence_from_zero_on_one_connection(self):
        with traffic.Capture(self.peer) as capture:
            self.device.measure()
            lab.eventually(lambda: self.refusals(capture) >= 2, 30, "two refusals")
            with traffic.TcpServer(self.peer) as server, server.accept(20) as end:
                packets = [end.receive_packet() for _ in range(8)]
                self.assertEqual(packets, [traffic.packet(number) for number in range(8)])
                self.assertEqual(end.peer[0], self.device.address)
                with self.assertRaises(AssertionError):
                    server.accept(within=1)

    def test_probe_that_a_reset_made_fail_is_sent_again_with_the_same_number(self):
        with traffic.Capture(self.peer) as capture, traffic.TcpServer(self.peer) as server:
            self.device.measure()
            with server.accept(20) as end:
                self.assertEqual([end.receive_packet() for _ in range(3)], [traffic.packet(n) for n in range(3)])
                end.reset()
            with server.accept(20) as end:
                again = traffic.parse(end.receive_packet()).sequence
                end.receive_packet()
            sent = sequences_on_the_wire(capture, self.device.address, again + 2)
        self.assertGreaterEqual(again, 3)
        self.assertEqual(sent, list(range(again + 2)))
        self.device.wait_for_log_line(r"tcpip connector \( 10\.77\.0\.2 \) :send failed 10054$")

    def test_peer_that_closes_politely_costs_at_most_what_was_on_its_way(self):
        with traffic.Capture(self.peer) as capture, traffic.TcpServer(self.peer) as server:
            self.device.measure()
            with server.accept(20) as end:
                received = [traffic.parse(end.receive_packet()).sequence for _ in range(3)]
            with server.accept(20) as end:
                next_received = traffic.parse(end.receive_packet()).sequence
            sent = sequences_on_the_wire(capture, self.device.address, next_received + 1)
        self.assertEqual(received, [0, 1, 2])
        # The send after the close still succeeds and is answered by a reset; no number is left out on the wire.
        self.assertGreaterEqual(next_received, 3)
        self.assertEqual(sent, list(range(next_received + 1)))

    def test_failure_after_a_successful_send_is_logged_again(self):
        with traffic.Capture(self.peer) as capture:
            self.device.measure()
            self.device.wait_for_log_line(self.REFUSED, within=20)
            with traffic.TcpServer(self.peer) as server, server.accept(20) as end:
                end.receive_packet()
                self.device.wait_for_log_line("tcpip connector sent seq # 0 to 10.77.0.2$")
                server.close()
                end.reset()
            before = self.refusals(capture)
            lab.eventually(lambda: self.refusals(capture) >= before + 4, 30, "four more refusals")
        error = r"SOCKET ERROR: .*tcpip connector"
        lab.eventually(lambda: len(self.logged(error)) >= 2, 10, lambda: f"two errors: {self.logged(error)}")
        errors = self.logged(error)
        self.assertEqual(len(errors), 2, errors)
        self.assertRegex(errors[0], self.REFUSED)
        self.assertRegex(errors[1], r":(send|connect) failed \d+$")

    def test_silent_drop_of_the_peer_does_not_hold_up_the_other_protocols(self):
        third = self.lab.device("pocket3")
        self.device.configure("tcpip", "udp", period=200, peers={"dead": "10.77.0.99", "third": third.address})
        with traffic.TcpServer(third) as server, traffic.UdpEnd(third, traffic.PORT) as receiver:
            self.device.measure()
            with server.accept(20) as end:
                self.assertEqual(end.receive_packet(), FIRST)
            self.assertEqual(len(receiver.receive_many(10, within=20)), 10)


class LostConnectionTest(lab.SystemTest):
    """Connections whose other end, or whose own address, goes without a word. They last half a minute each."""

    LOST = 30
    # The kernel's timers double their waits, so that the last of them may come that much later.
    SLACK = 60

    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")

    def connections(self):
        """The connections of the device's listener as its kernel knows them."""
        output = self.device.run("ss", "-Htn", "state", "established", f"sport = :{traffic.PORT}").stdout
        return len(output.splitlines())

    def test_after_a_change_of_address_probes_go_on_from_the_new_one(self):
        self.device.configure("tcpip", period=200, peers={"peer": self.peer.address})
        with traffic.TcpServer(self.peer) as server:
            program = self.device.measure()
            with server.accept(20) as end:
                self.assertEqual(end.receive_packet(), FIRST)
                self.assertEqual(end.peer[0], self.device.address)
                with self.device.inside():
                    lab.ip(f"address delete {self.device.address}/24 dev eth0",
                           "address add 10.77.0.9/24 brd + dev eth0", "route replace default via 10.77.0.254")
                before = time.monotonic()
                with server.accept(self.LOST + self.SLACK) as renewed:
                    self.assertEqual(renewed.peer[0], "10.77.0.9")
                    renewed.receive_packet()
                # Not at once either: what is only delayed arrives.
                self.assertGreater(time.monotonic() - before, self.LOST / 2)
        self.device.wait_for_log_line(r"tcpip connector \( 10\.77\.0\.2 \) :send failed 10060$")
        self.assertTrue(program.is_running())

    def test_peers_that_lose_power_leave_no_connection_behind_and_new_ones_are_served(self):
        # Connections over which no probe has come would go by themselves otherwise.
        self.device.configure("tcpip", period=200, peers={"peer": self.peer.address}, seconds_of_tcp_silence="0")
        program = self.device.measure()
        self.device.wait_for_log_line("Created VTR_CTcpipListener")
        # As many as are watched, and some that wait.
        for _ in range(70):
            self.addCleanup(traffic.TcpEnd.connect(self.peer, self.device.address).close)
        lab.eventually(lambda: self.connections() == 70, 20, lambda: f"70 connections: {self.connections()}")
        # From now on the peer's kernel says nothing, not even that it knows of no connection.
        self.peer.unplug()
        lab.eventually(lambda: self.connections() == 0, self.LOST + self.SLACK,
                       lambda: f"no connection is left: {self.connections()}")
        self.device.wait_for_log_line(r"on tcpip listener \( 10\.77\.0\.2 \) :recv failed 10060$")
        third = self.lab.device("pocket3")
        with traffic.TcpEnd.connect(third, self.device.address) as late:
            late.send(FIRST)
            program.wait_for_row(third.address, within=20)


class TcpListenerTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")
        self.device.configure("tcpip", peers={"peer": self.peer.address})
        self.program = self.device.measure()
        self.device.wait_for_log_line("Created VTR_CTcpipListener")

    def connect(self):
        def attempt():
            try:
                return traffic.TcpEnd.connect(self.peer, self.device.address)
            except ConnectionRefusedError:
                return None
        end = lab.eventually(attempt, 20, "a connection")
        self.addCleanup(end.close)
        return end

    def wait_for_counts(self, received, total):
        return self.program.wait_for_row(self.peer.address, lambda row: (
            row["tcpip"]["received"], row["tcpip"]["total"]) == (received, total))

    def assert_counts_stay(self, received, total):
        self.wait_for_counts(received, total)
        time.sleep(1)
        self.wait_for_counts(received, total)

    def test_of_two_packets_in_one_segment_the_first_counts(self):
        end = self.connect()
        end.send(traffic.packet(1) + traffic.packet(2))
        self.wait_for_counts(1, 1)
        end.send(traffic.packet(4))
        # Had the 2 been counted, 4 would make it 3 of 4 in the sum of 1, 2 and 4.
        self.assert_counts_stay(2, 4)

    def test_head_of_a_packet_without_its_number_is_dropped_and_so_is_its_rest(self):
        end = self.connect()
        for piece in (traffic.packet(9)[:17], traffic.packet(9)[17:]):
            end.send(piece)
            self.device.wait_until_read(self.peer)
        end.send(traffic.packet(3))
        self.assert_counts_stay(1, 1)

    def test_part_of_a_packet_with_its_number_counts_and_its_rest_is_dropped(self):
        end = self.connect()
        whole = traffic.packet(5, "Version 1.0.0.0|somebody")
        end.send(whole[:30])
        self.wait_for_counts(1, 1)
        end.send(whole[30:])
        self.device.wait_until_read(self.peer)
        end.send(traffic.packet(6))
        self.assert_counts_stay(2, 2)

    def test_client_that_says_nothing_leaves_no_trace(self):
        lines = self.device.log_lines()
        for _ in range(5):
            self.connect().close()
        end = self.connect()
        end.send(traffic.packet(1))
        self.wait_for_counts(1, 1)
        self.assertEqual([line for line in self.device.log_lines()[len(lines):] if "listener" in line], [])

    def test_client_that_resets_is_logged_with_its_address_each_time(self):
        for count in (1, 2):
            end = self.connect()
            end.send(traffic.packet(count))
            self.wait_for_counts(count, count)
            end.reset()
            pattern = r"SOCKET ERROR: on tcpip listener \( 10\.77\.0\.2 \) :recv failed 10054$"
            lab.eventually(lambda: sum(1 for line in self.device.log_lines() if re.search(pattern, line)) == count, 10,
                           lambda: "\n".join(self.device.log_lines()))

    def test_handles_of_clients_that_closed_are_kept_until_the_next_test_and_no_longer(self):
        self.connect().send(traffic.packet(1))
        self.wait_for_counts(1, 1)
        before = self.program.open_descriptors()
        for _ in range(20):
            self.connect().close()
        lab.eventually(lambda: self.program.open_descriptors() >= before + 20, 10,
                       lambda: f"{self.program.open_descriptors()} descriptors, {before} before")
        self.program.signal(lab.signal.SIGHUP)
        lab.eventually(lambda: self.program.open_descriptors() <= before, 20,
                       lambda: f"{self.program.open_descriptors()} descriptors, {before} before")

    def test_63_clients_are_served_at_a_time(self):
        ends = [self.connect() for _ in range(66)]
        for end in ends:
            end.send(traffic.packet(1))
        self.assert_counts_stay(63, 63)
        for end in ends[:3]:
            end.close()
        self.wait_for_counts(66, 66)
