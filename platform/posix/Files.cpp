// Opened files: CreateFileA and what is done with its handles.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <new>

#include "platform/posix/OpenFiles.h"
#include "platform/shared/AskSeam.h"

namespace velmora::platform {

namespace {

constexpr int kRoundsAgainstChange = 16;
constexpr size_t kLargestTransfer = 0x7FFFF000;  // what the kernel moves in one call

struct DispositionRow {
    DWORD disposition;
    bool opens;  // a file that is there
    bool makes;  // one that is not
    bool empties;
};

constexpr DispositionRow kDispositions[] = {
    {CREATE_NEW, false, true, false}, {CREATE_ALWAYS, true, true, true},      {OPEN_EXISTING, true, false, false},
    {OPEN_ALWAYS, true, true, false}, {TRUNCATE_EXISTING, true, false, true},
};

struct OpenRequest {
    int access = O_RDONLY;
    Share share = Share::None;
    DispositionRow how{};
};

struct OpenedFile {
    Descriptor descriptor;
    bool existed = false;
    bool plain = true;  // not a device
};

// One attempt's end: a file, a failure, or a world that changed meanwhile.
enum class Attempt { Done, Failed, Again };

bool MakeRequest(DWORD access, DWORD share, DWORD disposition, OpenRequest& request)
{
    const auto* row = std::find_if(std::begin(kDispositions), std::end(kDispositions),
                                   [&](const DispositionRow& candidate) { return candidate.disposition == disposition; });
    if (row == std::end(kDispositions)) return false;
    request.how = *row;
    const bool writes = (access & GENERIC_WRITE) != 0;
    if (disposition == TRUNCATE_EXISTING && !writes) return false;
    const bool reads = (access & GENERIC_READ) != 0;
    request.access = writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY;
    request.share = (share & FILE_SHARE_DELETE) != 0 ? Share::WithDelete : share != 0 ? Share::NoDelete : Share::None;
    return true;
}

// Locks an opened file as its share mode says and checks what it is. `Again` when it was deleted before it was locked.
Attempt Settle(const OpenRequest& request, OpenedFile& opened, bool empties, DWORD& error)
{
    struct stat info = {};
    const int fd = opened.descriptor.Get();
    error = LockFor(fd, request.share);
    if (fstat(fd, &info) != 0) {
        error = PresentError();
    } else if (!S_ISREG(info.st_mode) && !S_ISCHR(info.st_mode)) {
        error = ERROR_ACCESS_DENIED;
    }
    if (error != 0) return Attempt::Failed;
    if (info.st_nlink == 0) return Attempt::Again;
    opened.plain = S_ISREG(info.st_mode);
    if (!empties || !opened.plain || ftruncate(fd, 0) == 0) return Attempt::Done;
    error = PresentError();
    return Attempt::Failed;
}

// Makes the file, whose name was found to be free.
Attempt Make(const PathText& path, const OpenRequest& request, OpenedFile& opened, DWORD& error)
{
    error = CheckNewName(path.Leaf());
    if (error != 0) return Attempt::Failed;
    if (request.share == Share::None) {
        error = CreateLocked(path, Birth::Unnamed, opened.descriptor);
        if (error == ERROR_NOT_SUPPORTED) error = CreateLocked(path, Birth::NamedThenLinked, opened.descriptor);
        return error == 0 ? Attempt::Done : error == ERROR_FILE_EXISTS ? Attempt::Again : Attempt::Failed;
    }
    opened.descriptor = Descriptor(OpenFile(path.text, request.access | O_CREAT | O_EXCL, 0666));
    if (opened.descriptor.IsOpen()) return Settle(request, opened, false, error);
    error = PresentError();
    return error == ERROR_FILE_EXISTS ? Attempt::Again : Attempt::Failed;
}

Attempt OpenOnce(PathText& path, const OpenRequest& request, OpenedFile& opened, DWORD& error)
{
    if (request.how.opens) {
        opened.descriptor = Descriptor(OpenFile(path.text, request.access));
        opened.existed = opened.descriptor.IsOpen();
        if (opened.existed) return Settle(request, opened, request.how.empties, error);
        error = PresentError();
        if (error != ERROR_FILE_NOT_FOUND) return Attempt::Failed;
    }
    const NameSearch search = FindSpelling(path, request.how.makes ? Purpose::Create : Purpose::Find);
    error = search.error;
    // It is there under another spelling, or has come to be just now.
    if (error == 0 && request.how.opens) return Attempt::Again;
    if (error == 0) error = ERROR_FILE_EXISTS;
    if (error != ERROR_FILE_NOT_FOUND || !request.how.makes) return Attempt::Failed;
    const Attempt made = Make(path, request, opened, error);
    if (made == Attempt::Done) OwnChange(search).Note(path, true);
    if (error == ERROR_FILE_NOT_FOUND) error = ERROR_PATH_NOT_FOUND;  // its directory went away
    return error == ERROR_FILE_EXISTS && !request.how.opens ? Attempt::Failed : made;
}

// The memory for file objects that is there when there is no other.
struct Reserve {
    struct Place {
        alignas(FileObject) std::byte bytes[sizeof(FileObject)];
        std::atomic<bool> taken{false};
    };
    std::array<Place, kReservedFileObjects> places;
};
Reserve reserve;

// A handle with no file behind it yet; null, with the error set, when there is no memory for it or no handle left.
HANDLE NewFileHandle(DWORD access, FileObject*& object)
try {
    auto made = std::make_unique<FileObject>(Descriptor(), true, (access & GENERIC_READ) != 0, (access & GENERIC_WRITE) != 0);
    object = made.get();
    return MakeHandle(std::move(made));
} catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

}  // namespace

void* FileObject::operator new(size_t size)
{
    if (void* const memory = ::operator new(size, std::nothrow)) return memory;
    for (Reserve::Place& place : reserve.places)
        if (!place.taken.exchange(true, std::memory_order_acquire)) return place.bytes;
    throw std::bad_alloc();
}

void FileObject::operator delete(void* memory) noexcept
{
    for (Reserve::Place& place : reserve.places) {
        if (memory != place.bytes) continue;
        place.taken.store(false, std::memory_order_release);
        return;
    }
    ::operator delete(memory);
}

}  // namespace velmora::platform

