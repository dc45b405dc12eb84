// Lists of child folders of any bytes. One that does not load goes, and the next request makes it again from the directories;
// one that loads stays and gives names that are those of children. A list that is written is read back with the names in it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "folders/FolderIndexFile.h"
#include "folders/FolderNames.h"
#include "fuzz/FuzzedChoices.h"
#include "tests/support/StandardOutput.h"
#include "tests/support/TestStore.h"

using namespace velmora;
using namespace velmora::test;

namespace {

constexpr size_t kChoiceBytes = 96;

struct Directory {
    Directory()
    {
        setenv("VELMORA_EVENTLOG", "/dev/null", 1);
        std::filesystem::create_directory(place / "child");
        // Lists that do not load are told of, line by line.
        SendStandardOutputTo(std::fopen("/dev/null", "w"));
    }
    std::string Path() const { return place.Str(); }
    std::filesystem::path List() const { return place / kFolderIndexName; }

    TempDirectory place;
};

void AnyFile(const Directory& directory, std::string_view bytes, const std::string& name)
{
    WriteFileBytes(directory.List(), bytes);
    IsNameInFolderIndex(directory.Path(), name.c_str());
    LocalFolderList list;
    FolderEntryList* entries = nullptr;
    const bool loaded = LoadFolderIndex(entries, directory.Path(), list) == 1;
    if (loaded != (entries != nullptr)) Require("a list and its result do not agree");
    if (FileExists(directory.List()) != loaded) Require("a list that loads stays, and another goes");
    if (loaded) {
        for (const auto& [key, value] : entries->Names)
            if (key != value || !IsChildName(key)) Require("a name is none: (" + key + ")");
        return;
    }
    if (GetFolderEntryList(entries, directory.Path(), false, list) != 1 || entries->Names.size() != 1 || !entries->Names.contains("child"))
        Require("the request behind a list that did not load does not give the directories");
}

// A name may hold a carriage return, and a reader of XML takes that, with a line feed behind it or without, for a line feed.
std::string AsRead(const std::string& name)
{
    std::string read;
    for (size_t at = 0; at < name.size(); ++at) {
        if (name[at] == '\r' && at + 1 < name.size() && name[at + 1] == '\n') continue;
        read += name[at] == '\r' ? '\n' : name[at];
    }
    return read;
}

// What a rebuild writes for directories of these names.
void WrittenList(const Directory& directory, Choices& choices)
{
    std::set<std::string> expected;
    std::string text = "<folderindex>";
    for (uint32_t count = choices.Below(6); count > 0; --count) {
        std::string name = choices.Bytes(30);
        SanitiseFolderName(name);
        std::string again = name;
        if (SanitiseFolderName(again)) Require("a name is not clean behind its cleaning");
        text += "<folder><name><![CDATA[" + name + "]]></name></folder>";
        name = AsRead(name);
        if (IsChildName(name)) expected.insert(name);
    }
    WriteFileBytes(directory.List(), text + "</folderindex>");
    LocalFolderList list;
    FolderEntryList* entries = nullptr;
    if (LoadFolderIndex(entries, directory.Path(), list) != 1) Require("a list as it is written does not load: " + text);
    std::set<std::string> names;
    for (const auto& [key, value] : entries->Names) names.insert(key);
    if (names != expected) Require("other names came out of " + text);
    for (const std::string& name : names)
        if (!IsNameInFolderIndex(directory.Path(), name.c_str())) Require("a name is not found: " + name);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Directory directory;
    const size_t choiceBytes = std::min(size, kChoiceBytes);
    const std::string_view bytes(reinterpret_cast<const char*>(data), size - choiceBytes);
    FuzzedChoices choices(data + bytes.size(), choiceBytes);
    AnyFile(directory, bytes, choices.Bytes(20));
    WrittenList(directory, choices);
    return 0;
}
