// What the built library lets out, compared with the list and with the headers.
#include <algorithm>
#include <fstream>
#include <set>
#include <string>

#include "tests/provider/CApi.h"
#include "tests/provider/DefinedNames.h"
#include "tests/provider/ProviderFixture.h"
#include "tests/support/Module.h"

namespace velmora::test {
namespace {

using Names = std::set<std::string>;

Names ListedNames()
{
    Names names;
    std::ifstream file(VELMORA_EXPORTS_FILE);
    for (std::string line; std::getline(file, line);)
        if (!line.empty() && line[0] != '#') names.insert(line);
    return names;
}

TEST(Exports, TheLibraryLetsOutExactlyTheListedNames)
{
    const Names listed = ListedNames();
    ASSERT_FALSE(listed.empty());
    EXPECT_EQ(DefinedNames(VELMORA_LIBRARY_FILE), listed);
}

TEST(Exports, TheListIsSortedAndEachNameStandsOnce)
{
    std::vector<std::string> lines;
    std::ifstream file(VELMORA_EXPORTS_FILE);
    for (std::string line; std::getline(file, line);)
        if (!line.empty() && line[0] != '#') lines.push_back(line);
    EXPECT_TRUE(std::is_sorted(lines.begin(), lines.end()));
    EXPECT_EQ(std::adjacent_find(lines.begin(), lines.end()), lines.end());
}

TEST(Exports, TheHeadersDeclareEveryListedNameForC)
{
    Names declared;
    for (size_t i = 0; i < kCApiCount; ++i) {
        EXPECT_NE(kCApi[i].function, nullptr);
        declared.insert(kCApi[i].name);
    }
    EXPECT_EQ(declared, ListedNames());
}

using CHost = Provider;

TEST_F(CHost, ListsAFolder)
{
    char subject[64];
    EXPECT_EQ(ListFolderInC("po", "box", "INBOX", subject, sizeof(subject)), 3u);
    EXPECT_STREQ(subject, "one");
    EXPECT_TRUE(BeginsIdle());
}

// The library as a host loads it at run time, in place of the rooms that this test is linked with.
TEST(LoadedLibrary, AttachesItselfAndAnswers)
{
    TestStore store;
    WriteFileBytes(store.MakeFolder("INBOX") / "1.MAI", "Subject: loaded\r\n\r\nbody\r\n");
    const HMODULE library = LoadLibraryA(VELMORA_LIBRARY_MODULE);
    ASSERT_NE(library, nullptr) << "error " << GetLastError();
    const auto open = FunctionOf<decltype(&StoreFolder_Open)>(library, "StoreFolder_Open");
    const auto first = FunctionOf<decltype(&StoreFolder_FindFirstItem)>(library, "StoreFolder_FindFirstItem");
    const auto get = FunctionOf<decltype(&StoreItem_GetProperty)>(library, "StoreItem_GetProperty");
    const auto free = FunctionOf<decltype(&StoreItem_FreeProperty)>(library, "StoreItem_FreeProperty");
    const auto close = FunctionOf<decltype(&StoreFolder_Close)>(library, "StoreFolder_Close");
    ASSERT_TRUE(open && first && get && free && close);

    std::thread([&] {
        ASSERT_EQ(open("po", "box", "INBOX", 0, 0), 1u);
        ASSERT_EQ(first(), 1u);
        void* value = nullptr;
        uint64_t size = 0;
        ASSERT_NE(get("PR_SUBJECT", &value, &size), VELMORA_NO_PROPERTY);
        EXPECT_STREQ(static_cast<const char*>(value), "loaded");
        free(value);
        EXPECT_EQ(close(), 1u);
    }).join();
    EXPECT_TRUE(FreeLibrary(library));
}

}  // namespace
}  // namespace velmora::test
