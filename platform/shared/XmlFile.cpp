// Documents and files: reading whole, and writing so that a reader finds the old document or the new one.
#include <algorithm>
#include <iterator>
#include <string>

#include "platform/Xml.h"
#include "platform/shared/FileRights.h"
#include "platform/shared/XmlFault.h"
#include "platform/win32.h"

namespace velmora::platform {

namespace {

constexpr size_t kChunk = 1u << 20;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// An open file; whoever closes it may still want the error that was set before.
class OpenFile {
public:
    OpenFile(const std::string& path, DWORD access, DWORD share, DWORD disposition)
        : handle_(CreateFileA(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr))
    {
    }
    ~OpenFile() { Close(); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return handle_; }
    void Close()
    {
        if (!IsOpen()) return;
        const DWORD error = GetLastError();
        CloseHandle(handle_);
        handle_ = INVALID_HANDLE_VALUE;
        SetLastError(error);
    }

private:
    HANDLE handle_;
};

// 0, or the error of the system.
DWORD ReadWhole(const std::string& path, std::string& bytes)
{
    OpenFile file(path, GENERIC_READ, kShareAll, OPEN_EXISTING);
    if (!file.IsOpen()) return GetLastError();
    if (GetFileType(file.Get()) != FILE_TYPE_DISK) return ERROR_ACCESS_DENIED;  // what may have no end
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file.Get(), &size)) return GetLastError();
    bytes.reserve(static_cast<size_t>(size.QuadPart) + 1);
    for (;;) {
        const size_t had = bytes.size();
        const size_t room = std::clamp<size_t>(bytes.capacity() - had, 1, kChunk);
        bytes.resize(had + room);
        DWORD done = 0;
        if (!ReadFile(file.Get(), bytes.data() + had, static_cast<DWORD>(room), &done, nullptr)) return GetLastError();
        bytes.resize(had + done);
        if (done < room) return ERROR_SUCCESS;
    }
}

// 0, or the error of the system.
DWORD WriteBytes(HANDLE file, const std::string& bytes)
{
    for (size_t written = 0; written < bytes.size();) {
        const auto size = static_cast<DWORD>(std::min(bytes.size() - written, kChunk));
        DWORD done = 0;
        if (!WriteFile(file, bytes.data() + written, size, &done, nullptr)) return GetLastError();
        if (done == 0) return ERROR_DISK_FULL;
        written += done;
    }
    return ERROR_SUCCESS;
}

// Somebody has the file, or no name can be made beside it: its own bytes may be written all the same.
bool LeavesWritingInPlace(DWORD error)
{
    constexpr DWORD kErrors[] = {ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION, ERROR_LOCK_VIOLATION, ERROR_INVALID_NAME,
                                 ERROR_FILENAME_EXCED_RANGE};
    return std::find(std::begin(kErrors), std::end(kErrors), error) != std::end(kErrors);
}

// Writes a file beside it that takes its place in one step; one that cannot goes. `inPlace`: the file itself may be tried.
DWORD ReplaceWhole(const std::string& path, const std::string& bytes, bool& inPlace)
{
    const std::string beside = path + ".tmp";
    DWORD error = ERROR_SUCCESS;
    {
        OpenFile file(beside, GENERIC_WRITE, 0, CREATE_ALWAYS);
        if (!file.IsOpen()) {
            error = GetLastError();
            inPlace = LeavesWritingInPlace(error);
            return error;
        }
        if (TakeOverRights(path, beside)) {
            error = WriteBytes(file.Get(), bytes);
        } else {
            error = ERROR_ACCESS_DENIED;
            inPlace = true;
        }
    }
    if (error == ERROR_SUCCESS && !MoveFileExA(beside.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        error = GetLastError();
        inPlace = LeavesWritingInPlace(error);
    }
    if (error != ERROR_SUCCESS) DeleteFileA(beside.c_str());
    return error;
}

// Over the file's own bytes, for others who have it open: a reader may see a part.
DWORD WriteInPlace(const std::string& path, const std::string& bytes)
{
    OpenFile file(path, GENERIC_WRITE, kShareAll, OPEN_ALWAYS);
    if (!file.IsOpen()) return GetLastError();
    const DWORD error = WriteBytes(file.Get(), bytes);
    if (error != ERROR_SUCCESS) return error;
    return SetEndOfFile(file.Get()) ? ERROR_SUCCESS : GetLastError();
}

}  // namespace

bool XmlDocument::Load(const std::string& path)
{
    std::string bytes;
    const DWORD error = ReadWhole(path, bytes);
    if (error == ERROR_SUCCESS) return LoadBytes(bytes);
    Clear();
    parseError_ = {};
    parseError_.code = ComCodeOf(error);
    parseError_.reason = MakeComError(parseError_.code, {}).meaning;
    return false;
}

void XmlDocument::Save(const std::string& path) const
{
    const std::string bytes = ToBytes();
    bool inPlace = false;
    DWORD error = ReplaceWhole(path, bytes, inPlace);
    if (inPlace) error = WriteInPlace(path, bytes);
    if (error != ERROR_SUCCESS) RaiseComError(ComCodeOf(error), "The document was not saved: " + path);
}

}  // namespace velmora::platform
