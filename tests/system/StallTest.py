"""What can block, and that neither the program's end nor its measuring waits for it: readers, logs, settings files."""

import contextlib
import fcntl
import json
import os
import re
import select
import signal
import time

import lab
import traffic

F_SETPIPE_SZ = 1031
PEERS = {f"peer {number}": f"10.77.0.{number}" for number in range(100, 250)}


class Pipe:
    """A named pipe whose reader takes something only when it is told to."""

    def __init__(self, folder, name, size=4096):
        self.path = os.path.join(folder, name)
        os.mkfifo(self.path)
        # Both ends: neither the program's opening nor its end must wait for the test.
        self._end = os.open(self.path, os.O_RDWR | os.O_NONBLOCK)
        fcntl.fcntl(self._end, F_SETPIPE_SZ, size)
        self._bytes = b""

    def close(self):
        os.close(self._end)

    def read(self):
        """What has been read so far, with what is there now."""
        try:
            while piece := os.read(self._end, 65536):
                self._bytes += piece
        except BlockingIOError:
            pass
        return self._bytes.decode()

    def fill(self):
        """Until nothing more is taken."""
        with contextlib.suppress(BlockingIOError):
            while os.write(self._end, b"x"):
                pass

    def is_full(self):
        """Whether a writer waits now."""
        room = select.poll()
        room.register(self._end, select.POLLOUT)
        return not room.poll(0)


class StallTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")

    def pipe(self, name):
        pipe = Pipe(self.device.folder, name)
        self.addCleanup(pipe.close)
        return pipe

    def start_into(self, pipe, *arguments):
        """A headless test whose standard output is that pipe."""
        return self.device.start("-headless", "-format", "json", *arguments,
                                 through=("sh", "-c", f'exec "$0" "$@" >{pipe.path}'))


