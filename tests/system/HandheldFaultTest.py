"""The handheld's program where the device has too little of something, or lacks a part."""

import os
import re
import signal
import time

import lab
import windows
from windows import LOG, START, STOP

EXHAUSTED = 254
BOX = "There is no memory left. Linkometry ends."
LINE = "FATAL ERROR: there is no memory left, the program ends"
SETTINGS = {"frequency qty": "200", "frequency units": "milliseconds"}


class NeverSeen(AssertionError):
    """The program has made no window and no box, and no allocation of it was refused: its Wine hangs."""


class FaultTest(lab.SystemTest):
    settings = SETTINGS

    def setUp(self):
        super().setUp()
        self.device = self.lab.device("pocket1")
        self.windows = self.make_windows()
        self.addCleanup(lambda: self.windows.close())

    def make_windows(self):
        return windows.WindowsDevice(self.device, self.settings, handheld="full")

    def find(self, caption):
        handle = int(self.windows.ask("find", caption))
        return windows.Window(self.windows, handle) if handle else None

    def watch(self, program, use):
        """Uses the program's main window with use(window) and reads its boxes, until it has ended; (status, the boxes' texts).

        A use that answers False is asked again.
        """
        said, is_used, is_seen = [], False, False

        def has_ended():
            nonlocal is_used, is_seen
            box = self.find("Linkometry")
            if box:
                said.append(self.windows.ask("label", box.handle).strip())
                box.press(windows.OK)
            window = self.find("(pocket1)")
            is_seen = is_seen or bool(window or box)
            if window and not box and not is_used:
                is_used = use(window) is not False
            return program.status() != "running"
        try:
            lab.eventually(has_ended, 60, lambda: f"the end; it said {said}:\n{program}", every=0.05)
        except AssertionError as late:
            program.kill()  # the next run would find its window
            if is_seen or any("refused" in line for line in program.journal()):
                raise
            raise NeverSeen(str(program)) from late
        return int(program.status()), said

    def measure(self, *arguments, **variables):
        """Start, some rounds of probes, the report line, Stop, the end."""
        program = self.windows.start(*arguments, **variables)
        steps = iter((lambda window: window.press(START), lambda window: window.is_enabled(STOP) or False,
                      lambda window: windows.pause(0.6), lambda window: window.press(LOG), lambda window: window.press(STOP),
                      lambda window: window.is_enabled(START) or False, lambda window: window.close()))
        step = next(steps)

        def use(window):
            nonlocal step
            if step(window) is False:
                return False
            step = next(steps, None)
            return step is None
        return program, *self.watch(program, use)

    def check_end(self, program, status, said):
        """Orderly: all went well without that memory, or the user was told and the status says it."""
        if status == EXHAUSTED:
            self.assertIn(BOX, said, str(program))
        else:
            self.assertEqual(status, 0, str(program))
        self.assertEqual(program.defects(), [])

    def allocations(self, program):
        """How many the ended program has made."""
        return int(re.search(r"HEAP (\d+) allocations", "\n".join(program.journal()))[1])

    def fail_each(self, numbers, once, run):
        """Wine now and then hangs after a program that was ended in the middle of a call; a new Wine then gets the same run."""
        for number in numbers:
            fail = f"{number}" if once else f"{number}-"
            with self.subTest(allocation=number, once=once):
                try:
                    run(fail)
                except NeverSeen:
                    self.windows.close()
                    self.windows = self.make_windows()
                    run(fail)


