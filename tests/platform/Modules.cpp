// Companion modules under their names on Windows.
#include <cstring>
#include <filesystem>

#include "tests/platform/PlatformTest.h"
#include "tests/support/Module.h"
#include "tests/support/Wine.h"

namespace velmora::test {

namespace {

class Modules : public PlatformTest {
protected:
    // The module of the tests under another name in the test's directory.
    void SetUp() override
    {
        std::filesystem::copy_file(ModuleFile(VELMORA_TEST_MODULES, "VLABARE.DLL"), ModuleFile(Slashed(Root()), "VLATEST.DLL"));
    }
};

int NumberOf(HMODULE module)
{
    const auto tell = FunctionOf<int (*)()>(module, "TellNumber");
    return tell ? tell() : 0;
}

TEST_F(Modules, ADirectoryAndANameGiveTheLibraryThere)
{
    for (const char* name : {"VLATEST.DLL", "vlatest.dll", "VlaTest"}) {
        const HMODULE module = LoadLibraryA(At(name).c_str());
        ASSERT_NE(module, nullptr) << name << " " << GetLastError();
        EXPECT_EQ(NumberOf(module), 4711);
        EXPECT_EQ(GetProcAddress(module, "NoSuchFunction"), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
        EXPECT_EQ(GetProcAddress(module, reinterpret_cast<LPCSTR>(uintptr_t{17})), nullptr) << "an ordinal";
        EXPECT_TRUE(FreeLibrary(module));
    }
}

TEST_F(Modules, ABareNameIsLookedForWhereTheLoaderLooks)
{
    for (const char* name : {"VLABARE.DLL", "vlabare.dll", "VlaBare"}) {
        const HMODULE module = LoadLibraryA(name);
        ASSERT_NE(module, nullptr) << name << " " << GetLastError();
        EXPECT_EQ(NumberOf(module), 4711);
        EXPECT_TRUE(FreeLibrary(module));
    }
    // A directory is asked for itself, and nowhere else.
    EXPECT_EQ(LoadLibraryA(At("VLABARE.DLL").c_str()), nullptr);
}

TEST_F(Modules, AMissingOneIs126)
{
    for (const std::string& path : {At("VLANONE.DLL"), At("no\\VLATEST.DLL"), std::string("VLA-NO-SUCH-MODULE.DLL")}) {
        EXPECT_EQ(LoadLibraryA(path.c_str()), nullptr) << path;
        EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND) << path;
    }
}

TEST_F(Modules, WhatIsNoModuleOrHasNoNameIsRefused)
{
    MakeFile("TEXT.DLL", "no library");
    MakeFile("libtext.so", "no library");
    EXPECT_EQ(LoadLibraryA(At("TEXT.DLL").c_str()), nullptr);
    EXPECT_EQ(LoadLibraryA(""), nullptr);
    EXPECT_EQ(LoadLibraryA(nullptr), nullptr);
    EXPECT_EQ(ErrorOf(FreeLibrary(nullptr)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(GetProcAddress(nullptr, "cos"), nullptr);
}

TEST_F(Modules, ANullModuleIsThisProgram)
{
    char path[4096];
    const DWORD length = GetModuleFileNameA(nullptr, path, sizeof(path));
    ASSERT_GT(length, 0u);
    EXPECT_EQ(length, std::strlen(path));
    EXPECT_NE(std::string(path).find("tests_platform"), std::string::npos);
    char small[8];
    EXPECT_EQ(GetModuleFileNameA(nullptr, small, sizeof(small)), sizeof(small));
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(std::string(small, 7), std::string(path).substr(0, 7));
    EXPECT_EQ(GetModuleFileNameA(nullptr, nullptr, 0), 0u);
    if (RunsUnderWine()) GTEST_SKIP() << "Wine writes no zero byte behind a path that it cuts";
    EXPECT_EQ(small[7], '\0');
}

TEST_F(Modules, AModuleTellsItsPath)
{
    const HMODULE module = LoadLibraryA(At("VLATEST.DLL").c_str());
    ASSERT_NE(module, nullptr);
    char path[4096];
    EXPECT_GT(GetModuleFileNameA(module, path, sizeof(path)), 0u);
    EXPECT_TRUE(std::filesystem::equivalent(path, ModuleFile(Slashed(Root()), "VLATEST.DLL"))) << path;
    EXPECT_TRUE(FreeLibrary(module));
}

}  // namespace

}  // namespace velmora::test
