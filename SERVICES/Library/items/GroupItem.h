// Group items: a .GRP file whose first line may give the group's name, which lives in the index from the insertion on.
//
//     NAME:Board            the index keeps "Board" in the column NAME
//     a@example.org         the file keeps what is behind the first CR LF
//     b@example.org
//
// The file is rewritten behind the save that brings the item into the index file, and not before: an insertion that is not
// saved leaves it as it was, name and all. It is rewritten through a copy beside it, so that a full disk costs no line of it.
#ifndef VELMORA_ITEMS_GROUPITEM_H
#define VELMORA_ITEMS_GROUPITEM_H

#include <memory>
#include <string>
#include <string_view>

#include "index/ItemBackend.h"
#include "index/ItemInsertion.h"

namespace velmora {

// What the text of a group file says.
struct GroupText {
    bool named = false;     // the first line has "NAME:" in it, in any case
    std::string_view name;  // what is behind that mark, up to the first zero byte
    std::string_view rest;  // what the file is to hold
};
// The first line ends at the first CR LF, or with the text. It counts up to 1,023 bytes; with no CR LF the rest is what is
// behind them.
GroupText ParseGroupText(std::string_view text);

// Names `item` from the text and gives it to the table. When that takes it, and the text named it, the next save that succeeds
// writes the file at `path` with what remains, if it still begins with that name.
void ImportGroupItem(STOREINDEXTYPE& index, std::unique_ptr<IndexItemPropertyContainer> item, std::string_view text,
                     const std::string& path);

// ItemBackend::insertFile for groups. A file that is not there gives an item with its ID alone, and none is made; false for
// one that cannot be read now, and for a directory or a device of that name.
bool InsertGroupFile(STOREINDEXTYPE& index, const NewItemFile& file, InsertionHeader& header);

}  // namespace velmora

#endif
