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

// Whether a file begins with a header line: a name without blanks and a colon.
bool BeginsWithHeader(const fs::path& path)
{
    char start[kLookAhead];
    std::ifstream file(path, std::ios::binary);
    file.read(start, sizeof start);
    std::string_view text(start, static_cast<size_t>(file.gcount()));
    size_t name = 0;
    while (name < text.size() && text[name] > ' ' && text[name] < 0x7F && text[name] != ':') ++name;
    return name > 0 && name < text.size() && text[name] == ':';
}

MessageSource FileSource(const fs::path& path)
{
    return {path, IsMbox(path) ? MessageSource::Form::Mbox : MessageSource::Form::Message, {}};
}

std::vector<fs::path> VisibleFiles(const fs::path& directory)
{
    std::vector<fs::path> files;
    std::error_code error;
    fs::directory_iterator entries(directory, error);
    if (error) throw Failure(ExitCode::NoInput, "cannot read " + directory.string() + ": " + error.message());
    for (const fs::directory_entry& entry : entries) {
        if (entry.is_regular_file(error) && !entry.path().filename().string().starts_with('.')) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
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

void AddMaildir(const fs::path& directory, SourceList& list)
{
    for (const char* part : {"new", "cur"}) {
        if (!fs::is_directory(directory / part)) continue;
        for (const fs::path& file : VisibleFiles(directory / part)) {
            list.sources.push_back({file, MessageSource::Form::Message, MaildirFlags(file)});
        }
    }
}

void AddDirectory(const fs::path& directory, SourceList& list)
{
    if (fs::is_directory(directory / "cur") || fs::is_directory(directory / "new")) return AddMaildir(directory, list);
    for (const fs::path& file : VisibleFiles(directory)) {
        MessageSource source = FileSource(file);
        bool taken = source.form == MessageSource::Form::Mbox || EndsWithOneOf(file, kMessageEndings) || BeginsWithHeader(file);
        if (taken) {
            list.sources.push_back(std::move(source));
        } else {
            list.skipped.push_back(file);
        }
    }
}

}  // namespace

SourceList CollectSources(const std::vector<std::string>& paths)
{
    SourceList list;
    for (const std::string& path : paths) {
        std::error_code error;
        fs::file_status status = fs::status(path, error);
        if (error || !fs::exists(status)) throw Failure(ExitCode::NoInput, "no such file or directory: " + path);
        if (fs::is_directory(status)) {
            AddDirectory(path, list);
        } else if (fs::is_regular_file(status)) {
            list.sources.push_back(FileSource(path));
        } else {
            throw Failure(ExitCode::NoInput, "neither a file nor a directory: " + path);
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
        if (error) throw Failure(ExitCode::NoInput, error.message());
    }
    ++count_;
    return true;
}

std::string MessageStream::Label() const { return mbox_ ? source_.path.string() + "#" + std::to_string(count_) : source_.path.string(); }

}  // namespace vlstore
