// The copies beside an index file: _index.xml.bak, which loaded once, and _index.xml.bad, which did not.
//
// Kept: these operations name _index.xml whatever the kind of the index, so a damaged _groups.xml touches them too.
//
// LASTUID goes on through all of them: what takes the place of an index gives no UID that the other has given. An index that
// is put aside tells its number by its header; where there is none, an older .bad keeps what it tells.
#include <algorithm>
#include <optional>

#include "common/FileManagement.h"
#include "common/FileStream.h"
#include "common/Text.h"
#include "index/IndexPersistence.h"
#include "index/ItemBackend.h"
#include "persistence/IndexHead.h"
#include "persistence/IndexTags.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "platform/Clock.h"
#include "platform/win32.h"

namespace velmora {

namespace {

std::string IndexPath(const std::string& folderPath) { return folderPath + "\\_index.xml"; }
std::string BackupPath(const std::string& folderPath) { return folderPath + "\\_index.xml.bak"; }
std::string DamagedPath(const std::string& folderPath) { return folderPath + "\\_index.xml.bad"; }

bool CopyOver(const std::string& from, const std::string& to) { return CopyFileA(from.c_str(), to.c_str(), FALSE) != FALSE; }

std::string WholeCopyOf(const std::string& path) { return path + ".tmp"; }

// None of a file that is missing. Nothing when it cannot be read now.
std::optional<std::string> HeadOf(const std::string& path)
{
    FileStream file;
    if (!file.OpenRead(path)) return NamesNothing(file.LastError()) ? std::optional<std::string>("") : std::nullopt;
    std::string head;
    return ReadIndexHead(file, 0, head) ? std::optional(head) : std::nullopt;
}

// The LASTUID of the index that was put aside last; 0 when none tells it. Nothing when it cannot be read now.
std::optional<uint32_t> LastUidPutAside(const std::string& folderPath)
{
    const std::optional<std::string> head = HeadOf(DamagedPath(folderPath));
    return head ? std::optional(LastUidToldBy(*head)) : std::nullopt;
}

// A file that ends within its header, as a death leaves the first save behind a quarantine, is nothing to keep: it does not
// take the place of one that tells LASTUID.
bool PutAside(const std::string& folderPath)
{
    const std::optional<std::string> head = HeadOf(IndexPath(folderPath));
    if (head && head->size() < kHeaderSize) {
        const std::optional<uint32_t> told = LastUidPutAside(folderPath);
        if (!told || *told > LastUidToldBy(*head)) return told.has_value();
    }
    return CopyOver(IndexPath(folderPath), DamagedPath(folderPath));
}

// The same for a file with a root tag of another form, which has no place for the digits: it is written anew, and stays of an
// old form. What is no index stays as it is.
bool RaiseLastUidOfOldForm(const std::string& path, uint32_t lastUid)
{
    constexpr std::string_view kBegin = "<BASEELEMENT";
    std::string bytes;
    if (!ReadWholeFile(path, bytes)) return false;
    const size_t begin = RootTagAt(bytes);
    const size_t end = bytes.find('>', begin);
    if (!std::string_view(bytes).substr(begin).starts_with(kBegin) || end == std::string::npos || LastUidOfRoot(bytes) >= lastUid)
        return true;
    FileStream file;
    if (!file.OpenTruncate(path, FileStream::Sharing::None)) return false;
    file.Write(bytes.substr(0, begin) + std::string(kBegin) + " LASTUID=\"0x" + FormatHex8(lastUid) + "\"" +
               (bytes[end - 1] == '/' ? "/" : ""));
    file.Write(std::string_view(bytes).substr(end));
    return file.Close();
}

// Writes a higher LASTUID into a copy before it takes its place. The write gives the file a time of its own, so that
// nobody who loaded the original takes it for that.
bool RaiseLastUid(const std::string& path, uint32_t lastUid)
{
    if (lastUid == 0) return true;
    FileStream file;
    if (!file.OpenUpdate(path, FileStream::Sharing::None)) return false;
    char head[kHeaderSize];
    const std::string_view bytes(head, file.Read(head, sizeof head));
    if (file.Bad()) return false;
    if (!IsWrittenHeader(bytes)) {
        file.Close();
        return RaiseLastUidOfOldForm(path, lastUid);
    }
    if (ParseUnsigned(bytes.substr(kHeaderBegin.size(), kHeaderDigits), 16) >= lastUid) return true;
    file.SeekTo(kHeaderBegin.size());
    file.Write(FormatHex8(lastUid));
    return file.Close();
}

// The old `to` stays until the new one, with a LASTUID that is not below `lastUid`, is whole.
bool ReplaceByCopy(const std::string& from, const std::string& to, uint32_t lastUid = 0)
{
    const std::string whole = WholeCopyOf(to);
    if (CopyOver(from, whole) && RaiseLastUid(whole, lastUid) && MoveFileExA(whole.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING))
        return true;
    DeleteFileA(whole.c_str());
    return false;
}

}  // namespace

// What a death in the middle of a copy left behind goes with the next one, or with the next of the other kind.

void IndexFileSerialiser::BackupIndex(const std::string& folderPath)
{
    DeleteFileA(WholeCopyOf(IndexPath(folderPath)).c_str());
    ReplaceByCopy(IndexPath(folderPath), BackupPath(folderPath));
}

// Only a file that has been put aside is replaced: one that cannot be read now may be a good one.
bool IndexFileSerialiser::RestoreBackup(const std::string& folderPath)
{
    if (!HasBackup(folderPath)) return false;
    DeleteFileA(WholeCopyOf(BackupPath(folderPath)).c_str());
    const bool exists = FileManagement::MayExist(IndexPath(folderPath));
    if (exists && !PutAside(folderPath)) return false;
    const std::optional<uint32_t> lastUid = LastUidPutAside(folderPath);
    return lastUid && ReplaceByCopy(BackupPath(folderPath), IndexPath(folderPath), *lastUid);
}

// As for a restore, only what has been put aside goes.
bool IndexFileSerialiser::QuarantineIndex(const std::string& folderPath)
{
    if (!PutAside(folderPath)) return false;
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

bool TakeOverLastUid(SORTEDSTOREINDEXTYPE& table, const std::string& folderPath, uint32_t indexKind)
{
    if (indexKind == kKindGroups) return true;
    const std::optional<uint32_t> lastUid = LastUidPutAside(folderPath);
    if (lastUid) table.LastUID = std::max(table.LastUID, *lastUid);
    return lastUid.has_value();
}

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
