// One run of the tool: what was asked for on the command line before the noun, and the verb that was chosen.
#ifndef VLSTORE_SESSION_H
#define VLSTORE_SESSION_H

#include <filesystem>
#include <functional>
#include <string>

#include "Output.h"

namespace CLI {
class App;
}

namespace vlstore {

struct Session {
    Format format = Format::Table;
    std::string store;     // --store ROOT; empty means the environment's or the system's settings
    bool verbose = false;  // the library's own lines go to standard error
    bool wait = false;     // wait for a lock as a service does
    std::function<void(Session&, Output&)> verb;
};

// The settings file of this run: ROOT/registry.reg, else VELMORA_REGISTRY, else the system's.
std::filesystem::path SettingsFilePath(const Session& session);
// The same; throws Failure when there is no such file, or none that may be read. A store at ROOT may have none: then its
// directories make it one, and every setting has its default.
std::filesystem::path ExistingSettingsFile(const Session& session);

// Each verb stands in a file of its own and adds itself to its noun.
void AddStoreInit(CLI::App& noun, Session& session);
void AddSettingsGet(CLI::App& noun, Session& session);
void AddSettingsSet(CLI::App& noun, Session& session);
void AddSettingsList(CLI::App& noun, Session& session);
void AddMailboxAdd(CLI::App& noun, Session& session);
void AddImport(CLI::App& app, Session& session);
void AddItemList(CLI::App& noun, Session& session);
void AddItemShow(CLI::App& noun, Session& session);
void AddItemGet(CLI::App& noun, Session& session);
void AddItemSet(CLI::App& noun, Session& session);
void AddItemDeliver(CLI::App& noun, Session& session);
void AddItemFlag(CLI::App& noun, Session& session);
void AddItemRemove(CLI::App& noun, Session& session);
void AddFolderStatus(CLI::App& noun, Session& session);
void AddFolderCounts(CLI::App& noun, Session& session);
void AddFolderList(CLI::App& noun, Session& session);
void AddFolderAdd(CLI::App& noun, Session& session);
void AddFolderRename(CLI::App& noun, Session& session);
void AddFolderCopy(CLI::App& noun, Session& session);
void AddFolderRemove(CLI::App& noun, Session& session);
void AddFolderSize(CLI::App& noun, Session& session);
void AddFolderReindex(CLI::App& noun, Session& session);
void AddShareList(CLI::App& noun, Session& session);
void AddIndexDump(CLI::App& noun, Session& session);
void AddIndexCheck(CLI::App& noun, Session& session);
void AddIndexConvert(CLI::App& noun, Session& session);
void AddPropertyList(CLI::App& noun, Session& session);

}  // namespace vlstore

#endif
