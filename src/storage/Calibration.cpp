#include "storage/Calibration.h"

#include <limits.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "device/Exchange.h"
#include "device/Identification.h"
#include "platform/File.h"

Shared<std::uint16_t> g_ECGDCVariableCalibrationData[kDCCalibrationWords];
Shared<std::uint16_t> g_PPGDCTable[kPPGDCTableRows][kPPGDCTableWords];
Shared<std::uint16_t> g_pPPGPDSamplingCalibrationData[2 * kPDSamplingWords];
const char* const CALIBRATION_FILE_NAME = "calibration.dat";

namespace {
constexpr std::uint16_t kFullScale = 65535;
constexpr std::size_t kDefaultRampStart = 1000;  // -1000 mV
constexpr std::size_t kDefaultRampEnd = 3000;    // +1000 mV
constexpr double kDefaultCodesPerMv = 32.7675;
constexpr std::size_t kValidFirst = 1500;  // -500 mV
constexpr std::size_t kValidLast = 2500;   // +500 mV
constexpr std::size_t kFileCheckFirst = 1000;
constexpr std::size_t kFileCheckLast = 2999;
constexpr std::uint16_t kFileRejectWord = 255;  // not 0xFFFF, deliberately
constexpr int kFailed = -1;

using CalibrationTable = std::uint16_t[kDCCalibrationWords];

CSimpleCriticalSection s_calibrationSection;
// Directory of the file, with its separator at the end.
char s_calibrationPath[512] GUARDED_BY(s_calibrationSection) = "";
// The file as last read by GetCalibrationCache, or null.
std::uint16_t* g_CalibrationCache GUARDED_BY(s_calibrationSection) = nullptr;

// Empty where it is longer than any path that can be opened. Needs no memory: an application without
// any is told so by a code.
class CalibrationFilePath {
public:
    explicit CalibrationFilePath(const char* directory)
    {
        const int length =
            std::snprintf(text_, sizeof text_, "%s%s", directory, CALIBRATION_FILE_NAME);
        if (length < 0 || static_cast<std::size_t>(length) >= sizeof text_) text_[0] = '\0';
    }
    const char* Text() const { return text_; }

private:
    char text_[PATH_MAX];
};

struct Prefix {
    char text[sizeof s_calibrationPath];
};

Prefix CurrentPrefix()
{
    CAutoCriticalSection lock(s_calibrationSection);
    Prefix prefix;
    std::memcpy(prefix.text, s_calibrationPath, sizeof prefix.text);
    return prefix;
}

// Words stand little-endian in the file, as in memory on this platform.
bool ReadTableFile(const char* path, CalibrationTable& table)
{
    File file(OpenFileUtf8(path, "rb"));
    return file && std::fread(table, sizeof table[0], kDCCalibrationWords, file.get()) ==
                       kDCCalibrationWords;
}

void StoreTable(const CalibrationTable& table)
{
    for (std::size_t i = 0; i < kDCCalibrationWords; ++i) {
        g_ECGDCVariableCalibrationData[i] = table[i];
    }
}

void CopyTable(CalibrationTable& table)
{
    for (std::size_t i = 0; i < kDCCalibrationWords; ++i) {
        table[i] = g_ECGDCVariableCalibrationData[i];
    }
}

// The table takes what was read, also when only part of it came.
bool LoadFromFlash(bool (*read)(void*))
{
    CalibrationTable table = {};
    const bool complete = read(table);
    StoreTable(table);
    return complete && ValidateDCCalibrationData();
}

bool WriteTableToFlash()
{
    CalibrationTable table;
    CopyTable(table);
    return CopyDCVariableCalibrationData(table);
}

void StoreIdentity(Shared<std::uint16_t>* words, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) words[i] = static_cast<std::uint16_t>(i);
}

void LoadPPGDCTableRow(int row)
{
    Shared<std::uint16_t>* target = g_PPGDCTable[row];
    std::uint16_t words[kPPGDCTableWords];
    if (!ReadPPGDCTable(row, words, kPPGDCTableWords)) return;
    for (std::size_t i = 0; i < kPPGDCTableWords; ++i) target[i] = words[i];
    if (words[kPPGDCTableWords - 1] == kErasedWord) StoreIdentity(target, kPPGDCTableWords);
}

