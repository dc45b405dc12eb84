#include "frame/Companions.h"

#include <mutex>
#include <optional>

#include "common/Text.h"
#include "frame/Logging.h"
#include "frame/ProcessState.h"
#include "frame/Settings.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr char kOptionsModule[] = "VLAISO.DLL";
constexpr char kPostofficeModule[] = "VLAIPO.DLL";
constexpr char kNotifyModule[] = "VLAINFY.DLL";
constexpr uint32_t kOptionSize = 1024;

// A companion lies in the 64-bit sibling of the application's directory. With no directory there is none: a relative
// path would load whatever lies below the working directory of the process.
HMODULE LoadCompanion(const char* name)
{
    std::string directory;
    if (!ReadSettingText(kBaseKey, "Application Directory", directory) || directory.empty()) return nullptr;
    return LoadLibraryA((directory + "64\\" + name).c_str());
}

template <typename Function>
Function FunctionOf(HMODULE module, const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

std::optional<OptionsFunctions> LoadOptionsFunctions()
{
    HMODULE module = LoadCompanion(kOptionsModule);
    if (!module) return std::nullopt;
    OptionsFunctions functions;
    functions.GetOption = FunctionOf<decltype(functions.GetOption)>(module, "GetOption");
    functions.GetOptionEx = FunctionOf<decltype(functions.GetOptionEx)>(module, "GetOption_Ex");
    functions.SetOption = FunctionOf<decltype(functions.SetOption)>(module, "SetOption");
    if (functions.GetOption && functions.SetOption) return functions;
    FreeLibrary(module);
    return std::nullopt;
}

struct LoadedOptions {
    std::mutex mutex;
    std::optional<OptionsFunctions> functions;
};

LoadedOptions& Options()
{
    static LoadedOptions options;
    return options;
}

std::optional<OptionsFunctions> TheOptionsFunctions()
{
    LoadedOptions& options = Options();
    std::lock_guard<std::mutex> lock(options.mutex);
    if (!options.functions) options.functions = LoadOptionsFunctions();
    return options.functions;
}

}  // namespace

void LoadCompanionsAtAttach()
{
    ProcessState& process = Process();
    if (!process.OptionsModule) process.OptionsModule = LoadCompanion(kOptionsModule);
    if (process.PostofficeModule) return;
    process.PostofficeModule = LoadCompanion(kPostofficeModule);
    PrintLine(process.PostofficeModule ? FormatText("Loaded Postoffice Configuration Provider (%s)\n", kPostofficeModule)
                                       : "Unable to Load Postoffice Configuration Provider\n");
}

void LoadNotifyModule()
{
    ProcessState& process = Process();
    if (!process.NotifyModule) process.NotifyModule = LoadLibraryA(kNotifyModule);
    process.NotifyRemote = process.NotifyModule ? FunctionOf<void*>(static_cast<HMODULE>(process.NotifyModule), "NotifyRemote") : nullptr;
}

void FreeNotifyModule()
{
    ProcessState& process = Process();
    if (process.NotifyModule) FreeLibrary(static_cast<HMODULE>(process.NotifyModule));
    process.NotifyModule = nullptr;
    process.NotifyRemote = nullptr;
}

bool AskOption(uint32_t scope, const std::string& key, const char* name, std::string& value)
{
    const std::optional<OptionsFunctions> functions = TheOptionsFunctions();
    if (!functions) return false;
    char buffer[kOptionSize + 1] = {};
    const uint32_t found = functions->GetOptionEx ? functions->GetOptionEx(scope, key.c_str(), name, buffer, kOptionSize)
                                                  : functions->GetOption(scope, key.c_str(), name, buffer);
    if (found == 0) return false;
    buffer[kOptionSize] = 0;
    value = buffer;
    return true;
}

uint64_t AskLoggingModule(uint64_t a, uint64_t b, uint64_t c, uint64_t d)
{
    using SetFunction = uint64_t (*)(uint64_t, uint64_t, uint64_t, uint64_t);
    const HMODULE module = static_cast<HMODULE>(Process().LoggingModule);
    const SetFunction function = module ? FunctionOf<SetFunction>(module, "SetLoggingFunction") : nullptr;
    return function ? function(a, b, c, d) : 0;
}

void ForgetOptionsModule()
{
    std::lock_guard<std::mutex> lock(Options().mutex);
    Options().functions.reset();
}

}  // namespace velmora
