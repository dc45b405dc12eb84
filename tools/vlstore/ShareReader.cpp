#include "ShareReader.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>

namespace vlstore {

namespace {

// The elements that are open, from the root on, at every start and end of one; and the text within the innermost one.
class Walk {
public:
    explicit Walk(std::string_view bytes) : scan_(bytes) {}

    bool Next()
    {
        if (ended_) open_.pop_back();
        ended_ = false;
        while (scan_.Next()) {
            switch (scan_.Kind()) {
                case XmlScanner::Piece::Start:
                    open_.push_back(scan_.Name());
                    text_.clear();
                    return true;
                case XmlScanner::Piece::End:
                    ended_ = true;
                    return true;
                case XmlScanner::Piece::Text:
                    text_ += DecodeXmlText(scan_.Raw(), XmlReading::Document);
                    break;
                case XmlScanner::Piece::CData:
                    text_ += scan_.Raw();
                    break;
                case XmlScanner::Piece::Other:
                    break;
            }
        }
        return false;
    }

    bool AtEnd() const { return ended_; }
    // Whether the innermost elements are these, the outermost of them first.
    bool IsAt(std::initializer_list<std::string_view> names) const
    {
        return open_.size() >= names.size() &&
               std::equal(names.begin(), names.end(), open_.end() - static_cast<std::ptrdiff_t>(names.size()));
    }
    const std::string& Text() const { return text_; }
    const XmlScanner& Scan() const { return scan_; }

private:
    XmlScanner scan_;
    std::vector<std::string_view> open_;
    std::string text_;
    bool ended_ = false;
};

}  // namespace

std::vector<std::string> SharedFolders(std::string_view bytes, std::optional<XmlFault>& fault)
{
    std::vector<std::string> folders;
    Walk walk(bytes);
    while (walk.Next()) {
        if (walk.AtEnd() && walk.IsAt({"SHARES", "SHARE", "RESOURCE"})) folders.push_back(walk.Text());
    }
    fault = walk.Scan().Fault();
    return folders;
}

std::vector<std::string> UsersOf(std::string_view bytes, std::optional<XmlFault>& fault)
{
    std::vector<std::string> users;
    Walk walk(bytes);
    while (walk.Next()) {
        if (walk.AtEnd() || !walk.IsAt({"LIST", "ITEM"})) continue;
        for (const XmlScanner::Attribute& attribute : walk.Scan().AttributesOf()) {
            if (attribute.name == "USER") users.push_back(DecodeXmlText(attribute.raw, XmlReading::Document));
        }
    }
    fault = walk.Scan().Fault();
    return users;
}

}  // namespace vlstore
