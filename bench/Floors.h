// The bare work under a measure, by the operating system's own calls: what no implementation could leave out.
#ifndef VELMORA_BENCH_FLOORS_H
#define VELMORA_BENCH_FLOORS_H

#include <cstddef>
#include <filesystem>
#include <string>

namespace velmora::bench {

// The floor under every reader of an index: the whole file through one buffer, and both brackets of each tag found. Returns
// the number of tags.
size_t CountTags(const std::string& file);

// The floor under a scan: every message opened, its first 4 KiB read, its header lines found. Returns their number.
size_t CountHeaderLines(const std::filesystem::path& directory);

// The floor under a header-only open and under cached counts: the file opened, its first 52 bytes read, closed.
void ReadSmall(const std::string& file);

// The floor under an append: the file opened, its header read, an element of 690 bytes written over its end, eight digits
// written into its header, closed. The file grows by nothing.
void WriteSmall(const std::string& file);

// A message file as a delivery agent makes it: a new file, never one that is there.
void WriteMessageFile(const std::filesystem::path& directory, const std::string& name, const std::string& text);

// The floor under a delivery: the message file made; a lock file made; the index opened, its header read, an element of
// 690 bytes and the end tag written over its end, eight digits written into its header; the 52 bytes of the counts read and
// written; the lock file deleted.
void DeliverBare(const std::filesystem::path& directory, const std::string& name, const std::string& text);

// The floor under whatever asks whether something has changed: the file looked up by its name.
void LookByName(const std::string& file);

// The floor under a step of an enumeration: three files looked for by name, whether they are there or not.
void LookForThree(const std::string& directory);

// The floor under the size of one folder: its list looked for and read, its flags looked for, its lock file made and deleted,
// its index read. Returns the bytes that were read.
size_t MeasureBare(const std::string& directory);

}  // namespace velmora::bench

#endif
