/**
 * @file
 * Host library of the VRAX patient-signal simulator: the whole public interface.
 *
 * The instrument drives electrocardiogram signals, and with plug-in modules respiration and
 * photoplethysmogram (PPG) signals, so that patient monitors, ECG machines and pulse oximeters
 * can be tested. The library computes every sample and streams it over a USB serial port
 * (`/dev/ttyACM<n>`). One process drives one instrument; everything below is process-wide.
 *
 * The header compiles as C99 and as C++.
 *
 * ### Life cycle
 *
 * 1. VRAXInit() with a listener, or VRAXConnect() to wait for the instrument.
 * 2. Set parameters, then VRAXSetOutputFunction() with the signal to play.
 * 3. Change parameters while it plays. VRAXSetOutputFunction(OUTPUT_OFF) stops.
 * 4. VRAXFree() ends the connection and resets the parameters. Leaving the process without it is
 *    safe as well.
 *
 * An instrument that is unplugged and plugged in again is found again without a call, and a
 * signal that was playing goes on. Without an instrument the signals are still computed, at the
 * pace at which an instrument would take them, so that the callbacks run.
 *
 * ### Units
 *
 * Voltages are millivolts (mV), times of parameters milliseconds (ms), times of callbacks seconds,
 * frequencies hertz (heart rate = 60 times the frequency), pacing rates pulses per minute. Ranges
 * include both ends. Text is UTF-8. Files and log lines do not depend on the locale.
 *
 * ### Results
 *
 * Setters return 0 when the value was stored, else a negative code, and the old value stays. Codes
 * are tested in the order in which they are listed. A NaN counts as inside every range. The code
 * -1 of the parameter setters means that no port is open and no connection listener is registered:
 * once VRAXInit() has been given a listener, or VRAXConnect() has been called, parameters may be
 * set without an instrument. Getters of parameters never fail. No call throws.
 * A null pointer where data is needed gives the failure value of the call.
 *
 * ### When a parameter takes effect
 *
 * - *At once*: with the next sample that is computed, also while a signal plays.
 * - *With the next cycle*: while a signal plays, at the end of the running cycle (in its last
 *   0.4 ms or its last sample, whichever is longer), so that no beat is cut; at once below 0.15 Hz
 *   and while nothing plays.
 *
 * A computed packet goes out after the one in flight, so the output follows by a packet or two
 * (35 ms each at 20000 samples per second).
 *
 * ### Threads and locks
 *
 * Every function may be called from any thread. Calls are serialised by one recursive lock, the
 * *API lock*; where a function does without it, this is said. Calls that talk to the instrument
 * also take the *interrupt lock*, always after the API lock, and while a signal plays they wait
 * for the pause between a reply of the instrument and the next packet. When the instrument
 * vanishes, waiting calls end with their failure value.
 *
 * The library's own threads are the connect thread (searches and prepares the instrument, calls
 * the connection listener), the monitor thread (notices the unplugging), the poll thread (reads
 * what the instrument sends), the play thread (one for each run, computes and sends packets) and,
 * while no instrument is connected, a timer thread in its place. The thread that computes packets,
 * whichever of the two, is called the *packet thread* below.
 *
 * ### Callbacks
 *
 * Each callback type tells its thread and the locks held. Those of the packet thread run under the
 * interrupt lock and must not call the library, with two exceptions: VRAXFree() and
 * VRAXSetOutputFunction(OUTPUT_OFF) may be called from every callback; they then do their work
 * without waiting for the thread that runs the callback, and that thread ends by itself after the
 * callback has returned. A callback that takes long holds up the stream.
 *
 * ### Ownership
 *
 * Strings and arrays that are returned belong to the library; how long they stay valid is said
 * with each call. Buffers that are handed in stay the application's; only EnableRecordRaw() keeps
 * using them after it has returned.
 */
#ifndef VRAX_H
#define VRAX_H

#include <stddef.h>
#include <stdint.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#if defined(VRAX_BUILDING_LIBRARY) && defined(__GNUC__)
#define VRAX_API __attribute__((visibility("default")))
#else
/** Marks what the library exports. */
#define VRAX_API
#endif

