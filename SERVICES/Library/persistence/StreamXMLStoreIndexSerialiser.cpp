// Loading and saving through the flat file: the files around the parser and the writer.
#include <cstring>
#include <optional>

#include "common/FileManagement.h"
#include "common/FileStream.h"
#include "frame/Logging.h"
#include "frame/Settings.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "index/ItemFile.h"
#include "persistence/IndexTags.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "persistence/StreamIndexReader.h"
#include "persistence/StreamIndexWriter.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr int32_t kHeaderLevel = 1;
constexpr int32_t kFullLevel = 3;

// A file as a source; one that does not open is an empty one. A read that fails is not the end of the file: it throws, so
// that nobody takes a good file for a damaged one.
class FileSource : public ByteSource {
public:
    explicit FileSource(const std::string& path) { stream_.OpenRead(path); }

    // A file that is there and did not open.
    bool Refused() const { return !stream_.IsOpen() && !NamesNothing(stream_.LastError()); }

    size_t Read(char* buffer, size_t size) override
    {
        const size_t got = stream_.IsOpen() ? stream_.Read(buffer, size) : 0;
        if (stream_.Bad()) throw Exception("An index file could not be read", "LIBStoreIndexSerialisation");
        return got;
    }

private:
    FileStream stream_;
};

class FolderFiles : public ItemFileCheck {
public:
    explicit FolderFiles(const std::string& folderPath) : folderPath_(folderPath) {}

    // Only a file that is known to be gone takes its item with it.
    bool FileExists(std::string_view id) override { return MayHaveItemFile(folderPath_, id); }

private:
    const std::string& folderPath_;
};

// The first line of the file without its line feed, at most 1,023 bytes; empty when it does not open.
std::string FirstLine(const std::string& path)
{
    char bytes[kLongestTag];
    const size_t got = FileSource(path).Read(bytes, sizeof bytes);
    const void* const lineFeed = std::memchr(bytes, '\n', got);
    return std::string(bytes, lineFeed ? static_cast<size_t>(static_cast<const char*>(lineFeed) - bytes) : got);
}

// What the header alone answers: the level reached, or nothing when elements have to be read, at `level`.
std::optional<int32_t> ReadHeader(SORTEDSTOREINDEXTYPE& index, const std::string& path, int32_t& level)
{
    const std::string line = FirstLine(path);
    // Kept: a first line that holds no more than the header, with a line end behind it too, has its elements read.
    if (line.size() <= kHeaderSize) return std::nullopt;
    const bool oldForm = ParseLastUID(line, index.LastUID) == RootForm::Old;
    const bool closedAtOnce = line[kHeaderSize - 1] == '/';
    if (!oldForm && !closedAtOnce) return kHeaderLevel;
    index.LoadSelection.clear();
    index.RewriteRequired = 1;
    if (!oldForm) return kFullLevel;
    level = kFullLevel;
    return std::nullopt;
}

int32_t ReadElements(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, const std::string& path, int32_t level,
                     uint32_t verifyItemFiles, bool& opened)
{
    FolderFiles files(folderPath);
    ParseOptions options;
    options.level = level;
    options.selection = MakeSelectionSet(index.LoadSelection);
    options.files = verifyItemFiles > 0 ? &files : nullptr;
    options.garbageThreshold = SettingValue(Setting::GarbageCollectionThreshold);

    const auto parse = [&] {
        FileSource source(path);
        opened = !source.Refused();
        return ParseIndexStream(index, source, options);
    };
    ParseOutcome outcome = parse();
    if (outcome.result == ParseResult::RepeatInFull) {
        index.LoadSelection.clear();
        options.selection.clear();
        options.level = kFullLevel;
        outcome = parse();
    }
    if (outcome.result == ParseResult::Good) return options.level;
    LogIndexEvent("Malformed index detected: " + outcome.fault + " (" + folderPath + ")\n");
    return 0;
}

}  // namespace

int32_t StreamXMLStoreIndexSerialiser::Deserialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind,
                                                   const std::string&, const std::string&, int32_t level, uint32_t,
                                                   uint32_t verifyItemFiles)
{
    const std::string path = IndexFilePath(folderPath, indexKind);
    UnInit(index);
    openedFile_ = true;
    std::optional<int32_t> reached;
    if (level == kHeaderLevel) reached = ReadHeader(index, path, level);
    if (!reached) reached = ReadElements(index, folderPath, path, level, verifyItemFiles, openedFile_);
    // Without a stamp, an index that has not been seen is not taken for one that is up to date.
    const FileStamp stamp = openedFile_ ? ReadFileStamp(path) : FileStamp();
    index.IndexFileTime = stamp.lastWrite;
    index.IndexFileSize = static_cast<uint32_t>(stamp.size);
    return *reached;
}

uint64_t StreamXMLStoreIndexSerialiser::Serialise(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind)
{
    return WriteIndexFile(index, folderPath, indexKind);
}

}  // namespace velmora
