"""-getinfo: another program starts this one to have the device's report in a file."""

import os

import lab

BEGIN = b"**System Settings**\r\nLinux version "
END = b"**End of Other System IP Settings**\r\n**End of IP Settings**\r\n"


class ReportModeTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device = self.lab.device("pocket1")

    def path(self, name):
        return os.path.join(self.device.folder, name)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def report(self, *arguments, status=0, through=()):
        """Runs the program, which must end with that status and say nothing, and leave no log."""
        program = self.device.start(*arguments, through=through)
        self.assertEqual(program.wait(), status, arguments)
        self.assertEqual((program.output(), program.errors()), ("", ""), arguments)
        self.assertFalse(os.path.exists(self.device.log_path))

    def assert_whole(self, report):
        self.assertTrue(report.startswith(BEGIN), report)
        self.assertTrue(report.endswith(END), report)
        self.assertEqual(report.count(b"\n"), report.count(b"\r\n"))
        self.assertEqual(report.count(b"\r"), report.count(b"\r\n"))

    def test_report_is_written_with_status_0(self):
        self.report("-getinfo", "report.txt")
        report = self.read("report.txt")
        self.assert_whole(report)
        self.assertIn(b"\r\n   Local Host Name: pocket1\r\n   Local IP Address: 10.77.0.1\r\n"
                      b"**Other System IP Settings**\r\n", report)

    def test_words_in_any_case_a_blank_in_the_name_and_a_window_that_means_nothing_here(self):
        self.report("-GetInfo", "my report.txt", "-reportwnd", "1a2b")
        self.assert_whole(self.read("my report.txt"))
        self.report("-REPORTWND", "not a number", "-GETINFO", "other.txt")
        self.assertEqual(self.read("other.txt"), self.read("my report.txt"))

    def test_existing_file_is_replaced_and_the_last_of_several_counts(self):
        with open(self.path("report.txt"), "wb") as file:
            file.write(b"x" * 100000)
        self.report("-getinfo", "first.txt", "-getinfo", "report.txt")
        self.assert_whole(self.read("report.txt"))
        self.assertFalse(os.path.exists(self.path("first.txt")))

    def test_everything_else_on_the_line_is_ignored_in_silence(self):
        for others in (("nonsense", "-verbose"), ("-format", "xml"), ("-help",), ("-version",), ("-headless",),
                       ("-peer",)):
            with self.subTest(others):
                self.report(*others, "-getinfo", "report.txt")
                self.assert_whole(self.read("report.txt"))
                os.remove(self.path("report.txt"))
                self.report("-getinfo", "report.txt", *others)
                self.assert_whole(self.read("report.txt"))
                os.remove(self.path("report.txt"))

    def test_log_of_an_earlier_run_is_not_touched(self):
        log = self.path("earlier.txt")
        self.device.write_settings(log_filename=log)
        with open(log, "wb") as file:
            file.write(b"an earlier run")
        self.report("-getinfo", "report.txt")
        self.assertEqual(self.read("earlier.txt"), b"an earlier run")

    def test_hive_with_a_mistake_is_no_reason_to_speak(self):
        self.device.write_hive("[HKEY_CURRENT_USER\\Software\n")
        self.report("-getinfo", "report.txt")
        self.assert_whole(self.read("report.txt"))

    def test_registry_that_cannot_be_written_is_no_reason_to_fail(self):
        os.rmdir(self.device.registry_folder)
        with open(self.device.registry_folder, "wb"):
            pass
        self.report("-getinfo", "report.txt")
        self.assert_whole(self.read("report.txt"))

    def test_file_that_cannot_be_written_gives_status_1(self):
        os.mkdir(self.path("folder"))
        with open(self.path("file"), "wb"):
            pass
        for name in ("missing/report.txt", "file/report.txt", "folder", "", "x" * 300, "y/" * 3000, "/dev/full",
                     "/proc/version", "no-utf-8-\udce9"):
            with self.subTest(name[:20]):
                self.report("-getinfo", name, status=1)
        self.assertEqual([name for name in os.listdir(self.device.folder) if "utf" in name], [])

    def test_file_that_may_not_grow_any_more_gives_status_1(self):
        # Long enough for the smallest limit under which the sanitizers' builds start.
        with open(self.path("addresses"), "w", encoding="ascii") as file:
            file.writelines(f"address add 10.99.{i // 250}.{i % 250 + 1}/32 dev eth0\n" for i in range(600))
        self.assertEqual(self.device.run("ip", "-batch", "addresses").returncode, 0)
        self.report("-getinfo", "report.txt", status=1, through=("sh", "-c", 'ulimit -f 16; exec "$0" "$@"'))
        self.assertTrue(self.read("report.txt").startswith(BEGIN))
        self.report("-getinfo", "report.txt")
        report = self.read("report.txt")
        self.assert_whole(report)
        self.assertEqual(report.count(b"   Local IP Address: 10.99."), 600)

    def test_pipe_without_a_reader_keeps_nobody_waiting(self):
        os.mkfifo(self.path("pipe"))
        self.report("-getinfo", "pipe")

    def test_pipe_with_a_reader_gets_the_report(self):
        script = 'timeout 60 "$0" "$@" | cat >report.txt; exit "${PIPESTATUS[0]}"'
        self.report("-getinfo", "/dev/stdout", through=("bash", "-c", script))
        self.assert_whole(self.read("report.txt"))

    def test_program_that_is_started_without_standard_descriptors_writes_the_report_alone(self):
        self.report("-getinfo", "report.txt", through=("sh", "-c", 'exec "$0" "$@" <&- >&- 2>&-'))
        self.assert_whole(self.read("report.txt"))

    def test_without_a_file_name_it_is_ignored(self):
        program = self.device.start("-headless", "-duration", "0", "-getinfo")
        self.assertEqual(program.wait(), 2)
        self.assertEqual(program.errors().split("\n")[0], "linkometry: -getinfo: the argument is missing; it is ignored")

    def test_window_alone_asks_for_no_report(self):
        program = self.device.start("-headless", "-duration", "0", "-reportwnd", "1a2b")
        self.assertEqual(program.wait(), 2)
        self.assertNotIn("-reportwnd", program.errors())

    def test_two_reports_at_once_are_both_whole(self):
        programs = [self.device.start("-getinfo", f"report-{i}.txt") for i in range(4)]
        self.assertEqual([program.wait() for program in programs], [0] * 4)
        for i in range(4):
            self.assert_whole(self.read(f"report-{i}.txt"))


