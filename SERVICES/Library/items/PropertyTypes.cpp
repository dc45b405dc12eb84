#include "items/PropertyTypes.h"

#include <array>
#include <string_view>

#include "common/Text.h"
#include "items/CalendarProperties.h"
#include "items/ContactProperties.h"
#include "items/FileProperties.h"
#include "items/MailProperties.h"
#include "items/TaskProperties.h"

namespace velmora {

namespace {

using Resolver = bool (*)(std::string_view name, PropertyBinding& binding);

// By class.
constexpr std::array<Resolver, 5> kResolvers = {ResolveMailProperty, ResolveContactProperty, ResolveCalendarProperty, ResolveTaskProperty,
                                                ResolveFileProperty};
constexpr size_t kTriedForOthers = 3;  // mail, contacts, calendar

}  // namespace

uint32_t PropertyClientType(const char* name, uint32_t classHint)
{
    const std::string_view asked = TextOrEmpty(name);
    PropertyBinding binding;
    if (classHint < kResolvers.size()) {
        if (!kResolvers[classHint](asked, binding)) return PropText;
        return static_cast<uint32_t>(binding.ClientType);
    }
    for (size_t kind = 0; kind < kTriedForOthers; ++kind)
        if (kResolvers[kind](asked, binding)) return static_cast<uint32_t>(binding.ClientType);
    return 0;
}

}  // namespace velmora
