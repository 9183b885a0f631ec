"""Writes the signal as it is computed to a CSV file, without an instrument.

    signal_to_csv.py FILE [SECONDS]
"""

import queue
import sys

import vrax

path = sys.argv[1]
end = float(sys.argv[2]) if len(sys.argv) > 2 else 3.0
points: "queue.SimpleQueue[tuple[float, float]]" = queue.SimpleQueue()

# listen() needs no instrument: the library computes at the pace at which one would play.
with vrax.listen() as instrument, open(path, "w", encoding="ascii") as file:
    instrument.ecg.sample_rate = 1000
    instrument.ecg.rate = 120
    instrument.ecg.amplitude = 2.0
    # The callback hands on and returns; the file is written by this thread.
    instrument.events.on_signal(lambda seconds, mv: points.put((seconds, mv)), divider=4)
    instrument.play(vrax.OutputFunction.ECG)
    print("time_s,mv", file=file)
    while (point := points.get())[0] < end:
        print(f"{point[0]:.3f},{point[1]:.6f}", file=file)
