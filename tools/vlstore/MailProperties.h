// The properties of a mail item by the names of the API, and the form in which their values cross it.
#ifndef VLSTORE_MAILPROPERTIES_H
#define VLSTORE_MAILPROPERTIES_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vlstore {

struct MailProperty {
    enum class Form { Text, Number };             // Number: a signed 32-bit number
    enum class Access { Settable, KeptByStore };  // KeptByStore: the item's identity, or stamped by each save
    enum class Values { Any, Flag, Digits };      // of those that are text: anything, "0" or "1", a decimal number
    std::string_view name;
    Form form = Form::Text;
    Access access = Access::Settable;
    Values values = Values::Any;
};

// Every property of a mail item, in the order in which they are shown.
std::span<const MailProperty> MailProperties();
// In any case of letters; null for a name that a mail item does not have.
const MailProperty* FindMailProperty(std::string_view name);
// Those of a listing.
std::span<const std::string_view> ListingProperties();

}  // namespace vlstore

#endif
