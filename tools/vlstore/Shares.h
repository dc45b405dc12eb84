// Who may see which folders of a mailbox, as the files of the server's shares tell it; read with the tool's own reader.
#ifndef VLSTORE_SHARES_H
#define VLSTORE_SHARES_H

#include <filesystem>
#include <string>
#include <vector>

namespace vlstore {

// Of a mailbox's directory: its list of shares, in whatever case it is spelled. Empty when there is none. Throws Failure when it
// cannot be read, or has a fault.
std::vector<std::string> ReadSharedFolders(const std::filesystem::path& mailbox);
// The same of a folder's directory.
std::vector<std::string> ReadUsers(const std::filesystem::path& folder);
bool HasAccessList(const std::filesystem::path& folder);

}  // namespace vlstore

#endif