class OutputStallTest(StallTest):
    def setUp(self):
        super().setUp()
        self.device.configure("udp", peers=PEERS)

    def stalled(self, *arguments):
        pipe = self.pipe("output")
        program = self.start_into(pipe, "-interval", "0.1", *arguments)
        lab.eventually(pipe.is_full, 20, f"the reader of {program} stalls")
        return pipe, program

    def test_request_to_stop_is_obeyed_while_the_reader_stalls_and_the_loss_is_told(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(number):
                _, program = self.stalled()
                program.signal(number)
                self.assertEqual(program.wait(within=20), 1)
                self.assertIn("linkometry: the standard output takes nothing; the result is lost\n", program.errors())
                self.assertTrue(self.device.log_lines()[-1].endswith(" ---- Test 1 complete ---"))
                os.remove(os.path.join(self.device.folder, "output"))

    def test_second_request_ends_the_program_at_once(self):
        _, program = self.stalled()
        program.signal(signal.SIGTERM)
        time.sleep(0.5)
        program.signal(signal.SIGTERM)
        before = time.monotonic()
        self.assertEqual(program.wait(), -signal.SIGTERM)
        self.assertLess(time.monotonic() - before, 1)
        program.kill_was_sent()

    def test_test_goes_on_and_ends_in_time_while_the_reader_stalls(self):
        _, program = self.stalled("-duration", "3")
        self.device.wait_for_log_line("---- Test 1 complete ---")
        self.assertTrue(program.is_running())
        self.assertEqual(program.stop(within=20), 1)

    def test_reader_that_comes_back_gets_whole_rows_and_the_result(self):
        pipe, program = self.stalled("-duration", "2")
        self.device.wait_for_log_line("---- Test 1 complete ---")

        def ended():
            pipe.read()
            return not program.is_running()
        lab.eventually(ended, 20, str(program))
        self.assertEqual(program.wait(), 1)
        rows = [json.loads(line) for line in pipe.read().splitlines()]
        self.assertEqual([row["address"] for row in rows if row.get("final")], list(PEERS.values()))
        self.assertEqual(program.errors().count("\n"), 1)

    def test_standard_error_that_stalls_holds_up_no_end(self):
        pipe = self.pipe("error")
        pipe.fill()
        program = self.device.start("-headless", through=("sh", "-c", f'exec "$0" "$@" 2>{pipe.path}'))
        self.device.wait_until_listening()
        self.assertEqual(program.stop(within=20), 1)


class LogStallTest(StallTest):
    def setUp(self):
        super().setUp()
        self.device.configure("udp", peers=dict(PEERS, peer=self.peer.address))
        self.log = lab.StallingLog(self.device)

    def start(self, *arguments):
        """A headless test whose log stands still from some time after its start."""
        program = self.device.start("-headless", "-format", "json", *arguments, through=self.log.through())
        lab.eventually(lambda: "measures its peers" in program.errors(), 20, str(program))
        self.log.hold()
        return program

    def check_end(self, program, rows):
        before = time.monotonic()
        self.assertEqual(program.wait(), 1)
        # 2 s for the log, and what a busy machine takes.
        self.assertLess(time.monotonic() - before, 15)
        self.assertIn(f"linkometry: the log {self.device.log_path} takes no lines; its last ones are lost\n",
                      program.errors().replace("log VantiroDiagnostics.txt", f"log {self.device.log_path}"))
        self.assertEqual(len(program.final_rows()), rows)

    def test_request_to_stop_is_obeyed_while_more_lines_wait_than_find_room(self):
        program = self.start()
        program.signal(signal.SIGTERM)
        self.check_end(program, len(PEERS) + 1)

    def test_request_to_stop_is_obeyed_while_all_lines_have_found_room(self):
        self.device.configure("udp", peers={"dead": "10.77.0.99"})
        program = self.start()
        program.signal(signal.SIGINT)
        self.check_end(program, 1)

    def test_result_is_printed_before_the_log_is_given_up(self):
        program = self.start()
        program.signal(signal.SIGTERM)
        lab.eventually(lambda: len(program.final_rows()) > len(PEERS), 20, str(program), every=0.01)
        self.assertNotIn("takes no lines", program.errors())
        self.check_end(program, len(PEERS) + 1)

    def test_duration_is_kept(self):
        self.check_end(self.start("-duration", "2"), len(PEERS) + 1)

    def test_log_leaves_the_exit_status_as_it_is(self):
        self.device.configure("udp", peers={"peer": self.peer.address})
        program = self.start("-interval", "0.1")
        with traffic.UdpEnd(self.peer) as sender:
            for number in (1, 2):
                sender.send(traffic.packet(number), self.device.address)
        program.wait_for_row(self.peer.address, lambda row: row["udp"]["received"] == 2)
        self.assertEqual(program.stop(within=20), 0)
        self.assertIn("takes no lines", program.errors())

    def test_snapshot_whose_lines_wait_is_printed_and_the_program_can_be_stopped(self):
        program = self.start()
        program.signal(signal.SIGUSR1)
        lab.eventually(lambda: len(program.rows()) == len(PEERS) + 1, 10, "the snapshot is printed")
        time.sleep(0.5)
        program.signal(signal.SIGTERM)
        self.check_end(program, len(PEERS) + 1)

    def test_probes_that_wait_for_the_log_do_not_keep_the_test_from_ending(self):
        self.device.configure("udp", period=20, peers=PEERS, log_data_packets="yes", log_data_packet_contents="yes")
        program = self.start()
        time.sleep(2)
        program.signal(signal.SIGTERM)
        self.check_end(program, len(PEERS))

    def test_second_request_ends_the_program_at_once(self):
        program = self.start()
        program.signal(signal.SIGINT)
        time.sleep(0.5)
        program.signal(signal.SIGINT)
        self.assertEqual(program.wait(within=20), -signal.SIGINT)
        self.assertNotIn("takes no lines", program.errors())
        program.kill_was_sent()


class MeasuringTest(StallTest):
    """Nothing that stands still keeps a device from measuring."""

    PERIOD_MS = 10
    # Probes of a peer during a standstill. The lines about them are more than find room.
    PROBES = 600

    def configure(self, device, *protocols, **more):
        device.configure(*protocols, period=self.PERIOD_MS, log_events="yes", **more)

    def start_both(self):
        """Both devices measure each other. The log of one may stand still."""
        self.configure(self.device, "udp", "multicast", peers={"peer": self.peer.address}, log_data_packets="yes")
        self.configure(self.peer, "udp", "multicast", peers={"device": self.device.address})
        log = lab.StallingLog(self.device)
        far = self.peer.measure(every=0.1)
        self.peer.wait_until_hearing("multicast")
        near = self.device.measure(every=0.1, through=log.through())
        self.wait_for_probes(near, far, 20)
        return near, far, log

    def wait_for_probes(self, near, far, count):
        """Until each device has received so many more of each kind from the other. Returns the rows."""
        rows = []
        for program, other in ((near, self.peer), (far, self.device)):
            row = program.row(other.address) or {"udp": {"received": 0}, "multicast": {"received": 0}}
            goals = {protocol: row[protocol]["received"] + count for protocol in ("udp", "multicast")}
            rows.append((program, other, goals))
        return [program.wait_for_row(other.address, lambda row, goals=goals: all(
            row[protocol]["received"] >= goal for protocol, goal in goals.items()), within=60)
            for program, other, goals in rows]

    def test_no_probe_is_lost_on_either_side_while_the_log_stands_still(self):
        near, far, log = self.start_both()
        log.hold()
        for row in self.wait_for_probes(near, far, self.PROBES):
            self.assertEqual((row["udp"]["lost"], row["multicast"]["lost"]), (0, 0))
        begin = time.monotonic()
        near.stop()
        # 2 s, and what a busy machine takes.
        self.assertLess(time.monotonic() - begin, 10)
        self.assertIn("takes no lines", near.errors())

    def test_lines_of_a_standstill_are_in_the_log_or_in_its_count_at_their_place(self):
        near, far, log = self.start_both()
        log.hold()
        self.wait_for_probes(near, far, self.PROBES)
        log.release()
        self.device.wait_for_log_line("LOG ERROR: [0-9]+ lines lost$", within=20)
        self.wait_for_probes(near, far, 20)
        self.assertEqual(near.stop(), 0)
        self.assertNotIn("takes no lines", near.errors())
        self.check_gaps(self.device.log_lines())

    def check_gaps(self, lines):
        """The log has a gap in the numbers of a probe's lines only where it says so, and tells how long all are."""
        latest, counts, missing, told = {}, [], 0, 0
        for place, line in enumerate(lines):
            if loss := re.search(r" LOG ERROR: ([0-9]+) lines lost$", line):
                told += int(loss.group(1))
                counts.append(place)
            elif probe := re.search(r" E :([a-z ]+) seq # ([0-9]+) (?:to|from) ([0-9.]+)", line):
                number = int(probe.group(2))
                before, previous = latest.get((probe.group(1), probe.group(3)), (place, number - 1))
                latest[probe.group(1), probe.group(3)] = (place, number)
                if number != previous + 1:
                    missing += number - previous - 1
                    self.assertTrue(any(before < count < place for count in counts), (lines[before], line))
        self.assertGreater(missing, 0)
        self.assertEqual(told, missing)

    def test_end_in_a_standstill_tells_how_many_lines_are_not_in_the_log(self):
        def lines_beside_probes(log):
            """How many lines a run makes beside those of its probes. Each is in the log or told as lost."""
            with traffic.UdpEnd(self.peer, traffic.PORT) as receiver:
                program = self.device.start("-headless", through=log.through())
                probes = len(receiver.receive_many(50, 20))
                if log is stalling:
                    log.hold()
                probes += len(receiver.receive_many(self.PROBES // 2, 60))
                self.assertEqual(program.stop(), 1)
                probes += len(receiver.receive_for(0.2))
            lost = re.search(r"^linkometry: of the log ([0-9]+) lines are lost$", program.errors(), re.MULTILINE)
            self.assertEqual(bool(lost), log is stalling, program.errors())
            return len(self.device.log_lines()) + (int(lost.group(1)) if lost else 0) - probes

        self.configure(self.device, "udp", peers={"peer": self.peer.address})
        working, stalling = lab.StallingLog(self.device), lab.StallingLog(self.device)
        self.assertEqual(lines_beside_probes(working), lines_beside_probes(stalling))

    def test_device_sends_and_counts_all_probes_while_the_reader_of_its_output_stalls(self):
        self.device.configure("udp", period=self.PERIOD_MS, peers=dict(PEERS, peer=self.peer.address))
        pipe = self.pipe("output")
        with traffic.UdpEnd(self.peer, traffic.PORT) as end:
            program = self.start_into(pipe, "-interval", "0.1")
            lab.eventually(pipe.is_full, 20, f"the reader of {program} stalls")
            end.receive_for(0.5)
            sent = [traffic.parse(datagram.data).sequence for datagram in end.receive_many(self.PROBES // 2, 60)]
            self.assertEqual(sent, list(range(sent[0], sent[0] + len(sent))))
            for number in range(1, 101):
                end.send(traffic.packet(number), self.device.address)
                time.sleep(0.01)
        self.assertTrue(pipe.is_full())
        program.signal(signal.SIGTERM)

        def ended():
            pipe.read()
            return not program.is_running()
        lab.eventually(ended, 20, str(program))
        rows = [json.loads(line) for line in pipe.read().splitlines()]
        last = next(row for row in rows if row.get("final") and row["address"] == self.peer.address)
        self.assertEqual(lab.counts(last, "udp"), {"received": 100, "total": 100, "lost": 0})


class StartStallTest(StallTest):
    def test_log_that_stands_still_from_the_start_does_not_keep_the_program_from_ending(self):
        self.device.configure("udp")
        log = lab.StallingLog(self.device)
        log.hold()
        program = self.device.start("-headless", through=log.through())
        time.sleep(1)
        program.signal(signal.SIGTERM)
        self.assertEqual(program.wait(within=20), 4)
        self.assertIn("linkometry: stopped before the test could start", program.errors())

    def test_settings_that_another_process_has_locked_do_not_keep_the_program_from_ending(self):
        self.device.write_hive("Windows Registry Editor Version 5.00\n\n")
        with open(self.device.hive_path + ".lock", "w", encoding="ascii") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            program = self.device.start("-headless")
            time.sleep(0.5)
            program.signal(signal.SIGTERM)
            # Orderly, when the start gets on without the lock in time; or by the program's own limit.
            self.assertIn(program.wait(within=20), (1, 2, 4))

    def test_second_request_ends_a_start_at_once(self):
        self.device.configure("udp")
        log = lab.StallingLog(self.device)
        log.hold()
        program = self.device.start("-headless", through=log.through())
        time.sleep(1)
        program.signal(signal.SIGTERM)
        time.sleep(0.5)
        program.signal(signal.SIGTERM)
        self.assertEqual(program.wait(within=20), -signal.SIGTERM)
        program.kill_was_sent()
