// The properties of items by the names of the API, for every kind of folder.
#ifndef VLSTORE_ITEMPROPERTIES_H
#define VLSTORE_ITEMPROPERTIES_H

#include <span>
#include <string_view>

#include "FolderName.h"

namespace vlstore {

struct ItemProperty {
    enum class Access { Settable, KeptByStore };  // KeptByStore: the item's identity, a part of its file, or stamped by each save
    enum class Values { Any, Flag, Digits };      // of a text: anything, "0" or "1", a decimal number
    std::string_view name;
    Access access = Access::Settable;
    Values values = Values::Any;
    // By what name it is set; empty for its own. A folder of files takes the names of columns.
    std::string_view setAs = {};
};

// Every property of an item of that kind, in the order in which they are shown.
std::span<const ItemProperty> PropertiesOf(FolderKind kind);
// In any case of letters; null for a name that an item of that kind does not have.
const ItemProperty* FindProperty(FolderKind kind, std::string_view name);
// Whether every folder answers this name itself, with any item or none: VL_FOLDER_PATH and its like.
bool IsFolderProperty(std::string_view name);
// Those of a listing of mail.
std::span<const std::string_view> ListingProperties();

}  // namespace vlstore

#endif
