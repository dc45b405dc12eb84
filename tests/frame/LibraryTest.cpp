// What loading the library does to the process: settings, companions, slots and mutexes.
#include "velmora/library.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "common/Mutex.h"
#include "frame/Attach.h"
#include "frame/ProcessState.h"
#include "platform/win32.h"
#include "tests/support/Captured.h"
#include "tests/support/Module.h"
#include "tests/support/TestStore.h"

namespace velmora {
namespace {

constexpr char kMapiServiceKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Services\\MAPI";

class LibraryInit : public testing::Test {
protected:
    LibraryInit()
    {
        // What an earlier test of this process has loaded.
        Process().OptionsModule = nullptr;
        Process().PostofficeModule = nullptr;
        store_.RemoveSetting("Mail Root");
    }
    ~LibraryInit() override { StoreLibrary_UnInit(); }
    std::string MailRoot()
    {
        EXPECT_EQ(StoreLibrary_Init(), 1u);
        return Process().MailRoot;
    }
    test::TestStore store_;
};

TEST_F(LibraryInit, MailRootIsTheFirstOfThreeSettings)
{
    store_.SetText("Data Directory", "C:\\data");
    EXPECT_EQ(MailRoot(), "C:\\data\\POSTOFFICES");
    store_.SetText("Mail Root", "C:\\root");
    EXPECT_EQ(MailRoot(), "C:\\root");
    store_.SetText("Mail Root Directory", "C:\\mapi", kMapiServiceKey);
    EXPECT_EQ(MailRoot(), "C:\\mapi");
}

TEST_F(LibraryInit, MailRootWithNothingStoredIsTheTextFromAnEmptyOne) { EXPECT_EQ(MailRoot(), "\\POSTOFFICES"); }

TEST_F(LibraryInit, AStoredEmptyMailRootStandsBeforeTheNextSetting)
{
    store_.SetText("Mail Root Directory", "", kMapiServiceKey);
    store_.SetText("Mail Root", "C:\\root");
    EXPECT_EQ(MailRoot(), "");
}

TEST_F(LibraryInit, LegacyMailRootIsACopy)
{
    store_.SetText("Mail Root", "C:\\root");
    EXPECT_EQ(MailRoot(), "C:\\root");
    EXPECT_STREQ(Process().LegacyMailRoot, "C:\\root");
}

TEST_F(LibraryInit, WordsAreZeroOrEmptyWhenNothingIsStored)
{
    ASSERT_EQ(StoreLibrary_Init(), 1u);
    EXPECT_EQ(Process().StoreEventNotificationMode, 0u);
    EXPECT_EQ(Process().MailboxSizeCalcMode, 0u);
    EXPECT_EQ(Process().AllowCustomPostofficePaths, 0u);
    EXPECT_STREQ(Process().BadMailDirectory, "");
}

TEST_F(LibraryInit, WordsTakeWhatIsStoredAndFallBackWhenItGoes)
{
    store_.SetNumber("Store Event Notification Mode", 4);
    store_.SetNumber("Mailbox Size Calc Mode", 2);
    store_.SetNumber("Allow Custom Postoffice Paths", 1);
    store_.SetText("Bad Mail Directory", "C:\\bad");
    ASSERT_EQ(StoreLibrary_Init(), 1u);
    EXPECT_EQ(Process().StoreEventNotificationMode, 4u);
    EXPECT_EQ(Process().MailboxSizeCalcMode, 2u);
    EXPECT_EQ(Process().AllowCustomPostofficePaths, 1u);
    EXPECT_STREQ(Process().BadMailDirectory, "C:\\bad");
    for (const char* name :
         {"Store Event Notification Mode", "Mailbox Size Calc Mode", "Allow Custom Postoffice Paths", "Bad Mail Directory"})
        store_.RemoveSetting(name);
    ASSERT_EQ(StoreLibrary_Init(), 1u);
    EXPECT_EQ(Process().StoreEventNotificationMode, 0u);
    EXPECT_EQ(Process().MailboxSizeCalcMode, 0u);
    EXPECT_EQ(Process().AllowCustomPostofficePaths, 0u);
    EXPECT_STREQ(Process().BadMailDirectory, "");
}

TEST_F(LibraryInit, MakesThreeSlotsAndTwoMutexes)
{
    ASSERT_EQ(StoreLibrary_Init(), 1u);
    const ProcessState& process = Process();
    EXPECT_NE(process.TLSListPositionSlot, kNoTlsSlot);
    EXPECT_NE(process.TLSFolderContextSlot, kNoTlsSlot);
    EXPECT_NE(process.TLSFolderListSlot, kNoTlsSlot);
    EXPECT_NE(process.TLSListPositionSlot, process.TLSFolderContextSlot);
    EXPECT_NE(process.TLSFolderContextSlot, process.TLSFolderListSlot);
    EXPECT_TRUE(MutexLock(process.IndexOpenMutex, 0).Held());
    EXPECT_TRUE(MutexLock(process.SharedIndexRegistryMutex, 0).Held());
    EXPECT_NE(process.IndexOpenMutex, process.SharedIndexRegistryMutex);
}

TEST_F(LibraryInit, ASecondInitKeepsSlotsAndMutexes)
{
    ASSERT_EQ(StoreLibrary_Init(), 1u);
    const ProcessState before = Process();
    ASSERT_EQ(StoreLibrary_Init(), 1u);
    EXPECT_EQ(Process().TLSListPositionSlot, before.TLSListPositionSlot);
    EXPECT_EQ(Process().TLSFolderContextSlot, before.TLSFolderContextSlot);
    EXPECT_EQ(Process().TLSFolderListSlot, before.TLSFolderListSlot);
    EXPECT_EQ(Process().IndexOpenMutex, before.IndexOpenMutex);
    EXPECT_EQ(Process().SharedIndexRegistryMutex, before.SharedIndexRegistryMutex);
}

TEST_F(LibraryInit, UnInitGivesBackTheListSlotAndTheOpenMutexAlone)
{
    ASSERT_EQ(StoreLibrary_Init(), 1u);
    const ProcessState before = Process();
    EXPECT_EQ(StoreLibrary_UnInit(), 1u);
    EXPECT_EQ(Process().TLSListPositionSlot, kNoTlsSlot);
    EXPECT_EQ(TlsFree(before.TLSListPositionSlot), FALSE);
    EXPECT_EQ(Process().IndexOpenMutex, nullptr);
    EXPECT_EQ(Process().TLSFolderContextSlot, before.TLSFolderContextSlot);
    EXPECT_EQ(Process().TLSFolderListSlot, before.TLSFolderListSlot);
    EXPECT_EQ(Process().SharedIndexRegistryMutex, before.SharedIndexRegistryMutex);
    EXPECT_TRUE(MutexLock(before.SharedIndexRegistryMutex, 0).Held());
    EXPECT_EQ(StoreLibrary_UnInit(), 1u);
}

TEST_F(LibraryInit, WithoutAFreeSlotInitAndLoadFail)
{
    ASSERT_EQ(StoreLibrary_Init(), 1u);
    ASSERT_EQ(StoreLibrary_UnInit(), 1u);
    std::vector<DWORD> taken;
    for (DWORD slot = TlsAlloc(); slot != TLS_OUT_OF_INDEXES; slot = TlsAlloc()) taken.push_back(slot);
    EXPECT_EQ(StoreLibrary_Init(), 0u);
    EXPECT_FALSE(ProcessAttach());
    for (const DWORD slot : taken) TlsFree(slot);
    EXPECT_EQ(StoreLibrary_Init(), 1u);
}

TEST_F(LibraryInit, WithoutCompanionsTheLibraryLoadsAndSaysSo)
{
    bool loaded = false;
    EXPECT_EQ(test::CaptureStdout([&] { loaded = ProcessAttach(); }), "Unable to Load Postoffice Configuration Provider\n");
    EXPECT_TRUE(loaded);
    EXPECT_EQ(Process().OptionsModule, nullptr);
    EXPECT_EQ(Process().PostofficeModule, nullptr);
}

TEST_F(LibraryInit, CompanionsAreFoundInTheSixtyFourBitSibling)
{
    store_.SetText("Application Directory", VELMORA_TEST_MODULES "/sized");
    EXPECT_EQ(test::CaptureStdout([] { ProcessAttach(); }), "Loaded Postoffice Configuration Provider (VLAIPO.DLL)\n");
    EXPECT_NE(Process().OptionsModule, nullptr);
    EXPECT_NE(Process().PostofficeModule, nullptr);
}

TEST_F(LibraryInit, ACompanionThatIsLoadedIsNotLoadedAgainAndStaysBehindUnload)
{
    store_.SetText("Application Directory", VELMORA_TEST_MODULES "/sized");
    test::CaptureStdout([] { ProcessAttach(); });
    const ProcessState before = Process();
    EXPECT_EQ(test::CaptureStdout([] { ProcessAttach(); }), "");
    ProcessDetach();
    EXPECT_EQ(Process().OptionsModule, before.OptionsModule);
    EXPECT_EQ(Process().PostofficeModule, before.PostofficeModule);
    EXPECT_NE(GetProcAddress(static_cast<HMODULE>(before.PostofficeModule), "MailboxFindFirst"), nullptr);
}

TEST_F(LibraryInit, WithoutAnApplicationDirectoryNothingIsLoadedFromTheWorkingDirectory)
{
    const auto directory = store_.Directory() / "64";
    std::filesystem::create_directory(directory);
    std::filesystem::copy_file(test::ModuleFile(VELMORA_TEST_MODULES "/sized64", "VLAIPO.DLL"),
                               test::ModuleFile(directory.string(), "VLAIPO.DLL"));
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(store_.Directory().Path());
    EXPECT_EQ(test::CaptureStdout([] { ProcessAttach(); }), "Unable to Load Postoffice Configuration Provider\n");
    std::filesystem::current_path(before);
}

TEST_F(LibraryInit, WithoutTheNotifyModuleThereIsNoAddress)
{
    ASSERT_EQ(StoreLibrary_Init(), 1u);
    EXPECT_EQ(Process().NotifyModule, nullptr);
    EXPECT_EQ(Process().NotifyRemote, nullptr);
}

TEST_F(LibraryInit, TheNotifyModuleIsFoundByItsBareNameAndFreedAtUnInit)
{
    // The loader's search path is given from outside of the process; a module that is in the process already is found too.
    const HMODULE preloaded = LoadLibraryA(VELMORA_TEST_MODULES "\\notify\\VLAINFY.DLL");
    ASSERT_NE(preloaded, nullptr) << GetLastError();
    ASSERT_EQ(StoreLibrary_Init(), 1u);
    EXPECT_NE(Process().NotifyModule, nullptr);
    EXPECT_EQ(Process().NotifyRemote, test::FunctionOf<void*>(preloaded, "NotifyRemote"));
    EXPECT_EQ(StoreLibrary_UnInit(), 1u);
    EXPECT_EQ(Process().NotifyModule, nullptr);
    EXPECT_EQ(Process().NotifyRemote, nullptr);
    FreeLibrary(preloaded);
}

TEST(Library, AffinityIsOneOnlyForOne)
{
    EXPECT_EQ(Process().StoreAffinity, 1u);
    EXPECT_EQ(StoreLibrary_SetAffinity(0), 1u);
    EXPECT_EQ(Process().StoreAffinity, 0u);
    EXPECT_EQ(StoreLibrary_SetAffinity(7), 1u);
    EXPECT_EQ(Process().StoreAffinity, 0u);
    EXPECT_EQ(StoreLibrary_SetAffinity(1), 1u);
    EXPECT_EQ(Process().StoreAffinity, 1u);
}

TEST(Library, ThreadInitDoesNothing) { EXPECT_EQ(StoreLibrary_ThreadInit(), 1u); }

TEST(Library, MemoryComesFromTheHeapAndGoesBack)
{
    const uint64_t block = Memory_Allocate(100);
    ASSERT_NE(block, 0u);
    std::memset(reinterpret_cast<void*>(block), 'x', 100);
    EXPECT_EQ(Memory_Free(block), 1u);
}

TEST(Library, FreeingNothingIsASuccess) { EXPECT_EQ(Memory_Free(0), 1u); }

TEST(Library, LoggingFunctionAnswersZeroInEveryCase)
{
    EXPECT_EQ(SetLoggingFunction(0, 0, 0, 0), 0u);
    EXPECT_EQ(SetLoggingFunction(1, 2, 3, 4), 0u);
}

TEST(Library, ALoggingModuleWouldBeAskedUnderTheSameName)
{
    const HMODULE module = LoadLibraryA(VELMORA_TEST_MODULES "\\logging\\VLALOG.DLL");
    const HMODULE without = LoadLibraryA(VELMORA_TEST_MODULES "\\notify\\VLAINFY.DLL");
    ASSERT_NE(module, nullptr);
    ASSERT_NE(without, nullptr);
    Process().LoggingModule = module;
    EXPECT_EQ(SetLoggingFunction(1, 2, 3, 4), 1234u);
    Process().LoggingModule = without;
    EXPECT_EQ(SetLoggingFunction(1, 2, 3, 4), 0u) << "it has no such function";
    Process().LoggingModule = nullptr;
    EXPECT_EQ(SetLoggingFunction(1, 2, 3, 4), 0u);
    FreeLibrary(without);
    FreeLibrary(module);
}

}  // namespace
}  // namespace velmora
