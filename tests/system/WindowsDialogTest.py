"""The Windows program in its windows, as its user sees and uses it."""

import os
import re

import documents
import lab
import traffic
import windows
from windows import ADD_IP, CANCEL, INFO, LOG, OCTETS, OK, PEER_NAME, PEERS, RESET, START, STOP

SETTINGS = r"HKCU\Software\Vantiro Networks\Vantiro Diagnostic"
HEADERS = ["IP-Address (name)", "Quality (%)", "Mcast (Recv/Total)", "Tcpip (Recv/Total)", "Udp (Recv/Total)",
           "Ping (Ack/Sent)"]
CENTRED = "2"


class WindowsTest(lab.SystemTest):
    settings = {}

    def setUp(self):
        super().setUp()
        self.windows = windows.WindowsDevice(self.lab.device("pocket1"), self.settings)
        self.addCleanup(self.windows.close)

    def start(self, *arguments):
        """The program's main window."""
        self.program = self.windows.start(*arguments)
        return self.windows.window("10.77.0.1  (pocket1)")

    def switch_on(self, dialog):
        dialog.press(START)
        dialog.wait_until_enabled(STOP)
        # The program disables Start last. A test that goes on before that sees both buttons enabled.
        lab.eventually(lambda: not dialog.is_enabled(START), 60, "Start cannot be used")

    def switch_off(self, dialog):
        dialog.press(STOP)
        dialog.wait_until_enabled(START)
        # The program disables Stop last.
        lab.eventually(lambda: not dialog.is_enabled(STOP), 60, "Stop cannot be used")

    def settle(self, dialog):
        """Waits until the program has taken in all that was on its way to its window, such as updates of rows."""
        dialog.press(INFO)
        info = self.windows.window()
        info.close()
        info.wait_until_gone()


