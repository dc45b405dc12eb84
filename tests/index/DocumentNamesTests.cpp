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

    std::atomic<bool> done = false;
    std::atomic<uint32_t> made = 0;
    std::thread maker([&] {
        // The table of names has a bound.
        while (!done && made < 4000) (void)IndexPropertyTable::LookUp("NAME" + std::to_string(made++));
    });
    while (made == 0) std::this_thread::yield();
    for (int round = 0; round < 40; ++round) EXPECT_EQ(SaveIndex(table, folder.string().c_str(), 0), 1u);
    done = true;
    maker.join();

    EXPECT_GT(made, 1u);
    const std::string bytes = ReadFileBytes(folder / "_index.xml");
    EXPECT_TRUE(
        bytes.starts_with("<BASEELEMENT LASTUID=\"50\"><ELEMENT ID=\"1.MAI\" UID=\"1\"><READ>0</READ><SUBJECT>x</SUBJECT></ELEMENT>"))
        << bytes;
    EXPECT_EQ(bytes.find("NAME"), std::string::npos);
}

}  // namespace
}  // namespace velmora::test
