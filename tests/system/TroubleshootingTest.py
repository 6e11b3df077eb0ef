"""docs/troubleshooting.md is true: what it shows for a trouble is what the program says when that trouble is made."""

import os
import re
import subprocess
import threading
import time

import lab
import traffic

DOCUMENT = os.path.join(os.path.dirname(__file__), "..", "..", "docs", "troubleshooting.md")
# What stands there for the folder of a device's registry.
SETTINGS_FOLDER = "/etc/vantiro-diagnostic"
SHOWN = re.compile(r"^    (?:\d\d:\d\d:\d\d (?P<log>.*)|(?P<errors>linkometry: .*))$")
# How many probes had arrived when a line was written, when that was, and how many lines are missing is not what it is
# about; the patterns are of an escaped text.
SOME_PROBES = re.compile(r"(?:\\ )+[1-9]\d*\\ /\\ [1-9]\d*(?:\\ )+")
SOME_TIME = re.compile(r"\d\d:\d\d:\d\d")
SOME_LINES = re.compile(r"[1-9]\d*(?=\\ lines)")


def shown():
    """What the document shows: {heading: [("log" or "errors", pattern of the line)]}."""
    sections, heading = {}, None
    with open(DOCUMENT, encoding="utf-8") as file:
        for line in file.read().split("\n"):
            match = SHOWN.match(line)
            if line.startswith("## "):
                heading = line[3:]
            elif match:
                pattern = re.escape(match[match.lastgroup])
                for some, instead in ((SOME_PROBES, r" +[1-9]\d* / [1-9]\d* +"), (SOME_TIME, r"\d\d:\d\d:\d\d"),
                                      (SOME_LINES, r"[1-9]\d*")):
                    pattern = some.sub(lambda _, text=instead: text, pattern)
                sections.setdefault(heading, []).append((match.lastgroup, re.compile(pattern)))
    return sections


