"""What a call of the system that fails for good costs, that it is over when it works again, and how shortages are told."""

import errno
import os
import time

import lab

# Calls that fail for good, with what such a call says.
CALLS = {
    "epoll_wait": errno.ENOMEM,
    "ppoll": errno.ENOMEM,
    "recv": errno.ENOBUFS,
    "recvfrom": errno.ENOBUFS,
    "recvmsg": errno.ENOBUFS,
    "send": errno.ENOBUFS,
    "sendto": errno.EPERM,
    "socket": errno.EMFILE,
}
SECONDS = 10


def library():
    return os.path.join(os.path.dirname(lab.program_path()), "tests", "system", "liblinkometry-failing.so")


class FailingCall:
    """Starts a program on a device, one of whose calls can be made to fail."""

    def __init__(self, device, call, error):
        self.device = device
        self.call = call
        self._switch = os.path.join(device.folder, "switch")
        self.set(False)
        self.program = device.start("-headless", "-format", "json", "-interval", 1, through=(
            "env", f"LD_PRELOAD={library()}", "ASAN_OPTIONS=verify_asan_link_order=0",
            f"LINKOMETRY_FAILING_SWITCH={self._switch}", f"LINKOMETRY_FAILING_CALL={call}",
            f"LINKOMETRY_FAILING_ERROR={error}"))

    def set(self, is_on):
        with open(self._switch, "r+b" if os.path.exists(self._switch) else "wb") as file:
            file.write(b"\1" if is_on else b"\0")

    def errors(self):
        return [line for line in self.device.log_lines() if "SOCKET ERROR" in line]

    def received(self, protocol, peer):
        row = self.program.row(peer)
        return row[protocol]["received"] if row else 0


class BackOffTest(lab.SystemTest):
    def start(self, calls, **settings):
        """A hub that measures all others, and for each of the calls a device that measures the hub."""
        self.hub = self.lab.device("hub")
        devices = [self.lab.device(f"pocket{number}") for number in range(1, len(calls) + 1)]
        named = {"peer_set_includes_anyone-in-reach": "no"}
        self.hub.configure("multicast", "tcpip", "udp", period=1000,
                           peers={device.name: device.address for device in devices}, **named)
        self.hub.start("-headless")
        for device, (call, _) in zip(devices, calls):
            # Nothing opens a socket while all goes well, but for pings that have one each.
            device.set_kernel_parameter("net.ipv4.ping_group_range", "0 2147483647" if call == "socket" else "1 0")
            device.configure("multicast", "tcpip", "udp", "ping", period=1000,
                             peers={"hub": self.hub.address}, **named, **settings)
        return [FailingCall(device, *call) for device, call in zip(devices, calls)]

    def wait_until_heard(self, failing):
        # Not by multicast: of a group the listener hears only after five seconds of silence.
        before = {(each, protocol): each.received(protocol, self.hub.address)
                  for each in failing for protocol in ("udp", "tcpip", "ping")}

        def deaf():
            return [(each.call, protocol) for (each, protocol), count in before.items()
                    if each.received(protocol, self.hub.address) < count + 2]
        lab.eventually(lambda: not deaf(), 20, lambda: f"all are heard again, but for {deaf()}", every=0.2)

    def test_calls_that_fail_for_good_cost_little_say_little_and_hold_up_nothing(self):
        failing = self.start(list(CALLS.items()))
        self.wait_until_heard(failing)
        before = {each: (each.program.processor_seconds(), len(each.errors())) for each in failing}
        for each in failing:
            each.set(True)
        time.sleep(SECONDS)
        for each in failing:
            with self.subTest(each.call):
                seconds, lines = before[each]
                self.assertLessEqual(len(each.errors()) - lines, 100)
                self.assertGreaterEqual(len(each.errors()) - lines, 1, "it is told")
                if not lab.program_is_sanitized():
                    self.assertLess(each.program.processor_seconds() - seconds, 0.05 * SECONDS)
        half = len(failing) // 2
        for each in failing[:half]:
            self.assertIn(each.program.stop(), (0, 1))
        for each in failing[half:]:
            each.set(False)
        self.wait_until_heard(failing[half:])

    def test_shortage_of_descriptors_is_told_three_times_and_at_its_end(self):
        shortage, = self.start([("accept4", errno.EMFILE)])
        self.wait_until_heard([shortage])
        # Each connection of the hub ends with the shortage, and a new one waits for its end.
        lines = len(shortage.errors())
        shortage.set(True)
        self.hub.programs[0].stop()
        self.hub.start("-headless")
        time.sleep(6)
        told = [line[9:] for line in shortage.errors()[lines:] if "accept" in line]
        self.assertEqual(told, ["SOCKET ERROR: on tcpip listener (  ) :accept failed"] * 3)
        shortage.set(False)
        last = lab.eventually(lambda: [line for line in shortage.errors() if "accept works again" in line], 20,
                              "the end of the shortage is told")
        self.assertRegex(last[0], r"SOCKET ERROR: on tcpip listener \(  \) :accept works again after \d+ failures$")
        self.wait_until_heard([shortage])
