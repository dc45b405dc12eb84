#include "OpenFolder.h"

#include <cstring>

#include "ExitCode.h"
#include "Message.h"
#include "System.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kBlockFile = "_index.blk";
constexpr uint32_t kMailKind = 0;

bool IsHeld(const fs::path& directory) { return ProbeBlockFile(directory / kBlockFile) == BlockState::Held; }

std::string HeldText(const FolderName& name) { return "folder is busy (lock held): " + name.Str(); }

// A value that the library handed out, given back at the end.
class PropertyValue {
public:
    PropertyValue(const Library& library, const char* name) : library_(library)
    {
        uint64_t status = library_.getProperty(name, &value_, &size_);
        present_ = status != VELMORA_NO_PROPERTY && value_ != nullptr;
    }
    ~PropertyValue() { library_.freeProperty(value_); }
    PropertyValue(const PropertyValue&) = delete;
    PropertyValue& operator=(const PropertyValue&) = delete;

    Cell Text() const
    {
        if (!present_) return {};
        const char* text = static_cast<const char*>(value_);
        return std::string(text, strnlen(text, size_));
    }
    Cell Number() const
    {
        int32_t number = 0;
        if (!present_ || size_ < sizeof number) return {};
        std::memcpy(&number, value_, sizeof number);
        return static_cast<int64_t>(number);
    }

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

OpenFolder::OpenFolder(const Store& store, const FolderName& name, LockWait wait)
    : store_(store), library_(store.Functions()), name_(name), wait_(wait)
{
    if (!HoldsMail(name_)) throw Failure(ExitCode::Unavailable, "not a mail folder: " + name_.Str());
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
    uint64_t opened =
        library_.folderOpen(name_.postoffice.c_str(), name_.mailbox.c_str(), name_.folder.c_str(), kMailKind, VELMORA_OPEN_NORMAL);
    if (opened != 0) return;
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

void OpenFolder::Select(const std::string& id)
{
    if (library_.selectItem(id.c_str()) == 1) return;
    // The library compares byte by byte; a person need not.
    for (bool more = First(); more; more = Next()) {
        if (EqualNoCase(CurrentId(), id)) return;
    }
    throw Failure(ExitCode::Data, "no such item: " + name_.Str() + " " + id);
}

Cell OpenFolder::Get(const MailProperty& property) const
{
    PropertyValue value(library_, std::string(property.name).c_str());
    return property.form == MailProperty::Form::Number ? value.Number() : value.Text();
}

Cell OpenFolder::GetOfFolder(const char* name) const { return PropertyValue(library_, name).Text(); }

std::string OpenFolder::CurrentId() const
{
    Cell id = PropertyValue(library_, "VL_ITEM_ID").Text();
    const std::string* text = std::get_if<std::string>(&id);
    return text ? *text : std::string();
}

void OpenFolder::Set(const std::string& id, const MailProperty& property, const std::string& value)
{
    Select(id);  // a set on an unknown item would make one
    library_.setProperty(CurrentId().c_str(), std::string(property.name).c_str(), value.c_str());
}

void OpenFolder::SaveAndReload()
{
    library_.folderSave(0);
    library_.folderClose();
    Open();
}

void OpenFolder::ComplainOfSave(const std::string& what) const
{
    RefuseIfHeld(name_, directory_);
    throw Failure(ExitCode::IoError, what);
}

}  // namespace vlstore
