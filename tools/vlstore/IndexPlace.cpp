#include "IndexPlace.h"

#include "ExitCode.h"
#include "FolderFiles.h"
#include "System.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr uintmax_t kLargestIndex = 0xFFFFFFFFu;  // offsets have 32 bits

}  // namespace

IndexPlace FindIndexPlace(const std::string& argument, const Session& session)
{
    std::error_code error;
    const fs::path path = PathOf(argument);
    const fs::file_status status = fs::status(path, error);
    if (fs::exists(status) && !fs::is_directory(status)) {
        if (!fs::is_regular_file(status)) throw Failure(ExitCode::NoInput, "not a plain file: " + argument);
        return {path, argument, nullptr};
    }
    // A path with fewer parts than a folder has, or one that leads through "..", was meant as a file.
    FolderName name;
    try {
        if (!EndsWithNoCase(argument, ".xml")) name = ParseFolderName(argument);
    } catch (const Failure&) {
        name = {};
    }
    if (name.folder.empty()) throw Failure(ExitCode::NoInput, "no such file, and not POSTOFFICE/MAILBOX/FOLDER: " + argument);
    IndexPlace place{{}, name.Str(), std::make_unique<Store>(session)};
    const fs::path directory = place.store->FolderDirectory(name);
    const std::optional<fs::path> file = FindIndexFile(directory);
    if (!file) throw Failure(ExitCode::NoInput, "the folder has no index: " + name.Str());
    place.file = *file;
    return place;
}

std::string ReadIndexBytes(const fs::path& file)
{
    std::error_code error;
    const uintmax_t size = fs::file_size(file, error);
    if (!error && size > kLargestIndex) throw Failure(ExitCode::Data, "larger than an index can be: " + file.string());
    std::string bytes;
    error = ReadFileContent(file, bytes);
    if (error) throw CannotRead(file.string(), error);
    return bytes;
}

std::string FaultText(const fs::path& file, std::string_view bytes, const XmlFault& fault)
{
    return file.string() + ": byte " + std::to_string(fault.offset) + ", line " + std::to_string(LineOf(bytes, fault.offset)) + ": " +
           fault.what;
}

}  // namespace vlstore
