"""What the single results of each function mean; true is 1, false 0."""

# Written by tools/generate_native.py from vrax.h; changes belong there.

from __future__ import annotations

from typing import Dict

RESULTS: Dict[str, Dict[int, str]] = {
    "VRAXInit": {
        1: "the connect thread runs",
        0: "it could not be started",
    },
    "VRAXConnect": {
        1: "connected",
        0: (
            "the connect thread could not be started, or there was no connection in time; "
            "VRAXFree() has been called in the second case"
        ),
    },
    "VRAXIsConnected": {
        1: "an instrument is connected and prepared",
        0: "it is not: never found, still in preparation, or lost",
    },
    "VRAXIsPPGConnected": {
        1: "an instrument is connected and a PPG module is fitted",
        0: "otherwise",
    },
    "VRAXGetDeviceInformation": {
        1: "copied",
        0: "no instrument is connected, or `info` is null",
    },
    "VRAXGetPPGDeviceInformation": {
        1: "copied",
        0: "no module has identified itself, or `info` is null",
    },
    "VRAXGetHWInformation": {
        1: "copied",
        0: "`info` is null",
    },
    "VRAXGetPPGHWInformation": {
        1: "copied",
        0: "`info` is null",
    },
    "VRAXSetDeviceInformation": {
        1: "written and acknowledged; the library's copy of the record is replaced",
        0: (
            "no port is open, `info` is null, or a step was not answered as it should be; "
            "after the erase the record in the instrument may be lost"
        ),
    },
    "VRAXSetHWInformation": {
        1: "written and acknowledged",
        0: "no port is open, or a step was not answered as it should be",
    },
    "VRAXReadMfgInfo": {
        1: "read",
        0: (
            "no port is open, `buffer` is null, `length` is negative, or the instrument did "
            "not answer"
        ),
    },
    "VRAXWriteMfgInfo": {
        1: "written",
        0: (
            "no port is open, `buffer` is null, `length` is negative, or the instrument did "
            "not answer; after the erase the old block is lost"
        ),
    },
    "VRAXEnableFPGASampling": {
        1: "acknowledged",
        0: "no port is open or the instrument did not acknowledge",
    },
    "VRAXConfigureTransmissionRate": {
        1: "written, nothing to write, or another module",
        0: "a write failed; the rest was not tried",
    },
    "VRAXGetTransmissionRate": {
        1: "both stored",
        0: "another module or none, `channel` is outside its range, or a pointer is null",
    },
    "SaveCalibrationData": {
        0: "written",
        -1: "the file cannot be opened, or `dir` is null",
    },
    "LoadCalibrationData": {
        0: "taken; the next DC level uses it",
        -1: (
            "the file is missing or short (the table stays), or one of its entries 1000 to "
            "2999 is 255 (the table is then the straight line)"
        ),
    },
    "GetCalibrationCacheEx": {
        4001: "copied",
        0: (
            "`size` is too small, `buffer` is null, no directory is set, or the file is "
            "missing or short"
        ),
    },
    "ClearCalibrationCache": {
        0: "the file is deleted",
        -1: "it could not be deleted; the cache is dropped all the same",
    },
    "ValidateDCCalibrationData": {
        1: "every entry of the ECG DC table from -500 mV to 500 mV is programmed",
        0: "one of them is 0xFFFF",
    },
    "ReadDCCalibrationData": {
        1: "read; the next DC level uses it",
        0: (
            "no instrument, or it did not answer in full: the table then holds what was read,"
            " and zeros"
        ),
    },
    "WriteDCCalibrationData": {
        1: "written to the flash",
        0: (
            "`count` is not 4001 or `values` is null (nothing has changed), or the flash "
            "could not be written (the table in memory is replaced, the file is not)"
        ),
    },
    "ClearDCCalibrationData": {
        1: "erased",
        0: "an erase failed; cache and file stay",
    },
    "LoadFirmwareFile": {
        -1: "the file cannot be opened",
        -2: "the size of the file cannot be read, or a pointer is null",
        -4: "there is no memory for the image",
        -5: "the file could not be read as far as it should go",
        -6: "the file is too short, or the letters are others",
    },
    "BurnFirmware": {
        0: "burnt, verified, restarted and connected again; told as 100",
        -1: "cancelled, which is not told",
        -2: "no image is loaded; nothing was touched",
        -3: (
            "no instrument is connected, or the call was made from a callback other than the "
            "connection listener; nothing was touched"
        ),
        -5: "a frame could not be sent; told as -5, while verifying as -7",
        -6: "a frame was not answered in full; told as -6, while verifying as -8",
        -9: "what was read back is not what was written",
        -10: "the restart could not be sent",
        -11: "the instrument was not found within ten attempts on all ports",
    },
    "LoadMcuFile": {
        -1: "the file cannot be opened",
        -2: "the size of the file cannot be read, or a pointer is null",
        -4: "there is no memory for the image, or it has 2 GB or more",
        -5: "the file could not be read to its end",
        -6: "all four letters are others",
    },
    "BurnMcu": {
        0: "burnt, verified, restarted and connected again; told as 100",
        -1: "cancelled",
        -2: "no program is loaded; nothing was touched",
        -3: (
            "no instrument is connected, or the call was made from a callback other than the "
            "connection listener; nothing was touched"
        ),
        -4: "the MCU did not enter update mode; this is not told",
        -5: "a frame could not be sent; told as -5, while verifying as -7",
        -6: "a frame was not answered in full; told as -6, while verifying as -8",
        -9: "what was read back is not what was written",
        -11: "the instrument was not found within ten attempts on all ports",
    },
    "VRAXSetOutputFunction": {
        0: "selected",
        -1: (
            "no instrument is open and no connection listener is registered; a run that "
            "exists can be stopped all the same"
        ),
    },
    "VRAXIsPlaying": {
        1: "a signal is being streamed, or photodiode sampling runs",
        0: "neither",
    },
    "VRAXSetOutputLead": {
        0: "switched, or it was so already",
        -1: "no instrument is open and no connection listener is registered",
    },
    "VRAXEnableECGOutput": {
        0: "stored, with or without an instrument",
    },
    "VRAXEnableACAboveDC": {
        0: "stored, with or without an instrument",
    },
    "VRAXSetAmplitude": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
        -3: "refused while the baseline reset test is on",
    },
    "VRAXSetFrequency": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: (
            "out of range, or above 5 Hz while OUTPUT_RECT_PULSE or OUTPUT_TRIANGLE_PULSE is "
            "selected"
        ),
        -3: "refused while a frequency scan runs",
        -4: "refused while the baseline reset test is on",
    },
    "VRAXSetDCOffset": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetDCOffsetVariableMode": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
    },
    "VRAXSetDCOffsetCommonMode": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
    },
    "SetDCOffsetCommoneMode": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
    },
    "VRAXSetPulseWidth": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetInputImpedanceMode": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
    },
    "VRAXSetQRSDuration": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetTWave": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetPDuration": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetPRInterval": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetQTInterval": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetPWave": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetSTDeviation": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetCustomizedTDuration": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetSpecialWave227": {
        0: "stored, with or without an instrument",
    },
    "VRAXSetSpecialWave251": {
        0: "stored, with or without an instrument",
    },
    "VRAXSetSpecialWave247": {
        0: "stored, with or without an instrument",
    },
    "VRAXSetANE20000Lead": {
        0: "stored, with or without an instrument",
        -1: "out of range",
    },
    "DumpIEC227Waveform": {
        0: "written",
        -3: "the file cannot be opened, or `n` names no waveform (then no file is touched)",
        -6: "a line could not be written; the file stays, partly written",
    },
    "DumpIEC251Waveform": {
        0: "written",
        -3: "the file cannot be opened, or `n` names no waveform (then no file is touched)",
        -6: "a line could not be written; the file stays, partly written",
    },
    "DumpIEC247Waveform": {
        0: "written",
        -3: "the file cannot be opened, or `n` names no waveform (then no file is touched)",
        -6: "a line could not be written; the file stays, partly written",
    },
    "DumpStandardWaveform": {
        0: "written",
        -3: "the file cannot be opened, or a needed pointer is null",
        -6: "a line could not be written; the file stays, partly written",
    },
    "VRAXSetPacingPulseMode": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
    },
    "VRAXSetPacingAmplitude": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetPacingDuration": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetPacingRate": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetPacingRateSynchronized": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "60 times the frequency lies outside 10 to 360 per minute",
    },
    "VRAXSetOvershootTimeConstant": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetOvershootAmplitude": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXApplyPacing": {
        1: "acknowledged by the instrument, or noted for the packet thread to send",
        0: "no instrument, or it did not acknowledge",
    },
    "VRAXSetBaselineResetTest": {
        0: "stored, or it was so already",
        -1: "no instrument is open and no connection listener is registered",
    },
    "VRAXSetECG2_27_Noise": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "`amp` is out of range; neither value is stored",
    },
    "VRAXSetNSTNoise": {
        0: "stored, with or without an instrument",
        -1: "refused while a signal plays",
        -2: "gain out of range",
    },
    "VRAXSetECG2_27_AAMIDriftTest": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
    },
    "VRAXSetECG2_27_AAMIDriftTestAmplitude": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetECG2_27_AAMIDriftTestFrequency": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
    },
    "VRAXSetDynamicRangeTest": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "`amplitude` is out of range; nothing is stored",
        -3: "`frequency` is out of range; nothing is stored",
    },
    "VRAXSetFrequencyScanSine": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "`start` is out of range; nothing is stored",
        -3: "`stop` is out of range; nothing is stored",
        -4: "`seconds` is out of range; nothing is stored",
    },
    "VRAXSetFrequencyScanECG": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
    },
    "VRAXSetLeadOff": {
        1: "the instrument answered",
        0: "no instrument, another mode (nothing is sent or logged then), or no answer",
    },
    "VRAXMeasureRLD": {
        1: "acknowledged by the instrument",
        0: "no instrument (nothing is logged then), or no acknowledgement",
    },
    "VRAXReadRLD": {
        1: "read",
        0: "no instrument, a null pointer, or no acknowledgement; nothing is stored",
    },
    "VRAXSetRespiration": {
        1: "accepted by the instrument",
        0: (
            "no instrument or an argument out of range (nothing is stored, logged or sent "
            "then), or not accepted; the values are stored then"
        ),
    },
    "VRAXSetCalibrationRespiration": {
        1: "accepted by the instrument",
        0: "no instrument (nothing is stored then), or not accepted",
    },
    "VRAXEnableRespiration": {
        1: "an instrument is open",
        0: (
            "stored, but nothing was sent: no instrument is open, or the output was switched "
            "off while the call waited for its turn"
        ),
    },
    "VRAXSetRespirationAlgorithm": {
        1: "stored",
        0: "out of range; nothing changes",
    },
    "VRAXSetRespirationRawData": {
        1: "stored",
        0: "a null pointer, or `count` or `rate` below 1, or no memory; the old record stays",
    },
    "VRAXExternalRespiratorySetBaseline": {
        1: "done",
        0: "no instrument or module, or no acknowledgement",
    },
    "VRAXExternalRespiratorySetDAC": {
        1: "acknowledged",
        0: "no instrument or module, or no acknowledgement",
    },
    "VRAXExternalRespiratorySetBaselineDAC": {
        1: "acknowledged",
        0: "no instrument or module, or no acknowledgement",
    },
    "VRAXExternalRespiratorySetAmplitudeByResistance": {
        1: "acknowledged",
        0: "no instrument or module, or no acknowledgement",
    },
    "VRAXWriteRespirationRWA": {
        1: "stored",
        0: "no instrument, or a part was not acknowledged; the coefficients in force stay",
    },
    "VRAXExternalRespiratoryWriteRDAC3": {
        1: "stored",
        0: (
            "no instrument, a null pointer, or a part was not acknowledged; the table in "
            "force stays"
        ),
    },
    "VRAXWriteRespirationBaselineDACTable": {
        1: "stored",
        0: (
            "no instrument, a null pointer, or a part was not acknowledged; the table in "
            "force stays"
        ),
    },
    "SetPPGWaveform": {
        0: "cleared, or a frequency that is no number",
        -1: "a signal plays or photodiode sampling runs",
        -2: "another channel",
        -3: "another shape",
        -4: "frequency out of range",
        -5: "DC level out of range",
        -6: "AC amplitude out of range",
        -7: "no memory; the old pulse stays",
    },
    "VRAXSetPPGStandardWaveform": {
        0: "cleared, or a frequency that is no number",
        -1: "a signal plays or photodiode sampling runs",
        -2: "another channel",
        -3: "another shape",
        -4: "frequency out of range",
        -5: "DC level out of range",
        -6: "AC amplitude out of range",
        -7: "no memory; the old pulse stays",
    },
    "VRAXSetPPGStandardWaveformEx": {
        0: "cleared, or a frequency that is no number",
        -1: "a signal plays or photodiode sampling runs",
        -2: "another channel",
        -3: "another shape",
        -4: "frequency out of range",
        -5: "DC level out of range",
        -6: "AC amplitude out of range",
        -7: "no memory; the old pulse stays",
    },
    "VRAXSetPPGRawData": {
        0: "copied",
        -1: "a signal plays or photodiode sampling runs",
        -2: "another channel",
        -3: "`count` is below 1",
        -4: "`dc` is null",
        -5: "`ac` is null",
        -6: "`sampleRate` is 0 or below",
        -7: "no memory; the old pulse stays",
    },
    "VRAXSetPPGRespirationAlgorithm": {
        1: "stored; all three are 0 at load",
        0: "one is outside 0 to 100; nothing has changed",
    },
    "VRAXEnablePPGOutput": {
        0: "stored",
        -1: "a signal plays or photodiode sampling runs",
        -2: "another channel",
    },
    "SetPPGTriggerLevel": {
        0: "sent and answered",
        -1: "no instrument",
        -2: "no such position",
        -3: "the level is out of range",
        -4: "no answer",
    },
    "GetPPGTriggerLevel": {
        -1: "no instrument",
        -2: "no such position",
        -3: "no answer, or one to another question",
    },
    "ResetPPGTriggerLevel": {
        0: "done",
        -1: "no instrument",
        -2: "the factory levels cannot be read, or were never written",
        -3: "what was read is not marked as valid",
        -4: "a level could not be sent; the rest was not tried",
    },
    "SetPPGLedLevel": {
        0: "sent and answered",
        -1: "no such position",
        -2: "the level is out of range",
        -3: "no instrument or no answer",
    },
    "ResetPPGLedLevel": {
        0: "done",
        -1: "no instrument, or the factory levels cannot be read or were never written",
        -2: "what was read is not marked as valid",
        -3: "a level could not be sent; the rest was not tried",
    },
    "GetAutoTriggerLevelStatus": {
        1: "read",
        0: "no instrument, no answer, or `status` is null; nothing is stored",
    },
    "VRAXEnableDynamicLEDStrength": {
        1: "acknowledged",
        0: "no instrument or no acknowledgement",
    },
    "SetDynamicLight": {
        0: "switched, or nothing to do",
        -1: "no instrument or no answer",
    },
    "VRAXSetLEDAmbientLightMode": {
        0: "sent",
        -1: "no PPG module",
        -2: "the mode is out of range; it is not logged",
        -3: "not sent or no answer",
    },
    "VRAXGetLEDAmbientLightMode": {
        -1: "no PPG module",
        -2: "no answer",
        -3: "not acknowledged",
    },
    "VRAXReadLEDPulseGroupSetting": {
        1: "read",
        0: (
            "a null pointer, a signal plays or sampling runs, or no acknowledgement; nothing "
            "is stored"
        ),
    },
    "VRAXWriteLEDPulseGroupSetting": {
        1: "acknowledged",
        0: "a null pointer, a signal plays or sampling runs, or no acknowledgement",
    },
    "GetPDStatus": {
        0: "all six stored",
        -1: "no instrument",
        -2: "a signal plays or photodiode sampling runs",
        -3: "a null pointer or no answer",
        -4: "not acknowledged, or the module reports a fault",
    },
    "VRAXGetFPGAReport": {
        1: "read",
        0: "no instrument, no answer, or `report` is null; nothing is stored",
    },
    "VRAXEnablePPGSampling": {
        0: "done",
        -1: "no instrument",
        -2: "no PPG module",
        -3: "a signal plays, sampling runs, or an image is burnt",
    },
    "VRAXDisablePPGSampling": {
        0: "done",
        -1: "no answer; everything stays as it was",
    },
    "VRAXStartPPGSampling": {
        0: "running",
        -1: "no instrument",
        -2: "no PPG module",
        -3: "a signal plays, sampling runs, or an image is burnt",
        -4: "VRAXEnablePPGSampling() is missing, or the instrument did not acknowledge",
    },
    "SetDcDac": {
        1: "stored",
        0: "out of range; nothing has changed",
    },
    "PlayFixedDCByDAC": {
        1: "it plays",
        0: "`code` is out of range, or a setter refused; the output is off in the first case",
    },
    "CheckECGTxtChannel": {
        -1: "the file cannot be opened, or a pointer is null",
        -2: "the rate is missing or 0",
        -3: "the number of samples is missing or 0",
        -4: "the number of channels is missing, 0 or negative",
        -5: "the names are missing",
    },
    "VRAXLoadECGtxt": {
        -1: "the file cannot be opened",
        -2: "the rate is missing, 0 or outside 100 to 40000",
        -3: "the number of samples is missing or 0",
        -4: "the number of channels is missing or 0",
        -5: "the names are missing",
        -6: (
            "no memory, or the number of samples is negative, or above a million and eight "
            "times what the file has bytes for; the old record is gone"
        ),
        -7: (
            "the file has no such channel, or a line has too few fields; with a line the old "
            "record is gone. When the header lacks the channel, the file stays open until the"
            " process ends, as with a rate out of range."
        ),
    },
    "LoadECGBin": {
        -1: "the file cannot be opened",
        -2: "the rate is missing or outside 30 to 5000",
        -3: "the number of samples is missing, 0 or above 20000000",
        -4: "no memory; the old record is gone",
    },
    "LoadECGAHA": {
        -1: "`path` is null, shorter than four characters or ends otherwise",
        -2: "the file cannot be read",
        -3: "there is no such channel",
        -4: "the file has no sample; the old record is gone",
        -5: "no memory; the old record is gone",
    },
    "VRAXLoadECGedf": {
        -1: "the file cannot be opened",
        -2: "the header is short or not accepted",
        -3: (
            "there is no such signal, it holds annotations, or the number of data records is "
            "unknown"
        ),
        -4: (
            "no memory, or the header promises far more than the file holds; the old record "
            "is gone"
        ),
        -5: "the rate is outside 100 to 40000; the new record is loaded",
    },
    "VRAXLoadECGdat": {
        -1: "the header cannot be opened or is not accepted",
        -2: "the signal file cannot be opened, or has another format",
        -3: "there is no such signal",
        -4: (
            "no samples, no memory, or the header promises far more than the file holds; the "
            "old record is gone"
        ),
        -5: "the rate is outside 100 to 40000; the new record is loaded",
    },
    "SetRawArray": {
        0: "stored",
        -1: "`samples` is null, or `count` or `rate` is below 1; the old record stays",
        -2: "no memory; the old record stays",
    },
    "VRAXSetSampleRate": {
        0: "stored",
        -1: "no instrument is open and no connection listener is registered",
        -2: "out of range",
        -3: "refused while a signal plays",
    },
    "EnableSaveLog": {
        0: "on",
        -2: "`path` is longer or null; the log is now off",
    },
    "EnableRecordRaw": {
        1: "on",
        0: "it was on already and goes on with the old buffers",
    },
    "DumpRawData": {
        0: "written",
        -3: "the file cannot be opened, or a needed pointer is null",
        -6: "a line could not be written; the file stays, partly written",
    },
}
