#include "index/SelectionSet.h"

namespace velmora {

SelectionSet MakeSelectionSet(std::string_view commaList)
{
    SelectionSet set;
    while (!commaList.empty()) {
        const size_t comma = commaList.find(',');
        const std::string_view token = commaList.substr(0, comma);
        if (!token.empty()) set.emplace(token);
        commaList.remove_prefix(comma == std::string_view::npos ? commaList.size() : comma + 1);
    }
    return set;
}

bool SelectionContains(const SelectionSet& set, std::string_view id) { return set.contains(id) || set.contains("*"); }

}  // namespace velmora