// `probe` is the word that tells an erased table.
void LoadPDSamplingTable(LEDType led, std::size_t offset, std::size_t probe)
{
    std::uint16_t words[kPDSamplingWords] = {};
    ReadPPGCalibrationDataPDSampling(led, words);
    Shared<std::uint16_t>* target = g_pPPGPDSamplingCalibrationData + offset;
    for (std::size_t i = 0; i < kPDSamplingWords; ++i) target[i] = words[i];
    if (words[probe] == kErasedWord || words[kPDSamplingWords - 1] == 0) {
        StoreIdentity(target, kPDSamplingWords);
    }
}

void FreeCache() REQUIRES(s_calibrationSection)
{
    std::free(g_CalibrationCache);
    g_CalibrationCache = nullptr;
}
}  // namespace

void SetECGDCVariableCalibrationData()
{
    for (Shared<std::uint16_t>& word : g_ECGDCVariableCalibrationData) word = 0;
    if (LoadCalibrationData() == 0) return;  // the file wins over the instrument
    if (LoadFromFlash(ReadFlashCalibrationData)) {
        SaveCalibrationData(CurrentPrefix().text);
        // Moves to the new place once; the old one goes when the new one is written.
        if (WriteTableToFlash()) ClearFlashCalibrationData();
        return;
    }
    if (LoadFromFlash(ReadDCVariableCalibrationData)) {
        SaveCalibrationData(CurrentPrefix().text);
        return;
    }
    _SetECGDCDefaultCalibrationData();
}

void LoadPPGDCTable()
{
    if (GetPPGFullModelNumber() != kPPGModel3407) return;
    LoadPPGDCTableRow(0);
    LoadPPGDCTableRow(1);
}

void LoadPPGPDSamplingCalibrationData()
{
    constexpr LEDType kOtherLed = 2;
    if (!_IsPPGConnected()) return;
    LoadPDSamplingTable(kLed1, 0, 0);
    if (g_DeviceFeature.Load().photodiodeChannels > 1) {
        // Looks at word 1, not 0, of the second table; kept as it is.
        LoadPDSamplingTable(kOtherLed, kPDSamplingWords, 1);
    }
}

void FreeCalibrationCache()
{
    CAutoCriticalSection lock(s_calibrationSection);
    FreeCache();
}

void _SetECGDCDefaultCalibrationData()
{
    for (std::size_t i = 0; i < kDCCalibrationWords; ++i) {
        std::uint16_t word = 0;
        if (i > kDefaultRampEnd) word = kFullScale;
        if (i >= kDefaultRampStart && i <= kDefaultRampEnd) {
            word = static_cast<std::uint16_t>(kDefaultCodesPerMv *
                                              static_cast<double>(i - kDefaultRampStart));
        }
        g_ECGDCVariableCalibrationData[i] = word;
    }
}

void _outputECGDCVariableCalibrationData(const char* path)
{
    File file(OpenFileUtf8(path, "w+"));
    if (!file) return;
    for (const Shared<std::uint16_t>& word : g_ECGDCVariableCalibrationData) {
        std::fprintf(file.get(), "%d\n", static_cast<int>(word));
    }
}

void SetCalibrationDataPath(const char* path)
{
    CApiLock api;
    CAutoCriticalSection lock(s_calibrationSection);
    std::memset(s_calibrationPath, 0, sizeof s_calibrationPath);
    if (path != nullptr) std::snprintf(s_calibrationPath, sizeof s_calibrationPath, "%s", path);
}

int SaveCalibrationData(const char* dir)
{
    CApiLock api;
    if (dir == nullptr) return kFailed;
    File file(OpenFileUtf8(CalibrationFilePath(dir).Text(), "wb+"));
    if (!file) return kFailed;
    CalibrationTable table;
    CopyTable(table);
    std::fwrite(table, sizeof table[0], kDCCalibrationWords, file.get());
    return 0;
}

