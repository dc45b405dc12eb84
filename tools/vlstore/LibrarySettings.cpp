#include "LibrarySettings.h"

#include "ExitCode.h"
#include "Message.h"
#include "SettingsFile.h"
#include "System.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kVariable = "VELMORA_REGISTRY";

bool IsSameDirectory(const fs::path& a, const fs::path& b)
{
    std::error_code error;
    return fs::equivalent(a, b, error) && !error;
}

}  // namespace

LibrarySettings::LibrarySettings(const fs::path& file, const std::string& root)
{
    SettingsFile settings = SettingsFile::Load(file);  // the library says nothing of a file that it may not read
    if (root.empty()) return;
    SetEnvironment(kVariable, file.string());
    std::error_code error;
    fs::path own = fs::absolute(PathOf(root)).lexically_normal() / kMailRootInStore;
    fs::path named = settings.MailRoot();
    if (!fs::is_directory(own, error) || IsSameDirectory(named, own)) return;

    std::string bytes = settings.WithMailRoot(own);
    copyDirectory_ = MakePrivateDirectory(error);
    fs::path copy = copyDirectory_ / "registry.reg";
    if (!error) error = WriteNewFile(copy, bytes);
    if (error) RemoveCopy();
    if (error) throw Failure(ExitCode::CannotCreate, "cannot make a temporary settings file: " + error.message());
    SetEnvironment(kVariable, copy.string());
    if (!named.empty())
        PutMessage("note: the settings of " + root + " name another mail root, " + named.string() + "; used is " + own.string());
}

LibrarySettings::~LibrarySettings() { RemoveCopy(); }

void LibrarySettings::RemoveCopy() const
{
    std::error_code ignored;
    if (!copyDirectory_.empty()) fs::remove_all(copyDirectory_, ignored);
}

}  // namespace vlstore