class MissingPartTest(FaultTest):
    settings = dict(SETTINGS, **{"multicast selected": "no", "tcpip selected": "no", "udp selected": "no"})
    LABEL = "127.0.0.1 (self)"

    def start(self, handheld, **variables):
        self.windows.handheld = handheld
        self.program = self.windows.start("-peer", "127.0.0.1=self", **variables)
        return self.windows.window("(pocket1)")

    def run_test(self, window, seconds=3):
        window.press(START)
        window.wait_until_enabled(STOP)
        windows.pause(seconds)
        window.press(STOP)
        window.wait_until_enabled(START)

    def searches(self, name):
        return len([line for line in self.program.journal() if f"LIBRARY {name} missing" in line])

    def test_a_library_that_is_missing_is_looked_for_once_a_test(self):
        window = self.start("full,noiphlpapi")
        self.run_test(window)
        first = self.searches("icmplib.dll")
        self.run_test(window)
        second = self.searches("icmplib.dll")
        window.close()
        self.assertEqual(self.program.exit_status(), 0)
        # A handful of functions, each of which is asked for on its own; some two dozen pings.
        self.assertIn(first, range(1, 8))
        self.assertIn(second - first, range(1, 8))
        self.assertTrue([line for line in self.windows.log_texts() if "SOCKET ERROR" in line and "pinger" in line])

    def test_pings_work_where_their_functions_have_a_library_of_their_own(self):
        window = self.start("full,icmplib")
        window.press(START)
        window.wait_for_row(self.LABEL, lambda row: windows.received_and_total(row[5])[0] >= 3)
        window.close()
        self.assertEqual(self.program.exit_status(), 0)

    def test_without_a_shell_the_caption_has_an_ok_that_closes(self):
        window = self.start("noaygshell")
        caption_ok = 0x80000000
        self.assertTrue(int(window.ask("style")) & caption_ok)
        window.ask("command", windows.OK)
        self.assertEqual(self.program.exit_status(), 0)

    def test_the_panel_to_write_with_rises_for_a_new_peer_and_goes_again(self):
        window = self.start("full")
        window.press(windows.ADD_IP)
        dialog = self.windows.window()
        self.windows.picture("handheld-add-ip")
        self.assertEqual([line.split(" PANEL ")[1] for line in self.program.journal() if " PANEL " in line], ["up"])
        dialog.press(windows.CANCEL)
        dialog.wait_until_gone()
        self.assertEqual([line.split(" PANEL ")[1] for line in self.program.journal() if " PANEL " in line], ["up", "down"])
        window.close()
        self.assertEqual(self.program.exit_status(), 0)


class NoPingLibraryTest(FaultTest):
    """None of the libraries that may have the functions for pings is there."""

    def test_all_but_pings_is_measured_and_the_report_says_what_is_not_supported(self):
        peer = self.lab.device("pocket2")
        peer.write_settings(SETTINGS)
        measuring = peer.measure()
        self.windows.handheld = "full,noiphlpapi"
        program = self.windows.start()
        window = self.windows.window("(pocket1)")
        window.press(START)
        row = window.wait_for_row("10.77.0.2 (pocket2)", lambda row: all(
            windows.received_and_total(cell)[0] >= 5 for cell in row[2:5]))
        self.assertEqual(windows.received_and_total(row[5])[0], 0)
        # The other device's pings are answered by the system.
        measuring.wait_for_row("10.77.0.1", lambda row: all(row[kind]["received"] >= 5 for kind in lab.PROTOCOLS))
        window.press(STOP)
        window.wait_until_enabled(START)
        window.close()
        self.assertEqual(program.exit_status(), 0)
        libraries = {line.split(" LIBRARY ")[1] for line in program.journal() if " LIBRARY i" in line}
        self.assertEqual(libraries, {f"{name}.dll missing" for name in ("iphlpapi", "icmplib", "icmp")})

        report = self.windows.start("-getinfo", "\\report.txt")
        self.assertEqual(report.exit_status(), 0)
        lines = self.windows.read("report.txt").split("\r\n")
        self.assertIn("   OTHER IP SETTINGS NOT SUPPORTED ON THIS OS", lines)


