// What the tests of adding, removing, renaming and copying folders share.
#ifndef VELMORA_TESTS_FOLDERS_FOLDEROPERATIONS_H
#define VELMORA_TESTS_FOLDERS_FOLDEROPERATIONS_H

#include "tests/folders/FolderFiles.h"

namespace velmora::test {

inline constexpr const char* kPublicNames[] = {"Public", "/Public", "\\Public", "pUBLIC"};

class FolderOperations : public FolderFiles {
protected:
    static uint64_t Add(StoreFolderRecord record) { return StoreFolderAdd(&record); }
    static uint64_t Remove(StoreFolderRecord record) { return StoreFolderRemove(&record); }
    static uint64_t Edit(StoreFolderRecord from, StoreFolderRecord to) { return StoreFolderEdit(&from, &to); }
    static uint64_t Copy(StoreFolderRecord from, StoreFolderRecord to) { return StoreFolderCopy(&from, &to); }

    // Records whose names would lead out of their folder, and none of them by its FolderName.
    static std::vector<StoreFolderRecord> ClimbingPaths()
    {
        std::vector<StoreFolderRecord> records{Record("/..", "other"),
                                               Record("/a/../..", "other"),
                                               Record("\\..\\..\\..\\.."),
                                               Record("$FILEROOT/../..", "MAILROOT"),
                                               Record("/../other", "INBOX"),
                                               Record("/a/.."),
                                               Record("/."),
                                               Record("/ ", "a"),
                                               Record("Public/../MAILROOT")};
        for (const char* mailbox : {"..", ".", "..\\MAILROOT\\other", "other/../other"}) {
            records.push_back(Record("/"));
            CopyBounded(records.back().Mailbox, mailbox);
        }
        for (const char* postoffice : {"..", "..\\po", "."}) {
            records.push_back(Record("/", "a"));
            CopyBounded(records.back().Postoffice, postoffice);
        }
        return records;
    }

    // Every name below the mail root, with what is in the files.
    std::vector<std::string> Everything() const
    {
        std::vector<std::string> all;
        for (const auto& entry : fs::recursive_directory_iterator(store.MailRoot()))
            all.push_back(entry.path().generic_string() + (entry.is_directory() ? "/" : "=" + ReadFileBytes(entry.path())));
        std::sort(all.begin(), all.end());
        return all;
    }
};

class FolderAdd : public FolderOperations {};
class FolderRemove : public FolderOperations {};
class FolderEdit : public FolderOperations {};
class FolderCopy : public FolderOperations {};

}  // namespace velmora::test

#endif
