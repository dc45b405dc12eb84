#include "persistence/StreamIndexWriter.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "common/FileManagement.h"
#include "common/FileStream.h"
#include "common/Text.h"
#include "frame/Logging.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "persistence/ElementText.h"
#include "persistence/InPlacePlan.h"
#include "persistence/IndexHead.h"
#include "persistence/IndexTags.h"
#include "persistence/ReplacedFile.h"
#include "persistence/StreamCheck.h"
#include "platform/Clock.h"

namespace velmora {

namespace {

using Item = IndexItemPropertyContainer;

// A gap shorter than this cannot hold an element, so there is nothing to test in it.
constexpr size_t kShortestTestedGap = 11;
// Longer elements are rare; theirs is memory that may still run out in the middle of a save.
constexpr size_t kUsualElement = size_t{64} * 1024;

class Writer {
public:
    Writer(SORTEDSTOREINDEXTYPE& index, const std::string& folder, uint32_t indexKind)
        : index_(index), content_(ContentOf(index)), folder_(folder), indexKind_(indexKind), path_(IndexFilePath(folder, indexKind))
    {
    }

    uint64_t Run();

private:
    bool NothingToDo() const { return !index_.RewriteRequired && index_.FirstDirtyUID < 1 && content_.RemovedItems.empty(); }

    enum class Start { Write, NothingToDo, Refused };
    Start Prepare();
    bool IsAsLoaded(const FileStamp& stamp) const;
    bool MayReplaceChangedFile();
    void TellOfChange();
    const Item* FirstNewItem() const;
    void MarkForgottenItems();
    void ReserveMemory();
    Start Open();
    enum class Attempt { Ready, Busy, Refused };
    Attempt OpenOnce();
    Attempt LookInPlace();
    Attempt BeginRewrite();
    Attempt GiveUpBegun(Attempt why);
    bool TakeOverFrom(const FileStamp& stamp);
    void SetHeaderDigits();
    void WriteHeaderDigits();
    void StrikeOutRemovedItems();
    void WriteItems();
    void ReportUidOrder(const Item& item, uint32_t& uidBefore) const;
    uint64_t WriteItemAndGap(Item& item, const Item* nextItem, uint64_t position, std::string_view gap);
    void TestGap(std::string_view gap, const Item& item, const Item* nextItem) const;
    void MakeTimeDiffer() const;

