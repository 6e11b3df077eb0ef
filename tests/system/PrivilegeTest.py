"""What the program may do once it runs: the rights of its threads, started by root, as another user, or with one right."""

import grp
import os
import re
import signal

import lab
import screen
from lab import NOBODY

UNTRACED = lab.without_leak_search()
CHOWN, DAC_OVERRIDE, FOWNER, NET_BIND_SERVICE, NET_RAW = (1 << number for number in (0, 1, 3, 10, 13))
SETS = ("CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb")


def rights(text):
    """The fields of a /proc/*/status, capabilities as numbers."""
    fields = dict(re.findall(r"^(\w+):\t(.*)$", text, re.MULTILINE))
    return dict(fields, **{name: int(fields[name], 16) for name in SETS})


def rights_of_threads(process):
    """Of all threads of a process; but not of one that a sanitizer has made before the program began."""
    found = []
    for task in os.listdir(f"/proc/{process}/task"):
        with open(f"/proc/{process}/task/{task}/status", encoding="utf-8") as file:
            found.append(rights(file.read()))
    others = [each for each in found if lab.program_is_sanitized() and each["NoNewPrivs"] == "0"]
    if len(others) == 1 and others[0]["Pid"] != str(process):
        found.remove(others[0])
    return found


class RightsTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.make_devices_of_nobody()
        lab.give_to_nobody(self.device.registry_folder)

    def configure(self, **more):
        self.device.configure("udp", "tcpip", "multicast", "ping", peers={"workshop": self.peer.address}, **more)
        lab.give_to_nobody(self.device.hive_path)

    def measure(self, *arguments, through=()):
        return self.device.measure(*arguments, through=(*UNTRACED, *through))

    def wait_for_answered_pings(self, program, more=3):
        before = program.row(self.peer.address)
        before = before["ping"]["received"] if before else 0
        program.wait_for_row(self.peer.address, lambda row: row["ping"]["received"] >= before + more, within=30)

    def check_that_nothing_is_left(self, process):
        threads = rights_of_threads(process)
        self.assertGreater(len(threads), 5)
        for thread in threads:
            self.assertEqual([thread[name] for name in SETS], [0] * len(SETS), thread)
            self.assertEqual(thread["Uid"].split(), [str(NOBODY.pw_uid)] * 4)
            self.assertEqual(thread["Gid"].split(), [str(NOBODY.pw_gid)] * 4)
            self.assertEqual({int(group) for group in thread["Groups"].split()},
                             {NOBODY.pw_gid} | {group.gr_gid for group in grp.getgrall() if "nobody" in group.gr_mem})
            self.assertEqual(thread["NoNewPrivs"], "1")

    def raw_sockets(self, program):
        """The raw sockets that the program has open, by their numbers in the kernel."""
        own = set()
        for name in os.listdir(f"/proc/{program.process.pid}/fd"):
            try:
                own.add(os.readlink(f"/proc/{program.process.pid}/fd/{name}"))
            except FileNotFoundError:
                pass  # closed meanwhile
        lines = self.device.run("cat", "/proc/net/raw").stdout.splitlines()[1:]
        return {number for number in (line.split()[9] for line in lines) if f"socket:[{number}]" in own}