int LoadCalibrationData()
{
    CApiLock api;
    CalibrationTable table;
    {
        CAutoCriticalSection lock(s_calibrationSection);
        int count = 0;
        const std::uint16_t* cache = GetCalibrationCache(&count);
        if (cache == nullptr || count != static_cast<int>(kDCCalibrationWords)) return kFailed;
        std::memcpy(table, cache, sizeof table);
    }
    for (std::size_t i = kFileCheckFirst; i <= kFileCheckLast; ++i) {
        if (table[i] != kFileRejectWord) continue;
        _SetECGDCDefaultCalibrationData();
        return kFailed;
    }
    StoreTable(table);
    return 0;
}

unsigned short* GetCalibrationCache(int* count)
{
    CApiLock api;
    if (count == nullptr) return nullptr;
    const Prefix prefix = CurrentPrefix();
    CAutoCriticalSection lock(s_calibrationSection);
    FreeCache();
    *count = 0;
    CalibrationTable table;
    if (!ReadTableFile(CalibrationFilePath(prefix.text).Text(), table)) return nullptr;
    g_CalibrationCache = static_cast<std::uint16_t*>(std::malloc(sizeof table));
    if (g_CalibrationCache == nullptr) return nullptr;
    std::memcpy(g_CalibrationCache, table, sizeof table);
    *count = static_cast<int>(kDCCalibrationWords);
    return g_CalibrationCache;
}

int GetCalibrationCacheEx(void* buffer, unsigned size)
{
    CApiLock api;
    const Prefix prefix = CurrentPrefix();
    if (buffer == nullptr || size < kDCCalibrationWords || prefix.text[0] == '\0') return 0;
    CalibrationTable table;
    if (!ReadTableFile(CalibrationFilePath(prefix.text).Text(), table)) return 0;
    std::memcpy(buffer, table, sizeof table);
    return static_cast<int>(kDCCalibrationWords);
}

int ClearCalibrationCache(void)
{
    CApiLock api;
    const Prefix prefix = CurrentPrefix();
    CAutoCriticalSection lock(s_calibrationSection);
    FreeCache();
    return std::remove(CalibrationFilePath(prefix.text).Text()) == 0 ? 0 : kFailed;
}

bool ValidateDCCalibrationData(void)
{
    CApiLock api;
    for (std::size_t i = kValidFirst; i <= kValidLast; ++i) {
        if (g_ECGDCVariableCalibrationData[i] == kErasedWord) return false;
    }
    return true;
}

bool ReadDCCalibrationData(void)
{
    CApiLock lock;
    CalibrationTable table = {};
    const bool complete = ReadDCVariableCalibrationData(table);
    StoreTable(table);
    return complete;
}

bool WriteDCCalibrationData(const unsigned int* values, long count)
{
    if (values == nullptr || count != static_cast<long>(kDCCalibrationWords)) return false;
    CApiLock lock;
    for (std::size_t i = 0; i < kDCCalibrationWords; ++i) {
        g_ECGDCVariableCalibrationData[i] = static_cast<std::uint16_t>(values[i]);
    }
    if (!WriteTableToFlash()) return false;
    SaveCalibrationData(CurrentPrefix().text);
    return true;
}

bool ClearDCCalibrationData(void)
{
    CApiLock lock;
    const bool cleared = ClearDCVariableCalibrationData() && ClearFlashCalibrationData();
    if (cleared) ClearCalibrationCache();
    return cleared;
}

size_t GetPPGDCTable(int row, void* buffer, size_t n)
{
    CApiLock api;
    if (row < 0 || row >= static_cast<int>(kPPGDCTableRows) || buffer == nullptr) return 0;
    std::uint16_t words[kPPGDCTableWords];
    for (std::size_t i = 0; i < kPPGDCTableWords; ++i) words[i] = g_PPGDCTable[row][i];
    // The limit counts words but the copy counts bytes, kept: 1500 words and one byte at the most.
    const std::size_t bytes = n < kPPGDCTableWords ? n : kPPGDCTableWords;
    std::memcpy(buffer, words, bytes);
    return bytes;
}
