#include "FlagList.h"

#include <algorithm>
#include <iterator>

#include "ExitCode.h"
#include "Text.h"

namespace vlstore {

namespace {

constexpr std::string_view kKnownFlags[] = {"SEEN", "ANSWERED", "FLAGGED", "RECENT", "DELETED", "DRAFT"};
// A direct change is counted for these by what its text contains, "SEEN" in "UNSEEN" as well.
constexpr std::string_view kCountedFlags[] = {"SEEN", "ANSWERED", "FLAGGED"};
constexpr std::string_view kGroupMark = "$VLGROUP";  // sends a delivery to the group items
constexpr size_t kLongestText = 255;                 // the library cuts the flags of a delivery behind that

bool ContainsNoCase(std::string_view text, std::string_view part) { return UpperAscii(text).find(part) != std::string::npos; }

bool IsFlagCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("$_.").find(c) != std::string_view::npos;
}

std::string FlagOf(const std::string& whole, std::string_view word)
{
    if (word.starts_with('\\')) word.remove_prefix(1);
    bool bad = word.empty() || !std::all_of(word.begin(), word.end(), IsFlagCharacter) || ContainsNoCase(word, kGroupMark);
    if (bad) throw Failure(ExitCode::Usage, "flags are words with commas between: \"" + whole + "\"");
    for (std::string_view known : kKnownFlags) {
        if (EqualNoCase(word, known)) return "\\" + std::string(known);
    }
    for (std::string_view counted : kCountedFlags) {
        if (ContainsNoCase(word, counted)) {
            throw Failure(ExitCode::Usage, "the store would count \"" + std::string(word) + "\" as " + std::string(counted));
        }
    }
    return "\\" + std::string(word);
}

std::vector<std::string_view> SplitAtCommas(const std::string& text)
{
    if (text.size() > kLongestText) throw Failure(ExitCode::Usage, "the flags are too long");
    std::vector<std::string_view> words;
    for (std::string_view rest = text;;) {
        size_t at = rest.find(',');
        words.push_back(rest.substr(0, at));
        if (at == std::string_view::npos) return words;
        rest.remove_prefix(at + 1);
    }
}

bool Contains(const std::vector<std::string>& flags, std::string_view flag)
{
    return std::any_of(flags.begin(), flags.end(), [flag](const std::string& other) { return EqualNoCase(other, flag); });
}

void AddOnce(std::vector<std::string>& flags, std::string flag)
{
    if (!Contains(flags, flag)) flags.push_back(std::move(flag));
}

}  // namespace

std::vector<std::string> ParseFlags(const std::string& text)
{
    std::vector<std::string> flags;
    for (std::string_view word : SplitAtCommas(text)) AddOnce(flags, FlagOf(text, word));
    return flags;
}

FlagChange ParseFlagChange(const std::string& text)
{
    FlagChange change;
    for (std::string_view word : SplitAtCommas(text)) {
        char sign = word.empty() ? '\0' : word.front();
        if (sign != '+' && sign != '-') throw Failure(ExitCode::Usage, "a change is written +FLAG or -FLAG: \"" + text + "\"");
        AddOnce(sign == '+' ? change.added : change.removed, FlagOf(text, word.substr(1)));
    }
    for (const std::string& flag : change.added) {
        if (Contains(change.removed, flag)) throw Failure(ExitCode::Usage, "one flag is set and taken away: \"" + text + "\"");
    }
    return change;
}

std::string FlagStatusOf(const std::vector<std::string>& flags)
{
    std::string status;
    for (const std::string& flag : flags) status += (status.empty() ? "" : " ") + flag;
    return status;
}

bool HasFlag(std::string_view flagStatus, std::string_view flag)
{
    while (!flagStatus.empty()) {
        size_t end = std::min(flagStatus.find(' '), flagStatus.size());
        if (EqualNoCase(flagStatus.substr(0, end), flag)) return true;
        flagStatus.remove_prefix(std::min(end + 1, flagStatus.size()));
    }
    return false;
}

std::string UpdateText(char sign, const std::vector<std::string>& flags)
{
    std::string text;
    for (size_t i = 0; i < flags.size(); ++i) {
        if (i > 0) text += i == 1 ? ' ' : ',';
        text += sign + flags[i];
    }
    return text;
}

}  // namespace vlstore
