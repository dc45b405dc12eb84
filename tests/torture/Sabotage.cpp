// Faults that a worker commits on purpose, without a word in its journal: each is one that the oracle has to find.
#include <filesystem>

#include "common/FileStream.h"
#include "index/CachedDetails.h"
#include "index/IndexItem.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "index/StoreIndexLife.h"
#include "items/MailScan.h"
#include "tests/support/TestStore.h"
#include "tests/torture/Hand.h"
#include "tests/torture/Letter.h"
#include "tests/torture/OwnRecord.h"
#include "velmora/locks.h"

namespace velmora::torture {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kDigits = "<BASEELEMENT LASTUID=\"x";  // stand behind it
constexpr std::string_view kElement = "<ELEMENT ID=\"";
constexpr std::string_view kElementEnd = "</ELEMENT>";

// The part of the text between two markers, from `from` on.
struct Span {
    size_t begin = 0;
    size_t size = 0;
};

bool Find(const std::string& text, size_t from, std::string_view before, std::string_view behind, Span& span)
{
    const size_t found = text.find(before, from);
    if (found == std::string::npos) return false;
    span.begin = found + before.size();
    const size_t end = text.find(behind, span.begin);
    span.size = end - span.begin;
    return end != std::string::npos;
}

// Changes an index file with its block held.
void ChangeIndex(const fs::path& folder, bool (*change)(std::string& bytes))
{
    const std::string block = folder.string() + "\\_index.blk";
    void* handle = nullptr;
    if (WaitForAccessToIndexFileEx(block.c_str(), 1, &handle) != 1) return;
    std::string bytes = fs::exists(folder / "_index.xml") ? test::ReadFileBytes(folder / "_index.xml") : "";
    if (change(bytes)) test::WriteFileBytes(folder / "_index.xml", bytes);
    UnBlockIndexFileAccessEx(block.c_str(), 1, &handle);
}

// The UIDs of two messages change places, and the messages with them.
bool ExchangeUids(std::string& bytes)
{
    Span first, second;
    size_t from = 0;
    while (Find(bytes, from, kElement, kElementEnd, first) && Find(bytes, first.begin, kElement, kElementEnd, second)) {
        from = first.begin;
        const std::string one = bytes.substr(first.begin, first.size);
        const std::string other = bytes.substr(second.begin, second.size);
        Span oneUid, otherUid;
        if (one[0] == '-' || other[0] == '-' || !Find(one, 0, "UID=\"", "\"", oneUid) || !Find(other, 0, "UID=\"", "\"", otherUid))
            continue;
        std::string newOne = one, newOther = other;
        newOne.replace(oneUid.begin, oneUid.size, other, otherUid.begin, otherUid.size);
        newOther.replace(otherUid.begin, otherUid.size, one, oneUid.begin, oneUid.size);
        bytes.replace(second.begin, second.size, newOne);
        bytes.replace(first.begin, first.size, newOther);
        return true;
    }
    return false;
}

// A subject is written over itself, one byte off.
bool TearSubject(std::string& bytes)
{
    Span subject;
    size_t from = 0;
    while (Find(bytes, from, "<SUBJECT>letter ", "</SUBJECT>", subject)) {
        from = subject.begin;
        if (bytes.rfind("<ELEMENT ID=\"-", from) == bytes.rfind(kElement, from)) continue;
        bytes.replace(subject.begin + 1, 8, bytes.substr(subject.begin, 8));
        return true;
    }
    return false;
}

// Texts of the same length, in the first place where the one stands.
bool Exchange(std::string& bytes, std::string_view from, std::string_view to)
{
    const size_t found = bytes.find(from);
    if (found == std::string::npos) return false;
    bytes.replace(found, from.size(), to);
    return true;
}

bool ChangeFlag(std::string& bytes) { return Exchange(bytes, "\\V", "\\W"); }

bool CutInHalf(std::string& bytes)
{
    bytes.resize(bytes.size() / 2);
    return true;
}

}  // namespace

