"""Settings, hive files and disks that are not as they should be."""

import fcntl
import os
import re
import stat
import subprocess
import time

import documents
import lab
import traffic


class SettingsTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")

    def test_missing_hive_becomes_one_with_all_defaults(self):
        self.assertEqual(self.device.start("-headless", "-duration", "0").wait(), 2)
        hive = self.device.read_hive()
        self.assertTrue(hive.startswith("Windows Registry Editor Version 5.00\n"))
        self.assertEqual(documents.values_of(hive), documents.default_settings())
        self.assertIn(f"[{lab.PEERS_KEY}]\n", hive)
        # Who looks again finds all there.
        self.assertEqual(self.device.start("-headless", "-duration", "0").wait(), 2)
        self.assertEqual(self.device.read_hive(), hive)

    def test_what_a_person_wrote_stays_as_it_was(self):
        text = ("REGEDIT4\n\n; first comment\n[HKEY_CURRENT_USER\\software\\VANTIRO networks\\vantiro diagnostic]\n"
                '  "Port" = "6005"   ; behind it\n\n"ping selected"="no"\n')
        self.device.write_hive(text)
        program = self.device.measure()
        self.device.wait_until_listening(6005)
        self.assertEqual(program.stop(), 2)
        hive = self.device.read_hive()
        self.assertTrue(hive.startswith(text.rstrip("\n")), hive)
        self.assertEqual(hive.lower().count('"port"'), 1)

    def test_text_instead_of_a_number_is_0(self):
        # An address that ends a multicast probe's journey at once, an empty request, a port of the kernel's choice.
        self.device.configure("udp", "multicast", "ping", peers={"peer": self.peer.address}, overhead_bytes="many",
                              port="http", multicast_ttl="far")
        with traffic.Capture(self.peer) as capture:
            self.device.measure()
            self.device.wait_for_log_line(r"on pinger \( 10\.77\.0\.2 \) :IcmpSendEcho failed 122$", within=20)
            line = self.device.wait_for_log_line("udp connector")
            self.assertRegex(line, r"on udp connector \( 10\.77\.0\.2 \) :send failed 10\d\d\d$")
            self.assertFalse(self.device.is_listening())
            time.sleep(1)
            self.assertEqual(capture.frames(destination=traffic.GROUP, protocol=traffic.UDP), [])

    def test_unknown_unit_is_a_period_of_0_which_sends_at_every_step(self):
        self.device.write_settings({"frequency units": "weeks", "frequency qty": "3", "multicast selected": "no",
                                    "tcpip selected": "no", "ping selected": "no"}, {"peer": self.peer.address})
        with traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
            program = self.device.measure()
            datagrams = receiver.receive_many(500, within=30)
            self.assertEqual(program.stop(), 1)
        self.assertRegex(program.errors(), "(?s)^linkometry: the settings .* make no time above 0 .* without a pause\n"
                                           ".*measures its peers")
        self.assertEqual(program.errors().count("without a pause"), 1)
        self.assertEqual([traffic.parse(each.data).sequence for each in datagrams], list(range(500)))

    def test_unit_is_compared_without_regard_to_case_and_a_number_ends_where_it_ends(self):
        self.device.write_settings({"frequency units": "MilliSeconds", "frequency qty": " 100 a second",
                                    "multicast selected": "NO", "tcpip selected": "true", "ping selected": "1"},
                                   {"peer": self.peer.address})
        with traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
            self.device.measure()
            times = [each.time for each in receiver.receive_many(11, within=30)]
        self.assertGreater(times[-1] - times[0], 0.95)
        # A machine that is busy may delay a probe, but ten periods of any other unit would be far longer.
        self.assertLess(times[-1] - times[0], 9)
        # What is not "yes" is no.
        self.assertNotIn("VTR_CTcpip", "\n".join(self.device.log_lines()))
        self.assertNotIn("VTR_CPinger", "\n".join(self.device.log_lines()))

    def test_values_of_other_types_count_as_their_text(self):
        self.device.write_hive(
            f'[{lab.SETTINGS_KEY}]\n"port"=dword:00001770\n"frequency units"=hex:6d,69,6c,6c,69,73,65,63,6f,6e,64,73\n'
            '"frequency qty"=dword:00000064\n"ping selected"="no"\n'
            f'[{lab.PEERS_KEY}]\n"bytes"=hex:31,30,2e,37,37,2e,30,2e,32\n')
        with traffic.UdpEnd(self.peer, 6000) as receiver:
            program = self.device.measure()
            self.assertEqual(traffic.parse(receiver.receive_many(5, within=20)[0].data).sequence, 0)
            self.assertEqual(program.stop(), 1)
        self.assertEqual(program.final_rows()["10.77.0.2"]["label"], "10.77.0.2 (bytes)")
        self.assertIn('"port"=dword:00001770\n', self.device.read_hive())

    def test_value_that_has_no_text_is_replaced_by_its_default(self):
        self.device.write_hive(f'[{lab.SETTINGS_KEY}]\n"port"=hex(2):25,00,00,00\n"udp selected"=hex(b):01,02\n')
        program = self.device.measure()
        self.device.wait_until_listening()
        self.assertEqual(program.stop(), 2)
        values = documents.values_of(self.device.read_hive())
        self.assertEqual((values["port"], values["udp selected"]), (str(lab.PORT), "yes"))

    def test_peer_that_is_no_address_is_tried_and_reported_like_any_other(self):
        self.device.configure("udp", "tcpip", "ping", peers={"typo": "10.77.0.300", "name": "no.such.host.invalid"})
        program = self.device.measure()
        for kind in ("udp connector", "tcpip connector", "pinger"):
            for address in ("10.77.0.300", "no.such.host.invalid"):
                self.device.wait_for_log_line(rf"SOCKET ERROR: .* on {kind} \( {re.escape(address)} \) :", within=30)
        self.device.wait_for_log_line(r"on pinger \( 10\.77\.0\.300 \) :no ipaddress supplied$")
        self.assertEqual(program.stop(within=30), 1)

    def test_absurd_settings_are_reported_and_neither_end_nor_hold_up_the_program(self):
        for settings, lines in (
                ({"multicast group": "nonsense", "port": "70000", "overhead bytes": "-1"},
                 (r"on multicast connector \( nonsense \) :", r"on pinger \( 10\.77\.0\.2 \) :running short of memory$")),
                ({"multicast group": "10.0.0.1", "port": "-1", "multicast ttl": "-1"},
                 (r"on multicast connector \( 10\.0\.0\.1 \) :setsockopt IP_ADD_MEMBERSHIP",)),
                ({"overhead bytes": "2000000000", "multicast ttl": "300", "multicast port": "-1"},
                 (r"on multicast connector \( 228\.227\.226\.225 \) :set ttl failed 10022$",
                  r"on multicast connector \( 228\.227\.226\.225 \) :send failed 10040$",
                  r"on pinger \( 10\.77\.0\.2 \) :running short of memory$"))):
            with self.subTest(settings):
                self.device.write_settings({"frequency qty": "100", "frequency units": "milliseconds", **settings},
                                           {"peer": self.peer.address})
                program = self.device.measure()
                for line in lines:
                    self.device.wait_for_log_line(line, within=20)
                self.assertLess(program.resident_kib(), 200 << 10)
                self.assertIn(program.stop(), (0, 1))

    def test_period_of_0_holds_up_neither_snapshots_nor_the_end(self):
        self.device.configure(*lab.PROTOCOLS, period=0, peers={"peer": self.peer.address}, log_events="yes",
                              log_data_packets="yes")
        program = self.device.measure(every=0.1)
        lab.eventually(lambda: len(program.rows()) >= 5, 20, lambda: str(program))
        before = time.monotonic()
        self.assertIn(program.stop(), (0, 1))
        self.assertLess(time.monotonic() - before, 30)

    def test_port_for_the_group_can_come_from_the_other_products_key(self):
        self.device.write_hive(lab.hive_text({r"HKEY_CURRENT_USER\Software\Vantiro Networks\Vantiro\KORV":
                                              {"UDPPort": "6006"}}))
        program = self.device.measure()
        self.device.wait_until_listening(6006)
        self.assertEqual(program.stop(), 2)
        self.assertEqual(documents.values_of(self.device.read_hive())["multicast port"], "6006")


class HiveFileTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device = self.lab.device("pocket1")

    def test_hive_that_is_cut_off_is_reported_with_its_line_once_and_never_changed(self):
        self.device.configure("udp", port="6007")
        whole = self.device.read_hive()
        cut = whole[:whole.index('6007"') + 2]
        self.device.write_hive(cut)
        program = self.device.start("-headless")
        # The settings have their defaults meanwhile.
        self.device.wait_until_listening()
        program.signal(lab.signal.SIGHUP)
        self.device.wait_for_log_line("Test 2 starting", within=20)
        said = f"{self.device.hive_path}:{cut.count(chr(10)) + 1}: "
        self.assertEqual(program.errors().count(said), 1, program.errors())
        self.assertEqual(self.device.read_hive(), cut)
        # Mended, it counts at the next start.
        self.device.write_hive(whole)
        program.signal(lab.signal.SIGHUP)
        self.device.wait_until_listening(6007)
        self.assertEqual(program.stop(), 2)

    def test_hive_cut_off_anywhere_ends_no_program_and_a_broken_one_is_not_changed(self):
        self.device.configure("udp", peers={"peer": "10.77.0.99"})
        whole = self.device.read_hive()
        for length in range(0, len(whole), 37):
            self.device.write_hive(whole[:length])
            program = self.device.start("-headless", "-duration", "0")
            self.assertIn(program.wait(), (1, 2), f"{length} bytes")
            if "The file is neither used nor changed" in program.errors():
                self.assertEqual(self.device.read_hive(), whole[:length])
            else:
                # What is left is a whole file: all of it is still there, in order, and missing settings are added.
                lines = iter(self.device.read_hive().splitlines())
                self.assertTrue(all(line in lines for line in whole[:length].splitlines()), f"{length} bytes")

    def test_hive_of_foreign_bytes_is_reported_and_not_changed(self):
        for content in (os.urandom(4096), b"\xff\xfe[\0H\0", b"[HKEY_CURRENT_USER\n", b'"a"="b"\n',
                        b"[HKEY_LOCAL_MACHINE\\x]\n"):
            with self.subTest(content[:20]):
                with open(self.device.hive_path, "wb") as file:
                    file.write(content)
                program = self.device.start("-headless", "-duration", "0")
                self.assertEqual(program.wait(), 2)
                self.assertRegex(program.errors(), re.escape(self.device.hive_path) + r":\d+: ")
                with open(self.device.hive_path, "rb") as file:
                    self.assertEqual(file.read(), content)

    def test_hive_that_is_copied_slowly_is_waited_for_and_keeps_what_arrives(self):
        with open(self.device.hive_path, "wb"):
            pass  # as a copy over a slow line begins
        program = self.device.start("-headless", "-duration", "0")
        time.sleep(0.4)
        text = lab.hive_text({lab.SETTINGS_KEY: {"port": "6000", "ping selected": "no"}})
        with open(self.device.hive_path, "w", encoding="utf-8") as file:
            file.write(text)
        self.assertIn(program.wait(), (0, 1, 2))
        self.assertNotIn(".reg", program.errors())
        hive = self.device.read_hive()
        self.assertEqual(documents.values_of(hive), documents.default_settings() | {"port": "6000", "ping selected": "no"})

    def test_lock_that_somebody_keeps_is_named_and_holds_up_no_test_for_long(self):
        text = lab.hive_text({lab.SETTINGS_KEY: {"port": "6000"}})
        self.device.write_hive(text)
        with open(self.device.hive_path + ".lock", "w", encoding="ascii") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            program = self.device.start("-headless", "-duration", "0")
            self.assertIn(program.wait(), (0, 1, 2))
        self.assertEqual(program.errors().count(f"{self.device.hive_path}: another program has held the lock"), 1,
                         program.errors())
        self.assertEqual(self.device.read_hive(), text)

    def test_programs_that_write_one_hive_at_once_lose_nothing_of_it(self):
        devices = [self.device] + self.lab.devices_named("pocket2", "pocket3", "pocket4", "pocket5", "pocket6")
        for device in devices:
            device.registry_folder = self.device.registry_folder
        # A value that nobody reads, in front, and one behind, must survive all rewrites.
        self.device.write_hive('[HKEY_CURRENT_USER\\First]\n"a"="b" ; kept\n')
        programs = [device.start("-headless", "-duration", "1") for device in devices]
        for program in programs:
            self.assertIn(program.wait(), (0, 1, 2))
            self.assertNotIn(".reg", program.errors())
        hive = self.device.read_hive()
        self.assertEqual(documents.values_of(hive), documents.default_settings())
        self.assertTrue(hive.startswith('[HKEY_CURRENT_USER\\First]\n"a"="b" ; kept\n'), hive)
        self.assertEqual([name for name in os.listdir(self.device.registry_folder) if name.endswith(".tmp")], [])

    def test_program_that_is_killed_while_it_writes_leaves_a_whole_hive(self):
        for number in range(20):
            if os.path.exists(self.device.hive_path):
                os.remove(self.device.hive_path)
            program = self.device.start("-headless", "-duration", "30")
            # From before the first value is written until after the last.
            lab.eventually(lambda: os.path.exists(self.device.hive_path), 20, f"{program} writes", every=0)
            time.sleep(number * 0.002)
            program.kill()
            program = self.device.start("-headless", "-duration", "0")
            self.assertEqual(program.wait(), 2)
            self.assertNotIn(".reg", program.errors())
            self.assertEqual(documents.values_of(self.device.read_hive()), documents.default_settings())

    def test_folder_that_cannot_be_made_leaves_the_defaults(self):
        os.rmdir(self.device.registry_folder)
        with open(self.device.registry_folder, "w", encoding="ascii"):
            pass
        program = self.device.measure()
        self.device.wait_until_listening()
        self.assertEqual(program.stop(), 2)
        self.assertTrue(stat.S_ISREG(os.stat(self.device.registry_folder).st_mode))


