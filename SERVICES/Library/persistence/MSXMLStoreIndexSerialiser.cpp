// Loading and saving through an XML document.
//
// A file has one of two forms, and every reader reads both:
//
//     <BASEELEMENT LASTUID="42"><ELEMENT ID="a.MAI" UID="17"><SIZE>2048</SIZE></ELEMENT></BASEELEMENT>
//     <BASEELEMENT LASTUID="x0000002a">...
//
// The old one, with a plain decimal number, lists the items by ID, the new one by UID. No line end stands behind the root, and
// the root of an empty index is self-closed. Nobody notes where an element stands, so a document is always written in full.
//
// In attributes and names the flat form has no references: a table with an ID that needs one, or with a column whose name has
// bytes above 127, gets a root of the old form, whose attributes and names every reader decodes.
#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <vector>

#include "common/FileManagement.h"
#include "common/FileStream.h"
#include "common/Text.h"
#include "frame/Logging.h"
#include "frame/Settings.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "index/ItemFile.h"
#include "persistence/DocumentBytes.h"
#include "persistence/Dom.h"
#include "persistence/ElementLayout.h"
#include "persistence/ElementText.h"
#include "persistence/InPlacePlan.h"
#include "persistence/IndexHead.h"
#include "persistence/IndexTags.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "persistence/ReplacedFile.h"

namespace velmora {

namespace {

using Item = IndexItemPropertyContainer;
using platform::XmlAttribute;
using platform::XmlDocument;
using platform::XmlNode;

constexpr int32_t kFullLevel = 3;
constexpr IndexPropertyRef kIdRef{kIdSlot, 0};
constexpr IndexPropertyRef kUidRef{kUidSlot, 1};
constexpr char kLastUidName[] = "LASTUID";

// ---- Load ----

struct LoadedFile {
    bool loaded = false;
    bool namesKept = false;   // by ColumnOfName
    bool lookedInto = false;  // its bytes were read, or there is no such file
    uint64_t lastWrite = 0;   // in front of the read
    std::string head;
};

void LoadBytesOfFile(XmlDocument& document, const std::string& bytes, LoadedFile& file)
{
    const std::optional<std::string> kept = WithBytesKept(bytes);
    file.loaded = document.LoadBytes(kept ? *kept : bytes);
    file.namesKept = file.loaded && IsWrittenHeader(bytes);
    if (!file.loaded)
        if (const std::optional<std::string> named = WithNamesKept(bytes)) file.loaded = file.namesKept = document.LoadBytes(*named);
    // Somebody else's, who has put the writer's header in front.
    if (!file.loaded && kept) file.loaded = document.LoadBytes(bytes);
    file.loaded = file.loaded && document.DocumentElement();
}

LoadedFile LoadFile(XmlDocument& document, const std::string& path)
{
    LoadedFile file;
    file.lastWrite = ReadFileStamp(path).lastWrite;
    try {
        std::string bytes;
        const bool read = ReadWholeFile(path, bytes);
        if (read) LoadBytesOfFile(document, bytes, file);
        if (file.loaded) return file;
        file.lookedInto = read || !FileManagement::MayExist(path);
        file.head = IndexHeadOf(bytes);
        // Says what is wrong with it.
        if (LoadDOMFile(document, path)) file.lookedInto = false;
    } catch (const ComError& error) {
        // It tells nothing of the file.
        file.loaded = file.lookedInto = false;
        PrintComError(error);
    }
    DebugTrace("Failed to load DOM: " + path);
    return file;
}

// Fills an empty table from a document.
class DocumentParser {
public:
    DocumentParser(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, bool verifyItemFiles, bool namesKept)
        : index_(index), content_(ContentOf(index)), folderPath_(folderPath), verifyItemFiles_(verifyItemFiles), namesKept_(namesKept)
    {
    }

