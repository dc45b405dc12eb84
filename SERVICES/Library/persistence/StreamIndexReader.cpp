#include "persistence/StreamIndexReader.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <unordered_set>
#include <vector>

#include "common/Text.h"
#include "index/IndexTable.h"
#include "persistence/DocumentBytes.h"
#include "persistence/ElementLayout.h"
#include "persistence/Entities.h"
#include "persistence/IndexTags.h"
#include "persistence/SourceWindow.h"
#include "platform/Xml.h"

namespace velmora {

namespace {

using Item = IndexItemPropertyContainer;

class Parser {
public:
    Parser(SORTEDSTOREINDEXTYPE& table, ByteSource& source, const ParseOptions& options)
        : table_(table), options_(options), window_(source), filterActive_(!options.selection.empty()), storesValues_(options.level != 2)
    {
    }

    ParseOutcome Run()
    {
        while (NextTag()) {
            HandleTag();
            if (ThresholdReached() && IsPartial()) break;
            if (elementOpen_ && propertyName_.empty() && rootStartSeen_ && !rootEndSeen_) ReadExpectedProperties();
        }
        DropCurrentItem();
        SequenceByUid();
        if (ThresholdReached()) {
            table_.LoadSelection.clear();
            table_.RewriteRequired = 1;
            if (IsPartial()) {
                UnInit(table_);
                return {ParseResult::RepeatInFull, {}};
            }
        }
        if (!rootStartSeen_)
            Fault("Did not find root element start tag");
        else if (!rootEndSeen_)
            Fault("Did not find root element end tag");
        if (!ok_) {
            ContentOf(table_).DamagedFile = true;
            return {ParseResult::Malformed, fault_};
        }
        // Elements may have been dropped, which the file should not keep.
        if (options_.files && options_.level == 3) table_.RewriteRequired = 1;
        return {ParseResult::Good, {}};
    }

private:
    bool ThresholdReached() const { return tombstones_ >= options_.garbageThreshold; }
    bool IsPartial() const { return options_.level < 3 || filterActive_; }

    // The first message is kept; the pass goes on to the end.
    void FaultOfOrder(std::string message)
    {
        if (ok_) fault_ = std::move(message);
        ok_ = false;
    }
    // The same for a fault that leaves open whose columns the open element holds.
    void Fault(std::string message)
    {
        FaultOfOrder(std::move(message));
        faultInElement_ = true;
    }

    // Reads the text up to the next "<" and the tag behind it. False when the stream ends first.
    bool NextTag();
    void HandleTag();
    void HandleRootTag();
    void HandleElementStart();
    void HandleElementEnd();
    void HandlePropertyTag();
    // The pass has met something that the writer never writes.
    void NoteUnusual() { ContentOf(table_).UnusualFile = true; }
    bool CheckElementPlacement();
    void ReadExpectedProperties();

    enum class AttributeResult { Taken, SkipElement };
    AttributeResult TakeAttribute(const TagAttribute& attribute);
    void StoreValue(IndexPropertyRef ref, std::string_view raw);
    ItemText* MakeText(std::string_view text);
    ItemText* MakeNumberText(uint32_t number);
    void EnterSequence(Item* item);
    void SequenceByUid();
    void DropCurrentItem() { currentItem_.reset(); }

    SORTEDSTOREINDEXTYPE& table_;
    const ParseOptions& options_;
    SourceWindow window_;
    ElementLayout layout_;
    ItemRoom room_;

    bool ok_ = true;
    std::string fault_;
    bool newFormat_ = false;
    bool rootStartSeen_ = false;
    bool rootEndSeen_ = false;
    bool elementOpen_ = false;
    bool faultInElement_ = false;  // since the last start tag of an element
    bool filterActive_;
    const bool storesValues_;
    std::string propertyName_;  // of the open property; empty when none is open
    std::unique_ptr<Item> currentItem_;
    uint32_t tombstones_ = 0;
    uint32_t nextSeq_ = 1;
    uint32_t nextIdx_ = 1;
    bool anyUidSeen_ = false;
    uint32_t previousUid_ = 0;
    uint64_t position_ = 0;

    // The tag in hand. The views are good until the window moves.
    std::string_view text_;  // in front of the tag
    std::string_view tag_;
    uint64_t tagStart_ = 0;