class MainDialogTest(WindowsTest):
    def test_it_opens_stopped_with_six_columns_and_names_the_device(self):
        dialog = self.start()
        self.assertEqual(dialog.caption(), "10.77.0.1  (pocket1)")
        self.assertTrue(dialog.is_enabled(START))
        self.assertFalse(dialog.is_enabled(STOP))
        columns = [dialog.ask("header", PEERS, column).split("\t") for column in range(6)]
        self.assertEqual([column[0] for column in columns], HEADERS)
        # The control keeps its first column at the left.
        self.assertEqual([column[1] for column in columns[1:]], [CENTRED] * 5)
        self.assertTrue(all(int(column[2]) > 50 for column in columns), columns)
        self.assertEqual(dialog.rows(), [])
        defaults = documents.default_settings()
        self.assertEqual(self.windows.registry(SETTINGS), defaults)
        lines = self.windows.log_lines()
        self.assertEqual((lines[0], lines[1], lines[5]),
                         ("-" * 80, f"Description: {defaults['description']}", "-" * 80))
        self.assertEqual(len(lines), 6)
        self.windows.picture("main-stopped")

    def test_resetting_and_logging_an_empty_list_changes_nothing(self):
        dialog = self.start()
        dialog.press(RESET)
        dialog.press(LOG)
        self.settle(dialog)
        self.assertEqual(dialog.rows(), [])
        self.assertEqual(self.windows.log_texts(), [])

    def test_the_last_figures_stay_after_a_stop_and_a_start_empties_the_list(self):
        peer = self.lab.device("pocket2")
        program = peer.start("-headless")
        dialog = self.start()
        self.switch_on(dialog)
        label = "10.77.0.2 (pocket2)"
        dialog.wait_for_row(label, lambda row: all(windows.received_and_total(cell)[0] >= 1 for cell in row[2:]))
        self.switch_off(dialog)
        self.assertEqual(program.stop(), 0)
        self.settle(dialog)
        self.windows.wait_for_log_text(" ---- Test 1 complete ---")
        rows = dialog.rows()
        report = [line for line in self.windows.log_texts() if line.startswith("S Name: ")]
        self.assertEqual((len(rows), len(report)), (1, 1))
        # The report has the total and the total plus the losses.
        pairs = [(total, 2 * total - received) for received, total in map(windows.received_and_total, rows[0][2:])]
        self.assertEqual(report[0].split()[2:], [*label.split(), "Quality:", rows[0][1] + "%", *(
            each for kind, pair in zip(("Multicast:", "Tcpip:", "Udp:", "Ping:"), pairs)
            for each in (kind, str(pair[0]), "/", str(pair[1])))])
        # Nobody sends now; and who was found by the first test must be found again by the second.
        self.switch_on(dialog)
        self.settle(dialog)
        self.assertEqual(dialog.rows(), [])
        peer.start("-headless")
        dialog.wait_for_row(label, lambda row: windows.received_and_total(row[4])[0] >= 1)

    def test_a_test_is_started_watched_reset_logged_stopped_and_started_again(self):
        peer = self.lab.device("pocket2")
        program = peer.start("-headless")
        dialog = self.start("-peer", "10.77.0.2=door")
        self.switch_on(dialog)
        self.assertFalse(dialog.is_enabled(START))
        label = "10.77.0.2 (door)"
        dialog.wait_for_row(label, lambda row: row[1] == "100" and all(
            windows.received_and_total(cell)[0] >= 2 for cell in row[2:]))
        dialog.ask("size", 620, 300)
        lab.eventually(lambda: dialog.place(PEERS)[2] > 500, 60, "the list has grown")
        self.windows.picture("main-running")
        dialog.press(LOG)
        lab.eventually(lambda: any(line.startswith("S Name: 10.77.0.2 (door) ") for line in self.windows.log_texts()),
                       60, "the report line")
        # From here on only pings count, which nobody but the system answers.
        self.assertEqual(program.stop(), 0)

        def is_reset():
            dialog.press(RESET)
            self.settle(dialog)
            return dialog.row(label)[2:5] == ["0/0"] * 3
        lab.eventually(is_reset, 60, "zeros")
        dialog.wait_for_row(label, lambda row: windows.received_and_total(row[5])[0] >= 1)
        self.switch_off(dialog)
        self.assertEqual([row[0] for row in dialog.rows()], [label])
        self.windows.wait_for_log_text(" ---- Test 1 complete ---")
        dialog.press(RESET)
        dialog.wait_for_row(label, lambda row: row[1:] == ["0", "0/0", "0/0", "0/0", "0/0"])
        self.switch_on(dialog)
        self.windows.wait_for_log_text(" ---- Test 2 starting ---")
        peer.start("-headless")
        dialog.wait_for_row(label, lambda row: windows.received_and_total(row[4])[0] >= 1)
        dialog.close()
        self.assertEqual(self.program.exit_status(), 0)
        # Without a stop, as the program was closed.
        self.assertNotIn(" ---- Test 2 complete ---", self.windows.log_texts())

    def test_a_duration_stops_the_test_by_itself(self):
        dialog = self.start("-duration", "2")
        self.assertFalse(dialog.is_enabled(STOP))
        dialog.press(START)
        self.windows.wait_for_log_text(" ---- Test 1 complete ---")
        dialog.wait_until_enabled(START)

    def test_command_lines_that_ask_for_no_report_open_the_window(self):
        for arguments in (("-getinfo",), ("-reportwnd", "1a2b"), ("-unknown", "words")):
            dialog = self.start(*arguments)
            dialog.close()
            self.assertEqual(self.program.exit_status(), 0)

    def test_escape_closes_and_enter_in_the_list_does_not(self):
        dialog = self.start()
        dialog.ask("focus", PEERS)
        dialog.key(windows.RETURN)
        windows.pause(1)
        self.assertFalse(dialog.is_gone())
        dialog.key(windows.ESCAPE)
        self.assertEqual(self.program.exit_status(), 0)

    def test_each_column_is_sized_by_the_list_to_its_header_before_it_may_be_made_wider(self):
        path = os.path.join(windows.build_folder(), "tests", "system", "observed-linkometry.exe")
        self.windows.start(program=path)
        self.windows.window("10.77.0.1  (pocket1)")
        asked = [tuple(map(int, line.split())) for line in self.windows.read("columns.txt").splitlines()]
        to_header = 65534
        self.assertEqual([column for column, width in asked if width == to_header], list(range(6)))
        for column in range(6):
            self.assertEqual(next(width for asked_column, width in asked if asked_column == column), to_header)

    def test_the_window_has_the_programs_icon(self):
        dialog = self.start()
        left, top, _, _ = dialog.place()
        green = "#00C000"
        # Wine draws its own icon for a window that has none.
        lab.eventually(lambda: green in self.windows.colours("icon", left, top, 24, 24), 60, "the icon in the caption")

    def test_a_start_names_the_addresses_that_the_device_has_by_then(self):
        dialog = self.start()
        with self.windows.device.inside():
            lab.ip("address delete 10.77.0.1/24 dev eth0", "address add 10.77.0.91/24 dev eth0")
        self.switch_on(dialog)
        self.assertEqual(dialog.caption(), "10.77.0.91  (pocket1)")

    def test_a_larger_window_has_a_larger_list_and_it_gets_no_smaller_than_at_first(self):
        dialog = self.start()
        _, _, width, height = dialog.place()
        left, top, list_width, list_height = dialog.place(PEERS)
        dialog.ask("size", width + 100, height + 50)
        self.wait_for_list(dialog, (left, top, list_width + 100, list_height + 50))
        self.windows.picture("main-enlarged")
        dialog.ask("size", 10, 10)
        self.wait_for_list(dialog, (left, top, list_width, list_height))

    def wait_for_list(self, dialog, place):
        lab.eventually(lambda: dialog.place(PEERS) == place, 60, lambda: f"{place}, it is {dialog.place(PEERS)}")


