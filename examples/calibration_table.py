"""Reads the ECG DC calibration out of the instrument and prints it: millivolts, code."""

import vrax

ZERO = 2000  # the entry for 0 mV
STEP = 100

vrax.native.SetDeviceTimeoutSetting(1000, 200)  # ms: tables are read, on a busy machine as well
with vrax.connect() as instrument:
    instrument.calibration.read()  # from the flash; connecting may have taken it from a file
    if not instrument.calibration.is_valid:
        raise SystemExit("the instrument is not calibrated")
    table = instrument.calibration
    table.set_path("./")
    table.save("./")  # calibration.dat holds all 4001 codes
    codes = table.read_file()
    print("mv,code")
    for millivolts in range(-ZERO, ZERO + 1, STEP):
        print(f"{millivolts},{codes[ZERO + millivolts]}")
