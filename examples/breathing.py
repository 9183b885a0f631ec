"""Does the monitor tell apnea? Breathing through the external module, then the breath is held."""

import threading

import vrax

BREATHS = 20  # a minute
APNEA = 45  # the last seconds of every minute: from 15 s on
END = 30.0  # seconds of signal

vrax.native.SetDeviceTimeoutSetting(1000, 200)  # ms: tables are read, on a busy machine as well
with vrax.connect() as instrument:
    if not instrument.respiration.has_module:
        raise SystemExit("the instrument has no respiration module")

    ended = threading.Event()

    def on_signal(seconds: float, millivolts: float) -> None:
        """Runs on the thread that computes the signal: it may only note the time."""
        if seconds >= END:
            ended.set()

    instrument.events.on_signal(on_signal, divider=400)  # every hundredth sample
    instrument.respiration.enable()  # first: the module is told its lead only while it is on
    instrument.respiration.set(2000, BREATHS, 1, 500, APNEA)  # milliohms, 1:1, ohms
    instrument.play(vrax.OutputFunction.ECG)
    print(f"{BREATHS} breaths a minute of 2 ohms, held from {60 - APNEA} s on", flush=True)
    ended.wait()
