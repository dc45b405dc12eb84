#include "index/FlagChanges.h"

#include "common/Text.h"

namespace velmora {

namespace {

constexpr size_t kMostFlags = 1000;
constexpr size_t kLongestFlag = 255;

// The text up to `end`, which is taken off the front of `rest` with its end.
std::string_view TakeToken(std::string_view& rest, char end)
{
    const size_t size = rest.find(end);
    const std::string_view token = rest.substr(0, size);
    rest.remove_prefix(size == std::string_view::npos ? rest.size() : size + 1);
    return token;
}

bool HasSign(std::string_view token) { return token.starts_with('+') || token.starts_with('-'); }

std::string WithBackslash(std::string_view flag) { return (flag.starts_with('\\') ? "" : "\\") + std::string(flag); }

bool AddFlag(std::string& flagStatus, std::string_view flag)
{
    // Kept: anywhere in the list, also inside another flag.
    if (ContainsNoCase(flagStatus, flag)) return false;
    if (!flagStatus.empty()) flagStatus += ' ';
    flagStatus += WithBackslash(flag);
    return true;
}

void RemoveFlag(std::string& flagStatus, std::string_view flag)
{
    const std::string removed = WithBackslash(flag);
    std::string kept;
    kept.reserve(flagStatus.size());
    std::string_view rest = flagStatus;
    for (size_t count = 0; !rest.empty() && count < kMostFlags;) {
        const std::string_view present = TakeToken(rest, ' ').substr(0, kLongestFlag);
        if (present.empty()) continue;
        ++count;
        if (EqualsNoCase(present, removed)) continue;
        if (!kept.empty()) kept += ' ';
        kept += present;
    }
    flagStatus = std::move(kept);
}

bool ApplyToken(std::string& flagStatus, std::string_view token)
{
    const std::string_view flag = token.substr(HasSign(token) ? 1 : 0);
    if (!token.starts_with('-')) return AddFlag(flagStatus, flag);
    RemoveFlag(flagStatus, flag);
    // Kept: also when the flag was not there.
    return true;
}

}  // namespace

bool ApplyFlagChanges(std::string& flagStatus, std::string_view change)
{
    std::string_view rest = change;
    const std::string_view first = TakeToken(rest, ' ');
    if (!HasSign(first)) flagStatus.clear();
    bool changed = ApplyToken(flagStatus, first);
    while (!rest.empty()) changed = ApplyToken(flagStatus, TakeToken(rest, ',')) || changed;
    return changed;
}

}  // namespace velmora
