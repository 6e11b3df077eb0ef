"""What becomes of received sequence numbers: rows, counts, quality, and the peers that they reveal."""

import re
import time

import lab
import traffic

PAIR = r"Multicast:\s+(\d+) / (\d+)\s+Tcpip:\s+(\d+) / (\d+)\s+Udp:\s+(\d+) / (\d+)\s+Ping:\s+(\d+) / (\d+)\s*$"


class Sender:
    """Sends probes of one protocol from a peer to a device."""

    def __init__(self, protocol, peer, device):
        self.protocol = protocol
        self.device = device
        if protocol == "tcpip":
            self.end = traffic.TcpEnd.connect(peer, device.address)
        else:
            self.end = traffic.UdpEnd(peer)

    def send(self, data):
        if self.protocol == "tcpip":
            self.end.send(data)
        elif self.protocol == "udp":
            self.end.send(data, self.device.address)
        else:
            self.end.send(data, traffic.GROUP, traffic.GROUP_PORT)

    def close(self):
        self.end.close()


class CountingTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")

    def listen(self, protocol):
        """Starts the device with the peer in its hive and waits until it hears that protocol; a sender of it."""
        self.device.configure(protocol, peers={"peer": self.peer.address})
        self.program = self.device.measure()
        self.device.wait_until_hearing(protocol)
        if protocol == "multicast":
            self.wait_until_joined()
        sender = Sender(protocol, self.peer, self.device)
        self.addCleanup(sender.close)
        return sender

    def wait_until_joined(self):
        """Until a multicast packet is counted; then the counts are set to zero."""
        last = 1_000_000
        with traffic.UdpEnd(self.peer) as sender:
            def heard():
                sender.send(traffic.packet(0), traffic.GROUP, traffic.GROUP_PORT)
                row = self.program.row(self.peer.address)
                return row and row["multicast"]["total"] > 0
            lab.eventually(heard, 30, "a multicast packet is counted", every=0.2)
            # The number behind zeros begins afresh, and the next adds its distance.
            for number in (1, last):
                sender.send(traffic.packet(number), traffic.GROUP, traffic.GROUP_PORT)
        # Counted behind all others, none of which can then be counted after the reset.
        self.program.wait_for_row(self.peer.address, lambda row: row["multicast"]["total"] >= last)
        self.program.signal(lab.signal.SIGUSR2)
        self.program.wait_for_row(self.peer.address, lambda row: row["multicast"]["total"] == 0)

    def send_and_see(self, sender, counts):
        """Sends the numbers one by one, each when the one before has been counted to its (received, total)."""
        for number, expected in counts:
            sender.send(traffic.packet(number))
            self.program.wait_for_row(self.peer.address, lambda row: (
                row[sender.protocol]["received"], row[sender.protocol]["total"]) == expected)

    def check_one_two_five(self, protocol, index):
        sender = self.listen(protocol)
        self.send_and_see(sender, [(1, (1, 1)), (2, (2, 2)), (5, (3, 5))])
        self.assertEqual(self.program.stop(), 0)
        row = self.program.final_rows()[self.peer.address]
        self.assertEqual(lab.counts(row, protocol), {"received": 3, "total": 5, "lost": 2})
        self.assertEqual((row["quality"], row["label"]), (60, "10.77.0.2 (peer)"))
        # In the report the second figure is the total and the losses, for every protocol.
        report = self.device.wait_for_log_line("S Name: 10.77.0.2 ")
        pairs = re.search(PAIR, report).groups()
        expected = ["0"] * 8
        expected[2 * index:2 * index + 2] = ["5", "7"]
        self.assertEqual(list(pairs), expected)
        self.assertIn("Quality:  60%", report)

    def test_udp_1_2_5_is_3_of_5(self):
        self.check_one_two_five("udp", 2)

    def test_tcpip_1_2_5_is_3_of_5(self):
        self.check_one_two_five("tcpip", 1)

    def test_multicast_1_2_5_is_3_of_5(self):
        self.check_one_two_five("multicast", 0)

    def test_number_that_is_not_greater_than_the_last_adds_one_and_loses_nothing(self):
        sender = self.listen("udp")
        self.send_and_see(sender, [(5, (1, 1)), (6, (2, 2)), (6, (3, 3)), (2, (4, 4)), (3, (5, 5)), (-7, (6, 6)),
                                   (-5, (7, 8))])

    def test_zero_counts_once_and_the_next_number_begins_afresh(self):
        sender = self.listen("udp")
        self.send_and_see(sender, [(0, (1, 1))])
        sender.send(traffic.packet(1))
        self.send_and_see(sender, [(2, (2, 2)), (4, (3, 4))])

    def test_senders_are_counted_each_on_its_own_row(self):
        other = self.lab.device("pocket3")
        self.device.configure("udp", peers={"peer": self.peer.address, "other": other.address})
        self.program = self.device.measure()
        self.device.wait_until_listening()
        with traffic.UdpEnd(self.peer) as first, traffic.UdpEnd(other) as second:
            first.send(traffic.packet(1), self.device.address)
            second.send(traffic.packet(10), self.device.address)
            self.program.wait_for_row(self.peer.address, lambda row: row["udp"]["total"] == 1)
            self.program.wait_for_row(other.address, lambda row: row["udp"]["total"] == 1)
            second.send(traffic.packet(13), self.device.address)
            self.program.wait_for_row(other.address, lambda row: row["udp"]["total"] == 4)
            self.assertEqual(self.program.row(self.peer.address)["udp"]["total"], 1)

    def test_what_is_taken_for_a_packet_and_what_is_not(self):
        """One line a datagram: what it is, and the number that it counts as; None: none."""
        sender = self.listen("udp")
        tag = traffic.TAG
        cases = [(tag + b"|5|\0", 5), (tag + b"|6", None), (tag + b"|6|", None), (b"", None), (tag, None),
                 (tag + b"X7|name\0", 7), (tag + b"|9|" + b"n" * 3000 + b"\0", 9), (tag + b"|||12|name\0", 12),
                 (tag.lower() + b"|13|name\0", None), (b" " + tag + b"|13|name\0", None), (tag + b"||||||\0", None),
                 (tag + b"|||", None), (tag + b"|14 and more|name\0", 14), (tag + b"|abc|n\0", 0)]
        received, total, last = 0, 0, 0
        for data, number in cases:
            with self.subTest(data[:40]):
                sender.send(data)
                if number is not None:
                    received += 1
                    total += number - last if number > last and received > 1 else 1
                    last = number
                # What follows it shows whether it was counted: a row is no proof that nothing comes.
                marker = last + 1
                sender.send(traffic.packet(marker))
                received += 1
                total += marker - last if received > 1 else 1
                last = marker
                self.program.wait_for_row(self.peer.address, lambda row: (row["udp"]["received"], row["udp"]["total"])
                                          == (received, total))


class UnknownSenderTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")

    def announce(self, name):
        """Sends one packet from the peer once the device's UDP listener is there."""
        self.device.wait_until_listening()
        with traffic.UdpEnd(self.peer) as sender:
            sender.send(traffic.packet(41, name), self.device.address)

    def test_unknown_sender_gets_a_row_and_probes_of_all_kinds(self):
        self.device.configure("udp", "tcpip", "ping")
        with traffic.Capture(self.peer) as capture, traffic.UdpEnd(self.peer, traffic.PORT) as udp, \
                traffic.TcpServer(self.peer) as tcp:
            program = self.device.measure()
            self.announce("Version 9.9.9.9|somebody||||")
            row = program.wait_for_row(self.peer.address)
            self.assertEqual((row["label"], row["name"]), ("10.77.0.2 (somebody)", "somebody"))
            self.assertEqual([traffic.parse(each.data).sequence for each in udp.receive_many(2, within=20)], [0, 1])
            with tcp.accept(20) as end:
                self.assertEqual(traffic.parse(end.receive_packet()).sequence, 0)
            lab.eventually(lambda: capture.echo_requests(source=self.device.address), 20, "an echo request")
            # The packet that revealed the peer is not counted.
            self.assertEqual(program.row(self.peer.address)["udp"]["total"], 0)
        self.device.wait_for_log_line("Created VTR_CPinger to 10.77.0.2$")
        _, lines = lab.split_report(self.device.log_lines()[6:])
        lines = [line[9:] for line in lines if "10.77.0.2" in line and "SOCKET" not in line]
        self.assertEqual(lines, ["New device discovered: address 10.77.0.2 name: somebody",
                                 "Created VTR_CUdpConnector to 10.77.0.2", "Created VTR_CTcpipConnector to 10.77.0.2",
                                 "Created VTR_CPinger to 10.77.0.2"])

    def test_only_the_selected_protocols_probe_the_found_peer(self):
        self.device.configure("udp")
        with traffic.Capture(self.peer) as capture, traffic.UdpEnd(self.peer, traffic.PORT) as udp:
            self.device.measure()
            self.announce("v|n")
            udp.receive_many(5, within=20)
            self.assertEqual(capture.frames(traffic.TCP, source=self.device.address), [])
            self.assertEqual(capture.echo_requests(source=self.device.address), [])

    def test_sender_without_a_name_is_shown_by_its_address(self):
        self.device.configure("udp")
        program = self.device.measure()
        self.announce("")
        row = program.wait_for_row(self.peer.address)
        self.assertEqual((row["label"], row["name"]), ("10.77.0.2", ""))
        self.assertRegex(self.device.wait_for_log_line("New device"), "address 10.77.0.2$")

    def test_control_characters_of_a_name_are_shown_as_question_marks(self):
        self.device.configure("udp")
        program = self.device.measure()
        self.announce("v|a\x1b[31mb\r\nc\u009b\u202ed\u00e9")
        self.assertEqual(program.wait_for_row(self.peer.address)["name"], "a?[31mb??c??d\u00e9")
        self.assertTrue(self.device.wait_for_log_line("New device").endswith("name: a?[31mb??c??d\u00e9"))

    def test_a_name_in_the_code_page_of_a_western_handheld_is_read_in_it(self):
        self.device.configure("udp")
        program = self.device.measure()
        self.announce(b"v|J\xf6rg||")
        self.assertEqual(program.wait_for_row(self.peer.address)["name"], "J\u00f6rg")
        self.assertTrue(self.device.wait_for_log_line("New device").endswith("name: J\u00f6rg"))

    def test_unknown_sender_is_nobody_where_the_settings_say_so(self):
        self.device.configure("udp", **{"peer set includes anyone-in-reach": "no"})
        program = self.device.measure()
        self.announce("v|somebody")
        time.sleep(2)
        self.assertEqual(program.stop(), 2)
        _, lines = lab.split_report(self.device.log_lines()[6:])
        self.assertNotIn("10.77.0.2", "\n".join(lines))

    def test_own_address_is_no_peer(self):
        self.device.configure("udp", "multicast", log_events="yes")
        program = self.device.measure()
        self.device.wait_until_listening()
        with traffic.UdpEnd(self.device) as own:
            own.send(traffic.packet(1, "v|myself"), self.device.address)
        self.device.wait_for_log_line("udp listener received seq # 1 from 10.77.0.1$")
        # It hears its own announcements as well.
        self.device.wait_for_log_line("multicast listener received seq # .* from 10.77.0.1$", within=30)
        self.assertEqual(program.stop(), 2)
        self.assertNotIn("New device", "\n".join(self.device.log_lines()))

    def test_named_peer_of_the_hive_file_is_probed_by_all_protocols(self):
        self.device.configure("udp", "tcpip", "ping", peers={"printer": self.peer.address})
        with traffic.Capture(self.peer) as capture, traffic.UdpEnd(self.peer, traffic.PORT) as udp, \
                traffic.TcpServer(self.peer) as tcp:
            program = self.device.measure()
            self.assertEqual([traffic.parse(each.data).sequence for each in udp.receive_many(2, within=20)], [0, 1])
            with tcp.accept(20) as end:
                self.assertEqual(traffic.parse(end.receive_packet()).sequence, 0)
            lab.eventually(lambda: capture.echo_requests(source=self.device.address), 20, "an echo request")
            self.assertEqual(program.wait_for_row(self.peer.address)["label"], "10.77.0.2 (printer)")

    def test_named_peers_are_left_out_where_the_settings_say_so(self):
        self.device.configure("udp", peers={"printer": self.peer.address},
                              **{"peer set includes named-ip-addresses": "no"})
        program = self.device.measure("-peer", "10.77.0.3=other")
        self.device.wait_for_log_line("Created VTR_CUdpListener", within=20)
        self.assertEqual(program.stop(), 1)
        self.assertEqual(list(program.final_rows()), ["10.77.0.3"])
