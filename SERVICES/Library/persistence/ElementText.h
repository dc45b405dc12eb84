// Items as they stand in an index file.
#ifndef VELMORA_PERSISTENCE_ELEMENTTEXT_H
#define VELMORA_PERSISTENCE_ELEMENTTEXT_H

#include <string>
#include <string_view>
#include <vector>

#include "index/IndexItem.h"

namespace velmora {

// Whether a property of that name becomes a child of its item's element. A name that a reader would take for something else, or
// would not find the end of, does not.
bool FitsAsChild(std::string_view name);

// Makes elements: <ELEMENT ID="..." UID="..."> and one child for each other property in ascending order of its name. The
// order of the names is worked out once for all items of a save.
class ElementFormatter {
public:
    ElementFormatter();

    void Append(std::string& out, const IndexItemPropertyContainer& item) const;

private:
    struct Child {
        std::string startTag;  // "<NAME>"
        std::string endTag;    // "</NAME>"
        IndexPropertyRef ref;
    };
    std::vector<Child> children_;
};

// Whether an item's start tag can be read back: an ID stands there unescaped. Items that got their ID from a child of a
// file that somebody else wrote may have any.
bool FitsInTag(const IndexItemPropertyContainer& item);

// The start tag of an item's element without its ">".
std::string ElementStart(const IndexItemPropertyContainer& item);

// What a removed item's element begins with: ElementStart with every byte of the two values struck out.
std::string StruckOutStart(const IndexItemPropertyContainer& item);

}  // namespace velmora

#endif
