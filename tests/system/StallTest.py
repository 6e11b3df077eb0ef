"""What can block, and that the program's end waits for none of it: readers, logs, settings files, name servers."""

import contextlib
import fcntl
import json
import os
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
