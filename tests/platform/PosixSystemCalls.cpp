#include "tests/platform/PosixSystemCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>

namespace velmora::test {

namespace {

SystemCalls* counting = nullptr;

void Note(const char* name)
{
    if (counting) counting->made.emplace_back(name);
}

}  // namespace

SystemCalls::SystemCalls() { counting = this; }
SystemCalls::~SystemCalls() { counting = nullptr; }

size_t SystemCalls::Count(std::string_view name) const { return static_cast<size_t>(std::count(made.begin(), made.end(), name)); }

}  // namespace velmora::test

using velmora::test::counting;
using velmora::test::Note;

// The linker's names: a call of F arrives at __wrap_F, and __real_F is the system's.
extern "C" {

int __real_open(const char* path, int flags, mode_t mode);
int __real_openat(int directory, const char* path, int flags, mode_t mode);
int __real_close(int fd);
int __real_stat(const char* path, struct stat* info);
int __real_lstat(const char* path, struct stat* info);
int __real_fstatat(int directory, const char* path, struct stat* info, int flags);
int __real_statx(int directory, const char* path, int flags, unsigned mask, struct statx* info);
int __real_access(const char* path, int mode);
int __real_link(const char* from, const char* to);
int __real_linkat(int fromDirectory, const char* from, int toDirectory, const char* to, int flags);
int __real_unlink(const char* path);
DIR* __real_opendir(const char* path);

int __wrap_open(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const bool takesMode = (flags & (O_CREAT | O_TMPFILE)) != 0;
    const mode_t mode = takesMode ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    Note("open");
    if (counting && counting->refuseUnnamedFiles != 0 && (flags & O_TMPFILE) == O_TMPFILE) {
        errno = counting->refuseUnnamedFiles;
        return -1;
    }
    if (counting && counting->unopenedError != 0 && counting->unopened == path) {
        errno = counting->unopenedError;
        return -1;
    }
    return __real_open(path, flags, mode);
}

int __wrap_openat(int directory, const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    Note("openat");
    return __real_openat(directory, path, flags, mode);
}

// Not counted: it has no path.
int __wrap_close(int fd)
{
    const int result = __real_close(fd);
    if (!counting || counting->closingError == 0) return result;
    errno = counting->closingError;
    return -1;
}

int __wrap_stat(const char* path, struct stat* info)
{
    Note("stat");
    return __real_stat(path, info);
}

int __wrap_lstat(const char* path, struct stat* info)
{
    Note("lstat");
    return __real_lstat(path, info);
}

int __wrap_fstatat(int directory, const char* path, struct stat* info, int flags)
{
    Note("fstatat");
    return __real_fstatat(directory, path, info, flags);
}

int __wrap_statx(int directory, const char* path, int flags, unsigned mask, struct statx* info)
{
    Note("statx");
    if (counting && counting->undescribedError != 0 && counting->undescribed == path) {
        errno = counting->undescribedError;
        return -1;
    }
    return __real_statx(directory, path, flags, mask, info);
}

int __wrap_access(const char* path, int mode)
{
    Note("access");
    return __real_access(path, mode);
}

int __wrap_link(const char* from, const char* to)
{
    Note("link");
    return __real_link(from, to);
}

int __wrap_linkat(int fromDirectory, const char* from, int toDirectory, const char* to, int flags)
{
    Note("linkat");
    return __real_linkat(fromDirectory, from, toDirectory, to, flags);
}

int __wrap_unlink(const char* path)
{
    Note("unlink");
    return __real_unlink(path);
}

DIR* __wrap_opendir(const char* path)
{
    Note("opendir");
    return __real_opendir(path);
}
}