    // False when the LASTUID could not be had.
    bool Run(const XmlDocument& document)
    {
        const bool hasLastUid = ReadLastUID(document);
        // Of a document everything is in memory, whatever was chosen.
        index_.LoadSelection.clear();
        const XmlNode root = document.DocumentElement();
        for (XmlNode element = root.FirstElement(); element; element = element.NextElement()) TakeElement(element);
        SequenceByUid();
        // Last: a load that memory ran out in has told nothing of the file.
        content_.ReadAsDocument = content_.UnusualFile = true;
        return hasLastUid;
    }

private:
    // Kept: an error of the facility in here gives 0, and the load goes on.
    bool ReadLastUID(const XmlDocument& document)
    try {
        const XmlNode root = document.DocumentElement();
        const std::optional<std::string> lastUid = root.Attribute(kLastUidName);
        if (lastUid) index_.LastUID = LastUidOfText(*lastUid);
        if (lastUid && !lastUid->starts_with('x')) index_.RewriteRequired = 1;
        if (!lastUid)
            for (XmlNode element = root.FirstElement(); element; element = element.NextElement()) ++index_.LastUID;
        return true;
    } catch (const ComError&) {
        index_.LastUID = 0;
        return false;
    }

    void TakeElement(const XmlNode& element)
    {
        auto item = std::make_unique<Item>(room_.Next());
        item->FileOffset = kPlaceUnknown;
        for (const XmlAttribute& attribute : element.Attributes())
            if (!TakeAttribute(*item, attribute)) return;
        for (XmlNode child = element.FirstElement(); child; child = child.NextElement())
            Store(*item, namesKept_ ? ColumnOfName(child.Name()) : child.Name(), child.Text());
        item->AdoptText(idxRef_, MakeNumberText(nextIdx_++));
        room_.Used(item->Width());
        // There is room in the sequence behind a successful insertion, so that cannot fail.
        if (InsertLoadedItem(index_, item.get()))
            content_.Sequence.push_back(item.release());
        else if (FindLoadedItem(index_, item->Id()))
            content_.DoubledIds = true;
    }

    // False when the element is passed over.
    bool TakeAttribute(Item& item, const XmlAttribute& attribute)
    {
        if (IsTombstone(attribute.text)) return false;
        if (verifyItemFiles_ && attribute.name == kId && !MayHaveItemFile(folderPath_, attribute.text)) return false;
        Store(item, attribute.name, attribute.text);
        return true;
    }

    void Store(Item& item, const std::string& name, const std::string& value)
    {
        const IndexPropertyRef ref = IndexPropertyTable::LookUp(name);
        if (ref.Slot < 0) return;
        if (ref.Kind == 1) return item.SetNumber(ref, ParseLong(value));
        const auto slot = static_cast<size_t>(ref.Slot);
        if (slot >= lastTexts_.size()) lastTexts_.resize(slot + 1);
        ItemText*& last = lastTexts_[slot];
        if (!last || last->View() != value) last = MakeText(value);
        item.AdoptText(ref, last);
    }

    ItemText* MakeText(std::string_view text)
    {
        if (text.size() > UINT32_MAX - sizeof(ItemText)) throw Exception("Out of memory", "LIBStoreIndexSerialisation");
        ItemText* const made = content_.Texts.Allocate(text.size());
        text.copy(made->Bytes, text.size());
        return made;
    }

    ItemText* MakeNumberText(uint32_t number)
    {
        char digits[12];
        const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        return MakeText({digits, static_cast<size_t>(end - digits)});
    }

    void SequenceByUid()
    {
        std::vector<Item*> order;
        order.reserve(content_.Sequence.size());
        const IndexPropertyRef seqRef = IndexPropertyTable::LookUp(kSeq);
        content_.ByUID.ForEach([&](uint32_t, Item* item) {
            order.push_back(item);
            item->AdoptText(seqRef, MakeNumberText(static_cast<uint32_t>(order.size())));
        });
        content_.Sequence.swap(order);
    }

