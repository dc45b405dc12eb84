// Puts many messages into a folder's directory, under names counted up behind those that are there.
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

private:
    std::filesystem::path directory_;
    uint64_t present_ = 0;
    uint64_t highest_ = 0;
};

}  // namespace vlstore

#endif