/** Stops the compilation when a record has not the size that the instrument and callers expect. */
#define VRAX_CHECK_SIZE(type, bytes) typedef char type##SizeCheck[sizeof(type) == (bytes) ? 1 : -1]

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup connection Connection
 * Finding the instrument, keeping it, and ending the connection.
 * @{
 */

/**
 * Told when the instrument has been found and prepared (true) and when it has gone (false).
 *
 * Runs on the connect thread with no lock held. Every setter may be called from it. VRAXFree() is
 * safe too: it returns without waiting for the connect thread, which ends after the listener has
 * returned.
 */
typedef void (*VRAXConnectedCallback)(bool connected);

/**
 * Starts the search for an instrument on all ports and returns at once.
 *
 * A connect thread tries `/dev/ttyACM0` to `/dev/ttyACM127` about once a second, prepares the
 * instrument that it finds, and goes on searching whenever that one is lost, until VRAXFree(). A
 * second call replaces the listener and starts nothing.
 *
 * @param callback  the connection listener, which also allows parameters to be set without an
 *                  instrument; null for none
 * @retval true   the connect thread runs
 * @retval false  it could not be started
 */
VRAX_API bool VRAXInit(VRAXConnectedCallback callback);

/**
 * Searches an instrument and waits until it is connected and prepared.
 *
 * Replaces a listener given to VRAXInit() by one of the library's own. As after VRAXInit(), the
 * instrument is found again when it is lost and comes back. Not for use from a callback,
 * which it would hold up for the whole wait.
 *
 * @param port       number n of `/dev/ttyACM<n>`, or -1 for all from 0 to 127
 * @param timeoutMs  the longest wait in milliseconds
 * @retval true   connected
 * @retval false  the connect thread could not be started, or there was no connection in time;
 *                VRAXFree() has been called in the second case
 */
VRAX_API bool VRAXConnect(int port, unsigned timeoutMs);

/**
 * Ends the connection: output off, threads stopped, port closed and its lock file removed,
 * parameters reset as by VRAXReset().
 *
 * Waits for the stop packet of a running signal, for a burn and for the connect thread, which first
 * finishes the probe of a port, or the preparation of an instrument that it has just found (up to a
 * few seconds with a PPG module). Calls that wait for the instrument are released first. Harmless
 * without a connection and when called again; a later VRAXInit() or VRAXConnect() starts anew. A
 * connected listener is told false while the call waits. Without a listener the port is closed
 * before the parameters are reset: those that need one then stay.
 *
 * Logged as the VRAXSetOutputFunction() and VRAXReset() that it calls.
 */
VRAX_API void VRAXFree(void);

/**
 * @retval true   an instrument is connected and prepared
 * @retval false  it is not: never found, still in preparation, or lost
 */
VRAX_API bool VRAXIsConnected(void);

/**
 * @retval true   an instrument is connected and a PPG module is fitted
 * @retval false  otherwise
 */
VRAX_API bool VRAXIsPPGConnected(void);

/**
 * Sets how long one read and one write on the port may take.
 *
 * Takes effect with the next exchange. Then waits once, for up to `readMs`, until the port can be
 * read, and once, for up to `writeMs`, until it can be written; without a port it does not wait.
 * Takes no lock.
 *
 * @param readMs   milliseconds; 100 at load
 * @param writeMs  milliseconds; 200 at load
 */
VRAX_API void SetDeviceTimeoutSetting(unsigned readMs, unsigned writeMs);

/**
 * @return  the descriptor of the open port, or -1 when none is open; it stays the library's
 */
VRAX_API long VRAXGetDeviceHandle(void);

/**
 * Adopts a port that the application has opened and set to raw mode.
 *
 * A handle other than 0 is asked at once to identify itself, which fills the records of this
 * group; whether it did shows in VRAXGetSerialNumber(). This is not a connection:
 * VRAXIsConnected() stays as it was, and no calibration is loaded: call LoadCalibrationData() or
 * ReadDCCalibrationData() before anything is played.
 *
 * @param handle  an open descriptor, or -1 for none
 */
VRAX_API void VRAXSetDeviceHandle(long handle);

/** @} */

/**
 * @defgroup information Instrument information
 * What the instrument and its PPG module are.
 *
 * Filled when the instrument is identified. When the connection ends, the two models and the
 * versions of the main unit are cleared. Nothing in this group is logged.
 * @{
 */

/** A PPG channel: 0, 1 or 2; 3 stands for "no LED" or "not determined". */
typedef int32_t LEDType;

/** The model of a unit: the main unit or a module. */
typedef struct MODEL_INFORMATION {
    char typeLetters[2];        /**< 'A','P' for the PPG module, 'E','R' for the external
                                     respiration module; zeros when there is no such unit */
    unsigned char modelCode[2]; /**< high byte first */
    uint32_t sequenceNumber;    /**< the instrument keeps its low 16 bits */
    uint32_t yearOrLot;         /**< the instrument keeps its low 8 bits */
    LEDType ledTypes[3];        /**< LED 1, 2 and 3 */
} MODEL_INFORMATION;
VRAX_CHECK_SIZE(MODEL_INFORMATION, 24);

/** Versions of a unit, as VRAXGetHWInformation() and VRAXGetPPGHWInformation() copy them. */
typedef struct VRAXHardwareInformation {
    uint32_t firmwareMajor;    /**< firmware version, first number */
    uint32_t firmwareMinor;    /**< second number */
    uint32_t firmwareBuild;    /**< third number */
    uint32_t firmwareRevision; /**< fourth number */
    uint32_t hardwareMajor;    /**< hardware version, first number */
    uint32_t hardwareMinor;    /**< second number */
} VRAXHardwareInformation;
VRAX_CHECK_SIZE(VRAXHardwareInformation, 24);

/**
 * Capabilities of the PPG module, as VRAXGetDeviceFeature() copies them: ten cells of 8 bytes.
 *
 * The values in brackets are those of the default record. Cells named `reserved` carry their
 * module's values, which the library passes on and does not use.
 */
typedef struct VRAXDeviceFeature {
    int32_t reserved0[2];       /**< cell 0 (1, 0) */
    int32_t reserved1;          /**< first half of cell 1 (0) */
    int32_t photodiodeChannels; /**< second half of cell 1 (0); more than 1: a second photodiode */
    int32_t reserved2[2];       /**< cell 2 (0, 0) */
    double ppgAcMin;            /**< lowest PPG AC amplitude, mV peak to peak (0.75) */
    double ppgAcMax;            /**< highest PPG AC amplitude, mV peak to peak (30.0) */
    double ppgDcMin;            /**< lowest PPG DC level, mV (100.0) */
    double ppgDcMax;            /**< highest PPG DC level, mV (3000.0) */
    double reserved7;           /**< cell 7 (0.025) */
    double reserved8;           /**< cell 8 (30.0) */
    int32_t reserved9[2];       /**< cell 9 (8, 8) */
} VRAXDeviceFeature;
VRAX_CHECK_SIZE(VRAXDeviceFeature, 80);

/**
 * Copies the model of the main unit.
 *
 * @param[out] info  untouched on failure
 * @retval true   copied
 * @retval false  no instrument is connected, or `info` is null
 */
VRAX_API bool VRAXGetDeviceInformation(MODEL_INFORMATION* info);

/**
 * Copies the model of the PPG module.
 *
 * @param[out] info  untouched on failure
 * @retval true   copied
 * @retval false  no module has identified itself, or `info` is null
 */
VRAX_API bool VRAXGetPPGDeviceInformation(MODEL_INFORMATION* info);

/**
 * Copies the versions of the main unit; zeros without an instrument.
 *
 * @param[out] info  24 bytes, a VRAXHardwareInformation
 * @retval true   copied
 * @retval false  `info` is null
 */
VRAX_API bool VRAXGetHWInformation(void* info);

/**
 * Copies the versions of the PPG board; zeros until one has told them, and kept when the connection
 * ends.
 *
 * @param[out] info  24 bytes, a VRAXHardwareInformation
 * @retval true   copied
 * @retval false  `info` is null
 */
VRAX_API bool VRAXGetPPGHWInformation(void* info);

/**
 * The serial number of the main unit: the letter T, the two type letters, the model code as four
 * hexadecimal digits, a hyphen, two digits of the year or lot, four digits of the sequence number.
 *
 * @return  14 characters, or the empty string when the record is absent or does not fit them;
 *          valid until the next call of this function
 */
VRAX_API const char* VRAXGetSerialNumber(void);

/**
 * The serial number of the PPG module, in the form of VRAXGetSerialNumber().
 *
 * @return  14 characters, or the empty string when the record is absent or does not fit them;
 *          valid until the next call of this function
 */
VRAX_API const char* VRAXGetPPGSerialNumber(void);

/**
 * The firmware version of the main unit, such as "2.1.04.17": major, minor, and two digits each of
 * build and revision.
 *
 * @return  "0.0.00.00" without an instrument; valid until the next call of this function
 */
VRAX_API const char* VRAXGetFWVersion(void);

/**
 * The firmware version of the PPG board, in the form of VRAXGetFWVersion().
 *
 * @return  "0.0.00.00" until a board has told its version; valid until the next call of this
 *          function
 */
VRAX_API const char* GetPPGFwVersion(void);

/** @return  the major firmware number of the main unit; 0 without an instrument */
VRAX_API unsigned GetFWMainVer(void);

/** @return  the major firmware number of the PPG board; 0 until one has told it */
VRAX_API unsigned GetPPGFwMainVer(void);

/**
 * The hardware version of the main unit, such as "1.2".
 *
 * @return  "0.0" without an instrument; valid until the next call of this function
 */
VRAX_API const char* VRAXGetHWVersion(void);

/**
 * Asks the instrument for the voltage on its USB supply.
 *
 * @return  0 to 255 on the instrument's own scale; also 0 when it does not answer
 */
VRAX_API unsigned VRAXGetUSBBusVoltage(void);

/**
 * Writes the model of the main unit into the instrument's flash. For manufacture.
 *
 * Erases the flash area of the record and writes it anew; the hardware version stays. Needs an open
 * port, not a finished connection.
 *
 * @param info  the LED types are not stored
 * @retval true   written and acknowledged; the library's copy of the record is replaced
 * @retval false  no port is open, `info` is null, or a step was not answered as it should be; after
 *                the erase the record in the instrument may be lost
 */
VRAX_API bool VRAXSetDeviceInformation(const MODEL_INFORMATION* info);

/**
 * Writes the hardware version of the main unit into the instrument's flash. For manufacture.
 *
 * Works as VRAXSetDeviceInformation() does; the model stays.
 *
 * @param major  0 to 255
 * @param minor  0 to 255
 * @retval true   written and acknowledged
 * @retval false  no port is open, or a step was not answered as it should be
 */
VRAX_API bool VRAXSetHWInformation(int major, int minor);

/**
 * Reads the manufacturing data block of the ECG board. Needs an open port.
 *
 * @param[out] buffer  zeroed, then filled as far as the instrument answers
 * @param      length  bytes; more than 64 counts as 64
 * @retval true   read
 * @retval false  no port is open, `buffer` is null, `length` is negative, or the instrument did not
 *                answer
 */
VRAX_API bool VRAXReadMfgInfo(void* buffer, int length);

/**
 * Erases and writes the manufacturing data block of the ECG board. Needs an open port.
 *
 * @param buffer  the data
 * @param length  bytes; more than 64 counts as 64
 * @retval true   written
 * @retval false  no port is open, `buffer` is null, `length` is negative, or the instrument did not
 *                answer; after the erase the old block is lost
 */
VRAX_API bool VRAXWriteMfgInfo(const void* buffer, int length);

/**
 * Copies the capabilities of the PPG module.
 *
 * The default record at load and for modules that are not in the library's list; all zero once an
 * instrument was identified that has no module, or whose firmware (below 1.3) tells of none.
 *
 * @param[out] feature  80 bytes, a VRAXDeviceFeature; null does nothing
 */
VRAX_API void VRAXGetDeviceFeature(void* feature);

/**
 * Switches the signal strength detection of the PPG module.
 *
 * @param enable  true on, false off
 * @retval true   acknowledged
 * @retval false  no port is open or the instrument did not acknowledge
 */
VRAX_API bool VRAXEnableFPGASampling(bool enable);

/**
 * Selects the transmission rate of the PPG board of module 0x3407 and writes what changes.
 *
 * The rates are those of the module's factory record.
 *
 * @param mode  0 to 5; values outside are taken as the nearest of these
 * @retval true   written, nothing to write, or another module
 * @retval false  a write failed; the rest was not tried
 */
VRAX_API bool VRAXConfigureTransmissionRate(int mode);

/**
 * Tells the two transmission rate values of a channel in the selected mode, for module 0x3407.
 *
 * @param      channel  1 to 3
 * @param[out] a        untouched on failure
 * @param[out] b        untouched on failure
 * @retval true   both stored
 * @retval false  another module or none, `channel` is outside its range, or a pointer is null
 */
VRAX_API bool VRAXGetTransmissionRate(int channel, unsigned* a, unsigned* b);

/** @} */

/**
 * @defgroup calibration Calibration data
 *
 * The ECG DC table holds 4001 16-bit DAC codes, entry i for a DC offset of i - 2000 mV; 0xFFFF
 * marks an entry that was never programmed. It is filled at every connection from the host file
 * "calibration.dat", else from the instrument's flash, else with a straight line. The file holds
 * the 4001 codes in little-endian order, 8002 bytes in all; a shorter one counts as absent.
 * Nothing in this group is logged.
 * @{
 */

/**
 * Sets the directory of "calibration.dat". Used from the next access on.
 *
 * @param path  put before the file name as it is, so it ends with a '/'; at most 511 characters, a
 *              longer one is cut. Null or empty: the working directory (as at load).
 */
VRAX_API void SetCalibrationDataPath(const char* path);

/**
 * Writes the ECG DC table to "calibration.dat" in a directory.
 *
 * @param dir  put before the file name as it is, so it ends with a '/'
 * @retval  0  written
 * @retval -1  the file cannot be opened, or `dir` is null
 */
VRAX_API int SaveCalibrationData(const char* dir);

/**
 * Takes the ECG DC table from "calibration.dat" in the set directory.
 *
 * @retval  0  taken; the next DC level uses it
 * @retval -1  the file is missing or short (the table stays), or one of its entries 1000 to 2999 is
 *             255 (the table is then the straight line)
 */
VRAX_API int LoadCalibrationData(void);

/**
 * Reads "calibration.dat" from the set directory into the library's cache.
 *
 * @param[out] count  4001, or 0 when null is returned
 * @return  the codes, valid until the next call of this function, of ClearCalibrationCache() or of
 *          LoadCalibrationData(), and at most until the next connection; null when the file is
 *          missing or short, or `count` is null
 */
VRAX_API unsigned short* GetCalibrationCache(int* count);

/**
 * Reads "calibration.dat" from the set directory into a buffer of the application.
 *
 * @param[out] buffer  room for 4001 codes of 16 bits; untouched on failure
 * @param      size    its room in codes, at least 4001
 * @retval 4001  copied
 * @retval 0     `size` is too small, `buffer` is null, no directory is set, or the file is missing
 *               or short
 */
VRAX_API int GetCalibrationCacheEx(void* buffer, unsigned size);

/**
 * Drops the cache and deletes "calibration.dat" in the set directory.
 *
 * @retval  0  the file is deleted
 * @retval -1  it could not be deleted; the cache is dropped all the same
 */
VRAX_API int ClearCalibrationCache(void);

/**
 * @retval true   every entry of the ECG DC table from -500 mV to 500 mV is programmed
 * @retval false  one of them is 0xFFFF
 */
VRAX_API bool ValidateDCCalibrationData(void);

/**
 * Reads the ECG DC table from the instrument's flash.
 *
 * @retval true   read; the next DC level uses it
 * @retval false  no instrument, or it did not answer in full: the table then holds what was read,
 *                and zeros
 */
VRAX_API bool ReadDCCalibrationData(void);

/**
 * Replaces the ECG DC table, writes it to the instrument's flash, and then to "calibration.dat" in
 * the set directory.
 *
 * The flash is not erased: call ClearDCCalibrationData() first. Writing takes about 12 seconds
 * (46 ms for every 16 codes). A file that cannot be written does not make the call fail.
 *
 * @param values  the codes; the low 16 bits of each count
 * @param count   4001
 * @retval true   written to the flash
 * @retval false  `count` is not 4001 or `values` is null (nothing has changed), or the flash could
 *                not be written (the table in memory is replaced, the file is not)
 */
VRAX_API bool WriteDCCalibrationData(const unsigned int* values, long count);

/**
 * Erases the ECG DC tables in the instrument's flash, then drops the cache and deletes
 * "calibration.dat" as ClearCalibrationCache() does. The table in memory stays.
 *
 * @retval true   erased
 * @retval false  an erase failed; cache and file stay
 */
VRAX_API bool ClearDCCalibrationData(void);

/**
 * Copies the start of a row of the PPG DC table (3001 16-bit codes, one for each millivolt).
 *
 * The limit counts bytes, not codes, so no more than the first 1500 codes and one byte of a row
 * can be had.
 *
 * @param      row     0 to 2
 * @param[out] buffer  room for `n` bytes
 * @param      n       bytes wanted; more than 3001 counts as 3001
 * @return  the number of bytes copied; 0 for another row or a null buffer
 */
VRAX_API size_t GetPPGDCTable(int row, void* buffer, size_t n);

/** @} */

/**
 * @defgroup firmware Firmware
 * Replacing the two programs of the instrument: the FPGA image and the program of the MCU.
 *
 * An image is loaded from a file, which checks it, and then burnt in three passes: erase, write,
 * verify. After that the instrument restarts, and the library finds it again. A burn runs on the
 * thread of its caller and returns at its end; a callback tells how far it is and can cancel it.
 *
 * ### Image files
 *
 * A raw binary image. At byte 118772 four letters tell which program it is, and the four bytes
 * behind them are its version. The loaded image stays in memory, after a burn too, so that one that
 * failed can be repeated; a burn takes the image that was loaded when it was called.
 *
 * ### While an image is burnt
 *
 * - The connection stays: the burn itself closes, searches and opens the port, and sets the relays
 *   of the instrument. The listener hears nothing, unless the instrument is not found again, or was
 *   unplugged: then it is told false when the burn is over, and true as soon as it is back.
 * - A signal that plays stands still and goes on afterwards where it stood; switching it off works
 *   all the same. Photodiode sampling is stopped, as by VRAXStopPPGSampling().
 * - A second burn waits until the first is over. VRAXFree() waits as well, so that no half-written
 *   program is left behind; called from the progress callback it does not wait, the burn goes on to
 *   its restart, and then ends with -11.
 * - Keep the instrument plugged in and supplied. An image that is not whole does not run.
 *
 * Nothing in this group is logged.
 * @{
 */

/** How far a burn is: the first argument of its callback. */
typedef enum BurnStage_E {
    BURN_ERASE = 1,     /**< before each sector; the value is the percentage */
    BURN_WRITE = 2,     /**< before each frame; the value is the percentage */
    BURN_VERIFY = 3,    /**< before each frame; the value is the percentage */
    BURN_RESTART = 4,   /**< the instrument is about to restart; the value is 99 */
    BURN_RECONNECT = 5, /**< the instrument is about to be searched; the value is 100 */
    BURN_FINISHED = 6   /**< 100, or a negative code */
} BurnStage_E;

/**
 * Told how far a burn is, and asked whether it goes on.
 *
 * The percentage is 100 times the address in the image by the size of the image, rounded down; it
 * begins anew with each stage and ends each with 100. The addresses 102400 to 116735 of the FPGA
 * image are left out: they hold the instrument's calibration and manufacturing data.
 *
 * Runs on the thread that called the burn; for BurnFirmware() under the API and the interrupt lock,
 * for BurnMcu() with no lock held. Every call may be made from it but a burn, which fails with -3;
 * calls that talk to the instrument put their command between two frames. None of them waits for a
 * thread of the library.
 *
 * @param stage  a #BurnStage_E
 * @param value  the percentage or code of that stage
 * @return  1 cancels the burn during the stages 1 to 3; everything else, and every answer during
 *          the others, lets it go on
 */
typedef int (*VRAXBurnCallback)(int stage, int value);

/**
 * Loads an FPGA image for BurnFirmware() and tells its version.
 *
 * The file has at least 122880 bytes, of which the first 122880 are taken, and the letters "VRAX".
 * Takes the interrupt lock, and waits for the free line as a command does. On failure an image that
 * was loaded before stays loaded, and the version is not stored.
 *
 * @param      path      of the file
 * @param[out] version1  first byte of the version, 0 to 255
 * @param[out] version2  second byte
 * @param[out] version3  third byte
 * @param[out] version4  fourth byte
 * @return  122880, the size of the image; or a negative code
 * @retval -1  the file cannot be opened
 * @retval -2  the size of the file cannot be read, or a pointer is null
 * @retval -4  there is no memory for the image
 * @retval -5  the file could not be read as far as it should go
 * @retval -6  the file is too short, or the letters are others
 */
VRAX_API int LoadFirmwareFile(const char* path, int* version1, int* version2, int* version3,
                              int* version4);

/**
 * Burns the loaded FPGA image into the instrument, restarts it and finds it again.
 *
 * Holds the API and the interrupt lock from the first frame to the end, so every other call waits.
 * Erasing takes 106 frames of 40 ms, writing and verifying 2262 frames each, which is about ten
 * seconds in all, and then up to half a minute until the instrument is found. A frame that fails
 * while verifying is also printed on standard output.
 *
 * A cancel leaves the instrument running the program that it runs, with what was erased and written
 * by then: repeat the burn before the instrument is switched off. A cancel at the first call leaves
 * the flash untouched. The same holds after every failure before the restart.
 *
 * @param callback  told of every step; null: nobody is told, and nothing cancels the burn
 * @retval  0   burnt, verified, restarted and connected again; told as 100
 * @retval -1   cancelled, which is not told
 * @retval -2   no image is loaded; nothing was touched
 * @retval -3   no instrument is connected, or the call was made from a callback other than the
 *              connection listener; nothing was touched
 * @retval -5   a frame could not be sent; told as -5, while verifying as -7
 * @retval -6   a frame was not answered in full; told as -6, while verifying as -8
 * @retval -9   what was read back is not what was written
 * @retval -10  the restart could not be sent
 * @retval -11  the instrument was not found within ten attempts on all ports
 */
VRAX_API int BurnFirmware(VRAXBurnCallback callback);

/**
 * Loads a program of the MCU for BurnMcu() and tells its version.
 *
 * The file may have any size up to 2 GB. It is taken when at least one of its four letters is the
 * one that "2TF2" has in that place. Bytes that a short file does not have count as 0. The program
 * that was loaded before is dropped first, unless a pointer is null.
 *
 * @param      path      of the file
 * @param[out] version1  first byte of the version, 0 to 255; untouched on failure
 * @param[out] version2  second byte
 * @param[out] version3  third byte
 * @param[out] version4  fourth byte
 * @return  the size of the file; or a negative code
 * @retval -1  the file cannot be opened
 * @retval -2  the size of the file cannot be read, or a pointer is null
 * @retval -4  there is no memory for the image, or it has 2 GB or more
 * @retval -5  the file could not be read to its end
 * @retval -6  all four letters are others
 */
VRAX_API int LoadMcuFile(const char* path, int* version1, int* version2, int* version3,
                         int* version4);

/**
 * Burns the loaded program into the MCU of the instrument, restarts it and finds it again.
 *
 * Takes the API and the interrupt lock for one frame at a time; other calls go in between. Erasing
 * takes 100 ms for each 1024 bytes; it is followed by a frame for each 32 bytes written and each 52
 * verified, and the restart takes 6 seconds before the instrument is searched: about half a minute
 * for an image of 120 KB.
 *
 * Every burn that has put the MCU into update mode ends with a last callback (#BURN_FINISHED, 100),
 * whatever its result, and after one that tells the result. A burn that fails or is cancelled first
 * sends the MCU back to its application, which it cannot run once its program was erased: repeat
 * the burn. A cancel at the first call leaves the program untouched.
 *
 * @param callback  told of every step; null: nobody is told, and nothing cancels the burn
 * @retval  0   burnt, verified, restarted and connected again; told as 100
 * @retval -1   cancelled
 * @retval -2   no program is loaded; nothing was touched
 * @retval -3   no instrument is connected, or the call was made from a callback other than the
 *              connection listener; nothing was touched
 * @retval -4   the MCU did not enter update mode; this is not told
 * @retval -5   a frame could not be sent; told as -5, while verifying as -7
 * @retval -6   a frame was not answered in full; told as -6, while verifying as -8
 * @retval -9   what was read back is not what was written
 * @retval -11  the instrument was not found within ten attempts on all ports
 */
VRAX_API int BurnMcu(VRAXBurnCallback callback);

/** @} */

/**
 * @defgroup output Output function
 * Which signal plays, on which leads, and how it is reset.
 * @{
 */

/** The signals that VRAXSetOutputFunction() selects. */
typedef enum OutputFunction_E {
    OUTPUT_OFF = 0,               /**< nothing; ends the run */
    OUTPUT_SINE = 1,              /**< sine */
    OUTPUT_TRIANGLE = 2,          /**< symmetric triangle */
    OUTPUT_SQUARE = 3,            /**< square wave */
    OUTPUT_RECT_PULSE = 4,        /**< rectangular pulse with edges of 1 ms */
    OUTPUT_TRIANGLE_PULSE = 5,    /**< triangular pulse; VRAXSetPulseWidth() is its base */
    OUTPUT_EXP_DECAY = 6,         /**< exponential decay, time constant 50 ms */
    OUTPUT_ECG = 7,               /**< standard beat: triangular QRS, half-sine T wave */
    OUTPUT_IEC227 = 8,            /**< a waveform of IEC 60601-2-27, see VRAXSetSpecialWave227() */
    OUTPUT_IEC251 = 9,            /**< a waveform of IEC 60601-2-51, see VRAXSetSpecialWave251() */
    OUTPUT_JJG1041 = 10,          /**< calibration beat of JJG 1041 with a notched R wave */
    OUTPUT_JJG1041_SINGLE_R = 11, /**< the same beat with a single R crest */
    OUTPUT_BASELINE_PULSE = 12,   /**< an upward and a downward exponential step each second */
    OUTPUT_ECG_FILE = 13,         /**< the loaded record, see VRAXLoadECGtxt(), SetRawArray() */
    OUTPUT_CUSTOM_ECG = 14,       /**< beat made of the P, PR, QRS, QT, ST and T parameters */
    OUTPUT_INPUT_DYNAMIC_RANGE = 15, /**< slow ramp of the input dynamic range test */
    OUTPUT_IEC247 = 16,              /**< a record of IEC 60601-2-47, see VRAXSetSpecialWave247() */
    OUTPUT_ANE20000 = 17,            /**< an ANE20000 lead, see VRAXSetANE20000Lead(), plus noise */
    OUTPUT_YY1079_DYNAMIC_RANGE = 10000 /**< dynamic range ramp of YY 1079, -300 mV to 300 mV */
} OutputFunction_E;

/**
 * Selects the signal and starts it, or stops.
 *
 * A value other than 0 sends the pacing settings, starts the signal's time at 0 and, when nothing
 * plays, starts a run. While another signal plays, the new one follows with the next sample, and
 * its period and working amplitude with the end of the running cycle (#OUTPUT_BASELINE_PULSE:
 * at once). #OUTPUT_OFF ends the run and returns when the stop packet has
 * been sent; from a callback it returns without that wait. It releases calls that wait for the
 * instrument first, so stopping always works.
 *
 * Logged as "VRAXSetOutputFunction(7);".
 *
 * @param function  an #OutputFunction_E; negative values and 18 to 9999 play 0 mV
 * @retval  0  selected
 * @retval -1  no instrument is open and no connection listener is registered; a run that exists
 *             can be stopped all the same
 */
VRAX_API int VRAXSetOutputFunction(int function);

/** @return  the selected output function, an #OutputFunction_E; #OUTPUT_OFF at load */
VRAX_API int VRAXGetOutputFunction(void);

/**
 * @retval 1  a signal is being streamed, or photodiode sampling runs
 * @retval 0  neither
 */
VRAX_API int VRAXIsPlaying(void);

/**
 * Switches one output lead on or off, and the relays with it, at once.
 *
 * Logged as "SetOutputLead(0, true);", also when nothing changes.
 *
 * @param lead  0 to 31, of which the instrument has 0 to 8; other numbers name no lead and change
 *              nothing
 * @param on    after a reset lead 0 alone is on
 * @retval  0  switched, or it was so already
 * @retval -1  no instrument is open and no connection listener is registered
 */
VRAX_API int VRAXSetOutputLead(int lead, bool on);

/**
 * @param lead  0 to 31; a number outside gives false
 * @return  whether the lead is on
 */
VRAX_API bool VRAXGetOutputLead(int lead);

/**
 * Switches all output leads, and the relays with them, at once. Not logged.
 *
 * @param mask  bit n is lead n; 1 at load and after VRAXReset()
 */
VRAX_API void SetAllOutputLead(unsigned mask);

/** @return  the leads that are on, bit n for lead n */
VRAX_API unsigned GetAllOutputLead(void);

/**
 * Switches the ECG part of the output on or off, at once.
 *
 * While it is off, the waveform is 0 mV and no pacing pulse is made; the DC offset is 0 mV too,
 * unless a pacing amplitude is set. PPG signals go on.
 *
 * Logged as "VRAXEnableECGOutput(true);".
 *
 * @param enable  true after a reset
 * @retval 0  stored, with or without an instrument
 */
VRAX_API int VRAXEnableECGOutput(bool enable);

/**
 * Chooses whether the amplitude of a PPG signal reaches above its DC level. When it does not, a
 * pulse that is set from then on hangs below it: its AC amplitude is taken off the DC level.
 *
 * Takes no lock. Not logged.
 *
 * @param enable  false at load
 * @retval 0  stored, with or without an instrument
 */
VRAX_API int VRAXEnableACAboveDC(bool enable);

/**
 * Puts every parameter back to its default, all output leads off, then lead 0 on.
 *
 * Switches the output off first. Parameters that already have their default are left alone and
 * write no log line, but VRAXSetPacingRateSynchronized() is always called. Without an instrument
 * and without a connection listener only the leads, the waveform numbers, the looping of waveforms
 * and VRAXEnableECGOutput() are reset. VRAXSetOvershootAmplitude(), VRAXSetCustomizedTDuration()
 * and the looping of files are not reset.
 *
 * Logged as "VRAXReset();", followed by the lines of the setters that it calls.
 */
VRAX_API void VRAXReset(void);

/**
 * Resets as VRAXReset() does, but leaves all output leads off.
 *
 * Logged as "VRAXResetAllLeadOff();", followed by the lines of the setters that it calls.
 */
VRAX_API void VRAXResetAllLeadOff(void);

/**
 * Resets as VRAXReset() does, but leaves the output leads as they are.
 *
 * Logged are the lines of the setters that it calls alone.
 */
VRAX_API void VRAXResetEx(void);

/** @} */

/**
 * @defgroup signal Signal parameters
 * Height, frequency, DC offset and shape of the signal.
 * @{
 */

/**
 * Sets the height of the signal.
 *
 * Peak to peak. In #OUTPUT_ECG and #OUTPUT_CUSTOM_ECG it is that of the QRS complex: the R wave
 * stands 7/8 of it above the baseline, the S wave 1/8 below. Takes effect with the next cycle. While the dynamic range test is on, the height is reduced, and the stored value
 * with it, so that signal and overlay together stay within 20 mV.
 *
 * Logged as "VRAXSetAmplitude(1.00);".
 *
 * @param amplitude  millivolts, -40 to 40; 1.0 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 * @retval -3  refused while the baseline reset test is on
 */
VRAX_API int VRAXSetAmplitude(double amplitude);

/** @return  millivolts. Takes no lock. */
VRAX_API double VRAXGetAmplitude(void);

/**
 * Sets the frequency of the signal, for ECG signals the heart rate divided by 60.
 *
 * Takes effect with the next cycle. Some signals have a ceiling: 5 Hz for #OUTPUT_RECT_PULSE,
 * #OUTPUT_TRIANGLE_PULSE and #OUTPUT_EXP_DECAY, 6 Hz for #OUTPUT_ECG and #OUTPUT_CUSTOM_ECG. A
 * higher stored value is cut to it when the signal takes the frequency over, and the frequency
 * callback is told.
 *
 * Logged as "VRAXSetFrequency(1.00);".
 *
 * @param frequency  hertz, 0.017 to 500; 1.0 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range, or above 5 Hz while #OUTPUT_RECT_PULSE or #OUTPUT_TRIANGLE_PULSE is
 *             selected
 * @retval -3  refused while a frequency scan runs
 * @retval -4  refused while the baseline reset test is on
 */
VRAX_API int VRAXSetFrequency(double frequency);

/** @return  hertz; during a frequency scan the present frequency. Takes no lock. */
VRAX_API double VRAXGetFrequency(void);

/**
 * Sets the DC offset of the signal. The level takes effect at once, the relays that it needs follow
 * with the next cycle.
 *
 * Logged as "VRAXSetDCOffset(0);".
 *
 * @param offset  millivolts, -1000 to 1000; 0 after a reset. With the variable mode off the
 *                instrument has no other levels than -300, 0 and 300.
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetDCOffset(int offset);

/** @return  millivolts; #OUTPUT_YY1079_DYNAMIC_RANGE overwrites it as its ramp goes */
VRAX_API int VRAXGetDCOffset(void);

/**
 * Chooses the source of the DC offset: the calibrated converter with any level (true), or a fixed
 * level of -300 mV or 300 mV (false). Takes effect with the next cycle.
 *
 * Logged as "VRAXSetDCOffsetVariableMode(true);".
 *
 * @param variable  true after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 */
VRAX_API int VRAXSetDCOffsetVariableMode(bool variable);

/** @return  true for any level, false for the fixed levels */
VRAX_API bool VRAXGetDCOffsetVariableMode(void);

/**
 * Applies the DC offset in common mode, or not. Switches the relays at once.
 *
 * Logged as "VRAXSetDCOffsetCommonMode(false);".
 *
 * @param common  false after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 */
VRAX_API int VRAXSetDCOffsetCommonMode(bool common);

/** @return  whether the DC offset is applied in common mode */
VRAX_API bool VRAXGetDCOffsetCommonMode(void);

/**
 * VRAXSetDCOffsetCommonMode() for callers without a boolean type; the name is spelt so.
 *
 * @param common  its low 8 bits count: 0 is false, anything else true
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 */
VRAX_API int SetDCOffsetCommoneMode(int common);

/**
 * Sets the width of the pulse signals. Takes effect with the next cycle.
 *
 * #OUTPUT_BASELINE_PULSE sets it to 50 ms. Logged as "VRAXSetPulseWidth(100);".
 *
 * @param width  milliseconds, 1 to 300; 100 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetPulseWidth(double width);

/** @return  milliseconds */
VRAX_API double VRAXGetPulseWidth(void);

/**
 * Sets the input impedance mode, whose relay is on while the mode is off. Switches the relays at
 * once.
 *
 * Logged as "VRAXSetInputImpedanceMode(true);".
 *
 * @param mode  true after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 */
VRAX_API int VRAXSetInputImpedanceMode(bool mode);

/** @return  the stored mode */
VRAX_API bool VRAXGetInputImpedanceMode(void);

/**
 * Sets the length of the QRS complex of #OUTPUT_ECG and #OUTPUT_CUSTOM_ECG. Takes effect at once.
 *
 * Where the cycle is too short for the whole beat, ST segment, T wave and QRS are shortened, in
 * this order. Logged as "VRAXSetQRSDuration(100);".
 *
 * @param duration  milliseconds, 5 to 200; 100 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetQRSDuration(double duration);

/** @return  milliseconds */
VRAX_API double VRAXGetQRSDuration(void);

/**
 * Sets the height of the T wave of #OUTPUT_ECG and #OUTPUT_CUSTOM_ECG. Takes effect at once.
 *
 * Logged as "VRAXSetTWave(0.2);".
 *
 * @param height  millivolts, 0 to 5; 0.2 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetTWave(double height);

/** @return  millivolts */
VRAX_API double VRAXGetTWave(void);

/**
 * Sets the length of the P wave of #OUTPUT_CUSTOM_ECG. Takes effect at once.
 *
 * Logged as "VRAXSetPDuration(100);".
 *
 * @param duration  milliseconds, 50 to 100; 100 after a reset. A short PR interval can make it
 *                  shorter, see VRAXSetPRInterval().
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetPDuration(double duration);

/** @return  milliseconds */
VRAX_API double VRAXGetPDuration(void);

/**
 * Sets the time from the start of the P wave to the start of the QRS complex of
 * #OUTPUT_CUSTOM_ECG. Takes effect at once.
 *
 * An interval below 50 ms makes the P wave as short as itself; one of 50 ms or more makes a P wave
 * that is shorter than 50 ms that long again. Logged as "VRAXSetPRInterval(160);".
 *
 * @param interval  milliseconds, 0 to 200; 160 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetPRInterval(double interval);

/** @return  milliseconds */
VRAX_API double VRAXGetPRInterval(void);

/**
 * Sets the time from the start of the QRS complex to the end of the T wave of #OUTPUT_CUSTOM_ECG.
 * Takes effect at once.
 *
 * Where QRS complex and T wave do not fit into it, ST segment and T wave are left out. Logged as
 * "VRAXSetQTInterval(350);".
 *
 * @param interval  milliseconds, 100 to 900; 350 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetQTInterval(double interval);

/** @return  milliseconds */
VRAX_API double VRAXGetQTInterval(void);

/**
 * Sets the height of the P wave of #OUTPUT_CUSTOM_ECG. Takes effect at once.
 *
 * Logged as "VRAXSetPWave(0.2);".
 *
 * @param height  millivolts, 0 to 2; 0.2 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetPWave(double height);

/** @return  millivolts */
VRAX_API double VRAXGetPWave(void);

/**
 * Sets the level of the ST segment of #OUTPUT_CUSTOM_ECG. Takes effect at once.
 *
 * Logged as "SetSTDeviation(0.00);".
 *
 * @param deviation  millivolts, -2 to 2; 0 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetSTDeviation(double deviation);

/** @return  millivolts */
VRAX_API double VRAXGetSTDeviation(void);

/**
 * Sets the length of the T wave of #OUTPUT_CUSTOM_ECG. Takes effect with the next cycle.
 *
 * Logged as "SetCustomizedTDuration(180);".
 *
 * @param duration  milliseconds, 100 to 900; 180 at load, a reset leaves it alone
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetCustomizedTDuration(double duration);

/** @return  milliseconds */
VRAX_API double VRAXGetCustomizedTDuration(void);

/**
 * Selects the waveform of #OUTPUT_IEC227, at once.
 *
 * The three VRAXSetSpecialWave calls share one number: the last call wins, and the output function
 * decides which table it is looked up in. Logged as "SetSpecialWave227(0);".
 *
 * @param number  0 to 9; 0 after a reset. Other numbers are stored and play 0 mV.
 * @retval 0  stored, with or without an instrument
 */
VRAX_API int VRAXSetSpecialWave227(int number);

/** @return  the number that the three VRAXSetSpecialWave calls share */
VRAX_API int VRAXGetSpecialWave227(void);

/**
 * Selects the waveform of #OUTPUT_IEC251, at once; shares its number with VRAXSetSpecialWave227().
 *
 * Logged as "SetSpecialWave251(0);".
 *
 * @param number  0 to 15; 0 after a reset. Other numbers are stored and play 0 mV.
 * @retval 0  stored, with or without an instrument
 */
VRAX_API int VRAXSetSpecialWave251(int number);

/** @return  the number that the three VRAXSetSpecialWave calls share */
VRAX_API int VRAXGetSpecialWave251(void);

/**
 * Selects the record of #OUTPUT_IEC247, at once; shares its number with VRAXSetSpecialWave227().
 *
 * Logged as "SetSpecialWave247(0);".
 *
 * @param number  0 to 4; 0 after a reset. Other numbers are stored and play 0 mV.
 * @retval 0  stored, with or without an instrument
 */
VRAX_API int VRAXSetSpecialWave247(int number);

/** @return  the number that the three VRAXSetSpecialWave calls share */
VRAX_API int VRAXGetSpecialWave247(void);

/**
 * Selects the lead of #OUTPUT_ANE20000, at once. Not logged.
 *
 * @param lead  0 to 8; 0 after a reset
 * @retval  0  stored, with or without an instrument
 * @retval -1  out of range
 */
VRAX_API int VRAXSetANE20000Lead(int lead);

/** @return  the lead, 0 to 8 */
VRAX_API int VRAXGetANE20000Lead(void);

/** @} */

/**
 * @defgroup waveforms Built-in waveforms
 *
 * The samples behind #OUTPUT_IEC227, #OUTPUT_IEC251 and #OUTPUT_IEC247. Whether a build holds the
 * public records or likenesses of them is told in `docs/tables.md`. None of these calls is logged;
 * but for VRAXSetSpecialWaveformLoop() none takes the API lock, and they may be used on any thread.
 * @{
 */

/**
 * Chooses whether the built-in waveforms repeat or play once. Takes effect at once. One that plays
 * once tells the listener of RegisterStandardWaveformCB() at its end and switches the output off.
 *
 * @param loop  0 once, anything else repeats; on at load and after a reset
 */
VRAX_API void VRAXSetSpecialWaveformLoop(int loop);

/**
 * @param      n      0 to 9: AAMI EC13 3A, 3B, 3C, 3D, 4A, 4A x2, 4A /2, 4B, 4B x2, 4B /2, which are
 *                    IEC 60601-2-27 A1 to A4, B1 and B2
 * @param[out] count  samples, 34511 to 65239; 0 for another number
 * @param[out] rate   720 samples per second; 0 for another number
 * @return  the samples in microvolts, constant data of the library; null for another number or
 *          when `count` or `rate` is null
 */
VRAX_API const int* GetSpecialWave227Array(int n, unsigned* count, unsigned* rate);

/**
 * @param      n      0 to 15: CAL05000, CAL10000, CAL15000, CAL20000, CAL30000, CAL50000, CAL20002,
 *                    CAL20100, CAL20110, CAL20160, CAL20200, CAL20210, CAL20260, CAL20500, CAL20502,
 *                    CAL40000
 * @param[out] count  1000 samples; 0 for another number
 * @param[out] rate   1000 samples per second; 0 for another number
 * @return  the samples in microvolts, constant data of the library; null for another number or
 *          when `count` or `rate` is null
 */
VRAX_API const int* GetSpecialWave251Array(int n, unsigned* count, unsigned* rate);

/**
 * The heart-rate variability patterns of IEC 60601-2-47, made when they are first asked for.
 *
 * @param      n      0 to 4: test patterns 1 to 5
 * @param[out] count  60000, 3996, 9972, 29874 or 3599521 samples; 0 for another number
 * @param[out] rate   1000 samples per second; 0 for another number
 * @return  the samples in millivolts, kept until the library is unloaded; null for another number
 *          or when `count` or `rate` is null
 */
VRAX_API const double* GetSpecialWave247Array(int n, unsigned* count, unsigned* rate);

/**
 * @param n  pattern of IEC 60601-2-47, 0 to 4
 * @return  its mean interval between beats in seconds; 0 for another number
 */
VRAX_API double GetRRAvg(int n);

/**
 * @param n  pattern of IEC 60601-2-47, 0 to 4
 * @return  the amplitude in seconds by which the interval varies; 0 for another number
 */
VRAX_API double GetRRDev(int n);

/**
 * @param n  pattern of IEC 60601-2-47, 0 to 4
 * @return  the frequency in hertz at which the interval varies; 0 for another number
 */
VRAX_API double GetHRVFreq(int n);

/**
 * @param n  pattern of IEC 60601-2-47, 0 to 4
 * @param t  seconds from 0 on; the pattern repeats
 * @return  millivolts; 0 for another number or a negative time
 */
VRAX_API double GetIEC47RawPoint(int n, double t);

/**
 * Writes a waveform of IEC 60601-2-27 as text, in the layout of DumpStandardWaveform().
 *
 * @param n     0 to 9, see GetSpecialWave227Array()
 * @param path  the file, replaced when it exists
 * @retval  0  written
 * @retval -3  the file cannot be opened, or `n` names no waveform (then no file is touched)
 * @retval -6  a line could not be written; the file stays, partly written
 */
VRAX_API int DumpIEC227Waveform(unsigned n, const char* path);

/**
 * Writes a CAL waveform as text, in the layout of DumpStandardWaveform().
 *
 * @param n     0 to 15, see GetSpecialWave251Array()
 * @param path  the file, replaced when it exists
 * @return  as DumpIEC227Waveform()
 */
VRAX_API int DumpIEC251Waveform(unsigned n, const char* path);

/**
 * Writes a pattern of IEC 60601-2-47 as text, in the layout of DumpStandardWaveform(), cut to whole
 * microvolts toward zero.
 *
 * @param n     0 to 4, see GetSpecialWave247Array()
 * @param path  the file, replaced when it exists
 * @return  as DumpIEC227Waveform()
 */
VRAX_API int DumpIEC247Waveform(unsigned n, const char* path);

/**
 * Writes samples as text: lines with the rate, the number of samples, the number of channels (1)
 * and the name, then a sample a line in millivolts with three decimals.
 *
 * @param samples  microvolts; null is allowed when `count` is 0 or less
 * @param count    number of samples
 * @param rate     samples per second
 * @param name     of the channel
 * @param path     the file, UTF-8, replaced when it exists
 * @retval  0  written
 * @retval -3  the file cannot be opened, or a needed pointer is null
 * @retval -6  a line could not be written; the file stays, partly written
 */
VRAX_API int DumpStandardWaveform(const int* samples, int count, int rate, const char* name,
                                  const char* path);

/** @} */

/**
 * @defgroup pacing Pacing
 *
 * The instrument makes the pacemaker pulses itself, from an amplitude and a length that are sent to
 * it; the stream marks when each begins. So amplitude, length and rate reach the instrument with
 * VRAXApplyPacing() or the next VRAXSetOutputFunction(), while the timing of the pulses follows
 * with the next cycle.
 * @{
 */

/**
 * Chooses single or double pulses. Takes effect with the next cycle.
 *
 * Logged as "VRAXSetPacingPulseMode(0);".
 *
 * @param mode  0 single, 1 double at a distance of 150 ms, 2 double at 250 ms; 0 after a reset.
 *              Other values are stored and give single pulses.
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 */
VRAX_API int VRAXSetPacingPulseMode(int mode);

/** @return  the stored mode */
VRAX_API int VRAXGetPacingPulseMode(void);

/**
 * Sets the height of the pacing pulses. Takes effect with the next cycle; see the group about what
 * the instrument is sent.
 *
 * Logged as "VRAXSetPacingAmplitude(0);".
 *
 * @param amplitude  millivolts, -700 to 700; 0 (as after a reset) means no pacing
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetPacingAmplitude(double amplitude);

/** @return  millivolts */
VRAX_API double VRAXGetPacingAmplitude(void);

/**
 * Sets the length of the pacing pulses. Takes effect with the next cycle; see the group about what
 * the instrument is sent.
 *
 * Logged as "VRAXSetPacingDuration(2);".
 *
 * @param duration  milliseconds, 0.03 to 3; 2.0 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetPacingDuration(double duration);

/** @return  milliseconds */
VRAX_API double VRAXGetPacingDuration(void);

/**
 * Paces at a rate of its own and ends the synchronisation with the beat. Takes effect with the next
 * cycle.
 *
 * Logged as "VRAXSetPacingRate(60);".
 *
 * @param rate  pulses per minute, 10 to 360; 60 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetPacingRate(unsigned rate);

/** @return  pulses per minute as last set; not the rate of a synchronised pacer */
VRAX_API unsigned VRAXGetPacingRate(void);

/**
 * Paces once a beat. In force after a reset.
 *
 * Requests no change by itself: the pacing period follows when the next parameter does. Where the
 * beat is longer than 6 s or shorter than 1/6 s, the rate of VRAXSetPacingRate() stays in force.
 *
 * Logged as "VRAXSetPacingRateSynchronized();".
 *
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  60 times the frequency lies outside 10 to 360 per minute
 */
VRAX_API int VRAXSetPacingRateSynchronized(void);

/**
 * Sets the time constant of the overshoot that follows each pacing pulse. Takes effect with the
 * next cycle.
 *
 * Logged as "VRAXSetOvershootTimeConstant(0);".
 *
 * @param timeConstant  milliseconds, 0 to 100; 0 (as after a reset) means no overshoot
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetOvershootTimeConstant(unsigned timeConstant);

/** @return  milliseconds */
VRAX_API unsigned VRAXGetOvershootTimeConstant(void);

/**
 * Sets the height of the overshoot, which opposes the pulse. Takes effect at once.
 *
 * Logged as "VRAXSetOvershootAmplitude(3.0);" with the value that is stored.
 *
 * @param amplitude  millivolts, -5 to 5, of which the absolute value is stored; 0 at load, a reset
 *                   leaves it alone
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetOvershootAmplitude(double amplitude);

/** @return  millivolts, 0 to 5 */
VRAX_API double VRAXGetOvershootAmplitude(void);

/**
 * Sends the pacing settings to the instrument: now, or between two packets while a signal plays.
 *
 * Not logged.
 *
 * @retval 1  acknowledged by the instrument, or noted for the packet thread to send
 * @retval 0  no instrument, or it did not acknowledge
 */
VRAX_API int VRAXApplyPacing(void);

/** @} */

/**
 * @defgroup tests Test signals and disturbances
 * What performance standards ask an ECG monitor to withstand.
 * @{
 */

/**
 * Starts and ends the baseline reset test: a sine of 500 mV on the DC path that overloads the
 * monitor.
 *
 * Starting selects #OUTPUT_SINE. While the test is on, VRAXSetAmplitude() and VRAXSetFrequency()
 * are refused; the end of a run ends it. The baseline reset callback is told of every change before
 * it is stored. Takes effect with the next cycle; the call returns 100 ms later.
 *
 * Logged as "VRAXSetBaselineResetTest(0);", also by the end of a run.
 *
 * @param test  0 off, 1 to 4 for 50, 60, 80 and 100 Hz; 0 after a run. Other values are stored and
 *              give no overload.
 * @retval  0  stored, or it was so already
 * @retval -1  no instrument is open and no connection listener is registered
 */
VRAX_API int VRAXSetBaselineResetTest(int test);

/** @return  the stored test, 0 when off. Takes no lock. */
VRAX_API int VRAXGetBaselineResetTest(void);

/**
 * Adds mains interference or noise to #OUTPUT_ECG, #OUTPUT_CUSTOM_ECG and #OUTPUT_ANE20000, for
 * the tests of IEC 60601-2-27. Takes effect at once.
 *
 * Logged as "VRAXSetECG2_27_Noise(0, 0.10);".
 *
 * @param freq  0 none; 1 to 8 for 50, 60, 100, 120, 150, 180, 200 and 240 Hz; 9 random noise; other
 *              values are stored and give none. 0 after a reset.
 * @param amp   millivolts peak to peak, 0.01 to 5; 0.1 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  `amp` is out of range; neither value is stored
 */
VRAX_API int VRAXSetECG2_27_Noise(int freq, double amp);

/** @return  the selector, 0 when off. Takes no lock. */
VRAX_API int VRAXGetECG2_27_NoiseFreq(void);

/** @return  millivolts peak to peak */
VRAX_API double VRAXGetECG2_27_NoiseAmp(void);

/**
 * Adds a noise-stress record to every output function: electrode motion, baseline wander or muscle
 * artefact. It repeats after some 1805 s. Not logged.
 *
 * @param record  0 none, 1 electrode motion (em), 2 baseline wander (bw), 3 muscle artefact (ma);
 *                other numbers are stored and add nothing. None after a reset.
 * @param gain    factor, 0.1 to 10; 1 after a reset
 * @retval  0  stored, with or without an instrument
 * @retval -1  refused while a signal plays
 * @retval -2  gain out of range
 */
VRAX_API int VRAXSetNSTNoise(int record, double gain);

/**
 * Adds the AAMI baseline drift, a slow triangle, to #OUTPUT_ECG and #OUTPUT_CUSTOM_ECG. Takes
 * effect at once.
 *
 * Logged as "VRAXSetECG2_27_AAMIDriftTest(false);".
 *
 * @param on  false after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 */
VRAX_API int VRAXSetECG2_27_AAMIDriftTest(bool on);

/** @return  whether the drift is added */
VRAX_API bool VRAXGetECG2_27_AAMIDriftTest(void);

/**
 * Sets the height of the baseline drift. Takes effect at once.
 *
 * Logged as "VRAXSetECG2_27_AAMIDriftTestAmplitude(4.0);".
 *
 * @param amplitude  millivolts peak to peak, 1 to 8; 4.0 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetECG2_27_AAMIDriftTestAmplitude(double amplitude);

/** @return  millivolts peak to peak */
VRAX_API double VRAXGetECG2_27_AAMIDriftTestAmplitude(void);

/**
 * Sets the frequency of the baseline drift. Takes effect at once.
 *
 * Logged as "VRAXSetECG2_27_AAMIDriftTestFrequency(0.10);".
 *
 * @param frequency  hertz, 0.05 to 2; 0.1 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 */
VRAX_API int VRAXSetECG2_27_AAMIDriftTestFrequency(double frequency);

/** @return  hertz, computed from the stored wavelength */
VRAX_API double VRAXGetECG2_27_AAMIDriftTestFrequency(void);

/**
 * Starts and ends the dynamic range test: a small sine on top of a triangle or square wave.
 *
 * On selects #OUTPUT_TRIANGLE or #OUTPUT_SQUARE, off selects #OUTPUT_OFF, without waiting for the
 * end of the run. The sum is kept within 5 mV either side for the triangle and 20 mV for the
 * square; see also VRAXSetAmplitude(). Takes effect with the next cycle.
 *
 * Logged as "VRAXSetDynamicRangeTest(false, true, 1.0, 40);".
 *
 * @param on         false after a reset
 * @param triangle   true for the triangle, false for the square wave; true after a reset
 * @param amplitude  millivolts peak to peak of the small sine, 0 to 10; 1.0 after a reset
 * @param frequency  hertz of the small sine, 1 to 60; 40 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  `amplitude` is out of range; nothing is stored
 * @retval -3  `frequency` is out of range; nothing is stored
 */
VRAX_API int VRAXSetDynamicRangeTest(bool on, bool triangle, double amplitude, double frequency);

/** @return  whether the dynamic range test is on */
VRAX_API bool VRAXGetDynamicRangeTest(void);

/** @return  millivolts peak to peak of the small sine */
VRAX_API double VRAXGetDynamicRangeTestAmplitude(void);

/** @return  hertz of the small sine */
VRAX_API double VRAXGetDynamicRangeTestFrequency(void);

/**
 * Starts and ends a frequency scan of #OUTPUT_SINE, upwards or downwards.
 *
 * The frequency moves from `start` to `stop` in the given time; the frequency callback is told
 * after each packet. The scan ends itself at `stop` and switches the output off. On selects
 * #OUTPUT_SINE and tells the main function callback; off selects #OUTPUT_OFF, without waiting for
 * the end of the run, and tells it too. Takes effect at once.
 *
 * Logged as "VRAXSetFrequencyScanSine(true, 0.67, 150.00, 30);": on, start, stop, seconds.
 *
 * @param on       false after a reset
 * @param seconds  10 to 180; 30 after a reset
 * @param start    hertz, 0.67 to 500; 0.67 after a reset
 * @param stop     hertz, 0.67 to 500; 150 after a reset
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  `start` is out of range; nothing is stored
 * @retval -3  `stop` is out of range; nothing is stored
 * @retval -4  `seconds` is out of range; nothing is stored
 */
VRAX_API int VRAXSetFrequencyScanSine(bool on, int seconds, double start, double stop);

/** @return  whether a sine scan is selected */
VRAX_API bool VRAXGetFrequencyScanSine(void);

/** @return  hertz */
VRAX_API double VRAXGetFrequencyScanSineStartFrequency(void);

/** @return  hertz */
VRAX_API double VRAXGetFrequencyScanSineStopFrequency(void);

/** @return  seconds */
VRAX_API int VRAXGetFrequencyScanSineDuration(void);

/**
 * Starts and ends a frequency scan of #OUTPUT_ECG from 0.05 Hz to 0.5 Hz in 30 seconds.
 *
 * Works as VRAXSetFrequencyScanSine() does, whose start and stop frequencies it overwrites.
 *
 * Logged as "SetFreqScanECG(true);".
 *
 * @param on  false after a run
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 */
VRAX_API int VRAXSetFrequencyScanECG(bool on);

/** @return  whether an ECG scan is selected */
VRAX_API bool VRAXGetFrequencyScanECG(void);

/** @} */

/**
 * @defgroup electrodes Lead-off and right-leg drive
 *
 * Bits of the instrument's relay word. They hold until the library next refreshes its relays: with a
 * change of leads, offset or impedance, and when a signal is selected, changes or ends. The library
 * then forgets them, and the instrument does with the next relay command that differs from the one
 * before. While a signal plays these calls wait for a gap between two packets.
 * @{
 */

/**
 * Simulates a lead-off condition, together with the present output leads.
 *
 * Logged as "VRAXSetLeadOff(1);".
 *
 * @param mode  0: none (bits 11 and 13 off, 14 as it was); 1: bits 13 and 14; 2: bit 13 without 14;
 *              3: bit 11 in addition to what is set
 * @retval 1  the instrument answered
 * @retval 0  no instrument, another mode (nothing is sent or logged then), or no answer
 */
VRAX_API int VRAXSetLeadOff(int mode);

/**
 * Switches the measurement of the right-leg drive on or off. Off is the command that ends photodiode
 * sampling, too.
 *
 * Logged as "VRAXMeasureRLD(true);".
 *
 * @param on  true on, false off
 * @retval 1  acknowledged by the instrument
 * @retval 0  no instrument (nothing is logged then), or no acknowledgement
 */
VRAX_API int VRAXMeasureRLD(bool on);

/**
 * Reads both values of the right-leg drive measurement. Not logged.
 *
 * @param[out] first   volts, 0 to 3.3: 10-bit counts times 3.3 / 1023
 * @param[out] second  likewise
 * @retval 1  read
 * @retval 0  no instrument, a null pointer, or no acknowledgement; nothing is stored
 */
VRAX_API int VRAXReadRLD(double* first, double* second);

/** @} */

/**
 * @defgroup respiration Respiration
 *
 * Breathing in two ways. *Impedance respiration* is made by the instrument, or by the external
 * respiration module where the instrument has one: VRAXEnableRespiration(), then
 * VRAXSetRespiration(). The *respiration algorithm* is computed by the library: a waveform in -1 to
 * 1 that modulates the beats of #OUTPUT_ECG and #OUTPUT_CUSTOM_ECG and the pulses of the PPG.
 *
 * While the external module is present every signal is computed at 5000 samples per second, and
 * with respiration on each sample carries the resistance of the module. Calls that talk to the
 * instrument wait for a gap between two packets while a signal plays.
 * @{
 */

/**
 * Sets the impedance respiration. Breathing starts with VRAXEnableRespiration(); with the external
 * module call that first, since the module is told the output lead only while respiration is on.
 *
 * Apnea covers the last seconds of every minute of play. Without the module the instrument holds
 * its breath from the packet on in which they begin; with it the resistance stays as it was.
 *
 * Logged as "VRAXSetRespiration(1000, 15, 2, 500, 10);".
 *
 * @param variation     peak to peak change of the impedance in milliohms, 50 to 10000. The
 *                      instrument's own generator takes it in steps of 100, rounded down.
 * @param rate          breaths per minute, 1 to 200
 * @param ratio         1 to 5 for inhale:exhale of 1:1 to 1:5
 * @param baseline      ohms: 500, 1000, 1500, 2000 or 2500; with the module also 0, 100, 200, 3000,
 *                      3500, 4000 and 4500. Any other value sends the index of the lowest; the
 *                      ECG is not attenuated then, and with the module the baseline code of the
 *                      stream stays that of the baseline before.
 * @param apneaSeconds  0 to 60; 60 holds the breath for good
 * @retval 1  accepted by the instrument
 * @retval 0  no instrument or an argument out of range (nothing is stored, logged or sent then), or
 *            not accepted; the values are stored then
 */
VRAX_API int VRAXSetRespiration(int variation, int rate, int ratio, int baseline, int apneaSeconds);

/**
 * Holds the external module at 50 ohms plus the variation, for calibration, until
 * VRAXSetRespiration() is called. Rate, ratio and apnea stay as they are. Not logged.
 *
 * Without the module nothing is held: the instrument's own generator is told variation and
 * baseline, with the rate and the ratio that were set last. The variation goes out in steps of 100
 * as one byte, so that values outside 0 to 25500 wrap.
 *
 * @param variation  milliohms, not checked
 * @param baseline   as in VRAXSetRespiration()
 * @retval 1  accepted by the instrument
 * @retval 0  no instrument (nothing is stored then), or not accepted
 */
VRAX_API int VRAXSetCalibrationRespiration(int variation, int baseline);

/**
 * Switches the impedance respiration on or off. Off also sets variation, rate, ratio, baseline and
 * apnea to 0. While it is on, the ECG output is divided by what the baseline impedance attenuates
 * it.
 *
 * The relays follow where they change, and the external module is told that it is off; whether
 * either was acknowledged is not looked at.
 *
 * Logged as "VRAXEnableRespiration(true);".
 *
 * @param on  0 off, anything else on
 * @retval 1  an instrument is open
 * @retval 0  stored, but nothing was sent: no instrument is open, or the output was switched off
 *            while the call waited for its turn
 */
VRAX_API int VRAXEnableRespiration(int on);

/**
 * Sets the respiration algorithm. The depths are fixed with the amplitude and the frequency that
 * are set when this is called. Takes effect at once.
 *
 * Logged as "VRAXSetRespirationAlgorithm(15, 2, 10, 20, 10, 5);".
 *
 * @param rate              breaths per minute, 1 to 200
 * @param ratio             1 to 5 for inhale:exhale of 1:1 to 1:5
 * @param apneaSeconds      0 to 60 at the end of every minute; breaths restart with the next
 * @param baselinePercent   shift of the baseline, 0 to 100 percent of the amplitude
 * @param amplitudePercent  change of the beat's height, 0 to 100 percent of the amplitude
 * @param frequencyPercent  change of the heart rate, 0 to 100 percent of the frequency
 * @retval 1  stored
 * @retval 0  out of range; nothing changes
 */
VRAX_API int VRAXSetRespirationAlgorithm(int rate, int ratio, int apneaSeconds, int baselinePercent,
                                         int amplitudePercent, int frequencyPercent);

/**
 * Ends the respiration algorithm: nothing is modulated any more. Takes effect at once.
 *
 * Logged as "VRAXDisableRespireAlgorithm();".
 */
VRAX_API void VRAXDisableRespireAlgorithm(void);

/**
 * Takes a copy of samples as the resistance that the external module plays, over and over, in the
 * place of the breath. ClearRawArray() drops it. Takes effect at once. Not logged.
 *
 * @param samples  ohms above 50; played within 0 to 10
 * @param count    number of samples, at least 1
 * @param rate     samples per second, at least 1
 * @retval 1  stored
 * @retval 0  a null pointer, or `count` or `rate` below 1, or no memory; the old record stays
 */
VRAX_API int VRAXSetRespirationRawData(const double* samples, int count, int rate);

/** @return  1 when the external respiration module is present, else 0 */
VRAX_API int VRAXRespirationModuleIsConnected(void);

/**
 * Selects a baseline of the external module by its index: its baseline setting is written, then the
 * baseline code of its four codes. Stops at the first step that fails. Not logged.
 *
 * @param index  0 to 11 for 0, 100, 200, 500, 1000, 1500, ... 4500 ohms
 * @param lead   not used: the module is told the lowest of the leads 0 to 2 that are on
 * @retval 1  done
 * @retval 0  no instrument or module, or no acknowledgement
 */
VRAX_API int VRAXExternalRespiratorySetBaseline(int index, int lead);

/**
 * Sets the four codes of the external module. Codes above 65535 count as 65535. Not logged.
 *
 * @param first     code of the first resistance
 * @param second    code of the second resistance
 * @param third     code of the third resistance
 * @param baseline  code of the baseline
 * @retval 1  acknowledged
 * @retval 0  no instrument or module, or no acknowledgement
 */
VRAX_API int VRAXExternalRespiratorySetDAC(unsigned first, unsigned second, unsigned third,
                                           unsigned baseline);

/**
 * Sets the baseline code of the external module; the other three codes stay. Not logged.
 *
 * @param code  codes above 65535 count as 65535
 * @retval 1  acknowledged
 * @retval 0  no instrument or module, or no acknowledgement
 */
VRAX_API int VRAXExternalRespiratorySetBaselineDAC(unsigned code);

/**
 * Sets the external module to a resistance: the first three of its codes, those that
 * ExtRespGetAmplitudeDAC() gives. The baseline code stays. Not logged.
 *
 * @param ohms  the resistance, about 50 to 60
 * @retval 1  acknowledged
 * @retval 0  no instrument or module, or no acknowledgement
 */
VRAX_API int VRAXExternalRespiratorySetAmplitudeByResistance(double ohms);

/**
 * Stores the coefficients of the external module in its flash and takes them over. Does not erase.
 * Not logged.
 *
 * Only with the external module, which is not checked: a PPG module keeps its own calibration in
 * the same place (photodiode ratios, AC ranges), and that is overwritten.
 *
 * @param first       ohms in series with the first programmable resistance
 * @param second      ohms in series with the second one
 * @param correction  of the choice of the third resistance
 * @param reserved    kept with the others
 * @retval 1  stored
 * @retval 0  no instrument, or a part was not acknowledged; the coefficients in force stay
 */
VRAX_API int VRAXWriteRespirationRWA(double first, double second, double correction,
                                     double reserved);

/**
 * Stores the resistances of the module's third element in its flash and takes them over. Takes more
 * than a second, in which no packet goes out. Does not erase. Not logged.
 *
 * Only with the external module, which is not checked: a PPG module keeps its own calibration in
 * the same place (DC levels), and that is overwritten.
 *
 * @param ohms  96 values
 * @retval 1  stored
 * @retval 0  no instrument, a null pointer, or a part was not acknowledged; the table in force
 *            stays
 */
VRAX_API int VRAXExternalRespiratoryWriteRDAC3(const double* ohms);

/**
 * Stores the baseline codes of the external module in its flash and takes them over. Does not
 * erase. Not logged.
 *
 * Only with the external module, which is not checked: a PPG module keeps its own calibration in
 * the same place (photodiode ratios, transmission rates), and that is overwritten.
 *
 * @param codes  12 codes, for 0, 100, 200, 500, 1000, 1500, ... 4500 ohms
 * @retval 1  stored
 * @retval 0  no instrument, a null pointer, or a part was not acknowledged; the table in force
 *            stays
 */
VRAX_API int VRAXWriteRespirationBaselineDACTable(const unsigned short* codes);

/**
 * The baseline code of an index, from the table of the external module. Takes no lock.
 *
 * @param index  0 to 11; below counts as 0, above as 11
 * @return  the code; 0 until a table has been loaded
 */
VRAX_API unsigned short ExtRespGetBaselineDAC(int index);

/**
 * The three codes that set the external module to a resistance: parallel branches, two of 1024
 * steps and one of 96. Takes no lock.
 *
 * @param      ohms   the resistance
 * @param[out] codes  the codes of the first, second and third resistance; all 0 for 0 ohms and
 *                    while the module's table is not loaded
 * @return  the first code; 0 when `codes` is null
 */
VRAX_API unsigned short ExtRespGetAmplitudeDAC(double ohms, unsigned short* codes);

/** @} */

/**
 * @defgroup ppg PPG waveforms
 *
 * The pulse of each of the three channels (LED types 0, 1 and 2): a period of samples in two parts,
 * a DC level and the pulse itself (AC). It is synthesised from a description or taken from the
 * application, and played beside the ECG while VRAXEnablePPGOutput() is on. The stream then runs at
 * 10000 samples a second. Waveforms need no instrument; they are made for the module that is known
 * when they are set, and its ranges hold (VRAXGetDeviceFeature()). With module 0x3307 or 0x3407
 * levels are converted, so that they come out of its finger probe. An instrument without a PPG
 * module has no ranges: while it is connected, descriptions are refused with -5.
 *
 * Channels 0 and 1 share a place in the stream: with a module, it carries the one of the module's
 * first LED. Channel 2 has a place of its own.
 *
 * A reset clears the channels, switches them off, and ends synchronisation and modulation.
 * Memory that is not there for a waveform ends the process.
 * @{
 */

/**
 * Description of a pulse. Zero the whole record before filling it. The fields that are marked so do
 * not shape the pulse: they are kept, within the ranges given.
 */
typedef struct PPG_WAVEFORM {
    int32_t waveform;        /**< 0 sine, 1 triangle, 2 square, 3 standard pulse */
    double frequency;        /**< pulse rate in hertz, 0.16 to 5.0 */
    double dc;               /**< DC level in millivolts (100 to 3000): the top of the pulse, or its
                                  bottom with VRAXEnableACAboveDC() */
    double ac;               /**< millivolts peak to peak (0.75 to 30; to 300 with 0x3407) */
    double notchLevel;       /**< standard pulse: height of the dicrotic notch, mV */
    double dicroticLevel;    /**< standard pulse: height of the dicrotic wave, mV */
    double levelOffset;      /**< kept: mV, from 0 on */
    int32_t t1;              /**< standard pulse: time of the peak, ms from the start of the cycle;
                                  the library fills it for the other shapes */
    int32_t t2;              /**< standard pulse: time of the notch, ms */
    int32_t t3;              /**< standard pulse: time of the dicrotic wave, ms */
    int32_t timeBase;        /**< kept */
    int32_t ledSync;         /**< LED synchronisation: 2, or anything else for 1 */
    int32_t invert;          /**< not 0: upside down. Only the standard pulse is turned over; for
                                  the other shapes the graph callback alone sees it turned. */
    double stepAmplitude;    /**< kept: mV, 0 to 2; 0 without steps */
    int32_t stepCount;       /**< kept: 0 to 7 */
    int32_t variationMode;   /**< kept; 3: the percentage is not limited */
    int32_t variationRate;   /**< kept */
    double variationPercent; /**< kept: -16 to what the AC range leaves */
    int32_t variationCycles; /**< kept: 1 to 5 */
    int32_t reserved[3];     /**< not read */
} PPG_WAVEFORM;
VRAX_CHECK_SIZE(PPG_WAVEFORM, 128);

/**
 * Sets a channel's pulse from a description, or clears the channel.
 *
 * Takes no lock: do not call it on several threads at once. Not logged. Once a channel has been
 * given raw data, a description keeps its character of raw data until the channel is cleared: the
 * pulse is not synchronised to the ECG, and its period is a whole number of samples.
 *
 * @param led   0 to 2
 * @param wave  copied; null clears the channel, also while a signal plays, and forgets its
 *              description
 * @return  samples of a period (10000 a second), above 0
 * @retval  0  cleared, or a frequency that is no number
 * @retval -1  a signal plays or photodiode sampling runs
 * @retval -2  another channel
 * @retval -3  another shape
 * @retval -4  frequency out of range
 * @retval -5  DC level out of range
 * @retval -6  AC amplitude out of range
 * @retval -7  no memory; the old pulse stays
 */
VRAX_API int SetPPGWaveform(int led, const PPG_WAVEFORM* wave);

/**
 * Sets a channel's pulse to a standard shape: the standard pulse peaks at 15 % of the period, has
 * its notch (56 % of the amplitude) at 36 % and its dicrotic wave (64 %) at 46 %.
 *
 * Logged as "VRAXSetPPGStandardWaveform(0, 3, 1, 0, 1.00, 1000, 10.00);".
 *
 * @param led        0 to 2
 * @param waveform   0 sine, 1 triangle, 2 square, 3 standard pulse
 * @param ledSync    as in #PPG_WAVEFORM
 * @param invert     as in #PPG_WAVEFORM
 * @param frequency  hertz, 0.16 to 5.0
 * @param dc         millivolts
 * @param ac         millivolts peak to peak
 * @return  as SetPPGWaveform()
 */
VRAX_API int VRAXSetPPGStandardWaveform(int led, int waveform, int ledSync, int invert,
                                        double frequency, double dc, double ac);

/**
 * Sets two channels as VRAXSetPPGStandardWaveform() does. With module 0x3407, when the amplitudes
 * fall into different AC ranges of the module (from 15 mV, from 1.5 mV, below), all four levels are
 * first multiplied by one factor that brings both into one range, which keeps the ratio of the two
 * channels' AC to DC parts.
 *
 * Not logged. The parameters of either channel are those of VRAXSetPPGStandardWaveform().
 *
 * @param led1        the first channel
 * @param waveform1   its shape
 * @param ledSync1    its trigger position
 * @param invert1     whether it is inverted
 * @param led2        the second channel
 * @param waveform2   its shape
 * @param ledSync2    its trigger position
 * @param invert2     whether it is inverted
 * @param frequency1  its hertz
 * @param dc1         its DC level
 * @param ac1         its AC amplitude
 * @param frequency2  its hertz
 * @param dc2         its DC level
 * @param ac2         its AC amplitude
 * @return  the first channel's result when it is negative, and the second is left alone; otherwise
 *          the second's. As SetPPGWaveform().
 */
VRAX_API int VRAXSetPPGStandardWaveformEx(int led1, int waveform1, int ledSync1, int invert1,
                                          int led2, int waveform2, int ledSync2, int invert2,
                                          double frequency1, double dc1, double ac1,
                                          double frequency2, double dc2, double ac2);

/**
 * Sets a channel's pulse to the application's samples: one period, repeated.
 *
 * Not logged.
 *
 * @param led         0 to 2
 * @param ledSync     LED synchronisation byte, sent as it is
 * @param invert      not 0: the AC part is turned upside down; 1: the graph callback sees it upright
 * @param count       samples in each array, at least 1
 * @param dc          millivolts
 * @param ac          millivolts; cut to 0 to the highest AC amplitude of the module
 * @param sampleRate  samples per second, above 0
 * @retval  0  copied
 * @retval -1  a signal plays or photodiode sampling runs
 * @retval -2  another channel
 * @retval -3  `count` is below 1
 * @retval -4  `dc` is null
 * @retval -5  `ac` is null
 * @retval -6  `sampleRate` is 0 or below
 * @retval -7  no memory; the old pulse stays
 */
VRAX_API int VRAXSetPPGRawData(int led, int ledSync, int invert, int count, const double* dc,
                               const double* ac, double sampleRate);

/**
 * Clears a channel's waveform, at once, also while it plays: its codes are 0 then. Not logged.
 *
 * @param led  0 to 2; others are ignored
 */
VRAX_API void VRAXClearPPGWaveform(int led);

/**
 * Synchronises the pulses to the ECG: the peak comes so long after the R wave of #OUTPUT_ECG or
 * #OUTPUT_CUSTOM_ECG. At once. Pulses should then have the rate of the ECG. Raw data, the other
 * output functions, and a switched-off ECG are not synchronised.
 *
 * Logged as "VRAXSetPTTp(200);".
 *
 * @param ms  pulse transit time, any; below 0 (-1 at load): not synchronised
 */
VRAX_API void VRAXSetPTTp(int ms);

/**
 * Lets the breathing of VRAXSetRespirationAlgorithm() modulate the pulses, at once.
 *
 * Takes no lock. Not logged.
 *
 * @param baselinePercent   of the AC amplitude, added to the DC and the AC part
 * @param amplitudePercent  of both parts
 * @param frequencyPercent  of the ECG rate, which the pulse rate is then taken from: it is half of
 *                          it for each channel that is switched on
 * @retval true   stored; all three are 0 at load
 * @retval false  one is outside 0 to 100; nothing has changed
 */
VRAX_API bool VRAXSetPPGRespirationAlgorithm(int baselinePercent, int amplitudePercent,
                                             int frequencyPercent);

/**
 * Switches a channel's output on or off, with the next run.
 *
 * Logged as "VRAXEnablePPGOutput(0, true);".
 *
 * @param led     0 to 2
 * @param enable  false at load
 * @retval  0  stored
 * @retval -1  a signal plays or photodiode sampling runs
 * @retval -2  another channel
 */
VRAX_API int VRAXEnablePPGOutput(int led, bool enable);

/** @} */

/**
 * @defgroup sensor PPG sensor
 *
 * The PPG module's own light and photodiodes: drive and trigger levels, ambient light, pulse groups,
 * what it measures, and continuous sampling. Every call is one command or a few, and waits for a gap
 * between two packets while a signal plays, or for the next frame (at most 1 s) while photodiode
 * sampling runs. Where nothing else is said it is not logged.
 * @{
 */

/**
 * Sets the trigger level of an LED position. Takes 80 ms.
 *
 * @param position  1 to 3
 * @param level     0 to 255
 * @retval  0  sent and answered
 * @retval -1  no instrument
 * @retval -2  no such position
 * @retval -3  the level is out of range
 * @retval -4  no answer
 */
VRAX_API int SetPPGTriggerLevel(int position, int level);

/**
 * Reads the trigger level of an LED position. Takes 80 ms.
 *
 * @param position  1 to 3
 * @return     the level, 0 to 255
 * @retval -1  no instrument
 * @retval -2  no such position
 * @retval -3  no answer, or one to another question
 */
VRAX_API int GetPPGTriggerLevel(int position);

/**
 * Gives the positions that have an LED the trigger levels that the module left the factory with.
 *
 * @retval  0  done
 * @retval -1  no instrument
 * @retval -2  the factory levels cannot be read, or were never written
 * @retval -3  what was read is not marked as valid
 * @retval -4  a level could not be sent; the rest was not tried
 */
VRAX_API int ResetPPGTriggerLevel(void);

/**
 * Sets the drive level of the LED at a position. Takes 80 ms.
 *
 * @param position  1 to 3
 * @param level     0 to 255
 * @retval  0  sent and answered
 * @retval -1  no such position
 * @retval -2  the level is out of range
 * @retval -3  no instrument or no answer
 */
VRAX_API int SetPPGLedLevel(int position, int level);

/**
 * Gives all three positions the drive levels that the module left the factory with; a position that
 * has an LED, and 0 there, gets 150.
 *
 * @retval  0  done
 * @retval -1  no instrument, or the factory levels cannot be read or were never written
 * @retval -2  what was read is not marked as valid
 * @retval -3  a level could not be sent; the rest was not tried
 */
VRAX_API int ResetPPGLedLevel(void);

/**
 * Reads the trigger levels that the module has found by itself.
 *
 * @param[out] status  five words: the first three as the module sends them, then two levels, which
 *                     are 0 while bits 0 and 1 of byte 2 of the record are both set
 * @retval true   read
 * @retval false  no instrument, no answer, or `status` is null; nothing is stored
 */
VRAX_API bool GetAutoTriggerLevelStatus(uint16_t* status);

/**
 * Lets the module follow the strength of the light that it receives with its LEDs. A connection and
 * the end of an output switch it off.
 *
 * @param on  true on, false off
 * @retval true   acknowledged
 * @retval false  no instrument or no acknowledgement
 */
VRAX_API bool VRAXEnableDynamicLEDStrength(bool on);

/**
 * Switches the dynamic light. Sends nothing when it is in that state already, as far as is known.
 *
 * @param on  0 off, anything else on
 * @retval  0  switched, or nothing to do
 * @retval -1  no instrument or no answer
 */
VRAX_API int SetDynamicLight(int on);

/**
 * Sets the ambient light that the module adds. While a signal plays the answer is not awaited.
 *
 * Logged as "SetLEDAmbientLightMode(3);".
 *
 * @param mode  0 to 14
 * @retval  0  sent
 * @retval -1  no PPG module
 * @retval -2  the mode is out of range; it is not logged
 * @retval -3  not sent or no answer
 */
VRAX_API int VRAXSetLEDAmbientLightMode(int mode);

/**
 * Reads the ambient light mode.
 *
 * @return     the mode
 * @retval -1  no PPG module
 * @retval -2  no answer
 * @retval -3  not acknowledged
 */
VRAX_API int VRAXGetLEDAmbientLightMode(void);

/**
 * Reads the LED pulse-group table: ten bytes, a group code for each of eight slots (0 none, 1, 2, 3)
 * and a 16-bit word in the host's order.
 *
 * @param[in,out] setting  byte 0 becomes 3 and the word 0 when the module says that its groups are
 *                         fixed; else byte 0 stays
 * @retval true   read
 * @retval false  a null pointer, a signal plays or sampling runs, or no acknowledgement; nothing is
 *                stored
 */
VRAX_API bool VRAXReadLEDPulseGroupSetting(uint16_t* setting);

/**
 * Writes the LED pulse-group table. Its groups become fixed when byte 0 is not 0 and the word is 0.
 *
 * @param setting  as read; a code other than 1, 2 or 3 counts as 0
 * @retval true   acknowledged
 * @retval false  a null pointer, a signal plays or sampling runs, or no acknowledgement
 */
VRAX_API bool VRAXWriteLEDPulseGroupSetting(const uint16_t* setting);

/**
 * Reads three pairs of photodiode values. Takes 80 ms.
 *
 * The second value of a pair counts the whole of the byte that both share, 0 to 4335, unlike the
 * 12-bit values of VRAXGetFPGAReport().
 *
 * @param[out] a  first pair: this one and `b`
 * @param[out] b  16 times the second byte plus the third
 * @param[out] c  second pair
 * @param[out] d  second pair
 * @param[out] e  third pair
 * @param[out] f  third pair
 * @retval  0  all six stored
 * @retval -1  no instrument
 * @retval -2  a signal plays or photodiode sampling runs
 * @retval -3  a null pointer or no answer
 * @retval -4  not acknowledged, or the module reports a fault
 */
VRAX_API int GetPDStatus(uint32_t* a, uint32_t* b, uint32_t* c, uint32_t* d, uint32_t* e,
                         uint32_t* f);

/**
 * Reads one sampling status of the module's photodiodes.
 *
 * @param[out] report  18 doubles: 6 or 0 for the first status flag, five zeros, the first and then
 *                     the second values of three pairs (0 to 4095), the first values times the
 *                     module's ratio factors of row 0, the second ones times those of row 1
 * @retval true   read
 * @retval false  no instrument, no answer, or `report` is null; nothing is stored
 */
VRAX_API bool VRAXGetFPGAReport(void* report);

/**
 * A sample of a photodiode: its number, 0 to 3, the value, 0 to 65535, and the status byte of its
 * record.
 *
 * Runs on the poll thread under the library's interrupt lock: it must not call a function that
 * sends a command.
 */
typedef void (*VRAXPPGSamplingCallback)(int channel, int value, int status);

/**
 * Makes ready for photodiode sampling and sets the listener of one photodiode.
 *
 * @param channel   0 to 3; with any other number no listener is set
 * @param callback  null for none
 * @retval  0  done
 * @retval -1  no instrument
 * @retval -2  no PPG module
 * @retval -3  a signal plays, sampling runs, or an image is burnt
 */
VRAX_API int VRAXEnablePPGSampling(int channel, VRAXPPGSamplingCallback callback);

/**
 * Stops the instrument's sampling and removes all listeners. Sampling still counts as running until
 * VRAXStopPPGSampling().
 *
 * @retval  0  done
 * @retval -1  no answer; everything stays as it was
 */
VRAX_API int VRAXDisablePPGSampling(void);

/**
 * Starts sampling of the photodiodes that have a listener; of all four when more than two have one.
 * Takes 80 ms. While it runs, PPG waveforms cannot be changed.
 *
 * @retval  0  running
 * @retval -1  no instrument
 * @retval -2  no PPG module
 * @retval -3  a signal plays, sampling runs, or an image is burnt
 * @retval -4  VRAXEnablePPGSampling() is missing, or the instrument did not acknowledge
 */
VRAX_API int VRAXStartPPGSampling(void);

/** Stops sampling, whether the instrument answers or not. No listener is told after it returns. */
VRAX_API void VRAXStopPPGSampling(void);

/**
 * The pulse of a PPG channel as it is played: seconds since the start, mV, upright and before the
 * respiration modulates it.
 *
 * Runs on the thread that builds the packets, under the library's interrupt lock.
 */
typedef void (*VRAXOutputPPGCallback)(double time, double value);

/**
 * Sets the listener of a PPG channel's pulse. It is told as often as that of
 * VRAXRegisterOutputSignalCallback(), while the channel's output is enabled.
 *
 * @param led       0, 1 or 2; anything else is ignored
 * @param callback  null for none
 */
VRAX_API void VRAXRegisterOutputPPGCallback(int led, VRAXOutputPPGCallback callback);

/** @} */

/**
 * @defgroup rawdc Raw DC codes
 * DC levels given as converter codes, for calibration. Not logged by themselves.
 * @{
 */

/**
 * Sends a fixed code to the DC converter in place of the calibrated DC level, from the next sample
 * to the end of the run. Switches the variable mode on and the relays at once.
 *
 * @param code  0 to 65535
 * @retval 1  stored
 * @retval 0  out of range; nothing has changed
 */
VRAX_API int SetDcDac(int code);

/**
 * Plays a constant DC level: switches the output off, pauses 20 ms, sets the code as SetDcDac()
 * does, the amplitude to 0, and plays #OUTPUT_SQUARE.
 *
 * Logged are the lines of the setters that it calls.
 *
 * @param code  0 to 65535
 * @retval 1  it plays
 * @retval 0  `code` is out of range, or a setter refused; the output is off in the first case
 */
VRAX_API int PlayFixedDCByDAC(unsigned code);

/** @} */

/**
 * @defgroup callbacks Signal callbacks
 *
 * One callback of each kind; a registration replaces the one before, null removes it. Registering
 * is not logged and takes effect at once, but a call that is under way when the registration
 * returns may still be running.
 * @{
 */

/**
 * A point of the ECG signal, for display.
 *
 * Runs on the packet thread with the interrupt lock held (for the first packet of a run: the API
 * lock too), so it comes before the point is output, a packet's points in one burst. Must not call
 * the library, except to stop (see the file's overview).
 *
 * @param time  seconds since the signal was selected
 * @param mv    the ECG value in millivolts, with noise and overshoot, without the DC offset
 */
typedef void (*VRAXOutputSignalCallback)(double time, double mv);

/**
 * A corner of a pacing pulse, for display: four calls for each pulse draw its rectangle.
 *
 * Runs on the packet thread with the interrupt lock held (for the first packet of a run: the API
 * lock too). Must not call the library, except to stop.
 *
 * @param time       seconds since the signal was selected
 * @param amplitude  millivolts: 0, the pacing amplitude twice, 0
 */
typedef void (*VRAXPacingOutputSignalCallback)(double time, double amplitude);

/**
 * Told when the library itself has changed the frequency.
 *
 * Comes when a frequency is cut to the ceiling of the signal (`second` is 2.0), after every packet
 * of a frequency scan, and at its end (`frequency` is -1.0, `second` the stop frequency).
 *
 * Runs on the packet thread with the interrupt lock held, or on the thread of a setter, with the
 * API lock held, when that setter made the cut. Must not call the library, except to stop.
 *
 * @param frequency  hertz, or -1.0 at the end of a scan
 * @param second     2.0 after a cut, the graph time in seconds during a scan, the stop frequency in
 *                   hertz at its end
 */
typedef void (*VRAXSyncFrequencyCallback)(double frequency, double second);

/**
 * Told when the input dynamic range test moves its DC level.
 *
 * Runs on the packet thread with the interrupt lock held, and on the thread that calls
 * GetRawDataArrayEx(). Must not call the library, except to stop.
 *
 * @param dc        the new level in whole millivolts; -300 also at the ramp's start and end
 * @param newDC     the new level in millivolts; at the start and the end the time limit in seconds,
 *                  0.0003 and 1220.0003
 * @param previous  the level before in millivolts; at the start and the end the time in seconds
 */
typedef void (*VRAXSyncDCOffsetCallback)(int dc, double newDC, double previous);

/**
 * Told when a frequency scan switches the output function itself.
 *
 * Runs on the thread that calls the setter with the API lock held, or at the end of a scan on the
 * packet thread with the interrupt lock held. Must not call the library, except to stop.
 *
 * @param function  the new output function, #OUTPUT_OFF at the end
 * @param value     the change of the frequency with each sample in hertz when a scan starts; when a
 *                  sine scan ends its stop frequency, when an ECG scan ends 0
 */
typedef void (*VRAXSyncMainFunctionCallback)(int function, double value);

/**
 * Told when a waveform or record that plays once has come to its end; the output is then switched
 * off.
 *
 * Runs on the packet thread with the interrupt lock held, and on the thread that calls
 * GetRawDataArrayEx(). Must not call the library, except to stop.
 *
 * @param t       seconds since the signal was selected
 * @param period  its length in seconds
 */
typedef void (*VRAXStandardWaveformCallback)(double t, double period);

/**
 * Told of each change of the baseline reset test, before it is stored.
 *
 * Runs on the thread that calls VRAXSetBaselineResetTest(), at the end of a run on the play thread,
 * with the API lock held. Must not wait for another thread that calls the library.
 *
 * @param test  the new value
 */
typedef void (*VRAXBaselineResetCallback)(int test);

/**
 * Registers the display callback.
 *
 * @param callback  null for none
 * @param divider   the callback sees one sample in every max(1, divider / 4), in whole numbers: 40
 *                  gives every tenth. Cut to the sample rate; 0 and less count as 1.
 */
VRAX_API void VRAXRegisterOutputSignalCallback(VRAXOutputSignalCallback callback, int divider);

/**
 * Registers the callback that draws pacing pulses.
 *
 * @param callback  null for none
 */
VRAX_API void VRAXRegisterPacingOutputSignalCallback(VRAXPacingOutputSignalCallback callback);

/**
 * Registers the frequency callback.
 *
 * @param callback  null for none
 */
VRAX_API void VRAXRegisterSyncFrequencyCB(VRAXSyncFrequencyCallback callback);

/**
 * Registers the callback of the input dynamic range test.
 *
 * @param callback  null for none
 */
VRAX_API void VRAXRegisterSyncDCOffsetCB(VRAXSyncDCOffsetCallback callback);

/**
 * Registers the main function callback.
 *
 * @param callback  null for none
 */
VRAX_API void VRAXRegisterSyncMainFunctionCB(VRAXSyncMainFunctionCallback callback);

/**
 * Registers the callback for the end of a waveform. Takes no lock.
 *
 * @param callback  null for none
 */
VRAX_API void RegisterStandardWaveformCB(VRAXStandardWaveformCallback callback);

/**
 * Registers the callback of the baseline reset test. Takes no lock.
 *
 * @param callback  null for none
 */
VRAX_API void RegisterBaselineResetCB(VRAXBaselineResetCallback callback);

/** @} */

/**
 * @defgroup synchronization Synchronised start
 *
 * A run that is given a signal sends its first packet only when the signal has been set, so that it
 * starts at the application's mark, together with other equipment. Not logged.
 * @{
 */

/** A signal that starts runs. Opaque. */
typedef struct VRAXSynchronizationSignalObject* VRAXSynchronizationSignal;

/**
 * Makes a signal, not set.
 *
 * The caller owns it. It is small and lives until the process ends; there is no call that frees
 * it, so make one and use it again.
 *
 * @return  the signal, or null when there is no memory
 */
VRAX_API VRAXSynchronizationSignal VRAXCreateSynchronizationSignal(void);

/**
 * Chooses the signal for which the next run waits. It waits without time limit; switching the
 * output off ends it all the same.
 *
 * @param signal  a signal, or null for none (as at load)
 */
VRAX_API void VRAXSetSynchronizationSignal(VRAXSynchronizationSignal signal);

/**
 * Sets a signal: runs that wait for it start, and later ones do not wait until it is reset. Takes
 * no lock.
 *
 * @param signal  null does nothing
 */
VRAX_API void VRAXSynchronizationSignalSetEvent(VRAXSynchronizationSignal signal);

/**
 * Resets a signal: runs wait for it again. Takes no lock.
 *
 * @param signal  null does nothing
 */
VRAX_API void VRAXSynchronizationSignalResetEvent(VRAXSynchronizationSignal signal);

/** @} */

/**
 * @defgroup files Recordings from files
 *
 * Each loader replaces the record that #OUTPUT_ECG_FILE plays by one channel of a file, in
 * millivolts, and returns the number of its samples. The next run plays it; a run that is on plays
 * 0 mV while the file is read and then the new samples, with the length of cycle that it started
 * with. No run should be started, and no parameter set, by another thread meanwhile.
 *
 * A file that is refused before its samples are looked at leaves the old record in place. The codes
 * with which it is gone are marked: the record is then empty. Numbers in text are read with a
 * decimal point in every locale. Not logged.
 * @{
 */

/**
 * Reads the names of the channels of a text file (see VRAXLoadECGtxt()).
 *
 * The rate of the file becomes that of the present record, though nothing is loaded, and the file
 * stays open until the process ends. Takes no lock.
 *
 * @param      path   the file
 * @param[out] names  room for as many pointers as the file has channels, of which the first 128 are
 *                    stored: a new string of 128 bytes each, empty where the file has no name, null
 *                    without memory. The caller frees them with free().
 * @return  the number of channels that the file announces
 * @retval -1  the file cannot be opened, or a pointer is null
 * @retval -2  the rate is missing or 0
 * @retval -3  the number of samples is missing or 0
 * @retval -4  the number of channels is missing, 0 or negative
 * @retval -5  the names are missing
 */
VRAX_API int CheckECGTxtChannel(const char* path, char** names);

/**
 * Loads one channel of a text file.
 *
 * Lines: samples per second, number of samples, number of channels, the channels' names, then one
 * line of millivolts for each sample; names and values are separated by commas. A line has at most
 * 127 characters, a longer one goes on as the next. The samples end with the file or with the
 * announced number, whichever is first; values are held within 20 mV of zero, and text that is no
 * number is 0.
 *
 * @param path     the file
 * @param channel  from 0
 * @return  the number of samples, 0 for a file with a header alone
 * @retval -1  the file cannot be opened
 * @retval -2  the rate is missing, 0 or outside 100 to 40000
 * @retval -3  the number of samples is missing or 0
 * @retval -4  the number of channels is missing or 0
 * @retval -5  the names are missing
 * @retval -6  no memory, or the number of samples is negative, or above a million and eight times
 *             what the file has bytes for; the old record is gone
 * @retval -7  the file has no such channel, or a line has too few fields; with a line the old
 *             record is gone. When the header lacks the channel, the file stays open until the
 *             process ends, as with a rate out of range.
 */
VRAX_API int VRAXLoadECGtxt(const char* path, int channel);

/**
 * Loads a binary file: samples per second (16 bits), number of samples (32 bits), then 16-bit words
 * of microvolts with a sign, all of it big-endian. The samples end with the file or with the
 * announced number, whichever is first; values are held within 20 mV of zero. Takes no API lock.
 *
 * @param path  the file
 * @return  the number of samples, 0 for a file with a header alone
 * @retval -1  the file cannot be opened
 * @retval -2  the rate is missing or outside 30 to 5000
 * @retval -3  the number of samples is missing, 0 or above 20000000
 * @retval -4  no memory; the old record is gone
 */
VRAX_API int LoadECGBin(const char* path);

/**
 * Loads one channel of a recording of the AHA database, 250 samples per second, 400 units per
 * millivolt.
 *
 * A path that ends in ".txt" is text: a line for each sample with the values of both channels,
 * separated by commas or spaces. Lines that are blank, have one field, or text that is no number in
 * the field of the channel, are left out. A path that ends in ".ecg" is binary: five bytes for each
 * sample, a little-endian 16-bit value with a sign for each channel and one byte more. Lower case
 * alone. Values are taken as they are. Takes no API lock.
 *
 * @param path     the file
 * @param channel  0 or 1
 * @return  the number of samples
 * @retval -1  `path` is null, shorter than four characters or ends otherwise
 * @retval -2  the file cannot be read
 * @retval -3  there is no such channel
 * @retval -4  the file has no sample; the old record is gone
 * @retval -5  no memory; the old record is gone
 */
VRAX_API int LoadECGAHA(const char* path, int channel);

/**
 * Loads one signal of an EDF or EDF+ file, taken as microvolts and held within 20 mV of zero.
 *
 * The identification fields must have the words that EDF+ demands, and a data record must last
 * whole seconds. The rate is the signal's samples per data record divided by its seconds, fractions
 * cut off.
 *
 * @param path     the file
 * @param channel  from 0
 * @return  the number of samples
 * @retval -1  the file cannot be opened
 * @retval -2  the header is short or not accepted
 * @retval -3  there is no such signal, it holds annotations, or the number of data records is
 *             unknown
 * @retval -4  no memory, or the header promises far more than the file holds; the old record is
 *             gone
 * @retval -5  the rate is outside 100 to 40000; the new record is loaded
 */
VRAX_API int VRAXLoadECGedf(const char* path, int channel);

/**
 * Loads one signal of a WFDB (MIT) record in format 212 or 16, in the units of its header, which
 * are taken as millivolts. Values are taken as they are.
 *
 * @param heaPath  the header, text
 * @param datPath  the signal file, whatever file the header names
 * @param channel  from 0
 * @return  the number of samples
 * @retval -1  the header cannot be opened or is not accepted
 * @retval -2  the signal file cannot be opened, or has another format
 * @retval -3  there is no such signal
 * @retval -4  no samples, no memory, or the header promises far more than the file holds; the old
 *             record is gone
 * @retval -5  the rate is outside 100 to 40000; the new record is loaded
 */
VRAX_API int VRAXLoadECGdat(const char* heaPath, const char* datPath, int channel);

/** @} */

/**
 * @defgroup raw Records and sample rate
 *
 * The record that #OUTPUT_ECG_FILE plays, and the rate at which samples are computed. The calls on
 * the record take no lock: do not call them while #OUTPUT_ECG_FILE plays. Not logged.
 * @{
 */

/**
 * Takes a copy of samples as the record. The next run of #OUTPUT_ECG_FILE plays it.
 *
 * @param count    number of samples, at least 1
 * @param samples  millivolts
 * @param rate     samples per second, at least 1
 * @retval  0  stored
 * @retval -1  `samples` is null, or `count` or `rate` is below 1; the old record stays
 * @retval -2  no memory; the old record stays
 */
VRAX_API int SetRawArray(int count, const double* samples, int rate);

/** Drops the ECG record and the respiration record, and sets both rates to 20000 per second. */
VRAX_API void ClearRawArray(void);

/**
 * The record itself.
 *
 * @param[out] count  number of samples
 * @param[out] rate   samples per second, fractions cut off
 * @return  the samples in millivolts, valid until the record is replaced or dropped; null when
 *          there is none or a pointer is null
 */
VRAX_API double* GetFileArray(unsigned* count, unsigned* rate);

/**
 * Computes a signal into an array, with the present parameters and no instrument: sample i is the
 * value at i / rate seconds, without pacing and DC offset. The parameters stay as they are, but the
 * output function is #OUTPUT_OFF afterwards. The samples after the end of a waveform that plays
 * once are those of the noise-stress record alone.
 *
 * @param      function  an #OutputFunction_E
 * @param[out] out       room for `count` values in millivolts; always filled in full
 * @param      count     number of samples
 * @param      rate      samples per second, 100 to 40000
 * @return  `count`, raised to one second's samples (for 0 and below too) and cut to 1800 seconds'
 *          samples; 0, and nothing written, while a signal plays, when `out` is null, or when
 *          `rate` is out of range
 */
VRAX_API int GetRawDataArrayEx(unsigned function, double* out, int count, int rate);

/**
 * Chooses whether #OUTPUT_ECG_FILE repeats its record or plays it once. Takes effect at once.
 *
 * @param loop  0 once, anything else repeats; on at load, a reset leaves it alone
 */
VRAX_API void VRAXSetFileLoop(int loop);

/**
 * Sets the number of samples a second of the ECG output; also cuts the divider of
 * VRAXRegisterOutputSignalCallback() to it.
 *
 * @param rate  100 to 40000; 20000 at load
 * @retval  0  stored
 * @retval -1  no instrument is open and no connection listener is registered
 * @retval -2  out of range
 * @retval -3  refused while a signal plays
 */
VRAX_API int VRAXSetSampleRate(int rate);

/**
 * @return  the samples a second in force: 5000 with the external respiration module, the PPG rate
 *          (10000) while a PPG output is enabled, else that of VRAXSetSampleRate()
 */
VRAX_API int VRAXGetSampleRate(void);

/** @return  the version of the library's interface, "1.2.5.5" */
VRAX_API const char* VRAXGetSDKVersion(void);

/** @} */

/**
 * @defgroup diagnostics Diagnostics
 * A log of the calls that set parameters, and a record of the computed samples. None of these calls
 * takes the API lock or is logged.
 * @{
 */

/**
 * Logs from now on: one line for each setter, written as the call itself. Lines are appended; the
 * file is opened and closed for each, and a line that cannot be written is dropped.
 *
 * @param path  at most 511 bytes; the file is made with the first line
 * @retval  0  on
 * @retval -2  `path` is longer or null; the log is now off
 */
VRAX_API int EnableSaveLog(const char* path);

/** Ends the log with an empty line. Does nothing while it is off. */
VRAX_API void DisableSaveLog(void);

/**
 * @return  the path of the log, empty while it is off; valid until the log is switched on or off
 */
VRAX_API const char* GetSaveLogPath(void);

/**
 * Records the voltage of every computed sample, from the next one on.
 *
 * When the buffers are full nothing more is recorded, but recording stays on until
 * DisableRecordRaw(). The packet thread writes the buffers: they must stay valid until then.
 *
 * @param ac      `length` values: the AC part in millivolts
 * @param dc      `length` values: the DC part in millivolts
 * @param length  samples that each buffer holds. With a null buffer, or a length below 1,
 *                recording is on but takes nothing.
 * @retval true   on
 * @retval false  it was on already and goes on with the old buffers
 */
VRAX_API bool EnableRecordRaw(double* ac, double* dc, int length);

/** Ends recording and forgets the buffers: once it has returned they are not written any more. */
VRAX_API void DisableRecordRaw(void);

/**
 * Writes values to a text file, one a line with three decimals. An existing file is replaced.
 *
 * @param values  null is allowed when `count` is 0 or less
 * @param count   number of values; 0 or less makes an empty file
 * @param path    the file
 * @retval  0  written
 * @retval -3  the file cannot be opened, or a needed pointer is null
 * @retval -6  a line could not be written; the file stays, partly written
 */
VRAX_API int DumpRawData(const double* values, int count, const char* path);

/** @} */

#ifdef __cplusplus
}
#endif

#undef VRAX_CHECK_SIZE

#endif /* VRAX_H */
