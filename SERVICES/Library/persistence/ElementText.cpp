#include "persistence/ElementText.h"

#include <charconv>

#include "common/Text.h"
#include "persistence/Entities.h"
#include "persistence/IndexTags.h"

namespace velmora {

namespace {

constexpr IndexPropertyRef kIdRef{kIdSlot, 0};
constexpr IndexPropertyRef kUidRef{kUidSlot, 1};

void AppendStart(std::string& out, const IndexItemPropertyContainer& item)
{
    out += "<ELEMENT";
    if (item.Has(kIdRef)) out.append(" ID=\"").append(item.Id()).append("\"");
    if (item.Has(kUidRef)) {
        char digits[12];
        const char* const end = std::to_chars(digits, digits + sizeof digits, item.GetNumber(kUidRef)).ptr;
        out.append(" UID=\"").append(digits, static_cast<size_t>(end - digits)).append("\"");
    }
}

}  // namespace

bool FitsAsChild(std::string_view name)
{
    if (name == kIdx || name == kSeq || name == kUid || name == kId) return false;
    return !name.empty() && name.size() < kLongestTag - 1 && std::string_view("/!?").find(name.front()) == std::string_view::npos &&
           !name.ends_with('/') && !name.starts_with(kRootTag) && !name.starts_with(kElementTag) &&
           name.find('>') == std::string_view::npos;
}

ElementFormatter::ElementFormatter()
{
    const auto names = IndexPropertyTable::ByName();
    for (const NamedProperty& property : *names)
        if (FitsAsChild(property.Name)) children_.push_back({"<" + property.Name + ">", "</" + property.Name + ">", property.Ref});
}

void ElementFormatter::Append(std::string& out, const IndexItemPropertyContainer& item) const
{
    AppendStart(out, item);
    out += '>';
    for (const Child& child : children_) {
        if (!item.Has(child.ref)) continue;
        out += child.startTag;
        if (child.ref.Kind == 1)
            out += FormatSigned(item.GetNumber(child.ref));
        else
            AppendEncoded(out, item.View(child.ref));
        out += child.endTag;
    }
    out += kElementEnd;
}

bool FitsInTag(const IndexItemPropertyContainer& item)
{
    const std::string_view id = item.Id();
    constexpr size_t kSurelyShort = 980;
    return !IsTombstone(id) && id.find_first_of("\">") == std::string_view::npos &&
           (id.size() <= kSurelyShort || ElementStart(item).size() <= kLongestTag);
}

std::string ElementStart(const IndexItemPropertyContainer& item)
{
    std::string start;
    AppendStart(start, item);
    return start;
}

std::string StruckOutStart(const IndexItemPropertyContainer& item)
{
    std::string uid;
    item.GetText(kUidRef, uid);
    return "<ELEMENT ID=\"" + std::string(item.Id().size(), '-') + "\" UID=\"" + std::string(uid.size(), '-') + "\"";
}

}  // namespace velmora
