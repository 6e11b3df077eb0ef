"""How a device hears of others by multicast: when it joins the group, and on which interfaces."""

import re
import threading
import time

import lab
import traffic

NO_INTERFACE = "no interfaces currently available ... please restart when an interface is available"


class Announcer:
    """Announces a device to the group ten times a second until closed; remembers when it sent which number."""

    def __init__(self, device, name="v|somebody", interface_address=None):
        self.sent = {}
        self._end = traffic.UdpEnd(device, interface_address=interface_address, ttl=1)
        self._name = name
        self._closing = threading.Event()
        self._thread = threading.Thread(target=self._announce, daemon=True)
        self._thread.start()

    def _announce(self):
        number = 0
        while not self._closing.wait(0.1):
            number += 1
            self.sent[number] = time.monotonic()
            self._end.send(traffic.packet(number, self._name), traffic.GROUP, traffic.GROUP_PORT)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._closing.set()
        self._thread.join()
        self._end.close()


def has_joined(device, interface="eth0"):
    """Whether the kernel of the device is a member of the group there."""
    memberships = device.run("ip", "-4", "maddress", "show", "dev", interface).stdout
    return f"inet  {traffic.GROUP}" in memberships


class DiscoveryTest(lab.SystemTest):
    def first_heard(self, device, within=40):
        """The number of the first packet that the multicast listener has received from elsewhere."""
        line = device.wait_for_log_line(r"multicast listener received seq # \d+ from (?!10\.77\.0\.1$)", within)
        return int(re.search(r"seq # (\d+)", line).group(1))

    def test_listener_joins_after_five_seconds_of_silence_and_not_before(self):
        device, peer = self.lab.devices_named("pocket1", "pocket2")
        device.configure("multicast", log_events="yes")
        with Announcer(peer) as announcer:
            before = time.monotonic()
            device.measure()
            number = self.first_heard(device)
            waited = announcer.sent[number] - before
        # So what came during the silence is not heard afterwards either.
        self.assertGreater(waited, 4.9)
        # Five seconds and the time that a busy machine takes to start the program.
        self.assertLess(waited, 40)

    def test_silence_is_another_protocols_noise(self):
        device, peer = self.lab.devices_named("pocket1", "pocket2")
        device.configure("multicast", "udp", log_events="yes")
        with traffic.UdpEnd(peer) as udp, Announcer(peer):
            device.measure()

            def heard():
                udp.send(traffic.packet(1, "v|somebody"), device.address)
                return any("multicast listener received" in line and "10.77.0.2" in line
                           for line in device.log_lines())
            lab.eventually(heard, 40, "the multicast listener hears", every=0.1)

    def test_stranger_to_the_group_is_heard_by_unicast_alone(self):
        device, peer = self.lab.devices_named("pocket1", "pocket2")
        device.configure("multicast", multicast_group="228.1.1.1")
        program = device.measure()
        with Announcer(peer):
            time.sleep(8)
        self.assertEqual(program.stop(), 2)

    def test_both_interfaces_of_a_device_are_joined(self):
        self.lab.add_network()
        device, first, second = self.lab.devices_named("pocket1", "pocket2", "pocket3")
        device.join(1)
        second.join(1)
        device.configure("multicast")
        program = device.measure()
        with Announcer(first, "v|first"), Announcer(second, "v|second", "10.78.0.3"):
            program.wait_for_row(first.addresses[0], lambda row: row["multicast"]["received"] >= 5, within=40)
            program.wait_for_row(second.addresses[1], lambda row: row["multicast"]["received"] >= 5, within=40)
        self.assertTrue(has_joined(device, "eth0"))
        self.assertTrue(has_joined(device, "eth1"))

    def test_device_without_an_interface_survives_says_so_once_and_finds_the_one_that_comes_later(self):
        device, peer = self.lab.devices_named("pocket1", "pocket2")
        with device.inside():
            lab.ip("link set eth0 down")
        device.configure("multicast", "udp")
        program = device.measure()
        lab.eventually(lambda: NO_INTERFACE in program.errors(), 20, lambda: str(program))
        # Each socket that fails makes the connector look again, five times a second.
        device.wait_for_log_line(r"on multicast connector \( 228\.227\.226\.225 \) :send failed 10051$")
        time.sleep(2)
        self.assertTrue(program.is_running())
        self.assertEqual(program.errors().count(NO_INTERFACE), 1, program.errors())
        with device.inside():
            lab.ip("link set eth0 up", "route replace default via 10.77.0.254")
        with traffic.UdpEnd(peer, traffic.GROUP_PORT, traffic.GROUP) as member:
            self.assertEqual(member.receive(within=20).address, device.address)
        with Announcer(peer):
            program.wait_for_row(peer.address, lambda row: row["multicast"]["received"] >= 5, within=40)
        self.assertEqual(program.stop(), 0)

    def test_interface_that_joins_the_machine_later_is_joined_after_a_silence(self):
        self.lab.add_network()
        device, peer = self.lab.devices_named("pocket1", "pocket2")
        peer.join(1)
        # Its own announcements would break the silence once a second.
        device.write_settings({"frequency qty": "1", "frequency units": "minutes"})
        program = device.measure()
        lab.eventually(lambda: has_joined(device), 20, "membership on the first interface")
        device.join(1)
        lab.eventually(lambda: has_joined(device, "eth1"), 40, "membership on the second interface")
        with Announcer(peer, "v|late", "10.78.0.2"):
            program.wait_for_row("10.78.0.2", within=20)

    def test_interface_that_comes_back_with_another_index_is_joined_again(self):
        self.lab.add_network()
        device = self.lab.device("pocket1")
        device.join(1)
        # Its own announcements would break the silence once a second.
        device.write_settings({"frequency qty": "1", "frequency units": "minutes"})
        device.measure()
        lab.eventually(lambda: has_joined(device, "eth1"), 20, "membership on the second interface")
        device.reseat("eth1", 1)
        self.assertFalse(has_joined(device, "eth1"))
        lab.eventually(lambda: has_joined(device, "eth1"), 40, "membership on the interface that came back")
