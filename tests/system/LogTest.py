"""The test log: its header, its lines, and what is written when."""

import os
import re
import stat
import time

import documents
import lab
import traffic

RULER = "-" * 80


KIND = "(?:(?:tcpip|udp|multicast) (?:connector|listener)|pinger)"


def line_patterns(samples):
    """{sample: pattern} for the examples of a line that stand together in the documentation. Bare names of classes among
    them may stand in place of the first example's class."""
    classes = [sample for sample in samples if re.fullmatch(r"VTR_C\w+", sample)]
    return {sample: line_pattern(sample, classes) for sample in samples if sample not in classes}


def line_pattern(sample, classes):
    """The pattern for a line: other figures, addresses, names and kinds of probe may stand in place of the sample's."""
    pattern = re.escape(sample).replace(r"\ ", " ").replace(r"\#", "#")
    pattern = re.sub(r"VTR_C\w+", lambda own: "(?:" + "|".join([own[0], *classes]) + ")", pattern)
    pattern = re.sub(KIND, KIND, pattern)
    pattern = pattern.replace(r"10\.0\.0\.7", r"[\d.]+").replace("pocket1", r"\S+").replace(r"\.\.\.", ".*")
    # Columns are as wide as what stands in them.
    return re.compile(re.sub("  +", "  +", re.sub(r" *(?<!\d)\d+(?![\d.])", r" *\\d+", pattern)))


class LogTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")

    def lines_with(self, pattern):
        return [line for line in self.device.log_lines() if re.search(pattern, line)]

    def test_header_names_description_program_version_and_time(self):
        self.device.configure("udp", description="The lab's own log")
        before = time.time()
        program = self.device.measure()
        self.device.wait_for_log_line("Test 1 starting", within=20)
        lines = self.device.log_lines()
        self.assertEqual(lines[:4], [RULER, "Description: The lab's own log",
                                     f"Application: {os.path.realpath(lab.program_path())}",
                                     f"Version    : {lab.program_version()}"])
        self.assertEqual(lines[5], RULER)
        self.assertRegex(lines[4], r"^Opened     : [1-9]\d?-[1-9]\d?-\d{4} \d{1,2}:\d\d:\d\d$")
        opened = time.strptime(lines[4].removeprefix("Opened     : "), "%m-%d-%Y %H:%M:%S")
        self.assertLess(abs(time.mktime(opened) - time.mktime(time.gmtime(before))), 60)
        program.stop()

    def test_every_further_line_begins_with_the_time_and_ends_with_carriage_return_and_line_feed(self):
        self.device.configure("udp", log_events="yes", peers={"peer": self.peer.address})
        program = self.device.measure()
        self.device.wait_for_log_line("sent seq # 3", within=20)
        program.stop()
        with open(self.device.log_path, "rb") as file:
            log = file.read()
        self.assertTrue(log.endswith(b"\r\n"))
        self.assertEqual(log.count(b"\n"), log.count(b"\r\n"))
        self.assertEqual(log.count(b"\r"), log.count(b"\r\n"))
        for line in self.device.log_lines()[6:]:
            self.assertRegex(line, r"^([01]\d|2[0-3]):[0-5]\d:[0-5]\d ")

    def test_a_whole_test_with_default_settings_logs_just_this(self):
        self.device.write_settings({"ping selected": "no"}, {"peer": self.peer.address})
        with traffic.UdpEnd(self.peer, traffic.PORT) as receiver, traffic.TcpServer(self.peer):
            program = self.device.measure()
            receiver.receive_many(2, within=20)
        self.assertEqual(program.stop(), 1)
        _, rest = lab.split_report(self.device.log_lines()[6:])
        lines = [line[9:] for line in rest]
        self.assertEqual([line for line in lines if "SOCKET ERROR" not in line], [
            " ---- Test 1 starting ---", "Created VTR_CUdpConnector to 10.77.0.2",
            "Created VTR_CTcpipConnector to 10.77.0.2", "Created VTR_CMulticastConnector",
            "Created VTR_CMulticastListener", "Created VTR_CUdpListener", "Created VTR_CTcpipListener",
            "S Name: 10.77.0.2 (peer)               Quality:   0% Multicast:     0 / 0     Tcpip:     0 / 0     "
            "Udp:     0 / 0     Ping:     0 / 0    ", " ---- Test 1 complete ---"])

    def test_the_documentation_shows_the_header_and_every_line_of_a_real_log(self):
        self.peer.configure(*lab.PROTOCOLS)
        self.peer.measure()
        rest = []
        # A named peer and one that is found; without the probes' texts and with them.
        for peers, log_data in (({"peer": self.peer.address}, "no"), ({}, "yes")):
            self.device.write_settings({"log events": "yes", "log data packets": log_data}, peers)
            program = self.device.measure()
            for line in ("tcpip listener received", "multicast listener received", "sent seq # 3 to 10.77.0.2"):
                self.device.wait_for_log_line(re.escape(line), within=30)
            program.stop()
            lines = self.device.log_lines()
            rest += lab.split_report(lines[6:])[1]
            os.remove(self.device.log_path)
        chapter = documents.section("formats.md", "## The test log")
        header, = documents.examples(chapter)
        self.assertEqual([re.sub(r"(?<=: )(/|Version ).*|\d+", "", line) for line in lines[:6]],
                         [re.sub(r"(?<=: )(/|Version ).*|\d+", "", line) for line in header])
        patterns = {}
        for samples in documents.first_cells(chapter):
            patterns.update(line_patterns(samples))
        seen = set()
        for line in rest:
            if "SOCKET ERROR" in line:  # of a device that comes before the other
                continue
            found = {sample for sample, pattern in patterns.items() if pattern.fullmatch(line[9:])}
            self.assertTrue(found, line)
            seen |= found
        of_failures = {sample for sample in patterns if "ERROR" in sample or "failed" in sample}
        of_the_report = {sample for sample in patterns if sample.startswith("**")}
        self.assertEqual(set(patterns) - of_failures - of_the_report - seen, set())

    def test_program_that_starts_again_begins_the_log_anew(self):
        self.device.configure("udp", description="first")
        self.device.start("-headless", "-duration", "0.2").wait()
        self.device.configure("udp", description="second")
        self.device.start("-headless", "-duration", "0.2").wait()
        log = "\n".join(self.device.log_lines())
        self.assertNotIn("first", log)
        self.assertEqual(log.count("\nDescription: second\n"), 1)
        self.assertEqual(log.count("Test 1 starting"), 1)

    def test_log_of_a_running_test_is_not_touched_by_a_second_program(self):
        self.device.configure("udp", log_events="yes", peers={"peer": self.peer.address})
        program = self.device.measure()
        self.device.wait_for_log_line("sent seq # 1", within=20)
        second = self.device.start("-headless", "-duration", "1")
        self.assertEqual(second.wait(), 4)
        self.assertEqual(second.errors(),
                         f"linkometry: the log {os.path.basename(self.device.log_path)} is in use by another "
                         "linkometry\n")
        sent = len(self.lines_with("sent seq"))
        lab.eventually(lambda: len(self.lines_with("sent seq")) > sent, 20, lambda: "the log goes on")
        program.stop()
        self.assertEqual(len(self.lines_with("Test 1 starting")), 1)
        self.assertEqual(len(self.lines_with("Test 1 complete")), 1)

    def test_log_of_a_program_that_was_killed_is_free(self):
        self.device.configure("udp")
        program = self.device.measure()
        self.device.wait_for_log_line("Test 1 starting", within=20)
        program.kill()
        self.assertEqual(self.device.start("-headless", "-duration", "0.2").wait(), 2)

    def test_log_that_is_emptied_by_hand_goes_on_without_a_hole(self):
        self.device.configure("udp", period=50, log_events="yes", peers={"peer": self.peer.address})
        program = self.device.measure()
        self.device.wait_for_log_line("sent seq # 3", within=20)
        os.truncate(self.device.log_path, 0)
        self.device.wait_for_log_line("sent seq", within=20)
        program.stop()
        with open(self.device.log_path, "rb") as file:
            log = file.read()
        self.assertNotIn(b"\0", log)
        self.assertRegex(log, rb"^\d\d:\d\d:\d\d ")

    def test_log_is_closed_to_whom_the_registry_is_closed(self):
        def mode():
            return stat.S_IMODE(os.stat(self.device.log_path).st_mode)
        self.device.configure("udp")
        program = self.device.measure()
        self.device.wait_for_log_line("Created VTR_CUdpListener", within=20)
        self.assertEqual(mode(), 0o644)
        os.chmod(self.device.hive_path, 0o600)
        program.signal(lab.signal.SIGHUP)
        self.device.wait_for_log_line("Test 2 starting", within=20)
        self.device.wait_for_log_line("Created VTR_CUdpListener", within=20)
        lab.eventually(lambda: mode() == 0o600, 20, lambda: oct(mode()))
        program.stop()
        self.device.start("-headless", "-duration", "0.2").wait()
        self.assertEqual(mode(), 0o600)

    def test_log_is_where_the_settings_say(self):
        self.device.configure("udp", log_filename=os.path.join(self.device.folder, "other name.log"))
        self.device.start("-headless", "-duration", "0.2").wait()
        self.assertIn("other name.log", os.listdir(self.device.folder))
        self.assertEqual(self.device.log_lines(), [])

    def test_probes_are_logged_when_switched_on_and_only_then(self):
        for switches, expected in (({}, None),
                                   ({"log data packets": "yes"}, None),
                                   ({"log events": "yes"}, r"E :udp connector sent seq # 2 to 10\.77\.0\.2$"),
                                   ({"log events": "YES", "log data packets": "yes"},
                                    r"E :udp connector sent seq # 2 to 10\.77\.0\.2Data sent: $")):
            with self.subTest(switches), traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
                self.device.configure("udp", period=50, peers={"peer": self.peer.address}, **switches)
                program = self.device.measure()
                receiver.receive_many(5, within=20)
                if expected:
                    self.device.wait_for_log_line(expected)
                program.stop()
                if not expected:
                    self.assertEqual(self.lines_with("seq #"), [])

    def test_numbers_of_sent_lines_are_those_on_the_wire(self):
        self.device.configure("udp", period=50, peers={"peer": self.peer.address}, log_events="yes")
        with traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
            program = self.device.measure()
            receiver.receive_many(20, within=20)
            program.stop()
            received = receiver.receive_for(0.5)
        logged = [int(line.split("seq # ")[1].split()[0]) for line in self.lines_with("udp connector sent seq")]
        self.assertEqual(logged, list(range(len(logged))))
        # A second test of the same program did not begin, so what was sent last was logged.
        self.assertEqual(logged[-1], traffic.parse(received[-1].data).sequence if received else 19)

    def test_received_probes_are_logged_with_their_sender_and_text(self):
        self.device.configure("udp", log_events="yes", log_data_packets="yes", peers={"peer": self.peer.address})
        self.device.measure()
        with traffic.UdpEnd(self.peer) as sender:
            self.device.wait_until_listening()
            sender.send(traffic.packet(7, "Version 1.2.3.4|x||"), self.device.address)
        line = self.device.wait_for_log_line("received")
        self.assertEqual(line[9:], "E :udp listener received seq # 7 from 10.77.0.2Data received: Version 1.2.3.4|x||")

    def test_format_characters_in_foreign_text_are_only_text(self):
        self.device.configure("udp", log_events="yes", log_data_packets="yes")
        program = self.device.measure()
        with traffic.UdpEnd(self.peer) as sender:
            self.device.wait_until_listening()
            sender.send(traffic.packet(7, "v|%s%n%d"), self.device.address)
        self.assertRegex(self.device.wait_for_log_line("New device"), r"name: %s%n%d$")
        self.assertEqual(program.wait_for_row(self.peer.address)["name"], "%s%n%d")
        program.stop()
        self.assertRegex(self.device.wait_for_log_line("S Name"), r"10\.77\.0\.2 \(%s%n%d\)")

    def test_udp_error_is_logged_once_until_a_send_succeeds(self):
        self.device.configure("udp", period=100, peers={"peer": self.peer.address}, log_events="yes")
        error = r"SOCKET ERROR: \(logged only once until successfull udp send to this address to avoid filling the " \
                r"logfile\) on udp connector \( 10\.77\.0\.2 \) :send failed 10051$"

        def count(pattern):
            return len(self.lines_with(pattern))
        with traffic.Capture(self.peer) as capture:
            def heard():
                return len(capture.frames(traffic.UDP, source=self.device.address))
            self.device.measure()
            for times in (1, 2):
                before = heard()
                lab.eventually(lambda: heard() >= before + 5, 20, "probes arrive")
                self.take_down()
                lab.eventually(lambda: count(error) == times, 20, lambda: "\n".join(self.device.log_lines()))
                time.sleep(1)
                self.assertEqual(count(error), times)
                self.take_up()
            sequences = [traffic.parse(frame.payload).sequence
                         for frame in capture.frames(traffic.UDP, source=self.device.address)]
        # No number was used up by a send that failed.
        self.assertEqual(sequences, list(range(len(sequences))))

    def test_multicast_error_is_logged_every_time(self):
        self.device.configure("multicast", period=100)
        self.device.measure()
        self.device.wait_for_log_line("Created VTR_CMulticastListener", within=20)
        self.take_down()
        error = r"SOCKET ERROR: on multicast connector \( 228\.227\.226\.225 \) :send failed 10051$"
        lab.eventually(lambda: len(self.lines_with(error)) >= 5, 20, lambda: "\n".join(self.device.log_lines()))

    def test_signal_writes_the_report_lines_while_the_test_goes_on(self):
        self.device.configure("udp", peers={"peer": self.peer.address})
        program = self.device.measure()
        self.device.wait_for_log_line("Created VTR_CUdpListener", within=20)
        program.signal(lab.signal.SIGUSR1)
        self.device.wait_for_log_line("S Name: 10.77.0.2 ")
        self.assertEqual(self.lines_with("complete"), [])
        self.assertTrue(program.is_running())

    def take_down(self):
        with self.device.inside():
            lab.ip("link set eth0 down")

    def take_up(self):
        with self.device.inside():
            lab.ip("link set eth0 up", "route replace default via 10.77.0.254")
