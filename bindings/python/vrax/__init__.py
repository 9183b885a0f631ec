"""The patient-signal simulator from Python.

    import vrax

    with vrax.connect() as instrument:
        instrument.ecg.amplitude = 1.5
        instrument.play(vrax.OutputFunction.ECG)

Every function of the C library is in vrax.native, under its own name and with its documentation.
What is refused or fails here raises VraxError.
"""

from vrax.device import Version
from vrax.errors import VraxError
from vrax.instrument import (
    Instrument,
    OutputFunction,
    SynchronizationSignal,
    connect,
    listen,
)
from vrax.loading import LibraryNotFoundError, load
from vrax.native import (
    MODEL_INFORMATION,
    PPG_WAVEFORM,
    VRAXDeviceFeature,
    VRAXHardwareInformation,
)
from vrax.native import BurnStage_E as BurnStage
from vrax.records import RawRecording, Record

__all__ = [
    "MODEL_INFORMATION",
    "PPG_WAVEFORM",
    "BurnStage",
    "Instrument",
    "LibraryNotFoundError",
    "OutputFunction",
    "RawRecording",
    "Record",
    "SynchronizationSignal",
    "VRAXDeviceFeature",
    "VRAXHardwareInformation",
    "Version",
    "VraxError",
    "connect",
    "listen",
    "load",
]
