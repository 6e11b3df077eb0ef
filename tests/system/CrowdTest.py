"""Strangers that take every place of a TCP listener and say nothing: honest devices are counted all the same."""

import contextlib
import os
import re
import resource
import socket
import struct
import threading
import time

import lab
import traffic

STRANGERS = 1000
# The whole length by hand: CROWD_SECONDS=60.
SECONDS = float(os.environ.get("CROWD_SECONDS", "8"))
# What a connection is about, in turn.
MANNERS = ("nothing", "byte", "line", "half", "reset")


class Strangers(threading.Thread):
    """A thousand connections from a device, in all manners, until stop()."""

    def __init__(self, device, addresses, target):
        super().__init__(daemon=True)
        self._device = device
        self._addresses = addresses
        self._target = target
        self._ends = []
        self._stopping = threading.Event()

    def _connect(self, number):
        with self._device.inside():
            end = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        end.bind((self._addresses[number % len(self._addresses)], 0))
        end.setblocking(False)
        with contextlib.suppress(BlockingIOError):
            end.connect((self._target, traffic.PORT))
        return end

    def run(self):
        for number in range(STRANGERS):
            self._ends.append((MANNERS[number % len(MANNERS)], self._connect(number)))
            # The listener's queue is short, and what finds no place in it comes again many seconds later.
            time.sleep(0.001)
        tick = 0
        while not self._stopping.wait(0.1):
            for number, (manner, end) in enumerate(self._ends):
                # One that has been closed is no reason to end.
                with contextlib.suppress(OSError):
                    self._act(manner, number, end, tick)
            tick += 1
        for _, end in self._ends:
            end.close()

    def _act(self, manner, number, end, tick):
        if manner == "byte" and tick % 100 == number % 100:
            end.send(b"x")
        elif manner == "line":
            end.send(b"x" * 1000)
        elif manner == "half" and tick == 5:
            end.shutdown(socket.SHUT_WR)
        elif manner == "reset" and tick % 50 == number % 50:
            end.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            end.close()
            self._ends[number] = (manner, self._connect(number))

    def stop(self):
        self._stopping.set()
        self.join()


class CrowdTest(lab.SystemTest):
    """Takes the processor for itself."""

    def setUp(self):
        super().setUp()
        # The system's queue of new connections has six places. What overflows it comes again after seconds.
        lab.take_precedence()
        resource.setrlimit(resource.RLIMIT_NOFILE, (resource.getrlimit(resource.RLIMIT_NOFILE)[1],) * 2)
        self.device, self.strange, self.honest = self.lab.devices_named("pocket1", "strange", "honest")
        self.device.configure("tcpip", period=1000, peers={"honest": self.honest.address})
        self.program = self.device.measure(every=0.1)
        lab.eventually(lambda: ":5009 " in self.device.run("ss", "-Hltna").stdout, 20, "the listener listens")

    def addresses(self, count):
        """So many addresses of the strangers'; they are all on the device's network."""
        with self.strange.inside():
            lab.ip(*(f"address add 10.77.0.{number}/24 dev eth0" for number in range(10, 10 + count)))
        return [f"10.77.0.{number}" for number in range(10, 10 + count)]

    def connections_of_strangers(self):
        states = ("ESTAB", "CLOSE-WAIT", "SYN-RECV", "FIN-WAIT-1", "FIN-WAIT-2", "LAST-ACK")
        return [line for line in self.device.run("ss", "-Htan").stdout.splitlines()
                if line.split()[0] in states and not re.search(rf" {self.honest.address}:\d+ *$", line)]

    def received(self):
        row = self.program.row(self.honest.address)
        return row["tcpip"]["received"] if row else 0

    def check_newcomer(self, number):
        before, start = self.received(), time.monotonic()
        with traffic.TcpEnd.connect(self.honest, self.device.address) as end:
            end.send(traffic.packet(number))
            lab.eventually(lambda: self.received() > before, 20, "a newcomer is counted")
            took = time.monotonic() - start
        # A row is printed every tenth of a second.
        self.assertLess(took, 10 if lab.program_is_sanitized() else 1.1)

    def check(self, addresses):
        number = 1
        with traffic.TcpEnd.connect(self.honest, self.device.address) as regular:
            regular.send(traffic.packet(number))
            lab.eventually(lambda: self.received() == 1, 20, "the regular one is counted")
            costs = self.program.processor_seconds()
            begin = time.monotonic()
            strangers = Strangers(self.strange, addresses, self.device.address)
            strangers.start()
            while time.monotonic() - begin < SECONDS:
                for _ in range(5):
                    number += 1
                    regular.send(traffic.packet(number))
                    # Two that a busy machine hands over in one piece would count as one.
                    lab.eventually(lambda count=number: self.received() == count, 20, "each probe is counted")
                number += 1
                self.check_newcomer(number)
            duration = time.monotonic() - begin
            costs = self.program.processor_seconds() - costs
            strangers.stop()
            stopped = time.monotonic()
            lab.eventually(lambda: self.received() == number, 20, lambda: f"all is counted: {self.program}")
            self.assertEqual(self.program.row(self.honest.address)["tcpip"]["lost"], 0)
        left = lab.eventually(lambda: not self.connections_of_strangers(), 20, self.connections_of_strangers, every=0.2)
        gone = time.monotonic() - stopped
        self.assertTrue(left)
        self.assertLess(gone, 15 if not lab.program_is_sanitized() else 30)
        if not lab.program_is_sanitized():
            self.assertLess(costs, 0.05 * duration)
        print(f"{len(addresses)} addresses: {100 * costs / duration:.1f} % of a processor over {duration:.0f} s, "
              f"gone after {gone:.1f} s, {number} probes counted, none lost")

    def test_thousand_strangers_of_one_address(self):
        self.check(self.addresses(1))

    def test_thousand_strangers_of_two_hundred_addresses(self):
        self.check(self.addresses(200))
