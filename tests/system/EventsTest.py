"""What the program says of its peers beyond the counts: states, events, the exit status, and the programs that it runs.
The test itself pulls the cables, and knows when."""

import csv
import datetime
import io
import json
import os
import re
import time

import jsonschema

import documents
import lab

PERIOD = 0.2


def validator(name):
    """By a JSON schema that is installed with the program."""
    schema = json.loads(documents.read("packaging", "schema", name))
    jsonschema.Draft202012Validator.check_schema(schema)
    return jsonschema.Draft202012Validator(schema)


def seconds(text):
    """A time of the program's as time.time() has it."""
    return datetime.datetime.strptime(text, "%Y-%m-%dT%H:%M:%S.%fZ").replace(tzinfo=datetime.timezone.utc).timestamp()


class EventsTest(lab.SystemTest):
    def setUp(self):
        super().setUp()
        self.watched = self.lab.device("kitchen")

    def watcher(self, name, *arguments):
        """A device whose program watches the kitchen, and the kitchen sends to it."""
        device = self.lab.device(name)
        device.configure("udp", "ping", period=int(PERIOD * 1000), peers={"kitchen": self.watched.address})
        return device, lambda: device.start("-headless", *arguments)

    def start(self, *watchers):
        self.watched.configure("udp", "ping", period=int(PERIOD * 1000),
                               peers={device.name: device.address for device, _ in watchers})
        self.watched.measure()
        self.watched.wait_until_listening()
        return [start() for _, start in watchers]

    def path(self, device, name):
        return os.path.join(device.folder, name)

    def events(self, device):
        try:
            with open(self.path(device, "events"), encoding="utf-8") as file:
                return [json.loads(line) for line in file.read().split("\n")[:-1]]
        except FileNotFoundError:
            return []

    def wait_for_event(self, device, **facts):
        def look():
            return next((event for event in self.events(device) if facts.items() <= event.items()), None)
        return lab.eventually(look, 20, lambda: f"{facts} in {self.events(device)}", every=0.1)

    def pull_cable_for(self, device, span):
        """Once the device has found all well; the times at which the cable was out and in."""
        self.wait_for_event(device, event="peer_changed", new="reachable")
        time.sleep(1)
        out = time.time()
        self.watched.unplug()
        self.wait_for_event(device, event="peer_changed", new="silent")
        time.sleep(max(0, out + span - time.time()))
        self.watched.plug()
        back = time.time()
        self.wait_for_event(device, event="outage_ended")
        self.wait_for_event(device, event="peer_changed", old="silent")
        return out, back

    def silences(self, device):
        return sum(event["event"] == "peer_changed" and event["new"] == "silent" for event in self.events(device))

    def check_outage(self, events, out, back):
        began = next(event for event in events if event.get("new") == "silent" and event["event"] == "peer_changed")
        ended = next(event for event in events if event["event"] == "outage_ended")
        # The last probe before the cable was out, and the first one after it was in again.
        self.assertAlmostEqual(seconds(began["time"]), out, delta=2 * PERIOD + 0.5)
        self.assertGreater(seconds(began["noticed"]), out + 2)
        self.assertGreater(seconds(ended["time"]), back)
        self.assertAlmostEqual(ended["seconds"], seconds(ended["time"]) - out, delta=2 * PERIOD + 0.5)
        self.assertEqual(ended["kinds"], ["udp", "ping"])
        # Both kinds have missed a probe a period, as their numbers tell. A busy machine sends fewer.
        self.assertIn(ended["missed"], range(4, round(2 * ended["seconds"] / PERIOD) + 5))

    def test_a_pulled_cable_is_told_in_every_format(self):
        rows, texts, table = (self.watcher("hall", "-format", "json", "-interval", "0.5", "-events", "events"),
                              self.watcher("attic", "-format", "events", "-events", "events"),
                              self.watcher("cellar", "-format", "csv", "-interval", "0.5", "-events", "events"))
        in_json, in_words, in_csv = self.start(rows, texts, table)
        out, back = self.pull_cable_for(rows[0], 6)
        in_json.wait_for_row(self.watched.address, lambda row: row["state"] == "reachable" and row["outage_count"] == 1
                             and row["outages"][0]["ended"])
        for device, _ in (texts, table):
            self.wait_for_event(device, event="peer_changed", old="silent")
        self.assertEqual([program.stop() for program in (in_json, in_words, in_csv)], [0, 0, 0])
        self.check_json(in_json, rows[0], out, back)
        self.check_words(in_words)
        self.check_csv(in_csv)

    def check_json(self, program, device, out, back):
        of_events, of_rows = validator("event.schema.json"), validator("snapshot.schema.json")
        events = self.events(device)
        for event in events:
            of_events.validate(event)
            self.assertEqual(event["observer"], {"address": device.address, "name": device.name})
        self.assertEqual([event["number"] for event in events], list(range(1, len(events) + 1)))
        self.check_outage(events, out, back)
        for row in program.rows():
            of_rows.validate(row)
        states = [row["state"] for row in program.rows()]
        self.assertEqual([state for state, before in zip(states, [None, *states]) if state != before and state not in
                          ("waiting", "partial", "degraded")], ["reachable", "silent", "reachable"])
        silent = next(row for row in program.rows() if row["state"] == "silent")
        # Two minutes from now it would say the same: the counts stand still.
        self.assertEqual(silent["quality"], 100)
        self.assertEqual((silent["udp"]["state"], silent["ping"]["state"]), ("silent", "silent"))
        self.assertIsNone(silent["tcpip"]["state"])
        self.assertAlmostEqual(seconds(silent["since"]), out, delta=2 * PERIOD + 0.5)
        last = program.rows()[-1]
        self.assertEqual((last["outage_count"], last["restart_count"], last["hops"]), (1, 0, 0))
        self.assertGreater(last["rtt_us"]["count"], 5)
        self.assertLessEqual(last["rtt_us"]["min"], last["rtt_us"]["p50"])
        received = {kind: sum(row[kind]["interval"]["received"] for row in program.rows()) for kind in ("udp", "ping")}
        self.assertEqual(received["udp"], last["udp"]["received"])
        # The list counts pings from the second one on.
        self.assertIn(received["ping"] - last["ping"]["received"], (0, 1))

    def check_words(self, program):
        *lines, verdict = program.output().split("\n")[:-1]
        self.assertEqual(verdict, "1 of 1 peer reachable (quality at least 1 %)" if "degraded" not in verdict else
                         "1 of 1 peer reachable (quality at least 1 %), 1 degraded")
        for line in lines:
            self.assertRegex(line, r"^\d\d:\d\d:\d\d  10\.77\.0\.1 \(kitchen\)(:| is) .+$")
        text = "\n".join(lines)
        self.assertRegex(text, r"\(kitchen\) is silent, after \d:\d\d reachable")
        self.assertRegex(text, r"\(kitchen\): outage of Udp, Ping is over after 0:\d\d, \d+ probes missed")

    def check_csv(self, program):
        with open(program.output_path, encoding="utf-8", newline="") as file:
            text = file.read()
        self.assertTrue(text.endswith("\r\n"))
        self.assertEqual(text.count("\n"), text.count("\r\n"))
        records = list(csv.DictReader(io.StringIO(text, newline=""), strict=True))
        self.assertEqual({len(record) for record in records}, {len(next(csv.reader(io.StringIO(text, newline=""))))})
        self.assertEqual({record["label"] for record in records}, {"10.77.0.1 (kitchen)"})
        self.assertIn("silent", [record["state"] for record in records])
        self.assertEqual([record["final"] for record in records], ["false"] * (len(records) - 1) + ["true"])
        self.assertEqual(records[-1]["outage_count"], "1")

    def test_a_silence_decides_about_the_exit_status(self):
        strict, lenient, patient = (self.watcher("hall", "-events", "events"), self.watcher("attic", "-allowsilent", "-events", "events"),
                                    self.watcher("cellar", "-maxsilence", "1", "-events", "events"))
        first, second, third = self.start(strict, lenient, patient)
        self.pull_cable_for(strict[0], 4)
        # It is heard again; only the one that asks for it remembers.
        self.wait_for_event(patient[0], event="peer_changed", old="silent")
        self.assertEqual(third.stop(), 1)
        self.assertIn("1 of 1 peer reachable (quality at least 1 %)", third.output())
        self.assertIn(", 1 silent for too long\n", third.output())
        self.watched.unplug()
        for device, _ in (strict, lenient):
            lab.eventually(lambda device=device: self.silences(device) == 2, 20,
                           lambda device=device: self.events(device), every=0.1)
        self.assertEqual(first.stop(), 1)
        self.assertIn("\n0 of 1 peer reachable (quality at least 1 %), 1 silent\n", first.output())
        self.assertEqual(second.stop(), 0)
        self.assertIn("\n1 of 1 peer reachable (quality at least 1 %), 1 silent\n", second.output())

    def test_a_program_is_run_for_each_change_with_the_facts_in_its_environment(self):
        script = 'env | grep ^LINKOMETRY_ >>"facts-$LINKOMETRY_EVENT-$LINKOMETRY_NUMBER"; exit 3'
        prompt, slow = (self.watcher("hall", "-events", "events", "-onchange", "./told"),
                        self.watcher("attic", "-onchange", "./told", "-alertafter", "60"))
        for device, _ in (prompt, slow):
            with open(self.path(device, "told"), "w", encoding="ascii") as file:
                file.write(f"#!/bin/sh\n{script}\n")
            os.chmod(self.path(device, "told"), 0o755)
        first, second = self.start(prompt, slow)
        self.pull_cable_for(prompt[0], 4)
        ended = self.wait_for_event(prompt[0], event="outage_ended")
        name = f"facts-outage_ended-{ended['number']}"
        lab.eventually(lambda: os.path.exists(self.path(prompt[0], name)), 20, lambda: os.listdir(prompt[0].folder))
        self.assertEqual((first.stop(), second.stop()), (0, 0))
        with open(self.path(prompt[0], name), encoding="utf-8") as file:
            facts = dict(line.split("=", 1) for line in file.read().split("\n")[:-1])
        self.assertEqual((facts["LINKOMETRY_NAME"], facts["LINKOMETRY_KINDS"], facts["LINKOMETRY_MISSED"],
                          facts["LINKOMETRY_OBSERVER_NAME"], facts["LINKOMETRY_TEXT"]),
                         ("kitchen", "udp ping", str(ended["missed"]), "hall", ended["text"]))
        self.assertEqual(first.errors().count("the program of -onchange, ./told, has ended with status 3\n"), 1)
        # Nothing has lasted for a minute.
        self.assertEqual([name for name in os.listdir(slow[0].folder) if name.startswith("facts-")], [])

    def test_a_file_of_events_that_cannot_be_written_is_said_in_words_and_ends_with_status_4(self):
        device = self.watched
        device.configure("udp")
        program = device.start("-headless", "-duration", "30", "-events", "no/events")
        self.assertEqual(program.wait(), 4)
        self.assertEqual(program.errors(), "linkometry: cannot write events to no/events: No such file or directory\n")
        self.assertEqual(program.output(), "")
        self.assertFalse(os.path.exists(device.log_path))

    def test_events_that_are_lost_are_a_failure_though_every_peer_is_reached(self):
        device = self.watched
        device.configure("ping")
        program = device.start("-headless", "-events", "/dev/full", "127.0.0.1")
        lab.eventually(lambda: "events to /dev/full" in program.errors(), 20, program)
        self.assertEqual(program.stop(), 1)
        self.assertEqual(len(re.findall("cannot write events to /dev/full: No space left on device; no more are written\n",
                                        program.errors())), 1)

    def test_the_documentation_shows_rows_and_events_that_the_schemas_allow(self):
        (row,), = documents.examples(documents.section("formats.md", "## Snapshots as JSON"))
        validator("snapshot.schema.json").validate(json.loads(row))
        chapter = documents.section("formats.md", "## Events")
        event = json.loads(documents.examples(chapter)[1][0])
        schema = validator("event.schema.json")
        schema.validate(event)
        described = [name for cell in documents.first_cells(chapter) for name in cell]
        kinds = [each["properties"]["event"]["const"] for each in schema.schema["oneOf"]]
        self.assertEqual([name for name in described if name in kinds], kinds)
        event["missed"] = "many"
        self.assertRaises(jsonschema.ValidationError, schema.validate, event)
