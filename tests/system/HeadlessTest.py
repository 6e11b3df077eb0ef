"""The headless program as a script sees it: output, exit status, signals."""

import signal

import lab
import traffic

FAST = {"frequency qty": "200", "frequency units": "milliseconds"}


class HeadlessTest(lab.SystemTest):
    def test_two_devices_discover_and_measure_one_another(self):
        a, b = self.lab.devices_named("a", "b")
        for device in (a, b):
            device.write_settings(FAST)
        programs = [a.measure(), b.measure()]
        for program, peer in zip(programs, (b, a)):
            row = program.wait_for_row(peer.address, lambda row: all(
                row[kind]["received"] >= 5 for kind in ("multicast", "udp", "tcpip", "ping")), within=30)
            self.assertEqual(row["quality"], 100)
        for program, peer in zip(programs, (b, a)):
            self.assertEqual(program.stop(), 0)
            self.assertEqual(list(program.final_rows()), [peer.address])

    def test_own_announcement_makes_no_row_and_no_row_ends_with_status_2(self):
        device = self.lab.device("a")
        device.write_settings(FAST)
        with traffic.UdpEnd(self.lab.device("b"), traffic.GROUP_PORT, traffic.GROUP) as listener:
            program = device.measure("-duration", 8)
            listener.receive_many(10, within=15)
            self.assertEqual(program.wait(), 2)
        self.assertEqual(program.rows(), [])

    def test_peer_that_answers_nothing_ends_with_status_1(self):
        device = self.lab.device("a")
        device.write_settings(FAST)
        program = device.measure("-duration", 2, "-peer", "10.77.0.99=nobody")
        self.assertEqual(program.wait(), 1)
        row = program.final_rows()["10.77.0.99"]
        self.assertEqual((row["name"], row["quality"]), ("nobody", 0))

    def test_port_in_use_ends_with_status_4_and_says_so(self):
        device = self.lab.device("a")
        with traffic.TcpServer(device, traffic.PORT):
            program = device.measure()
            self.assertEqual(program.wait(), 4)
        self.assertIn("tcpip listener", program.errors())

    def test_interrupt_stops_reports_and_ends(self):
        device = self.lab.device("a")
        program = device.measure("-peer", "127.0.0.1=self")
        program.wait_for_row("127.0.0.1")
        program.signal(signal.SIGINT)
        self.assertIn(program.wait(), (0, 1))
        self.assertIn("127.0.0.1", program.final_rows())
        self.assertRegex(device.log_lines()[-1], r"^\d\d:\d\d:\d\d  ---- Test 1 complete ---$")
