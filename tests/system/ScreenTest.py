"""The program on a terminal: what its screen shows, what each key and click does, and what is left behind."""

import fcntl
import os
import pty
import re
import select
import signal
import struct
import termios
import time

import lab
import screen
import traffic

BUTTONS_STOPPED = "[ Start ]   Stop   [ Reset ] [ Log ] [ Add Ip ] [ Info ] [ Quit ]"
BUTTONS_RUNNING = "  Start   [ Stop ] [ Reset ] [ Log ] [ Add Ip ] [ Info ] [ Quit ]"
HEADERS = ["IP-Address", "Quality", "Mcast", "Tcpip", "Udp", "Ping"]
UNITS = ["(name)", "(%)", "(Recv/Total)", "(Recv/Total)", "(Recv/Total)", "(Ack/Sent)"]


def received(cell):
    return int(cell.split("/")[0])


class GroupScreenTest(screen.ScreenTest):
    def test_three_devices_are_watched_stopped_and_started_again(self):
        peers = self.lab.devices_named("pocket2", "pocket3")
        for device in (self.device, *peers):
            device.configure(*lab.PROTOCOLS)
        programs = [peer.measure() for peer in peers]
        window = self.open()
        window.start_test()
        # Whatever quality: of probes that a busy machine reads late, some count as lost.
        everything = lambda cells: all(received(cell) >= 3 for cell in cells[1:])
        # Without their names in the first test: a device announces what it was called when its own last one began.
        window.wait_for_row("10.77.0.2 (pocket2)", everything)
        window.wait_for_row("10.77.0.3 (pocket3)", everything)
        lines = window.lines()
        self.assertEqual(lines[0], "10.77.0.1  (pocket1)")
        self.assertEqual(lines[1], BUTTONS_RUNNING)
        self.assertEqual(lines[2].split(), HEADERS)
        self.assertEqual(lines[3].split(), UNITS)
        self.assertRegex(lines[4], r"^[! ] 10\.77\.0\.[23] \(pocket[23]\) +\d+( +\d+/\d+){4}$")
        self.assertRegex(lines[5], r"^[! ] 10\.77\.0\.[23] \(pocket[23]\) +\d+( +\d+/\d+){4}$")
        self.assertEqual(lines[6:23], [""] * 17)
        self.assertRegex(lines[23], r"^running  test 1  0:0\d:\d\d  log VantiroDiagnostics\.txt  ")
        window.keys("t")
        window.wait_for("stopped  test 1", "test 1 complete", BUTTONS_STOPPED)
        window.wait_for_row("10.77.0.2 (pocket2)")
        window.keys("Space")
        window.wait_for("running  test 2")
        window.wait_for_row("10.77.0.2 (pocket2)", everything)
        window.keys("q")
        self.assertEqual(window.wait(), 0)
        self.assertEqual([program.stop() for program in programs], [0, 0])

    def test_a_peer_that_falls_silent_is_marked_and_its_history_shows_when(self):
        peer = self.lab.device("pocket2")
        self.device.configure("ping", period=1000, peers={"door": peer.address})
        window = self.open()
        window.start_test()
        window.wait_for_row("10.77.0.2 (door)", lambda cells: received(cells[4]) >= 4)
        window.keys("Enter")
        window.wait_for("10.77.0.2 (door)", "received", "████")
        peer.unplug()
        window.wait_until(lambda lines: any("···" in line for line in lines), "three silent periods")
        peer.plug()
        window.wait_until(lambda lines: any(re.search("···+▄*█", line) for line in lines), "the end of the silence")
        window.keys("Escape")
        _, *cells = window.wait_for_row("10.77.0.2 (door)", lambda cells: cells[0] != "100")
        self.assertEqual(cells[1:4], ["0/0"] * 3)
        # A first reply ends no silence yet.
        window.wait_until(lambda lines: any(line.startswith("! 10.77.0.2 (door)") for line in lines), "back, with losses")
        self.assertIn("\x1b[33m", next(line for line in window.lines(attributes=True) if "(door)" in line))

    def test_a_peer_whose_cable_is_pulled_is_red_at_once_and_all_is_told_of_it(self):
        peers = self.lab.devices_named("pocket2", "pocket3")
        self.device.configure("udp", "ping", period=200, peers={"door": peers[0].address, "gate": peers[1].address})
        for peer in peers:
            peer.configure("udp", period=200)
        programs = [peer.measure() for peer in peers]
        window = self.open(width=96)
        window.start_test()
        for label in ("10.77.0.2 (door)", "10.77.0.3 (gate)"):
            window.wait_for_row(label, lambda cells: received(cells[3]) >= 10 and received(cells[4]) >= 10)
        peers[0].unplug()
        row = "X 10.77.0.2 (door) silent "
        line = window.wait_until(lambda lines: next((line for line in lines if line.startswith(row)), None), "silence")
        self.assertRegex(line, row.replace("(", r"\(").replace(")", r"\)") + r"0:0[3-9] \d+ +0/0 ")
        self.assertRegex(next(line for line in window.lines(attributes=True) if "(door)" in line), r"\x1b\[[0-9;]*31m")
        window.keys("f")
        window.wait_for(" not well 1/2")
        window.wait_without("(gate)")
        window.keys("f")
        window.wait_for("(gate)")
        window.keys(*"ooooooo", "o")
        window.wait_for("sorted by state")
        self.assertIn("(door)", window.lines()[4])
        window.keys("Home", "Enter")
        window.wait_for("silent since ", "rtt ", "silence ")
        window.keys("-")
        window.wait_for("a column is 10 s")
        window.keys("+", "Tab")
        window.wait_for("Ping in: silent since ", "Round-trip times of ", "Esc closes")
        window.keys("Escape", "e")
        window.wait_until(lambda lines: any(re.search(
            r"\d\d:\d\d:\d\d  10\.77\.0\.2 \(door\) is silent, after 0:\d\d reachable", line) for line in lines), "the event")
        peers[0].plug()
        window.wait_until(lambda lines: any(re.search(
            r"10\.77\.0\.2 \(door\) is reachable, after 0:\d\d silent", line) for line in lines), "the end of the silence")
        self.assertFalse(any("(gate) is silent" in line for line in window.lines()))
        window.keys("Escape")
        window.wait_without("silent")
        window.keys("q")
        self.assertEqual(window.wait(), 0)
        self.assertEqual([program.stop() for program in programs], [0, 0])

    def test_three_hundred_rows_are_scrolled_and_sorted_while_they_are_updated(self):
        # The program's own network answers for all of them.
        names = {f"peer {number:03}": f"127.0.1.{number}" for number in range(1, 251)}
        names.update({f"peer {250 + number:03}": f"127.0.2.{number}" for number in range(1, 51)})
        self.device.configure("ping", period=1000, peers=names)
        window = self.open()
        window.start_test()
        window.wait_for("1-19 of 300")
        window.keys("End")
        window.wait_for("282-300 of 300")
        window.keys("PPage", "PPage")
        window.wait_for("262-280 of 300")
        window.keys("Home")
        window.wait_for("1-19 of 300")
        for key, position in (("NPage", "2-20"), ("j", "3-21"), ("Down", "4-22")):
            window.keys(key)
            window.wait_for(f" {position} of 300")
        window.keys("Home", "o")
        window.wait_for("sorted by IP-Address (name)")
        window.wait_until(lambda lines: "127.0.1.1 (peer 001)" in lines[4] or "127.0.1.1 " in lines[4], "the lowest")
        window.click(5, 10, button=65)
        window.wait_for("4-22 of 300")
        for size in ((100, 30), (40, 10), (132, 50), (60, 12), (80, 24)):
            window.resize(*size)
            is_whole = lambda lines: (len(lines) == size[1] and lines[-1].startswith("running") and all(
                re.match(r"^[X! ] 127\.0\.\d", line) for line in lines[4:size[1] - 1]))
            window.wait_until(is_whole, f"a whole list in {size}")
        window.keys("q")
        self.assertEqual(window.wait(), 0)


