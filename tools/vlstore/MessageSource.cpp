#include "MessageSource.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string_view>

#include "ExitCode.h"
#include "MboxReader.h"
#include "System.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kMessageEndings[] = {".eml", ".mai"};
constexpr std::string_view kMboxEndings[] = {".mbox", ".mbx"};
constexpr size_t kLookAhead = 1024;

template <size_t count>
bool EndsWithOneOf(const fs::path& path, const std::string_view (&endings)[count])
{
    std::string name = path.filename().string();
    return std::any_of(std::begin(endings), std::end(endings), [&](std::string_view ending) { return EndsWithNoCase(name, ending); });
}

bool IsMbox(const fs::path& path)
{
    if (EndsWithOneOf(path, kMessageEndings)) return false;
    return EndsWithOneOf(path, kMboxEndings) || MboxReader::LooksLikeMbox(path);
}

// Null for a file that begins with a header line, a name without blanks and a colon, or that cannot be read.
const char* ReasonAgainst(const fs::path& path)
{
    char start[kLookAhead];
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) return nullptr;
    file.read(start, sizeof start);
    std::string_view text(start, static_cast<size_t>(file.gcount()));
    if (text.empty()) return "empty";
    size_t name = 0;
    while (name < text.size() && text[name] > ' ' && text[name] < 0x7F && text[name] != ':') ++name;
    return name > 0 && name < text.size() && text[name] == ':' ? nullptr : "not a message";
}

MessageSource FileSource(const fs::path& path)
{
    return {path, IsMbox(path) ? MessageSource::Form::Mbox : MessageSource::Form::Message, {}};
}

// Null for a plain file that is not hidden.
const char* ReasonAgainst(const fs::directory_entry& entry)
{
    std::error_code error;
    fs::file_status status = entry.status(error);
    if (fs::is_directory(status)) return "a directory";
    if (entry.path().filename().string().starts_with('.')) return "hidden";
    if (status.type() == fs::file_type::not_found) return "a link to nothing";
    if (!fs::status_known(status) || fs::is_regular_file(status)) return nullptr;
    return "not a file";
}

std::vector<fs::directory_entry> Entries(const fs::path& directory)
{
    std::error_code error;
    fs::directory_iterator found(directory, error);
    if (error) throw CannotRead(directory.string(), error, ExitCode::NoInput);
    std::vector<fs::directory_entry> entries(begin(found), end(found));
    std::sort(entries.begin(), entries.end());
    return entries;
}

std::vector<fs::path> PlainFiles(const fs::path& directory, SourceList& list)
{
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : Entries(directory)) {
        if (const char* reason = ReasonAgainst(entry)) {
            list.skipped.push_back({entry.path(), reason});
        } else {
            files.push_back(entry.path());
        }
    }
    return files;
}

std::string MaildirFlags(const fs::path& path)
{
    // The colon is one that not every file system takes; ";" and "!" stand in for it.
    std::string name = path.filename().string();
    size_t at = name.rfind("2,");
    bool marked = at != std::string::npos && at > 0 && std::string_view(":;!").find(name[at - 1]) != std::string_view::npos;
    return marked ? name.substr(at + 2) : std::string();
}

constexpr std::string_view kMaildirParts[] = {"new", "cur"};
constexpr std::string_view kMaildirUnfinished = "tmp";

void SkipAround(const fs::path& maildir, SourceList& list)
{
    for (const fs::directory_entry& entry : Entries(maildir)) {
        std::string name = entry.path().filename().string();
        std::error_code error;
        bool directory = entry.is_directory(error);
        if (directory && std::find(std::begin(kMaildirParts), std::end(kMaildirParts), name) != std::end(kMaildirParts)) continue;
        if (directory && name == kMaildirUnfinished) {
            for (const fs::directory_entry& file : Entries(entry.path())) list.skipped.push_back({file.path(), "not delivered yet"});
        } else {
            list.skipped.push_back({entry.path(), directory ? "another folder" : "not a message"});
        }
    }
}

void AddMaildir(const fs::path& directory, SourceList& list)
{
    SkipAround(directory, list);
    for (std::string_view part : kMaildirParts) {
        if (!fs::is_directory(directory / part)) continue;
        for (const fs::path& file : PlainFiles(directory / part, list)) {
            list.sources.push_back({file, MessageSource::Form::Message, MaildirFlags(file)});
        }
    }
}

void AddDirectory(const fs::path& directory, SourceList& list)
{
    if (fs::is_directory(directory / "cur") || fs::is_directory(directory / "new")) return AddMaildir(directory, list);
    for (const fs::path& file : PlainFiles(directory, list)) {
        MessageSource source = FileSource(file);
        bool named = source.form == MessageSource::Form::Mbox || EndsWithOneOf(file, kMessageEndings);
        if (const char* reason = named ? nullptr : ReasonAgainst(file)) {
            list.skipped.push_back({file, reason});
        } else {
            list.sources.push_back(std::move(source));
        }
    }
}

}  // namespace

SourceList CollectSources(const std::vector<std::string>& paths)
{
    SourceList list;
    for (const std::string& name : paths) {
        fs::path path = PathOf(name);
        std::error_code error;
        fs::file_status status = fs::status(path, error);
        if (!fs::status_known(status)) throw CannotRead(name, error, ExitCode::NoInput);
        if (!fs::exists(status)) throw Failure(ExitCode::NoInput, "no such file or directory: " + name);
        if (fs::is_directory(status)) {
            AddDirectory(path, list);
        } else if (fs::is_regular_file(status)) {
            list.sources.push_back(FileSource(path));
        } else {
            throw Failure(ExitCode::NoInput, "neither a file nor a directory: " + name);
        }
    }
    return list;
}

MessageStream::MessageStream(const MessageSource& source) : source_(source)
{
    if (source.form == MessageSource::Form::Mbox) mbox_ = std::make_unique<MboxReader>(source.path);
}

MessageStream::~MessageStream() = default;

bool MessageStream::Next(std::string& message)
{
    if (!mbox_ && count_ > 0) return false;
    if (mbox_ && !mbox_->Next(message)) return false;
    if (!mbox_) {
        std::error_code error = ReadFileContent(source_.path, message);
        if (error) throw Failure(CodeOf(error, ExitCode::NoInput), error.message());
    }
    ++count_;
    return true;
}

std::string MessageStream::Label() const { return mbox_ ? source_.path.string() + "#" + std::to_string(count_) : source_.path.string(); }

}  // namespace vlstore
