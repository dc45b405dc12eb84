#include "index/IndexItem.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "common/Text.h"

namespace velmora {

namespace {

constexpr uintptr_t kInArena = 1;  // or in the item's own block

ItemText* TextOf(void* entry) { return reinterpret_cast<ItemText*>(reinterpret_cast<uintptr_t>(entry) & ~kInArena); }
bool IsInArena(void* entry) { return (reinterpret_cast<uintptr_t>(entry) & kInArena) != 0; }

// Bytes of a text, with the next one's length aligned behind it.
size_t RoomFor(size_t size) { return (ItemText::BytesFor(size) + alignof(ItemText)) & ~(alignof(ItemText) - 1); }

// An integer lies in the entry itself.
int32_t NumberOf(void* entry) { return static_cast<int32_t>(reinterpret_cast<intptr_t>(entry)); }
void* EntryOf(int32_t number) { return reinterpret_cast<void*>(static_cast<intptr_t>(number)); }

}  // namespace

IndexItemPropertyContainer::~IndexItemPropertyContainer()
{
    for (uint32_t slot = 0; slot < Values.Count(); ++slot)
        if (!IsIntegerSlot(static_cast<int32_t>(slot))) Release(Values.Begin()[slot]);
}

void IndexItemPropertyContainer::Release(void* entry)
{
    if (entry && !IsInArena(entry)) std::free(entry);
}

bool IndexItemPropertyContainer::Has(IndexPropertyRef ref) const
{
    if (ref.Slot < 0 || static_cast<uint32_t>(ref.Slot) >= Values.Count()) return false;
    return ref.Kind == 1 || Values.Begin()[ref.Slot] != nullptr;
}

std::string_view IndexItemPropertyContainer::View(IndexPropertyRef ref) const
{
    if (ref.Kind != 0 || !Has(ref)) return {};
    return TextOf(Values.Begin()[ref.Slot])->View();
}

bool IndexItemPropertyContainer::GetText(IndexPropertyRef ref, std::string& value) const
{
    if (!Has(ref)) return false;
    if (ref.Kind == 1)
        value = FormatSigned(NumberOf(Values.Begin()[ref.Slot]));
    else
        value = View(ref);
    return true;
}

int32_t IndexItemPropertyContainer::GetNumber(IndexPropertyRef ref) const
{
    if (!Has(ref)) return 0;
    return ref.Kind == 1 ? NumberOf(Values.Begin()[ref.Slot]) : ParseLong(View(ref));
}

bool IndexItemPropertyContainer::GetInto(std::string_view name, char* buffer, size_t size) const
{
    if (size > 0) *buffer = '\0';
    std::string value;
    if (!GetText(name, value)) return false;
    CopyBounded(buffer, size, value);
    return true;
}

void IndexItemPropertyContainer::Extend(int32_t slot)
{
    if (static_cast<uint32_t>(slot) >= Values.Count()) Values.Resize(static_cast<uint32_t>(slot) + 1, nullptr);
}

void IndexItemPropertyContainer::SetText(IndexPropertyRef ref, std::string_view value)
{
    if (ref.Slot < 0) return;
    if (ref.Kind == 1) return SetNumber(ref, ParseLong(value));
    if (value.size() > UINT32_MAX - sizeof(ItemText)) throw Exception("Out of memory", "IndexItem");
    Extend(ref.Slot);
    uintptr_t mark = 0;
    ItemText* const text = MakeText(value.size(), mark);
    value.copy(text->Bytes, value.size());
    // The old text goes last: `value` may be a part of it.
    void*& entry = Values.Begin()[ref.Slot];
    Release(entry);
    entry = reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(text) | mark);
}

ItemText* IndexItemPropertyContainer::MakeText(size_t size, uintptr_t& mark)
{
    const size_t bytes = RoomFor(size);
    ItemText* text = nullptr;
    if (bytes <= blockSize_ - blockUsed_) {
        text = reinterpret_cast<ItemText*>(block_.get() + blockUsed_);
        blockUsed_ += static_cast<uint32_t>(bytes);
        mark = kInArena;
    } else {
        text = static_cast<ItemText*>(std::malloc(bytes));
        if (!text) throw std::bad_alloc();
        mark = 0;
    }
    text->Size = static_cast<uint32_t>(size);
    return text;
}

