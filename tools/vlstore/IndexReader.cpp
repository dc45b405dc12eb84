#include "IndexReader.h"

#include <algorithm>
#include <charconv>
#include <unordered_set>

namespace vlstore {

namespace {

constexpr std::string_view kRoot = "BASEELEMENT", kElement = "ELEMENT", kLastUid = "LASTUID", kId = "ID", kUid = "UID";
constexpr std::string_view kRootBegin = "<BASEELEMENT LASTUID=\"x", kRootEnd = "\">", kFileEnd = "</BASEELEMENT>\r\n";
constexpr size_t kLastUidDigits = 8;
constexpr size_t kStreamHeader = 33;
constexpr size_t kLongestTag = 1023;  // without "<" and ">", for the stream reader
constexpr size_t kRootLevel = 1, kElementLevel = 2, kPropertyLevel = 3;

// Memory alone; the table of the library has them, and no file.
bool IsMemoryOnly(std::string_view name) { return name == "IDX" || name == "SEQ"; }

bool IsBlankText(std::string_view text) { return text.find_first_not_of(" \t\r\n") == std::string_view::npos; }

std::optional<uint32_t> NumberOf(std::string_view text, int base)
{
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

bool HasStreamHeader(std::string_view bytes)
{
    if (bytes.size() < kStreamHeader || !bytes.starts_with(kRootBegin) || bytes.substr(kStreamHeader - 2, 2) != kRootEnd) return false;
    const std::string_view digits = bytes.substr(kRootBegin.size(), kLastUidDigits);
    return digits.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

// One pass over a file: what the scanner finds, put together.
class Pass {
public:
    Pass(std::string_view bytes, XmlScanner::Attributes attributes)
        : bytes_(bytes), literal_(attributes == XmlScanner::Attributes::Literal), scan_(bytes, attributes)
    {
    }

    IndexFile Run()
    {
        while (!index_.fault && scan_.Next()) Take();
        if (!index_.fault) index_.fault = scan_.Fault();
        Classify();
        if (!index_.fault) CheckLastUid();
        return std::move(index_);
    }

private:
    void Fail(size_t offset, std::string what)
    {
        if (!index_.fault) index_.fault = {offset, std::move(what)};
    }
    void FailStream(size_t offset, std::string what)
    {
        if (!index_.streamFault) index_.streamFault = {offset, std::move(what) + ", which the stream reader refuses"};
    }
    // What no stream writer makes, and that says nothing against the items.
    void FailForeign(size_t offset, std::string what)
    {
        foreign_ = true;
        FailStream(offset, std::move(what));
    }

    void Take()
    {
        switch (scan_.Kind()) {
            case XmlScanner::Piece::Start:
                return TakeStart();
            case XmlScanner::Piece::End:
                return TakeEnd();
            case XmlScanner::Piece::Other:
                return FailForeign(scan_.Begin(), "a comment, a declaration or an instruction");
            case XmlScanner::Piece::CData:
                FailForeign(scan_.Begin(), "a CDATA section");
                break;
            case XmlScanner::Piece::Text:
                break;
        }
        TakeText();
    }

    void TakeStart()
    {
        if (scan_.End() - scan_.Begin() > kLongestTag + 2) FailForeign(scan_.Begin(), "a tag of more than 1,023 bytes");
        for (const XmlScanner::Attribute& attribute : scan_.AttributesOf()) {
            if (!attribute.plain) FailForeign(attribute.offset, "an attribute that is not written NAME=\"VALUE\" behind one blank");
            if (attribute.raw.find('>') != std::string_view::npos) FailForeign(attribute.offset, "a \">\" in the value of an attribute");
        }
        if (scan_.Depth() == kRootLevel) return TakeRoot();
        if (scan_.Depth() == kElementLevel) return TakeElement();
        if (scan_.Depth() == kPropertyLevel) return TakeProperty();
        Fail(scan_.Begin(), "<" + std::string(scan_.Name()) + "> within the property " + std::string(property_.name));
    }

    void TakeRoot()
    {
        if (scan_.Name() != kRoot) return Fail(scan_.Begin(), "the root is <" + std::string(scan_.Name()) + "> and not <BASEELEMENT>");
        index_.rootOffset = scan_.Begin();
        index_.rootLength = scan_.End() - scan_.Begin();
        for (const XmlScanner::Attribute& attribute : scan_.AttributesOf()) {
            if (attribute.name == kLastUid) TakeLastUid(attribute);
        }
    }

    void TakeLastUid(const XmlScanner::Attribute& attribute)
    {
        index_.lastUidText = attribute.raw;
        const bool marked = attribute.raw.starts_with('x');
        const bool hexadecimal = marked || attribute.raw.starts_with('0');
        const std::optional<uint32_t> number = NumberOf(attribute.raw.substr(marked ? 1 : 0), hexadecimal ? 16 : 10);
        if (!number) return Fail(attribute.offset, "LASTUID is no number: " + std::string(attribute.raw));
        index_.lastUid = *number;
        newForm_ = marked;
    }

    void TakeElement()
    {
        element_ = {};
        element_.offset = scan_.Begin();
        if (scan_.Name() != kElement) return Fail(scan_.Begin(), "<" + std::string(scan_.Name()) + "> in the place of <ELEMENT>");
        if (scan_.ClosesItself()) FailForeign(scan_.Begin(), "an element that closes itself");
        const XmlScanner::Attribute *id = nullptr, *uid = nullptr;
        for (const XmlScanner::Attribute& attribute : scan_.AttributesOf()) {
            element_.tombstone = element_.tombstone || attribute.raw.find_first_not_of('-') == std::string_view::npos;
            if (attribute.name == kId) id = &attribute;
            if (attribute.name == kUid) uid = &attribute;
        }
        if (element_.tombstone) return;
        if (!id) return Fail(scan_.Begin(), "an element without an ID");
        if (!uid) return Fail(scan_.Begin(), "an element without a UID");
        element_.id = literal_ ? std::string(id->raw) : DecodeXmlText(id->raw, XmlReading::Document);
        const std::optional<uint32_t> number = NumberOf(uid->raw, 10);
        if (!number || *number == 0) return Fail(uid->offset, "not a UID: " + std::string(uid->raw));
        element_.uid = *number;
        if (newForm_ && element_.uid < previousUid_) FailStream(uid->offset, "the UID " + std::string(uid->raw) + " behind a higher one");
        previousUid_ = element_.uid;
        highestUid_ = std::max(highestUid_, element_.uid);
        if (!ids_.insert(element_.id).second) return Fail(id->offset, "the ID " + element_.id + " a second time");
        if (!uids_.insert(element_.uid).second) return Fail(uid->offset, "the UID " + std::string(uid->raw) + " a second time");
    }

    void TakeProperty()
    {
        property_ = {};
        property_.name = scan_.Name();
        propertyText_ = 0;
        if (property_.name == kId || property_.name == kUid)
            return Fail(scan_.Begin(), "a property with the name of a key: " + std::string(property_.name));
        if (scan_.ClosesItself()) FailForeign(scan_.Begin(), "a property that closes itself");
        if (scan_.End() - scan_.Begin() != property_.name.size() + 2 && !scan_.ClosesItself())
            FailForeign(scan_.Begin(), "a property's tag with more than its name");
        if (property_.name.starts_with(kElement) || property_.name.starts_with(kRoot))
            FailForeign(scan_.Begin(), "a property with a name that begins like a tag of the format");
    }

    void TakeText()
    {
        const std::string_view raw = scan_.Raw();
        if (scan_.Depth() != kPropertyLevel) {
            if (scan_.Kind() == XmlScanner::Piece::CData || !IsBlankText(raw))
                Fail(scan_.Begin() + (scan_.Kind() == XmlScanner::Piece::CData ? 0 : raw.find_first_not_of(" \t\r\n")),
                     "text outside a property");
            return;
        }
        const bool cdata = scan_.Kind() == XmlScanner::Piece::CData;
        if (propertyText_++ == 0 && !cdata) {
            property_.raw = raw;
            return;
        }
        // The pieces of one value, which only a document's reader takes.
        if (!property_.cdata) property_.text = DecodeXmlText(property_.raw, XmlReading::Document);
        property_.cdata = true;
        property_.text += cdata ? DecodeXmlText(Escaped(raw), XmlReading::Document) : DecodeXmlText(raw, XmlReading::Document);
    }

    // A CDATA section has no references.
    static std::string Escaped(std::string_view raw)
    {
        std::string escaped;
        for (const char c : raw) escaped += c == '&' ? "&amp;" : std::string(1, c);
        return escaped;
    }

    void TakeEnd()
    {
        const size_t depth = scan_.Depth() + 1;
        if (scan_.End() > scan_.Begin() && scan_.End() - scan_.Begin() != scan_.Name().size() + 3)
            FailForeign(scan_.Begin(), "blanks in an end tag");
        if (depth == kPropertyLevel) {
            if (!IsMemoryOnly(property_.name)) element_.properties.push_back(std::move(property_));
        } else if (depth == kElementLevel) {
            element_.length = scan_.End() - element_.offset;
            index_.elements.push_back(std::move(element_));
        } else if (scan_.End() > scan_.Begin()) {
            index_.endOffset = scan_.Begin();
            index_.endLength = scan_.End() - scan_.Begin();
        }
    }

    void Classify() { index_.form = !newForm_ ? IndexForm::DomOld : IsStreamLayout() ? IndexForm::Stream : IndexForm::DomNew; }

    bool IsStreamLayout() const
    {
        if (!HasStreamHeader(bytes_) || foreign_) return false;
        size_t expected = kStreamHeader;
        for (const IndexElement& element : index_.elements) {
            if (element.offset != expected) return false;
            expected += element.length;
        }
        // Of a file with a fault what stands in front of that has to do.
        return index_.fault || bytes_.substr(expected) == kFileEnd;
    }

    void CheckLastUid()
    {
        // The old form is read as a whole by whoever gives a UID, and a reader raises the number.
        if (newForm_ && index_.lastUid < highestUid_)
            Fail(index_.rootOffset, "LASTUID " + std::to_string(index_.lastUid) + " is below the UID " + std::to_string(highestUid_));
        if (!index_.lastUidText) index_.lastUid = static_cast<uint32_t>(index_.elements.size());
        index_.lastUid = std::max(index_.lastUid, highestUid_);
    }

    const std::string_view bytes_;
    const bool literal_;
    XmlScanner scan_;
    IndexFile index_;
    IndexElement element_;
    IndexProperty property_;
    size_t propertyText_ = 0;  // pieces of it
    bool newForm_ = false;
    bool foreign_ = false;
    uint32_t previousUid_ = 0, highestUid_ = 0;
    std::unordered_set<std::string> ids_;
    std::unordered_set<uint32_t> uids_;
};

}  // namespace

const char* NameOf(IndexForm form)
{
    switch (form) {
        case IndexForm::Stream:
            return "stream";
        case IndexForm::DomNew:
            return "dom-new";
        case IndexForm::DomOld:
            break;
    }
    return "dom-old";
}

size_t IndexFile::Tombstones() const
{
    return static_cast<size_t>(
        std::count_if(elements.begin(), elements.end(), [](const IndexElement& element) { return element.tombstone; }));
}

std::optional<XmlFault> IndexFile::FirstFault() const
{
    if (!fault || !streamFault) return fault ? fault : streamFault;
    return fault->offset <= streamFault->offset ? fault : streamFault;
}

IndexFile ReadIndex(std::string_view bytes)
{
    if (HasStreamHeader(bytes)) {
        // The stream writer leaves attributes as they are: an "&" in the name of a file is none of a reference.
        IndexFile index = Pass(bytes, XmlScanner::Attributes::Literal).Run();
        if (index.form == IndexForm::Stream) return index;
    }
    return Pass(bytes, XmlScanner::Attributes::Strict).Run();
}

std::map<std::string, std::string> PropertiesOf(const IndexFile& index, const IndexElement& element)
{
    const XmlReading reading = index.form == IndexForm::Stream ? XmlReading::Stream : XmlReading::Document;
    std::map<std::string, std::string> properties;
    for (const IndexProperty& property : element.properties) {
        properties[std::string(property.name)] = property.cdata ? property.text : DecodeXmlText(property.raw, reading);
    }
    return properties;
}

}  // namespace vlstore
