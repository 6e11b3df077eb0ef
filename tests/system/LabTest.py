"""The laboratory itself: what the other tests rely on when they judge the program."""

import os
import socket
import subprocess
import sys
import time

import lab
import traffic


class LabTest(lab.SystemTest):
    def test_datagrams_cross_the_bridge_with_their_sender_and_time(self):
        a, b = self.lab.devices_named("a", "b")
        with traffic.UdpEnd(a) as sender, traffic.UdpEnd(b, traffic.PORT) as receiver:
            before = time.time()
            sender.send(traffic.packet(7, "x"), b.address)
            datagram = receiver.receive()
            self.assertEqual((datagram.data, datagram.address, datagram.port),
                             (b"Vantiro Diagnostic|7|x\0", "10.77.0.1", sender.port))
            self.assertAlmostEqual(datagram.time, before, delta=1)

    def test_multicast_reaches_every_member_and_nobody_else(self):
        a, b, c = self.lab.devices_named("a", "b", "c")
        with traffic.UdpEnd(a, ttl=3) as sender, \
                traffic.UdpEnd(b, traffic.GROUP_PORT, traffic.GROUP) as member, \
                traffic.UdpEnd(c, traffic.GROUP_PORT) as stranger:
            sender.send(traffic.packet(0), traffic.GROUP, traffic.GROUP_PORT)
            datagram = member.receive()
            self.assertEqual((datagram.data, datagram.address, datagram.ttl), (traffic.packet(0), a.address, 3))
            self.assertIsNone(stranger.receive(0.2))

    def test_tcp_connects_and_a_reset_is_seen(self):
        a, b = self.lab.devices_named("a", "b")
        with traffic.TcpServer(b) as server, traffic.TcpEnd.connect(a, b.address) as client:
            accepted = server.accept()
            self.assertEqual(accepted.peer[0], a.address)
            client.send(traffic.packet(1) + traffic.packet(2)[:5])
            self.assertEqual(accepted.receive_packet(), traffic.packet(1))
            client.send(traffic.packet(2)[5:])
            self.assertEqual(accepted.receive_packet(), traffic.packet(2))
            accepted.reset()
            with self.assertRaises(ConnectionResetError):
                client.receive_packet()

    def test_unplugged_device_hears_nothing_until_it_is_plugged_in_again(self):
        a, b = self.lab.devices_named("a", "b")
        with traffic.UdpEnd(a) as sender, traffic.UdpEnd(b, traffic.PORT) as receiver:
            sender.send(b"before", b.address)
            self.assertEqual(receiver.receive().data, b"before")
            b.unplug()
            sender.send(b"during", b.address)
            self.assertIsNone(receiver.receive(0.2))
            b.plug()

            def arrives():
                sender.send(b"after", b.address)
                return receiver.receive(0.1)
            self.assertEqual(lab.eventually(arrives, 10, "a datagram after plugging in").data, b"after")

    def test_second_network_is_apart_from_the_first(self):
        self.lab.add_network()
        a, b = self.lab.devices_named("a", "b")
        a.join(1)
        self.assertEqual(a.addresses, ["10.77.0.1", "10.78.0.1"])
        b.join(1)
        with traffic.UdpEnd(a, ttl=1, interface_address="10.78.0.1") as sender, \
                traffic.UdpEnd(b, 7550, traffic.GROUP, "10.77.0.2") as first, \
                traffic.UdpEnd(b, 7550, traffic.GROUP, "10.78.0.2") as second:
            sender.send(b"hello", traffic.GROUP, 7550)
            self.assertEqual(second.receive().data, b"hello")
            self.assertIsNone(first.receive(0.2))

    def test_capture_shows_both_directions_and_echoes(self):
        a, b = self.lab.devices_named("a", "b")
        with traffic.Capture(b) as capture, traffic.UdpEnd(a) as sender, traffic.UdpEnd(b, 5009) as receiver:
            sender.send(b"ping", b.address)
            receiver.send(b"pong", a.address, sender.port)
            with a.inside():
                raw = socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_ICMP)
            with raw:
                raw.sendto(bytes([8, 0, 0xf7, 0xff, 0, 0, 0, 0]), (b.address, 0))
            lab.eventually(lambda: len(capture.frames(traffic.UDP)) == 2, 5, "two UDP frames")
            lab.eventually(lambda: capture.echo_requests(), 5, "an echo request")
            sent, = capture.frames(source=b.address, protocol=traffic.UDP)
            self.assertEqual((sent.payload, sent.source_port, sent.destination_port), (b"pong", 5009, sender.port))

    def test_settings_become_a_hive_file(self):
        a = self.lab.device("a")
        a.write_settings({"description": 'a "b" \\c'}, {"printer": "10.0.0.7"}, frequency_qty="200")
        self.assertEqual(a.read_hive(), "\n".join([
            "Windows Registry Editor Version 5.00", "",
            r"[HKEY_CURRENT_USER\Software\Vantiro Networks\Vantiro Diagnostic]",
            r'"description"="a \"b\" \\c"', '"frequency qty"="200"', "",
            r"[HKEY_CURRENT_USER\Software\Vantiro Networks\Vantiro Diagnostic\Named-IP-Addresses]",
            '"printer"="10.0.0.7"', "", ""]))

    def test_kernel_parameter_is_the_devices_own(self):
        a, b = self.lab.devices_named("a", "b")
        name = "net.ipv4.ping_group_range"
        before = b.run("cat", "/proc/sys/net/ipv4/ping_group_range").stdout
        a.set_kernel_parameter(name, "0 0")
        self.assertEqual(a.run("cat", "/proc/sys/net/ipv4/ping_group_range").stdout.split(), ["0", "0"])
        self.assertEqual(b.run("cat", "/proc/sys/net/ipv4/ping_group_range").stdout, before)

    def test_network_and_programs_die_with_the_tests_process(self):
        script = ("import sys, time; sys.path.insert(0, sys.argv[1]); import lab; l = lab.Lab(); d = l.device('x'); "
                  "p = d.start('60'); print(p.process.pid, l.folder, flush=True); time.sleep(60)")
        child = subprocess.Popen(["unshare", "--mount", "--net", "sh", "-c", 'mount -t tmpfs tmpfs /run && exec "$@"',
                                  "sh", sys.executable, "-c", script, os.path.dirname(os.path.abspath(__file__))],
                                 env=dict(os.environ, LINKOMETRY_PROGRAM="/bin/sleep"), stdout=subprocess.PIPE,
                                 text=True)
        pid, folder = child.stdout.readline().split()
        self.addCleanup(subprocess.run, ["rm", "-rf", folder], check=True)
        lab.eventually(lambda: is_sleeping(pid), 10, "the program runs")
        child.kill()
        child.wait()
        child.stdout.close()
        lab.eventually(lambda: not is_sleeping(pid), 10, "the program is gone")
        self.assertEqual(os.listdir("/run/netns") if os.path.exists("/run/netns") else [], [])


