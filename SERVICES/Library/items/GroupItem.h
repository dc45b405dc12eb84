// Group items: a .GRP file whose first line may give the group's name, which lives in the index from the insertion on.
//
//     NAME:Board            the index keeps "Board" in the column NAME
//     a@example.org         the file keeps what is behind the first CR LF
//     b@example.org
//
// The file is rewritten through a copy beside it, and only when the item is in the index: until the copy is whole and in its
// place the file stays as it was, so that neither a full disk nor an item that the index does not take costs a line of it.
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

// Names `item` from the text and gives it to the table; when that takes it, the file at `path` is written with what remains
// of a text that named it. True when the file is as it is to be; false leaves it as it was.
bool ImportGroupItem(STOREINDEXTYPE& index, std::unique_ptr<IndexItemPropertyContainer> item, std::string_view text,
                     const std::string& path);

// ItemBackend::insertFile for groups. A file that is not there gives an item with its ID alone, and none is made; false for
// one that cannot be read now.
bool InsertGroupFile(STOREINDEXTYPE& index, const NewItemFile& file, InsertionHeader& header);

}  // namespace velmora

#endif
