#include "Shares.h"

#include <functional>

#include "ExitCode.h"
#include "IndexPlace.h"
#include "ShareReader.h"
#include "Store.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kSharesFile = "_Shares.xml";
constexpr const char* kAccessFile = "_Access.XML";

std::vector<std::string> Read(const fs::path& directory, const char* name,
                              const std::function<std::vector<std::string>(std::string_view, std::optional<XmlFault>&)>& parse)
{
    const std::optional<fs::path> file = FindNoCase(directory, name);
    if (!file) return {};
    const std::string bytes = ReadIndexBytes(*file);
    std::optional<XmlFault> fault;
    std::vector<std::string> found = parse(bytes, fault);
    if (fault) throw Failure(ExitCode::Data, FaultText(*file, bytes, *fault));
    return found;
}

}  // namespace

std::vector<std::string> ReadSharedFolders(const fs::path& mailbox) { return Read(mailbox, kSharesFile, SharedFolders); }
std::vector<std::string> ReadUsers(const fs::path& folder) { return Read(folder, kAccessFile, UsersOf); }
bool HasAccessList(const fs::path& folder) { return FindNoCase(folder, kAccessFile).has_value(); }

}  // namespace vlstore
