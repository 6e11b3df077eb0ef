"""Options, formats and exit statuses of the headless program."""

import json
import os
import re
import time

import documents
import lab
import traffic

NOWHERE = "10.77.0.99"

UNUSABLE = {
    ("-duration",): "-duration: the argument is missing",
    ("-duration", "soon"): '-duration: "soon" is not a number of seconds',
    ("-duration", "-1"): '-duration: "-1" is not a number of seconds',
    ("-duration", "1e3"): '-duration: "1e3" is not a number of seconds',
    ("-duration", "1,5"): '-duration: "1,5" is not a number of seconds',
    ("-duration", ""): '-duration: "" is not a number of seconds',
    ("-duration", "99999999999999999999"): '-duration: "99999999999999999999" is not a number of seconds',
    ("-interval",): "-interval: the argument is missing",
    ("-interval", "0"): "-interval: the interval must be longer than 0 seconds",
    ("-interval", "often"): '-interval: "often" is not a number of seconds',
    ("-format",): "-format: the argument is missing",
    ("-format", "xml"): '-format: "xml" is none of table, json, csv and events',
    ("-maxsilence",): "-maxsilence: the argument is missing",
    ("-maxsilence", "long"): '-maxsilence: "long" is not a number of seconds',
    ("-events",): "-events: the argument is missing",
    ("-events", ""): "-events: the name is empty",
    ("-onchange", ""): "-onchange: the name is empty",
    ("-alertafter", "-1"): '-alertafter: "-1" is not a number of seconds',
    ("--allowsilent=yes",): "-allowsilent: it takes no argument",
    ("-minquality",): "-minquality: the argument is missing",
    ("-minquality", "101"): '-minquality: "101" is not a whole number from 0 to 100',
    ("-minquality", "-1"): '-minquality: "-1" is not a whole number from 0 to 100',
    ("-minquality", "50.5"): '-minquality: "50.5" is not a whole number from 0 to 100',
    ("-minquality", "all"): '-minquality: "all" is not a whole number from 0 to 100',
    ("-peer",): "-peer: the argument is missing",
    ("-peer", "300.1.1.1"): '-peer: "300.1.1.1" is not an IPv4 address such as 10.0.0.7, nor a host\'s name',
    ("-peer", "=name"): '-peer: "" is not an IPv4 address such as 10.0.0.7, nor a host\'s name',
    ("-peer", "::1"): '-peer: "::1" is not an IPv4 address such as 10.0.0.7, nor a host\'s name',
    ("-peer", "10.0.0.\x1b[7m"): '-peer: "10.0.0.?[7m" is not an IPv4 address such as 10.0.0.7, nor a host\'s name',
    ("10.0.0.256",): '"10.0.0.256" is not an IPv4 address such as 10.0.0.7, nor a host\'s name',
    ("--duration=soon",): '-duration: "soon" is not a number of seconds',
    ("--headless=yes",): "-headless: it takes no argument",
    ("-durations", "5"): "-durations: there is no such option; did you mean -duration?",
    ("--intervall=5",): "-intervall: there is no such option; did you mean -interval?",
    ("-verb\x1bose",): "-verb?ose: there is no such option",
}


def json_form(line):
    """What two rows of JSON of different tests have in common: the names of all fields, in their order."""
    def names(value):
        return [(name, names(inner)) for name, inner in value.items()] if isinstance(value, dict) else None
    return names(json.loads(line))


def described_fields(text):
    return [field for cell in documents.first_cells(text) for field in cell]


class UnusableCommandLineTest(lab.SystemTest):
    def test_every_unusable_command_line_ends_with_status_3_and_touches_nothing(self):
        device = self.lab.device("pocket1")
        for arguments, text in UNUSABLE.items():
            with self.subTest(arguments):
                program = device.start("-headless", *arguments)
                self.assertEqual(program.wait(), 3)
                self.assertEqual(program.errors(), f"linkometry: {text}\nlinkometry: -help lists the options\n")
                self.assertEqual(program.output(), "")
        self.assertEqual(os.listdir(device.registry_folder), [])
        self.assertFalse(os.path.exists(device.log_path))

    def test_first_mistake_is_the_one_that_is_told(self):
        program = self.lab.device("pocket1").start("-format", "xml", "-minquality", "many")
        self.assertEqual(program.wait(), 3)
        self.assertIn("-format", program.errors())
        self.assertNotIn("-minquality", program.errors())


class OptionsTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")
        self.device.configure("udp")

    def test_help_and_version_go_to_standard_output_and_touch_nothing(self):
        os.remove(self.device.hive_path)
        for option in ("-help", "--help", "-HELP", "-h"):
            program = self.device.start(option)
            self.assertEqual(program.wait(), 0)
            self.assertIn("\nusage: linkometry [options] [peers]\n", program.output())
            for named in ("-headless", "-duration", "-peer", "-interval", "-format", "-minquality", "-getinfo"):
                self.assertIn(f"\n  {named}", program.output())
            self.assertEqual(program.errors(), "")
        for option in ("-version", "--version", "-V"):
            program = self.device.start(option, "-headless")
            self.assertEqual(program.wait(), 0)
            self.assertRegex(program.output(), r"\Alinkometry Version \d+\.\d+\.\d+\.\d+\n\Z")
        self.assertEqual(os.listdir(self.device.registry_folder), [])
        self.assertFalse(os.path.exists(self.device.log_path))

    def test_options_may_have_two_dashes_and_an_equals_sign(self):
        program = self.device.start("--headless", "--duration=0", f"--peer={NOWHERE}=nobody", "--format", "json")
        self.assertEqual(program.wait(), 1)
        self.assertEqual(program.final_rows()[NOWHERE]["name"], "nobody")

    def test_words_without_a_dash_are_peers_by_address_or_by_the_name_of_a_host(self):
        program = self.device.start("localhost", f"{NOWHERE}=nobody", "-duration", "0", "-format", "json")
        self.assertEqual(program.wait(), 1)
        self.assertEqual([row["label"] for row in program.final_rows().values()],
                         ["127.0.0.1 (localhost)", "10.77.0.99 (nobody)"])

    def test_host_that_nobody_knows_is_told_in_words_and_ends_with_status_4(self):
        program = self.device.start("-headless", "no-such-host.invalid")
        self.assertEqual(program.wait(), 4)
        self.assertRegex(program.errors(), r"\Alinkometry: cannot find the peer no-such-host\.invalid: \w.*\n\Z")
        self.assertEqual(program.output(), "")

    def test_peer_that_is_given_twice_or_named_in_the_settings_is_taken_once_and_this_is_said(self):
        self.device.configure("udp", peers={"the printer": self.peer.address})
        program = self.device.start("-headless", "-format", "json", "-duration", "0", "-peer", self.peer.address, NOWHERE,
                                    f"{NOWHERE}=again")
        self.assertEqual(program.wait(), 1)
        self.assertEqual([row["label"] for row in program.rows()],
                         ["10.77.0.99 (manually added)", "10.77.0.2 (the printer)"])
        for address in (self.peer.address, NOWHERE):
            self.assertIn(f"linkometry: {address} is a peer already; it is taken once\n", program.errors())

    def test_options_are_compared_without_regard_to_case(self):
        program = self.device.start("-HEADLESS", "-Duration", "0", "-Peer", NOWHERE, "-FORMAT", "JSON")
        self.assertEqual(program.wait(), 1)
        self.assertEqual(list(program.final_rows()), [NOWHERE])

    def test_without_headless_the_test_is_headless_too_where_there_is_no_terminal(self):
        program = self.device.start("-duration", "0.2")
        self.assertEqual(program.wait(), 2)
        self.assertIn("no peer was found\n", program.output())

    def test_duration_ends_the_test_by_itself(self):
        before = time.monotonic()
        program = self.device.start("-headless", "-duration", "2.5")
        self.assertEqual(program.wait(), 2)
        took = time.monotonic() - before
        self.assertGreater(took, 2.5)
        # With what a busy machine takes to start and to end the program.
        self.assertLess(took, 30)
        self.assertTrue(self.device.log_lines()[-1].endswith(" ---- Test 1 complete ---"))

    def test_interval_prints_a_snapshot_that_often_and_the_last_one_is_final(self):
        program = self.device.start("-headless", "-format", "json", "-duration", "6", "-interval", "1",
                                    "-peer", NOWHERE)
        self.assertEqual(program.wait(), 1)
        rows = program.rows()
        self.assertEqual([row.get("final") for row in rows[:-1]], [None] * (len(rows) - 1))
        self.assertIs(rows[-1]["final"], True)
        # Five within the time and the final one; a machine that sleeps through an interval leaves it out.
        self.assertIn(len(rows), range(3, 7))
        self.assertEqual([row["time"] for row in rows], sorted(row["time"] for row in rows))

    def test_without_an_interval_there_is_the_result_alone(self):
        program = self.device.start("-headless", "-format", "json", "-duration", "1.5", "-peer", NOWHERE)
        self.assertEqual(program.wait(), 1)
        self.assertEqual([row["final"] for row in program.rows()], [True])

    def test_minimum_quality_decides_about_the_exit_status(self):
        for minimum, status in ((60, 0), (61, 1)):
            with self.subTest(minimum=minimum), traffic.UdpEnd(self.peer) as sender:
                # Nothing more comes, which is none of this test's business.
                program = self.device.measure("-minquality", minimum, "-allowsilent", "-peer", self.peer.address)
                self.device.wait_until_listening()
                for number in (1, 2, 5):
                    sender.send(traffic.packet(number), self.device.address)
                program.wait_for_row(self.peer.address, lambda row: row["quality"] == 60)
                self.assertEqual(program.stop(), status)

    def test_peers_of_the_command_line_come_first_and_are_probed(self):
        self.device.configure("udp", peers={"hive": "10.77.0.98"})
        with traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
            program = self.device.measure("-peer", f"{self.peer.address}=the printer", "-peer", NOWHERE)
            receiver.receive_many(2, within=20)
            self.assertEqual(program.stop(), 1)
        self.assertEqual([row["label"] for row in program.final_rows().values()],
                         ["10.77.0.2 (the printer)", "10.77.0.99 (manually added)", "10.77.0.98 (hive)"])

    def test_device_can_measure_itself_over_loopback(self):
        self.device.configure("udp", "tcpip", "ping")
        program = self.device.measure("-peer", "127.0.0.1=this-device")
        program.wait_for_row("127.0.0.1", lambda row: all(row[each]["received"] >= 5 for each in
                                                          ("udp", "tcpip", "ping")))
        self.assertEqual(program.stop(), 0)
        row = program.final_rows()["127.0.0.1"]
        self.assertEqual((row["label"], [row[each]["lost"] for each in ("udp", "tcpip")]),
                         ("127.0.0.1 (this-device)", [0, 0]))

    def test_json_has_these_fields_in_this_order(self):
        program = self.device.start("-headless", "-format", "json", "-duration", "0", "-peer", f"{NOWHERE}=\u00e9\"x")
        program.wait()
        none = r'\{"received":0,"total":0,"lost":0,"state":[^{}]*,"interval":\{"received":0,"lost":0\},"out":\{[^{}]*\}\}'
        self.assertRegex(program.output(), re.compile(
            r'\A\{"time":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z",' + re.escape(
                '"test":1,"address":"10.77.0.99","name":"\u00e9\\"x","label":"10.77.0.99 (\u00e9\\"x)","quality":0,') +
            f'"multicast":{none},"tcpip":{none},"udp":{none},"ping":{none},'
            r'"observer":\{"address":"10\.77\.0\.1","name":"pocket1"\},"state":"waiting",.*,"final":true\}\n\Z'))
        self.assertEqual(json.loads(program.output())["name"], '\u00e9"x')

    def test_the_documentation_shows_a_real_row_of_json(self):
        chapter = documents.section("formats.md", "## Snapshots as JSON")
        (documented,), = documents.examples(chapter)
        program = self.device.start("-headless", "-format", "json", "-duration", "0", "-peer", f"{NOWHERE}=nobody")
        program.wait()
        self.assertEqual(json_form(program.output()), json_form(documented))
        row = json.loads(documented)
        fields = described_fields(chapter.partition("\n### ")[0])
        # That one stands only where probes could not be made.
        self.assertEqual([field for field in fields if field != "notMade"], list(row))
        for title, part in (("Each kind of traffic", row["udp"]), ("What this device sends", row["udp"]["out"]),
                            ("Round-trip times", row["rtt_us"]), ("Outages", row["outages"][0])):
            self.assertEqual(described_fields(documents.section("formats.md", f"### {title}")), list(part), title)

    def test_table_is_what_is_printed_unless_something_else_is_asked_for(self):
        program = self.device.start("-headless", "-duration", "0", "-peer", f"{NOWHERE}=nobody")
        self.assertEqual(program.wait(), 1)
        lines = program.output().split("\n")
        self.assertRegex(lines[0], r"^\d\d:\d\d:\d\d  test 1, result after 0 s$")
        self.assertEqual(lines[1:], [
            "IP-Address (name)    Quality (%)  Mcast (Recv/Total)  Tcpip (Recv/Total)  Udp (Recv/Total)  "
            "Ping (Ack/Sent)    State  Rtt (mean)",
            "10.77.0.99 (nobody)            0                 0/0                 0/0               0/0  "
            "            0/0  waiting           -",
            "0 of 1 peer reachable (quality at least 1 %)", ""])

    def test_without_rows_json_says_nothing_and_the_table_says_so(self):
        program = self.device.start("-headless", "-format", "json", "-duration", "1", "-interval", "0.2")
        self.assertEqual(program.wait(), 2)
        self.assertEqual(program.output(), "")
        program = self.device.start("-headless", "-duration", "3", "-interval", "0.4")
        self.assertEqual(program.wait(), 2)
        self.assertIn("running after", program.output())
        self.assertIn("\n(no peer heard so far)\n", program.output())
        self.assertTrue(program.output().endswith("\nno peer was found\n"))


class ExitStatusTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")

    def test_0_when_every_peer_is_reached_and_1_when_one_is_not(self):
        self.device.configure("ping")
        for peers, status in (((self.peer.address,), 0), ((self.peer.address, NOWHERE), 1)):
            with self.subTest(peers):
                program = self.device.measure(*(word for peer in peers for word in ("-peer", peer)))
                program.wait_for_row(self.peer.address, lambda row: row["ping"]["received"] > 0)
                self.assertEqual(program.stop(), status)

    def test_2_when_no_peer_is_known(self):
        self.device.configure("udp", "tcpip", "multicast", "ping")
        self.assertEqual(self.device.start("-headless", "-duration", "0.5").wait(), 2)

    def check_port_in_use(self, text):
        program = self.device.start("-headless", "-duration", "30", "-peer", self.peer.address)
        self.assertEqual(program.wait(), 4)
        self.assertIn(f"linkometry: cannot listen: {text} (The address is in use; is another linkometry running?)\n",
                      program.errors())
        self.assertEqual(program.output(), "")
        self.assertTrue(self.device.wait_for_log_line(
            re.escape(f"StartListening failed returned {text}")).endswith(text))

    def test_4_when_the_udp_port_is_in_use(self):
        self.device.configure("udp", "tcpip")
        with traffic.UdpEnd(self.device, traffic.PORT):
            self.check_port_in_use("udp listener : bind failed 10048")

    def test_4_when_the_tcp_port_is_in_use(self):
        self.device.configure("udp", "tcpip")
        with traffic.TcpServer(self.device):
            self.check_port_in_use("tcpip listener : bind failed 10048")

    def test_4_when_the_multicast_port_is_in_use_by_somebody_who_does_not_share_it(self):
        self.device.configure("multicast")
        with traffic.UdpEnd(self.device, traffic.GROUP_PORT):
            self.check_port_in_use("multicast listener : bind failed 10048")

    def test_4_when_a_second_program_is_started(self):
        self.device.configure("udp")
        first = self.device.measure()
        self.device.wait_until_listening()
        self.device.configure("udp", log_filename="second.txt")
        self.assertEqual(self.device.start("-headless").wait(), 4)
        self.assertTrue(first.is_running())

    def test_4_when_the_folder_of_the_log_is_missing(self):
        self.device.configure("udp", log_filename=os.path.join(self.device.folder, "missing", "log.txt"))
        program = self.device.start("-headless", "-duration", "30")
        self.assertEqual(program.wait(), 4)
        self.assertRegex(program.errors(), r"(?m)^linkometry: cannot open the log file .*/missing/log\.txt: .+$")
        self.assertEqual(program.output(), "")

    def test_4_when_the_log_is_a_folder(self):
        folder = os.path.join(self.device.folder, "taken")
        os.mkdir(folder)
        self.device.configure("udp", log_filename=folder)
        program = self.device.start("-headless", "-duration", "30")
        self.assertEqual(program.wait(), 4)
        self.assertIn("cannot open the log file", program.errors())
        self.assertTrue(os.path.isdir(folder))


class OutputTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device = self.lab.device("pocket1")
        self.device.configure("udp")

    def test_reader_that_leaves_ends_the_program_in_good_order(self):
        script = 'timeout 60 "$0" "$@" | head -n 1 >first-line; exit "${PIPESTATUS[0]}"'
        program = self.device.start("-headless", "-interval", "0.1", "-peer", NOWHERE, through=("bash", "-c", script))
        self.assertEqual(program.wait(), 1)
        with open(os.path.join(self.device.folder, "first-line"), encoding="utf-8") as file:
            self.assertRegex(file.read(), r"\A\d\d:\d\d:\d\d  test 1, running after \d+ s\n\Z")
        self.assertTrue(self.device.log_lines()[-1].endswith(" ---- Test 1 complete ---"))

    def test_output_on_a_full_disk_ends_the_program_in_good_order(self):
        program = self.device.start("-headless", "-interval", "0.1", "-peer", NOWHERE,
                                    through=("sh", "-c", 'exec timeout 60 "$0" "$@" >/dev/full'))
        self.assertEqual(program.wait(), 1)
        self.assertEqual(program.errors().count("cannot write to the standard output: No space left on device\n"), 1)
        self.assertTrue(self.device.log_lines()[-1].endswith(" ---- Test 1 complete ---"))

    def into(self, device, *arguments):
        """Standard output is that device."""
        return self.device.start(*arguments, through=("sh", "-c", f'exec "$0" "$@" >{device}'))

    def test_lost_result_is_a_failure_though_every_peer_is_reached(self):
        self.device.configure("ping")
        program = self.into("/dev/full", "-headless", "-duration", "2", "127.0.0.1")
        self.assertEqual(program.wait(), 1)
        self.assertIn("linkometry: cannot write to the standard output: No space left on device\n", program.errors())
        self.assertEqual(self.into("/dev/null", "-headless", "-duration", "2", "127.0.0.1").wait(), 0)

    def test_help_and_version_that_are_lost_are_a_failure(self):
        for option in ("-help", "-version", "-h", "--version"):
            with self.subTest(option):
                program = self.into("/dev/full", option)
                self.assertEqual(program.wait(), 1)
                self.assertEqual(program.errors(),
                                 "linkometry: cannot write to the standard output: No space left on device\n")

    def test_reader_of_the_help_that_leaves_is_not_told_anything(self):
        program = self.device.start("-help", through=("bash", "-c", '"$0" "$@" | true'))
        self.assertEqual((program.wait(), program.errors()), (0, ""))

    def test_output_that_does_not_block_is_waited_for(self):
        self.device.configure("udp", peers={f"peer {number}": f"10.77.0.{number}" for number in range(100, 250)})
        # The reader makes the pipe one that does not block, and begins to read when it is long full.
        reader = ("import fcntl, os, sys, time\n"
                  "fcntl.fcntl(1, 1031, 4096)\n"
                  "fcntl.fcntl(1, fcntl.F_SETFL, os.O_WRONLY | os.O_NONBLOCK)\n"
                  "os.execvp(sys.argv[1], sys.argv[1:])\n")
        script = 'set -o pipefail; python3 -c "$READER" "$0" "$@" | (sleep 2; cat)'
        program = self.device.start("-headless", "-format", "json", "-duration", "0.5",
                                    through=("env", f"READER={reader}", "bash", "-c", script))
        self.assertEqual(program.wait(), 1)
        self.assertEqual(len(program.final_rows()), 150)
        self.assertNotIn("cannot write", program.errors())

    def test_program_that_is_started_without_standard_descriptors_prints_into_nothing_else(self):
        for closed in (">&-", "2>&-", "<&- >&- 2>&-"):
            with self.subTest(closed):
                program = self.device.start("-headless", "-duration", "0.5", "-interval", "0.1", "-peer", NOWHERE,
                                            through=("sh", "-c", f'exec "$0" "$@" {closed}'))
                self.assertEqual(program.wait(), 1)
                with open(self.device.log_path, encoding="utf-8") as log:
                    self.assertNotRegex(log.read(), r"linkometry: |IP-Address \(name\)")