class KeyboardTest(WindowsTest):
    """Nothing but keys, which are struck on the keyboard itself."""

    settings = {"multicast selected": "no", "tcpip selected": "no", "udp selected": "no"}

    def test_a_peer_is_added_and_measured_by_the_keyboard_alone(self):
        dialog = self.start()
        dialog.wait_for_focus(START)
        dialog.strike(windows.SPACE)
        dialog.wait_until_enabled(STOP)
        # What was pressed cannot be pressed again; the keys go on where the next thing to press is.
        dialog.wait_for_focus(STOP)
        for control in (PEERS, ADD_IP):
            dialog.strike(windows.TAB)
            dialog.wait_for_focus(control)
        dialog.strike(windows.SPACE)
        form = self.windows.window()
        form.wait_for_focus(OCTETS[0])
        form.strike("127", windows.TAB, "0", windows.TAB, windows.TAB, "0255", windows.TAB, "DOOR", windows.RETURN)
        form.wait_until_gone()
        dialog.wait_for_row("127.0.0.255 (door)", lambda row: windows.received_and_total(row[5])[1] >= 1)
        dialog.wait_for_focus(ADD_IP)
        dialog.strike(windows.TAB, windows.TAB, windows.TAB, windows.TAB)
        dialog.wait_for_focus(STOP)
        dialog.strike(windows.SPACE)
        dialog.wait_until_enabled(START)
        dialog.wait_for_focus(START)
        dialog.strike(windows.ESCAPE)
        self.assertEqual(self.program.exit_status(), 0)


class ClosingTest(WindowsTest):
    """The window is closed, by the shell or another program, while something else stands over it."""

    def close(self, dialog):
        dialog.close()
        self.assertEqual(self.program.exit_status(), 0)

    def test_the_add_ip_dialog_goes_first(self):
        dialog = self.start()
        dialog.press(ADD_IP)
        self.windows.window()
        self.close(dialog)

    def test_so_does_a_box_over_the_add_ip_dialog(self):
        dialog = self.start()
        dialog.press(ADD_IP)
        form = self.windows.window()
        form.type(OCTETS[0], "256")
        form.press(OK)
        self.windows.window("Linkometry")
        self.close(dialog)

    def test_so_does_the_information(self):
        dialog = self.start()
        dialog.press(INFO)
        self.windows.window()
        self.close(dialog)

    def test_a_test_that_runs_is_ended_as_well(self):
        dialog = self.start()
        self.switch_on(dialog)
        dialog.press(ADD_IP)
        self.windows.window()
        self.close(dialog)


