#include "common/FileStream.h"

#include <algorithm>

#include "common/FileManagement.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr size_t kBufferSize = size_t{128} * 1024;
constexpr size_t kLargestTransfer = size_t{1} << 30;  // one system call takes a 32-bit count

uint64_t FileTimeNumber(const FILETIME& time) { return uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime; }

FileStamp StampOf(HANDLE file)
{
    FILETIME lastWrite = {};
    LARGE_INTEGER size = {};
    if (!GetFileTime(file, nullptr, nullptr, &lastWrite) || !GetFileSizeEx(file, &size)) return {};
    return {FileTimeNumber(lastWrite), static_cast<uint64_t>(size.QuadPart)};
}

}  // namespace

FileStream::~FileStream() { Close(); }

bool FileStream::OpenRead(const std::string& path, Sharing sharing) { return Open(path, GENERIC_READ, sharing, OPEN_EXISTING); }

bool FileStream::OpenTruncate(const std::string& path, Sharing sharing) { return Open(path, GENERIC_WRITE, sharing, CREATE_ALWAYS); }

bool FileStream::OpenUpdate(const std::string& path, Sharing sharing)
{
    return Open(path, GENERIC_READ | GENERIC_WRITE, sharing, OPEN_EXISTING);
}

bool FileStream::OpenAlways(const std::string& path, Sharing sharing)
{
    return Open(path, GENERIC_READ | GENERIC_WRITE, sharing, OPEN_ALWAYS);
}

bool FileStream::Open(const std::string& path, uint32_t access, Sharing sharing, uint32_t disposition)
{
    Close();
    ClearState();
    lostBytes_ = false;
    lastError_ = 0;
    position_ = 0;
    // The write buffer comes first, so that a lack of memory does not leave an emptied file.
    if ((access & GENERIC_WRITE) != 0 && !buffer_) buffer_ = std::make_unique_for_overwrite<char[]>(kBufferSize);
    const DWORD share = sharing == Sharing::None ? 0 : FILE_SHARE_READ | FILE_SHARE_WRITE;
    HANDLE handle = CreateFileA(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        lastError_ = GetLastError();
        failed_ = true;
        return false;
    }
    handle_ = handle;
    return true;
}

size_t FileStream::Read(void* buffer, size_t size)
{
    FlushBuffer();
    if (Failed()) return 0;
    size_t total = 0;
    while (total < size) {
        DWORD got = 0;
        const auto wanted = static_cast<DWORD>(std::min(size - total, kLargestTransfer));
        if (!handle_ || !ReadFile(handle_, static_cast<char*>(buffer) + total, wanted, &got, nullptr)) {
            SetBad();
            break;
        }
        if (got == 0) break;
        total += got;
        position_ += got;
    }
    if (total < size) failed_ = true;
    return total;
}

void FileStream::Write(std::string_view bytes)
{
    if (bytes.empty()) return;
    if (!handle_) {
        if (!Failed()) SetBad();
        return;
    }
    if (!Failed() && bytes.size() > kBufferSize - used_) FlushBuffer();
    if (Failed() || bytes.size() >= kBufferSize) return WriteThrough(bytes.data(), bytes.size());
    std::copy(bytes.begin(), bytes.end(), buffer_.get() + used_);
    used_ += bytes.size();
}

void FileStream::FlushBuffer()
{
    const size_t size = used_;
    used_ = 0;
    WriteThrough(buffer_.get(), size);
}

void FileStream::WriteThrough(const char* bytes, size_t size)
{
    if (Failed()) {
        lostBytes_ = lostBytes_ || size > 0;
        return;
    }
    for (size_t total = 0; total < size;) {
        DWORD written = 0;
        const auto wanted = static_cast<DWORD>(std::min(size - total, kLargestTransfer));
        const bool done = WriteFile(handle_, bytes + total, wanted, &written, nullptr) != 0;
        total += written;
        position_ += written;
        if (!done || written == 0) {
            lostBytes_ = true;
            return SetBad();
        }
    }
}

void FileStream::SeekTo(uint64_t offset)
{
    // To go on where the last write ended, the buffer can stay.
    if (!Failed() && offset == position_ + used_) return;
    FlushBuffer();
    if (!Failed() && offset != position_) MoveTo(offset, FILE_BEGIN);
}

void FileStream::SeekToEnd()
{
    FlushBuffer();
    if (!Failed()) MoveTo(0, FILE_END);
}

void FileStream::MoveTo(uint64_t distance, uint32_t from)
{
    LARGE_INTEGER wanted = {};
    LARGE_INTEGER reached = {};
    wanted.QuadPart = static_cast<LONGLONG>(distance);
    if (handle_ && SetFilePointerEx(handle_, wanted, &reached, from)) {
        position_ = static_cast<uint64_t>(reached.QuadPart);
        return;
    }
    lastError_ = GetLastError();
    failed_ = true;
}

uint64_t FileStream::Position() const { return Failed() ? UINT64_MAX : position_ + used_; }

void FileStream::Flush() { FlushBuffer(); }

bool FileStream::Truncate()
{
    FlushBuffer();
    if (Failed()) return false;
    if (handle_ && SetEndOfFile(handle_)) return true;
    SetBad();
    return false;
}

FileStamp FileStream::Stamp() const { return handle_ ? StampOf(handle_) : FileStamp(); }

void FileStream::SetBad()
{
    lastError_ = handle_ ? GetLastError() : ERROR_INVALID_HANDLE;
    bad_ = true;
}

bool FileStream::Close()
{
    if (!handle_) return true;
    FlushBuffer();
    const bool closed = CloseHandle(handle_) != 0;
    handle_ = nullptr;
    return closed && !lostBytes_;
}

bool ReadWholeFile(const std::string& path, std::string& bytes)
{
    FileStream file;
    if (!file.OpenRead(path)) return false;
    file.SeekToEnd();
    const uint64_t size = file.Position();
    file.SeekTo(0);
    if (file.Failed()) return false;
    bytes.resize(size);
    bytes.resize(file.Read(bytes.data(), bytes.size()));
    return !file.Bad();
}

FileStamp ReadFileStamp(const std::string& path)
{
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        const FileStamp stamp = StampOf(file);
        CloseHandle(file);
        return stamp;
    }
    if (NamesNothing(GetLastError())) return {};
    WIN32_FIND_DATAA found = {};
    HANDLE search = FindFirstFileA(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return {};
    FindClose(search);
    return {FileTimeNumber(found.ftLastWriteTime), uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow};
}

void MoveLastWriteOn(const std::string& path, uint64_t lastWrite)
{
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    const uint64_t later = lastWrite + 10;  // a microsecond, which every file system with fine stamps keeps
    FILETIME time = {};
    time.dwLowDateTime = static_cast<DWORD>(later);
    time.dwHighDateTime = static_cast<DWORD>(later >> 32);
    SetFileTime(file, nullptr, nullptr, &time);
    CloseHandle(file);
}

}  // namespace velmora
