// What tells how large a folder is: an index of any bytes, of which the sizes are added up, and the _DIRSIZE.TMP of a folder
// and of its mailbox, to which a size is added. The rules stand here a second time, in the plainest form, and no file is left
// beside those that were there.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Text.h"
#include "fuzz/FuzzedChoices.h"
#include "index/DirectorySize.h"
#include "platform/Xml.h"
#include "tests/support/StandardOutput.h"
#include "tests/support/TestStore.h"
#include "velmora/folders.h"

using namespace velmora;
using namespace velmora::test;

namespace {

namespace fs = std::filesystem;

constexpr size_t kChoiceBytes = 400;
constexpr uint32_t kKilobytes = 1;
constexpr size_t kReadOfSizeFile = 254;

struct Store {
    Store()
    {
        setenv("VELMORA_EVENTLOG", "/dev/null", 1);
        SendStandardOutputTo(std::fopen("/dev/null", "w"));
        folder = store.MakeFolder("Inbox");
        store.Attach();
        // The list of its child folders, of which it has none.
        WriteFileBytes(folder / "_folder.xml", "<folderindex></folderindex>");
    }

    TestStore store;
    fs::path folder;
};

// A copy of the bytes with a zero behind them, for the C library.
long long PlainNumber(const std::string& text) { return std::strtoll(text.c_str(), nullptr, 10); }

std::string PlainSizeText(const platform::XmlNode& element)
{
    for (platform::XmlNode child = element.FirstElement(); child; child = child.NextElement())
        if (child.Name() == "SIZE") return child.Text();
    return "";
}

// Held at the ends of 64 bits at every step.
int64_t PlainSum(std::string_view bytes)
{
    const std::unique_ptr<platform::XmlDocument> document = platform::XmlDocument::Create();
    if (!document->LoadBytes(bytes) || document->DocumentElement().Name() != "BASEELEMENT") return 0;
    int64_t sum = 0;
    for (platform::XmlNode element = document->DocumentElement().FirstElement(); element; element = element.NextElement()) {
        const std::optional<std::string> id = element.Name() == "ELEMENT" ? element.Attribute("ID") : std::nullopt;
        if (!id || id->find('-') != std::string::npos) continue;
        const int64_t size = PlainNumber(PlainSizeText(element));
        if (size > 0)
            sum = sum > INT64_MAX - size ? INT64_MAX : sum + size;
        else
            sum = sum < INT64_MIN - size ? INT64_MIN : sum + size;
    }
    return sum;
}

void AnyIndex(const Store& store, std::string_view bytes)
{
    WriteFileBytes(store.folder / "_index.xml", bytes);
    StoreFolderRecord record{};
    CopyBounded(record.Postoffice, "po");
    CopyBounded(record.Mailbox, "box");
    CopyBounded(record.FolderPath, "/Inbox");
    const int64_t sum = PlainSum(bytes);
    const auto expected = [](int64_t size) { return static_cast<uint32_t>(std::clamp<int64_t>(size, 0, UINT32_MAX)); };
    if (StoreFolderGetSize(&record) != 1) Require("no size");
    if (record.FolderSize != expected(sum)) Require("a size of " + std::to_string(record.FolderSize) + " and not " + std::to_string(sum));
    if (StoreFolderGet_Ex(&record, kKilobytes) != 1) Require("no size in kilobytes");
    if (record.FolderSize != expected(sum / 1024)) Require("kilobytes of another size than " + std::to_string(sum));
    if (ReadFileBytes(store.folder / "_index.xml") != bytes) Require("an index was changed by a look at it");
}

std::string PlainAdded(const std::string& file, int64_t kilobytes)
{
    const int64_t before = std::clamp<int64_t>(PlainNumber(file.substr(0, kReadOfSizeFile)), INT32_MIN, INT32_MAX);
    return std::to_string(std::clamp<int64_t>(before + kilobytes, 0, INT32_MAX));
}

// Numbers as they are written, and any bytes.
std::string SizeFile(Choices& choices)
{
    const char* const known[] = {"0", "1", "-1", "2147483647", "2147483648", "-2147483649", "99999999999999999999", "", " 12", "12 kB"};
    std::string text = choices.OneIn(2) ? choices.Pick(known) : choices.Bytes(40);
    if (choices.OneIn(4)) text += std::string(choices.Below(600), choices.OneIn(2) ? '0' : ' ');
    if (choices.OneIn(8)) text = std::string(choices.Below(300), ' ') + text;
    return text;
}

void AnySizeFiles(const Store& store, Choices& choices)
{
    const fs::path files[] = {store.folder / kDirectorySizeFile, store.folder.parent_path() / kDirectorySizeFile};
    const std::string before[] = {SizeFile(choices), SizeFile(choices)};
    // The sum of a delivery is of sizes of 32 bits each; no list of them is longer than a million.
    int64_t kilobytes = static_cast<int64_t>(choices.Below(UINT32_MAX)) - INT32_MAX;
    if (choices.OneIn(8)) kilobytes *= 1000000;
    for (size_t i = 0; i < std::size(files); ++i) WriteFileBytes(files[i], before[i]);
    const uint64_t adjusted = AdjustDirectorySize("po", "box", kilobytes, "Inbox");
    if (adjusted != (kilobytes != 0 ? 1u : 0u)) Require("sizes were not adjusted");
    for (size_t i = 0; i < std::size(files); ++i) {
        const std::string expected = kilobytes != 0 ? PlainAdded(before[i], kilobytes) : before[i];
        if (ReadFileBytes(files[i]) != expected)
            Require("(" + before[i] + ") became (" + ReadFileBytes(files[i]) + ") and not " + expected);
        fs::remove(files[i]);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Store store;
    const size_t choiceBytes = std::min(size, kChoiceBytes);
    FuzzedChoices choices(data + (size - choiceBytes), choiceBytes);
    AnyIndex(store, {reinterpret_cast<const char*>(data), size});
    AnySizeFiles(store, choices);
    if (FileNames(store.folder) != std::vector<std::string>{"_folder.xml", "_index.xml"}) Require("another file was left in the folder");
    return 0;
}
