// What the tests of direct changes share: one folder, its counts and its index as another process would find them.
#ifndef VELMORA_TESTS_INDEX_DIRECTFIXTURE_H
#define VELMORA_TESTS_INDEX_DIRECTFIXTURE_H

#include <optional>
#include <string>
#include <vector>

#include "index/IndexItem.h"
#include "tests/index/LifeFixture.h"
#include "velmora/direct.h"

namespace velmora::test {

using Counts = std::vector<int32_t>;  // the 13 words of _FOLDER.DAT; none when there is no such file

enum CountWord : size_t {
    kAnsweredWord = 3,
    kFlaggedWord = 4,
    kFirstSeenWord = 5,
    kItemsWord = 6,
    kSeenWord = 7,
    kRecentWord = 8,
    kNewWord = 9,
    kAddedWord = 10,
    kLastUidWord = 11
};

class Direct : public Life {
protected:
    void SetUp() override
    {
        inbox = store.MakeFolder("INBOX");
        Attach();
    }

    static uint64_t Insert(const std::string& ids) { return Direct_StoreIndex_InsertItem("po", "box", "INBOX", ids.c_str()); }
    static uint64_t InsertEx(const std::string& ids, const std::string& flags)
    {
        return Direct_StoreIndex_InsertItemEx("po", "box", "INBOX", ids.c_str(), flags.c_str());
    }
    static uint64_t Update(const std::string& ids, const char* change)
    {
        return Direct_StoreIndex_UpdateItem("po", "box", "INBOX", ids.c_str(), change);
    }
    static uint64_t Remove(const std::string& ids) { return Direct_StoreIndex_RemoveItem("po", "box", "INBOX", ids.c_str()); }

    // Two items, the first one seen; the index is an hour old, so that every write to it shows.
    void PutTwoItems()
    {
        PutIndex(inbox, 2,
                 Element("1.MAI", 1, "<FLAGSTATUS>\\SEEN</FLAGSTATUS><READ>1</READ><SIZE>2048</SIZE>") +
                     Element("2.MAI", 2, "<FLAGSTATUS>\\RECENT</FLAGSTATUS><READ>0</READ><SIZE>4000</SIZE>"));
        Age(inbox / "_index.xml");
    }

    static Counts CountsIn(const fs::path& file)
    {
        Counts words;
        if (!FileExists(file)) return words;
        const std::string bytes = ReadFileBytes(file);
        for (size_t at = 0; at + 4 <= bytes.size(); at += 4) {
            uint32_t word = 0;
            for (size_t byte = 4; byte > 0; --byte) word = word << 8 | static_cast<unsigned char>(bytes[at + byte - 1]);
            words.push_back(static_cast<int32_t>(word));
        }
        return words;
    }
    Counts FolderCounts() const { return CountsIn(inbox / "_FOLDER.DAT"); }
    static void PutCounts(const fs::path& file, const Counts& words)
    {
        std::string bytes;
        for (const int32_t word : words)
            for (int shift = 0; shift < 32; shift += 8)
                bytes += static_cast<char>(static_cast<unsigned char>(static_cast<uint32_t>(word) >> shift));
        WriteFileBytes(file, bytes);
    }
    void PutCounts(const Counts& words) const { PutCounts(inbox / "_FOLDER.DAT", words); }

    std::string IndexBytes() const { return ReadFileBytes(inbox / "_index.xml"); }
    // The items of the index file, as a fresh load has them.
    std::vector<std::string> Ids(const char* folder = "INBOX", uint32_t kind = 0) const
    {
        std::vector<std::string> ids;
        HostRecord record(folder, kind);
        EXPECT_EQ(StoreIndex_Open(&record, 5), 1u);
        std::vector<IndexItemPropertyContainer*> items;
        ListByUID(record->Table, items);
        for (const IndexItemPropertyContainer* const item : items) ids.emplace_back(item->Id());
        return ids;
    }
    std::string Column(const std::string& id, const char* name, const char* folder = "INBOX") const
    {
        HostRecord record(folder);
        EXPECT_EQ(StoreIndex_Open(&record, 5), 1u);
        std::string value = "none";
        if (const IndexItemPropertyContainer* const item = record.Item(id))
            item->GetText(name, value);
        else
            ADD_FAILURE() << "no item " << id;
        return value;
    }

    bool IsMarked() const { return FileExists(inbox / "_CHANGE.DTY"); }
    // Neither a block nor a mark stays behind.
    void ExpectTidy() const
    {
        EXPECT_FALSE(IsMarked());
        EXPECT_FALSE(FileExists(inbox / "_index.blk"));
        EXPECT_FALSE(FileExists(inbox / "_groups.blk"));
    }
    // Somebody else holds the folder, as another process would.
    class HeldFolder {
    public:
        explicit HeldFolder(const fs::path& folder, const char* name = "_index.blk")
            : handle_(CreateFileA((folder / name).string().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr)),
              path_((folder / name).string())
        {
            EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
        }
        ~HeldFolder()
        {
            CloseHandle(handle_);
            DeleteFileA(path_.c_str());
        }
        HeldFolder(const HeldFolder&) = delete;
        HeldFolder& operator=(const HeldFolder&) = delete;

    private:
        HANDLE handle_;
        std::string path_;
    };

    fs::path inbox;
};

}  // namespace velmora::test

#endif