class DisturbedTest(FaultTest):
    """A device whose time and network do what they do in a long life, seen in a short one."""

    def setUp(self):
        lab.take_precedence()
        super().setUp()
        self.peer = self.lab.device("pocket2")
        self.peer.write_settings(SETTINGS)
        self.peer.start("-headless")

    LABEL = "10.77.0.2 (pocket2)"

    def start(self, handheld):
        self.windows.handheld = handheld
        self.program = self.windows.start()
        window = self.windows.window("(pocket1)")
        window.press(START)
        window.wait_until_enabled(STOP)
        return window

    def received(self, window):
        return [windows.received_and_total(cell)[0] for cell in window.row(self.LABEL)[2:]]

    def lost(self, window):
        """Of multicast, TCP and UDP. Probes over TCP that a busy machine hands over in one piece, of which the first one counts,
        are no loss of the network's; the host tells how many these were."""
        multicast, tcp, udp = (total - received for received, total in
                               map(windows.received_and_total, window.row(self.LABEL)[2:5]))
        return [multicast, tcp - self.merged(), udp]

    def merged(self):
        return sum(int(line.split()[-2]) for line in self.program.journal() if "] MERGED " in line)

    def wait_for_losses(self, window, losses):
        """A probe is known to be missing when the next one is counted."""
        lab.eventually(lambda: self.lost(window) == losses, 60, lambda: f"{losses}, not {self.lost(window)}", every=0.3)

    def check_goes_on(self, window):
        before = self.received(window)
        window.wait_for_row(self.LABEL, lambda row: all(
            now >= then + 5 for now, then in zip([windows.received_and_total(cell)[0] for cell in row[2:]], before)))

    def end(self, window):
        window.press(STOP)
        window.wait_until_enabled(START)
        window.close()
        self.assertEqual(self.program.exit_status(), 0)

    def test_a_tick_count_that_begins_anew_is_not_noticed(self):
        window = self.start("full,tickwrap")
        window.wait_for_row(self.LABEL)
        self.check_goes_on(window)
        self.wait_for_losses(window, [0, 0, 0])
        windows.pause(22)  # the count has 20 seconds when the program starts
        self.check_goes_on(window)
        self.wait_for_losses(window, [0, 0, 0])
        self.end(window)

    def test_a_device_that_stands_still_for_a_while_loses_only_what_then_arrives_in_one_piece(self):
        window = self.start("full")
        window.wait_for_row(self.LABEL)
        self.check_goes_on(window)
        process = self.program.process_id()
        os.kill(process, signal.SIGSTOP)
        windows.pause(2)
        os.kill(process, signal.SIGCONT)
        self.check_goes_on(window)
        self.wait_for_losses(window, [0, 0, 0])
        self.assertGreater(self.merged(), 0)
        self.end(window)

    def test_a_network_that_goes_and_comes_back_is_measured_again(self):
        window = self.start("full")
        window.wait_for_row(self.LABEL)
        self.check_goes_on(window)
        self.windows.device.unplug()
        windows.pause(3)
        self.windows.device.plug()
        self.check_goes_on(window)
        self.end(window)


class RefusedThreadTest(FaultTest):
    """Every thread from the first to the last that a test with one peer makes is refused, and all after it."""

    def setUp(self):
        super().setUp()
        self.lab.device("pocket2").start("-headless")

    def run_with(self, threads):
        program, status, said = self.measure("-peer", "10.77.0.2=peer", CE_THREADS=str(threads))
        return program, status, [line for line in program.journal() if "THREAD refused" in line], said

    def test_a_test_ends_in_an_orderly_way_whatever_threads_it_lacks(self):
        program, status, refused, _ = self.run_with(0)
        self.assertEqual((status, refused), (0, []))
        for threads in range(1, 14):
            with self.subTest(threads=threads):
                program, status, refused, said = self.run_with(threads)
                self.assertEqual(status, 0, f"{program}\n{said}")
                self.assertEqual(program.defects(), [])
                if not refused:
                    break
                self.assertTrue(said, str(program))
                # The log has a thread of its own, which may be the first that is refused.
                limit = [line for line in self.windows.log_texts() if line.startswith("The limit of this device is reached")]
                if any("some probes could not be made" in text for text in said) and threads > 1:
                    # Once where the named peer is added, and once at the start.
                    self.assertIn(len(limit), (1, 2), self.windows.log_texts())
        else:
            self.fail("more threads than a test has")


