"""How soon a test ends: one of many peers, and one whose ping has long to wait."""

import signal
import time

import lab
import traffic

PEERS = 200
# One step lasts a second here; the rest is for a busy machine. One probe after another would take some hundred seconds.
A_FEW_STEPS = 20


class StopTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, = self.lab.devices_named("pocket1")
        # Every sender sleeps a second at a time, each from a time of its own.
        self.device.configure("udp", period=60_000, peers={f"peer{i}": f"10.77.1.{i}" for i in range(1, PEERS + 1)})
        self.program = self.device.measure(every=30)
        self.wait_until_all_sleep()

    def wait_until_all_sleep(self):
        self.device.wait_until_listening()
        time.sleep(2)

    def test_a_test_of_many_peers_ends_in_about_one_step(self):
        begin = time.monotonic()
        self.program.signal(signal.SIGTERM)
        self.assertEqual(self.program.wait(), 1)
        self.assertLess(time.monotonic() - begin, A_FEW_STEPS)
        self.assertEqual([line for line in self.device.log_lines() if "failed returned" in line], [])

    def test_a_test_of_many_peers_starts_over_in_about_one_step(self):
        begin = time.monotonic()
        self.program.signal(signal.SIGHUP)
        self.device.wait_for_log_line("Test 2 starting", within=A_FEW_STEPS)
        self.assertLess(time.monotonic() - begin, A_FEW_STEPS)
        self.wait_until_all_sleep()
        self.assertEqual(self.program.stop(), 1)


class PingInProgressTest(lab.SystemTest):
    def test_a_ping_that_waits_an_hour_for_its_reply_ends_with_the_test(self):
        device, peer = self.lab.devices_named("pocket1", "pocket2")
        peer.set_kernel_parameter("net.ipv4.icmp_echo_ignore_all", "1")
        # The period is also the time that an echo may take.
        device.configure("ping", period=60 * 60 * 1000, peers={"peer": peer.address})
        with traffic.Capture(peer) as capture:
            program = device.measure(every=30)
            lab.eventually(lambda: capture.echo_requests(source=device.address), 20, "a request")
        begin = time.monotonic()
        program.signal(signal.SIGTERM)
        self.assertEqual(program.wait(), 1)
        self.assertLess(time.monotonic() - begin, A_FEW_STEPS)
