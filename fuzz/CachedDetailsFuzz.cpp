// Files of any bytes as the cached counts of a folder: what is read of them, and what is written over them. The last bytes of
// an input are the words that the caller brings, the rest is the file.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/FuzzFolders.h"
#include "fuzz/FuzzedChoices.h"
#include "index/CachedDetails.h"

using namespace velmora;
using namespace velmora::test;

namespace {

constexpr size_t kFileSize = 52;
constexpr size_t kItems = 6;

std::string InBytes(const uint32_t (&words)[kDetailWords])
{
    std::string bytes;
    for (const uint32_t word : words)
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(static_cast<unsigned char>(word >> shift));
    return bytes;
}

// As signed numbers, these are never above the number of items.
std::string PlainClamped(std::string bytes)
{
    const auto word = [&](size_t index) {
        uint32_t value = 0;
        for (size_t byte = 4; byte > 0; --byte) value = value << 8 | static_cast<unsigned char>(bytes[index * 4 + byte - 1]);
        return static_cast<int32_t>(value);
    };
    for (const size_t index : {1u, 3u, 7u, 8u, 9u})
        if (word(index) > word(kItems)) bytes.replace(index * 4, 4, bytes.substr(kItems * 4, 4));
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const size_t callersBytes = std::min(size, kFileSize);
    const std::string file(reinterpret_cast<const char*>(data), size - callersBytes);
    uint32_t words[kDetailWords] = {};
    for (size_t i = 0; i < callersBytes; ++i) words[i / 4] |= uint32_t{data[file.size() + i]} << (8 * (i % 4));

    const std::filesystem::path path = FuzzFolders::Get().folder.File().parent_path() / kCachedDetailsFile;
    WriteFileBytes(path, file);
    std::string expected = InBytes(words);
    expected.replace(0, std::min(file.size(), kFileSize), file.substr(0, kFileSize));
    expected = PlainClamped(expected);
    if (ReadCachedDetails(path.string(), words) != !file.empty()) Require("a file was read that is empty, or not one that is not");
    if (InBytes(words) != expected) Require("other counts were read");

    // A part of the file stands in what is written now, so that each word meets other limits.
    std::reverse(words, words + kDetailWords);
    expected = PlainClamped(InBytes(words));
    if (!WriteCachedDetails(path.string(), words)) Require("the counts were not written");
    if (InBytes(words) != expected) Require("the caller has other counts than the file should");
    if (ReadFileBytes(path) != expected) Require("another file was written");
    return 0;
}
