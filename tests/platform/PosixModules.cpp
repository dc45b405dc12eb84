// Where a Windows module name leads here.
#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

using PosixModules = PlatformTest;

TEST_F(PosixModules, WhatTheLoaderCannotTakeIs126)
{
    MakeFile("libtext.so", "no library");
    for (const std::string& path : {At("TEXT.DLL"), std::string()}) {
        EXPECT_EQ(LoadLibraryA(path.c_str()), nullptr) << path;
        EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND) << path;
    }
}

TEST_F(PosixModules, AFileUnderTheWindowsNameIsNotTheModule)
{
    MakeFile("VLATEST.DLL", "a library of the other side");
    EXPECT_EQ(LoadLibraryA(At("VLATEST.DLL").c_str()), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
}

}  // namespace

}  // namespace velmora::test
