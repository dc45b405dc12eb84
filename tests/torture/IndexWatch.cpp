#include "tests/torture/IndexWatch.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>
#include <thread>

#include "common/Text.h"
#include "platform/win32.h"

namespace velmora::torture {

namespace fs = std::filesystem;
using platform::FileOperation;

namespace {

constexpr std::string_view kHeader = "<BASEELEMENT LASTUID=\"";
constexpr std::string_view kEnd = "</BASEELEMENT>";
constexpr std::string_view kEmptyEnd = "/>";

// What one thread is about, from the beginning of a deed on.
struct Watched {
    uint32_t thread = 0;
    uint32_t folder = 0;
    fs::path directory;
    bool active = false;
    bool attempts = false;     // its last operation was an attempt at the block, and nobody has looked what came of it
    bool deletes = false;      // the same for a deletion of the block
    bool hasBlock = false;     // and has not begun to delete it
    bool lettingGo = false;    // has begun to delete its own
    bool refused = false;      // the last attempt
    bool refusedOnce = false;  // since the call began
    bool byName = false;       // the call holds the block by its name alone
    bool accused = false;      // of a write without the block, in this deed
    bool mayWrite = false;     // it saves, or has seen a mark
    bool atIndex = false;      // the file that it opened last is the index
    bool atMark = false;       // and behind that a mark
    bool noted = false;        // that it may write is in the journal
    bool replaced = false;     // the index was put aside or restored, and is another one
    bool wroteInSave = false;  // since the save began
    int64_t firstWrite = 0;    // under this block; 0 for none
    int64_t lastWrite = 0;
    int64_t attemptAt = 0;
    int64_t blockSince = 0;  // at the earliest
    int64_t blockSeen = 0;   // at the latest
    int64_t blockLet = 0;    // not before
    std::optional<uint32_t> uidBefore;
};
thread_local Watched watched;

std::string_view LeafOf(std::string_view path)
{
    const size_t separator = path.find_last_of("\\/");
    return separator == path.npos ? path : path.substr(separator + 1);
}

std::string IndexBytes()
{
    std::ifstream file(watched.directory / "_index.xml", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool IsWhole(std::string_view bytes)
{
    while (!bytes.empty() && (bytes.back() == '\n' || bytes.back() == '\r')) bytes.remove_suffix(1);
    return HeaderUid(bytes) && (bytes.ends_with(kEnd) || bytes.ends_with(kEmptyEnd));
}

// The index as the writer leaves it. Its block's handle is closed by now, and somebody who waits may have taken the block
// for an orphan and be at the file: that is soon over.
std::string IndexBytesAtRest()
{
    std::string bytes = IndexBytes();
    for (int round = 0; round < 100 && !IsWhole(bytes); ++round) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        bytes = IndexBytes();
    }
    return bytes;
}

// What an attempt at a block fails with when somebody has it.
bool IsRefusal(uint32_t error) { return error == ERROR_FILE_EXISTS || error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION; }

std::string SpanText(int64_t begin, int64_t end) { return std::to_string(begin) + ' ' + std::to_string(end); }

}  // namespace

std::optional<uint32_t> HeaderUid(std::string_view bytes)
{
    if (!bytes.starts_with(kHeader)) return std::nullopt;
    const size_t end = bytes.find('"', kHeader.size());
    if (end == bytes.npos) return std::nullopt;
    const std::string_view digits = bytes.substr(kHeader.size(), end - kHeader.size());
    if (digits.starts_with('x')) return digits.size() == 9 ? std::optional(ParseUnsigned(digits.substr(1), 16)) : std::nullopt;
    return digits.empty() ? std::nullopt : std::optional(ParseUnsigned(digits, digits.starts_with('0') ? 16 : 10));
}

platform::FileVerdict IndexWatch::Before(FileOperation operation, const char* path, uint64_t)
{
    if (!watched.active) return {};
    Resolve();
    const std::string_view leaf = LeafOf(path);
    switch (operation) {
        case FileOperation::Open:
            BeforeOpen(leaf);
            if (watched.attempts && refusesBlocks_) return {.fail = ERROR_FILE_EXISTS};
            break;
        case FileOperation::Write:
        case FileOperation::Resize:
            if (watched.atIndex && !watched.atMark) TakeWrite();
            watched.atMark = false;
            break;
        case FileOperation::Delete:
            BeforeDelete(leaf);
            break;
        case FileOperation::Move:
            BeforeMove(leaf);
            break;
        default:
            break;
    }
    return {};
}

void IndexWatch::BeginDeed(uint32_t thread, uint32_t folder, const fs::path& directory)
{
    watched = {};
    watched.thread = thread;
    watched.folder = folder;
    watched.directory = directory;
    watched.active = true;
    journal_.Write(thread, Deed::Begin, folder);
}

void IndexWatch::EndDeed()
{
    Resolve();
    if (watched.noted) LetGo();
    watched.active = false;
    journal_.Write(watched.thread, Deed::End, watched.folder);
}

void IndexWatch::BeginCall(bool byName)
{
    Resolve();
    watched.refusedOnce = false;
    watched.byName = byName;
}

// Of a call that was not done. One that ends at its attempt was refused: with the block it would have gone on. The system's
// error is not asked for that, since some systems have forgotten it by the end of the call.
bool IndexWatch::WasRefused()
{
    if (watched.attempts) TakeRefusal();
    Resolve();
    return watched.refusedOnce;
}

bool IndexWatch::HasBlock()
{
    Resolve();
    return watched.hasBlock;
}

void IndexWatch::BeginSave()
{
    watched.mayWrite = true;
    watched.wroteInSave = false;
}

bool IndexWatch::EndSave() { return watched.wroteInSave; }

const fs::path& IndexWatch::Directory() { return watched.directory; }

void IndexWatch::BeforeOpen(std::string_view leaf)
{
    // A mark may be set in the middle of a save, while the index is open; it is one write.
    watched.atMark = EqualsNoCase(leaf, "_change.dty");
    if (!watched.atMark) watched.atIndex = EqualsNoCase(leaf, "_index.xml");
    if (watched.atIndex && !watched.atMark) LookAtIndex();
    if (EqualsNoCase(leaf, "_index.blk")) TakeBlock();
    if (EqualsNoCase(leaf, "_change.dty")) watched.mayWrite = true;
}

void IndexWatch::BeforeDelete(std::string_view leaf)
{
    if (EqualsNoCase(leaf, "_index.blk")) DeleteBlock();
    if (EqualsNoCase(leaf, "_change.dty")) TakeMark();
    if (EqualsNoCase(leaf, "_index.xml")) {
        watched.replaced = true;
        TakeWrite();
    }
}

void IndexWatch::BeforeMove(std::string_view leaf)
{
    if (EqualsNoCase(leaf, "_change.dty")) TakeMark();
    if (EqualsNoCase(leaf, "_index.xml.tmp")) {
        watched.replaced = true;
        TakeWrite();
    }
}

void IndexWatch::Resolve()
{
    if (watched.attempts) ResolveAttempt();
    if (watched.deletes) ResolveDelete();
}

void IndexWatch::TakeBlock()
{
    watched.attempts = true;
    watched.attemptAt = TimeNow();
    SetLastError(ERROR_SUCCESS);
}

void IndexWatch::TakeRefusal()
{
    watched.attempts = false;
    watched.refused = watched.refusedOnce = true;
    journal_.Write(watched.thread, Deed::Refused, watched.folder, {}, 0, SpanText(watched.attemptAt, TimeNow()));
}

void IndexWatch::ResolveAttempt()
{
    watched.attempts = watched.refused = false;
    if (IsRefusal(GetLastError())) return TakeRefusal();
    watched.hasBlock = true;
    watched.lettingGo = false;
    watched.blockSince = watched.attemptAt;
    watched.blockSeen = TimeNow();
    watched.replaced = false;
    watched.firstWrite = watched.lastWrite = 0;
    watched.uidBefore.reset();
}

void IndexWatch::DeleteBlock()
{
    if (watched.hasBlock)
        LetGo();
    else if (!watched.lettingGo)
        journal_.Write(watched.thread, Deed::Break, watched.folder);
    watched.deletes = true;
    SetLastError(ERROR_SUCCESS);
}

// Somebody who looks at the file keeps it from being deleted on some systems; then it is tried again.
void IndexWatch::ResolveDelete()
{
    watched.deletes = false;
    if (!watched.lettingGo || IsRefusal(GetLastError())) return;
    watched.lettingGo = false;
    journal_.Write(watched.thread, Deed::Block, watched.folder, {}, 0,
                   SpanText(watched.blockSince, TimeNow()) + ' ' + SpanText(watched.blockSeen, watched.blockLet));
}

// An open may empty the file before the first write of it is seen.
void IndexWatch::LookAtIndex()
{
    if (!watched.hasBlock || !watched.mayWrite || watched.noted) return;
    watched.noted = true;
    watched.uidBefore = HeaderUid(IndexBytes());
    journal_.Write(watched.thread, Deed::WriteBegin, watched.folder);
}

void IndexWatch::TakeWrite()
{
    watched.wroteInSave = true;
    watched.lastWrite = TimeNow();
    if (watched.firstWrite == 0) watched.firstWrite = watched.lastWrite;
    if (!watched.accused) LookAtBlock();
    if (watched.noted) return;
    watched.noted = true;
    journal_.Write(watched.thread, Deed::WriteBegin, watched.folder);
}

// At every write: a block that was lost in the middle is as bad as none.
void IndexWatch::LookAtBlock()
{
    std::error_code none;
    const bool there = watched.hasBlock && fs::exists(watched.directory / "_index.blk", none);
    watched.accused = !there;
    if (there) return;
    if (!watched.hasBlock)
        Fault(std::string("who writes the index holds its block: it was ") + (watched.refused ? "refused" : "not taken"));
    else if (watched.byName)
        journal_.Write(watched.thread, Deed::Stolen, watched.folder);
    else
        Fault("who writes the index holds its block: it is not there");
}

void IndexWatch::LetGo()
{
    watched.lettingGo = watched.hasBlock;
    watched.hasBlock = false;
    watched.blockLet = TimeNow();
    if (watched.noted) {
        const bool wrote = watched.firstWrite != 0;
        const std::string bytes = wrote && !watched.replaced ? IndexBytesAtRest() : "";
        const bool whole = bytes.empty() ? !wrote || watched.replaced : IsWhole(bytes);
        const std::optional<uint32_t> uid = HeaderUid(bytes);
        if (whole && uid && watched.uidBefore && *uid < *watched.uidBefore)
            Fault("LASTUID never falls: " + std::to_string(*watched.uidBefore) + " before a write, " + std::to_string(*uid) + " behind it");
        journal_.Write(watched.thread, Deed::WriteEnd, watched.folder, {}, whole, SpanText(watched.firstWrite, watched.lastWrite));
    }
    watched.noted = false;
    watched.firstWrite = watched.lastWrite = 0;
}

void IndexWatch::TakeMark()
{
    watched.mayWrite = true;
    journal_.Write(watched.thread, Deed::Scan, watched.folder);
}

void IndexWatch::Fault(const std::string& text) { journal_.Write(watched.thread, Deed::Fault, watched.folder, {}, 0, text); }

}  // namespace velmora::torture
