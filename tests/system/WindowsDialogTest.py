"""The Windows program in its windows, as its user sees and uses it."""

import os
import re

import lab
import windows
from windows import ADD_IP, CANCEL, INFO, LOG, OCTETS, OK, PEER_NAME, PEERS, RESET, START, STOP

SETTINGS = r"HKCU\Software\Vantiro Networks\Vantiro Diagnostic"
DEFAULTS = {
    "display name": "Host Name", "description": "This is a linkometry test logfile", "frequency qty": "1",
    "frequency units": "seconds", "log data packets": "no", "log events": "no",
    "log filename": "VantiroDiagnostics.txt", "multicast group": "228.227.226.225", "multicast port": "7550",
    "multicast selected": "yes", "multicast ttl": "3", "overhead bytes": "10",
    "peer set includes anyone-in-reach": "yes", "peer set includes named-ip-addresses": "yes", "ping selected": "yes",
    "port": "5009", "tcpip selected": "yes", "udp selected": "yes",
}
HEADERS = ["IP-Address (name)", "Quality (%)", "Mcast (Recv/Total)", "Tcpip (Recv/Total)", "Udp (Recv/Total)",
           "Ping (Ack/Sent)"]
CENTRED = "2"


class WindowsTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.windows = windows.WindowsDevice(self.lab.device("pocket1"))
        self.addCleanup(self.windows.close)

    def start(self, *arguments):
        """The program's main window."""
        self.program = self.windows.start(*arguments)
        return self.windows.window("10.77.0.1  (pocket1)")


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
        self.assertEqual(self.windows.registry(SETTINGS), DEFAULTS)
        lines = self.windows.log_lines()
        self.assertEqual((lines[0], lines[1], lines[5]),
                         ("-" * 80, "Description: This is a linkometry test logfile", "-" * 80))
        self.assertEqual(len(lines), 6)
        self.windows.picture("main-stopped")

    def test_a_test_is_started_watched_reset_logged_stopped_and_started_again(self):
        peer = self.lab.device("pocket2")
        peer.start("-headless")
        dialog = self.start("-peer", "10.77.0.2=door")
        dialog.press(RESET)
        dialog.press(START)
        dialog.wait_until_enabled(STOP)
        self.assertFalse(dialog.is_enabled(START))
        label = "10.77.0.2 (door)"
        dialog.wait_for_row(label, lambda row: row[1] == "100" and all(
            windows.received_and_total(cell)[0] >= 2 for cell in row[2:]))
        dialog.ask("size", 620, 300)
        lab.eventually(lambda: dialog.place(PEERS)[2] > 500, 60, "the list has grown")
        self.windows.picture("main-running")
        dialog.press(RESET)
        dialog.wait_for_row(label, lambda row: windows.received_and_total(row[4])[1] < 3)
        dialog.press(LOG)
        lab.eventually(lambda: any(line.startswith("S Name: ") for line in self.windows.log_texts()), 60,
                       "the report line")
        dialog.press(STOP)
        dialog.wait_until_enabled(START)
        self.assertFalse(dialog.is_enabled(STOP))
        self.assertEqual([row[0] for row in dialog.rows()], [label])
        self.assertIn(" ---- Test 1 complete ---", self.windows.log_texts())
        dialog.press(RESET)
        dialog.wait_for_row(label, lambda row: row[1:] == ["0", "0/0", "0/0", "0/0", "0/0"])
        dialog.press(START)
        dialog.wait_until_enabled(STOP)
        self.assertIn(" ---- Test 2 starting ---", self.windows.log_texts())
        dialog.wait_for_row(label, lambda row: windows.received_and_total(row[4])[0] >= 1)
        dialog.close()
        self.assertEqual(self.program.exit_status(), 0)
        # Without a stop, as the program was closed.
        self.assertNotIn(" ---- Test 2 complete ---", self.windows.log_texts())

    def test_a_duration_stops_the_test_by_itself(self):
        dialog = self.start("-duration", "2")
        self.assertFalse(dialog.is_enabled(STOP))
        dialog.press(START)
        lab.eventually(lambda: " ---- Test 1 complete ---" in self.windows.log_texts(), 60, "the end of the test")
        dialog.wait_until_enabled(START)

    def test_escape_closes_and_enter_in_the_list_does_not(self):
        dialog = self.start()
        dialog.ask("focus", PEERS)
        dialog.key(windows.RETURN)
        windows.pause(1)
        self.assertFalse(dialog.is_gone())
        dialog.key(windows.ESCAPE)
        self.assertEqual(self.program.exit_status(), 0)

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


class AddPeerTest(WindowsTest):
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
        self.main.press(START)
        self.main.wait_until_enabled(STOP)
        self.main.press(STOP)
        self.main.wait_until_enabled(START)

    def labels(self):
        return [row[0] for row in self.main.rows()]

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
        windows.pause(1)
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
        dialog.press(OK)
        dialog.wait_until_gone()
        self.measure()
        self.main.wait_for_row("10.77.0.9 (123456789012345)")

    def test_the_same_peer_twice_is_one_row(self):
        dialog = self.open()
        dialog.press(OK)
        dialog.wait_until_gone()
        self.main.press(ADD_IP)
        dialog = self.windows.window()
        dialog.press(OK)
        dialog.wait_until_gone()
        self.measure()
        self.main.wait_for_row("0.0.0.0 (manually added)")
        self.assertEqual(self.labels().count("0.0.0.0 (manually added)"), 1)
        self.assertEqual(self.windows.log_texts().count("Created VTR_CPinger to 0.0.0.0"), 4)


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


class MixedGroupTest(WindowsTest):
    def test_a_windows_device_and_two_linux_devices_measure_one_another(self):
        linux = self.lab.devices_named("pocket2", "pocket3")
        programs = [device.measure() for device in linux]
        dialog = self.start()
        dialog.press(START)
        everything = lambda row: row[1] == "100" and all(windows.received_and_total(cell)[0] >= 5 for cell in row[2:])
        for device in linux:
            dialog.wait_for_row(f"{device.address} ({device.name})", everything, within=90)
        for program in programs:
            program.wait_for_row("10.77.0.1", lambda row: row["quality"] == 100 and all(
                row[kind]["received"] >= 5 for kind in lab.PROTOCOLS), within=90)
        self.assertEqual(programs[0].row("10.77.0.1")["name"], "pocket1")
        dialog.ask("size", 790, 240)
        self.windows.picture("main-group")
        dialog.press(STOP)
        dialog.wait_until_enabled(START)
        for row in dialog.rows():
            for cell in row[2:]:
                received, total = windows.received_and_total(cell)
                self.assertLessEqual(total - received, 1, row)
