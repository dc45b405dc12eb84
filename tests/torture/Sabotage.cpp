// Faults that a worker commits on purpose, without a word in its journal: each is one that the oracle has to find.
#include <filesystem>

#include "index/IndexItem.h"
#include "tests/support/TestStore.h"
#include "tests/torture/Hand.h"
#include "velmora/locks.h"

namespace velmora::torture {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kElement = "<ELEMENT ID=\"";
constexpr std::string_view kElementEnd = "</ELEMENT>";

// The part of the text between two markers, from `from` on.
struct Span {
    size_t begin = 0;
    size_t size = 0;
};

bool Find(const std::string& text, size_t from, std::string_view before, std::string_view behind, Span& span)
{
    const size_t found = text.find(before, from);
    if (found == std::string::npos) return false;
    span.begin = found + before.size();
    const size_t end = text.find(behind, span.begin);
    span.size = end - span.begin;
    return end != std::string::npos;
}

// Changes an index file with its block held.
void ChangeIndex(const fs::path& folder, bool (*change)(std::string& bytes))
{
    const std::string block = folder.string() + "\\_index.blk";
    void* handle = nullptr;
    if (WaitForAccessToIndexFileEx(block.c_str(), 1, &handle) != 1) return;
    std::string bytes = fs::exists(folder / "_index.xml") ? test::ReadFileBytes(folder / "_index.xml") : "";
    if (change(bytes)) test::WriteFileBytes(folder / "_index.xml", bytes);
    UnBlockIndexFileAccessEx(block.c_str(), 1, &handle);
}

// The UIDs of two messages change places, and the messages with them.
bool ExchangeUids(std::string& bytes)
{
    Span first, second;
    size_t from = 0;
    while (Find(bytes, from, kElement, kElementEnd, first) && Find(bytes, first.begin, kElement, kElementEnd, second)) {
        from = first.begin;
        const std::string one = bytes.substr(first.begin, first.size);
        const std::string other = bytes.substr(second.begin, second.size);
        Span oneUid, otherUid;
        if (one[0] == '-' || other[0] == '-' || !Find(one, 0, "UID=\"", "\"", oneUid) || !Find(other, 0, "UID=\"", "\"", otherUid))
            continue;
        std::string newOne = one, newOther = other;
        newOne.replace(oneUid.begin, oneUid.size, other, otherUid.begin, otherUid.size);
        newOther.replace(otherUid.begin, otherUid.size, one, oneUid.begin, oneUid.size);
        bytes.replace(second.begin, second.size, newOne);
        bytes.replace(first.begin, first.size, newOther);
        return true;
    }
    return false;
}

// A subject is written over itself, one byte off.
bool TearSubject(std::string& bytes)
{
    Span subject;
    size_t from = 0;
    while (Find(bytes, from, "<SUBJECT>letter ", "</SUBJECT>", subject)) {
        from = subject.begin;
        if (bytes.rfind("<ELEMENT ID=\"-", from) == bytes.rfind(kElement, from)) continue;
        bytes.replace(subject.begin + 1, 8, bytes.substr(subject.begin, 8));
        return true;
    }
    return false;
}

}  // namespace

void Hand::Sabotage()
{
    static constexpr struct {
        const char* name;
        void (Hand::*deed)();
    } kFaults[] = {
        {"lose-file", &Hand::LoseFile},
        {"duplicate-uid", &Hand::DuplicateUid},
        {"tear-element", &Hand::TearElement},
        {"forget-flag", &Hand::ForgetFlag},
    };
    if (plan_.sabotage.empty() || thread_ != 0 || plan_.process != 1) return;
    for (const auto& fault : kFaults)
        if (fault.name == plan_.sabotage) (this->*fault.deed)();
}

void Hand::LoseFile()
{
    const std::vector<std::string> names = Files();
    if (!names.empty()) fs::remove(FolderDirectory(plan_.mailRoot, folder_) / names.front());
}

void Hand::DuplicateUid() { ChangeIndex(FolderDirectory(plan_.mailRoot, folder_), ExchangeUids); }

void Hand::TearElement() { ChangeIndex(FolderDirectory(plan_.mailRoot, folder_), TearSubject); }

// A success of which nothing is true.
void Hand::ForgetFlag()
{
    Write(Deed::OpenBegin);
    Write(Deed::OpenEnd, {}, 1);
    for (const std::string& name : Files()) Write(Deed::Set, name, 0, NewFlags());
    Write(Deed::SaveBegin);
    Write(Deed::SaveEnd, {}, 1);
    Write(Deed::Close);
}

}  // namespace velmora::torture
