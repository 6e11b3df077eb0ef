"""What probes tell of their way: how long a ping's reply took, beside the system's own ping, and how a connection gets on."""

import contextlib
import os
import re
import socket
import statistics
import subprocess
import threading
import time

import lab

ICMP = 1
TCP = 6
# The states of a connector.
CONNECTING, OPEN, UNANSWERED, REFUSED, TIMED_OUT, FAILED = range(1, 7)


def helper(name):
    return os.path.join(os.path.dirname(lab.program_path()), "tests", "system", name)


class Helper:
    """A helper that runs until it is closed. Its lines come with the time at which they were read."""

    def __init__(self, *command):
        self._process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)
        self.lines = []
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.stdin.close()
        self._process.wait(lab.PATIENCE)
        self._reader.join()
        self._process.stdout.close()

    def _read(self):
        for line in self._process.stdout:
            self.lines.append((time.monotonic(), line.split()))

    def wait_for(self, what, condition):
        """The first line that meets the condition, with its time."""
        def look():
            return next((each for each in list(self.lines) if condition(each[1])), None)
        return lab.eventually(look, lab.PATIENCE, lambda: f"{what} in {self.lines}", every=0.005)

    def tell(self, command):
        """Has the helper do it, and waits until it is done."""
        known = len(self.lines)
        self._process.stdin.write(command + "\n")
        lab.eventually(lambda: [command.split()] == [line for _, line in self.lines[known:]], lab.PATIENCE, command)


class WayTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")
        # Between the network and the peer; "there" is towards the peer.
        lab.ip("link add cable0 type veth peer name cable1", f"link set cable0 master {self.lab.networks[0]} up",
               "link set cable1 up", "link set pocket2-0 nomaster")
        self.addCleanup(lab.ip, "link delete cable0")
        self.cable = Helper(helper("linkometry-cable"), "cable1", "pocket2-0")
        self.enter(self.cable)
        self.cable.wait_for("ready", lambda line: line == ["ready"])
        lab.eventually(lambda: self.device.run("ping", "-n", "-c", "1", "-W", "1", self.peer.address).returncode == 0,
                       lab.PATIENCE, "the cable carries")

    def enter(self, context):
        """Until the end of the test."""
        result = context.__enter__()
        self.addCleanup(context.__exit__, None, None, None)
        return result

    @contextlib.contextmanager
    def witness(self, *arguments):
        with self.device.inside():
            running = Helper(helper("linkometry-probe-witness"), *map(str, arguments))
        with running:
            yield running

    def slow_down(self, round_trip_us):
        for direction in ("there", "back"):
            self.cable.tell(f"{direction} delay {round_trip_us // 2}")


class RoundTripTest(WayTest):
    # Other work on the machine holds the cable up now and then, for one of the two more than for the other.
    ROUNDS = 6

    def setUp(self):
        lab.take_precedence()
        super().setUp()

    def check_round(self, witness, round_trip_us, interval, count):
        """Measures for a while. Whether both medians agree, and what they are."""
        begin = len(witness.lines)
        output = self.device.run("ping", "-n", "-c", str(count), "-i", str(interval), self.peer.address).stdout
        lab.eventually(lambda: len(witness.lines) >= begin + count, lab.PATIENCE, "as many replies")
        ours = [int(line[1]) for _, line in witness.lines[begin:]]
        pings = [float(each) * 1000 for each in re.findall(r"time=([0-9.]+) ms", output)]
        self.assertGreaterEqual(len(pings), count * 3 // 4, output)
        self.assertGreaterEqual(min(ours), round_trip_us)
        our_median, their_median = statistics.median(ours), statistics.median(pings)
        print(f"{round_trip_us} us: {our_median} us, ping {their_median} us")
        return abs(our_median - their_median) <= max(0.05 * their_median, 50)

    def check_beside_ping(self, round_trip_us, interval, count):
        self.slow_down(round_trip_us)
        with self.witness("ping", self.peer.address, int(interval * 1000)) as witness:
            witness.wait_for("a reply", lambda line: line[0] == "reply")
            self.assertTrue(any(self.check_round(witness, round_trip_us, interval, count) for _ in range(self.ROUNDS)))
        self.assertEqual({int(line[2]) for _, line in witness.lines}, {64}, "the kernel's own time-to-live")

    def test_a_third_of_a_millisecond_is_what_the_systems_ping_tells(self):
        self.check_beside_ping(300, 0.05, count=40)

    def test_five_milliseconds_are_what_the_systems_ping_tells(self):
        self.check_beside_ping(5000, 0.05, count=40)

    def test_eighty_milliseconds_are_what_the_systems_ping_tells(self):
        self.check_beside_ping(80000, 0.2, count=10)


class OutStateTest(WayTest):
    PERIOD = 2.0

    def listen(self):
        with self.peer.inside():
            return self.enter(socket.create_server(("", lab.PORT)))

    def connect(self):
        return self.enter(self.witness("tcp", self.peer.address, lab.PORT, int(self.PERIOD * 1000)))

    def states(self, witness):
        return [int(line[1]) for _, line in witness.lines]

    def wait_for_state(self, witness, state, times=1):
        """When the connector was in that state for that time."""
        lab.eventually(lambda: self.states(witness).count(state) >= times, lab.PATIENCE,
                       lambda: f"state {state} in {witness.lines}", every=0.005)
        return [at for at, line in witness.lines if int(line[1]) == state][times - 1]

    def check_block(self, direction):
        self.listen()
        witness = self.connect()
        self.wait_for_state(witness, OPEN)
        time.sleep(2 * self.PERIOD)
        self.assertEqual(self.states(witness), [CONNECTING, OPEN])
        self.cable.tell(f"{direction} lose {TCP}")
        blocked = time.monotonic()
        noticed = self.wait_for_state(witness, UNANSWERED)
        print(f"{direction}: noticed after {noticed - blocked:.3f} s: {witness.lines[-1][1]}")
        self.assertLess(noticed - blocked, 3 * self.PERIOD)
        age, packets, repeated = map(int, witness.lines[-1][1][3:])
        self.assertGreaterEqual(age, 1500 * self.PERIOD)
        self.assertGreater(packets, 0)
        self.assertGreater(repeated, 0)
        self.cable.tell(f"{direction} carry")
        self.wait_for_state(witness, OPEN, times=2)
        self.assertEqual(self.states(witness), [CONNECTING, OPEN, UNANSWERED, OPEN])

    def test_a_connection_whose_probes_get_lost_is_told_of_within_three_periods(self):
        self.check_block("there")

    def test_a_connection_whose_acknowledgements_get_lost_is_told_of_within_three_periods(self):
        self.check_block("back")

    def test_a_slow_way_is_no_block(self):
        self.listen()
        self.slow_down(600_000)
        witness = self.connect()
        self.wait_for_state(witness, OPEN)
        time.sleep(4 * self.PERIOD)
        self.assertEqual(self.states(witness), [CONNECTING, OPEN])

    def test_a_peer_that_refuses_is_told_of_once(self):
        witness = self.connect()
        self.wait_for_state(witness, REFUSED)
        time.sleep(2 * self.PERIOD)
        self.assertEqual(self.states(witness), [CONNECTING, REFUSED])
        self.listen()
        self.wait_for_state(witness, OPEN)
        self.assertEqual(self.states(witness), [CONNECTING, REFUSED, OPEN])