class AddPeerDialogTest(WindowsTest):
    def open(self):
        self.main = self.start()
        self.main.press(ADD_IP)
        return self.windows.window()

    def fill(self, dialog, octets, name=None):
        for control, octet in zip(OCTETS, octets):
            dialog.type(control, octet)
        if name is not None:
            dialog.type(PEER_NAME, name)

    def measure(self):
        self.switch_on(self.main)
        self.switch_off(self.main)
        self.settle(self.main)
        self.windows.wait_for_log_text(" ---- Test 1 complete ---")

    def labels(self):
        return [row[0] for row in self.main.rows()]


class AddPeerTest(AddPeerDialogTest):
    def test_an_accepted_peer_is_probed(self):
        dialog = self.open()
        self.assertEqual([dialog.text(control) for control in OCTETS], ["0"] * 4)
        self.assertEqual(dialog.text(PEER_NAME), "manually added")
        self.windows.picture("add-ip")
        self.fill(dialog, (10, 77, 0, 9), "printer")
        dialog.press(OK)
        dialog.wait_until_gone()
        self.measure()
        self.main.wait_for_row("10.77.0.9 (printer)")
        self.assertEqual(len(self.labels()), 1)

    def test_accepted_unchanged_it_is_the_null_address(self):
        dialog = self.open()
        dialog.press(OK)
        dialog.wait_until_gone()
        # Nobody has this address; the system takes it for the device itself, which then hears itself from 127.0.0.1.
        self.measure()
        self.main.wait_for_row("0.0.0.0 (manually added)")

    def test_a_cancelled_peer_is_none(self):
        dialog = self.open()
        self.fill(dialog, (10, 77, 0, 9))
        dialog.press(CANCEL)
        dialog.wait_until_gone()
        self.measure()
        self.assertEqual(self.labels(), [])

    def refuse(self, dialog, message):
        dialog.press(OK)
        box = self.windows.window("Linkometry")
        self.windows.picture("add-ip-refused")
        self.assertIn(message, self.windows.ask("label", box.handle))
        box.key(windows.RETURN)
        box.wait_until_gone()
        self.assertFalse(dialog.is_gone())

    def test_what_is_no_octet_or_too_long_a_name_is_refused_and_can_be_mended(self):
        dialog = self.open()
        self.fill(dialog, (10, 77, 256, 9))
        self.refuse(dialog, "Please enter a whole number from 0 to 255")
        self.fill(dialog, (10, 77, 0, 9), "1234567890123456")
        self.refuse(dialog, "Please enter at most 15 characters")
        self.fill(dialog, (10, 77, 0, 9), "123456789012345")
        width = self.label_width()
        dialog.press(OK)
        dialog.wait_until_gone()
        self.measure()
        self.main.wait_for_row("10.77.0.9 (123456789012345)")
        # The column's header alone is shorter.
        self.assertGreater(self.label_width(), width)

    def label_width(self):
        return int(self.main.ask("header", PEERS, 0).split("\t")[2])

    def test_a_peer_is_not_added_a_second_time(self):
        dialog = self.open()
        dialog.press(OK)
        dialog.wait_until_gone()
        self.main.press(ADD_IP)
        dialog = self.windows.window()
        self.refuse(dialog, "0.0.0.0 is a peer already")
        dialog.press(CANCEL)
        dialog.wait_until_gone()
        self.measure()
        # Once when it was added, and once at the start.
        self.assertEqual(self.windows.log_texts().count("Created VTR_CPinger to 0.0.0.0"), 2)


    def test_an_address_that_comes_twice_on_the_command_line_is_taken_once(self):
        self.main = self.start("-peer", "10.77.0.9=first", "-peer", "10.77.0.9=second")
        box = self.windows.window("Linkometry")
        self.assertIn("10.77.0.9 is a peer already", self.windows.ask("label", box.handle))
        box.key(windows.RETURN)
        box.wait_until_gone()
        self.measure()
        self.main.wait_for_row("10.77.0.9 (first)")
        self.assertEqual(self.labels(), ["10.77.0.9 (first)"])