class KeysTest(screen.ScreenTest):
    def setUp(self):
        super().setUp()
        self.device.configure("ping", peers={"self": "127.0.0.1"})

    def test_it_opens_stopped_with_buttons_headers_and_a_hint(self):
        window = self.open()
        window.wait_until_ready()
        lines = window.lines()
        self.assertEqual(lines[:2], ["10.77.0.1  (pocket1)", BUTTONS_STOPPED])
        self.assertEqual((lines[2].split(), lines[3].split()), (HEADERS, UNITS))
        self.assertEqual(lines[23], "stopped  log VantiroDiagnostics.txt")
        self.assertEqual([line.strip() for line in lines[4:23] if line], ["s starts a test, ? explains the keys"])
        self.assertRegex(window.lines(attributes=True)[1], r"\x1b\[2m *Stop")

    def test_reset_and_log(self):
        window = self.open()
        window.start_test()
        window.wait_for_row("127.0.0.1 (self)", lambda cells: received(cells[4]) >= 5)
        window.keys("r")
        window.wait_for("all counts set to zero")
        window.keys("l")
        window.wait_for("report lines are in the log")
        self.device.wait_for_log_line(r"S Name: 127\.0\.0\.1 \(self\)")
        window.keys("t")
        window.wait_for("stopped  test 1")
        window.keys("r")
        window.wait_for_row("127.0.0.1 (self)", lambda cells: cells == ["0", "0/0", "0/0", "0/0", "0/0"])
        self.assertEqual(window.wait_for_row("127.0.0.1 (self)")[0], "X")
        window.keys("C-c")
        self.assertEqual(window.wait(), 0)

    def test_a_report_that_was_asked_for_is_in_the_log_though_the_user_quits_at_once(self):
        window = self.open()
        window.start_test()
        window.wait_for("127.0.0.1 (self)")
        window.type("lq")
        self.assertEqual(window.wait(), 0)
        self.device.wait_for_log_line(r"S Name: 127\.0\.0\.1 \(self\)")

    def test_a_peer_is_added_field_by_field(self):
        window = self.open()
        window.wait_until_ready()
        window.keys("a")
        window.wait_for("Enter ip info", "Ip Address:   0__.0__.0__.0__", "Display Name: manually added")
        # Letters are no digits, a point goes on, and what is typed replaces what Tab has marked.
        window.type("x10.77.")
        window.wait_for("10_.77_.0__.0__")
        window.keys("Tab")
        window.type("256")
        window.keys("Tab")
        window.type("1234567890123456")
        window.keys("Enter")
        window.wait_for("Please enter a whole number", "10_.77_.0__.256")
        window.type("9")
        window.keys("Enter")
        window.wait_for("at most 15 characters")
        window.type("printer")
        window.keys("Tab", "Tab", "Enter")
        window.wait_without("Enter ip info")
        window.start_test()
        window.wait_for("127.0.0.1 (self)")
        self.assertFalse(any("(printer)" in line for line in window.lines()))
        window.keys("a")
        window.wait_for("Enter ip info")
        window.type("10.77.0.9")
        window.keys("Tab")
        window.type("printer")
        window.keys("Enter")
        # A row that comes at once is what the status line tells of instead.
        window.wait_until(lambda lines: any(text in line for line in lines for text in (
            "10.77.0.9 added", "10.77.0.9 (printer)")), "the peer is there")
        self.device.wait_for_log_line("Created VTR_CPinger to 10.77.0.9")

    def test_an_address_that_waits_to_be_added_is_not_added_once_more(self):
        """A start that waits for its log keeps the addition waiting, and the user from hearing of it."""
        self.device.configure("ping", peers={"self": "127.0.0.1"}, log_patience="0")
        # The report of a start names all of these: more lines than find room while the log stands still.
        self.device.write_hive(self.device.read_hive() + "\n[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Other]\n" +
                               "".join(f'"value {number}"="text"\n' for number in range(150)))
        log = lab.StallingLog(self.device)
        window = self.open(environment=log.environment)
        window.wait_until_ready()
        log.hold()
        window.keys("s")
        window.wait_for("starting")
        for _ in range(2):
            window.keys("a")
            window.wait_for("Enter ip info")
            window.type("10.77.0.9")
            window.keys("Enter")
            window.wait_without("Enter ip info")
        log.release()
        self.device.wait_for_log_line("Created VTR_CPinger to 10.77.0.9")
        window.keys("q")
        self.assertEqual(window.wait(), 0)
        made = [line for line in self.device.log_lines() if line.endswith("Created VTR_CPinger to 10.77.0.9")]
        self.assertEqual(len(made), 1, made)

    def test_the_info_is_that_of_a_report_file_and_scrolls(self):
        window = self.open(width=60, height=14)
        window.wait_until_ready()
        window.keys("i")
        window.wait_for("Local Info:", "**System Settings**")
        window.keys("End")
        window.wait_for("**End of IP Settings**")
        window.keys("Escape")
        window.wait_without("Local Info:")

    def test_help_lists_the_keys(self):
        window = self.open()
        window.wait_until_ready()
        for key in ("?", "h"):
            window.keys(key)
            window.wait_for("─ Help ─", "s  start a test", "Ctrl-Z")
            window.keys("Enter")
            window.wait_without("─ Help ─")

    def test_the_mouse_presses_buttons_and_opens_rows(self):
        window = self.open()
        window.wait_until_ready()
        window.click_text("Start")
        window.wait_for_row("127.0.0.1 (self)", lambda cells: received(cells[4]) >= 1)
        window.click_text("127.0.0.1")
        window.wait_for("received", "quality")
        window.click(1, 1)
        window.wait_without("received")
        window.click_text("Add Ip")
        window.wait_for("Enter ip info")
        window.click_text("Cancel")
        window.wait_without("Enter ip info")
        window.click_text("Stop")
        window.wait_for("stopped  test 1")
        window.click_text("Quit")
        self.assertEqual(window.wait(), 0)

    def test_each_column_is_sorted_by_and_then_none(self):
        window = self.open()
        window.start_test()
        window.wait_for("127.0.0.1 (self)")
        for header in ("IP-Address (name)", "Quality (%)", "Mcast (Recv/Total)", "Tcpip (Recv/Total)",
                       "Udp (Recv/Total)", "Ping (Ack/Sent)", "Rtt (jitter)", "state"):
            window.keys("o")
            window.wait_for(f"sorted by {header}")
        window.keys("o")
        window.wait_for("not sorted")

    def test_a_duration_stops_the_test_by_itself(self):
        window = self.open("-duration", "1.5")
        window.wait_until_ready()
        window.keys("s")
        window.wait_for("stopped  test 1", "test 1 complete")

    def test_control_l_draws_afresh(self):
        window = self.open()
        window.wait_until_ready()
        # Somebody else writes on the same terminal.
        tty = window.state("pane_tty")
        with open(tty, "w", encoding="ascii") as file:
            file.write("\x1b[5;5HSOMETHING ELSE")
        window.wait_for("SOMETHING ELSE")
        window.keys("C-l")
        window.wait_without("SOMETHING ELSE")


