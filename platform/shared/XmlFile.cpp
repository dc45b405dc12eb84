// Documents and files: reading whole, and writing so that a reader finds the old document or the new one.
#include <algorithm>
#include <functional>
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

// An open file; whoever leaves it open may still want the error that was set before.
class OpenFile {
public:
    OpenFile(const std::string& path, DWORD access, DWORD share, DWORD disposition)
        : handle_(CreateFileA(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr))
    {
    }
    ~OpenFile()
    {
        const DWORD error = GetLastError();
        Close();
        SetLastError(error);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return handle_; }
    // 0, or the error of the system: what was written may reach the file only now.
    DWORD Close()
    {
        if (!IsOpen()) return ERROR_SUCCESS;
        const bool closed = CloseHandle(handle_) != FALSE;
        handle_ = INVALID_HANDLE_VALUE;
        return closed ? ERROR_SUCCESS : GetLastError();
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

// The answer of somebody who is asked once, and only when it comes to that.
class Permission {
public:
    explicit Permission(const std::function<bool()>& ask) : ask_(ask) {}
    bool Given()
    {
        if (answer_ == Answer::None) answer_ = ask_() ? Answer::Yes : Answer::No;
        return answer_ == Answer::Yes;
    }
    bool Refused() const { return answer_ == Answer::No; }

private:
    const std::function<bool()>& ask_;
    enum class Answer { None, Yes, No } answer_ = Answer::None;
};

// Writes a file beside it that takes its place in one step; one that cannot, or may not, goes. `inPlace`: the file itself may be
// tried.
DWORD ReplaceWhole(const std::string& path, const std::string& bytes, Permission& permission, bool& inPlace)
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
            if (error == ERROR_SUCCESS) error = file.Close();
        } else {
            error = ERROR_ACCESS_DENIED;
            inPlace = true;
        }
    }
    if (error == ERROR_SUCCESS && permission.Given() && !MoveFileExA(beside.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        error = GetLastError();
        inPlace = LeavesWritingInPlace(error);
    }
    if (error != ERROR_SUCCESS || permission.Refused()) DeleteFileA(beside.c_str());
    return error;
}

// Over the file's own bytes, for others who have it open: a reader may see a part.
DWORD WriteInPlace(const std::string& path, const std::string& bytes)
{
    OpenFile file(path, GENERIC_WRITE, kShareAll, OPEN_ALWAYS);
    if (!file.IsOpen()) return GetLastError();
    const DWORD error = WriteBytes(file.Get(), bytes);
    if (error != ERROR_SUCCESS) return error;
    return SetEndOfFile(file.Get()) ? file.Close() : GetLastError();
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
    (void)SaveIf(path, [] { return true; });
}

bool XmlDocument::SaveIf(const std::string& path, const std::function<bool()>& mayReplace) const
{
    const std::string bytes = ToBytes();
    Permission permission(mayReplace);
    bool inPlace = false;
    DWORD error = ReplaceWhole(path, bytes, permission, inPlace);
    if (inPlace && permission.Given()) error = WriteInPlace(path, bytes);
    if (permission.Refused()) return false;
    if (error != ERROR_SUCCESS) RaiseComError(ComCodeOf(error), "The document was not saved: " + path);
    return true;
}

}  // namespace velmora::platform