class AddPeerWhileRunningTest(AddPeerDialogTest):
    """Pings alone, of the device itself: by other kinds it would hear and discover itself."""

    settings = {"multicast selected": "no", "tcpip selected": "no", "udp selected": "no"}

    def test_a_peer_is_probed_at_once_when_a_test_runs_and_comes_in_below_the_top_row(self):
        self.main = self.start()
        self.switch_on(self.main)
        for address, name in ((7, "first"), (8, "second"), (9, "third")):
            self.main.press(ADD_IP)
            dialog = self.windows.window()
            self.fill(dialog, (127, 0, 0, address), name)
            dialog.press(OK)
            dialog.wait_until_gone()
            self.main.wait_for_row(f"127.0.0.{address} ({name})",
                                   lambda row: windows.received_and_total(row[5])[0] >= 1)
        self.assertEqual(self.labels(), ["127.0.0.7 (first)", "127.0.0.9 (third)", "127.0.0.8 (second)"])


class InfoTest(WindowsTest):
    def test_the_window_shows_what_a_report_file_holds(self):
        dialog = self.start()
        dialog.press(INFO)
        info = self.windows.window()
        self.windows.picture("info")
        text = info.text(windows.LOCAL_INFO)
        info.close()
        info.wait_until_gone()
        report = self.windows.start("-getinfo", "C:\\report.txt")
        self.assertEqual(report.exit_status(), 0)
        self.assertEqual(text, self.windows.read("report.txt"))
        self.assertTrue(text.startswith("**System Settings**\r\nWorkstation version 10.0 "), text)
        self.assertRegex(text, r"\r\n   Local Host Name: pocket1\r\n   Local IP Address: 10\.77\.0\.1\r\n")


class BoxTest(WindowsTest):
    """What the program says in a box instead of its window."""

    def say(self, *arguments):
        """The text, and the exit status after it was read."""
        program = self.windows.start(*arguments)
        box = self.windows.window("Linkometry")
        self.windows.picture("box" + arguments[0])
        text = self.windows.ask("label", box.handle)
        box.key(windows.RETURN)
        return text.strip(), program.exit_status()

    def test_help_explains_what_means_something_to_a_window(self):
        text, status = self.say("-help")
        self.assertEqual(status, 0)
        for option in ("-peer", "-duration", "-getinfo", "-reportwnd", "-help", "-version"):
            self.assertIn(option, text)
        for option in ("-headless", "-interval", "-format", "SIG"):
            self.assertNotIn(option, text)

    def test_version_is_that_of_the_other_platforms(self):
        self.assertEqual(self.say("-VERSION"), (lab.program_version(), 0))

    def test_a_command_line_that_cannot_be_used_says_why(self):
        text, status = self.say("-duration", "soon")
        self.assertEqual(text, '-duration: "soon" is not a number of seconds\\n-help lists the options')
        self.assertEqual(status, 3)
        self.assertFalse(os.path.exists(self.windows.path("VantiroDiagnostics.txt")))


class BrokenProgramTest(WindowsTest):
    """A program from whose file the dialogs are missing, and one that finds a fault in itself."""

    def start_broken(self, *arguments):
        path = os.path.join(windows.build_folder(), "tests", "system", "broken-linkometry.exe")
        return self.windows.start(*arguments, program=path)

    def read(self, caption):
        box = self.windows.window(caption)
        text = self.windows.ask("label", box.handle)
        box.key(windows.RETURN)
        return text

    def test_a_window_that_cannot_be_made_is_said_and_told_by_the_status(self):
        program = self.start_broken()
        self.assertIn("The window cannot be made", self.read("Linkometry"))
        self.assertEqual(program.exit_status(), 4)

    def test_an_assertion_that_fails_at_the_very_start_is_shown_and_ends_the_program(self):
        program = self.start_broken("-fail")
        self.assertIn("Error (0) in Broken::splitOrFail, Broken:1\\nassertion failed: all is well",
                      self.read("Internal Fatal Error"))
        self.assertEqual(program.exit_status(), 1)


