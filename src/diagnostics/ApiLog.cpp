#include "diagnostics/ApiLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "platform/CLocale.h"
#include "platform/Platform.h"
#include "vrax.h"

namespace {
constexpr mode_t kLogFileMode = 0666;
constexpr int kStored = 0;
constexpr int kPathTooLong = -2;

CSimpleCriticalSection s_logSection;
Shared<bool> s_SaveLog = false;
// Empty when logging is off.
char s_LogFilePath[512] GUARDED_BY(s_logSection) = "";

void AppendToLog(const char* text, std::size_t length)
{
    CAutoCriticalSection lock(s_logSection);
    const int file = open(s_LogFilePath, O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, kLogFileMode);
    if (file == -1) return;
    if (write(file, text, length) < 0) {
        // A full disk drops the line as an unopened file does.
    }
    close(file);
}

// The line with its line feed; null without memory.
std::unique_ptr<char[]> Format(const char* format, va_list arguments, std::size_t& length)
{
    const CAutoCLocale locale;
    va_list measured;
    va_copy(measured, arguments);
    const int characters = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (characters < 0) return nullptr;
    length = static_cast<std::size_t>(characters) + 1;
    std::unique_ptr<char[]> line(new (std::nothrow) char[length]);
    if (line == nullptr) return nullptr;
    std::vsnprintf(line.get(), length, format, arguments);
    line[length - 1] = '\n';
    return line;
}
}  // namespace

void _outputLog(const char* format, ...)
{
    if (!s_SaveLog) return;
    va_list arguments;
    va_start(arguments, format);
    std::size_t length = 0;
    const std::unique_ptr<char[]> line = Format(format, arguments, length);
    va_end(arguments);
    if (line != nullptr) AppendToLog(line.get(), length);
}

int EnableSaveLog(const char* path)
{
    CAutoCriticalSection lock(s_logSection);
    std::memset(s_LogFilePath, 0, sizeof s_LogFilePath);
    if (path == nullptr || std::strlen(path) >= sizeof s_LogFilePath) {
        s_SaveLog = false;
        return kPathTooLong;
    }
    std::snprintf(s_LogFilePath, sizeof s_LogFilePath, "%s", path);
    s_SaveLog = true;
    return kStored;
}

void DisableSaveLog(void)
{
    CAutoCriticalSection lock(s_logSection);
    if (!s_SaveLog) return;
    AppendToLog("\n", 1);  // a blank line ends the period
    s_SaveLog = false;
    std::memset(s_LogFilePath, 0, sizeof s_LogFilePath);
}

const char* GetSaveLogPath(void) NO_THREAD_SAFETY_ANALYSIS { return s_LogFilePath; }
