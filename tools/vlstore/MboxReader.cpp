#include "MboxReader.h"

#include "ExitCode.h"

namespace vlstore {

namespace {

constexpr std::string_view kSeparator = "From ";

bool IsEmptyLine(std::string_view line) { return line == "\n" || line == "\r\n"; }

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
    insideMessage_ = any && line_.starts_with(kSeparator);
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
        if (behindEmptyLine && line_.starts_with(kSeparator)) {
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
    char start[kSeparator.size()];
    return file.read(start, sizeof start) && std::string_view(start, sizeof start) == kSeparator;
}

}  // namespace vlstore
