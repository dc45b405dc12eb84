#include "persistence/StreamIndexWriter.h"

#include <algorithm>
#include <vector>

#include "common/FileManagement.h"
#include "common/FileStream.h"
#include "common/Text.h"
#include "frame/Logging.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "persistence/ElementText.h"
#include "persistence/IndexTags.h"
#include "platform/Clock.h"
#include "platform/win32.h"

namespace velmora {

namespace {

using Item = IndexItemPropertyContainer;

constexpr int32_t kFullLevel = 3;
// A gap shorter than this cannot hold an element, so there is nothing to test in it.
constexpr size_t kShortestTestedGap = 11;

// Places in the code where the stream is checked; they only have to differ.
enum class Site : uint32_t {
    Header = 1,
    StrikeOutSeek,
    StrikeOutWrite,
    FirstSeek,
    FirstFlush,
    EndSeek,
    TrailerSeek,
    GapEnd,
    GapSeek,
    GapRead,
    ElementSeek,
    GapWrite,
    LastFlush,
};

class Writer {
public:
    Writer(SORTEDSTOREINDEXTYPE& index, const std::string& folder, uint32_t indexKind)
        : index_(index), content_(ContentOf(index)), folder_(folder), path_(IndexFilePath(folder, indexKind))
    {
    }

    uint64_t Run();

private:
    // An index that is loaded in full stands for the whole file; any other knows only a part of it.
    bool StandsForFile() const { return index_.LoadLevel == kFullLevel && index_.LoadSelection.empty(); }
    bool NothingToDo() const { return !index_.RewriteRequired && index_.FirstDirtyUID < 1 && content_.RemovedItems.empty(); }

    enum class Start { Write, NothingToDo, Refused };
    Start Prepare();
    void MarkForgottenItems();
    bool OffsetsCanBeTrusted();
    bool NewItemsStandLast() const;
    std::string BytesAt(uint64_t offset, size_t size);
    bool Open();
    void WriteHeader();
    void StrikeOutRemovedItems();
    bool ChooseFirstItem();
    void WriteItems();
    template <typename Visit>
    void ForEachItemAndNext(Visit visit) const;
    void ReportUidOrder(const Item& item, uint32_t& uidBefore) const;
    uint64_t WriteItemAndGap(Item& item, const Item* nextItem, uint64_t position, const std::string& gap);
    std::string ReadGap(const Item& item, const Item* nextItem, bool itemIsNew);
    void TestGap(const std::string& gap, const Item& item, const Item* nextItem) const;
    uint64_t FindEndOfItems();
    bool CheckStreamState(Site site, const std::string& context = {});
    void Trim(uint64_t length) const;
    void MakeTimeDiffer() const;

