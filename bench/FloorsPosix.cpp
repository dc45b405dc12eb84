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

void WriteMessageFile(const std::filesystem::path& directory, const std::string& name, const std::string& text)
{
    const int file = open((directory / name).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    Require(file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()), "no message file");
    close(file);
}

void DeliverBare(const std::filesystem::path& directory, const std::string& name, const std::string& text)
{
    static const std::string element = "<ELEMENT>" + std::string(672, 'e') + "</ELEMENT>\n</BASEELEMENT>\n";
    constexpr off_t kEndTag = 16;
    constexpr off_t kDigitsAt = 23;
    WriteMessageFile(directory, name, text);

    const std::string lock = directory / "_index.blk";
    const int held = open(lock.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    Require(held >= 0, "the folder is held");
    const int index = open((directory / "_index.xml").c_str(), O_RDWR | O_CLOEXEC);
    char header[33];
    struct stat info {};
    Require(index >= 0 && fstat(index, &info) == 0 && pread(index, header, sizeof header, 0) == sizeof header &&
                pwrite(index, element.data(), element.size(), info.st_size - kEndTag) == static_cast<ssize_t>(element.size()) &&
                pwrite(index, header + kDigitsAt, 8, kDigitsAt) == 8,
            "no index");
    close(index);
    char counts[52];
    const int status = open((directory / "_FOLDER.DAT").c_str(), O_RDWR | O_CLOEXEC);
    Require(status >= 0 && pread(status, counts, sizeof counts, 0) == sizeof counts &&
                pwrite(status, counts, sizeof counts, 0) == sizeof counts,
            "no counts");
    close(status);
    close(held);
    unlink(lock.c_str());
}

namespace {

size_t ReadAll(const std::string& file)
{
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return 0;
    char buffer[65536];
    size_t bytes = 0;
    for (ssize_t size; (size = read(descriptor, buffer, sizeof buffer)) > 0;) bytes += static_cast<size_t>(size);
    close(descriptor);
    return bytes;
}

}  // namespace

void LookForThree(const std::string& directory)
{
    struct stat info {};
    for (const char* const name : {"/_folder.xml", "/_folder.dty", "/_folder.xml"})
        benchmark::DoNotOptimize(stat((directory + name).c_str(), &info));
}

size_t MeasureBare(const std::string& directory)
{
    LookForThree(directory);
    struct stat info {};
    for (const char* const name : {"/_CACHED.DTY", "/_CHANGE.DTY", "/_index.xml"})
        benchmark::DoNotOptimize(stat((directory + name).c_str(), &info));
    const std::string lock = directory + "/_index.blk";
    const int held = open(lock.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    Require(held >= 0, "the folder is held");
    close(held);
    unlink(lock.c_str());
    return ReadAll(directory + "/_folder.xml") + ReadAll(directory + "/_index.xml");
}

void LookByName(const std::string& file)
{
    struct stat info {};
    Require(stat(file.c_str(), &info) == 0, "no file to look at");
}

}  // namespace velmora::bench