void Hand::Sabotage()
{
    static constexpr struct {
        const char* name;
        void (Hand::*deed)();
    } kFaults[] = {
        {"lose-file", &Hand::LoseFile},
        {"duplicate-uid", &Hand::DuplicateUid},
        {"tear-element", &Hand::TearElement},
        {"forget-flag", &Hand::ForgetFlag},
        {"save-without-block", &Hand::SaveWithoutBlock},
        {"leave-block", &Hand::LeaveBlock},
        {"reset-read", &Hand::ResetRead},
        {"lower-last-uid", &Hand::LowerLastUid},
        {"make-up-flag", &Hand::MakeUpFlag},
        {"list-ghost", &Hand::ListGhost},
        {"cut-index", &Hand::CutIndex},
        {"write-when-refused", &Hand::WriteWhenRefused},
        {"hold-twice", &Hand::HoldTwice},
        {"refuse-open", &Hand::RefuseOpen},
        {"forget-delivery", &Hand::ForgetDelivery},
        {"forget-update", &Hand::ForgetUpdate},
        {"forget-removal", &Hand::ForgetRemoval},
    };
    // Where processes are killed, each of them does it: the first one may not live to.
    if (plan_.sabotage.empty() || thread_ != 0 || (plan_.kills == 0 && plan_.process != 1)) return;
    for (const auto& fault : kFaults)
        if (fault.name == plan_.sabotage) (this->*fault.deed)();
}

void Hand::LoseFile()
{
    const std::vector<std::string> names = Files();
    if (!names.empty()) fs::remove(FolderDirectory(plan_.mailRoot, folder_) / names.front());
}

void Hand::DuplicateUid() { ChangeIndex(FolderDirectory(plan_.mailRoot, folder_), ExchangeUids); }

void Hand::TearElement() { ChangeIndex(FolderDirectory(plan_.mailRoot, folder_), TearSubject); }

void Hand::MakeUpFlag() { ChangeIndex(FolderDirectory(plan_.mailRoot, folder_), ChangeFlag); }

void Hand::CutIndex() { ChangeIndex(FolderDirectory(plan_.mailRoot, folder_), CutInHalf); }

// As a save that has forgotten to take its block.
void Hand::SaveWithoutBlock()
{
    OwnRecord record(Name());
    if (StoreIndex_Open(&record, 1) != 1) return;
    watch_.BeginSave();
    record.Table.RewriteRequired = 1;
    SaveIndex(record.Table, record.Path, record.IndexKind);
}

// As a save that has forgotten which UIDs were given, and does not look at what the file knows.
void Hand::LowerLastUid()
{
    void* handle = nullptr;
    if (WaitForAccessToIndexFileEx(BlockPath().c_str(), 1, &handle) != 1) return;
    watch_.BeginSave();
    FileStream file;
    if (file.OpenUpdate(Path() + "\\_index.xml", FileStream::Sharing::None)) {
        file.SeekTo(kDigits.size());
        file.Write("00000000");
        file.Close();
    }
    UnBlockIndexFileAccessEx(BlockPath().c_str(), 1, &handle);
}

// As a save that has not looked at the answer when it asked for its block.
void Hand::WriteWhenRefused()
{
    OwnRecord record(Name());
    if (StoreIndex_Open(&record, 1) != 1) return;
    test::WriteFileBytes(FolderDirectory(plan_.mailRoot, folder_) / "_index.blk", "");
    void* handle = nullptr;
    if (WaitForAccessToIndexFileEx(BlockPath().c_str(), 1, &handle) != 1) {
        watch_.BeginSave();
        record.Table.RewriteRequired = 1;
        SaveIndex(record.Table, record.Path, record.IndexKind);
    }
    UnBlockIndexFileAccessEx(BlockPath().c_str(), handle ? 1 : 0, &handle);
}

// As a library that lets two in at once.
void Hand::HoldTwice()
{
    void* handle = nullptr;
    if (WaitForAccessToIndexFileEx(BlockPath().c_str(), 1, &handle) != 1) return;
    watch_.HasBlock();
    const std::string begin = std::to_string(TimeNow());
    Pause(4);
    const std::string end = std::to_string(TimeNow());
    journal_.Write(thread_ + 100, Deed::Block, folder_, {}, 0, begin + ' ' + end + ' ' + begin + ' ' + end);
    UnBlockIndexFileAccessEx(BlockPath().c_str(), 1, &handle);
}

