#include "ItemIds.h"

#include <algorithm>

#include "ExitCode.h"
#include "OpenFolder.h"

namespace vlstore {

namespace {

// A list of items has commas between, "*" stands for all of them, and an entry is cut behind so many bytes.
constexpr size_t kLongestEntry = 255;
bool CanBeListed(std::string_view id) { return id.find(',') == std::string_view::npos && id != "*" && id.size() <= kLongestEntry; }

}  // namespace

bool IsPlainItemName(std::string_view id)
{
    return !id.empty() && id.front() != '_' && id.front() != '.' && id.find_first_of("/\\:") == std::string_view::npos;
}

std::vector<std::string> SelectIds(OpenFolder& folder, const std::vector<std::string>& asked)
{
    std::vector<std::string> ids;
    for (const std::string& name : asked) {
        folder.Select(name);
        std::string id = folder.CurrentId();
        if (!CanBeListed(id)) throw Failure(ExitCode::Data, "an item of this name cannot be changed directly: " + id);
        if (std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
    }
    return ids;
}

std::string IdList(const std::vector<std::string>& ids, size_t first, size_t count)
{
    std::string list;
    for (size_t i = first; i < ids.size() && i - first < count; ++i) list += (list.empty() ? "" : ",") + ids[i];
    return list;
}

}  // namespace vlstore
