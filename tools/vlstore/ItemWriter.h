// Puts messages into a folder's directory the way a delivery agent does: each one whole under a private name first, then
// under its own in one step, so that no scan ever sees half a message.
#ifndef VLSTORE_ITEMWRITER_H
#define VLSTORE_ITEMWRITER_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace vlstore {

class ItemWriter {
public:
    // Looks through the directory once. Throws Failure when it cannot be read.
    explicit ItemWriter(const std::filesystem::path& directory);

    // Files that a scan of the folder would count.
    uint64_t FilesPresent() const { return present_; }
    // Writes one message and returns its item's name: eight hexadecimal digits, counted up from the highest in the folder,
    // and ".MAI". A name that another process takes meanwhile is passed over. Throws Failure; nothing is left behind then.
    std::string Write(std::string_view message);
    // Leaves the flag file that makes the next open of any process scan the folder.
    void MarkDirty() const;
    // Whether the flag file stands.
    bool IsMarkedDirty() const;

private:
    std::filesystem::path directory_;
    uint64_t present_ = 0;
    uint64_t highest_ = 0;
};

}  // namespace vlstore

#endif
