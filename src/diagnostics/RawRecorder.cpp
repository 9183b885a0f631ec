#include "diagnostics/RawRecorder.h"

#include <atomic>
#include <cstdio>

#include "device/LineState.h"
#include "platform/CLocale.h"
#include "platform/File.h"
#include "vrax.h"

namespace {
constexpr int kWritten = 0;
constexpr int kCannotOpen = -3;
constexpr int kCannotWrite = -6;

// Set last and read first, so that whoever sees it sees the buffers too.
std::atomic<bool> s_EnableRecord{false};
Shared<double*> s_AcBuffer = nullptr;
Shared<double*> s_DcBuffer = nullptr;
Shared<int> s_RecordLength = 0;
Shared<int> s_RecordIndex = 0;
}  // namespace

void RecordRawSample(double ac, double dc)
{
    if (!s_EnableRecord.load(std::memory_order_acquire)) return;
    double* acBuffer = s_AcBuffer;
    double* dcBuffer = s_DcBuffer;
    const int index = s_RecordIndex;
    if (index >= s_RecordLength || acBuffer == nullptr || dcBuffer == nullptr) return;
    acBuffer[index] = ac;
    dcBuffer[index] = dc;
    s_RecordIndex = index + 1;
}

bool EnableRecordRaw(double* ac, double* dc, int length)
{
    if (s_EnableRecord.load(std::memory_order_acquire)) return false;
    s_AcBuffer = ac;
    s_DcBuffer = dc;
    s_RecordLength = length;
    s_RecordIndex = 0;
    s_EnableRecord.store(true, std::memory_order_release);
    return true;
}

// Once no packet is being built, nobody writes to the buffers any more.
void DisableRecordRaw(void)
{
    s_EnableRecord.store(false, std::memory_order_release);
    CAutoCriticalSection packetIsBuilt(g_PacketCriticalSection);
    s_AcBuffer = nullptr;
    s_DcBuffer = nullptr;
    s_RecordLength = 0;
    s_RecordIndex = 0;
}

int DumpRawData(const double* values, int count, const char* path)
{
    if (values == nullptr && count > 0) return kCannotOpen;
    std::FILE* file = OpenFileUtf8(path, "w+");
    if (file == nullptr) return kCannotOpen;
    const CAutoCLocale locale;
    for (int i = 0; i < count; ++i) {
        // The file is left open and partly written then, kept so.
        if (std::fprintf(file, "%.3f\n", values[i]) < 0) return kCannotWrite;
    }
    if (std::fflush(file) != 0) return kCannotWrite;
    std::fclose(file);
    return kWritten;
}