class TroubleshootingTest(lab.SystemTest):
    # Which test makes the trouble under which heading.
    TROUBLES = {
        "No route for multicast": "test_no_route",
        "No interface": "test_no_interface",
        "Several interfaces": "test_several_interfaces",
        "Too many interfaces": "test_too_many_interfaces",
        "Ping is not permitted": "test_ping_not_permitted",
        "A peer that does not answer": "test_silent_peer",
        "Linkometry does not run there": "test_refusing_peer",
        "More connections than are watched": "test_more_connections_than_are_watched",
        "Pings without data": "test_pings_without_data",
        "A connection that a stop ended": "test_connection_that_a_stop_ended",
        "The port is in use": "test_port_in_use",
        "The log cannot be opened": "test_log_cannot_be_opened",
        "Settings of another user": "test_settings_of_another_user",
        "The log is in use": "test_log_in_use",
        "The disk is full": "test_full_disk",
        "The disk hangs": "test_disk_that_hangs",
        "Threads are refused": "test_threads_refused",
        "A mistake in the settings": "test_mistake_in_settings",
        "A unit that nobody knows": "test_unknown_unit",
    }

    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")

    def expect_what_is_shown(self, program):
        """Waits until the program has said every line of this test's section, word for word."""
        heading = next(heading for heading, test in self.TROUBLES.items() if test == self._testMethodName)
        for where, pattern in shown()[heading]:
            def is_said():
                lines = ([line[9:] for line in program.device.log_lines()] if where == "log"
                         else program.errors().replace(self.device.registry_folder, SETTINGS_FOLDER).split("\n"))
                return any(pattern.fullmatch(line) for line in lines)
            lab.eventually(is_said, lab.PATIENCE,
                           lambda: f"{pattern.pattern!r} in the {where} of {program}\n" +
                           "\n".join(program.device.log_lines()[-10:]))

    def test_every_line_that_the_document_shows_is_made_here(self):
        self.assertEqual(set(shown()), set(self.TROUBLES))

    def test_no_route(self):
        with self.device.inside():
            lab.ip("route delete default")
        self.device.configure("multicast")
        self.expect_what_is_shown(self.device.measure())

    def test_no_interface(self):
        with self.device.inside():
            lab.ip("link set eth0 down")
        self.device.configure("multicast")
        self.expect_what_is_shown(self.device.measure())

    def test_several_interfaces(self):
        self.lab.add_network()
        self.device.join(1)
        # A device of the second network alone.
        self.peer.join(1)
        with self.peer.inside():
            lab.ip("link set eth0 down", "route replace default via 10.78.0.254")
        for device in (self.device, self.peer):
            device.configure("multicast", "udp")
        self.device.measure()
        there = self.peer.measure()
        there.wait_for_row("10.78.0.1", lambda row: row["udp"]["received"] >= 5, within=40)
        there.stop()
        self.expect_what_is_shown(there)

    def test_too_many_interfaces(self):
        self.lab.add_network()
        self.device.join(1)
        self.device.set_kernel_parameter("net.ipv4.igmp_max_memberships", "1")
        self.device.configure("multicast")
        self.expect_what_is_shown(self.device.measure())

    def test_ping_not_permitted(self):
        lowest, highest = map(int, self.device.run("cat", "/proc/sys/net/ipv4/ping_group_range").stdout.split())
        if lowest <= 0 <= highest:
            self.device.set_kernel_parameter("net.ipv4.ping_group_range", "1 0")
        self.device.configure("ping", peers={"workshop": self.peer.address})
        self.expect_what_is_shown(self.device.measure(through=("setpriv", "--bounding-set=-net_raw",
                                                               "--inh-caps=-net_raw")))

    def test_silent_peer(self):
        # As behind a firewall that drops: nothing comes back.
        with self.peer.inside():
            lab.ip(f"route add blackhole {self.device.address}/32")
        # Half a minute is long for a test.
        self.device.set_kernel_parameter("net.ipv4.tcp_syn_retries", "1")
        self.device.configure("tcpip", "ping", peers={"workshop": self.peer.address})
        self.expect_what_is_shown(self.device.measure())

    def test_refusing_peer(self):
        self.device.configure("tcpip", peers={"workshop": self.peer.address})
        self.expect_what_is_shown(self.device.measure())

    def test_more_connections_than_are_watched(self):
        self.device.configure("tcpip")
        program = self.device.measure()
        self.device.wait_for_log_line("Created VTR_CTcpipListener")
        for _ in range(64):
            self.addCleanup(traffic.TcpEnd.connect(self.peer, self.device.address).close)
        self.expect_what_is_shown(program)

    def test_pings_without_data(self):
        self.device.configure("ping", peers={"workshop": self.peer.address}, overhead_bytes="0")
        program = self.device.measure()
        self.expect_what_is_shown(program)
        self.assertEqual(program.wait_for_row(self.peer.address)["ping"]["total"], 0)

    def test_connection_that_a_stop_ended(self):
        with self.peer.inside():
            lab.ip(f"route add blackhole {self.device.address}/32")
        self.device.configure("tcpip", peers={"workshop": self.peer.address})
        program = self.device.measure()
        syn_sent = " 02 "
        lab.eventually(lambda: syn_sent in self.device.run("cat", "/proc/net/tcp").stdout, lab.PATIENCE, "a connection begun")
        program.stop()
        self.expect_what_is_shown(program)
        lines = [line[9:] for line in self.device.log_lines()]
        said = next(i for i, line in enumerate(lines) if line.endswith("connect failed 10038"))
        rest = lines[said + 1:lines.index(" ---- Test 1 complete ---")]
        self.assertTrue(all(line.startswith("S Name: ") for line in rest), rest)

    def test_tcp_after_an_outage(self):
        """The direction from the device to its peer is interrupted; only what comes from the peer is counted here."""
        self.device.configure("tcpip", "udp", peers={"workshop": self.peer.address})
        self.peer.configure("tcpip", "udp", peers={"office": self.device.address})
        here, there = self.device.measure(), self.peer.measure()
        here.wait_for_row(self.peer.address, lambda row: row["tcpip"]["received"] >= 5 and row["udp"]["received"] >= 5)
        there.wait_for_row(self.device.address, lambda row: row["tcpip"]["received"] >= 5)
        with self.device.inside():
            lab.ip(f"neigh replace {self.peer.address} lladdr 02:00:00:00:99:99 dev eth0 nud permanent")
        before = here.row(self.peer.address)
        during = here.wait_for_row(self.peer.address,
                                   lambda row: row["udp"]["received"] >= before["udp"]["received"] + 30, within=30)
        self.assertLess(during["tcpip"]["received"] - before["tcpip"]["received"], 10)
        self.assertEqual(during["tcpip"]["lost"], before["tcpip"]["lost"])
        with self.device.inside():
            lab.ip(f"neigh del {self.peer.address} dev eth0")
        after = here.wait_for_row(self.peer.address, lambda row: row["tcpip"]["lost"] >= 10, within=30)
        self.assertEqual(after["udp"]["lost"], before["udp"]["lost"])

    def test_a_peer_that_is_switched_off(self):
        self.device.configure("udp", "ping", peers={"workshop": self.peer.address})
        self.peer.configure("udp", peers={"office": self.device.address})
        here, there = self.device.measure(), self.peer.measure()
        here.wait_for_row(self.peer.address, lambda row: row["udp"]["received"] >= 5 and row["ping"]["received"] >= 5)
        there.kill()
        self.peer.unplug()
        off = here.wait_for_row(self.peer.address, lambda row: row["quality"] == 100)
        self.device.wait_for_log_line("IcmpSendEcho failed 11010")
        self.peer.plug()
        self.peer.measure()
        back = here.wait_for_row(self.peer.address, lambda row: row["udp"]["received"] >= off["udp"]["received"] + 5 and
                                 row["ping"]["lost"] >= 1)
        self.assertEqual(back["udp"]["lost"], off["udp"]["lost"])

    def test_strangers_at_the_multicast_port(self):
        for device in (self.device, self.peer):
            device.configure("multicast")
        with traffic.UdpEnd(self.peer) as stranger:
            silenced = threading.Event()

            def disturb():
                while not silenced.wait(0.5):
                    stranger.send(b"junk", self.device.address, traffic.GROUP_PORT)
            disturber = threading.Thread(target=disturb)
            disturber.start()
            try:
                here, there = self.device.measure(), self.peer.measure()
                there.wait_for_row(self.device.address, lambda row: row["multicast"]["received"] >= 20, within=30)
                self.assertEqual(here.rows(), [])
            finally:
                silenced.set()
                disturber.join()
        here.wait_for_row(self.peer.address, lambda row: row["multicast"]["received"] >= 1, within=30)

    def test_port_in_use(self):
        self.device.configure("udp", "tcpip")
        with traffic.UdpEnd(self.device, traffic.PORT), traffic.TcpServer(self.device):
            program = self.device.measure()
            self.assertEqual(program.wait(), 4)
        self.expect_what_is_shown(program)

    def test_log_cannot_be_opened(self):
        self.device.configure("udp", log_filename="logs/test.txt")
        program = self.device.measure()
        self.assertEqual(program.wait(), 4)
        self.expect_what_is_shown(program)

    def test_settings_of_another_user(self):
        self.skip_without_other_users()
        self.expect_what_is_shown(self.device.measure("-user", "nobody", through=(
            *lab.without_leak_search(), "env", "-u", "VANTIRO_REGISTRY_DIR")))

    def test_log_in_use(self):
        self.device.configure("udp")
        first = self.device.measure()
        self.device.wait_for_log_line("Test 1 starting")
        program = self.device.measure()
        self.assertEqual(program.wait(), 4)
        self.expect_what_is_shown(program)
        self.assertTrue(first.is_running())

    def log_on_a_small_disk(self):
        """Has the log of the device written to /mnt/log.txt, with a line for each probe."""
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=2m", "tmpfs", "/mnt"], check=True)
        self.addCleanup(lambda: subprocess.run(["umount", "--lazy", "/mnt"], check=True))
        os.symlink("/mnt/log.txt", self.device.log_path)
        self.device.configure("udp", "multicast", period=5, peers={"peer": self.peer.address}, log_events="yes",
                              log_filename="/mnt/log.txt")

    def test_full_disk(self):
        self.log_on_a_small_disk()
        with open("/mnt/filler", "wb") as file:
            file.write(bytes((2 << 20) - (16 << 10)))
        program = self.device.measure()
        lab.eventually(lambda: "The disk is full" in program.errors(), 60, lambda: str(program))
        time.sleep(0.5)  # more than one line is to be lost
        os.remove("/mnt/filler")
        self.expect_what_is_shown(program)

    def test_disk_that_hangs(self):
        self.log_on_a_small_disk()
        log = lab.StallingLog(self.device)
        log.environment["STALL_FILE"] = "/mnt/log.txt"
        program = self.device.measure(through=log.through())
        with traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
            for is_the_last in (False, True):
                receiver.receive_many(20, 20)
                log.hold()
                # More lines than find room.
                receiver.receive_many(2000, 60)
                if not is_the_last:
                    log.release()
                    self.device.wait_for_log_line("LOG ERROR: [0-9]+ lines lost$", within=20)
        program.stop()
        self.expect_what_is_shown(program)

    def test_threads_refused(self):
        # The peer is the last of ten, which take twenty threads.
        peers = {f"other{i}": f"10.77.0.{100 + i}" for i in range(9)}
        self.device.configure("udp", "ping", peers={**peers, "workshop": self.peer.address})
        library = os.path.join(os.path.dirname(lab.program_path()), "tests", "system", "liblinkometry-few-threads.so")
        sanitizer = os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
        program = self.device.measure(through=("env", "ASAN_OPTIONS=" + sanitizer, "LD_PRELOAD=" + library,
                                               "LINKOMETRY_THREADS=10"))
        self.assertEqual(program.wait(), 4)
        self.expect_what_is_shown(program)

    def test_mistake_in_settings(self):
        # A mistake means defaults, multicast among them.
        self.device.write_hive(f'[{lab.SETTINGS_KEY}]\n"port"="{lab.PORT}"\n"frequency qty"="2\n')
        self.expect_what_is_shown(self.device.measure())

    def test_unknown_unit(self):
        self.device.configure("multicast", frequency_units="weeks")
        self.expect_what_is_shown(self.device.measure())