using namespace velmora::platform;

HANDLE CreateFileA(LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES, DWORD disposition, DWORD, HANDLE)
{
    if (SeamRefuses(FileOperation::Open, path)) return INVALID_HANDLE_VALUE;
    OpenRequest request;
    if (!MakeRequest(access, share, disposition, request)) return FailHandle(ERROR_INVALID_PARAMETER);
    PathText native;
    DWORD error = ToSystemPath(path, native);
    if (error == 0 && native.EndsInSeparator()) error = ERROR_INVALID_NAME;
    if (error != 0) return FailHandle(error);

    // Made first: once the file is there, nothing may fail for want of memory.
    FileObject* object = nullptr;
    const HANDLE handle = NewFileHandle(access, object);
    if (!handle) return INVALID_HANDLE_VALUE;
    OpenedFile opened;
    Attempt attempt = Attempt::Again;
    for (int round = 0; attempt == Attempt::Again && round < kRoundsAgainstChange; ++round) {
        attempt = OpenOnce(native, request, opened, error);
    }
    if (attempt == Attempt::Again) error = ERROR_FILE_NOT_FOUND;  // a link that leads nowhere
    if (attempt != Attempt::Done) {
        TakeHandle(handle, HandleKind::File);
        return FailHandle(error);
    }
    object->descriptor = std::move(opened.descriptor);
    object->plain = opened.plain;
    if (request.how.makes && request.how.opens) SetLastError(opened.existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

BOOL CloseHandle(HANDLE handle)
{
    const HandleObject* object = LookUpHandle(handle);
    if (!object) return FALSE;
    if (object->kind != HandleKind::File && object->kind != HandleKind::Mutex) return Fail(ERROR_INVALID_HANDLE);
    const bool isFile = object->kind == HandleKind::File;
    const std::unique_ptr<HandleObject> taken = TakeHandle(handle, object->kind);
    if (!taken || !isFile) return taken != nullptr;
    // The handle is gone either way; a file system may tell only here that bytes did not reach the file.
    return static_cast<FileObject&>(*taken).descriptor.Close() ? TRUE : Fail(PresentError());
}

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED)
{
    if (done) *done = 0;
    if (SeamRefuses(FileOperation::Read, nullptr, size)) return FALSE;
    const FileObject* object = HandleAs<FileObject>(file);
    if (!object) return FALSE;
    if (!object->readable) return Fail(ERROR_ACCESS_DENIED);
    DWORD total = 0;
    while (total < size) {
        const size_t wanted = std::min<size_t>(size - total, kLargestTransfer);
        const ssize_t got = read(object->Fd(), static_cast<char*>(buffer) + total, wanted);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return Fail(PresentError());
        total += static_cast<DWORD>(got);
        if (static_cast<size_t>(got) < wanted) break;  // the end of the file
    }
    if (done) *done = total;
    return TRUE;
}

BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED)
{
    if (done) *done = 0;
    const FileVerdict verdict = AskSeam(FileOperation::Write, nullptr, size);
    if (verdict.fail != 0) return Fail(verdict.fail);
    const FileObject* object = HandleAs<FileObject>(file);
    if (!object) return FALSE;
    if (!object->writable) return Fail(ERROR_ACCESS_DENIED);
    const auto allowed = static_cast<DWORD>(std::min<uint64_t>(size, verdict.writeLimit));
    DWORD total = 0;
    DWORD error = allowed < size ? ERROR_DISK_FULL : ERROR_SUCCESS;
    while (total < allowed) {
        const ssize_t put =
            write(object->Fd(), static_cast<const char*>(buffer) + total, std::min<size_t>(allowed - total, kLargestTransfer));
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) {
            error = put < 0 ? PresentError() : ERROR_DISK_FULL;
            break;
        }
        total += static_cast<DWORD>(put);
    }
    if (done) *done = total;
    return error == 0 ? TRUE : Fail(error);
}

BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD from)
{
    constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (SeamRefuses(FileOperation::Seek, nullptr)) return FALSE;
    const FileObject* object = HandleAs<FileObject>(file);
    if (!object) return FALSE;
    if (from > FILE_END) return Fail(ERROR_INVALID_PARAMETER);
    const off_t reached = lseek(object->Fd(), distance.QuadPart, kOrigins[from]);
    if (reached < 0) return Fail(errno == EINVAL ? ERROR_NEGATIVE_SEEK : PresentError());
    if (position) position->QuadPart = reached;
    return TRUE;
}

DWORD SetFilePointer(HANDLE file, LONG distance, PLONG distanceHigh, DWORD from)
{
    LARGE_INTEGER wanted;
    wanted.QuadPart =
        distanceHigh
            ? static_cast<LONGLONG>((static_cast<uint64_t>(static_cast<uint32_t>(*distanceHigh)) << 32) | static_cast<uint32_t>(distance))
            : distance;
    LARGE_INTEGER before;
    LARGE_INTEGER zero;
    zero.QuadPart = 0;
    LARGE_INTEGER reached;
    if (!SetFilePointerEx(file, zero, &before, FILE_CURRENT)) return INVALID_SET_FILE_POINTER;
    if (!SetFilePointerEx(file, wanted, &reached, from)) return INVALID_SET_FILE_POINTER;
    if (!distanceHigh && reached.QuadPart > INT64_C(0xFFFFFFFF)) {
        // The caller has no room for the answer: the position stays.
        SetFilePointerEx(file, before, nullptr, FILE_BEGIN);
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_SET_FILE_POINTER;
    }
    if (distanceHigh) *distanceHigh = static_cast<LONG>(reached.QuadPart >> 32);
    SetLastError(ERROR_SUCCESS);  // a position of 0xFFFFFFFF is told from a failure by this
    return static_cast<DWORD>(reached.QuadPart);
}

BOOL SetEndOfFile(HANDLE file)
{
    if (SeamRefuses(FileOperation::Resize, nullptr)) return FALSE;
    const FileObject* object = HandleAs<FileObject>(file);
    if (!object) return FALSE;
    if (!object->writable) return Fail(ERROR_ACCESS_DENIED);
    const off_t end = lseek(object->Fd(), 0, SEEK_CUR);
    return end >= 0 && ftruncate(object->Fd(), end) == 0 ? TRUE : Fail(PresentError());
}

BOOL FlushFileBuffers(HANDLE file)
{
    const FileObject* object = HandleAs<FileObject>(file);
    if (!object) return FALSE;
    if (!object->writable) return Fail(ERROR_ACCESS_DENIED);
    return fsync(object->Fd()) == 0 ? TRUE : Fail(PresentError());
}

BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size)
{
    const FileObject* object = HandleAs<FileObject>(file);
    if (!object) return FALSE;
    struct stat info = {};
    if (fstat(object->Fd(), &info) != 0) return Fail(PresentError());
    size->QuadPart = info.st_size;
    return TRUE;
}

// What the open learned; no system call.
DWORD GetFileType(HANDLE file)
{
    const FileObject* object = HandleAs<FileObject>(file);
    if (!object) return FILE_TYPE_UNKNOWN;
    return object->plain ? FILE_TYPE_DISK : FILE_TYPE_CHAR;
}
