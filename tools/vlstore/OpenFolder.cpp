#include "OpenFolder.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "ExitCode.h"
#include "Message.h"
#include "System.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kBlockFile = "_index.blk";
constexpr std::chrono::milliseconds kMoment{1000};
constexpr std::chrono::milliseconds kLongWait{60000};
constexpr std::chrono::milliseconds kBetweenAttempts{5};

bool IsHeld(const fs::path& directory) { return ProbeBlockFile(directory / kBlockFile) == BlockState::Held; }

std::string HeldText(const FolderName& name) { return "folder is busy (lock held): " + name.Str(); }

// A value that the library handed out, given back at the end.
class PropertyValue {
public:
    PropertyValue(const Library& library, const char* name) : library_(library)
    {
        uint64_t status = library_.getProperty(name, &value_, &size_);
        present_ = status != 0 && status != VELMORA_NO_PROPERTY && value_ != nullptr;
    }
    ~PropertyValue() { library_.freeProperty(value_); }
    PropertyValue(const PropertyValue&) = delete;
    PropertyValue& operator=(const PropertyValue&) = delete;

    Cell As(ValueForm form) const { return present_ ? ReadValue(form, value_, size_) : Cell(); }

private:
    const Library& library_;
    void* value_ = nullptr;
    uint64_t size_ = 0;
    bool present_ = false;
};

}  // namespace

void RequireReadAndWrite(const fs::path& directory)
{
    std::error_code error = CheckReadAndWrite(directory);
    if (!error) return;
    throw Failure(ExitCode::NoPermission,
                  "the folder's directory must be open to reading and writing, to lock it: " + directory.string() + ": " + error.message());
}

void RefuseIfHeld(const FolderName& name, const fs::path& directory)
{
    if (IsHeld(directory)) throw Failure(ExitCode::Temporary, HeldText(name));
}

void AwaitFree(const fs::path& directory)
{
    auto end = std::chrono::steady_clock::now() + kMoment;
    while (IsHeld(directory) && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(kBetweenAttempts);
}

void WhenFree(const FolderName& name, const fs::path& directory, LockWait wait, const std::string& what,
              const std::function<uint64_t()>& change)
{
    // One that is let go between the attempt and the look at it seems free, and is tried again.
    auto end = std::chrono::steady_clock::now() + (wait == LockWait::Wait ? kLongWait : kMoment);
    while (change() == 0) {
        if (std::chrono::steady_clock::now() > end) {
            if (ProbeBlockFile(directory / kBlockFile) != BlockState::Free) throw Failure(ExitCode::Temporary, HeldText(name));
            throw Failure(ExitCode::IoError, what + ": " + name.Str());
        }
        std::this_thread::sleep_for(kBetweenAttempts);
    }
}

OpenFolder::OpenFolder(const Store& store, const FolderName& name, LockWait wait)
    : store_(store), library_(store.Functions()), name_(name), kind_(KindOf(name)), wait_(wait)
{
    directory_ = store_.FolderDirectory(name_);
    Open();
}

OpenFolder::~OpenFolder()
{
    library_.folderClose();
    library_.threadRelease();
}

void OpenFolder::Open()
{
    RequireReadAndWrite(directory_);
    if (wait_ == LockWait::Refuse) RefuseIfHeld(name_, directory_);
    NoteLeftBehind();
    // A load takes the lock with a single attempt, which others at work in the folder can make fail. While they are, who waits
    // for them goes on.
    auto begin = std::chrono::steady_clock::now();
    auto end = begin + kMoment;
    do {
        uint64_t opened = library_.folderOpen(name_.postoffice.c_str(), name_.mailbox.c_str(), name_.folder.c_str(),
                                              static_cast<uint32_t>(kind_), VELMORA_OPEN_NORMAL);
        if (opened != 0) return;
        if (wait_ == LockWait::Wait && IsHeld(directory_)) end = std::min(std::chrono::steady_clock::now() + kMoment, begin + kLongWait);
        std::this_thread::sleep_for(kBetweenAttempts);
    } while (std::chrono::steady_clock::now() < end);
    // The lock may have been taken between the look and the open.
    RefuseIfHeld(name_, directory_);
    throw Failure(ExitCode::IoError, "cannot load the index of " + name_.Str());
}

void OpenFolder::NoteLeftBehind() const
{
    BlockState state = ProbeBlockFile(directory_ / kBlockFile);
    if (state == BlockState::Free || state == BlockState::Held) return;
    const char* holder = state == BlockState::Unheld ? "that no process holds" : "that this user may not look into";
    PutMessage("note: waiting up to a minute for a block file " + std::string(holder) + ": " + (directory_ / kBlockFile).string());
}

bool OpenFolder::First() { return library_.findFirstItem() == 1; }
bool OpenFolder::Next() { return library_.findNextItem() == 1; }
bool OpenFolder::Has(const std::string& id) { return library_.selectItem(id.c_str()) == 1; }

void OpenFolder::Select(const std::string& id)
{
    if (Has(id)) return;
    // The library compares byte by byte; a person need not.
    for (bool more = First(); more; more = Next()) {
        if (EqualNoCase(CurrentId(), id)) return;
    }
    throw Failure(ExitCode::Data, "no such item: " + name_.Str() + " " + id);
}

ValueForm OpenFolder::FormOf(std::string_view property) const
{
    return FormOfCode(library_.propertyType(std::string(property).c_str(), static_cast<uint32_t>(kind_)));
}

Cell OpenFolder::Get(std::string_view property) const
{
    return PropertyValue(library_, std::string(property).c_str()).As(FormOf(property));
}

std::string OpenFolder::CurrentId() const { return TextOf(Get("VL_ITEM_ID")); }

void OpenFolder::Set(const std::string& id, std::string_view property, const std::string& bytes)
{
    Select(id);  // a set on an unknown item would make one
    library_.setProperty(CurrentId().c_str(), std::string(property).c_str(), bytes.c_str());
}

void OpenFolder::Reload()
{
    library_.folderClose();
    AwaitFree(directory_);
    Open();
}

void OpenFolder::SaveAndReload()
{
    library_.folderSave(0);
    Reload();
}

void OpenFolder::WriteAnew(const std::vector<std::string>& ids)
{
    for (const std::string& id : ids) {
        if (Has(id)) Set(id, "PR_VL_STATE", TextOf(Get("PR_VL_STATE")));
    }
    SaveAndReload();
}

void OpenFolder::ComplainOfSave(const std::string& what) const
{
    RefuseIfHeld(name_, directory_);
    throw Failure(ExitCode::IoError, what);
}

}  // namespace vlstore