class AppearanceTest(screen.ScreenTest):
    def setUp(self):
        super().setUp()
        self.device.configure("ping", peers={"self": "127.0.0.1", "dead": "10.77.0.99"})

    def test_forty_by_ten_has_everything_within_reach(self):
        window = self.open(width=40, height=10)
        window.start_test()
        window.wait_for("127.0.0.1 (self)", "10.77.0.99 (dead)", "›")
        lines = window.lines()
        self.assertEqual(lines[1], "Start Stop Reset Log Add Ip Info Quit")
        self.assertEqual(len(lines), 10)
        self.assertTrue(all(len(line) <= 40 for line in lines), lines)
        window.keys("Right", "Right", "Right")
        window.wait_for("Ping", "(Ack/Sent)")
        window.keys("a")
        window.wait_for("Display Name:", "[ OK ]   [ Cancel ]")
        window.keys("Escape")
        window.wait_without("Display Name:")
        window.keys("Enter")
        window.wait_for("Tcpip", "Quality (%)")

    def test_a_wide_screen_has_the_headers_on_one_line(self):
        window = self.open(width=132, height=30)
        window.start_test()
        window.wait_for("IP-Address (name)  Quality (%)  Mcast (Recv/Total)  Tcpip (Recv/Total)  Udp (Recv/Total)  "
                        "Ping (Ack/Sent)")

    def test_no_color_has_marks_and_no_colours(self):
        window = self.open(environment={"NO_COLOR": "1"})
        window.start_test()
        window.wait_for("X 10.77.0.99 (dead)")
        self.assertNotRegex(window._tmux("capture-pane", "-p", "-e"), r"\x1b\[[0-9;]*(3[0-7]|4[0-7])m")

    def test_colours_show_what_the_marks_show(self):
        window = self.open()
        window.start_test()
        window.wait_for("X 10.77.0.99 (dead)")
        dead = next(line for line in window.lines(attributes=True) if "(dead)" in line)
        self.assertRegex(dead, r"\x1b\[[0-9;]*31m")

    def test_a_locale_without_unicode_gets_plain_characters(self):
        window = self.open(environment={"LANG": "C"})
        window.start_test()
        window.wait_for_row("127.0.0.1 (self)", lambda cells: received(cells[4]) >= 12)
        window.keys("Home")
        window.click_text("127.0.0.1 (self)")
        window.wait_for("+- 127.0.0.1 (self) -", "##", "# all arrived")
        self.assertTrue(window.text().isascii())

    def test_hostile_names_disturb_nothing(self):
        self.device.configure("udp")
        names = ["\x1b[2J\x1b[31mred", "a\x07\x9b5n\x7f\rb", "日本語テスト", "e\u0301" * 7, "\u202egnol", "n" * 900]
        peers = self.lab.devices_named(*(f"pocket{number}" for number in range(2, 2 + len(names))))
        window = self.open()
        window.start_test()
        for peer, name in zip(peers, names):
            with traffic.UdpEnd(peer) as sender:
                # The first one makes the peer known, the second one is counted.
                for number in (1, 2):
                    sender.send(traffic.packet(number, "v|" + name), self.device.address)
        window.wait_for("10.77.0.2 (?[2J?[31…", "10.77.0.3 (a??5n??b", "10.77.0.4 (日本語", "10.77.0.5 (e\u0301",
                        "10.77.0.6 (?gnol)", "10.77.0.7 (nnnnnnnn…")
        lines = window.lines()
        self.assertEqual(lines[:2], ["10.77.0.1  (pocket1)", BUTTONS_RUNNING])
        # Each row's figures end where their header does.
        end = lines[2].index("Udp") + len("Udp")
        for line in lines[4:10]:
            width = sum(0 if character == "\u0301" else 2 if character > "\u2fff" else 1 for character in line)
            self.assertEqual(width, end, line)
        window.keys("q")
        self.assertEqual(window.wait(), 0)

    def test_an_error_of_the_reporter_is_a_box(self):
        self.device.write_hive("[HKEY_CURRENT_USER\\Software]\nnonsense\n")
        window = self.open()
        # The box may be there before the engine is, whose title it is.
        window.wait_for("10.77.0.1  (pocket1)", "┌─", "[ OK ]")
        self.assertEqual(window.lines()[0], "10.77.0.1  (pocket1)")
        window.wait_until(lambda lines: window.keys("Enter") or not any("[ OK ]" in line for line in lines),
                          "all boxes have been read")
        self.assertEqual(window.lines()[1], BUTTONS_STOPPED)

    def test_a_port_that_is_taken_is_a_box_and_the_test_goes_on(self):
        self.device.configure("udp")
        with traffic.UdpEnd(self.device, traffic.PORT):
            window = self.open()
            window.wait_until_ready()
            window.keys("s")
            window.wait_for("cannot listen: udp listener", "is another")
            window.keys("Enter")
            window.wait_without("cannot listen")
            window.wait_for("running  test 1")
            # Tried again in vain, it is said again.
            window.keys("t")
            window.wait_for("stopped  test 1")
            window.keys("s")
            window.wait_for("cannot listen: udp listener", "test 2")

    def test_a_log_in_use_is_a_box_and_no_test_starts_until_it_is_free(self):
        self.device.configure("ping", peers={"self": "127.0.0.1"})
        other = self.device.measure()
        self.device.wait_for_log_line("Test 1 starting", within=20)
        window = self.open()
        window.wait_for("is in use by another linkometry", "[ OK ]")
        window.keys("Enter")
        window.wait_without("[ OK ]")
        window.keys("s")
        window.wait_for("is in use by another linkometry", "[ OK ]")
        window.keys("Enter")
        window.wait_for("stopped", "the test was not started")
        other.wait_for_row("127.0.0.1", lambda row: row["quality"] == 100)
        self.assertEqual(other.stop(), 0)
        self.assertIn(" ---- Test 1 complete ---", self.device.log_lines()[-1])
        window.keys("s")
        window.wait_for("running  test 1", "VantiroDiagnostics.txt")

    def test_another_log_in_the_settings_lets_a_test_start(self):
        self.device.configure("ping", peers={"self": "127.0.0.1"})
        self.device.measure()
        self.device.wait_for_log_line("Test 1 starting", within=20)
        window = self.open()
        window.wait_for("is in use by another linkometry", "[ OK ]")
        window.keys("Enter")
        self.device.configure("ping", peers={"self": "127.0.0.1"}, log_filename="other.txt")
        window.wait_without("[ OK ]")
        window.keys("s")
        window.wait_for("running  test 1", "other.txt")
        self.assertIn("other.txt", os.listdir(self.device.folder))