    SORTEDSTOREINDEXTYPE& index_;
    IndexTableContent& content_;
    const std::string& folderPath_;
    const bool verifyItemFiles_;
    const bool namesKept_;
    const IndexPropertyRef idxRef_ = IndexPropertyTable::LookUp(kIdx);
    uint32_t nextIdx_ = 1;
    ItemRoom room_;
    // By slot, the last text stored: the same text again needs no memory of its own.
    std::vector<ItemText*> lastTexts_;
};

// ---- Save ----

struct Column {
    std::string name;
    IndexPropertyRef ref;
    bool isElementName;
    bool isAscii;
};

std::vector<Column> ColumnsByName()
{
    std::vector<Column> columns;
    // Held for the walk: another thread's new name has the table make another list.
    const auto names = IndexPropertyTable::ByName();
    for (const NamedProperty& property : *names) {
        const std::string& name = property.Name;
        if (FitsAsChild(name)) columns.push_back({name, property.Ref, XmlDocument::TakesName(name), IsAscii(name)});
    }
    return columns;
}

// A flat reader takes a tag that is closed at once for one that stays open.
XmlNode AppendItem(XmlNode& root, const Item& item, const std::vector<Column>& columns)
{
    const bool hasChild =
        std::any_of(columns.begin(), columns.end(), [&](const Column& column) { return column.isElementName && item.Has(column.ref); });
    return hasChild ? root.AppendElement("ELEMENT") : root.AppendElement("ELEMENT", "");
}

void SaveToNode(XmlNode element, const Item& item, const std::vector<Column>& columns)
{
    constexpr uint32_t kInvalidArgument = 0x80070057;
    if (item.Has(kIdRef)) element.SetAttribute(kId, item.Id());
    std::string value;
    if (item.GetText(kUidRef, value)) element.SetAttribute(kUid, value);
    for (const Column& column : columns) {
        if (!item.GetText(column.ref, value)) continue;
        // Kept: no element can be called IM_TYPE=ICQ, so a save as a document prints that and loses the value.
        if (column.isElementName)
            element.AppendElement(column.name.c_str(), value);
        else
            PrintLine(
                FormatText("MSXMLStoreIndexSerialiser::SaveToNode->createElement Failed: %d\n", static_cast<int32_t>(kInvalidArgument)));
    }
}

// The bytes that an attribute's writer makes of one.
size_t WrittenSize(char byte)
{
    if (!NeedsReference(byte)) return 1;
    if (byte == '&') return std::string_view("&amp;").size();
    if (byte == '<') return std::string_view("&lt;").size();
    return static_cast<unsigned char>(byte) < 16 ? std::string_view("&#x9;").size() : std::string_view("&#xe9;").size();
}

// FitsInTag for the tag of a document, in which an ID may take six times its bytes.
bool FitsInDocumentTag(const Item& item)
{
    if (!FitsInTag(item)) return false;
    const std::string_view id = item.Id();
    constexpr size_t kSurelyShort = 160;
    if (id.size() <= kSurelyShort) return true;
    size_t size = ElementStart(item).size() - id.size() + std::string_view("/").size();
    for (const char byte : id) size += WrittenSize(byte);
    return size <= kLongestTag;
}

// Whether the flat form, which has no references there, could not hold an ID or the name of a column.
bool NeedsOldForm(const std::vector<Item*>& items, const std::vector<Column>& columns)
{
    std::vector<IndexPropertyRef> odd;
    for (const Column& column : columns)
        if (column.isElementName && !column.isAscii) odd.push_back(column.ref);
    return std::any_of(items.begin(), items.end(), [&](const Item* item) {
        const std::string_view id = item->Id();
        return std::any_of(id.begin(), id.end(), NeedsReference) ||
               std::any_of(odd.begin(), odd.end(), [&](IndexPropertyRef ref) { return item->Has(ref); });
    });
}

void FillDocument(XmlDocument& document, const SORTEDSTOREINDEXTYPE& index, const std::vector<Item*>& items, bool oldForm)
{
    const std::vector<Column> columns = ColumnsByName();
    XmlNode root = document.CreateRoot("BASEELEMENT");
    const bool plain = oldForm || NeedsOldForm(items, columns);
    root.SetAttribute(kLastUidName, plain ? FormatSigned(index.LastUID) : "x" + FormatHex8(index.LastUID));
    for (const Item* const item : items) SaveToNode(AppendItem(root, *item, columns), *item, columns);
}

std::vector<Item*> ItemsToSave(IndexTableContent& content, bool byId)
{
    std::vector<Item*> items;
    if (byId)
        items = content.ByID.Sorted();
    else
        content.ByUID.ForEach([&](uint32_t, Item* item) { items.push_back(item); });
    // An item that no reader could read back.
    std::erase_if(items, [](const Item* item) { return !FitsInDocumentTag(*item); });
    return items;
}

constexpr int kMostLooks = 3;

bool IsStill(const FileStamp& stamp, const std::string& path)
{
    const FileStamp now = ReadFileStamp(path);
    return now.lastWrite == stamp.lastWrite && now.size == stamp.size;
}

// What of the file that is to be replaced the table has to know. False when it cannot be read now.
bool LookAtReplaced(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind, const std::string& path,
                    FileStamp& stamp)
{
    stamp = {};
    FileStream file;
    if (!file.OpenRead(path)) return NamesNothing(file.LastError());
    stamp = file.Stamp();
    std::string head;
    if (!ReadIndexHead(file, stamp.size, head)) return false;
    file.Close();
    TakeOverReplacedFile(index, folderPath, indexKind, head, IsFileOfLoad(index, stamp));
    return true;
}

}  // namespace

MSXMLStoreIndexSerialiser::MSXMLStoreIndexSerialiser() : MSXMLStoreIndexSerialiser(XmlDocument::Create) {}

MSXMLStoreIndexSerialiser::MSXMLStoreIndexSerialiser(std::unique_ptr<XmlDocument> (*make)())
    : make_(make), producesOldFormat_(SettingIsOn(Setting::DomOldFormat))
{
}

int32_t MSXMLStoreIndexSerialiser::Deserialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind,
                                               const std::string&, const std::string&, int32_t, uint32_t, uint32_t verifyItemFiles)
