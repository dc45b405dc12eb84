// A folder of a store with "Backup Index" on, and what the tests of backups and recovery write into it.
#ifndef VELMORA_TESTS_PERSISTENCE_RECOVERYFIXTURE_H
#define VELMORA_TESTS_PERSISTENCE_RECOVERYFIXTURE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "locks/FlagFiles.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "tests/index/TestTable.h"
#include "tests/persistence/IndexBytes.h"
#include "tests/support/Captured.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

class Recovery : public testing::Test {
protected:
    Recovery() : folder_(store_.MakeFolder("Inbox"))
    {
        store_.SetNumber("Backup Index", 1);
        store_.Attach();
    }

    std::string Folder() const { return folder_.string(); }
    void Write(const char* name, std::string_view bytes) { WriteFileBytes(folder_ / name, bytes); }
    std::string Read(const char* name) { return ReadFileBytes(folder_ / name); }
    bool Exists(const char* name) { return FileExists(folder_ / name); }
    int32_t Load(int32_t level = 3, uint32_t kind = 0, bool checkDirty = false)
    {
        StreamXMLStoreIndexSerialiser serialiser;
        return DispatchDeserialise(serialiser, table_, Folder(), kind, "po", "box", level, 0, 0,
                                   checkDirty ? NoteDirtyMark(Folder().c_str()) : 0);
    }
    void WriteTwoMessages()
    {
        Write("1.MAI", "Subject: one\r\n\r\n");
        Write("2.MAI", "Subject: two\r\n\r\n");
    }
    // The file itself, whatever any table holds, is whole and has these items.
    void ExpectInFile(const std::string& idsById)
    {
        TestTable fresh;
        StreamXMLStoreIndexSerialiser serialiser;
        EXPECT_EQ(serialiser.Deserialise(fresh, Folder(), 0, "", "", 3, 0, 0), 3);
        EXPECT_EQ(IdsById(fresh), idsById);
    }
    // The index events without the program's name in front.
    std::vector<std::string> Events()
    {
        std::vector<std::string> events;
        for (const std::string& event : log_.Events()) {
            EXPECT_EQ(event.front(), '[');
            events.push_back(event.substr(event.find("] ") + 2));
        }
        return events;
    }
    std::string Malformed(const std::string& fault) { return "Malformed index detected: " + fault + " (" + Folder() + ")\n"; }
    std::string Failed(const std::string& rest) { return "Failed to deserialise index: " + Folder() + rest; }

    TestStore store_;
    std::filesystem::path folder_;
    TestTable table_;
    CapturedLog log_;
};

inline const std::string kGood = IndexFile(9, Element("1.MAI", 4, {{"LABEL", "mine"}}) + Element("gone.MAI", 5));
inline const std::string kOther = IndexFile(9, Element("1.MAI", 4));
inline const std::string kCut = kGood.substr(0, kGood.size() - 20);

}  // namespace velmora::test

#endif
