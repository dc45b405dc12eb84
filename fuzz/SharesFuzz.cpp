// Lists of shares, access lists and security files of any bytes, and the removal of what they say is shared. Nothing changes
// but these files; each of them goes, or stays as it was, or is saved with less in it. A list that does not load changes none.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "common/Text.h"
#include "folders/Shares.h"
#include "fuzz/FuzzedChoices.h"
#include "platform/Xml.h"
#include "tests/support/StandardOutput.h"
#include "tests/support/TestStore.h"
#include "velmora/folders.h"

using namespace velmora;
using namespace velmora::test;

namespace {

namespace fs = std::filesystem;

constexpr uint32_t kLongestFile = 4096;
constexpr char kResource[] = "SF:po/box/a";

using Files = std::map<std::string, std::string>;  // by their path below the store; a directory has a "/" behind it

// A mailbox with folders that may be shared, and around it what a path with steps up in it would lead to.
class Store {
public:
    Store()
    {
        setenv("VELMORA_EVENTLOG", "/dev/null", 1);
        SendStandardOutputTo(std::fopen("/dev/null", "w"));
        const fs::path root = store_.MailRoot();
        const fs::path files = root / "po" / "FILEROOT";
        place_ = store_.Directory().Path();
        const fs::path config = place_ / "config";
        const fs::path security = config / "Postoffices" / "po" / "Security";
        for (const char* const folder : {"a/b", "c d"}) store_.MakeFolder(folder);
        for (const fs::path& directory : {files / "box" / "a", security, config / "Postoffices" / "other" / "Security"})
            fs::create_directories(directory);
        store_.MakeFolder("a", "other");
        for (const char* const folder : {"", "a", "a/b", "c d"}) access_.push_back(root / "po/MAILROOT/box" / folder / "_Access.XML");
        for (const char* const folder : {"", "a"}) access_.push_back(files / "box" / folder / "_Access.XML");
        shares_ = root / "po/MAILROOT/box/_Shares.xml";
        for (const char* const user : {"ann.xml", "bob.xml", ".xml"}) security_.push_back(security / user);
        store_.SetText("Configuration Directory", config.string());
        store_.Attach();

        const std::string list = "<SHARES><SHARE><RESOURCE>/a</RESOURCE></SHARE></SHARES>";
        const std::string users = "<LIST><ITEM USER=\"ann\" URI=\"SF:po/box/a\"/></LIST>";
        for (const fs::path& other : {root, root / "po", root / "po/MAILROOT", root / "po/MAILROOT/other", files}) {
            WriteFileBytes(other / "_Shares.xml", list);
            WriteFileBytes(other / "_Access.XML", users);
        }
        WriteFileBytes(root / "po/MAILROOT/other/a/_Access.XML", users);
        WriteFileBytes(root / "po/MAILROOT/box/a/1.MAI", "Subject: s\r\n\r\n");
        for (const fs::path& other : {config, config / "Postoffices", config / "Postoffices/po", config / "Postoffices/other/Security"})
            WriteFileBytes(other / "ann.xml", users);
    }

    void Write(const std::string& shares, const std::string& access, const std::string& security)
    {
        WriteFileBytes(shares_, shares);
        for (const fs::path& file : access_) WriteFileBytes(file, access);
        for (const fs::path& file : security_) WriteFileBytes(file, security);
    }

    Files Look() const
    {
        Files files;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(place_)) {
            const std::string path = entry.path().lexically_relative(place_).generic_string();
            files[entry.is_directory() ? path + "/" : path] = entry.is_directory() ? std::string() : ReadFileBytes(entry.path());
        }
        return files;
    }

    bool IsOfShares(const std::string& path) const
    {
        const fs::path file = place_ / path;
        const auto isOneOf = [&file](const std::vector<fs::path>& those) {
            return std::find(those.begin(), those.end(), file) != those.end();
        };
        return file == shares_ || isOneOf(access_) || isOneOf(security_);
    }
    bool IsAccessList(const std::string& path) const { return path.ends_with("_Access.XML"); }

private:
    TestStore store_;
    fs::path place_;
    fs::path shares_;
    std::vector<fs::path> access_;
    std::vector<fs::path> security_;
};

size_t CountOfNodes(const platform::XmlNode& node)
{
    size_t count = 1;
    for (platform::XmlNode child = node.FirstElement(); child; child = child.NextElement()) count += CountOfNodes(child);
    return count;
}

// What is left of a file is the document that it was with entries taken out.
void RequireLess(const std::string& path, const std::string& before, const std::string& after)
{
    const std::unique_ptr<platform::XmlDocument> was = platform::XmlDocument::Create();
    const std::unique_ptr<platform::XmlDocument> is = platform::XmlDocument::Create();
    if (!was->LoadBytes(before)) Require("a file that does not load was saved: " + path);
    if (!is->LoadBytes(after)) Require("what was saved does not load: " + path);
    const platform::XmlNode root = was->DocumentElement(), left = is->DocumentElement();
    if (root.Name() != left.Name()) Require("another root: " + path);
    if (CountOfNodes(left) >= CountOfNodes(root)) Require("nothing was taken out of " + path);
}

void CheckChanges(const Store& store, const Files& before, const Files& after)
{
    for (const auto& [path, bytes] : after)
        if (!before.contains(path)) Require("there is something new: " + path);
    for (const auto& [path, bytes] : before) {
        const auto left = after.find(path);
        if (left != after.end() && left->second == bytes) continue;
        if (!store.IsOfShares(path)) Require("it is no list of shares, and was changed: " + path);
        if (left == after.end()) {
            if (!platform::XmlDocument::Create()->LoadBytes(bytes)) Require("a file that does not load was deleted: " + path);
            continue;
        }
        if (store.IsAccessList(path)) Require("an access list goes as a whole: " + path);
        RequireLess(path, bytes, left->second);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Store store;
    FuzzedChoices choices(data, size);
    const std::string shares = choices.Bytes(kLongestFile);
    const std::string access = choices.Bytes(kLongestFile);
    const std::string security = choices.Bytes(kLongestFile);
    store.Write(shares, access, security);
    const Files before = store.Look();
    const bool loads = platform::XmlDocument::Create()->LoadBytes(shares);
    switch (choices.Below(4)) {
        case 0: {
            const char* const known[] = {"/a", "a\\b", "$FILEROOT/a", "/", "/c d", ".."};
            char folder[kFolderPathSize] = {};
            CopyBounded(folder, choices.OneIn(4) ? choices.Bytes(kFolderPathSize) : std::string(choices.Pick(known)));
            if (RemoveFolderShareEntries(folder, "box", "po") > (loads ? 1u : 0u)) Require("a share was in a list that does not load");
            break;
        }
        case 1: {
            const std::string user = choices.OneIn(2) ? "ann" : choices.Bytes(40);
            const std::string resource = choices.OneIn(2) ? kResource : choices.Bytes(40);
            const uint32_t removed = RemoveUserAccess(user.c_str(), resource, "po");
            if ((removed != 0) != (store.Look() != before)) Require("a user's file and the result do not agree");
            break;
        }
        default:
            if (RemoveMailboxShares("box", "po") != (loads ? 1u : 0u)) Require("the result does not say whether the list loads");
    }
    const Files after = store.Look();
    if (!loads && after.at("POSTOFFICES/po/MAILROOT/box/_Shares.xml") != shares) Require("a list that does not load was changed");
    CheckChanges(store, before, after);
    return 0;
}
