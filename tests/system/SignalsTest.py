"""What each signal does to a running headless test."""

import os
import pty
import signal
import subprocess
import time

import lab
import traffic


class SignalsTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")
        self.device.configure("udp", peers={"peer": self.peer.address})

    def listening(self, program):
        self.device.wait_until_listening()
        return program

    def count(self, program, numbers):
        """Has the program count these packets from the peer."""
        with traffic.UdpEnd(self.peer) as sender:
            for number in numbers:
                sender.send(traffic.packet(number), self.device.address)
        return program.wait_for_row(self.peer.address, lambda row: row["udp"]["received"] == len(numbers))

    def test_interrupt_and_termination_stop_report_and_end(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(number):
                program = self.listening(self.device.measure())
                self.count(program, (1, 2))
                program.signal(number)
                self.assertEqual(program.wait(), 0)
                self.assertEqual(program.final_rows()[self.peer.address]["udp"]["total"], 2)
                lines = self.device.log_lines()
                self.assertIn("S Name: 10.77.0.2 (peer)", lines[-2])
                self.assertTrue(lines[-1].endswith(" ---- Test 1 complete ---"))

    def test_user_signal_1_prints_a_snapshot_that_is_not_final(self):
        program = self.listening(self.device.start("-headless", "-format", "json"))
        self.assertEqual(program.rows(), [])
        for times in (1, 2):
            program.signal(signal.SIGUSR1)
            lab.eventually(lambda: len(program.rows()) == times, 10, lambda: program.output())
        self.assertEqual([row.get("final") for row in program.rows()], [None, None])
        lab.eventually(lambda: sum("S Name" in line for line in self.device.log_lines()) == 2, 10,
                       lambda: "\n".join(self.device.log_lines()))

    def test_user_signal_2_sets_all_counts_to_zero_and_counting_begins_afresh(self):
        program = self.listening(self.device.measure())
        self.count(program, (5, 9))
        program.signal(signal.SIGUSR2)
        row = program.wait_for_row(self.peer.address, lambda row: row["udp"]["total"] == 0)
        self.assertEqual((row["quality"], row["test"]), (0, 1))
        self.assertEqual(lab.counts(self.count(program, (20, 21)), "udp"), {"received": 2, "total": 2, "lost": 0})

    def test_quit_prints_a_snapshot_that_is_not_final_and_the_test_goes_on(self):
        program = self.listening(self.device.start("-headless", "-format", "json"))
        for times in (1, 2):
            program.signal(signal.SIGQUIT)
            lab.eventually(lambda: len(program.rows()) == times, 10, lambda: program.output())
        self.assertEqual([row.get("final") for row in program.rows()], [None, None])
        self.assertFalse(any("S Name" in line for line in self.device.log_lines()))
        self.assertEqual(program.stop(), 1)

    def test_interrupt_that_is_ignored_at_the_start_stays_ignored(self):
        for number in (signal.SIGINT, signal.SIGQUIT, signal.SIGHUP):
            with self.subTest(number):
                name = signal.Signals(number).name[3:]
                program = self.listening(self.device.measure(through=("env", f"--ignore-signal={name}")))
                program.signal(number)
                time.sleep(0.5)
                self.assertEqual(program.stop(), 1)
                self.assertEqual({row["test"] for row in program.rows()}, {1})

    def test_background_job_of_a_script_is_spared_by_the_interrupt_for_the_script(self):
        program = self.listening(self.device.measure(through=("sh", "-c", '"$0" "$@" & wait $!; wait $!')))
        os.killpg(program.process.pid, signal.SIGINT)
        time.sleep(0.5)
        self.assertTrue(self.device.is_listening())
        os.killpg(program.process.pid, signal.SIGTERM)
        lab.eventually(lambda: program.final_rows(), 20, str(program))
        program.kill_was_sent()
        program.wait()

    def test_request_that_timeout_sends_twice_is_one(self):
        program = self.device.measure(through=("timeout", "2"))
        self.assertEqual(program.wait(), 124)
        self.assertIn(self.peer.address, program.final_rows())
        self.assertTrue(self.device.log_lines()[-1].endswith(" ---- Test 1 complete ---"))

    def on_terminal(self, *through):
        """A headless test on a terminal of its own, with its rows in a file; and the terminal's other end."""
        master, slave = pty.openpty()
        script = 'exec setsid --ctty --wait "$0" "$@" <"$TERMINAL"'
        program = self.device.measure(through=("env", f"TERMINAL={os.ttyname(slave)}", "sh", "-c", script, *through))
        self.listening(program)
        os.close(slave)
        return program, master

    def test_terminal_that_hangs_up_ends_the_test_as_a_request_to_stop_does(self):
        program, terminal = self.on_terminal()
        self.count(program, (1, 2))
        os.close(terminal)
        self.assertEqual(program.wait(), 0)
        self.assertEqual(program.final_rows()[self.peer.address]["test"], 1)
        self.assertTrue(self.device.log_lines()[-1].endswith(" ---- Test 1 complete ---"))

    def test_terminal_that_hangs_up_changes_nothing_under_nohup(self):
        program, terminal = self.on_terminal("nohup")
        self.count(program, (1, 2))
        os.close(terminal)
        time.sleep(0.5)
        self.assertTrue(program.is_running())
        self.assertTrue(self.device.is_listening())
        os.kill(program.child(), signal.SIGTERM)
        self.assertEqual(program.wait(), 0)

    def test_hangup_starts_over_with_the_settings_as_they_are_now(self):
        program = self.listening(self.device.measure())
        self.count(program, (1, 2))
        self.device.configure("udp", port="6003", peers={"printer": self.peer.address})
        program.signal(signal.SIGHUP)
        row = program.wait_for_row(self.peer.address, lambda row: row["test"] == 2)
        self.assertEqual((row["udp"]["total"], row["label"]), (0, "10.77.0.2 (printer)"))
        self.device.wait_until_listening(6003)
        self.assertFalse(self.device.is_listening())
        with traffic.UdpEnd(self.peer, 6003) as receiver:
            receiver.receive_many(2, within=20)
        log = "\n".join(self.device.log_lines())
        self.assertLess(log.index("Test 1 complete"), log.index("Test 2 starting"))

    def test_hangup_forgets_peers_that_were_found(self):
        self.device.configure("udp")
        program = self.listening(self.device.measure())
        with traffic.UdpEnd(self.peer) as sender:
            sender.send(traffic.packet(1, "v|x"), self.device.address)
        program.wait_for_row(self.peer.address)
        program.signal(signal.SIGHUP)
        self.device.wait_for_log_line("Test 2 starting")
        self.assertEqual(program.stop(), 2)

    def test_hangup_that_finds_the_port_taken_ends_with_status_4(self):
        program = self.listening(self.device.measure())
        self.device.configure("udp", port="6004")
        with traffic.UdpEnd(self.device, 6004):
            program.signal(signal.SIGHUP)
            self.assertEqual(program.wait(), 4)
        self.assertIn("linkometry: cannot listen: udp listener : bind failed 10048 (The address is in use; is another "
                      "linkometry running?)\n", program.errors())

    def test_hangup_changes_nothing_under_nohup(self):
        program = self.listening(self.device.measure(through=("nohup",)))
        self.count(program, (1, 2))
        program.signal(signal.SIGHUP)
        time.sleep(0.5)
        self.assertEqual(program.stop(), 0)
        row = program.final_rows()[self.peer.address]
        self.assertEqual((row["test"], row["udp"]["total"]), (1, 2))

    def test_end_comes_though_hangups_never_cease(self):
        program = self.listening(self.device.measure())
        with self.device.inside():
            storm = subprocess.Popen(["sh", "-c", 'while kill -HUP "$0"; do :; done', str(program.process.pid)],
                                     stderr=subprocess.DEVNULL)
        try:
            time.sleep(0.5)
            self.assertIn(program.stop(), (0, 1))
        finally:
            storm.kill()
            storm.wait()

    def test_many_signals_in_a_row_are_obeyed_and_the_end_comes(self):
        self.device.configure(*lab.PROTOCOLS, period=20, peers={"peer": self.peer.address, "dead": "10.77.0.99"})
        program = self.listening(self.device.measure())

        def three_more():
            for number in (signal.SIGUSR1, signal.SIGHUP, signal.SIGUSR2):
                program.signal(number)
                time.sleep(0.03)
            return any("Test 4 starting" in line for line in self.device.log_lines())

        lab.eventually(three_more, 60, lambda: str(program), every=0)
        self.assertIn(program.stop(), (0, 1))
        lines = [line[9:] for line in self.device.log_lines() if " ---- Test " in line]
        tests = len(lines) // 2
        self.assertEqual(lines, [f" ---- Test {number} {what} ---" for number in range(1, tests + 1)
                                 for what in ("starting", "complete")])

    def test_end_is_quick_while_every_kind_of_call_is_waiting(self):
        # Connections to nowhere, unanswered echoes, and listeners without traffic.
        self.device.configure("tcpip", "udp", "multicast", "ping", period=1000,
                              peers={f"dead {number}": f"10.77.0.{number}" for number in range(100, 140)})
        program = self.listening(self.device.measure())
        time.sleep(2)
        before = time.monotonic()
        self.assertEqual(program.stop(), 1)
        # One period at most for an echo; an idle machine needs about one second. A connection to nowhere takes minutes.
        self.assertLess(time.monotonic() - before, 30)

    def test_signals_leave_nothing_open(self):
        self.device.configure(*lab.PROTOCOLS, peers={"peer": self.peer.address})
        program = self.listening(self.device.measure())

        def start_over(number):
            program.signal(signal.SIGHUP)
            program.wait_for_row(self.peer.address, lambda row: row["test"] == number)

        def open_now():
            """How many descriptors and threads the program has; an echo on its way has its socket or not."""
            return program.open_descriptors(), len(os.listdir(f"/proc/{program.process.pid}/task"))
        start_over(2)
        time.sleep(2)
        before = open_now()
        for number in range(3, 8):
            start_over(number)

        def leaves_nothing():
            descriptors, threads = open_now()
            return abs(descriptors - before[0]) <= 2 and threads == before[1]
        lab.eventually(leaves_nothing, 20, lambda: f"{before} descriptors and threads, but {open_now()}")