// As an open that answers before it has asked.
void Hand::RefuseOpen()
{
    Write(Deed::OpenBegin);
    watch_.BeginCall();
    Told("open", false);
    Write(Deed::OpenEnd, {}, 0);
    Write(Deed::Close);
}

// As a save of flags that has forgotten that the messages were read.
void Hand::ResetRead() { InEveryFolder(&Hand::ResetReadInFolder); }

void Hand::InEveryFolder(void (Hand::*deed)())
{
    const uint32_t folder = folder_;
    const auto moveTo = [&](uint32_t next) {
        watch_.EndDeed();
        folder_ = next;
        watch_.BeginDeed(thread_, folder_, FolderDirectory(plan_.mailRoot, folder_));
    };
    for (uint32_t next = 0; next < plan_.folders; ++next) {
        moveTo(next);
        (this->*deed)();
    }
    moveTo(folder);
}

void Hand::ResetReadInFolder()
{
    OwnRecord record(Name());
    if (!OpenRecord(record, 1)) return Write(Deed::Close);
    for (const std::string& name : WalkRecord(record)) {
        IndexItemPropertyContainer* const item = FindLoadedItem(record.Table, name);
        const std::string flags = NewFlags(name);
        Write(Deed::Set, name, 0, flags);
        SetItemProperty(*item, kFlagStatus, flags);
        SetItemProperty(*item, kRead, "0");
    }
    record.Changed = 1;
    BeginSave();
    EndSave(StoreIndex_Save(&record) == 1, 0);
    Write(Deed::Close);
}

// Nobody gives it back.
void Hand::LeaveBlock()
{
    void* handle = nullptr;
    WaitForAccessToIndexFileEx(BlockPath().c_str(), 1, &handle);
}

// An item whose message never was delivered.
void Hand::ListGhost()
{
    OwnRecord record(Name());
    if (StoreIndex_BeginTransaction(record, kPostoffice, kMailbox, Name().c_str(), 1, transaction_, 3) != 1) return;
    const std::string name = LetterName(0xFFFF, thread_, ++letters_);
    PutFile(name);
    uint32_t nextUid = record.Table.LastUID;
    const ListedFile file{name, static_cast<uint32_t>(LetterBytes(name).size()), 0};
    AddMessageItem(record.Table, record.Path, file, GetFolderUniqueId(record.Path), nextUid);
    fs::remove(FolderDirectory(plan_.mailRoot, folder_) / name);
    StoreIndex_SaveAndClose(record, true, 1, transaction_, nullptr);
}

// As a direct call that puts nothing into the index and does not mark the folder.
void Hand::ForgetDelivery() { InEveryFolder(&Hand::ForgetDeliveryInFolder); }

void Hand::ForgetDeliveryInFolder()
{
    const std::string name = NewName();
    Write(Deed::DropBegin, name);
    PutFile(name);
    Write(Deed::DropEnd, name);
}

// As a direct call that leaves the item of a file that is gone.
void Hand::ForgetRemoval()
{
    const std::vector<std::string> names = Files();
    if (names.empty()) return;
    Write(Deed::RemoveBegin, names.front(), 0, "file");
    fs::remove(FolderDirectory(plan_.mailRoot, folder_) / names.front());
    Write(Deed::RemoveEnd, names.front(), 1, kItemToo);
}

void Hand::ForgetUpdate() { ForgetFlagsOf(kDirectUpdate); }

void Hand::ForgetFlag() { ForgetFlagsOf({}); }

// A success of which nothing is true.
void Hand::ForgetFlagsOf(const std::string& session)
{
    Write(Deed::OpenBegin, {}, 0, session);
    Write(Deed::OpenEnd, {}, 1);
    for (const std::string& name : Files()) Write(Deed::Set, name, 0, NewFlags(name));
    Write(Deed::SaveBegin);
    Write(Deed::SaveEnd, {}, 1);
    Write(Deed::Close);
}

}  // namespace velmora::torture
