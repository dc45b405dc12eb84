#include "index/CachedDetails.h"

#include <array>

#include "common/FileManagement.h"
#include "common/Text.h"
#include "frame/Guard.h"
#include "frame/StorePaths.h"
#include "locks/FlagFiles.h"
#include "platform/win32.h"
#include "velmora/status.h"

namespace velmora {

namespace {

constexpr size_t kFileBytes = kDetailWords * sizeof(uint32_t);
constexpr unsigned kItemCount = 6;
constexpr std::array<unsigned, 5> kClampedWords = {1, 3, 7, 8, 9};
constexpr size_t kStatusPathSize = 2048;

using FileImage = std::array<unsigned char, kFileBytes>;

FileImage Encode(const uint32_t (&details)[kDetailWords])
{
    FileImage image;
    for (size_t i = 0; i < kFileBytes; ++i) image[i] = static_cast<unsigned char>(details[i / 4] >> (8 * (i % 4)));
    return image;
}

void Decode(const FileImage& image, uint32_t (&details)[kDetailWords])
{
    for (unsigned word = 0; word < kDetailWords; ++word) {
        details[word] = 0;
        for (unsigned byte = 0; byte < 4; ++byte) details[word] |= uint32_t{image[word * 4 + byte]} << (8 * byte);
    }
}

// Holds a file handle for the length of one call.
class DetailsFile {
public:
    DetailsFile(const std::string& path, DWORD access, DWORD disposition)
        : handle_(
              CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr))
    {
    }
    ~DetailsFile()
    {
        if (IsOpen()) CloseHandle(handle_);
    }
    DetailsFile(const DetailsFile&) = delete;
    DetailsFile& operator=(const DetailsFile&) = delete;

    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return handle_; }

private:
    HANDLE handle_;
};

// "folder\_FOLDER.DAT". Kept: for the top of a mailbox, an empty `folder`, the directory ends in its separator already.
std::string DetailsPath(const char* postoffice, const char* mailbox, const char* folder)
{
    char directory[kStatusPathSize];
    ResolveStatusPath(directory, sizeof directory, postoffice, mailbox, folder);
    return std::string(directory) + (folder && *folder == '\0' ? "" : "\\") + kCachedDetailsFile;
}

}  // namespace

void ClampDetails(uint32_t (&details)[kDetailWords])
{
    for (const unsigned word : kClampedWords)
        if (static_cast<int32_t>(details[word]) > static_cast<int32_t>(details[kItemCount])) details[word] = details[kItemCount];
}

// The bytes go over the old ones. A file that is emptied and written again costs forty times as much on some file
// systems, and every delivery writes this one.
bool WriteCachedDetails(const std::string& path, uint32_t (&details)[kDetailWords])
{
    ClampDetails(details);
    const FileImage image = Encode(details);
    const DetailsFile file(path, GENERIC_WRITE, OPEN_ALWAYS);
    if (!file.IsOpen()) return false;
    DWORD done = 0;
    if (!WriteFile(file.Get(), image.data(), static_cast<DWORD>(image.size()), &done, nullptr) || done != image.size()) {
        MarkFolderDirty(FileManagement::ParentDirectory(path).c_str());
        return false;
    }
    LARGE_INTEGER size;
    return !GetFileSizeEx(file.Get(), &size) || size.QuadPart <= int64_t{kFileBytes} || SetEndOfFile(file.Get());
}

bool ReplaceCachedDetails(const std::string& path, uint32_t (&details)[kDetailWords])
{
    return WriteCachedDetails(path, details) || !FileManagement::MayExist(path);
}

bool ReadCachedDetails(const std::string& path, uint32_t (&details)[kDetailWords])
{
    DWORD done = 0;
    if (const DetailsFile file(path, GENERIC_READ, OPEN_EXISTING); file.IsOpen()) {
        FileImage image = Encode(details);
        if (!ReadFile(file.Get(), image.data(), static_cast<DWORD>(image.size()), &done, nullptr)) done = 0;
        if (done > 0) Decode(image, details);
    }
    ClampDetails(details);
    return done > 0;
}

}  // namespace velmora

using namespace velmora;

namespace {

using Details = uint32_t[kDetailWords];

// The words of a caller, which the C API passes as a pointer.
Details& WordsOf(uint32_t* details) { return *reinterpret_cast<Details*>(details); }

bool IsEmpty(const char* text) { return !text || *text == '\0'; }

}  // namespace

uint64_t GetCachedStatus(const char* postoffice, const char* mailbox, const char* folder, uint32_t* details)
{
    if (!postoffice || !mailbox || !details) return 0;
    return GuardedEntry("GetCachedStatus", uint64_t{0},
                        [&] { return uint64_t{ReadCachedDetails(DetailsPath(postoffice, mailbox, folder), WordsOf(details))}; });
}

uint64_t SetCachedStatus(const char* postoffice, const char* mailbox, const char* folder, uint32_t* details)
{
    // Kept: the mailbox itself, an empty folder, is refused here although GetCachedStatus reads it: an open without a
    // folder's name is of the INBOX, and its commit must not write beside it.
    if (IsEmpty(postoffice) || IsEmpty(mailbox) || IsEmpty(folder) || !details) return 0;
    return GuardedEntry("SetCachedStatus", uint64_t{0},
                        [&] { return uint64_t{WriteCachedDetails(DetailsPath(postoffice, mailbox, folder), WordsOf(details))}; });
}
