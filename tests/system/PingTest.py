"""Echo requests: their size, the three ways to send them, and their counting."""

import re
import signal
import struct
import time

import lab
import traffic

# Which groups may send echoes without privileges: none, and that of all programs here.
NOBODY_MAY = "1 0"
WE_MAY = "0 0"
# A step of a probe lasts a second at most; the rest is for a busy machine.
SOON = 15
WITHOUT_RAW_SOCKETS = ("setpriv", "--bounding-set=-net_raw", "--inh-caps=-net_raw")


def requests_of(capture, device):
    return capture.echo_requests(source=device.address)


def numbers_of(requests):
    return [struct.unpack("!H", frame.payload[6:8])[0] for frame in requests]


class PingTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")

    def allow(self, group_range):
        lowest, highest = map(int, self.device.run("cat", "/proc/sys/net/ipv4/ping_group_range").stdout.split())
        # Nobody may in a new namespace; one that an ordinary user made cannot be told so, for it knows no group 1.
        if group_range != NOBODY_MAY or lowest <= 0 <= highest:
            self.device.set_kernel_parameter("net.ipv4.ping_group_range", group_range)

    def measure(self, allowed, through=(), period=200, **settings):
        """The period is also the time that an echo may take; where none may be lost, a busy machine needs more."""
        self.allow(allowed)
        self.device.configure("ping", period=period, peers={"peer": self.peer.address}, **settings)
        return self.device.measure(through=through)

    def sockets(self, kind):
        """How many sockets of that kind ("icmp", "raw") the device has open."""
        return len(self.device.run("cat", f"/proc/net/{kind}").stdout.splitlines()) - 1

    def check_requests(self, allowed, through, kinds):
        with traffic.Capture(self.peer) as capture:
            program = self.measure(allowed, through, period=1000, overhead_bytes="123")
            program.wait_for_row(self.peer.address, lambda row: row["ping"]["received"] >= 5)
            replies = [frame for frame in capture.frames(traffic.ICMP, source=self.peer.address)
                       if frame.payload[0] == traffic.ECHO_REPLY]
            # Looked at later, so that there is one for each reply.
            requests = requests_of(capture, self.device)
        self.assertEqual({len(frame.payload) for frame in requests}, {8 + 123})
        self.assertEqual({(frame.destination, frame.payload[1]) for frame in requests}, {(self.peer.address, 0)})
        # Each request is one of a kind, and its reply carries the same.
        self.assertEqual(len({frame.payload[4:8] for frame in requests}), len(requests))
        self.assertLessEqual({frame.payload[4:] for frame in replies}, {frame.payload[4:] for frame in requests})
        # A socket is open while its request waits, so let one wait.
        self.peer.set_kernel_parameter("net.ipv4.icmp_echo_ignore_all", "1")
        lab.eventually(lambda: (self.sockets("icmp") > 0, self.sockets("raw") > 0) == kinds, 10,
                       lambda: f"{self.sockets('icmp')} datagram and {self.sockets('raw')} raw sockets")
        self.assertEqual(program.stop(), 0)
        row = program.final_rows()[self.peer.address]
        self.assertEqual(row["ping"]["lost"], 0)
        self.assertEqual(self.device.log_lines()[-2].split("Ping:")[1].split(),
                         [str(row["ping"]["total"]), "/", str(row["ping"]["total"])])

    def test_requests_of_the_configured_size_leave_without_privileges_where_the_kernel_allows_it(self):
        self.check_requests(WE_MAY, WITHOUT_RAW_SOCKETS, (True, False))

    def test_requests_of_the_configured_size_leave_through_a_raw_socket_with_the_right_to_it(self):
        self.check_requests(NOBODY_MAY, (), (False, True))

    def test_without_either_each_ping_fails_with_access_denied_and_is_logged_once(self):
        with traffic.Capture(self.peer) as capture:
            program = self.measure(NOBODY_MAY, WITHOUT_RAW_SOCKETS, log_events="yes")
            self.device.wait_for_log_line(r"pinger sent seq # 4 to 10\.77\.0\.2$", within=20)
            self.assertEqual(requests_of(capture, self.device), [])
        self.assertEqual(program.stop(), 1)
        errors = [line[9:] for line in self.device.log_lines() if "SOCKET ERROR" in line]
        self.assertEqual(errors, ["SOCKET ERROR: (logged only once until successfull ping to this address to avoid "
                                  "filling the logfile) on pinger ( 10.77.0.2 ) :Could not create ICMP handle 5"])

    def test_peer_that_does_not_answer_is_logged_once_with_11010_and_counted_when_it_does(self):
        self.peer.set_kernel_parameter("net.ipv4.icmp_echo_ignore_all", "1")
        with traffic.Capture(self.peer) as capture:
            program = self.measure(NOBODY_MAY, log_events="yes")
            failed = r"ping to this address .* on pinger \( 10\.77\.0\.2 \) :IcmpSendEcho failed 11010$"
            self.device.wait_for_log_line(failed, within=20)
            lab.eventually(lambda: len(requests_of(capture, self.device)) >= 5, 20, "five requests")
        self.assertEqual(program.row(self.peer.address)["ping"]["total"], 0)
        self.peer.set_kernel_parameter("net.ipv4.icmp_echo_ignore_all", "0")
        program.wait_for_row(self.peer.address, lambda row: row["ping"]["received"] >= 3)
        self.assertEqual(len([line for line in self.device.log_lines() if re.search(failed, line)]), 1)

    def test_unanswered_requests_are_lost_ones_between_answered_ones(self):
        with traffic.Capture(self.peer) as capture:
            program = self.measure(NOBODY_MAY, period=1000)
            program.wait_for_row(self.peer.address, lambda row: row["ping"]["received"] >= 5)
            self.peer.set_kernel_parameter("net.ipv4.icmp_echo_ignore_all", "1")
            silent = len(requests_of(capture, self.device))
            lab.eventually(lambda: len(requests_of(capture, self.device)) >= silent + 6, 20, "six more requests")
            self.peer.set_kernel_parameter("net.ipv4.icmp_echo_ignore_all", "0")
            unanswered = len(requests_of(capture, self.device)) - silent
            row = program.wait_for_row(self.peer.address, lambda row: row["ping"]["lost"] > 0)
        # The request on its way at either end may fall on either side.
        self.assertLessEqual(abs(row["ping"]["lost"] - unanswered), 2)

    def check_stop(self, allowed, through, kind):
        """Of a test whose ping waits for an hour."""
        self.peer.set_kernel_parameter("net.ipv4.icmp_echo_ignore_all", "1")
        with traffic.Capture(self.peer) as capture:
            program = self.measure(allowed, through, period=3_600_000)
            lab.eventually(lambda: requests_of(capture, self.device), 10, "a request waits")
        self.assertGreater(self.sockets(kind), 0)
        begin = time.monotonic()
        program.signal(signal.SIGTERM)
        self.assertEqual(program.wait(), 1)
        self.assertLess(time.monotonic() - begin, SOON)
        self.assertRegex(self.device.log_lines()[-1], "Test 1 complete")
        self.assertEqual([line for line in self.device.log_lines() if "SOCKET ERROR" in line], [])

    def test_a_stop_ends_the_ping_in_progress_on_a_socket_of_its_own(self):
        self.check_stop(WE_MAY, WITHOUT_RAW_SOCKETS, "icmp")

    def test_a_stop_ends_the_ping_in_progress_on_the_raw_socket(self):
        self.check_stop(NOBODY_MAY, (), "raw")

    def test_size_0_is_refused_as_the_reply_buffer_is_too_small(self):
        with traffic.Capture(self.peer) as capture:
            self.measure(NOBODY_MAY, overhead_bytes="0")
            line = self.device.wait_for_log_line("SOCKET ERROR", within=20)
            self.assertTrue(line.endswith("on pinger ( 10.77.0.2 ) :IcmpSendEcho failed 122"), line)
            self.assertEqual(requests_of(capture, self.device), [])

    def test_requests_keep_the_period(self):
        with traffic.Capture(self.peer) as capture:
            self.measure(NOBODY_MAY)
            lab.eventually(lambda: len(requests_of(capture, self.device)) >= 16, 60, "16 requests")
            times = [frame.time for frame in requests_of(capture, self.device)]
        gaps = sorted(later - earlier for earlier, later in zip(times, times[1:]))
        # Never faster; and where the machine is busy, not often much slower.
        self.assertGreater((times[-1] - times[0]) / len(gaps), 0.2 * 0.97)
        self.assertLess(gaps[len(gaps) // 4], 0.4)

    def test_each_of_many_pingers_gets_its_own_replies(self):
        # One raw socket serves all; a mixed up reply would count for a peer that has not answered.
        others = self.lab.devices_named("pocket3", "pocket4")
        others[0].set_kernel_parameter("net.ipv4.icmp_echo_ignore_all", "1")
        self.allow(NOBODY_MAY)
        self.device.configure("ping", peers={each.name: each.address for each in (self.peer, *others)})
        program = self.device.measure()
        for answering in (self.peer, others[1]):
            program.wait_for_row(answering.address, lambda row: row["ping"]["received"] >= 10, within=30)
        self.assertEqual(program.row(others[0].address)["ping"]["total"], 0)
        self.assertEqual(max(self.sockets("raw") for _ in range(20)), 1)

    def test_the_systems_own_ping_beside_it_disturbs_neither(self):
        program = self.measure(NOBODY_MAY, period=1000, log_events="yes")
        program.wait_for_row(self.peer.address, lambda row: row["ping"]["received"] >= 1)
        result = self.device.run("ping", "-n", "-c", "10", "-i", "0.2", self.peer.address)
        self.assertIn("10 received", result.stdout)
        program.wait_for_row(self.peer.address, lambda row: row["ping"]["received"] >= 5)
        self.assertEqual(program.stop(), 0)
        sent = [line for line in self.device.log_lines() if "pinger sent seq" in line]
        received = [line for line in self.device.log_lines() if "pinger received seq" in line]
        self.assertEqual(len(received), len(sent))

    def test_two_programs_put_different_tokens_into_their_requests(self):
        # Their raw sockets get each other's replies where both run on one device.
        with traffic.Capture(self.peer) as capture:
            for device, other in ((self.device, self.peer), (self.peer, self.device)):
                device.configure("ping", peers={"peer": other.address})
                device.measure()
            tokens = [lambda device=device: {frame.payload[8:16] for frame in requests_of(capture, device)}
                      for device in (self.device, self.peer)]
            lab.eventually(lambda: min(len(each()) for each in tokens) >= 5, 20, "five requests of each")
        self.assertEqual(tokens[0]() & tokens[1](), set())