class LeavingTest(screen.ScreenTest):
    def setUp(self):
        super().setUp()
        self.device.configure("ping", peers={"self": "127.0.0.1"})

    def running(self, **more):
        window = self.open(**more)
        before = window.modes()
        window.start_test()
        window.wait_for_row("127.0.0.1 (self)", lambda cells: received(cells[4]) >= 2)
        self.assertEqual(window.modes()[0], "1", before)
        return window

    def test_the_last_table_is_printed_and_the_terminal_as_before(self):
        window = self.running(width=130)
        window.keys("q")
        self.assertEqual(window.wait(), 0)
        self.assert_terminal_is_as_before(window)
        window.wait_for("1 of 1 peer reachable (quality at least 1 %)")
        text = window.text()
        self.assertRegex(text, r"\d\d:\d\d:\d\d  test 1, result after \d+ s")
        self.assertRegex(text, r"127\.0\.0\.1 \(self\) +\d+ +0/0 +0/0 +0/0 +\d+/\d+")

    def test_without_a_test_nothing_is_printed(self):
        window = self.open()
        window.wait_until_ready()
        window.keys("q")
        self.assertEqual(window.wait(), 0)
        self.assert_terminal_is_as_before(window)
        self.assertNotIn("test", window.text())

    def test_where_the_terminal_has_one_screen_only_the_status_line_is_cleared(self):
        """A vt220 has no other screen to go back to: what was drawn stays, and the prompt comes below it."""
        window = self.open(shell=f"exec sh -c 'cd {self.device.folder}; TERM=vt220 {lab.program_path()}; echo through; "
                                 "exec cat'", width=130)
        window.wait_until_ready()
        self.assertEqual(window.state("alternate_on"), "0")
        window.start_test()
        window.wait_for_row("127.0.0.1 (self)", lambda cells: received(cells[4]) >= 2)
        window.keys("C-z")  # the shell of this window knows no job control: the screen goes on
        window.keys("q")
        window.wait_for("result after", "through")
        self.assertIn("Quality", window.text())  # of the screen
        self.assertNotRegex(window.text(), "running  test|stopped  log")

    def test_signals_that_ask_for_the_end_restore_and_report(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(number):
                window = self.running(width=130)
                window.signal(number)
                self.assertEqual(window.wait(), 0)
                self.assert_terminal_is_as_before(window)
                window.wait_for("result after")

    def test_log_that_stands_still_does_not_keep_it_from_ending(self):
        log = lab.StallingLog(self.device)
        window = self.running(width=130, environment=log.environment)
        log.hold()
        window.keys("l", "q")
        self.assertEqual(window.wait(), 0)
        self.assert_terminal_is_as_before(window)
        window.wait_for("result after")
        self.assertIn("takes no lines; its last ones are lost", window.errors())

    def test_start_that_stands_still_does_not_keep_it_from_ending(self):
        log = lab.StallingLog(self.device)
        log.hold()
        window = self.open(environment=log.environment)
        window.wait_until(lambda lines: window.state("alternate_on") == "1", "the screen is there")
        window.signal(signal.SIGTERM)
        self.assertEqual(window.wait(), 4)
        self.assert_terminal_is_as_before(window)
        self.assertIn("stopped before the test could start", window.errors())

    def test_terminal_that_takes_nothing_does_not_keep_it_from_ending(self):
        # Nobody reads what is drawn.
        master, slave = pty.openpty()
        self.addCleanup(os.close, master)
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 50, 200, 0, 0))
        program = self.device.start(through=("env", f"TERMINAL={os.ttyname(slave)}", "TERM=xterm", "sh", "-c",
                                             'exec setsid --ctty --wait "$0" "$@" <"$TERMINAL" >"$TERMINAL"'))
        self.addCleanup(os.close, slave)
        child = program.child()

        def is_stuck():
            for _ in range(20):
                os.kill(child, signal.SIGCONT)  # draws everything again
                time.sleep(0.05)
            room = select.poll()
            room.register(slave, select.POLLOUT)
            return not room.poll(0)
        time.sleep(1)  # until it has a screen: the size is nothing to it before
        lab.eventually(is_stuck, 60, "the terminal is full")
        os.kill(child, signal.SIGTERM)
        self.assertEqual(program.wait(within=30), 1)
        self.assertIn("the terminal takes nothing", program.errors())

    def test_second_request_ends_it_at_once_with_the_terminal_as_before(self):
        log = lab.StallingLog(self.device)
        log.hold()
        window = self.open(environment=log.environment)
        window.wait_until(lambda lines: window.state("alternate_on") == "1", "the screen is there")
        window.is_to_crash = True
        window.signal(signal.SIGTERM)
        time.sleep(0.5)
        window.signal(signal.SIGTERM)
        self.assertEqual(window.wait(), 128 + signal.SIGTERM)
        self.assert_terminal_is_as_before(window)
        self.assertNotIn("stopped before", window.errors())

    def test_signals_that_crash_restore(self):
        for number in (signal.SIGSEGV, signal.SIGABRT, signal.SIGQUIT, signal.SIGBUS, signal.SIGALRM):
            with self.subTest(number):
                window = self.open()
                window.start_test()
                window.is_to_crash = True
                window.signal(number)
                status = window.wait()
                # A sanitizer has its own way to end.
                if not lab.program_is_sanitized():
                    self.assertEqual(status, 128 + number)
                self.assert_terminal_is_as_before(window)
                window.close()

    def test_user_signals_press_log_and_reset(self):
        window = self.running()
        window.signal(signal.SIGUSR1)
        window.wait_for("report lines are in the log")
        window.signal(signal.SIGUSR2)
        window.wait_for("all counts set to zero")

    def test_suspended_it_gives_the_terminal_back_and_comes_again(self):
        # A shell with job control, as users have.
        window = self.open(shell=f"sh -c 'cd {self.device.folder}; exec bash --norc --noprofile -i'",
                           environment={"PS1": "prompt> "})
        window.wait_for("prompt>")
        window.type("PS1='ready> '; stty -a > before; " + lab.program_path() + " 2> errors")
        window.keys("Enter")
        window.wait_until_ready()
        window.keys("s")
        window.wait_for("running  test 1")
        window.keys("C-z")
        window.wait_for("Stopped", "ready>")
        self.assertEqual(window.modes(), ("0", "1", "0", "0"))
        window.type("stty -a > while; echo mark")
        window.keys("Enter")
        window.wait_until(lambda lines: "mark" in lines, "the shell answers")
        window.resize(100, 30)
        window.type("fg")
        window.keys("Enter")
        window.wait_for("running  test 1", "127.0.0.1 (self)")
        self.assertEqual(window.lines()[1], BUTTONS_RUNNING)
        window.wait_until(lambda lines: lines[29].startswith("running"), "the new size")
        window.keys("q")
        window.wait_for("ready>", "result after")
        window.type("stty -a > after; echo through")
        window.keys("Enter")
        window.wait_until(lambda lines: "through" in lines, "the shell answers")
        modes = [open(f"{self.device.folder}/{name}", encoding="ascii").read().split("\n", 1)[1]
                 for name in ("before", "while", "after")]
        self.assertEqual(modes[0], modes[1])
        self.assertEqual(modes[0], modes[2])

    def test_resizing_while_updates_come_leaves_no_garbage(self):
        self.device.configure("ping", period=20, peers={"self": "127.0.0.1", "dead": "10.77.0.99"})
        window = self.open()
        window.start_test()
        for width, height in ((120, 40), (50, 12), (80, 24), (40, 10), (81, 25), (80, 24)):
            window.resize(width, height)
            window.wait_until(lambda lines: len(lines) == height and lines[-1].startswith("running"), "the new size")
        window.wait_until(lambda lines: lines[1] == BUTTONS_RUNNING and lines[6:23] == [""] * 17 and
                          all("/" in line for line in lines[4:6]), "two rows and nothing else")


