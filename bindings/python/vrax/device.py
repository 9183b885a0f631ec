"""What the instrument is and keeps: information, calibration, firmware."""

from __future__ import annotations

from array import array
from ctypes import byref, c_int, c_ubyte, c_uint, c_ushort, create_string_buffer
from typing import TYPE_CHECKING, Callable, NamedTuple, Optional, Tuple

from vrax import native
from vrax.buffers import codes, copied, path_bytes
from vrax.callbacks import Slot, raise_pending
from vrax.errors import VraxError, ask, call, check
from vrax.members import Reading, command, text

if TYPE_CHECKING:
    from vrax.buffers import Codes, Path

    Progress = Callable[[native.BurnStage_E, int], object]

MANUFACTURING_BYTES = 64
DC_CODES = 4001
PPG_DC_BYTES = 3000  # whole codes within the 3001 bytes that can be had
CANCEL = 1

_burn_slot = Slot(native.VRAXBurnCallback, answer_on_error=CANCEL)


class Version(NamedTuple):
    """Four version numbers of an image."""

    major: int
    minor: int
    build: int
    revision: int


class Information:
    """What the instrument and its PPG module are."""

    firmware_major = Reading(native.GetFWMainVer)
    ppg_firmware_major = Reading(native.GetPPGFwMainVer)
    usb_bus_voltage = Reading(native.VRAXGetUSBBusVoltage)
    set_hardware = staticmethod(command(native.VRAXSetHWInformation))
    enable_fpga_sampling = staticmethod(command(native.VRAXEnableFPGASampling))
    configure_transmission_rate = staticmethod(command(native.VRAXConfigureTransmissionRate))

    @property
    def serial(self) -> str:
        """The serial number of the main unit."""
        return text(ask(native.VRAXGetSerialNumber))

    @property
    def ppg_serial(self) -> str:
        """The serial number of the PPG module."""
        return text(ask(native.VRAXGetPPGSerialNumber))

    @property
    def firmware(self) -> str:
        """The firmware version of the main unit, such as "2.1.04.17"."""
        return text(ask(native.VRAXGetFWVersion))

    @property
    def ppg_firmware(self) -> str:
        """The firmware version of the PPG board."""
        return text(ask(native.GetPPGFwVersion))

    @property
    def hardware(self) -> str:
        """The hardware version of the main unit, such as "1.2"."""
        return text(ask(native.VRAXGetHWVersion))

    @property
    def interface(self) -> str:
        """The version of the library's interface."""
        return text(ask(native.VRAXGetSDKVersion))

    @staticmethod
    def model() -> native.MODEL_INFORMATION:
        """The model of the main unit."""
        info = native.MODEL_INFORMATION()
        call(native.VRAXGetDeviceInformation, byref(info))
        return info

    @staticmethod
    def ppg_model() -> native.MODEL_INFORMATION:
        """The model of the PPG module."""
        info = native.MODEL_INFORMATION()
        call(native.VRAXGetPPGDeviceInformation, byref(info))
        return info

    @staticmethod
    def set_model(info: native.MODEL_INFORMATION) -> None:
        """Writes the model of the main unit into the instrument's flash. For manufacture."""
        call(native.VRAXSetDeviceInformation, byref(info))

    @staticmethod
    def versions() -> native.VRAXHardwareInformation:
        """The versions of the main unit as numbers; zeros without an instrument."""
        info = native.VRAXHardwareInformation()
        call(native.VRAXGetHWInformation, byref(info))
        return info

    @staticmethod
    def ppg_versions() -> native.VRAXHardwareInformation:
        """The versions of the PPG board as numbers."""
        info = native.VRAXHardwareInformation()
        call(native.VRAXGetPPGHWInformation, byref(info))
        return info

    @staticmethod
    def features() -> native.VRAXDeviceFeature:
        """The capabilities of the PPG module."""
        feature = native.VRAXDeviceFeature()
        call(native.VRAXGetDeviceFeature, byref(feature))
        return feature

    @staticmethod
    def read_manufacturing(length: int = MANUFACTURING_BYTES) -> bytes:
        """The manufacturing data block of the ECG board, up to 64 bytes."""
        length = min(length, MANUFACTURING_BYTES)
        block = (c_ubyte * max(length, 0))()
        call(native.VRAXReadMfgInfo, block, length)
        return bytes(block)

    @staticmethod
    def write_manufacturing(block: bytes) -> None:
        """Erases and writes the manufacturing data block of the ECG board, up to 64 bytes."""
        call(native.VRAXWriteMfgInfo, create_string_buffer(block, len(block)), len(block))

    @staticmethod
    def transmission_rate(channel: int) -> Tuple[int, int]:
        """The two transmission rate values of a channel, 1 to 3, of module 0x3407."""
        a, b = c_uint(), c_uint()
        call(native.VRAXGetTransmissionRate, channel, byref(a), byref(b))
        return a.value, b.value


