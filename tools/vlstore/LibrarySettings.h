// The settings that the library of this run reads.
//
// A store may be moved or copied, or be seen from another system under another path, and then its settings still name the
// mail root that it had: of a copy, that is the original's. Who gives --store ROOT means what lies in ROOT: where ROOT has
// a directory of post offices, the library reads a copy of the settings that names this one, and the file of the store is
// left as it is.
#ifndef VLSTORE_LIBRARYSETTINGS_H
#define VLSTORE_LIBRARYSETTINGS_H

#include <filesystem>
#include <string>

namespace vlstore {

class LibrarySettings {
public:
    // Points VELMORA_REGISTRY at the settings for the store at `root`, as --store gave it; empty leaves the variable alone.
    // Notes on standard error that the settings name another mail root. Throws Failure when they cannot be read or copied.
    LibrarySettings(const std::filesystem::path& file, const std::string& root);
    // Removes the copy. The library is not used behind it.
    ~LibrarySettings();
    LibrarySettings(const LibrarySettings&) = delete;
    LibrarySettings& operator=(const LibrarySettings&) = delete;

private:
    void RemoveCopy() const;

    std::filesystem::path copyDirectory_;  // empty when there is no copy
};

}  // namespace vlstore

#endif