class NoInterfaceTest(WindowsTest):
    """A device whose one interface is gone, which every multicast probe finds out anew."""

    REPORT = "Internal Fatal Error"

    def start(self, *arguments):
        with self.windows.device.inside():
            lab.ip("link set eth0 down", "address flush dev eth0")
        self.program = self.windows.start(*arguments)
        return self.windows.window("(pocket1)")

    def read_box(self, caption):
        box = self.windows.window(caption)
        text = self.windows.ask("label", box.handle).strip()
        box.key(windows.RETURN)
        box.wait_until_gone()
        return text

    def wait_for_next(self):
        """The caption of the next box. A probe's report may come before what is said of the start."""
        captions = ("Linkometry", self.REPORT)
        return lab.eventually(lambda: next(filter(self.windows.has_window, captions), None), 60, "a box")

    def read_next(self):
        """(caption, text)"""
        caption = self.wait_for_next()
        return caption, self.read_box(caption)

    def test_the_boxes_about_it_keep_nothing_from_being_stopped_and_closed(self):
        dialog = self.start()
        self.switch_on(dialog)
        caption = None
        while caption != "Linkometry":
            caption, text = self.read_next()
        self.assertIn("no network interface has an address", text)
        box = self.windows.window(self.REPORT)
        self.windows.picture("no-interface")
        self.switch_off(dialog)
        self.windows.wait_for_log_text(" ---- Test 1 complete ---")
        self.assertFalse(box.is_gone())
        dialog.close()
        self.assertEqual(self.program.exit_status(), 0)

    def test_what_every_probe_reports_is_shown_once(self):
        dialog = self.start()
        self.switch_on(dialog)
        boxes = [self.read_next() for _ in range(4)]
        texts = [text for caption, text in boxes if caption == self.REPORT]
        self.assertEqual(len(set(texts)), 3, boxes)
        self.assertEqual(sum("no interfaces currently available" in text for text in texts), 1, texts)
        windows.pause(4)
        self.assertFalse(self.windows.has_window(self.REPORT))

    def test_a_test_that_ends_by_itself_under_a_box_leaves_the_keyboard_usable(self):
        dialog = self.start("-duration", "3")
        dialog.wait_for_focus(START)
        dialog.strike(windows.SPACE)
        self.wait_for_next()
        self.windows.wait_for_log_text(" ---- Test 1 complete ---")
        dialog.wait_until_enabled(START)

        def is_back():
            for caption in ("Linkometry", self.REPORT):
                for box in self.windows.windows(caption):
                    box.key(windows.RETURN)
            return dialog.focused() == START
        lab.eventually(is_back, 60, lambda: f"the focus on Start; it is on {dialog.focused()}", every=0.3)
        dialog.strike(windows.ESCAPE)
        self.assertEqual(self.program.exit_status(), 0)


class LogInUseTest(WindowsTest):
    def test_no_test_starts_while_another_program_writes_to_the_log(self):
        first = self.start()
        first_program = self.program
        second = self.windows.start()
        self.assertIn("is in use by another linkometry", self.read_box())
        dialogs = self.windows.windows("10.77.0.1  (pocket1)")
        self.assertEqual(len(dialogs), 2)
        dialog = next(each for each in dialogs if each.handle != first.handle)
        dialog.press(START)
        self.assertIn("is in use by another linkometry", self.read_box())
        self.assertFalse(dialog.is_enabled(STOP))
        self.assertEqual(self.windows.log_texts(), [])
        first.close()
        self.assertEqual(first_program.exit_status(), 0)
        self.switch_on(dialog)
        self.windows.wait_for_log_text(" ---- Test 1 starting ---")
        dialog.close()
        self.assertEqual(second.exit_status(), 0)

    def read_box(self):
        box = self.windows.window("Linkometry")
        text = self.windows.ask("label", box.handle)
        box.key(windows.RETURN)
        box.wait_until_gone()
        return text


