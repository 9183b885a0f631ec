"""The programs of examples/ against the simulated instrument: what it received, and what they say.

Arguments: the project's folder, the folder of the built programs, libvrax.so, then unittest's.
"""

import csv
import math
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import unittest

ROOT, PROGRAMS, LIBRARY = (pathlib.Path(argument) for argument in sys.argv[1:4])
PATIENT = 110  # seconds: a wait that ends by this limit is a failure
CODE_MV = 1 / 1600  # one step of the AC converter


def peaks(times, values, apart):
    """Times of the maxima above half of the highest value, `apart` seconds or more from another."""
    limit, found, start = max(values) / 2, [], None
    for i, value in enumerate(values):
        if value <= limit:
            continue
        if start is None or times[i] - times[start] > apart:
            found.append(i)
            start = i
        elif value > values[found[-1]]:
            found[-1] = i
    return [times[i] for i in found]


class Example(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def command(self, example, *arguments):
        if example.endswith(".py"):
            return [sys.executable, str(ROOT / "examples" / example), *arguments]
        return [str(PROGRAMS / example), *arguments]

    def start(self, command, *options, **more):
        environment = {**os.environ, "PYTHONPATH": str(ROOT / "bindings/python"),
                       "VRAX_LIBRARY": str(LIBRARY), "PYTHONDONTWRITEBYTECODE": "1"}
        files = ["--record", str(self.folder / "record.csv"), "--trace", str(self.folder / "trace")]
        instrument = [str(PROGRAMS / "vrax-instrument"), *files, *options, "--", *command]
        process = subprocess.Popen(instrument, cwd=self.folder, env=environment, text=True,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, **more)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.kill)
        return process

    def run_example(self, *command, options=()):
        process = self.start(self.command(*command), *options)
        output, _ = process.communicate(timeout=PATIENT)
        self.assertEqual(process.returncode, 0, output)
        return output.splitlines()

    def record(self, *names):
        """Column to values."""
        with open(self.folder / "record.csv", newline="", encoding="ascii") as file:
            rows = csv.reader(file)
            head = next(rows)
            places = [head.index(name) for name in names]
            columns = zip(*([float(row[place]) for place in places] for row in rows))
            return dict(zip(names, map(list, columns)))

    def trace(self, what):
        """(seconds, text) of each request of this kind."""
        text = (self.folder / "trace").read_text()
        return [(float(at), rest) for at, rest in
                re.findall(rf"^\s*([0-9.]+) > {what}: (.*)$", text, re.MULTILINE)]

    def beats(self, record):
        return peaks(record["time_s"], record["ac_mv"], 0.2)

    def test_first_ecg(self):
        self.assertIn("connected to TEC", self.run_example("first_ecg")[0])
        record = self.record("time_s", "ac_mv")
        beats = self.beats(record)
        self.assertGreaterEqual(len(beats), 11)
        for first, second in zip(beats, beats[1:]):
            self.assertAlmostEqual(second - first, 60 / 72, delta=0.001)
        self.assertAlmostEqual(max(record["ac_mv"]) - min(record["ac_mv"]), 1.5, delta=0.01)

    def test_pacing_detection(self):
        self.assertEqual(len(self.run_example("pacing_detection")), 5)
        record = self.record("time_s", "pulse_mv")
        pulses, before = [], 0.0  # [height, samples]
        for level in record["pulse_mv"]:
            if level != 0 and before == 0:
                pulses.append([level, 0])
            if level != 0:
                pulses[-1][1] += 1
            before = level
        heights = [round(height) for height, _ in pulses]
        self.assertEqual(list(dict.fromkeys(heights)), [2, -2, 20, -20, 700])
        rate = 1 / (record["time_s"][1] - record["time_s"][0])
        for _, samples in pulses[:-1]:  # the end of the run may cut the last
            self.assertAlmostEqual(1000 * samples / rate, 2.0, delta=0.06)

    def test_lead_off(self):
        self.run_example("lead_off")
        words = [bytes.fromhex(text) for _, text in self.trace("lead-off relays")]
        bits = [[bit for bit in (11, 13, 14) if int.from_bytes(word[5:8], "big") >> bit & 1]
                for word in words]
        # Modes 3, 2, 1 and 0, as the header tells what each sets and leaves.
        self.assertEqual(bits, [[11], [13], [13, 14], [14]])

    def test_hot_plug(self):
        control = self.folder / "control"
        process = self.start(self.command("hot_plug"), "--control", str(control),
                             stderr=subprocess.DEVNULL)
        self.assertTrue(process.stdout.readline().startswith("here: TEC"))
        control.write_text("unplug\n")
        self.assertEqual(process.stdout.readline(), "gone\n")
        control.write_text("plug\n")
        self.assertTrue(process.stdout.readline().startswith("here: TEC"))
        process.communicate("\n", timeout=PATIENT)
        self.assertEqual(process.returncode, 0)

    def test_rate_alarms(self):
        self.assertEqual(len(self.run_example("rate_alarms", "4")), 4)
        beats = self.beats(self.record("time_s", "ac_mv"))
        intervals = [round(b - a, 3) for a, b in zip(beats, beats[1:])]
        # Between two steps one interval begins with the old rate and ends with the new one.
        steps = [60 / 80, 60 / 35, 60 / 80, 60 / 160]
        seen = [step for step in intervals if any(abs(step - wanted) < 0.002 for wanted in steps)]
        changes = [step for i, step in enumerate(seen) if i == 0 or abs(step - seen[i - 1]) > 0.01]
        self.assertEqual(len(changes), len(steps), intervals)
        for change, wanted in zip(changes, steps):
            self.assertAlmostEqual(change, wanted, delta=0.002)
        self.assertLessEqual(len(intervals) - len(seen), 3)

    def test_play_recording(self):
        rate = 500
        samples = [round(3 * math.sin(2 * math.pi * i / 250), 3) for i in range(1000)]
        lines = [str(rate), str(len(samples)), "2", "none,sine", *(f"0,{mv}" for mv in samples)]
        (self.folder / "record.txt").write_text("\n".join(lines) + "\n")
        self.assertEqual(self.run_example("play_recording", "record.txt", "1"), ["1000 samples"])
        record = self.record("time_s", "ac_mv")
        # The middle of each sample: at its edges the play clock may be on either side.
        at_middle = {}
        for seconds, mv in zip(record["time_s"], record["ac_mv"]):
            if 0.3 < seconds * rate % 1 < 0.7:
                at_middle.setdefault(int(seconds * rate), mv)
        for i, wanted in enumerate(samples):
            self.assertAlmostEqual(at_middle[i], wanted, delta=CODE_MV)

    def test_ppg_pulse(self):
        self.run_example("ppg_pulse", options=("--ppg", "3407"))
        record = self.record("time_s", "ac_mv", "ppg1_dc_mv", "ppg1_ac_mv", "ppg2_dc_mv",
                             "ppg2_ac_mv")
        times = record["time_s"]
        beats = self.beats(record)
        whole = slice(times.index(next(t for t in times if t >= 0.8)),
                      times.index(next(t for t in times if t >= 4.0)))  # four pulses
        for channel, percent in ((1, 1.0), (2, 2.0)):
            ac = record[f"ppg{channel}_ac_mv"][whole]
            dc = record[f"ppg{channel}_dc_mv"][whole]
            ratio = 100 * (max(ac) - min(ac)) / (sum(dc) / len(dc))
            self.assertAlmostEqual(ratio, percent, delta=0.03 * percent)
            lowest = min(ac)
            pulses = peaks(times[whole], [value - lowest for value in ac], 0.5)
            self.assertEqual(len(pulses), 4)
            for pulse in pulses:
                self.assertLess(min(abs(pulse - beat - 0.25) for beat in beats), 0.003)

    def test_external_start(self):
        process = self.start(self.command("external_start"))
        self.assertTrue(process.stdout.readline().startswith("ready"))
        time.sleep(1)  # the mark comes so late
        output, _ = process.communicate("\n", timeout=PATIENT)
        self.assertEqual((process.returncode, output), (0, "started\n"))
        first_packet = self.trace("stream packet")[0][0]
        commands = [at for at, _ in self.trace("relays") if at < first_packet]
        self.assertGreaterEqual(first_packet - commands[-1], 1.0)

    def test_breathing(self):
        self.run_example("breathing.py", options=("--respiration", "--pace", "fast"))
        record = self.record("time_s", "respiration_ohm")
        ohms = list(zip(record["time_s"], record["respiration_ohm"]))
        breathing = [ohm for seconds, ohm in ohms if seconds < 14.9]
        self.assertAlmostEqual(min(breathing), 50.0, delta=0.1)
        self.assertAlmostEqual(max(breathing), 52.0, delta=0.1)
        crests = peaks(*zip(*((at, ohm - 50) for at, ohm in ohms if at < 14.9)), 2.0)
        self.assertEqual(len(crests), 5)
        for first, second in zip(crests, crests[1:]):
            self.assertAlmostEqual(second - first, 60 / 20, delta=0.15)
        self.assertEqual(len({ohm for seconds, ohm in ohms if 15.1 < seconds < 29.9}), 1)

    def test_calibration_table(self):
        flash = self.folder / "flash"
        program = ("import vrax\nvrax.native.SetDeviceTimeoutSetting(3000, 3000)\n"
                   "with vrax.connect(timeout=60) as i: "
                   "i.calibration.write([60000 - 10 * n for n in range(4001)])")
        process = self.start([sys.executable, "-c", program], "--flash", str(flash))
        process.communicate(timeout=PATIENT)
        self.assertEqual(process.returncode, 0)
        (self.folder / "calibration.dat").unlink()
        lines = self.run_example("calibration_table.py", options=("--flash", str(flash)))
        expected = [f"{mv},{60000 - 10 * (mv + 2000)}" for mv in range(-2000, 2001, 100)]
        self.assertEqual(lines, ["mv,code", *expected])

    def test_signal_to_csv(self):
        self.run_example("signal_to_csv.py", "signal.csv", "2", options=("--none",))
        with open(self.folder / "signal.csv", newline="", encoding="ascii") as file:
            rows = list(csv.reader(file))
        self.assertEqual(rows[0], ["time_s", "mv"])
        seconds = [float(row[0]) for row in rows[1:]]
        values = [float(row[1]) for row in rows[1:]]
        for i, at in enumerate(seconds):
            self.assertAlmostEqual(at, i / 1000, delta=0.0015)
        self.assertAlmostEqual(max(values) - min(values), 2.0, delta=0.05)
        beats = peaks(seconds, values, 0.2)
        self.assertEqual(len(beats), 4)
        for first, second in zip(beats, beats[1:]):
            self.assertAlmostEqual(second - first, 0.5, delta=0.0015)


class Folder(unittest.TestCase):
    def test_the_text_lists_every_program_and_each_short_one_is_tried_here(self):
        listed = set(re.findall(r"^\| \[(\w+\.\w+)\]", (ROOT / "examples/README.md").read_text(),
                                re.MULTILINE))
        programs = {path.name for path in (ROOT / "examples").glob("*.*")
                    if path.suffix in (".c", ".cpp", ".py")}
        self.assertEqual(listed, programs)
        tried = {name.removeprefix("test_") for name in dir(Example) if name.startswith("test_")}
        short = programs - {"play_ecg.cpp", "play_ppg.cpp", "play_respiration.cpp"}
        self.assertEqual({pathlib.Path(name).stem for name in short}, tried)
        for name in short:
            with self.subTest(example=name):
                self.assertLess(len((ROOT / "examples" / name).read_text().splitlines()), 80)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
