// Saves as documents beside threads that make new names of columns.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "index/IndexPersistence.h"
#include "tests/index/TestTable.h"
#include "tests/support/TestStore.h"

namespace velmora::test {
namespace {

TEST(DocumentNames, ThatAnotherThreadMakesDisturbNoSave)
{
    TestStore store;
    store.RemoveSetting("Use XML Stream Index Deserialisation");
    store.RemoveSetting("Use XML Stream Index Serialisation");
    store.Attach();
    const std::filesystem::path folder = store.MakeFolder("Inbox");
    TestTable table;
    for (uint32_t number = 1; number <= 50; ++number) Add(table, std::to_string(number) + ".MAI")->SetText("SUBJECT", "x");

    // The table of names has a bound.
    constexpr uint32_t kRounds = 40;
    constexpr uint32_t kNamesOfARound = 20;
    std::atomic<uint32_t> round = 0;
    std::thread maker([&] {
        for (uint32_t made = 0; made < kRounds * kNamesOfARound;) {
            if (made < (round + 1) * kNamesOfARound)
                (void)IndexPropertyTable::LookUp("NAME" + std::to_string(made++));
            else
                std::this_thread::yield();
        }
    });
    for (; round < kRounds; ++round) EXPECT_EQ(SaveIndex(table, folder.string().c_str(), 0), 1u);
    maker.join();
    EXPECT_GE(IndexPropertyTable::Find("NAME" + std::to_string(kRounds * kNamesOfARound - 1)).Slot, 0);

    const std::string bytes = ReadFileBytes(folder / "_index.xml");
    EXPECT_TRUE(
        bytes.starts_with("<BASEELEMENT LASTUID=\"50\"><ELEMENT ID=\"1.MAI\" UID=\"1\"><READ>0</READ><SUBJECT>x</SUBJECT></ELEMENT>"))
        << bytes;
    EXPECT_EQ(bytes.find("NAME"), std::string::npos);
}

}  // namespace
}  // namespace velmora::test
