#include "frame/Logging.h"

#include <cstdio>

#include "common/FileManagement.h"
#include "common/Text.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr char kEventSource[] = "Velmora";
constexpr char kProviderName[] = "Velmora Store Provider";
constexpr uint32_t kEventIdentifier = 0x40000001;
constexpr size_t kEventHeadSize = 256;

std::string ProgramFileName()
{
    char path[4096] = {};
    GetModuleFileNameA(nullptr, path, sizeof path - 1);
    const std::string name = FileManagement::FileName(path);
    return name.empty() ? std::string(path) : name;
}

}  // namespace

LogHooks& Hooks()
{
    static LogHooks hooks;
    return hooks;
}

uint64_t StoreLog(uint32_t level, const std::string& text)
{
    if (Hooks().storeLog) Hooks().storeLog(level, text.c_str());
    return 1;
}

void DebugTrace(const std::string& text)
{
    if (Hooks().debugTrace) Hooks().debugTrace(text.c_str());
}

void ReportStoreEvent(const std::string& text)
{
    const auto lastError = static_cast<int32_t>(GetLastError());
    if (Hooks().storeEvent) Hooks().storeEvent(text.c_str());

    HANDLE log = RegisterEventSourceA(nullptr, kEventSource);
    if (!log) return;
    char head[kEventHeadSize];
    CopyBounded(head, FormatText("%s error: %d", kProviderName, lastError));
    const char* strings[] = {head, text.c_str()};
    ReportEventA(log, EVENTLOG_INFORMATION_TYPE, 0, kEventIdentifier, nullptr, 2, 0, strings, nullptr);
    DeregisterEventSource(log);
}

void LogIndexEvent(const std::string& text)
{
    // The entry bears the error of what is reported, not of the look for the program's name.
    const DWORD lastError = GetLastError();
    const std::string event = "[" + ProgramFileName() + "] " + text;
    SetLastError(lastError);
    ReportStoreEvent(event);
}

void PrintLine(std::string_view text) noexcept { std::fwrite(text.data(), 1, text.size(), stdout); }

void WarnNullIndex(const char* function) { PrintLine(FormatText("WARNING!: StoreIndex is NULL when passed to %s\n", function)); }

}  // namespace velmora
