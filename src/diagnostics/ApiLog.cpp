#include "diagnostics/ApiLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

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

std::string Format(const char* format, va_list arguments)
{
    const CAutoCLocale locale;
    va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0) return {};
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}
}  // namespace

void _outputLog(const char* format, ...)
{
    if (!s_SaveLog) return;
    va_list arguments;
    va_start(arguments, format);
    std::string line = Format(format, arguments);
    va_end(arguments);
    line += '\n';
    AppendToLog(line.data(), line.size());
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
