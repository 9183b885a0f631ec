"""Every function of vrax.h under its own name, with the results that C gives.

Nothing is checked here and nothing raised: vrax itself does that.
"""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from vrax.native.calibration import *
from vrax.native.callbacks import *
from vrax.native.connection import *
from vrax.native.diagnostics import *
from vrax.native.electrodes import *
from vrax.native.files import *
from vrax.native.firmware import *
from vrax.native.information import *
from vrax.native.output import *
from vrax.native.pacing import *
from vrax.native.ppg import *
from vrax.native.raw import *
from vrax.native.rawdc import *
from vrax.native.respiration import *
from vrax.native.sensor import *
from vrax.native.signal import *
from vrax.native.synchronization import *
from vrax.native.tests import *
from vrax.native.waveforms import *
from vrax.native.results import RESULTS as RESULTS
from vrax.native.types import (
    BurnStage_E as BurnStage_E,
    LEDType as LEDType,
    MODEL_INFORMATION as MODEL_INFORMATION,
    OutputFunction_E as OutputFunction_E,
    PPG_WAVEFORM as PPG_WAVEFORM,
    VRAXBaselineResetCallback as VRAXBaselineResetCallback,
    VRAXBurnCallback as VRAXBurnCallback,
    VRAXConnectedCallback as VRAXConnectedCallback,
    VRAXDeviceFeature as VRAXDeviceFeature,
    VRAXHardwareInformation as VRAXHardwareInformation,
    VRAXOutputPPGCallback as VRAXOutputPPGCallback,
    VRAXOutputSignalCallback as VRAXOutputSignalCallback,
    VRAXPPGSamplingCallback as VRAXPPGSamplingCallback,
    VRAXPacingOutputSignalCallback as VRAXPacingOutputSignalCallback,
    VRAXStandardWaveformCallback as VRAXStandardWaveformCallback,
    VRAXSyncDCOffsetCallback as VRAXSyncDCOffsetCallback,
    VRAXSyncFrequencyCallback as VRAXSyncFrequencyCallback,
    VRAXSyncMainFunctionCallback as VRAXSyncMainFunctionCallback,
    VRAXSynchronizationSignal as VRAXSynchronizationSignal,
)
