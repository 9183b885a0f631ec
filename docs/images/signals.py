#!/usr/bin/env python3
"""Draws signals.svg, what the library computes for each test signal and beat.

    PYTHONPATH=bindings/python VRAX_LIBRARY=build/release/lib/libvrax.so docs/images/signals.py
"""

import pathlib

import vrax
from vrax import OutputFunction as Output

SECONDS, RATE = 3, 500
WIDTH, ROW, LEFT, MV = 960, 92, 190, 30  # pixels; of a row, of the names, of a millivolt
SIGNALS = [
    (Output.SINE, "sine"), (Output.TRIANGLE, "triangle"), (Output.SQUARE, "square"),
    (Output.RECT_PULSE, "rectangular pulse"), (Output.TRIANGLE_PULSE, "triangular pulse"),
    (Output.EXP_DECAY, "exponential decay"), (Output.BASELINE_PULSE, "baseline pulse"),
    (Output.ECG, "standard beat"), (Output.CUSTOM_ECG, "customised beat"),
    (Output.JJG1041, "JJG 1041"), (Output.JJG1041_SINGLE_R, "JJG 1041, single R"),
]


def panel(row, name, samples):
    middle = row * ROW + ROW // 2
    step = (WIDTH - LEFT - 10) / len(samples)
    points = " ".join(f"{LEFT + i * step:.1f},{middle - mv * MV:.1f}"
                      for i, mv in enumerate(samples))
    return [f'<text x="10" y="{middle + 4}">{name}</text>',
            f'<path d="M{LEFT} {middle}H{WIDTH - 10}" stroke="#bbb"/>',
            f'<path d="M{LEFT - 12} {middle - MV // 2}v{MV}" stroke="#c33" stroke-width="2"/>',
            f'<polyline points="{points}" fill="none" stroke="#123"/>']


with vrax.listen() as instrument:
    instrument.ecg.rate = 60
    instrument.ecg.amplitude = 2.0
    height = ROW * len(SIGNALS)
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
             f'viewBox="0 0 {WIDTH} {height}" font-family="DejaVu Sans, Verdana, sans-serif" '
             'font-size="13">', f'<rect width="{WIDTH}" height="{height}" fill="white"/>']
    for number, (function, title) in enumerate(SIGNALS):
        lines += panel(number, title, instrument.recordings.render(function, SECONDS, RATE).samples)
pathlib.Path(__file__).with_suffix(".svg").write_text("\n".join([*lines, "</svg>", ""]))