class Calibration:
    """The ECG DC table, 4001 codes, entry i for i - 2000 mV: in the instrument's flash, in the file
    "calibration.dat", and in force. Directories end with a '/'."""

    load = staticmethod(command(native.LoadCalibrationData))
    clear_file = staticmethod(command(native.ClearCalibrationCache))
    read = staticmethod(command(native.ReadDCCalibrationData))
    clear = staticmethod(command(native.ClearDCCalibrationData))

    @staticmethod
    def set_path(directory: Path) -> None:
        """Sets the directory of "calibration.dat"."""
        call(native.SetCalibrationDataPath, path_bytes(directory))

    @staticmethod
    def save(directory: Path) -> None:
        """Writes the table in force to "calibration.dat" in a directory."""
        call(native.SaveCalibrationData, path_bytes(directory))

    @property
    def is_valid(self) -> bool:
        """Whether every entry of the table from -500 mV to 500 mV is programmed."""
        return ask(native.ValidateDCCalibrationData)

    @staticmethod
    def file_codes() -> array[int]:
        """The codes of "calibration.dat" in the set directory, by way of the library's cache."""
        count = c_int()
        found = call(native.GetCalibrationCache, byref(count))
        if not found:
            raise VraxError("GetCalibrationCache", 0, "the file is missing or short")
        return copied(found, count.value, "H")

    @staticmethod
    def read_file() -> array[int]:
        """The codes of "calibration.dat" in the set directory, past the library's cache."""
        found = (c_ushort * DC_CODES)()
        call(native.GetCalibrationCacheEx, found, DC_CODES)
        return array("H", found)

    @staticmethod
    def write(values: Codes) -> None:
        """Replaces the table, writes it to the instrument's flash and then to the file. Takes about
        12 seconds; the flash is not erased."""
        taken = codes(values, c_uint, "I")
        call(native.WriteDCCalibrationData, taken, len(taken))

    @staticmethod
    def ppg_dc_codes(row: int) -> array[int]:
        """The first 1500 codes of a row of the PPG DC table, one for each millivolt."""
        found = (c_ushort * (PPG_DC_BYTES // 2))()
        copied_bytes = call(native.GetPPGDCTable, row, found, PPG_DC_BYTES)
        if copied_bytes == 0:
            raise VraxError("GetPPGDCTable", 0, "there is no such row")
        return array("H", found)


class Firmware:
    """The two programs of the instrument: the FPGA image and the program of the MCU.

    A progress function is told the stage and its value (a percentage, or a code at the end); it
    cancels the burn with a true answer or an exception.
    """

    @staticmethod
    def load_fpga(path: Path) -> Version:
        """Loads an FPGA image and tells its version."""
        numbers = [c_int() for _ in range(4)]
        a, b, c, d = (byref(number) for number in numbers)
        call(native.LoadFirmwareFile, path_bytes(path), a, b, c, d)
        return Version(*(number.value for number in numbers))

    @staticmethod
    def load_mcu(path: Path) -> Version:
        """Loads a program of the MCU and tells its version."""
        numbers = [c_int() for _ in range(4)]
        a, b, c, d = (byref(number) for number in numbers)
        call(native.LoadMcuFile, path_bytes(path), a, b, c, d)
        return Version(*(number.value for number in numbers))

    @staticmethod
    def burn_fpga(progress: Optional[Progress] = None) -> None:
        """Burns the loaded FPGA image, restarts the instrument and finds it again."""
        _burn(native.BurnFirmware, progress)

    @staticmethod
    def burn_mcu(progress: Optional[Progress] = None) -> None:
        """Burns the loaded program of the MCU, restarts the instrument and finds it again."""
        _burn(native.BurnMcu, progress)


def _burn(burn: Callable[[native.types.Callback], int], progress: Optional[Progress]) -> None:
    def step(stage: int, value: int) -> int:
        is_cancelled = progress is not None and progress(native.BurnStage_E(stage), value)
        return CANCEL if is_cancelled else 0

    raise_pending()
    results = []
    _burn_slot.register(step, lambda callback: results.append(burn(callback)))
    _burn_slot.release()
    # What the progress function raised says more than "cancelled". What another callback raised
    # would hide whether the image was burnt: the next call raises that.
    _burn_slot.raise_error()
    check(burn.__name__, results[0])
