// Flags of mail as they are written on the command line, and as the store has them.
#ifndef VLSTORE_FLAGLIST_H
#define VLSTORE_FLAGLIST_H

#include <string>
#include <string_view>
#include <vector>

namespace vlstore {

inline constexpr const char* kSeenFlag = "\\SEEN";

// "SEEN,FLAGGED": flags with a backslash in front, the well-known ones in capitals, none of them twice. Throws Failure
// (usage) for what is no flag, and for too much.
std::vector<std::string> ParseFlags(const std::string& text);

// "+SEEN,-FLAGGED".
struct FlagChange {
    std::vector<std::string> added, removed;
};
// Throws Failure (usage) as above, for a flag without a sign, and for one with both.
FlagChange ParseFlagChange(const std::string& text);

// "\SEEN \FLAGGED", as an item has them.
std::string FlagStatusOf(const std::vector<std::string>& flags);
bool HasFlag(std::string_view flagStatus, std::string_view flag);

// All of `flags` with one sign, in the form of a direct update: a blank ends the first, and a comma each of the others.
std::string UpdateText(char sign, const std::vector<std::string>& flags);

}  // namespace vlstore

#endif