    SORTEDSTOREINDEXTYPE& index_;
    IndexTableContent& content_;
    const std::string& folder_;
    const uint32_t indexKind_;
    const std::string path_;
    const ElementFormatter formatter_;
    FileStream stream_;
    std::string header_;
    std::string element_;
    bool exists_ = false;        // there was a file at the first look
    bool changeIsTold_ = false;  // that the file is not the one that was loaded
    bool inPlace_ = false;
    bool brokenOff_ = false;  // the stream failed in the middle of the items
    InPlacePlan plan_;
    uint64_t timeBefore_ = 0;  // last-write time of the file before the save; 0 when there was none
    FileStamp begun_;          // of the file with a new header and the old elements, when they could not be cut off
};

uint64_t Writer::Run()
{
    switch (Prepare()) {
        case Start::NothingToDo:
            return 1;
        case Start::Refused:
            return 0;
        case Start::Write:
            break;
    }
    if (inPlace_) {
        WriteHeaderDigits();
        StrikeOutRemovedItems();
        if (!plan_.ReadGaps()) {
            stream_.Close();
            MakeTimeDiffer();
            return 0;
        }
    }
    bool cut = true;
    if (!inPlace_ || plan_.WritesItems()) {
        WriteItems();
        stream_.Write(kRootEnd);
        // What is left of a longer file goes while nobody else can have it open. A tail that stays makes the file malformed.
        if (inPlace_ && stream_.Position() < plan_.FileSize()) cut = stream_.Truncate();
    }
    stream_.Flush();
    CheckStreamState(stream_, StreamSite::LastFlush);
    const bool written = stream_.Close();
    MakeTimeDiffer();
    // Bytes that did not fit on the disk are a failure: the caller keeps its marks and has the folder scanned again.
    if (!written || !cut || brokenOff_) return 0;
    // All of the table is in the file now, and nothing else.
    if (!inPlace_) content_.DamagedFile = false;
    return 1;
}

// Everything up to the open file: whether to write, and whether in place.
Writer::Start Writer::Prepare()
{
    // A file that cannot be asked for now may be there; the open tells.
    exists_ = FileManagement::MayExist(path_);
    if (!exists_) {
        if (!StandsForFile(index_)) return Start::Refused;
        index_.RewriteRequired = 1;
    }
    // What is written in full either way is compared when it is open.
    const bool comparesLater = index_.RewriteRequired && StandsForFile(index_);
    if (!comparesLater && !IsAsLoaded(ReadFileStamp(path_)) && !MayReplaceChangedFile()) return Start::Refused;
    MarkForgottenItems();
    if (NothingToDo()) return Start::NothingToDo;
    inPlace_ = !index_.RewriteRequired;
    // A part of the file cannot take the place of the whole.
    if (!inPlace_ && !StandsForFile(index_)) return Start::Refused;
    return Open();
}

// Kept: the stamp is that of the load for the life of the load, so a table's own save counts as a change too. So does a load
// as a document, which notes no size.
bool Writer::IsAsLoaded(const FileStamp& stamp) const
{
    return stamp.lastWrite == index_.IndexFileTime && static_cast<uint32_t>(stamp.size) == index_.IndexFileSize;
}

bool Writer::MayReplaceChangedFile()
{
    if (!StandsForFile(index_)) {
        LogIndexEvent("Index file modified since load (" + path_ + "). Index was not fully loaded: aborting save.");
        return false;
    }
    TellOfChange();
    index_.RewriteRequired = 1;
    return true;
}

void Writer::TellOfChange()
{
    if (!changeIsTold_)
        DebugTrace("Index file has changed: " + folder_ +
                   ". Cached offset information is now inaccurate. Index will be rewritten in full.\n");
    changeIsTold_ = true;
}

// Opens exclusively. A reader in another process holds the file for the time of its load, so this is tried again.
Writer::Start Writer::Open()
{
    for (uint32_t round = 0;; ++round) {
        ReserveMemory();
        const Attempt attempt = OpenOnce();
        if (attempt == Attempt::Ready) return Start::Write;
        if (attempt == Attempt::Refused) return Start::Refused;
        if (round == kOpenRetryLimit) break;
        stream_.ClearState();
        platform::SleepMs(kOpenRetryPauseMs);
    }
    // Kept: the text speaks of a load.
    const std::string message =
        "Failed to deserialise index: " + folder_ +
        ". A File Access error occured when opening the file (was retried for 40 seconds). No data can be written.\n";
    DebugTrace(message);
    LogIndexEvent(message);
    return Start::Refused;
}

Writer::Attempt Writer::OpenOnce()
{
    if (inPlace_) {
        if (stream_.OpenUpdate(path_, FileStream::Sharing::None)) return LookInPlace();
        if (!NamesNothing(stream_.LastError())) return Attempt::Busy;
        // It has gone since the first look.
        if (!StandsForFile(index_)) return Attempt::Refused;
        index_.RewriteRequired = 1;
        inPlace_ = exists_ = false;
    }
    // Not emptied by the open: from then on a death would leave nothing that tells which UIDs have been given.
    return stream_.OpenAlways(path_, FileStream::Sharing::None) ? BeginRewrite() : Attempt::Busy;
}

// The file is compared with the load again: between the first look and the open, which may have waited, others may write it.
Writer::Attempt Writer::LookInPlace()
{
    const FileStamp stamp = stream_.Stamp();
    timeBefore_ = stamp.lastWrite;
    const bool changed = !IsAsLoaded(stamp);
    if (!changed && plan_.Read(index_, stream_)) {
        index_.LastUID = std::max(index_.LastUID, plan_.LastUidInFile());
        SetHeaderDigits();
        return Attempt::Ready;
    }
    if ((changed && !MayReplaceChangedFile()) || !StandsForFile(index_)) {
        stream_.Close();
        return Attempt::Refused;
    }
    index_.RewriteRequired = 1;
    inPlace_ = false;
    return BeginRewrite();
}

// The header comes first, with a LASTUID that is not below that of the file, and is in the file before anything else of it
// goes: wherever the process dies, what it leaves tells which UIDs have been given. Digits that are written over others of the
// same number of digits are never lower than those, also when only some get there.
Writer::Attempt Writer::BeginRewrite()
{
    const FileStamp stamp = stream_.Stamp();
    const bool isNew = !exists_ && stamp.size == 0;
    timeBefore_ = isNew ? 0 : stamp.lastWrite;
    if (!isNew && !TakeOverFrom(stamp)) {
        stream_.Close();
        return Attempt::Refused;
    }
    SetHeaderDigits();
    stream_.SeekTo(0);
    stream_.Write(header_);
    stream_.Flush();
    CheckStreamState(stream_, StreamSite::Header);
    if (stream_.Failed()) return GiveUpBegun(Attempt::Refused);
    if (stamp.size > kHeaderSize && !stream_.Truncate()) return GiveUpBegun(Attempt::Busy);
    return Attempt::Ready;
}

// The old elements stay behind the header.
Writer::Attempt Writer::GiveUpBegun(Attempt why)
{
    stream_.Close();
    MakeTimeDiffer();
    begun_ = ReadFileStamp(path_);
    return why;
}

// What the file that is about to be replaced knows and the table does not. False when it cannot be read now.
bool Writer::TakeOverFrom(const FileStamp& stamp)
{
    std::string head;
    stream_.ClearState();
    if (!ReadIndexHead(stream_, stamp.size, head)) return false;
    stream_.ClearState();
    const bool ownHeader = begun_.lastWrite != 0 && stamp.lastWrite == begun_.lastWrite && stamp.size == begun_.size;
    const bool asLoaded = ownHeader || IsFileOfLoad(index_, stamp);
    TakeOverReplacedFile(index_, folder_, indexKind_, head, asLoaded);
    if (!asLoaded) TellOfChange();
    return true;
}

// The first item that is in no file yet.
const Item* Writer::FirstNewItem() const
{
    const Item* firstNew = nullptr;
    content_.ByUID.ForEach([&](uint32_t, const Item* item) {
        if (!firstNew && item->FileOffset == 0) firstNew = item;
    });
    return firstNew;
}

// The removal of the first dirty item takes the mark with it. New items behind it are in no file yet and would be missed,
// so the mark goes down to the first of them.
void Writer::MarkForgottenItems()
{
    if (index_.RewriteRequired || content_.RemovedItems.empty()) return;
    const Item* const firstNew = FirstNewItem();
    if (!firstNew) return;
    const auto uid = static_cast<int32_t>(firstNew->Uid());
    if (index_.FirstDirtyUID < 1 || index_.FirstDirtyUID > uid) index_.FirstDirtyUID = uid;
}

// What the writing needs of memory is had before the file is touched: an exception behind that would leave it cut.
void Writer::ReserveMemory()
{
    element_.reserve(kUsualElement);
    header_ = std::string(kHeaderBegin) + std::string(kHeaderDigits, '0') + std::string(kHeaderEnd);
}

void Writer::SetHeaderDigits() { header_.replace(kHeaderBegin.size(), kHeaderDigits, FormatHex8(index_.LastUID)); }

void Writer::WriteHeaderDigits()
{
    stream_.SeekTo(kHeaderBegin.size());
    stream_.Write(std::string_view(header_).substr(kHeaderBegin.size(), kHeaderDigits));
    CheckStreamState(stream_, StreamSite::Header);
}

void Writer::StrikeOutRemovedItems()
{
    for (const Item* const item : content_.RemovedItems) {
        // An item that never was in the file has nothing there to strike out.
        if (item->FileOffset == 0) continue;
        stream_.SeekTo(item->FileOffset);
        CheckStreamState(stream_, StreamSite::StrikeOutSeek);
        stream_.Write(StruckOutStart(*item));
        CheckStreamState(stream_, StreamSite::StrikeOutWrite);
    }
}

void Writer::WriteItems()
{
    const uint32_t firstUid = inPlace_ ? plan_.FirstUid() : 0;
    uint64_t position = inPlace_ ? plan_.Position() : kHeaderSize;
    if (inPlace_) stream_.SeekTo(position);
    CheckStreamState(stream_, StreamSite::FirstSeek);
    stream_.Flush();
    CheckStreamState(stream_, StreamSite::FirstFlush);
    uint32_t uidBefore = 0;
    size_t step = 0;
    ForEachItemAndNext(content_.ByUID, firstUid, [&](Item& item, const Item* nextItem, bool) {
        if (step == 0) ReportUidOrder(item, uidBefore);
        if (nextItem) ReportUidOrder(*nextItem, uidBefore);
        const std::string_view gap = inPlace_ ? plan_.Gap(step) : std::string_view();
        ++step;
        // An item that no reader could read back would make the whole file unreadable. No gap stands behind it: it is new, or
        // the table stands for the whole file.
        if (!brokenOff_ && FitsInTag(item)) position = WriteItemAndGap(item, nextItem, position, gap);
    });
    // With no item left, the end tag stands right behind the header.
    if (step == 0 && inPlace_) stream_.SeekTo(position);
}

void Writer::ReportUidOrder(const Item& item, uint32_t& uidBefore) const
{
    const uint32_t uid = item.Uid();
    if (uidBefore >= uid) {
        const std::string message = "Serialisation Issue: UID incorrectly ordered at " + FormatSigned(uid) + ".\n";
        DebugTrace(message);
        LogIndexEvent(message);
    }
    uidBefore = uid;
}

uint64_t Writer::WriteItemAndGap(Item& item, const Item* nextItem, uint64_t position, std::string_view gap)
{
    if (gap.size() >= kShortestTestedGap) TestGap(gap, item, nextItem);
    // A full rewrite only ever goes on where it stands.
    if (inPlace_) stream_.SeekTo(position);
    if (stream_.Failed()) {
        const std::string at = FormatSigned(static_cast<int64_t>(position));
        CheckStreamState(stream_, StreamSite::ElementSeek, "CurrentOffset: " + at + "File=" + folder_);
        stream_.SeekToEnd();
        LogIndexEvent("Info: Insertion attempt at Position: " + at +
                      " with Stream Length: " + FormatSigned(static_cast<int64_t>(stream_.Position())) +
                      ".File Pointer will is positioned to end of file, so as to allow diagnosis. Check .bad file\n");
        // Nothing more is written: it would go to where the file happens to stand, over elements that are good, and each item
        // of a large folder would be reported.
        brokenOff_ = true;
        return position;
    }
    item.FileOffset = static_cast<uint32_t>(position);
    element_.clear();
    formatter_.Append(element_, item);
    stream_.Write(element_);
    const uint32_t newLength = static_cast<uint32_t>(element_.size());
    // Kept: without a sign, so an item that shrank seems to have grown beyond all bounds.
    const uint32_t growth = newLength - item.FileLength;
    if (!gap.empty() && nextItem && nextItem->FileLength > 0 && growth > nextItem->FileLength)
        LogIndexEvent("Corrupting index " + folder_ + ". Item size for " + std::string(item.Id()) +
                      " has grown so much that the gap will overflow the next item.");
    item.FileLength = newLength;
    if (!gap.empty()) {
        stream_.Write(gap);
        CheckStreamState(stream_, StreamSite::GapWrite);
    }
    return position + newLength + gap.size();
}

void Writer::TestGap(std::string_view gap, const Item& item, const Item* nextItem) const
{
    if (!gap.starts_with("<ELEMENT"))
        LogIndexEvent("Corrupting index " + folder_ + ". Gap after " + std::string(item.Id()) +
                      " does not start at the start of an element.");
    if (!gap.ends_with(kElementEnd))
        LogIndexEvent(
            "Corrupting index " + folder_ + ". Gap " +
            (nextItem && nextItem->FileOffset >= 1 ? "before " + std::string(nextItem->Id()) : "after " + std::string(item.Id())) +
            " does not end at the end of an element.");
}

// Others tell by the last-write time that the file is not the one they loaded. Two writes inside one tick of the file
// system's clock would look like one, so the second moves the time on itself.
void Writer::MakeTimeDiffer() const
{
    if (timeBefore_ == 0 || ReadFileStamp(path_).lastWrite > timeBefore_) return;
    MoveLastWriteOn(path_, timeBefore_);
}

}  // namespace

uint64_t WriteIndexFile(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind)
{
    return Writer(index, folderPath, indexKind).Run();
}

}  // namespace velmora
