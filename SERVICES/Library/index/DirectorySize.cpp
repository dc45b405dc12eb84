#include "index/DirectorySize.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "common/FileManagement.h"
#include "common/Text.h"
#include "frame/StorePaths.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr DWORD kReadBytes = 254;
constexpr char kFilesName[] = "$FILEROOT";

class SizeFile {
public:
    explicit SizeFile(const std::string& path)
        : handle_(CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))
    {
    }
    ~SizeFile()
    {
        if (IsOpen()) CloseHandle(handle_);
    }
    SizeFile(const SizeFile&) = delete;
    SizeFile& operator=(const SizeFile&) = delete;

    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

    // The number goes over the old one, and the file is cut only where it got shorter: emptied and written again it would
    // cost forty times as much on some file systems, and every delivery writes two of these. Nothing waits for the disk. False
    // when what stands there now may be no size at all.
    bool Add(int64_t kilobytes)
    {
        char bytes[kReadBytes];
        DWORD got = 0;
        if (!ReadFile(handle_, bytes, sizeof bytes, &got, nullptr)) return false;
        const int64_t sum = int64_t{ParseLong({bytes, got})} + kilobytes;
        const std::string text = FormatSigned(std::clamp<int64_t>(sum, 0, INT32_MAX));
        LARGE_INTEGER start;
        start.QuadPart = 0;
        DWORD put = 0;
        if (!SetFilePointerEx(handle_, start, nullptr, FILE_BEGIN)) return false;
        if (!WriteFile(handle_, text.data(), static_cast<DWORD>(text.size()), &put, nullptr) || put != text.size()) return false;
        return got <= put || SetEndOfFile(handle_);
    }

private:
    HANDLE handle_;
};

bool AdjustFile(const std::string& path, int64_t kilobytes)
{
    {
        SizeFile file(path);
        if (!file.IsOpen()) {
            // What is not there need not be deleted, and to look for it once more costs as much as the delivery's own writes.
            if (!NamesNothing(GetLastError())) DeleteFileA(path.c_str());
            return false;
        }
        if (file.Add(kilobytes)) return true;
    }
    DeleteFileA(path.c_str());
    return true;
}

}  // namespace

int64_t RoundedKilobytes(int64_t bytes) { return bytes > 0 ? (bytes + 512) >> 10 : 0; }

uint64_t AdjustDirectorySize(const char* postoffice, const char* mailbox, int64_t kilobytes, const char* folder)
{
    if (kilobytes == 0) return 0;
    char root[kStoreNameSize] = {};
    ResolvePostofficeRoot(root, sizeof root, postoffice);
    const std::string_view name = TextOrEmpty(folder);
    const bool files = ContainsNoCase(name, kFilesName);
    const std::string top = std::string(root) + (files ? "\\FILEROOT\\" : "\\MAILROOT\\") + std::string(TextOrEmpty(mailbox));
    const bool adjusted = AdjustFile(top + "\\" + kDirectorySizeFile, kilobytes);
    // Kept: an empty name leads to the mailbox's own file once more, and the size counts twice until it is computed anew.
    if (!folder || files) return adjusted ? 1 : 0;
    const std::string path = top + (name.starts_with('\\') ? "" : "\\") + std::string(name) + "\\" + kDirectorySizeFile;
    return AdjustFile(path, kilobytes) ? 1 : 0;
}

}  // namespace velmora
