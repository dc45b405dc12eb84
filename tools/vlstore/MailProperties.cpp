#include "MailProperties.h"

#include "Text.h"

namespace vlstore {

namespace {

using Form = MailProperty::Form;
using Access = MailProperty::Access;
using Values = MailProperty::Values;

constexpr MailProperty kProperties[] = {
    {"VL_ITEM_ID", Form::Text, Access::KeptByStore},
    {"VL_ITEM_CLASS", Form::Number, Access::KeptByStore},
    {"VL_ITEM_MODIFIEDDATE", Form::Number, Access::KeptByStore},
    {"PR_SUBJECT"},
    {"PR_VL_FROM"},
    {"PR_VL_TO"},
    {"PR_VL_CC"},
    {"PR_VL_MESSAGEDATE"},
    {"PR_VL_RECEIVED"},
    {"PR_VL_MODIFIEDDATE", Form::Text, Access::KeptByStore},
    {"PR_VL_SIZE", Form::Text, Access::Settable, Values::Digits},
    {"PR_VL_READ", Form::Text, Access::Settable, Values::Flag},
    {"PR_VL_FLAGSTATUS"},
    {"PR_VL_ATTACHMENTS", Form::Text, Access::Settable, Values::Digits},
    {"PR_VL_IMPORTANCE", Form::Text, Access::Settable, Values::Digits},
    {"PR_SENSITIVITY", Form::Number},
    {"PR_VL_STATE"},
    {"PR_VL_CLASS"},
};

constexpr std::string_view kListing[] = {
    "VL_ITEM_ID", "PR_SUBJECT", "PR_VL_FROM", "PR_VL_MESSAGEDATE", "PR_VL_SIZE", "PR_VL_READ", "PR_VL_ATTACHMENTS", "PR_VL_FLAGSTATUS",
};

}  // namespace

std::span<const MailProperty> MailProperties() { return kProperties; }

const MailProperty* FindMailProperty(std::string_view name)
{
    for (const MailProperty& property : kProperties) {
        if (EqualNoCase(property.name, name)) return &property;
    }
    return nullptr;
}

std::span<const std::string_view> ListingProperties() { return kListing; }

}  // namespace vlstore
