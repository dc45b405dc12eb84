#include "persistence/StreamIndexWriter.h"

#include <algorithm>
#include <string_view>

#include "common/FileManagement.h"
#include "common/FileStream.h"
#include "common/Text.h"
#include "frame/Logging.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "locks/FlagFiles.h"
#include "persistence/ElementText.h"
#include "persistence/InPlacePlan.h"
#include "persistence/IndexTags.h"
#include "persistence/StreamCheck.h"
#include "platform/Clock.h"
#include "platform/win32.h"

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
        : index_(index), content_(ContentOf(index)), folder_(folder), path_(IndexFilePath(folder, indexKind))
    {
    }

    uint64_t Run();

private:
    bool NothingToDo() const { return !index_.RewriteRequired && index_.FirstDirtyUID < 1 && content_.RemovedItems.empty(); }

    enum class Start { Write, NothingToDo, Refused };
    Start Prepare();
    enum class Stamp { AsLoaded, Changed };
    Stamp CompareStamp();
    bool MayReplaceChangedFile();
    void RespectOthersItems();
    void LookAgain();
    const Item* FirstNewItem() const;
    void MarkForgottenItems();
    void ReserveMemory();
    bool Open();
    Start OpenInPlace();
    Start OpenForRewrite();
    void WriteHeader();
    void StrikeOutRemovedItems();
    void WriteItems();
    void ReportUidOrder(const Item& item, uint32_t& uidBefore) const;
    uint64_t WriteItemAndGap(Item& item, const Item* nextItem, uint64_t position, std::string_view gap);
    void TestGap(std::string_view gap, const Item& item, const Item* nextItem) const;
    void Trim(uint64_t length) const;
    void MakeTimeDiffer() const;

    SORTEDSTOREINDEXTYPE& index_;
    IndexTableContent& content_;
    const std::string& folder_;
    const std::string path_;
    const ElementFormatter formatter_;
    FileStream stream_;
    std::string header_;
    std::string element_;
    bool inPlace_ = false;
    bool waited_ = false;     // others had the file open
    bool untold_ = false;     // whose items are in the file could not be told
    bool brokenOff_ = false;  // the stream failed in the middle of the items
    InPlacePlan plan_;
    uint64_t timeBefore_ = 0;  // last-write time of the file before the save; 0 when there was none
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
    WriteHeader();
    if (inPlace_) StrikeOutRemovedItems();
    if (inPlace_ && !plan_.ReadGaps()) {
        stream_.Close();
        MakeTimeDiffer();
        return 0;
    }
    uint64_t newLength = 0;
    if (!inPlace_ || plan_.WritesItems()) {
        WriteItems();
        stream_.Write(kRootEnd);
        if (inPlace_) newLength = stream_.Position();
    }
    stream_.Flush();
    CheckStreamState(stream_, StreamSite::LastFlush);
    const bool written = stream_.Close();
    if (newLength > 0) Trim(newLength);
    MakeTimeDiffer();
    // Bytes that did not fit on the disk are a failure: the caller keeps its marks and has the folder scanned again.
    return written && !brokenOff_ ? 1 : 0;
}

// Everything up to the open file: whether to write, and whether in place.
Writer::Start Writer::Prepare()
{
    const bool exists = FileManagement::Exists(path_);
    if (!exists) {
        if (!StandsForFile(index_)) return Start::Refused;
        index_.RewriteRequired = 1;
    } else if (CompareStamp() == Stamp::Changed && !MayReplaceChangedFile()) {
        return Start::Refused;
    }
    MarkForgottenItems();
    if (NothingToDo()) return Start::NothingToDo;
    return exists && !index_.RewriteRequired ? OpenInPlace() : OpenForRewrite();
}

// Kept: the stamp is that of the load for the life of the load, so a table's own save counts as a change too.
Writer::Stamp Writer::CompareStamp()
{
    const FileStamp stamp = ReadFileStamp(path_);
    timeBefore_ = stamp.lastWrite;
    const bool asLoaded = stamp.lastWrite == index_.IndexFileTime && static_cast<uint32_t>(stamp.size) == index_.IndexFileSize;
    return asLoaded ? Stamp::AsLoaded : Stamp::Changed;
}

