// The copies beside an index file: _index.xml.bak, which loaded once, and _index.xml.bad, which did not.
//
// Kept: these operations name _index.xml whatever the kind of the index, so a damaged _groups.xml touches them too.
#include "common/FileManagement.h"
#include "common/FileStream.h"
#include "frame/Logging.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "platform/Clock.h"
#include "platform/win32.h"

namespace velmora {

namespace {

std::string IndexPath(const std::string& folderPath) { return folderPath + "\\_index.xml"; }
std::string BackupPath(const std::string& folderPath) { return folderPath + "\\_index.xml.bak"; }
std::string DamagedPath(const std::string& folderPath) { return folderPath + "\\_index.xml.bad"; }

bool CopyOver(const std::string& from, const std::string& to) { return CopyFileA(from.c_str(), to.c_str(), FALSE) != FALSE; }

// The old `to` stays until the new one is whole.
bool ReplaceByCopy(const std::string& from, const std::string& to)
{
    const std::string whole = to + ".tmp";
    if (CopyOver(from, whole) && MoveFileExA(whole.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING)) return true;
    DeleteFileA(whole.c_str());
    return false;
}

}  // namespace

void IndexFileSerialiser::BackupIndex(const std::string& folderPath) { ReplaceByCopy(IndexPath(folderPath), BackupPath(folderPath)); }

// Only a file that has been put aside is replaced: one that cannot be read now may be a good one.
bool IndexFileSerialiser::RestoreBackup(const std::string& folderPath)
{
    if (!HasBackup(folderPath)) return false;
    const bool exists = FileManagement::MayExist(IndexPath(folderPath));
    if (exists && !CopyOver(IndexPath(folderPath), DamagedPath(folderPath))) return false;
    return ReplaceByCopy(BackupPath(folderPath), IndexPath(folderPath));
}

// As for a restore, only what has been put aside goes.
bool IndexFileSerialiser::QuarantineIndex(const std::string& folderPath)
{
    if (!CopyOver(IndexPath(folderPath), DamagedPath(folderPath))) return false;
    DeleteFileA(IndexPath(folderPath).c_str());
    return true;
}

// One that cannot be asked for now is there: without it the index would be put aside.
bool IndexFileSerialiser::HasBackup(const std::string& folderPath) { return FileManagement::MayExist(BackupPath(folderPath)); }

uint64_t IndexFileSerialiser::BackupAgeMinutes(const std::string& folderPath)
{
    const FileStamp stamp = ReadFileStamp(BackupPath(folderPath));
    return stamp.lastWrite == 0 ? 0 : AgeInMinutes(stamp.lastWrite, platform::NowFileTime());
}

// Kept: a damaged _groups.xml ends in the removal of the backup of the index beside it.
void IndexFileSerialiser::DeleteBackup(const std::string& folderPath) { DeleteFileA(BackupPath(folderPath).c_str()); }

uint64_t AgeInMinutes(uint64_t fileTime, uint64_t now)
{
    if (fileTime >= now) return 0;
    const uint64_t difference = now - fileTime;
    FILETIME age{};
    age.dwLowDateTime = static_cast<DWORD>(difference);
    age.dwHighDateTime = static_cast<DWORD>(difference >> 32);
    SYSTEMTIME date{};
    if (!FileTimeToSystemTime(&age, &date)) return 0;
    // Kept: the difference is read as a date, so the days of a real calendar come back as months of 30.
    const uint64_t days = uint64_t{date.wYear} * 365 - uint64_t{1601} * 365 + (date.wMonth - 1u) * 30u + (date.wDay - 1u);
    return (days * 24 + date.wHour) * 60 + date.wMinute;
}

}  // namespace velmora
