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

}  // namespace velmora::bench

#endif