class LoggedReportTest(lab.SystemTest):
    def test_each_start_logs_the_report_between_its_own_line_and_the_first_probe(self):
        device = self.lab.device("pocket1")
        device.configure("udp")
        self.assertEqual(device.start("-headless", "-duration", "0").wait(), 2)
        lines = [line[9:] for line in device.log_lines()[6:]]
        self.assertEqual(lines[0], " ---- Test 1 starting ---")
        report = lines[1:lines.index("Created VTR_CUdpListener")]
        self.assertEqual([line for line in report if line.startswith("**")], [
            "**System Settings**", "**End of System Settings**", "**IP Settings**", "**Other System IP Settings**",
            "**End of Other System IP Settings**", "**Adapter IP Settings**", "**End of Adapter IP Settings**",
            "**End of IP Settings**", "**Application Settings**", "**End of Application Settings**",
            "**Vantiro Registry Settings**", "**End of Vantiro Registry Settings**"])
        self.assertEqual((report[0], report[-1]), ("**System Settings**", "**End of Vantiro Registry Settings**"))

        self.assertEqual(device.start("-getinfo", "report.txt").wait(), 0)
        with open(os.path.join(device.folder, "report.txt"), encoding="utf-8", newline="") as file:
            short = file.read().split("\r\n")[:-1]
        # The log's own part, which the short form leaves out, stands in front of the last line.
        head = report[:len(short) - 1]
        self.assertEqual(head, short[:-1])
        self.assertEqual(report[len(head)], "**Adapter IP Settings**")
        self.assertEqual(short[-1], "**End of IP Settings**")
