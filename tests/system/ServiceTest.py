"""The systemd service's command line, run as systemd would: no right but one, and settings that may not be written."""

import os
import re
import shlex
import shutil
import signal

import lab

UNIT = os.path.join(os.path.dirname(__file__), "..", "..", "packaging", "linkometry.service")
FILTER = os.path.join(os.path.dirname(__file__), "syscallfilter.py")
# As DynamicUser, CapabilityBoundingSet, AmbientCapabilities and NoNewPrivileges of the unit have it.
RESTRICTED = (*lab.AS_NOBODY_WHO_MAY_PING, "--no-new-privs")


def unit_values(name):
    """All values that the unit has for a name, in order."""
    with open(UNIT, encoding="utf-8") as file:
        return re.findall(rf"^{name}=(.*)$", file.read(), re.MULTILINE)


class ServiceTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        # The folder of the logs is the service's own, the one of the settings is root's.
        self.make_devices_of_nobody()

    def restricted(self, device, filtered):
        """What starts a program on that device as systemd would; filtered: with no other system calls than the unit's."""
        # The user may have no access to where the program was built. Its copy is in the user's own folder.
        for path in (lab.program_path(), UNIT, FILTER):
            shutil.copy(path, device.folder)
        # The search for leaks takes a call that the program has no use for.
        through = ((*lab.without_leak_search(), "./" + os.path.basename(FILTER), os.path.basename(UNIT))
                   if filtered else ())
        return (*RESTRICTED, *through, "sh", "-c", 'exec ./linkometry "$@"')

    def start(self, filtered=False):
        """Starts the service; filtered: with no other system calls than those that the unit leaves it."""
        command = shlex.split(unit_values("ExecStart")[0])
        self.assertEqual(command[0], "linkometry")
        program = self.device.start(*command[1:], through=self.restricted(self.device, filtered))
        lab.eventually(lambda: "measures its peers" in program.errors(), lab.PATIENCE, lambda: str(program))
        return program

    def prepare(self):
        """What systemd runs in the log's folder before each start, as the same user; a dash is no part of it."""
        for command in unit_values("ExecStartPre"):
            self.assertTrue(command.startswith("-"), "a log that cannot be kept is no reason not to start")
            words = [word.replace("$$", "$") for word in shlex.split(command[1:])]
            result = self.device.run(*RESTRICTED, *words)
            self.assertEqual((result.returncode, result.stdout + result.stderr), (0, ""))

    def test_logs_of_the_latest_five_runs_are_kept(self):
        for run in range(1, 8):
            self.prepare()
            self.device.configure("udp", description=f"run {run}")
            program = self.start()
            self.wait_for_result(program, "no peer heard so far")
            program.stop()
        kept = {}
        for name in os.listdir(self.device.folder):
            if name.startswith("VantiroDiagnostics.txt"):
                with open(os.path.join(self.device.folder, name), encoding="utf-8") as file:
                    kept[name] = re.search("Description: (.*)", file.read())[1]
        self.assertEqual(kept, {"VantiroDiagnostics.txt": "run 7", "VantiroDiagnostics.txt.1": "run 6",
                                "VantiroDiagnostics.txt.2": "run 5", "VantiroDiagnostics.txt.3": "run 4",
                                "VantiroDiagnostics.txt.4": "run 3", "VantiroDiagnostics.txt.5": "run 2"})

    def wait_for_result(self, program, pattern):
        """Asks for a snapshot until one has that pattern."""
        def look():
            program.signal(signal.SIGUSR1)
            return re.search(pattern, program.output())
        lab.eventually(look, lab.PATIENCE, lambda: f"{pattern!r} in {program.output()}\n{program}", every=0.5)

    def test_service_pings_with_its_one_right_and_leaves_the_settings_alone(self):
        self.device.configure("ping", "udp", "tcpip", peers={"workshop": self.peer.address})
        before = self.device.read_hive()
        program = self.start()
        self.wait_for_result(program, r"10\.77\.0\.2 \(workshop\) .* [1-9]\d*/[1-9]\d* ")
        self.assertEqual(program.stop(), 0)
        self.assertEqual(os.listdir(self.device.registry_folder), [os.path.basename(self.device.hive_path)])
        self.assertEqual(self.device.read_hive(), before)

    def test_the_system_calls_that_the_unit_leaves_are_enough(self):
        self.device.configure("multicast", "ping", "udp", "tcpip", peers={"workshop": self.peer.address})
        self.peer.configure("multicast", "ping", "udp", "tcpip", peers={"service": self.device.address})
        peer = self.peer.start("-headless")
        program = self.start(filtered=True)
        with open(f"/proc/{program.process.pid}/status", encoding="ascii") as file:
            self.assertRegex(file.read(), r"(?m)^Seccomp:\s+2$", "the program itself is under the filter")
        all_heard = r"10\.77\.0\.2 \(workshop\) +100 *%?" + r" +[1-9]\d*/[1-9]\d*" * 4 + " "
        self.wait_for_result(program, all_heard)
        program.signal(signal.SIGHUP)
        self.wait_for_result(program, r"test 2, (?s:.*)" + all_heard)
        self.assertEqual(program.stop(), 0)
        peer.stop()
        self.assertNotIn("not permitted", program.output() + program.errors())
        self.assertTrue(any("Test 2 complete" in line for line in self.device.log_lines()))

    def test_a_group_under_the_units_restrictions_measures_itself_and_has_no_right_left(self):
        # The capabilities of the program end with the socket for pings; what bounds them means nothing to it then.
        devices = [self.device, self.peer, self.lab.device("pocket3")]
        programs = []
        for device in devices:
            device.configure(*lab.PROTOCOLS)
            device.set_kernel_parameter("net.ipv4.ping_group_range", "1 0")
            lab.give_to_nobody(device.folder)
            programs.append(device.measure(through=self.restricted(device, filtered=True)))
        self.wait_until_all_count(programs)
        for program in programs:
            for task in os.listdir(f"/proc/{program.process.pid}/task"):
                with open(f"/proc/{program.process.pid}/task/{task}/status", encoding="ascii") as file:
                    status = file.read()
                # A sanitizer's own thread is older than the program's beginning.
                if lab.program_is_sanitized() and re.search(r"(?m)^CapPrm:\s0*2000$", status):
                    continue
                self.assertEqual(re.findall(r"(?m)^Cap(?:Inh|Prm|Eff|Amb):\s(\w+)$", status), ["0" * 16] * 4, status)
        programs[2].signal(signal.SIGHUP)
        for other in devices[:2]:
            programs[2].wait_for_row(other.address, lambda row: row["test"] == 2 and counts_everything(row), within=40)
        before = {program: program.row(devices[2].address)["ping"]["received"] for program in programs[:2]}
        for program, pings in before.items():
            program.wait_for_row(devices[2].address, lambda row, pings=pings: row["ping"]["received"] >= pings + 3)
        self.assertEqual([program.stop() for program in programs], [0, 0, 0])
        for program in programs:
            self.assertNotIn("not permitted", program.output() + program.errors())

    def wait_until_all_count(self, programs):
        for program in programs:
            for other in programs:
                if other is not program:
                    program.wait_for_row(other.device.address, counts_everything, within=40)

    def test_unreachable_peer_and_no_peer_are_no_failures_of_the_service(self):
        self.device.configure("udp", peers={"nobody": "10.77.0.99"})
        program = self.start()
        self.wait_for_result(program, r"10\.77\.0\.99 \(nobody\)")
        self.assertEqual(program.stop(), 0)
        os.remove(self.device.hive_path)
        program = self.start()
        self.wait_for_result(program, "no peer heard so far")
        self.assertIn(str(program.stop()), unit_values("SuccessExitStatus"))

    def test_reload_takes_edited_settings_into_use(self):
        self.device.configure("udp")
        program = self.start()
        self.wait_for_result(program, "no peer heard so far")
        self.device.configure("udp", peers={"workshop": self.peer.address})
        # Each launcher has become the next, so this process is the one that systemd would know.
        reload = shlex.split(unit_values("ExecReload")[0])
        result = self.device.run("env", f"MAINPID={program.process.pid}", *reload)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.wait_for_result(program, r"test 2, .*\n.*\n10\.77\.0\.2 \(workshop\)")


def counts_everything(row):
    return all(row[protocol]["received"] > 0 for protocol in lab.PROTOCOLS)