    // Items that are in the maps and not yet in the sequence's order: those of a file of the old form. The sequence
    // holds them from the start, so that whatever happens it owns them.
    std::vector<Item*> unsequenced_;
    // By slot, the last text stored as it stood in the file: the same text again needs no memory of its own.
    std::vector<ItemText*> lastTexts_;
    const IndexPropertyRef idRef_{kIdSlot, 0};
    const IndexPropertyRef seqRef_ = IndexPropertyTable::LookUp(kSeq);
    const IndexPropertyRef idxRef_ = IndexPropertyTable::LookUp(kIdx);
};

bool Parser::NextTag()
{
    const char* bracket = nullptr;
    for (size_t searched = 0;;) {
        bracket = static_cast<const char*>(std::memchr(window_.Begin() + searched, '<', window_.Unread() - searched));
        if (bracket) break;
        searched = window_.Unread();
        if (!window_.More()) return false;
    }
    const size_t textSize = static_cast<size_t>(bracket - window_.Begin());
    size_t tagSize = 0;
    bool closed = false;
    for (;;) {
        const char* const tag = window_.Begin() + textSize + 1;
        const size_t available = std::min(window_.Unread() - textSize - 1, kLongestTag);
        const char* const end = static_cast<const char*>(std::memchr(tag, '>', available));
        if (end) {
            tagSize = static_cast<size_t>(end - tag);
            closed = true;
            break;
        }
        if (available == kLongestTag) {
            tagSize = kLongestTag;
            break;
        }
        if (!window_.More()) return false;
    }
    if (!closed) NoteUnusual();
    text_ = {window_.Begin(), textSize};
    tag_ = {window_.Begin() + textSize + 1, tagSize};
    tagStart_ = position_ + textSize;
    // Kept: the formula counts a ">" also behind a tag that was cut, so offsets behind such a tag are one too high.
    position_ = tagStart_ + 2 + tagSize;
    window_.Consume(textSize + 1 + tagSize + (closed ? 1 : 0));
    return true;
}

void Parser::HandleTag()
{
    const bool closing = tag_.starts_with('/');
    const std::string_view name = closing ? tag_.substr(1) : tag_;
    // Kept: a prefix is enough, so a property whose name begins with "ELEMENT" counts as an element.
    if (name.starts_with(kRootTag)) return HandleRootTag();
    if (!name.starts_with(kElementTag)) return HandlePropertyTag();
    if (closing)
        HandleElementEnd();
    else
        HandleElementStart();
}

void Parser::HandleRootTag()
{
    if (tag_.starts_with('/')) {
        if (!rootStartSeen_)
            Fault("Encountered root element end tag before root element start tag");
        else if (rootEndSeen_)
            Fault("Encountered root element end tag after already encountering a root element end tag");
        // Kept: an element that is still open is dropped and no fault, so files that were cut and closed load.
        if (elementOpen_) NoteUnusual();
        rootEndSeen_ = true;
        return;
    }
    if (rootStartSeen_) Fault("Encountered root element start tag after already encountering a root element start tag");
    rootStartSeen_ = true;
    const bool newForm = ParseLastUID(tag_, table_.LastUID) == RootForm::New;
    const bool closedAtOnce = tag_.find('/') != std::string_view::npos;
    if (newForm) newFormat_ = true;
    if (closedAtOnce) rootEndSeen_ = true;
    if (!newForm || closedAtOnce) {
        table_.LoadSelection.clear();
        filterActive_ = false;
        table_.RewriteRequired = 1;
    }
}

// The checks that start and end tags of elements share; false after a fault.
bool Parser::CheckElementPlacement()
{
    if (!rootStartSeen_)
        Fault("Encountered element tag before encountering a root element start tag");
    else if (rootEndSeen_)
        Fault("Encountered element tag after already encountering a root element end tag");
    else if (!propertyName_.empty())
        Fault("Encountered element start tag nested within a property (" + propertyName_ + ")");
    else
        return true;
    return false;
}

void Parser::HandleElementStart()
{
    if (CheckElementPlacement() && elementOpen_) Fault("Encountered element start tag nested within another element");
    elementOpen_ = true;
    faultInElement_ = false;
    DropCurrentItem();
    layout_.BeginElement();

    bool idSeen = false;
    std::string decoded;
    TagAttribute attribute;
    AttributeWalk walk(tag_);
    if (!IsWrittenForm(tag_)) NoteUnusual();
    for (;;) {
        const AttributeWalk::Step step = walk.Next(attribute);
        if (step == AttributeWalk::Step::NoQuote) Fault("Unable to parse ID attribute, Tag=[" + std::string(tag_) + "]");
        if (step != AttributeWalk::Step::Attribute) break;
        if (attribute.name == kId) idSeen = true;
        // A document has references here, and its writer leaves the old form to tell so.
        if (!newFormat_ && attribute.value.find('&') != std::string_view::npos) {
            decoded = attribute.value;
            DecodeAttribute(decoded);
            attribute.value = decoded;
        }
        if (TakeAttribute(attribute) == AttributeResult::SkipElement) {
            DropCurrentItem();
            return;
        }
    }
    if (!idSeen) Fault("Encountered element start tag without an ID");
}

Parser::AttributeResult Parser::TakeAttribute(const TagAttribute& attribute)
{
    const bool isId = attribute.name == kId;
    if (newFormat_ && attribute.name == kUid) {
        // Compared without a sign, as UIDs are everywhere, so that a file whose UIDs have passed 2^31 is in order too.
        const uint32_t uid = static_cast<uint32_t>(ParseLong(attribute.value));
        if (anyUidSeen_ && uid < previousUid_)
            FaultOfOrder("Encountered element with UID out of order. This UID=" + FormatSigned(uid) +
                         ", Previous UID=" + FormatSigned(previousUid_) + ", Largest/Last UID=" + FormatSigned(table_.LastUID));
        previousUid_ = uid;
        anyUidSeen_ = true;
    }
    if (IsTombstone(attribute.value)) {
        ++tombstones_;
        return AttributeResult::SkipElement;
    }
    if (filterActive_ && !table_.RewriteRequired) {
        if (EqualsNoCase(attribute.name, kId) && !SelectionContains(options_.selection, attribute.value))
            return AttributeResult::SkipElement;
    } else if (options_.files && isId && !options_.files->FileExists(attribute.value)) {
        return AttributeResult::SkipElement;
    }
    if (!currentItem_) {
        currentItem_ = std::make_unique<Item>(room_.Next());
        currentItem_->FileOffset = static_cast<uint32_t>(tagStart_);
        // Offsets have 32 bits; behind them they cannot be relied on.
        if (position_ > UINT32_MAX) table_.RewriteRequired = 1;
    }
    const IndexPropertyRef ref = isId ? idRef_ : IndexPropertyTable::LookUp(attribute.name);
    if (ref.Kind == 1)
        currentItem_->SetNumber(ref, ParseLong(attribute.value));
    else if (ref.Slot >= 0)
        currentItem_->AdoptText(ref, MakeText(attribute.value));
    return AttributeResult::Taken;
}

void Parser::HandleElementEnd()
{
    if (CheckElementPlacement() && !elementOpen_) Fault("Encountered element end tag before encountering a matching element start tag");
    elementOpen_ = false;
    if (!currentItem_) return;
    currentItem_->FileLength = static_cast<uint32_t>(position_) - currentItem_->FileOffset;
    ItemText* const idx = MakeNumberText(nextIdx_);
    currentItem_->AdoptText(idxRef_, idx);
    room_.Used(currentItem_->Width());
    // Elements stand in the order of their UIDs; one that does not takes its UID from elsewhere.
    if (currentItem_->Uid() <= ContentOf(table_).ByUID.LastUid() && ContentOf(table_).ByUID.Count() > 0) NoteUnusual();
    if (InsertLoadedItem(table_, currentItem_.get())) {
        Item* const item = currentItem_.release();
        // What stands between may be of other items. One that is damaged has no place in the file.
        if (faultInElement_) item->FileOffset = item->FileLength = 0;
        if (newFormat_ && nextSeq_ == nextIdx_) item->AdoptText(seqRef_, idx);
        EnterSequence(item);
    } else {
        // The file has an element that the table does not know: struck out alone, the first of two with one ID would give
        // way to the second.
        NoteUnusual();
        if (FindLoadedItem(table_, currentItem_->Id())) ContentOf(table_).DoubledIds = true;
        DropCurrentItem();
    }
    ++nextIdx_;
}

void Parser::EnterSequence(Item* item)
{
    ContentOf(table_).Sequence.push_back(item);
    if (!newFormat_) {
        unsequenced_.push_back(item);
        return;
    }
    if (nextSeq_ != nextIdx_) item->AdoptText(seqRef_, MakeNumberText(nextSeq_));
    ++nextSeq_;
}

// Items of a file of the old form stand in the order of their UIDs.
void Parser::SequenceByUid()
{
    if (newFormat_ || unsequenced_.empty()) return;
    IndexTableContent& content = ContentOf(table_);
    const std::unordered_set<const Item*> waiting(unsequenced_.begin(), unsequenced_.end());
    std::vector<Item*> order;
    order.reserve(content.Sequence.size());
    std::copy_if(content.Sequence.begin(), content.Sequence.end(), std::back_inserter(order),
                 [&](const Item* item) { return !waiting.contains(item); });
    content.ByUID.ForEach([&](uint32_t, Item* item) {
        if (!waiting.contains(item)) return;
        order.push_back(item);
        item->AdoptText(seqRef_, MakeNumberText(nextSeq_++));
    });
    content.Sequence.swap(order);
}

void Parser::HandlePropertyTag()
{
    const bool closing = tag_.starts_with('/');
    const std::string tag(tag_);
    if (!rootStartSeen_)
        Fault("Encountered property tag (" + tag + ") before encountering a root element start tag");
    else if (rootEndSeen_)
        Fault("Encountered property tag (" + tag + ") after already encountering a root element end tag");
    else if (!elementOpen_)
        Fault("Encountered property tag (" + tag + ") outside an element");
    if (!storesValues_) {
        if (!closing) layout_.Learn(tag, {});
        return;
    }

    if (!closing) {
        if (!propertyName_.empty())
            Fault("Encountered property start tag (" + tag + ") nested within another property (" + propertyName_ + ")");
        propertyName_ = tag;
        return;
    }
    const std::string name = tag.substr(1);
    // An element that is passed over shows the layout as well, with the names that have a place already: without it, all in
    // front of the first one that is wanted would be read step by step.
    const std::string column = newFormat_ || IsAscii(name) ? name : platform::XmlToBytes(name);
    const IndexPropertyRef ref = currentItem_ ? IndexPropertyTable::LookUp(column) : IndexPropertyTable::Find(column);
    if (name != propertyName_)
        Fault("Encountered property end tag (" + tag + ") that does not match previous property start tag (" + propertyName_ + ")");
    else if (currentItem_ || ref.Slot >= 0)
        layout_.Learn(name, ref);
    propertyName_.clear();
    if (currentItem_) StoreValue(ref, text_);
}

// The plain case, again and again: "<NAME>value</NAME>" with the name that the element before had here. Nothing that the
// step-by-step reading would see is left out; what is not plain is left to it.
void Parser::ReadExpectedProperties()
{
    for (;;) {
        const char* const at = window_.Begin();
        const ElementLayout::Property* const expected = layout_.Match(at, window_.Unread());
        if (!expected) return;
        const char* const value = at + expected->startTag.size();
        const char* const bracket = static_cast<const char*>(std::memchr(value, '<', static_cast<size_t>(window_.End() - value)));
        if (!bracket || static_cast<size_t>(window_.End() - bracket) < expected->endTag.size() ||
            std::memcmp(bracket, expected->endTag.data(), expected->endTag.size()) != 0) {
            layout_.Unmatch();
            return;
        }
        if (storesValues_ && currentItem_) StoreValue(expected->ref, {value, static_cast<size_t>(bracket - value)});
        const size_t size = static_cast<size_t>(bracket - at) + expected->endTag.size();
        position_ += size;
        window_.Consume(size);
    }
}

void Parser::StoreValue(IndexPropertyRef ref, std::string_view raw)
{
    if (ref.Slot < 0) return;
    // A child that is called like an attribute gives the item another name than its tag has.
    if (ref.Slot == kIdSlot || ref.Slot == kUidSlot) NoteUnusual();
    if (ref.Kind == 1) {
        std::string value(raw);
        DecodeEntities(value);
        currentItem_->SetNumber(ref, ParseLong(value));
        return;
    }
    const size_t slot = static_cast<size_t>(ref.Slot);
    if (slot >= lastTexts_.size()) lastTexts_.resize(slot + 1);
    ItemText*& last = lastTexts_[slot];
    if (last && last->View() == raw) return currentItem_->AdoptText(ref, last);
    ItemText* const text = MakeText(raw);
    if (std::memchr(raw.data(), '&', raw.size()))
        ContentOf(table_).Texts.Shrink(text, DecodeEntitiesInPlace(text->Bytes, text->Size));
    else
        last = text;
    currentItem_->AdoptText(ref, text);
}

ItemText* Parser::MakeText(std::string_view text)
{
    ItemText* const made = ContentOf(table_).Texts.Allocate(text.size());
    text.copy(made->Bytes, text.size());
    return made;
}

ItemText* Parser::MakeNumberText(uint32_t number)
{
    char digits[12];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return MakeText({digits, static_cast<size_t>(end - digits)});
}

}  // namespace

size_t MemorySource::Read(char* buffer, size_t size)
{
    const size_t given = std::min(size, bytes_.size());
    bytes_.copy(buffer, given);
    bytes_.remove_prefix(given);
    return given;
}

ParseOutcome ParseIndexStream(SORTEDSTOREINDEXTYPE& table, ByteSource& source, const ParseOptions& options)
{
    return Parser(table, source, options).Run();
}

}  // namespace velmora
