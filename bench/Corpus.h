// Input for the benchmarks: index files and messages, the same bytes on every machine.
//
// Everything is derived from the number of an item, so a smaller corpus is a beginning of a larger one. Widths follow
// real mail: an element of the index has some 690 bytes, a message some 4 KB.
#ifndef VELMORA_BENCH_CORPUS_H
#define VELMORA_BENCH_CORPUS_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace velmora::bench {

// The file name of an item, which is its ID.
std::string ItemName(uint32_t number);

// One message with CR LF line ends.
std::string MessageText(uint32_t number);
// One element of an index file.
std::string IndexElement(uint32_t number);

// Corpora are kept: one that stands complete under `directory` is used again, because files that are made soon after
// many were deleted cost many times more. Nothing is ever deleted here.
//
// `directory`/_index.xml with `items` items; returns its path.
std::filesystem::path MakeIndexFile(const std::filesystem::path& directory, uint32_t items);
// `count` message files in `directory`.
void MakeMessages(const std::filesystem::path& directory, uint32_t count);

// `folders` folders below `directory`, in families of one and its nine children, each with an index of 20 items. Their
// directories, `directory` itself in front.
std::vector<std::filesystem::path> MakeTree(const std::filesystem::path& directory, uint32_t folders);

// Copies bytes over a file that may exist, without making it anew.
void OverwriteFile(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace velmora::bench

#endif