bool Writer::MayReplaceChangedFile()
{
    if (!StandsForFile(index_)) {
        LogIndexEvent("Index file modified since load (" + path_ + "). Index was not fully loaded: aborting save.");
        return false;
    }
    DebugTrace("Index file has changed: " + folder_ + ". Cached offset information is now inaccurate. Index will be rewritten in full.\n");
    index_.RewriteRequired = 1;
    RespectOthersItems();
    return true;
}

// Items that others added since the load are in the file alone and will not be in the new one. Their UIDs are given all the
// same, and the folder is marked, so that the next open finds their files again.
void Writer::RespectOthersItems()
{
    char header[kHeaderSize];
    FileStream file;
    const bool opened = file.OpenRead(path_);
    untold_ = opened || !NamesNothing(file.LastError());
    if (!opened || file.Read(header, sizeof header) != sizeof header) return;
    const std::string_view bytes(header, sizeof header);
    if (!IsWrittenHeader(bytes)) return;
    untold_ = false;
    const uint32_t lastUid = ParseUnsigned(bytes.substr(kHeaderBegin.size(), kHeaderDigits), 16);
    const Item* const firstNew = FirstNewItem();
    if (lastUid <= index_.LastUID && (!firstNew || firstNew->Uid() > lastUid)) return;
    index_.LastUID = std::max(index_.LastUID, lastUid);
    MarkFolderDirty(folder_.c_str());
}

// Before the file is emptied: behind a wait it may be another one, and what could not be told before may be told now. What
// cannot be told at all has the folder marked, too.
void Writer::LookAgain()
{
    const bool changed = waited_ && CompareStamp() == Stamp::Changed;
    if (!changed && !untold_) return;
    RespectOthersItems();
    if (untold_) MarkFolderDirty(folder_.c_str());
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

Writer::Start Writer::OpenInPlace()
{
    inPlace_ = true;
    if (!Open()) return Start::Refused;
    // Whoever had the file open may have written it.
    const bool changed = waited_ && CompareStamp() == Stamp::Changed;
    if (!changed && plan_.Read(index_, stream_)) return Start::Write;
    stream_.Close();
    if (changed && !MayReplaceChangedFile()) return Start::Refused;
    return OpenForRewrite();
}

Writer::Start Writer::OpenForRewrite()
{
    // A part of the file cannot take the place of the whole.
    if (!StandsForFile(index_)) return Start::Refused;
    index_.RewriteRequired = 1;
    inPlace_ = false;
    return Open() ? Start::Write : Start::Refused;
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
    header_ = std::string(kHeaderBegin) + FormatHex8(index_.LastUID) + std::string(kHeaderEnd);
}

// Opens exclusively. A reader in another process holds the file for the time of its load, so this is tried again.
bool Writer::Open()
{
    for (uint32_t round = 0;; ++round) {
        if (!inPlace_) LookAgain();
        ReserveMemory();
        if (inPlace_ ? stream_.OpenUpdate(path_, FileStream::Sharing::None) : stream_.OpenTruncate(path_, FileStream::Sharing::None))
            return true;
        if (round == kOpenRetryLimit) break;
        stream_.ClearState();
        waited_ = true;
        platform::SleepMs(kOpenRetryPauseMs);
    }
    // Kept: the text speaks of a load.
    const std::string message =
        "Failed to deserialise index: " + folder_ +
        ". A File Access error occured when opening the file (was retried for 40 seconds). No data can be written.\n";
    DebugTrace(message);
    LogIndexEvent(message);
    return false;
}

void Writer::WriteHeader()
{
    stream_.SeekTo(inPlace_ ? kHeaderBegin.size() : 0);
    stream_.Write(inPlace_ ? std::string_view(header_).substr(kHeaderBegin.size(), kHeaderDigits) : std::string_view(header_));
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

void Writer::Trim(uint64_t length) const
{
    const HANDLE file = CreateFileA(path_.c_str(), GENERIC_WRITE, FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    LARGE_INTEGER size{};
    if (GetFileSizeEx(file, &size) && static_cast<uint64_t>(size.QuadPart) > length) {
        LARGE_INTEGER end{};
        end.QuadPart = static_cast<int64_t>(length);
        if (SetFilePointerEx(file, end, nullptr, FILE_BEGIN)) SetEndOfFile(file);
    }
    CloseHandle(file);
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
