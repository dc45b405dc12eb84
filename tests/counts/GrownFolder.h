// Folders of any number of items, made at once: the index and the cached counts are written as bytes, with no message
// behind them. The folder's marks of a change are absent, so nothing that is measured looks for the messages.
#ifndef VELMORA_TESTS_COUNTS_GROWNFOLDER_H
#define VELMORA_TESTS_COUNTS_GROWNFOLDER_H

#include <cstdint>
#include <filesystem>
#include <string>

#include "tests/support/TestStore.h"

namespace velmora::test {

inline constexpr uint32_t kFewItems = 100;
// A sanitizer takes several times as long for a load; a fifth of the items shows a growth as well.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr uint32_t kManyItems = 20000;
#else
inline constexpr uint32_t kManyItems = 100000;
#endif

// Items have UIDs from 1 on. All IDs are of one length, as delivery agents make them.
std::string GrownItemName(uint32_t uid);
std::string GrownIndex(uint32_t items);
// The 52 bytes of the cached counts: all items seen, none recent.
std::string GrownCounts(uint32_t items);

// A folder of the mailbox "box" in the post office "po". The names of all such folders have the same length, so that a path
// costs the same bytes everywhere.
class GrownFolder {
public:
    GrownFolder(TestStore& store, uint32_t items);

    uint32_t Items() const { return items_; }
    const std::string& Name() const { return name_; }
    std::string Path() const { return path_.string(); }
    std::filesystem::path IndexFile() const { return path_ / "_index.xml"; }

private:
    uint32_t items_;
    std::string name_;
    std::filesystem::path path_;
};

}  // namespace velmora::test

#endif
