#include "persistence/InPlacePlan.h"

#include <algorithm>

#include "common/Text.h"
#include "persistence/ElementText.h"
#include "persistence/IndexTags.h"
#include "persistence/StreamCheck.h"

namespace velmora {

namespace {

using Item = IndexItemPropertyContainer;

constexpr int32_t kHeaderLevel = 1;
constexpr int32_t kFullLevel = 3;

std::string_view WithoutBlankEnd(std::string_view text) { return text.substr(0, text.find_last_not_of(" \t\r\n") + 1); }

}  // namespace

bool StandsForFile(const SORTEDSTOREINDEXTYPE& table) { return table.LoadLevel == kFullLevel && table.LoadSelection.empty(); }

bool InPlacePlan::Read(SORTEDSTOREINDEXTYPE& table, FileStream& stream)
{
    table_ = &table;
    stream_ = &stream;
    return !ContentOf(table).UnusualFile && ReadHeader() && FindEndOfItems() && ChooseFirstItem() && RemovedItemsStand() &&
           WalkedItemsStand();
}

std::string InPlacePlan::BytesAt(uint64_t offset, size_t size)
{
    std::string bytes(size, '\0');
    stream_->SeekTo(offset);
    bytes.resize(stream_->Read(bytes.data(), size));
    stream_->ClearState();
    return bytes;
}

bool InPlacePlan::ReadHeader()
{
    const std::string header = BytesAt(0, kHeaderSize);
    if (!IsWrittenHeader(header)) return false;
    lastUidInFile_ = ParseUnsigned(std::string_view(header).substr(kHeaderBegin.size(), kHeaderDigits), 16);
    return true;
}

// The offset at which the end tag stands, also when it has no line end behind it. A file that has lost its end tag goes on
// where it ends, and gets one; a file with more than a few bytes behind the tag cannot be appended to.
bool InPlacePlan::FindEndOfItems()
{
    constexpr uint64_t kLongestTail = 31;
    constexpr std::string_view kBareEnd = "</BASEELEMENT>";
    stream_->SeekToEnd();
    CheckStreamState(*stream_, StreamSite::EndSeek);
    const uint64_t size = fileSize_ = stream_->Position();
    const auto tailSize = static_cast<size_t>(std::min(size, kLongestTail));
    const std::string tail = BytesAt(size - tailSize, tailSize);
    CheckStreamState(*stream_, StreamSite::TrailerSeek);
    if (tail.empty() || tail.size() != tailSize) return false;
    const size_t found = std::string_view(tail).ends_with(kRootEnd) ? tail.size() - kRootEnd.size() : tail.find(kBareEnd);
    endOfItems_ = found == std::string::npos ? size : size - tailSize + found;
    // A pass over the elements has seen an end tag, and that nothing was open there. With the header alone in memory the
    // bytes in front have to tell.
    if (table_->LoadLevel > kHeaderLevel) return found != std::string::npos;
    return ElementsEndAt(endOfItems_, std::string_view(tail).substr(0, found));
}

// Whether an element, or the header, is what ends at `offset`, but for white space. `known` are the bytes in front of it that
// were read already; they suffice where little white space stands there, as our own writer leaves none.
bool InPlacePlan::ElementsEndAt(uint64_t offset, std::string_view known)
{
    constexpr uint64_t kSearched = 64;
    if (offset < kHeaderSize) return false;
    if (WithoutBlankEnd(known).size() >= kElementEnd.size() && offset - known.size() >= kHeaderSize)
        return WithoutBlankEnd(known).ends_with(kElementEnd);
    const uint64_t begin = std::max<uint64_t>(kHeaderSize, offset - std::min(offset, kSearched));
    const std::string bytes = BytesAt(begin, static_cast<size_t>(offset - begin));
    if (bytes.size() != offset - begin) return false;
    const std::string_view elements = WithoutBlankEnd(bytes);
    return elements.empty() ? begin == kHeaderSize : elements.ends_with(kElementEnd);
}

bool InPlacePlan::ChooseFirstItem()
{
    writesItems_ = table_->FirstDirtyUID >= 1;
    if (!writesItems_) return true;
    firstUid_ = static_cast<uint32_t>(table_->FirstDirtyUID);
    if (const Item* const first = ContentOf(*table_).ByUID.FirstFrom(firstUid_)) {
        position_ = first->FileOffset != 0 ? first->FileOffset : endOfItems_;
        return true;
    }
    // The dirty item has gone. Whoever knows the whole file writes it from its first element on; whoever knows a part
    // would write over elements that are not in memory, and has nothing to write.
    writesItems_ = StandsForFile(*table_);
    firstUid_ = 0;
    position_ = kHeaderSize;
    return true;
}

bool InPlacePlan::StandsInFile(const Item& item)
{
    const std::string start = ElementStart(item) + ">";
    return BytesAt(item.FileOffset, start.size()) == start;
}

bool InPlacePlan::RemovedItemsStand()
{
    const auto& removed = ContentOf(*table_).RemovedItems;
    return std::all_of(removed.begin(), removed.end(), [this](const Item* item) { return item->FileOffset == 0 || StandsInFile(*item); });
}

// New items go to the end of the file, so none that is in the file may stand behind one. Of a table that stands for the
// whole file only the first place is used; of any other, every one.
bool InPlacePlan::WalkedItemsStand()
{
    if (!writesItems_) return true;
    const bool whole = StandsForFile(*table_);
    const bool anyItemWanted = position_ != kHeaderSize || firstUid_ != 0;
    bool newSeen = false, firstSeen = false, good = true;
    ContentOf(*table_).ByUID.ForEachFrom(firstUid_, [&](uint32_t uid, const Item* item) {
        if (!good) return;
        if (item->FileOffset == 0) {
            newSeen = true;
            good = whole || uid > lastUidInFile_;
        } else {
            // An element that was loaded without its values cannot be written again.
            good = !newSeen && table_->LoadLevel == kFullLevel && ((whole && (firstSeen || !anyItemWanted)) || StandsInFile(*item));
        }
        firstSeen = true;
    });
    return good;
}

bool InPlacePlan::ReadGaps()
{
    if (!writesItems_ || StandsForFile(*table_)) return !stream_->LostBytes();
    gaps_.clear();
    bool good = true;
    ForEachItemAndNext(ContentOf(*table_).ByUID, firstUid_, [&](const Item& item, const Item* nextItem, bool itemIsNew) {
        std::string& gap = gaps_.emplace_back();
        const uint64_t oldEnd = uint64_t{item.FileOffset} + item.FileLength;
        const uint64_t gapEnd = nextItem && nextItem->FileOffset > 0 ? nextItem->FileOffset : endOfItems_;
        if (!good || itemIsNew || oldEnd == 0 || gapEnd <= oldEnd) return;
        gap.resize(gapEnd - oldEnd);
        stream_->SeekTo(oldEnd);
        CheckStreamState(*stream_, StreamSite::GapSeek);
        good = stream_->Read(gap.data(), gap.size()) == gap.size() && !stream_->LostBytes();
        CheckStreamState(*stream_, StreamSite::GapRead);
        stream_->ClearState();
    });
    return good && !stream_->LostBytes();
}

}  // namespace velmora
