#include "tests/torture/IndexWatch.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>
#include <thread>

#include "common/Text.h"

namespace velmora::torture {

namespace fs = std::filesystem;
using platform::FileOperation;

namespace {

constexpr std::string_view kHeader = "<BASEELEMENT LASTUID=\"x";
constexpr std::string_view kEnd = "</BASEELEMENT>";
constexpr std::string_view kEmptyEnd = "/>";

// What one thread is about, from the beginning of a deed on.
struct Watched {
    uint32_t thread = 0;
    uint32_t folder = 0;
    fs::path directory;
    bool active = false;
    bool hasBlock = false;     // its last step at the block file was to make one, and not to delete it
    bool mayWrite = false;     // it saves, or has seen a mark
    bool atIndex = false;      // the file that it opened last is the index
    bool noted = false;        // that it may write is in the journal
    bool replaced = false;     // the index was put aside or restored, and is another one
    bool wroteInSave = false;  // since the save began
    int64_t firstWrite = 0;    // under this block; 0 for none
    int64_t lastWrite = 0;
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

}  // namespace

std::optional<uint32_t> HeaderUid(std::string_view bytes)
{
    if (!bytes.starts_with(kHeader) || bytes.size() < kHeader.size() + 8) return std::nullopt;
    return ParseUnsigned(bytes.substr(kHeader.size(), 8), 16);
}

platform::FileVerdict IndexWatch::Before(FileOperation operation, const char* path, uint64_t)
{
    if (!watched.active) return {};
    const std::string_view leaf = LeafOf(path);
    switch (operation) {
        case FileOperation::Open:
            BeforeOpen(leaf);
            break;
        case FileOperation::Write:
        case FileOperation::Resize:
            if (watched.atIndex) TakeWrite();
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
    if (watched.noted) LetGo();
    watched = {};
    watched.thread = thread;
    watched.folder = folder;
    watched.directory = directory;
    watched.active = true;
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
    watched.atIndex = EqualsNoCase(leaf, "_index.xml");
    if (watched.atIndex) LookAtIndex();
    if (EqualsNoCase(leaf, "_index.blk")) TakeBlock();
    if (EqualsNoCase(leaf, "_change.dty")) watched.mayWrite = true;
}

void IndexWatch::BeforeDelete(std::string_view leaf)
{
    if (EqualsNoCase(leaf, "_index.blk")) LetGo();
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

void IndexWatch::TakeBlock()
{
    watched.hasBlock = true;
    watched.replaced = false;
    watched.firstWrite = watched.lastWrite = 0;
    watched.uidBefore.reset();
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
    if (watched.firstWrite == 0) {
        watched.firstWrite = watched.lastWrite;
        std::error_code none;
        if (!watched.hasBlock)
            Fault("who writes the index holds its block: it was not taken");
        else if (!fs::exists(watched.directory / "_index.blk", none))
            Fault("who writes the index holds its block: it is not there");
    }
    if (watched.noted) return;
    watched.noted = true;
    journal_.Write(watched.thread, Deed::WriteBegin, watched.folder);
}

void IndexWatch::LetGo()
{
    watched.hasBlock = false;
    if (watched.noted) {
        const bool wrote = watched.firstWrite != 0;
        const std::string bytes = wrote && !watched.replaced ? IndexBytesAtRest() : "";
        const bool whole = bytes.empty() ? !wrote || watched.replaced : IsWhole(bytes);
        const std::optional<uint32_t> uid = HeaderUid(bytes);
        if (whole && uid && watched.uidBefore && *uid < *watched.uidBefore)
            Fault("LASTUID never falls: " + std::to_string(*watched.uidBefore) + " before a write, " + std::to_string(*uid) + " behind it");
        journal_.Write(watched.thread, Deed::WriteEnd, watched.folder, {}, whole,
                       std::to_string(watched.firstWrite) + ' ' + std::to_string(watched.lastWrite));
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
