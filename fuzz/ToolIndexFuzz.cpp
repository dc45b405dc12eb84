// Any bytes through the tool's own readers of indexes and shares: what they say of places must lie in the file and hold of its
// bytes, and what they take for well-formed the document facility takes as well.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/Xml.h"
#include "tools/vlstore/IndexReader.h"
#include "tools/vlstore/ShareReader.h"
#include "tools/vlstore/XmlScanner.h"

namespace {

using namespace vlstore;

void Require(bool holds)
{
    if (!holds) std::abort();
}

void CheckFault(const std::optional<XmlFault>& fault, std::string_view bytes)
{
    if (!fault) return;
    Require(fault->offset <= bytes.size() && !fault->what.empty());
    Require(LineOf(bytes, fault->offset) >= 1);
}

// Pieces follow one another without a byte between them, and levels close as they open.
void AnyXml(std::string_view bytes)
{
    XmlScanner scan(bytes);
    size_t at = bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0, depth = 0;
    while (scan.Next()) {
        Require(scan.Begin() == at && scan.End() >= at && scan.End() <= bytes.size());
        at = scan.End();
        if (scan.Kind() == XmlScanner::Piece::Start) ++depth;
        if (scan.Kind() == XmlScanner::Piece::End) --depth;
        Require(scan.Depth() == depth && depth <= kXmlDeepest);
    }
    CheckFault(scan.Fault(), bytes);
    Require(scan.Fault() || at == bytes.size());
    // What passes here is a document for the library as well.
    if (scan.Fault()) return;
    Require(velmora::platform::XmlDocument::Create()->LoadBytes(bytes));
}

void AnyIndex(std::string_view bytes)
{
    const IndexFile index = ReadIndex(bytes);
    CheckFault(index.fault, bytes);
    CheckFault(index.streamFault, bytes);
    size_t at = index.rootOffset + index.rootLength;
    for (const IndexElement& element : index.elements) {
        Require(element.offset >= at && element.length > 0);
        at = element.offset + element.length;
        Require(at <= bytes.size() && bytes.substr(element.offset).starts_with("<ELEMENT"));
        Require(element.tombstone || (element.uid != 0 && (index.fault || element.uid <= index.lastUid)));
        PropertiesOf(index, element);
    }
    Require(index.endOffset == 0 || (index.endOffset >= at && index.endOffset + index.endLength <= bytes.size()));
    if (index.form == IndexForm::Stream && !index.fault) Require(bytes.ends_with("</BASEELEMENT>\r\n"));
}

void AnyShares(std::string_view bytes)
{
    std::optional<XmlFault> fault;
    SharedFolders(bytes, fault);
    CheckFault(fault, bytes);
    UsersOf(bytes, fault);
    CheckFault(fault, bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    AnyXml(bytes);
    AnyIndex(bytes);
    AnyShares(bytes);
    return 0;
}