class NamedUserTest(RightsTest):
    def test_no_thread_has_a_right_left_before_the_first_packet_and_later(self):
        self.configure()
        witness = os.path.join(os.path.dirname(lab.program_path()), "tests", "system", "liblinkometry-rights-witness.so")
        path = os.path.join(self.device.folder, "rights")
        options = UNTRACED[-1] + ":verify_asan_link_order=0"
        peer = self.peer.measure()
        program = self.measure("-user", "nobody",
                               through=("env", f"LD_PRELOAD={witness}", f"RIGHTS_FILE={path}", options))
        self.wait_for_answered_pings(program)
        peer.wait_for_row(self.device.address, lambda row: row["tcpip"]["received"] >= 3, within=30)
        self.check_that_nothing_is_left(program.process.pid)
        with open(path, encoding="utf-8") as file:
            witnessed = [rights(text) for text in file.read().strip().split("\n\n")]
        calls = {each["Call"] for each in witnessed}
        self.assertLessEqual({"bind", "sendto"}, calls)
        self.assertTrue(calls & {"recvfrom", "__recvfrom_chk"}, calls)
        for each in witnessed:
            self.assertEqual([each[name] for name in SETS], [0] * len(SETS), each)
            self.assertEqual((each["Uid"].split()[1], each["NoNewPrivs"]), (str(NOBODY.pw_uid), "1"), each)
        self.assertEqual(program.stop(), 0)

    def test_log_and_settings_stay_writable_in_every_further_test(self):
        # With most settings missing, for the program to add.
        self.device.write_settings({"frequency qty": "200", "frequency units": "milliseconds"},
                                   {"workshop": self.peer.address})
        lab.give_to_nobody(self.device.hive_path)
        program = self.measure("-user", "nobody")
        self.wait_for_answered_pings(program)
        self.assertIn('"udp selected"', self.device.read_hive())
        self.configure(log_filename="second.txt")
        program.signal(signal.SIGHUP)
        program.wait_for_row(self.peer.address, lambda row: row["test"] == 2 and row["ping"]["received"] >= 3)
        self.assertEqual(self.device.read_hive().count('"log filename"="second.txt"'), 1)
        self.assertIn('"description"', self.device.read_hive())
        self.assertEqual(program.stop(), 0)
        for path in (self.device.log_path, self.device.hive_path):
            self.assertEqual(os.stat(path).st_uid, NOBODY.pw_uid, path)
        self.assertTrue(any("Test 2 complete" in line for line in self.device.log_lines()))
        self.assertNotIn("linkometry: nobody", program.errors())

    def test_one_raw_socket_serves_from_the_start_also_on_an_interface_that_comes_later(self):
        self.configure()
        program = self.measure("-user", "nobody")
        lab.eventually(lambda: "measures its peers" in program.errors(), lab.PATIENCE, lambda: str(program))
        first = self.raw_sockets(program)
        self.assertEqual(len(first), 1)
        self.wait_for_answered_pings(program)
        self.device.reseat("eth0", 0)
        with self.device.inside():
            lab.ip("route replace default via 10.77.0.254")
        self.wait_for_answered_pings(program, more=5)
        self.assertEqual(self.raw_sockets(program), first)
        self.assertEqual(program.stop(), 0)

    def test_user_who_may_ping_without_it_has_no_raw_socket(self):
        self.device.set_kernel_parameter("net.ipv4.ping_group_range", f"{NOBODY.pw_gid} {NOBODY.pw_gid}")
        self.configure()
        program = self.measure("-user", "nobody")
        self.wait_for_answered_pings(program)
        self.assertEqual(self.raw_sockets(program), set())
        self.assertEqual(program.stop(), 0)

    def test_log_that_the_user_may_not_write_ends_the_start_with_its_name(self):
        self.configure()
        os.chown(self.device.folder, 0, 0)
        program = self.measure("-user", "nobody")
        self.assertEqual(program.wait(), 4)
        self.assertIn("cannot open the log file VantiroDiagnostics.txt", program.errors())

    def test_settings_without_a_place_are_told(self):
        program = self.measure("-user", "nobody", through=("env", "-u", "VANTIRO_REGISTRY_DIR"))
        message = "linkometry: nobody can neither read settings nor make them; every setting has its default\n"
        lab.eventually(lambda: "measures its peers" in program.errors(), lab.PATIENCE, lambda: str(program))
        self.assertEqual(program.errors().count(message), 1)
        # HOME was the folder of the one who started it.
        self.assertFalse(os.path.exists(os.path.join(self.device.folder, ".config")))

    def test_whoever_cannot_be_become_makes_the_command_line_unusable(self):
        for user, through, message in (
                ("no-such-user", (), 'linkometry: -user: there is no user "no-such-user"\n'),
                ("a\x1bb", (), 'linkometry: -user: there is no user "a?b"\n'),
                ("root", lab.AS_NOBODY, 'linkometry: -user: cannot become "root": Operation not permitted\n')):
            program = self.device.start("-headless", "-user", user, through=(*UNTRACED, *through))
            self.assertEqual(program.wait(), 3)
            self.assertEqual(program.errors(), message)

    def test_whoever_is_that_user_already_stays(self):
        self.configure()
        program = self.measure("-user", "nobody", through=lab.AS_NOBODY)
        program.wait_for_row(self.peer.address)
        program.stop()

    def test_screen_has_no_right_left_either(self):
        self.configure()
        window = screen.Screen(self.device, "-user", "nobody",
                               environment=dict(option.split("=", 1) for option in UNTRACED[1:]))
        self.addCleanup(window.close)
        window.start_test()
        window.wait_for_row("10.77.0.2 (workshop)", lambda cells: int(cells[4].split("/")[0]) >= 3)
        self.check_that_nothing_is_left(window.pid())
        window.keys("q")
        self.assertEqual(window.wait(), 0)
        self.assertEqual(window.terminal_after(), window.terminal_before())


class UnnamedUserTest(RightsTest):
    def test_root_keeps_no_more_than_files_and_ports_take(self):
        self.configure()
        program = self.measure()
        self.wait_for_answered_pings(program)
        with open("/proc/self/status", encoding="utf-8") as file:
            kept = rights(file.read())["CapEff"] & (CHOWN | DAC_OVERRIDE | FOWNER | NET_BIND_SERVICE)
        for thread in rights_of_threads(program.process.pid):
            self.assertEqual([thread[name] for name in SETS], [0, kept, kept, kept, 0], thread)
            self.assertEqual((thread["Uid"].split(), thread["NoNewPrivs"]), (["0"] * 4, "1"))
        self.assertEqual(program.stop(), 0)

    def test_root_writes_log_and_settings_of_another_user_and_listens_below_port_1024_as_ever(self):
        for folder in (self.device.folder, self.device.registry_folder):
            os.chmod(folder, 0o700)
        os.chown(self.device.registry_folder, 1, 1)
        self.device.write_settings({"frequency qty": "200", "frequency units": "milliseconds", "port": "80"},
                                   {"workshop": self.peer.address})
        os.chown(self.device.hive_path, 1, 1)
        os.chmod(self.device.hive_path, 0o600)
        self.peer.configure("udp", "tcpip", peers={"root": self.device.address}, port="80")
        self.peer.measure()
        program = self.measure()
        program.wait_for_row(self.peer.address, lambda row: row["udp"]["received"] >= 3 and
                             row["tcpip"]["received"] >= 3 and row["ping"]["received"] >= 3, within=30)
        self.assertEqual(program.stop(), 0)
        self.assertIn('"udp selected"', self.device.read_hive())
        self.assertEqual((os.stat(self.device.hive_path).st_uid, os.stat(self.device.hive_path).st_mode & 0o777),
                         (1, 0o600))

    def test_user_with_the_one_right_gives_it_up(self):
        self.configure()
        program = self.measure(through=lab.AS_NOBODY_WHO_MAY_PING)
        self.wait_for_answered_pings(program)
        for thread in rights_of_threads(program.process.pid):
            self.assertEqual([thread[name] for name in SETS], [0, 0, 0, NET_RAW, 0], thread)
            self.assertEqual(thread["NoNewPrivs"], "1")
        self.assertEqual(program.stop(), 0)
