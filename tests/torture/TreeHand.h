// One thread of a worker that works on the tree of folders and not in one of them: it adds, renames, copies, removes, lists,
// opens, delivers and sizes, and writes down what it was told.
//
// A call that changes the tree is a Begin and an End in the journal: the id says what it is, the text is the path, or for a
// rename and a copy the two paths with "|" between them, and the End's number what was told. A listing is written down in the
// same way, since a death in it may leave half a list. A message in a kept folder, or in one of the thread's own, is a
// DropBegin and a DropEnd with the folder's path for a text.
#ifndef VELMORA_TESTS_TORTURE_TREEHAND_H
#define VELMORA_TESTS_TORTURE_TREEHAND_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/index/Dice.h"
#include "tests/torture/Journal.h"
#include "tests/torture/Plan.h"
#include "velmora/folders.h"

namespace velmora::torture {

inline constexpr char kAdd[] = "add", kRename[] = "rename", kCopy[] = "copy", kRemove[] = "remove-folder";
inline constexpr char kList[] = "list", kReindex[] = "reindex", kSize[] = "size";

class TreeHand {
public:
    TreeHand(const Plan& plan, uint32_t thread, Journal& journal);

    // One deed of the mix, from its beginning to its end: nothing is open between two of them.
    void DoSomething();

private:
    void Add();
    void Remove();
    void Rename();
    void Copy();
    void List();
    void ListEverything();
    void Open();
    void Deliver();
    void Size();
    void Reindex();
    void Look();
    // A folder of its own: made, filled, renamed, copied, listed and sometimes removed. Nobody stands in the way of that.
    void Carry();
    void Sabotage();

    void Write(Deed deed, const std::string& id, uint32_t number = 0, const std::string& text = {})
    {
        journal_.Write(thread_, deed, 0, id, number, text);
    }
    void Fault(const std::string& rule, const std::string& evidence) { Write(Deed::Fault, {}, 0, rule + ": " + evidence); }
    // Makes the call between a Begin and an End. Whether it was told to have been done.
    bool Call(const char* what, const std::string& paths, const std::function<uint64_t()>& call);
    bool AddFolder(const std::string& path);
    bool RenameFolder(const std::string& from, const std::string& to);
    bool CopyFolder(const std::string& from, const std::string& to);
    bool RemoveFolder(const std::string& path);
    // The names that an enumeration gives; nothing when it gives none.
    std::vector<std::string> Walk(const std::string& path, TLSFolderList* list);
    // The letter's name when it is there and the call was told to be done.
    std::string Put(const std::string& path, bool told);
    void DeliverTo(const std::string& path);
    void CheckOwn(const std::string& path, const std::string& letter, const char* behind);

    // A folder that stays, or one that may or may not be there.
    std::string AnyFolder();
    std::string AnyKept();
    // Below a kept folder, or somewhere in the free ones.
    std::string AnyFree();
    bool IsTooLarge();
    void Pause(uint32_t mostMs);
    StoreFolderRecord Spelled(StoreFolderRecord record);

    const Plan& plan_;
    const uint32_t thread_;
    Journal& journal_;
    test::Dice dice_;
    uint32_t letters_ = 0;
    uint32_t folders_ = 0;
    uint32_t deeds_ = 0;
    uint32_t hidings_ = 0;
};

}  // namespace velmora::torture

#endif