class ScarceMemoryTest(FaultTest):
    """Each allocation is refused together with all that follow it. In another run it is refused alone; at a start that
    is every second one. The number of runs follows from the number of allocations.
    """

    def report(self, **variables):
        program = self.windows.start("-getinfo", "\\report.txt", **variables)
        return program, *self.watch(program, lambda window: None)

    def run_report(self, fail):
        program, status, said = self.report(CE_FAIL=fail)
        self.assertIn(status, (0, 1, EXHAUSTED), str(program))  # 1: the file was not written
        self.assertEqual(program.defects(), [])
        # Nobody sits before a report but the program that asked for it; only the command line's own words come before
        # that is known.
        if int(fail.rstrip("-")) > 8:
            self.assertEqual(said, [])

    def test_a_report_ends_in_an_orderly_way_whatever_memory_it_lacks(self):
        program, status, _ = self.report()
        self.assertEqual(status, 0)
        count = self.allocations(program)
        self.assertGreater(count, 20)
        self.fail_each(range(1, count + 1), False, self.run_report)
        self.fail_each(range(1, count + 1), True, self.run_report)

    def start_and_close(self, **variables):
        program = self.windows.start(**variables)
        return program, *self.watch(program, lambda window: window.close())

    def run_start(self, fail):
        self.check_end(*self.start_and_close(CE_FAIL=fail))

    def test_a_start_ends_in_an_orderly_way_whatever_memory_it_lacks(self):
        program, status, _ = self.start_and_close()
        self.assertEqual(status, 0)
        count = self.allocations(program)
        self.assertGreater(count, 20)
        self.fail_each(range(1, count + 1), False, self.run_start)
        self.fail_each(range(1, count + 1, 2), True, self.run_start)


class ScarceMemoryInTestTest(FaultTest):
    """Of the allocations of a test some, spread over all of it. tools/windows-ce/fail-every-allocation asks for a share of
    all instead: LINKOMETRY_ALLOCATIONS=2/4 are those numbers that leave 2 when divided by 4.
    """

    RUNS = 32

    def setUp(self):
        super().setUp()
        self.lab.device("pocket2").start("-headless")

    def test_a_test_ends_in_an_orderly_way_whatever_memory_it_lacks(self):
        program, status, _ = self.measure()
        self.assertEqual(status, 0)
        count = self.allocations(program)
        self.assertGreater(count, 100)
        refused = []

        def run(fail):
            program, status, said = self.measure(CE_FAIL=fail)
            self.check_end(program, status, said)
            refused.extend(line for line in program.journal() if re.search(r"HEAP allocation .* refused$", line))
        share = os.environ.get("LINKOMETRY_ALLOCATIONS")
        if share:
            self.run_share(count, *map(int, share.split("/")), run, refused)
            return
        numbers = [count * number // self.RUNS for number in range(1, self.RUNS)]
        self.fail_each(numbers[::2], False, run)
        self.fail_each(numbers[1::2], True, run)
        self.assertGreater(len(refused), self.RUNS // 2)

    def run_share(self, count, rest, divisor, run, refused):
        """The threads of a test take turns as they like, so that two tests differ a little in the number."""
        numbers = range(rest or divisor, count + 1, divisor)
        started = time.monotonic()
        self.fail_each(numbers, True, run)
        print(f"{len(refused)} of {len(numbers)} were refused, each in a test of its own, in "
              f"{time.monotonic() - started:.0f} s", flush=True)

    def test_the_log_has_a_last_line(self):
        """Where one allocation fails and there is memory for a line again."""
        for number in range(200, 400):
            if os.path.exists(self.windows.path("VantiroDiagnostics.txt")):
                os.remove(self.windows.path("VantiroDiagnostics.txt"))
            program, status, said = self.measure(CE_FAIL=str(number))
            if status == EXHAUSTED:
                self.assertEqual(said, [BOX])
                self.assertEqual(self.windows.log_texts()[-1], LINE)
                return
        self.fail("no allocation was one that the program cannot do without")
