// What the built library lets out, compared with the list and with the headers.
#include <dlfcn.h>
#include <elf.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>
#include <string>

#include "tests/provider/CApi.h"
#include "tests/provider/ProviderFixture.h"

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

template <typename T>
T At(const std::string& bytes, uint64_t offset)
{
    T value{};
    if (offset + sizeof(T) > bytes.size()) throw std::out_of_range("not an ELF file as expected");
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

// The names that a shared library defines for others.
Names DefinedNames(const std::string& file)
{
    const std::string bytes = ReadFileBytes(file);
    const auto header = At<Elf64_Ehdr>(bytes, 0);
    Names names;
    for (unsigned i = 0; i < header.e_shnum; ++i) {
        const auto section = At<Elf64_Shdr>(bytes, header.e_shoff + uint64_t{i} * header.e_shentsize);
        if (section.sh_type != SHT_DYNSYM) continue;
        const auto strings = At<Elf64_Shdr>(bytes, header.e_shoff + uint64_t{section.sh_link} * header.e_shentsize);
        for (uint64_t at = 0; at < section.sh_size; at += section.sh_entsize) {
            const auto symbol = At<Elf64_Sym>(bytes, section.sh_offset + at);
            if (symbol.st_shndx == SHN_UNDEF || ELF64_ST_BIND(symbol.st_info) == STB_LOCAL) continue;
            names.insert(bytes.c_str() + strings.sh_offset + symbol.st_name);
        }
    }
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
    void* const library = dlopen(VELMORA_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto open = reinterpret_cast<decltype(&StoreFolder_Open)>(dlsym(library, "StoreFolder_Open"));
    const auto first = reinterpret_cast<decltype(&StoreFolder_FindFirstItem)>(dlsym(library, "StoreFolder_FindFirstItem"));
    const auto get = reinterpret_cast<decltype(&StoreItem_GetProperty)>(dlsym(library, "StoreItem_GetProperty"));
    const auto free = reinterpret_cast<decltype(&StoreItem_FreeProperty)>(dlsym(library, "StoreItem_FreeProperty"));
    const auto close = reinterpret_cast<decltype(&StoreFolder_Close)>(dlsym(library, "StoreFolder_Close"));
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
    EXPECT_EQ(dlclose(library), 0);
}

}  // namespace
}  // namespace velmora::test