def is_sleeping(pid):
    try:
        with open(f"/proc/{pid}/cmdline", "rb") as file:
            return file.read() == b"/bin/sleep\x0060\x00"
    except (FileNotFoundError, ProcessLookupError):
        return False


class JudgementTest(lab.SystemTest):
    """The lab's judgement of programs, with shell commands in the program's place."""

    def say(self, text, status=0):
        os.environ["LINKOMETRY_PROGRAM"] = "/bin/sh"
        program = self.lab.device("a").start("-c", f"echo '{text}' >&2; exit {status}")
        self.assertEqual(program.wait(), status)
        return program

    def test_sanitizer_line_is_a_defect(self):
        for text in ("==1==ERROR: AddressSanitizer: heap-use-after-free", "WARNING: ThreadSanitizer: data race",
                     "==9==ERROR: LeakSanitizer: detected memory leaks", "x.cpp:1:2: runtime error: shift exponent",
                     "assertion failed: x", "linkometry: Internal Fatal Error: Error (112) in Class::method"):
            with self.subTest(text):
                self.assertRegex(text, lab.DEFECTS)
        self.assertTrue(self.say("==1==ERROR: AddressSanitizer: heap-use-after-free").defects())
        self.lab.devices[0].programs.clear()

    def test_ordinary_words_are_none(self):
        self.assertEqual(self.say("linkometry: the port 5009 is in use", 4).defects(), [])

    def test_fatal_error_that_the_program_survives_is_none(self):
        self.assertEqual(self.say("linkometry: Internal Fatal Error: Error (111) in Class::method").defects(), [])

    def test_end_by_a_signal_is_a_defect_unless_the_test_sent_it(self):
        os.environ["LINKOMETRY_PROGRAM"] = "/bin/sh"
        device = self.lab.device("a")
        crashed = device.start("-c", "kill -SEGV $$")
        crashed.wait()
        self.assertIn("ended by signal 11", crashed.defects()[0])
        killed = device.start("-c", "sleep 60")
        killed.kill()
        self.assertEqual(killed.defects(), [])
        device.programs.clear()

    def test_each_device_has_its_own_host_name(self):
        os.environ["LINKOMETRY_PROGRAM"] = "/bin/hostname"
        a, b = self.lab.devices_named("a", "b")
        programs = [a.start(), b.start()]
        self.assertEqual([program.wait() for program in programs], [0, 0])
        self.assertEqual([program.output() for program in programs], ["a\n", "b\n"])