class WithoutScreenTest(screen.ScreenTest):
    def test_an_unknown_terminal_is_said_and_the_test_runs_without_a_screen(self):
        for name, said in (("no-such-terminal", 'the terminal "no-such-terminal" (TERM) is not known'),
                           ("dumb", 'the terminal "dumb" (TERM) has no screen'),
                           ("", "TERM does not say what terminal this is")):
            with self.subTest(name):
                script = f"TERM='{name}' {lab.program_path()} -duration 0.2 -peer 127.0.0.1"
                window = self.open(shell=f"exec sh -c 'cd {self.device.folder}; {script.replace(chr(39), chr(34))}; exec cat'", width=130)
                window.wait_for(said, "going on without a screen, as with -headless", "result after")

    def test_an_input_that_is_no_terminal_means_headless(self):
        window = self.open("-duration", "0.2", "-peer", "127.0.0.1", input_from="/dev/null", width=130)
        window.wait()
        window.wait_for("result after")

    def test_a_printed_table_is_laid_out_to_the_width_of_its_terminal(self):
        name = "fifteen letters"
        for width, headers in ((150, r"^IP-Address \(name\) +Quality \(%\) "), (80, r"^IP-Address +Quality +Mcast "),
                               (60, r"^IP-Address +Quality Mcast ")):
            with self.subTest(width):
                window = self.open("-headless", "-duration", "0.2", "-peer", f"127.0.0.1={name}", width=width)
                window.wait()
                lines = window.wait_for("1 of 1 peer reachable") and window.lines()
                index = next(i for i, line in enumerate(lines) if re.search(headers, line))
                row = next(line for line in lines[index:] if line.startswith("127.0.0.1"))
                self.assertRegex(row, r" +100 +0/0 +\d+/\d+ +\d+/\d+ +\d+/\d+ +waiting")
                self.assertEqual(name in row, width != 60)

    def test_headless_means_headless_on_a_terminal_too(self):
        window = self.open("-headless", "-duration", "0.2", "-peer", "127.0.0.1", width=130)
        window.wait()
        window.wait_for("result after")
