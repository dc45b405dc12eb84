// What a delivery agent and a protocol server do to a folder that they do not open.
#include <algorithm>
#include <filesystem>
#include <system_error>

#include "tests/torture/Hand.h"
#include "tests/torture/Letter.h"
#include "velmora/direct.h"

namespace velmora::torture {

namespace fs = std::filesystem;

namespace {

std::string Joined(const std::vector<std::string>& entries)
{
    std::string list;
    for (const std::string& entry : entries) list += (list.empty() ? "" : ",") + entry;
    return list;
}

}  // namespace

bool Hand::CallDirectly(const char* what, const char* session, const MessageFlags& sets, const std::function<DirectAnswer()>& call)
{
    Write(Deed::OpenBegin, {}, 0, session);
    Write(Deed::OpenEnd, {}, 1);
    for (const auto& [name, flags] : sets) Write(Deed::Set, name, 0, flags);
    loaded_.clear();
    BeginSave();
    watch_.BeginCall(std::string_view(session) == kDirectUpdate);
    const DirectAnswer answer = call();
    const bool failedSave = HeardFailure();
    Told(what, answer.told);
    const bool wrote = watch_.EndSave();
    const bool done = answer.told && !failedSave;
    // Whoever has the block is not disturbed, unless by a death.
    if (answer.told && failedSave && plan_.kills == 0) Fault(std::string("a commit under the block succeeds: ") + what + " failed");
    if (done && answer.mustWrite && !wrote) Fault(std::string("a call that succeeds has written the index: ") + what + " has not");
    Write(Deed::SaveEnd, {}, done && wrote);
    if (done && wrote) Write(Deed::Told, std::string(what) + "-written", 1);
    Write(Deed::Close);
    return done;
}

std::vector<std::string> Hand::SomeOf(const std::vector<std::string>& names)
{
    std::vector<std::string> some;
    for (uint32_t count = dice_.OneIn(3) ? 1 + dice_.Below(3) : 1; count > 0; --count) {
        const std::string& name = names[dice_.Below(names.size())];
        if (std::find(some.begin(), some.end(), name) == some.end()) some.push_back(name);
    }
    return some;
}

// The folder is marked by the call itself, if at all.
void Hand::DeliverDirectly()
{
    if (IsFull()) return RemoveDirectly();
    std::vector<std::string> names;
    for (uint32_t count = dice_.OneIn(4) ? 1 + dice_.Below(3) : 1; count > 0; --count) names.push_back(NewName());
    for (const std::string& name : names) {
        Write(Deed::DropBegin, name);
        PutFile(name);
    }
    MessageFlags sets;
    std::vector<std::string> flags;
    if (dice_.OneIn(2))
        for (const std::string& name : names) {
            flags.push_back(NewFlagsSeen(name));
            sets.emplace_back(name, flags.back());
        }
    CallDirectly("insert", kDirectInsert, sets, [&]() -> DirectAnswer {
        const std::string ids = Joined(names);
        const bool told = (flags.empty() ? Direct_StoreIndex_InsertItem(kPostoffice, kMailbox, Name().c_str(), ids.c_str())
                                         : Direct_StoreIndex_InsertItemEx(kPostoffice, kMailbox, Name().c_str(), ids.c_str(),
                                                                          Joined(flags).c_str())) == 1;
        // Somebody may have removed one meanwhile.
        const bool stay = std::all_of(names.begin(), names.end(), [&](const std::string& name) {
            std::error_code none;
            return fs::exists(FolderDirectory(plan_.mailRoot, folder_) / name, none);
        });
        return {told, stay};
    });
    for (const std::string& name : names) Write(Deed::DropEnd, name);
}

// Where orphaned blocks go at once, the block of an update does as well: it is held by its name alone.
void Hand::UpdateDirectly()
{
    if (plan_.unblock != 0) return DeliverDirectly();
    const std::vector<std::string> names = Files();
    if (names.empty()) return;
    const std::string& name = names[dice_.Below(names.size())];
    const bool givesSize = dice_.OneIn(5);
    const std::string flags = NewFlagsSeen(name);
    // Behind the first flag a comma ends each.
    std::string change = flags;
    change.replace(change.rfind(' '), 1, ",");
    if (givesSize) change = "SIZE=" + std::to_string(LetterBytes(name).size());
    CallDirectly("update", kDirectUpdate, givesSize ? MessageFlags() : MessageFlags{{name, flags}}, [&]() -> DirectAnswer {
        return {Direct_StoreIndex_UpdateItem(kPostoffice, kMailbox, Name().c_str(), name.c_str(), change.c_str()) == 1, false};
    });
}

void Hand::RemoveDirectly()
{
    const std::vector<std::string> all = Files();
    if (all.size() < kMostFiles / 2) return;
    const std::vector<std::string> names = SomeOf(all);
    std::vector<std::string> gone;
    for (const std::string& name : names) {
        Write(Deed::RemoveBegin, name, 0, "file");
        std::error_code error;
        if (fs::remove(FolderDirectory(plan_.mailRoot, folder_) / name, error) || !error) gone.push_back(name);
    }
    const bool done = !gone.empty() && CallDirectly("remove", kDirectRemove, {}, [&]() -> DirectAnswer {
        return {Direct_StoreIndex_RemoveItem(kPostoffice, kMailbox, Name().c_str(), Joined(gone).c_str()) == 1, false};
    });
    for (const std::string& name : names) {
        const bool isGone = std::find(gone.begin(), gone.end(), name) != gone.end();
        Write(Deed::RemoveEnd, name, isGone, isGone && done ? kItemToo : "");
    }
}

}  // namespace velmora::torture
