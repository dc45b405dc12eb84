#include "items/MessageFile.h"

#include "items/DateForms.h"

namespace velmora {

MessageFile::MessageFile(const std::string& path)
    : path_(path),
      handle_(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                          nullptr))
{
    if (!IsOpen()) openError_ = GetLastError();
    // A device behind a link may never come to an end.
    if (IsOpen() && GetFileType(handle_) != FILE_TYPE_DISK) Close();
}

MessageFile::~MessageFile() { Close(); }

void MessageFile::Close()
{
    if (IsOpen()) CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
}

uint32_t MessageFile::DosLastWrite() const
{
    FILETIME lastWrite;
    if (GetFileTime(handle_, nullptr, nullptr, &lastWrite)) return DosDateTime(lastWrite);
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(path_.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return 0;
    FindClose(search);
    return DosDateTime(found.ftLastWriteTime);
}

uint64_t MessageFile::Size() const
{
    LARGE_INTEGER size{};
    return GetFileSizeEx(handle_, &size) ? static_cast<uint64_t>(size.QuadPart) : 0;
}

size_t MessageFile::Read(char* buffer, size_t size)
{
    DWORD done = 0;
    if (ReadFile(handle_, buffer, static_cast<DWORD>(size), &done, nullptr)) return done;
    failed_ = true;
    return 0;
}

}  // namespace velmora
