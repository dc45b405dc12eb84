// Messages of any bytes, branded and stripped: the header changes by the rules, which stand here a second time, and the
// body not at all.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/FuzzFolders.h"
#include "fuzz/FuzzedChoices.h"
#include "items/MessageBranding.h"
#include "tests/support/TestStore.h"

using namespace velmora;
using namespace velmora::test;

namespace {

constexpr char kName[] = "m.MAI";
constexpr size_t kLongestLine = 2047;

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool Begins(std::string_view line, std::string_view lowerName)
{
    if (line.size() < lowerName.size()) return false;
    for (size_t i = 0; i < lowerName.size(); ++i)
        if (Lower(line[i]) != lowerName[i]) return false;
    return true;
}

// The next line with its end, or a piece of one.
std::string_view TakeLine(std::string_view& rest)
{
    const size_t end = rest.find('\n');
    const std::string_view line = rest.substr(0, std::min(end == std::string_view::npos ? rest.size() : end + 1, kLongestLine));
    rest.remove_prefix(line.size());
    return line;
}

bool EndsHeader(std::string_view line) { return line[0] == '\r' || line[0] == '\n'; }

std::string PlainBranded(std::string_view message, const std::string& uidLine)
{
    std::string result;
    bool written = false;
    while (!message.empty()) {
        const std::string_view line = TakeLine(message);
        if (EndsHeader(line)) {
            if (!written) result += uidLine;
            result += line;
            break;
        }
        const bool replaced = Begins(line, "x-uid: ");
        result += replaced ? std::string_view(uidLine) : line;
        written = written || replaced;
    }
    return result.append(message);
}

std::string PlainStripped(std::string_view message)
{
    std::string result;
    while (!message.empty()) {
        const std::string_view line = TakeLine(message);
        if (!Begins(line, "x-uid: ") && !Begins(line, "x-vltempflags: ")) result += line;
        if (EndsHeader(line)) break;
    }
    return result.append(message);
}

struct BrandedStore {
    BrandedStore()
    {
        store.SetNumber("UID Branding Enabled", 1);
        setenv("VELMORA_EVENTLOG", "/dev/null", 1);
    }
    TestStore store;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static BrandedStore branded;
    const std::filesystem::path file = branded.store.Directory() / kName;
    const std::string folder = branded.store.Directory().Str();
    const std::string message(reinterpret_cast<const char*>(data), size);
    const uint32_t folderUid = size % 3 == 0 ? 0 : 1234567890;

    WriteFileBytes(file, message);
    StripMessageBranding(folder, kName, folderUid, 7);
    if (ReadFileBytes(file) != PlainStripped(message)) Require("stripped to\n" + ReadFileBytes(file));

    WriteFileBytes(file, message);
    BrandMessageFile(folder, kName, folderUid, 4294967295);
    const std::string uidLine = folderUid == 0 ? "X-UID: 4294967295\r\n" : "X-UID: 1234567890.4294967295\r\n";
    if (ReadFileBytes(file) != PlainBranded(message, uidLine)) Require("branded to\n" + ReadFileBytes(file));
    if (FileExists(branded.store.Directory() / "_m.MAI")) Require("a temporary file was left");
    return 0;
}
