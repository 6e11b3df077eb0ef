"""The handheld's program with as many peers as its addresses have room for, and with more than that."""

import contextlib
import re
import selectors
import socket
import threading
import time

import lab
import traffic
import windows
from windows import START, STOP

TARGET = "10.77.0.1"
FIRST = 60
LIMIT_LINE = "The limit of this device is reached: it has no thread left for further probes"
NOT_MADE = " could not be made: "
MEGABYTE = 1 << 20
# As many TCP connections as a device watches at a time.
WATCHED = 63


class Crowd:
    """Many peers on one device of the lab. Each has an address of its own, sends a probe over UDP and one over TCP each period
    and takes in what it is sent; the kernel answers the pings. Close it before the lab."""

    def __init__(self, device, count, period):
        self._device = device
        self.addresses = [f"10.77.0.{FIRST + number}" for number in range(count)]
        with device.inside():
            lab.ip(*(f"address add {address}/24 dev eth0" for address in self.addresses))
        self._period = period
        self._selector = selectors.DefaultSelector()
        self._register(self._socket(socket.SOCK_STREAM, "", traffic.PORT), self._accept)
        self._udp = [self._socket(socket.SOCK_DGRAM, address, traffic.PORT) for address in self.addresses]
        for each in self._udp:
            self._register(each, self._take)
        self._tcp = {}
        self._sequence = 0
        self._closing = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)

    def start(self):
        """From now on it sends; the handheld listens already."""
        with self._device.inside():
            for address in self.addresses:
                self._tcp[address] = self._socket(socket.SOCK_STREAM, address, 0)
                self._tcp[address].connect_ex((TARGET, traffic.PORT))
        self._thread.start()

    def close(self):
        self._closing.set()
        if self._thread.is_alive():
            self._thread.join()
        for key in list(self._selector.get_map().values()):
            key.fileobj.close()
        for each in self._tcp.values():
            each.close()
        self._selector.close()

    def _socket(self, kind, address, port):
        with self._device.inside():
            made = socket.socket(socket.AF_INET, kind)
        made.setblocking(False)
        made.bind((address, port))
        if kind == socket.SOCK_STREAM and port:
            made.listen(1024)
        return made

    def _register(self, made, read):
        self._selector.register(made, selectors.EVENT_READ, read)

    def _accept(self, listener):
        connection, _ = listener.accept()
        connection.setblocking(False)
        self._register(connection, self._take)

    def _take(self, end):
        data = b""
        with contextlib.suppress(OSError):
            data = end.recv(65536)
        if not data and end not in self._udp:
            self._selector.unregister(end)
            end.close()

    def _send(self, number):
        address = self.addresses[number]
        probe = traffic.packet(self._sequence, traffic.announcement("1", f"peer{number}"))
        with contextlib.suppress(OSError):
            self._udp[number].sendto(probe, (TARGET, traffic.PORT))
            self._tcp[address].send(probe)

    def _run(self):
        """The peers send one after another, spread over the period."""
        step = self._period / len(self.addresses)
        due, number = time.monotonic(), 0
        while not self._closing.is_set():
            for key, _ in self._selector.select(max(0.0, due - time.monotonic())):
                key.data(key.fileobj)
            if time.monotonic() >= due:
                self._send(number)
                number, due = (number + 1) % len(self.addresses), due + step
                self._sequence += number == 0


class HandheldCrowdTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.handheld = self.lab.device("pocket1")

    def start(self, count, period, words, are_named):
        """A test with so many peers that all probe in turn; (the device, its program, its window, the peers' labels)."""
        settings = {"frequency qty": str(period), "frequency units": "seconds", "multicast selected": "no"}
        crowd = Crowd(self.lab.device("crowd"), count, period)
        self.addCleanup(crowd.close)
        names = {f"peer{number}": address for number, address in enumerate(crowd.addresses)}
        device = windows.WindowsDevice(self.handheld, settings, handheld="full," + words, peers=names if are_named else {})
        self.addCleanup(device.close)
        program = device.start()
        window = device.window("(pocket1)")
        window.press(START)
        window.wait_until_enabled(STOP)
        crowd.start()
        return device, program, window, [f"{address} ({name})" for name, address in names.items()]

    def end(self, program, window):
        """The journal of the program, which has ended in an orderly way."""
        window.press(STOP)
        window.wait_until_enabled(START, within=120)
        window.close()
        self.assertEqual(program.exit_status(), 0)
        return "\n".join(program.journal())

    def wait_until_measured(self, window, labels, within):
        """Until UDP and ping have each arrived twice from each of these peers, and TCP from as many as are watched."""
        waiting = set(labels)
        by_tcp = set()

        def look():
            for label, _, _, *cells in window.rows():
                tcp, udp, ping = (windows.received_and_total(cell)[0] >= 2 for cell in cells)
                waiting.difference_update([label] if udp and ping else [])
                by_tcp.update([label] if tcp else [])
            return not waiting and len(by_tcp) >= min(WATCHED, len(labels))
        lab.eventually(look, within, lambda: f"figures of {sorted(waiting)}, {len(by_tcp)} by TCP", every=2)

    def test_130_peers_fit_into_the_addresses_of_a_handheld(self):
        count, period = 130, 5
        device, program, window, labels = self.start(count, period, "meter", are_named=True)
        self.wait_until_measured(window, labels, within=150)
        device.picture("handheld-130-peers")
        windows.pause(30)
        self.assertEqual([line for line in device.log_texts() if LIMIT_LINE in line or NOT_MADE in line], [])
        journal = self.end(program, window)
        deepest = int(re.search(r"deepest stack (\d+) of 65536", journal)[1])
        heap = int(re.search(r"HEAP .* at most (\d+) bytes at a time", journal)[1])
        threads = int(re.search(r"THREADS .* at most (\d+) at a time", journal)[1])
        self.assertLess(deepest, 65536 // 3)
        self.assertLess(heap, 4 * MEGABYTE)
        self.assertIn(threads, range(3 * count, 3 * count + 10))
        self.assertNotIn("refused", journal)
        print("\n".join(line for line in journal.splitlines() if re.search(r"\] (THREADS|HEAP|SPACE|METER)", line)))

    def test_beyond_its_limit_a_handheld_goes_on_with_the_peers_that_fit(self):
        device, program, window, labels = self.start(50, 2, "space=6", are_named=False)
        lab.eventually(lambda: {row[0] for row in window.rows()} == set(labels), 60, "a row for each peer", every=1)
        device.wait_for_log_text(LIMIT_LINE)
        texts = device.log_texts()
        without = {line.split(NOT_MADE)[0].split(" to ")[1] for line in texts if NOT_MADE in line}
        whole = [label for label in labels if label.split()[0] not in without]
        self.assertTrue(0 < len(whole) < len(labels), texts)
        self.wait_until_measured(window, whole, within=60)
        self.assertEqual(device.log_texts().count(LIMIT_LINE), 1)
        self.end(program, window)