class FullDiskTest(lab.SystemTest):
    TOLD = r"(?m)^linkometry: the log (\S+) cannot be written since \d\d:\d\d:\d\d: The disk is full; its lines are lost"

    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")
        self.disk = os.path.join(self.device.folder, "disk")
        os.mkdir(self.disk)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", self.disk], check=True)
        # By its end the programs are gone; what they had open goes with them.
        self.addCleanup(lambda: subprocess.run(["umount", "--lazy", self.disk], check=True))
        self.log = os.path.join(self.disk, "log.txt")
        self.device.configure("udp", period=5, peers={"peer": self.peer.address}, log_events="yes",
                              log_filename=self.log)

    def test_program_whose_log_is_full_says_so_and_goes_on_measuring(self):
        with traffic.UdpEnd(self.peer, traffic.PORT) as receiver, traffic.UdpEnd(self.peer) as sender:
            program = self.device.measure("-allowsilent")
            lab.eventually(lambda: re.search(self.TOLD, program.errors()), 60, lambda: str(program))
            self.assertEqual(re.findall(self.TOLD, program.errors()), [self.log])
            receiver.receive_for(0.5)
            self.assertEqual(len(receiver.receive_many(50, within=20)), 50)
            for number in (1, 2, 5):
                sender.send(traffic.packet(number), self.device.address)
            program.wait_for_row(self.peer.address, lambda row: row["udp"]["total"] == 5)
            self.assertEqual(len(program.errors().splitlines()), 2, f"told once after the start: {program}")
            self.assertEqual(program.stop(), 0)

    def test_log_that_reaches_the_limit_of_files_ends_no_program(self):
        self.device.configure("udp", period=5, peers={"peer": self.peer.address}, log_events="yes")
        program = self.device.measure(through=("sh", "-c", 'ulimit -f 16; exec "$0" "$@"'))
        lab.eventually(lambda: re.search(self.TOLD, program.errors()), 30, lambda: str(program))
        time.sleep(0.2)
        self.assertTrue(program.is_running())
        self.assertIn(program.stop(), (0, 1))
        self.assertLessEqual(os.path.getsize(self.device.log_path), 16 << 10)

    def test_log_goes_on_when_there_is_room_again(self):
        filler = os.path.join(self.disk, "filler")
        with open(filler, "wb") as file:
            file.write(bytes(48 << 10))
        program = self.device.measure()
        lab.eventually(lambda: re.search(self.TOLD, program.errors()), 60, lambda: str(program))
        time.sleep(0.5)
        os.remove(filler)
        size = os.path.getsize(self.log)
        lab.eventually(lambda: os.path.getsize(self.log) > size + 1000, 20, "the log grows again")
        # The next outage is told again, a full disk being as bad the second time.
        time.sleep(1)
        lab.eventually(lambda: len(re.findall(self.TOLD, program.errors())) == 2, 60, lambda: str(program))
        self.assertEqual(program.stop(), 1)
        with open(self.log, "rb") as file:
            log = file.read()
        self.assertTrue(log.endswith(b"\r\n"))
        self.assertEqual(log.count(b"\n"), log.count(b"\r\n"))
        lines = log.decode().splitlines()[6:]
        for line in lines:
            self.assertRegex(line, r"^\d\d:\d\d:\d\d .")
        for line in lines:
            if "sent seq" in line:
                self.assertRegex(line, r"^\d\d:\d\d:\d\d E :udp connector sent seq # \d+ to 10\.77\.0\.2$")
        told = [line[9:] for line in lines if "LOG ERROR" in line]
        self.assertEqual(len(told), 1)
        self.assertRegex(told[0], r"^LOG ERROR: [1-9]\d+ lines could not be written: The disk is full$")