    SORTEDSTOREINDEXTYPE& index_;
    IndexTableContent& content_;
    const std::string& folder_;
    const std::string path_;
    const ElementFormatter formatter_;
    FileStream stream_;
    std::string element_;
    bool inPlace_ = false;
    uint64_t position_ = kHeaderSize;
    uint32_t firstUid_ = 0;
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
    uint64_t newLength = 0;
    if (ChooseFirstItem()) {
        WriteItems();
        stream_.Write(kRootEnd);
        if (inPlace_) newLength = stream_.Position();
    }
    stream_.Flush();
    CheckStreamState(Site::LastFlush);
    const bool written = stream_.Close();
    if (newLength > 0) Trim(newLength);
    MakeTimeDiffer();
    // Bytes that did not fit on the disk are a failure: the caller keeps its marks and has the folder scanned again.
    return written ? 1 : 0;
}

// Everything up to the open file: whether to write, and whether in place.
Writer::Start Writer::Prepare()
{
    const bool exists = FileManagement::Exists(path_);
    if (!exists) {
        if (!StandsForFile()) return Start::Refused;
        index_.RewriteRequired = 1;
    } else {
        const FileStamp stamp = ReadFileStamp(path_);
        timeBefore_ = stamp.lastWrite;
        if (stamp.lastWrite != index_.IndexFileTime || static_cast<uint32_t>(stamp.size) != index_.IndexFileSize) {
            if (!StandsForFile()) {
                LogIndexEvent("Index file modified since load (" + path_ + "). Index was not fully loaded: aborting save.");
                return Start::Refused;
            }
            DebugTrace("Index file has changed: " + folder_ +
                       ". Cached offset information is now inaccurate. Index will be rewritten in full.\n");
            index_.RewriteRequired = 1;
        }
    }
    MarkForgottenItems();
    if (NothingToDo()) return Start::NothingToDo;
    // A part of the file cannot take the place of the whole.
    if (index_.RewriteRequired && !StandsForFile()) return Start::Refused;
    inPlace_ = exists && !index_.RewriteRequired;
    if (!Open()) return Start::Refused;
    if (inPlace_ && !OffsetsCanBeTrusted()) {
        if (!StandsForFile()) return Start::Refused;
        index_.RewriteRequired = 1;
        inPlace_ = false;
        stream_.Close();
        if (!Open()) return Start::Refused;
    }
    return Start::Write;
}

// The removal of the first dirty item takes the mark with it. New items behind it are in no file yet and would be missed,
// so the mark goes back to the first of them.
void Writer::MarkForgottenItems()
{
    if (index_.RewriteRequired || index_.FirstDirtyUID >= 1 || content_.RemovedItems.empty()) return;
    content_.ByUID.ForEach([&](uint32_t uid, const Item* item) {
        if (item->FileOffset == 0 && index_.FirstDirtyUID < 1) index_.FirstDirtyUID = static_cast<int32_t>(uid);
    });
}

// Whether the places that are about to be written over hold what the writer puts there. Where they do not (a header of
// other bytes, an element that something else wrote) nothing may be overwritten in part.
bool Writer::OffsetsCanBeTrusted()
{
    if (!IsWrittenHeader(BytesAt(0, kHeaderSize)) || !NewItemsStandLast()) return false;
    const auto standsInFile = [&](const Item& item) {
        const std::string start = ElementStart(item) + ">";
        return BytesAt(item.FileOffset, start.size()) == start;
    };
    for (const Item* const item : content_.RemovedItems)
        if (item->FileOffset != 0 && !standsInFile(*item)) return false;
    if (index_.FirstDirtyUID < 1) return true;
    const Item* const first = content_.ByUID.FirstFrom(static_cast<uint32_t>(index_.FirstDirtyUID));
    return !first || first->FileOffset == 0 || standsInFile(*first);
}

// An item that has never been in the file goes to its end, so none that is in the file may stand behind it.
bool Writer::NewItemsStandLast() const
{
    if (index_.FirstDirtyUID < 1) return true;
    bool newSeen = false, inOrder = true;
    content_.ByUID.ForEachFrom(static_cast<uint32_t>(index_.FirstDirtyUID), [&](uint32_t, const Item* item) {
        if (item->FileOffset == 0)
            newSeen = true;
        else if (newSeen)
            inOrder = false;
    });
    return inOrder;
}

std::string Writer::BytesAt(uint64_t offset, size_t size)
{
    std::string bytes(size, '\0');
    stream_.SeekTo(offset);
    bytes.resize(stream_.Read(bytes.data(), size));
    stream_.ClearState();
    return bytes;
}

// Opens exclusively. A reader in another process holds the file for the time of its load, so this is tried again.
bool Writer::Open()
{
    for (uint32_t round = 0;; ++round) {
        if (inPlace_ ? stream_.OpenUpdate(path_, FileStream::Sharing::None) : stream_.OpenTruncate(path_, FileStream::Sharing::None))
            return true;
        if (round == kOpenRetryLimit) break;
        stream_.ClearState();
        platform::SleepMs(kOpenRetryPauseMs);
    }
    const std::string message =
        "Failed to deserialise index: " + folder_ +
        ". A File Access error occured when opening the file (was retried for 40 seconds). No data can be written.\n";
    DebugTrace(message);
    LogIndexEvent(message);
    return false;
}

void Writer::WriteHeader()
{
    const std::string digits = FormatHex8(index_.LastUID);
    stream_.SeekTo(inPlace_ ? kHeaderBegin.size() : 0);
    if (inPlace_)
        stream_.Write(digits);
    else
        stream_.Write(std::string(kHeaderBegin) + digits + std::string(kHeaderEnd));
    CheckStreamState(Site::Header);
}

void Writer::StrikeOutRemovedItems()
{
    for (const Item* const item : content_.RemovedItems) {
        // An item that never was in the file has nothing there to strike out.
        if (item->FileOffset == 0) continue;
        stream_.SeekTo(item->FileOffset);
        CheckStreamState(Site::StrikeOutSeek);
        stream_.Write(StruckOutStart(*item));
        CheckStreamState(Site::StrikeOutWrite);
    }
}

// Sets where writing begins; false when only removals were asked for, which move nothing.
bool Writer::ChooseFirstItem()
{
    if (!inPlace_) {
        position_ = kHeaderSize;
        firstUid_ = 0;
        return true;
    }
    if (index_.FirstDirtyUID < 1) return false;
    firstUid_ = static_cast<uint32_t>(index_.FirstDirtyUID);
    if (const Item* const first = content_.ByUID.FirstFrom(firstUid_)) {
        position_ = first->FileOffset != 0 ? first->FileOffset : FindEndOfItems();
        return true;
    }
    // The dirty item has gone. Whoever knows the whole file writes it from its first element on; whoever knows a part
    // would write over elements that are not in memory, and has nothing to write.
    if (!StandsForFile()) return false;
    firstUid_ = 0;
    position_ = kHeaderSize;
    return true;
}

void Writer::WriteItems()
{
    stream_.SeekTo(position_);
    CheckStreamState(Site::FirstSeek);
    stream_.Flush();
    CheckStreamState(Site::FirstFlush);
    // All gaps are read before anything is written: an item that grows may reach beyond the next item, into a gap behind
    // it or over the end tag.
    std::vector<std::string> gaps;
    if (inPlace_ && !StandsForFile())
        ForEachItemAndNext([&](Item& item, Item* nextItem, bool itemIsNew) { gaps.push_back(ReadGap(item, nextItem, itemIsNew)); });
    uint32_t uidBefore = 0;
    size_t step = 0;
    ForEachItemAndNext([&](Item& item, Item* nextItem, bool) {
        if (step == 0) ReportUidOrder(item, uidBefore);
        if (nextItem) ReportUidOrder(*nextItem, uidBefore);
        position_ = WriteItemAndGap(item, nextItem, position_, step < gaps.size() ? gaps[step] : std::string());
        ++step;
    });
}

// One behind: an item's gap ends where the next item stood. `visit` takes (item, next item or null, whether the item is
// a later one that was never in the file).
template <typename Visit>
void Writer::ForEachItemAndNext(Visit visit) const
{
    Item* waiting = nullptr;
    bool waitingIsNew = false;
    content_.ByUID.ForEachFrom(firstUid_, [&](uint32_t, Item* item) {
        const bool itemIsNew = waiting && item->FileOffset == 0;
        if (waiting) visit(*waiting, item, waitingIsNew);
        waiting = item;
        waitingIsNew = itemIsNew;
    });
    if (waiting) visit(*waiting, static_cast<Item*>(nullptr), waitingIsNew);
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

uint64_t Writer::WriteItemAndGap(Item& item, const Item* nextItem, uint64_t position, const std::string& gap)
{
    if (gap.size() >= kShortestTestedGap) TestGap(gap, item, nextItem);
    // A full rewrite only ever goes on where it stands.
    if (inPlace_) {
        stream_.SeekTo(position);
        CheckStreamState(Site::ElementSeek, "CurrentOffset: " + FormatSigned(static_cast<int64_t>(position)) + "File=" + folder_);
    }
    if (stream_.Failed()) {
        stream_.SeekToEnd();
        LogIndexEvent("Info: Insertion attempt at Position: " + FormatSigned(static_cast<int64_t>(position)) +
                      " with Stream Length: " + FormatSigned(static_cast<int64_t>(stream_.Position())) +
                      ".File Pointer will is positioned to end of file, so as to allow diagnosis. Check .bad file\n");
        stream_.ClearState();
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
        CheckStreamState(Site::GapWrite);
    }
    return position + newLength + gap.size();
}

// The bytes of elements that are not in memory, between this item and the next that is.
std::string Writer::ReadGap(const Item& item, const Item* nextItem, bool itemIsNew)
{
    if (itemIsNew) return {};
    uint64_t gapEnd = 0;
    if (nextItem && nextItem->FileOffset > 0) {
        gapEnd = nextItem->FileOffset;
    } else {
        gapEnd = FindEndOfItems();
        CheckStreamState(Site::GapEnd);
    }
    const uint64_t oldEnd = uint64_t{item.FileOffset} + item.FileLength;
    if (oldEnd == 0 || gapEnd <= oldEnd) return {};
    std::string gap(gapEnd - oldEnd, '\0');
    stream_.SeekTo(oldEnd);
    CheckStreamState(Site::GapSeek);
    gap.resize(stream_.Read(gap.data(), gap.size()));
    CheckStreamState(Site::GapRead);
    stream_.ClearState();
    return gap;
}

void Writer::TestGap(const std::string& gap, const Item& item, const Item* nextItem) const
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

// The offset at which the end tag stands, also when it has no line end behind it.
uint64_t Writer::FindEndOfItems()
{
    constexpr uint64_t kLongestTail = 31;
    constexpr std::string_view kBareEnd = "</BASEELEMENT>";
    stream_.SeekToEnd();
    CheckStreamState(Site::EndSeek);
    const uint64_t size = stream_.Position();
    if (size <= kRootEnd.size()) return 0;
    if (BytesAt(size - kRootEnd.size(), kRootEnd.size()) == kRootEnd) return size - kRootEnd.size();
    const uint64_t tailStart = size - std::min(size, kLongestTail);
    const std::string tail = BytesAt(tailStart, static_cast<size_t>(size - tailStart));
    CheckStreamState(Site::TrailerSeek);
    const size_t found = tail.find(kBareEnd);
    return found == std::string::npos ? size : tailStart + found;
}

// A report, not a control: whatever it finds, the save goes on with the stream as it stands.
bool Writer::CheckStreamState(Site site, const std::string& context)
{
    if (!stream_.Failed()) return true;
    std::string state = stream_.Bad() ? "bad" : "fail";
    if (!context.empty()) state += "{" + context + "}";
    LogIndexEvent("Warning. File contention occured when accessing index file (" + state +
                  ").Contention in Function: LIBStoreIndexSerialisation, Module Line: " + FormatSigned(static_cast<uint32_t>(site)));
    return false;
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
    const HANDLE file = CreateFileA(path_.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    const uint64_t later = timeBefore_ + 10;  // a microsecond, which every file system with fine stamps keeps
    FILETIME time{};
    time.dwLowDateTime = static_cast<DWORD>(later);
    time.dwHighDateTime = static_cast<DWORD>(later >> 32);
    SetFileTime(file, nullptr, nullptr, &time);
    CloseHandle(file);
}

}  // namespace

uint64_t WriteIndexFile(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind)
{
    return Writer(index, folderPath, indexKind).Run();
}

}  // namespace velmora
