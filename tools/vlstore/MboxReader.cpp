#include "MboxReader.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <vector>

#include "ExitCode.h"

namespace vlstore {

namespace {

constexpr std::string_view kSeparator = "From ";
constexpr std::string_view kDays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
constexpr std::string_view kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr size_t kLongestSeparator = 1000;

bool IsEmptyLine(std::string_view line) { return line == "\n" || line == "\r\n"; }

std::vector<std::string_view> Words(std::string_view line)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    std::vector<std::string_view> words;
    for (size_t at = line.find_first_not_of(kBlanks); at != std::string_view::npos; at = line.find_first_not_of(kBlanks, at)) {
        size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
        words.push_back(line.substr(at, end - at));
        at = end;
    }
    return words;
}

template <size_t count>
bool IsOneOf(std::string_view word, const std::string_view (&words)[count])
{
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

// Whether `word` has the form of `pattern`, in which "0" stands for any digit.
bool HasForm(std::string_view word, std::string_view pattern)
{
    return std::equal(word.begin(), word.end(), pattern.begin(), pattern.end(),
                      [](char c, char form) { return form == '0' ? c >= '0' && c <= '9' : c == form; });
}

// "Thu Jan  1 00:00:00 1970" at the start of `words`, with a zone before or behind the year.
bool IsDate(std::span<const std::string_view> words)
{
    if (words.size() < 5 || !IsOneOf(words[0], kDays) || !IsOneOf(words[1], kMonths)) return false;
    if (!HasForm(words[2], "0") && !HasForm(words[2], "00")) return false;
    bool timed = HasForm(words[3], "00:00:00") || HasForm(words[3], "00:00") || HasForm(words[3], "0:00:00") || HasForm(words[3], "0:00");
    return timed && (HasForm(words[4], "0000") || (words.size() > 5 && HasForm(words[5], "0000")));
}

// "From ", who it is from, and a date: a paragraph may begin with the word alone.
bool IsSeparator(std::string_view line)
{
    if (!line.starts_with(kSeparator) || line.size() > kLongestSeparator) return false;
    std::vector<std::string_view> words = Words(line.substr(kSeparator.size()));
    for (size_t i = 1; i < words.size(); ++i) {
        if (IsDate(std::span(words).subspan(i))) return true;
    }
    return false;
}

bool IsQuotedSeparator(std::string_view line)
{
    size_t quotes = line.find_first_not_of('>');
    return quotes != std::string_view::npos && quotes > 0 && line.substr(quotes).starts_with(kSeparator);
}

// The empty line in front of a separator belongs to the mbox.
void RemoveLastEmptyLine(std::string& message)
{
    if (message.ends_with("\n\r\n")) {
        message.resize(message.size() - 2);
    } else if (message.ends_with("\n\n")) {
        message.resize(message.size() - 1);
    }
}

}  // namespace

MboxReader::MboxReader(const std::filesystem::path& path) : path_(path), file_(path, std::ios::binary)
{
    if (!file_.is_open()) throw Failure(ExitCode::NoInput, "cannot read " + path.string());
    bool any = ReadLine();
    while (any && IsEmptyLine(line_)) any = ReadLine();
    insideMessage_ = any && IsSeparator(line_);
    if (any && !insideMessage_) throw Failure(ExitCode::Data, "not an mbox: " + path.string());
}

bool MboxReader::ReadLine()
{
    if (!std::getline(file_, line_)) {
        if (file_.bad()) throw Failure(ExitCode::IoError, "cannot read " + path_.string());
        return false;
    }
    if (!file_.eof()) line_ += '\n';
    return true;
}

bool MboxReader::Next(std::string& message)
{
    message.clear();
    if (!insideMessage_) return false;
    bool behindEmptyLine = false;
    while (ReadLine()) {
        if (behindEmptyLine && IsSeparator(line_)) {
            RemoveLastEmptyLine(message);
            return true;
        }
        behindEmptyLine = IsEmptyLine(line_);
        message.append(line_, IsQuotedSeparator(line_) ? 1 : 0);
    }
    insideMessage_ = false;
    RemoveLastEmptyLine(message);
    return true;
}

bool MboxReader::LooksLikeMbox(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    char start[kLongestSeparator + 1];  // one byte more than a separator has, so that a longer line is seen to be longer
    file.read(start, sizeof start);
    std::string_view text(start, static_cast<size_t>(file.gcount()));
    size_t end = text.find('\n');
    return IsSeparator(text.substr(0, end == std::string_view::npos ? end : end + 1));
}

}  // namespace vlstore
