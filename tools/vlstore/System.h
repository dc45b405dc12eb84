// The few things that the tool asks of the operating system beyond the standard library.
//
// Names and paths are bytes. On Windows they are UTF-8: the program's manifest makes that its code page, so that arguments,
// the environment, std::filesystem and the store library, which runs inside this process, all mean the same file by the
// same bytes, and the same bytes as on Linux.
#ifndef VLSTORE_SYSTEM_H
#define VLSTORE_SYSTEM_H

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace vlstore {

// A path of these bytes. std::filesystem gives such bytes out (path::string), but takes others where paths are wide.
inline std::filesystem::path PathOf(std::string_view bytes)
{
    return std::u8string_view(reinterpret_cast<const char8_t*>(bytes.data()), bytes.size());
}

// Line ends go out as they are written, on every system: what one run printed can be compared with what another did. A
// terminal takes UTF-8 and the escapes that the tool uses.
void PrepareStandardStreams();

// Keeps standard output for the tool alone: the stream returned writes where standard output went, and whatever else in
// the process writes there from now on goes to standard error (`noiseToStderr`) or nowhere. Null when there is none.
std::FILE* TakeStandardOutput(bool noiseToStderr);

bool IsTerminal(std::FILE* stream);
// Columns of the terminal behind `stream`; 0 when it is none or does not say.
size_t TerminalColumns(std::FILE* stream);

// For this process, the libraries that it loads included.
void SetEnvironment(const char* name, const std::string& value);

// Where the store library lies beside this program in an installation; its name is the one that the loader knows it by.
std::filesystem::path InstalledModulePath();
// The settings file that counts when none is named; empty where the settings are no file.
std::filesystem::path SystemSettingsFile();

// A shared library, loaded until the process ends; null with the loader's reason in `error`.
void* OpenModule(const std::filesystem::path& path, std::string& error);
void* FindSymbol(void* module, const char* name);

// What stands behind the name of a block file.
enum class BlockState {
    Free,    // no such file
    Held,    // a live process holds it
    Unheld,  // the file stands, and no process holds it by handle
    Hidden,  // the file stands, and this user may not look who holds it
};
BlockState ProbeBlockFile(const std::filesystem::path& path);

// Fails when this user may not read a directory and make files in it.
std::error_code CheckReadAndWrite(const std::filesystem::path& directory);

// A new directory among the temporary files that no other user may look into. The caller removes it.
std::filesystem::path MakePrivateDirectory(std::error_code& error);

// The whole content of a file.
std::error_code ReadFileContent(const std::filesystem::path& path, std::string& bytes);
// Everything that comes on standard input, to its end.
std::error_code ReadStandardInput(std::string& bytes);
// Synced: on the disk, as far as the system can tell, when the call returns.
enum class Durability { Cached, Synced };
// Makes a file that must not exist yet and writes `bytes`; nothing is left behind on a failure.
std::error_code WriteNewFile(const std::filesystem::path& path, std::string_view bytes, Durability durability = Durability::Cached);
// Brings the names in a directory to the disk, where that is a step of its own.
std::error_code SyncDirectory(const std::filesystem::path& directory);
// Renames in one step and fails with file_exists when `to` is there.
std::error_code MoveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to);
// Puts `bytes` into the place of `path` in one step: readers see the old content or the new one, also after a crash.
// A file that is there keeps who may read and write it.
std::error_code ReplaceFileContent(const std::filesystem::path& path, std::string_view bytes);

}  // namespace vlstore

#endif