class ReportModeTest(WindowsTest):
    def report(self, path):
        """What the waiting window is told, and the exit status."""
        window = int(self.windows.ask("listen"))
        process = self.windows.start("-GETINFO", path, "-reportwnd", f"{window:X}")
        status = process.exit_status()
        told = lab.eventually(lambda: re.match(r"\d", self.windows.ask("heard")) and self.windows.ask("heard"), 60,
                              "the outcome", every=0.1)
        return told, status

    def test_the_waiting_window_is_told_that_the_report_was_written(self):
        os.mkdir(self.windows.path("a folder"))
        self.assertEqual(self.report("C:\\a folder\\x.txt"), ("1", 0))
        text = self.windows.read("a folder/x.txt")
        self.assertTrue(text.startswith("**System Settings**\r\n"))
        self.assertTrue(text.endswith("**End of IP Settings**\r\n"))
        self.assertFalse(os.path.exists(self.windows.path("VantiroDiagnostics.txt")))

    def test_the_waiting_window_is_told_that_it_was_not(self):
        self.assertEqual(self.report("C:\\no folder\\x.txt"), ("0", 1))

    def test_without_a_window_or_with_one_that_is_gone_the_report_is_written(self):
        for more in ((), ("-reportwnd", "7fffffff"), ("-reportwnd", "nonsense")):
            process = self.windows.start("-getinfo", "C:\\x.txt", *more)
            self.assertEqual(process.exit_status(), 0)
            os.remove(self.windows.path("x.txt"))


class StopTest(WindowsTest):
    """A ping waits for a reply whenever the test is stopped."""

    @property
    def settings(self):
        # On a handheld a stop waits until the ping has waited its period.
        leaves_pings = windows.Build(windows.build_folder()).leaves_pings
        return {"frequency qty": "10", "frequency units": "hours" if leaves_pings else "seconds"}

    def start_probing_nobody(self):
        """A test whose one peer is plugged in nowhere, though the network sends all there: it never answers."""
        with self.windows.device.inside():
            lab.ip("neighbour add 10.77.0.9 lladdr 02:00:00:00:00:09 dev eth0")
            capture = traffic.Capture(self.windows.device)
        self.addCleanup(capture.close)
        dialog = self.start("-peer", "10.77.0.9=silent")
        self.switch_on(dialog)
        lab.eventually(lambda: capture.frames(traffic.TCP, destination="10.77.0.9") and
                       capture.echo_requests(destination="10.77.0.9"), 60, "a connect and a ping wait")
        return dialog

    def test_a_stop_waits_for_no_connect_and_no_ping(self):
        dialog = self.start_probing_nobody()
        # The connect would take half a minute or more, the ping its period.
        self.switch_off(dialog)
        self.windows.wait_for_log_text(" ---- Test 1 complete ---")
        self.assertNotIn("StopSending failed", "\n".join(self.windows.log_texts()))

    def test_closing_waits_for_no_connect_and_no_ping(self):
        self.start_probing_nobody().close()
        self.assertEqual(self.program.exit_status(), 0)


class RoundsTest(WindowsTest):
    settings = {"frequency qty": "100", "frequency units": "milliseconds"}

    def test_200_tests_leave_no_handle_thread_or_memory_behind(self):
        dialog = self.start("-peer", "127.0.0.1")
        # What is made at its first use, and kept, is no growth.
        self.run_tests(dialog, 20)
        before = dialog.cost()
        self.run_tests(dialog, 200)
        self.windows.wait_for_log_text(" ---- Test 220 complete ---")
        handles, threads, memory = (now - then for now, then in zip(dialog.cost(), before))
        # A thing that each test left would be there 200 times, and the smallest thread 200 times 12 KiB.
        self.assertLess(handles, 50)
        self.assertLess(threads, 10)
        self.assertLess(memory, 2 << 20)

    def run_tests(self, dialog, count):
        for _ in range(count):
            self.switch_on(dialog)
            self.switch_off(dialog)


KINDS = ("multicast", "tcpip", "udp", "ping")
RECEIVERS = ("multicast listener", "tcpip listener", "udp listener", "pinger")
SENDERS = ("multicast connector", "tcpip connector", "udp connector", "pinger")