void IndexItemPropertyContainer::ReserveTexts(size_t count, size_t bytes)
{
    const size_t size = bytes + count * RoomFor(0);
    if (block_ || size > UINT32_MAX) return;
    block_.reset(new char[size]);
    blockSize_ = static_cast<uint32_t>(size);
}

void IndexItemPropertyContainer::SetNumber(IndexPropertyRef ref, int32_t value)
{
    if (ref.Slot < 0) return;
    if (ref.Kind == 0) return SetText(ref, FormatSigned(value));
    Extend(ref.Slot);
    Values.Begin()[ref.Slot] = EntryOf(value);
}

void IndexItemPropertyContainer::AdoptText(IndexPropertyRef ref, ItemText* text)
{
    if (ref.Slot < 0) return;
    if (ref.Kind == 1) return SetNumber(ref, ParseLong(text->View()));
    Extend(ref.Slot);
    void*& entry = Values.Begin()[ref.Slot];
    Release(entry);
    entry = reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(text) | kInArena);
}

void IndexItemPropertyContainer::Remove(IndexPropertyRef ref)
{
    if (ref.Kind != 0 || !Has(ref)) return;
    void*& entry = Values.Begin()[ref.Slot];
    Release(entry);
    entry = nullptr;
}

void IndexItemPropertyContainer::ResetKeepingKeys()
{
    std::string id;
    const bool hadId = GetText(kId, id);
    std::string uid;
    const bool hadUid = GetText(kUid, uid);
    for (uint32_t slot = 0; slot < Values.Count(); ++slot)
        if (!IsIntegerSlot(static_cast<int32_t>(slot))) Release(Values.Begin()[slot]);
    Values.Clear();
    if (hadId) SetText(kId, id);
    if (hadUid) SetText(kUid, uid);
}

void IndexItemPropertyContainer::CopyTo(std::map<std::string, std::string>& properties) const
{
    const auto names = IndexPropertyTable::ByName();
    std::string value;
    for (const NamedProperty& property : *names)
        if (GetText(property.Ref, value)) properties.insert_or_assign(property.Name, value);
}

void MarkItemChanged(IndexItemPropertyContainer& item)
{
    if (!item.Owner) return;
    SORTEDSTOREINDEXTYPE& table = *item.Owner;
    const int32_t uid = item.GetNumber(IndexPropertyRef{kUidSlot, 1});
    // The mark has 31 bits. A UID beyond them cannot be noted there, so the whole file is written instead.
    if (uid < 0)
        table.RewriteRequired = 1;
    else if (table.FirstDirtyUID == 0 || table.FirstDirtyUID > uid)
        table.FirstDirtyUID = uid;
}

bool SetItemKeyProperty(IndexItemPropertyContainer& item, const char* name, std::string_view value)
{
    const IndexPropertyRef ref = IndexPropertyTable::LookUp(name);
    item.SetText(ref, value);
    if (std::string_view(name) != kSeq) MarkItemChanged(item);
    return item.Has(ref);
}

bool SetItemProperty(IndexItemPropertyContainer& item, const char* name, std::string_view value)
{
    // Read before the set: `value` may be the text that is replaced.
    const bool seen = ContainsNoCase(value, "\\SEEN");
    const bool present = SetItemKeyProperty(item, name, value);
    if (name == kFlagStatus) SetItemKeyProperty(item, kRead, seen ? "1" : "0");
    return present;
}

void ClearVlStatus(IndexItemPropertyContainer& item)
{
    const IndexPropertyRef ref = IndexPropertyTable::LookUp(kVlStatus);
    if (!item.Has(ref)) return;
    item.Remove(ref);
    MarkItemChanged(item);
}

}  // namespace velmora
