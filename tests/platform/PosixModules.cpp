// Companion modules: where a Windows module name leads here.
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstring>

#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

class PosixModules : public PlatformTest {
protected:
    // A library under another name in the test's directory: a link to the C library's mathematics.
    void SetUp() override
    {
        void* library = dlopen("libm.so.6", RTLD_NOW);
        ASSERT_NE(library, nullptr);
        link_map* map = nullptr;
        ASSERT_EQ(dlinfo(library, RTLD_DI_LINKMAP, &map), 0);
        library_ = map->l_name;
        dlclose(library);
        std::string link = At("libvlatest.so");
        for (char& c : link) c = c == '\\' ? '/' : c;
        ASSERT_EQ(symlink(library_.c_str(), link.c_str()), 0);
    }
    std::string library_;
};

TEST_F(PosixModules, ADirectoryAndANameGiveTheLibraryThere)
{
    for (const char* name : {"VLATEST.DLL", "vlatest.dll", "VlaTest"}) {
        const HMODULE module = LoadLibraryA(At(name).c_str());
        ASSERT_NE(module, nullptr) << name << " " << GetLastError();
        using Function = double (*)(double);
        const auto cosine = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, "cos")));
        ASSERT_NE(cosine, nullptr);
        EXPECT_EQ(cosine(0.0), 1.0);
        EXPECT_EQ(GetProcAddress(module, "NoSuchFunction"), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
        EXPECT_EQ(GetProcAddress(module, reinterpret_cast<LPCSTR>(uintptr_t{17})), nullptr) << "an ordinal";
        EXPECT_TRUE(FreeLibrary(module));
    }
}

TEST_F(PosixModules, ABareNameIsLookedForWhereTheLoaderLooks)
{
    for (const char* name : {"VLABARE.DLL", "vlabare.dll", "VlaBare"}) {
        const HMODULE module = LoadLibraryA(name);
        ASSERT_NE(module, nullptr) << name << " " << GetLastError();
        using Function = int (*)();
        const auto tell = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, "TellNumber")));
        ASSERT_NE(tell, nullptr);
        EXPECT_EQ(tell(), 4711);
        EXPECT_TRUE(FreeLibrary(module));
    }
    // A directory is asked for itself, and nowhere else.
    EXPECT_EQ(LoadLibraryA(At("VLABARE.DLL").c_str()), nullptr);
}

TEST_F(PosixModules, AMissingOneIs126)
{
    MakeFile("libtext.so", "no library");
    for (const std::string& path :
         {At("VLANONE.DLL"), At("no\\VLATEST.DLL"), At("TEXT.DLL"), std::string("VLA-NO-SUCH-MODULE.DLL"), std::string()}) {
        EXPECT_EQ(LoadLibraryA(path.c_str()), nullptr) << path;
        EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND) << path;
    }
    EXPECT_EQ(LoadLibraryA(nullptr), nullptr);
    EXPECT_EQ(ErrorOf(FreeLibrary(nullptr)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(GetProcAddress(nullptr, "cos"), nullptr);
}

TEST_F(PosixModules, ANullModuleIsThisProgram)
{
    char path[4096];
    const DWORD length = GetModuleFileNameA(nullptr, path, sizeof(path));
    ASSERT_GT(length, 0u);
    EXPECT_EQ(length, std::strlen(path));
    EXPECT_NE(std::string(path).find("tests_platform"), std::string::npos);
    char small[8];
    EXPECT_EQ(GetModuleFileNameA(nullptr, small, sizeof(small)), sizeof(small));
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(std::string(small), std::string(path).substr(0, 7));
    EXPECT_EQ(GetModuleFileNameA(nullptr, nullptr, 0), 0u);
}

TEST_F(PosixModules, AModuleTellsItsPath)
{
    const HMODULE module = LoadLibraryA(At("VLATEST.DLL").c_str());
    ASSERT_NE(module, nullptr);
    char path[4096];
    EXPECT_GT(GetModuleFileNameA(module, path, sizeof(path)), 0u);
    EXPECT_NE(std::string(path).find(".so"), std::string::npos);
    EXPECT_TRUE(FreeLibrary(module));
}

}  // namespace

}  // namespace velmora::test
