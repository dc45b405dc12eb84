#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "bench/Floors.h"
#include "bench/Measure.h"

namespace velmora::bench {

size_t CountTags(const std::string& file)
{
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    Require(descriptor >= 0, "no index file");
    char buffer[8192];
    size_t tags = 0;
    bool inside = false;
    for (ssize_t size; (size = read(descriptor, buffer, sizeof buffer)) > 0;) {
        const char* at = buffer;
        const char* const end = buffer + size;
        while (const void* found = std::memchr(at, inside ? '>' : '<', static_cast<size_t>(end - at))) {
            at = static_cast<const char*>(found) + 1;
            tags += inside;
            inside = !inside;
        }
    }
    close(descriptor);
    return tags;
}

size_t CountHeaderLines(const std::filesystem::path& directory)
{
    DIR* const handle = opendir(directory.c_str());
    Require(handle != nullptr, "no folder");
    size_t lines = 0;
    char buffer[4096];
    while (const dirent* entry = readdir(handle)) {
        if (entry->d_name[0] == '.' || entry->d_name[0] == '_') continue;
        const int file = open((directory / entry->d_name).c_str(), O_RDONLY | O_CLOEXEC);
        Require(file >= 0, "a message is gone");
        const ssize_t size = read(file, buffer, sizeof buffer);
        close(file);
        const char* at = buffer;
        const char* const end = buffer + (size > 0 ? size : 0);
        while (const void* found = std::memchr(at, '\n', static_cast<size_t>(end - at))) {
            const char* const next = static_cast<const char*>(found) + 1;
            if (next - at <= 2) break;  // the blank line
            if (*at != ' ' && *at != '\t') ++lines;
            at = next;
        }
    }
    closedir(handle);
    return lines;
}

void ReadSmall(const std::string& file)
{
    char bytes[52];
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    Require(descriptor >= 0 && read(descriptor, bytes, sizeof bytes) == sizeof bytes, "no small read");
    close(descriptor);
}

void WriteSmall(const std::string& file)
{
    constexpr size_t kElementSize = 690;
    constexpr off_t kDigitsAt = 23;
    char header[33];
    char element[kElementSize];
    std::memset(element, 'x', sizeof element);
    const int descriptor = open(file.c_str(), O_RDWR | O_CLOEXEC);
    Require(descriptor >= 0 && pread(descriptor, header, sizeof header, 0) == sizeof header, "no small write");
    const off_t end = lseek(descriptor, 0, SEEK_END);
    Require(pwrite(descriptor, element, sizeof element, end - static_cast<off_t>(sizeof element)) == sizeof element &&
                pwrite(descriptor, header + kDigitsAt, 8, kDigitsAt) == 8,
            "no small write");
    close(descriptor);
}

void LookByName(const std::string& file)
{
    struct stat info {};
    Require(stat(file.c_str(), &info) == 0, "no file to look at");
}

}  // namespace velmora::bench