class Side:
    """What a device that has stopped tells of its test: the lines of its log and its figures for each other device."""

    def __init__(self, address, lines, figures):
        self.address = address
        self.lines = lines
        self.figures = figures  # {address: [(received, total) of each kind]}

    def numbers(self, component, verb, address):
        # A line that was too late for the log's queue stands in one that says so.
        pattern = re.compile(rf"E :{component} {verb} seq # (\d+) (?:to|from) {re.escape(address)}(?: fast enough)?$")
        return [int(match.group(1)) for line in self.lines for match in [pattern.search(line)] if match]

    def sent_to(self, kind, address):
        return self.numbers(SENDERS[kind], "sent", traffic.GROUP if KINDS[kind] == "multicast" else address)

    def received_from(self, kind, address):
        return self.numbers(RECEIVERS[kind], "received", address)


def counted(numbers):
    """(received, total) after these sequence numbers."""
    received = total = last = 0
    is_started = False
    for number in numbers:
        if number > last and not is_started:
            received, total, is_started = 1, 1, True  # a number 0 before it does not count
        else:
            received, total = received + 1, total + max(number - last, 1)
        last = number
    return received, total


class MixedGroupTest(WindowsTest):
    settings = {"log events": "yes"}

    def setUp(self):
        super().setUp()
        self.linux = self.lab.devices_named("pocket2", "pocket3")
        for device in self.linux:
            device.write_settings(log_events="yes")
        self.captures = {device.address: traffic.Capture(device) for device in (self.windows.device, *self.linux)}
        for capture in self.captures.values():
            self.addCleanup(capture.close)

    def test_a_windows_device_and_two_linux_devices_measure_one_another(self):
        programs = [device.measure() for device in self.linux]
        dialog = self.start()
        self.switch_on(dialog)
        for device in self.linux:
            dialog.wait_for_row(f"{device.address} ({device.name})", lambda row: all(
                windows.received_and_total(cell)[0] >= 8 for cell in row[2:]), within=90)
        for program in programs:
            program.wait_for_row("10.77.0.1", lambda row: all(
                row[kind]["received"] >= 8 for kind in lab.PROTOCOLS), within=90)
        self.assertEqual(programs[0].row("10.77.0.1")["name"], "pocket1")
        dialog.ask("size", 880, 240)
        self.windows.picture("main-group")
        self.switch_off(dialog)
        self.settle(dialog)
        self.windows.wait_for_log_text(" ---- Test 1 complete ---")
        self.assertEqual([program.stop() for program in programs], [0, 0])
        sides = [self.windows_side(dialog), *(linux_side(program) for program in programs)]
        for side in sides:
            self.assertEqual(sorted(side.figures), sorted(each.address for each in sides if each is not side))
            for other in sides:
                if other is not side:
                    self.check(side, other)

    def windows_side(self, dialog):
        figures = {row[0].split(" ")[0]: [windows.received_and_total(cell) for cell in row[2:]]
                   for row in dialog.rows()}
        return Side("10.77.0.1", self.windows.log_texts(), figures)

    def check(self, side, other):
        """That the figures which the one has of the other are those of what the other sent."""
        without_first = 0
        for kind, name in enumerate(KINDS):
            with self.subTest(side.address, of=other.address, kind=name):
                received = side.received_from(kind, other.address)
                sent = side.sent_to(kind, other.address) if name == "ping" else other.sent_to(kind, side.address)
                self.assertEqual([number for number in received if number not in sent], [])
                if name == "ping":
                    replies = [frame for frame in self.captures[other.address].frames(
                        traffic.ICMP, source=other.address, destination=side.address)
                               if frame.payload[0] == traffic.ECHO_REPLY]
                    self.assertLessEqual(len(received), len(replies))
                if name in ("multicast", "udp"):
                    # Nothing is lost on the way, nor comes twice.
                    first = sent.index(received[0])
                    self.assertEqual(received, sent[first:first + len(received)])
                # The one probe that revealed the other is not counted.
                figures = side.figures[other.address][kind]
                if figures != counted(received):
                    without_first += 1
                    self.assertEqual(figures, counted(received[1:]))
        self.assertLessEqual(without_first, 1)


def linux_side(program):
    figures = {address: [(row[kind]["received"], row[kind]["total"]) for kind in KINDS]
               for address, row in program.final_rows().items()}
    return Side(program.device.address, program.device.log_lines(), figures)
