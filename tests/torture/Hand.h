// One thread of a worker: it does one thing after another to the store, and writes down what it began and what it was told.
#ifndef VELMORA_TESTS_TORTURE_HAND_H
#define VELMORA_TESTS_TORTURE_HAND_H

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/index/Dice.h"
#include "tests/torture/IndexWatch.h"
#include "tests/torture/Journal.h"
#include "tests/torture/Plan.h"
#include "velmora/index_records.h"

namespace velmora::torture {

class Hand {
public:
    Hand(const Plan& plan, uint32_t thread, Journal& journal, IndexWatch& watch);

    // One deed of the mix, from its beginning to its end: nothing is open or held between two of them.
    void DoSomething();

private:
    // The deeds. Each works on `folder_`.
    void WorkInOpenFolder();
    void WorkOnRecord();
    void Drop();
    void DeliverInTransaction();
    void RemoveInTransaction();
    void DeliverDirectly();
    void UpdateDirectly();
    void RemoveDirectly();
    void RemoveFile();
    void Rescan();
    void Mark();
    void ReadCounts();
    void HoldBlock();
    void HoldByName();
    void BreakBlock();

    // Faults on purpose; see Sabotage.cpp.
    void Sabotage();
    void LoseFile();
    void DuplicateUid();
    void TearElement();
    void ForgetFlag();
    void SaveWithoutBlock();
    void LeaveBlock();
    void InEveryFolder(void (Hand::*deed)());
    void ResetRead();
    void ResetReadInFolder();
    void LowerLastUid();
    void MakeUpFlag();
    void ListGhost();
    void CutIndex();
    void WriteWhenRefused();
    void HoldTwice();
    void RefuseOpen();
    void ForgetDelivery();
    void ForgetDeliveryInFolder();
    void ForgetUpdate();
    void ForgetRemoval();
    void ForgetFlagsOf(const std::string& session);

    void Write(Deed deed, const std::string& id = {}, uint32_t number = 0, const std::string& text = {});
    void Fault(const std::string& text) { Write(Deed::Fault, {}, 0, text); }
    // Whether something was done; without it, and with nobody dying, the block must have been refused.
    void Told(const char* what, bool done);
    // What the library's log said on this thread since the last call goes into the journal; true when a save failed.
    bool HeardFailure();
    void Pause(uint32_t mostMs);

    // A direct call with all that is written down of it. `sets`: the flags that it gives, by message. `call` makes it, and
    // gives what it was told and whether it has to have written the index if that is true.
    struct DirectAnswer {
        bool told = false;
        bool mustWrite = false;
    };
    using MessageFlags = std::vector<std::pair<std::string, std::string>>;
    // Whether it was told to have been done, and has.
    bool CallDirectly(const char* what, const char* session, const MessageFlags& sets, const std::function<DirectAnswer()>& call);
    // At most three.
    std::vector<std::string> SomeOf(const std::vector<std::string>& names);

    std::vector<std::string> WalkOpenFolder();
    // How many were set.
    size_t SetFlagsInOpenFolder(const std::vector<std::string>& names);
    void SaveOpenFolder(size_t changes);
    void BeginSave();
    // `changes`: how many the save has to write, if it succeeds.
    void EndSave(bool told, size_t changes);
    bool OpenRecord(STOREINDEXTYPE& record, uint32_t mode);
    std::vector<std::string> WalkRecord(STOREINDEXTYPE& record);
    void CheckSubject(const std::string& name, const std::string& subject);
    void CheckFlags(const std::string& name, const std::string& flags);
    bool BeginTransaction(STOREINDEXTYPE& record, int32_t level);
    bool EndTransaction(STOREINDEXTYPE& record);
    void BeginHold();
    bool TakeBlock(uint32_t keepHandle, void*& handle);
    // The message files of the folder.
    std::vector<std::string> Files();
    bool IsFull() { return Files().size() >= kMostFiles; }
    std::string NewFlags(const std::string& name);
    std::string NewFlagsSeen(const std::string& name);
    std::string NewName();
    void PutFile(const std::string& name);
    void MarkChanged();
    // Whether this process is a delivery agent.
    bool Delivers() const { return plan_.process % 2 == 0; }
    // Whether the threads of this process share what they open.
    bool SharesFolders() const { return plan_.process % 4 == 3; }
    std::string Path() const { return FolderDirectory(plan_.mailRoot, folder_).string(); }
    std::string BlockPath() const { return Path() + "\\_index.blk"; }
    std::string Name() const { return FolderName(folder_); }

    static constexpr size_t kMostFiles = 40;

    const Plan& plan_;
    const uint32_t thread_;
    Journal& journal_;
    IndexWatch& watch_;
    test::Dice dice_;
    uint32_t folder_ = 0;
    uint32_t letters_ = 0;
    uint32_t flags_ = 0;
    uint32_t deeds_ = 0;
    void* transaction_ = nullptr;
    std::map<std::string, std::string> loaded_;        // flags by message, as the last walk has found them; see FlagsMark
    std::set<std::pair<std::string, uint32_t>> seen_;  // what is in the journal already
};

// Puts the library's log into the hands of the threads. Once, before the first of them.
void ListenToTheLibrary();

}  // namespace velmora::torture

#endif
