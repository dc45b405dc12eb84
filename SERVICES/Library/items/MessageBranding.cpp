#include "items/MessageBranding.h"

#include "common/FileStream.h"
#include "common/Text.h"
#include "frame/Logging.h"
#include "frame/Settings.h"
#include "items/LineReader.h"
#include "items/MessageFile.h"
#include "platform/Clock.h"

namespace velmora {

namespace {

constexpr size_t kLineBytes = 2047;
constexpr size_t kBlockBytes = 2047;
constexpr uint32_t kMoveRetryPauseMs = 1000;
constexpr int kMoveRetries = 3;
constexpr std::string_view kUidName = "X-UID: ";
constexpr std::string_view kTempFlagsName = "X-VLTempFlags: ";

struct RewritePaths {
    std::string message;
    std::string temporary;
};

RewritePaths PathsOf(const std::string& folderPath, std::string_view fileName)
{
    const std::string name(fileName);
    return {folderPath + "\\" + name, folderPath + "\\_" + name};
}

std::string UidLine(uint32_t folderUid, uint32_t uid)
{
    return folderUid != 0 ? FormatText("X-UID: %u.%u\r\n", folderUid, uid) : FormatText("X-UID: %u\r\n", uid);
}

bool BeginsWithLineEnd(std::string_view line) { return line[0] == '\r' || line[0] == '\n'; }

void CopyBody(LineReader& reader, FileStream& output)
{
    std::string_view block;
    while (!output.Failed() && reader.NextBlock(kBlockBytes, block)) output.Write(block);
}

// Copies a header with its X-UID lines renewed; the blank line is written, the body left unread.
void CopyBrandedHeader(LineReader& reader, FileStream& output, const std::string& uidLine)
{
    bool written = false;
    std::string_view line;
    while (!output.Failed() && reader.Next(kLineBytes, line)) {
        if (BeginsWithLineEnd(line)) {
            if (!written) output.Write(uidLine);
            output.Write(line);
            return;
        }
        const bool replaced = BeginsNoCase(line, kUidName);
        output.Write(replaced ? std::string_view(uidLine) : line);
        written = written || replaced;
    }
}

// Copies a header without its private lines; true when one was dropped.
bool CopyStrippedHeader(LineReader& reader, FileStream& output, const std::string& uidLine)
{
    bool dropped = false;
    std::string_view line;
    while (!output.Failed() && reader.Next(kLineBytes, line)) {
        if (BeginsWithLineEnd(line)) {
            // Kept: this line never reaches the item, because a file with nothing dropped is thrown away.
            if (!dropped) output.Write(uidLine);
            output.Write(line);
            break;
        }
        if (BeginsNoCase(line, kUidName) || BeginsNoCase(line, kTempFlagsName))
            dropped = true;
        else
            output.Write(line);
    }
    return dropped;
}

bool MoveIntoPlace(const RewritePaths& paths) { return MoveFileA(paths.temporary.c_str(), paths.message.c_str()) != FALSE; }

// The message is deleted and its copy, the only one left, could not be moved: under the copy's name no scan finds it.
void BringBack(const RewritePaths& paths)
{
    for (int retry = 0; retry < kMoveRetries; ++retry) {
        platform::SleepMs(kMoveRetryPauseMs);
        if (MoveIntoPlace(paths)) return;
    }
    PrintLine("Could not move message file into place\r\n");
    if (CopyFileA(paths.temporary.c_str(), paths.message.c_str(), TRUE)) DeleteFileA(paths.temporary.c_str());
}

void PutInPlace(const RewritePaths& paths)
{
    const bool deleted = DeleteFileA(paths.message.c_str());
    if (MoveIntoPlace(paths)) return;
    if (deleted) return BringBack(paths);
    // A message that somebody holds open stays, and the copy must not lie beside it for ever.
    DeleteFileA(paths.temporary.c_str());
}

// Says so when the message to be rewritten could not be opened.
bool IsReadable(const MessageFile& message)
{
    if (message.IsOpen()) return true;
    PrintLine("Could not open message file for input\r\n");
    return false;
}

void ReportUnwritable() { PrintLine("Could not open message file for writing\r\n"); }

// Ends a rewrite: a copy that is not whole (full disk, read fault) never replaces the message.
void FinishRewrite(const RewritePaths& paths, FileStream& output, MessageFile& message)
{
    message.Close();
    if (output.Close() && !message.Failed()) return PutInPlace(paths);
    ReportUnwritable();
    DeleteFileA(paths.temporary.c_str());
}

}  // namespace

bool UidBrandingIsOn() { return SettingIsOn(Setting::UidBrandingEnabled); }

uint64_t BrandMessageFile(const std::string& folderPath, std::string_view fileName, uint32_t folderUid, uint32_t uid)
{
    if (!UidBrandingIsOn()) return 1;
    const RewritePaths paths = PathsOf(folderPath, fileName);
    MessageFile message(paths.message);
    if (!IsReadable(message)) return 1;
    FileStream output;
    if (!output.OpenTruncate(paths.temporary)) {
        ReportUnwritable();
        message.Close();
        // Kept: what would end a rewrite is done all the same, and with no copy the message is lost.
        DeleteFileA(paths.message.c_str());
        MoveIntoPlace(paths);
        return 1;
    }
    LineReader reader(message);
    CopyBrandedHeader(reader, output, UidLine(folderUid, uid));
    CopyBody(reader, output);
    FinishRewrite(paths, output, message);
    return 1;
}

uint64_t StripMessageBranding(const std::string& folderPath, std::string_view fileName, uint32_t folderUid, uint32_t uid)
{
    if (!UidBrandingIsOn()) return 1;
    const RewritePaths paths = PathsOf(folderPath, fileName);
    MessageFile message(paths.message);
    if (!IsReadable(message)) return 1;
    FileStream output;
    if (!output.OpenTruncate(paths.temporary)) {
        ReportUnwritable();
        DeleteFileA(paths.temporary.c_str());
        return 1;
    }
    LineReader reader(message);
    if (!CopyStrippedHeader(reader, output, UidLine(folderUid, uid))) {
        output.Close();
        DeleteFileA(paths.temporary.c_str());
        return 1;
    }
    CopyBody(reader, output);
    FinishRewrite(paths, output, message);
    return 1;
}

}  // namespace velmora