try {
    openedFile_ = false;
    const std::unique_ptr<XmlDocument> document = GetDOMInstance(kNoDomText, make_);
    UnInit(index);
    if (!document) return 0;
    const std::string path = IndexFilePath(folderPath, indexKind);
    const LoadedFile file = LoadFile(*document, path);
    openedFile_ = file.loaded || file.lookedInto;
    if (file.loaded) {
        // Without the number the table does not count as that of the file: a save takes the number from there, and gives new items
        // UIDs behind it.
        const bool whole = DocumentParser(index, folderPath, verifyItemFiles > 0, file.namesKept).Run(*document);
        index.IndexFileTime = whole ? file.lastWrite : 0;
        return kFullLevel;
    }
    if (openedFile_) {
        // Whatever takes its place gives no UID again. Of other headers than those that files are written with, damage may have
        // made the number.
        index.LastUID = LastUidToldBy(file.head);
        IndexTableContent& content = ContentOf(index);
        content.ReadAsDocument = content.DamagedFile = true;
        content.DamagedFileTime = file.lastWrite;
    }
    return 0;
} catch (const ComError& error) {
    // It tells nothing of the file.
    openedFile_ = false;
    PrintComError(error);
    UnInit(index);
    return 0;
}

uint64_t MSXMLStoreIndexSerialiser::Serialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind)
{
    std::unique_ptr<XmlDocument> document = GetDOMInstance(kNoDomText, make_);
    // A part of the folder does not take the place of the whole.
    if (!document || !StandsForFile(index)) return 0;
    index.RewriteRequired = 1;
    IndexTableContent& content = ContentOf(index);
    const std::string path = IndexFilePath(folderPath, indexKind);
    FileStamp before;
    for (int look = 1;; ++look) {
        if (!document || !LookAtReplaced(index, folderPath, indexKind, path, before)) return 0;
        FillDocument(*document, index, ItemsToSave(content, producesOldFormat_), producesOldFormat_);
        if (SaveDOMFileIf(*document, path, [&] { return IsStill(before, path); })) break;
        // Somebody has come between without the folder's block, and may have given UIDs: the file is looked at again.
        if (look == kMostLooks) return 0;
        document = GetDOMInstance(kNoDomText, make_);
    }

    // Others tell by the last-write time that the file is not the one they loaded.
    if (before.lastWrite != 0 && ReadFileStamp(path).lastWrite <= before.lastWrite) MoveLastWriteOn(path, before.lastWrite);
    // Those that no file can hold too: they are nobody's new items, and keep their UIDs through every other save.
    for (Item* const item : content.Sequence) item->FileOffset = kPlaceUnknown;
    content.UnusualFile = true;
    content.DamagedFile = false;
    return 1;
}

}  // namespace velmora
