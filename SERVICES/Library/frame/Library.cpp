// The exported functions of the library's own life that need no room above this one. What also closes the thread's folder
// (StoreLibrary_ThreadRelease, StoreLibrary_UnInit) stands in Attach.cpp.
#include "velmora/library.h"

#include <cstdlib>
#include <string>

#include "common/Mutex.h"
#include "common/Text.h"
#include "frame/Companions.h"
#include "frame/Guard.h"
#include "frame/ProcessState.h"
#include "frame/Settings.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr char kMapiServiceKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Services\\MAPI";

uint32_t NumberOrZero(const char* name)
{
    uint32_t value = 0;
    ReadSettingNumber(kBaseKey, name, value);
    return value;
}

// The first of three settings that is stored, also with an empty text.
// Kept: with none of them stored it is the text made from an empty data directory, "\POSTOFFICES".
std::string FindMailRoot()
{
    std::string text;
    if (ReadSettingText(kMapiServiceKey, "Mail Root Directory", text)) return text;
    if (ReadSettingText(kBaseKey, "Mail Root", text)) return text;
    ReadSettingText(kBaseKey, "Data Directory", text);
    return text + "\\POSTOFFICES";
}

// A slot that is there already is kept, with what the threads have put into it.
bool HasSlot(uint32_t& slot)
{
    if (slot == kNoTlsSlot) slot = TlsAlloc();
    return slot != kNoTlsSlot;
}

uint64_t Initialise()
{
    ProcessState& process = Process();
    process.StoreEventNotificationMode = NumberOrZero("Store Event Notification Mode");
    process.MailboxSizeCalcMode = NumberOrZero("Mailbox Size Calc Mode");
    CopyBounded(process.MailRoot, FindMailRoot());
    CopyBounded(process.LegacyMailRoot, process.MailRoot);
    LoadNotifyModule();
    process.AllowCustomPostofficePaths = NumberOrZero("Allow Custom Postoffice Paths");
    std::string badMail;
    ReadSettingText(kBaseKey, "Bad Mail Directory", badMail);
    CopyBounded(process.BadMailDirectory, badMail);

    for (uint32_t* slot : {&process.TLSListPositionSlot, &process.TLSFolderContextSlot, &process.TLSFolderListSlot})
        if (!HasSlot(*slot)) return 0;
    for (void** mutex : {&process.IndexOpenMutex, &process.SharedIndexRegistryMutex})
        if (!*mutex) *mutex = OpenOrCreateMutex(nullptr);
    return 1;
}

}  // namespace

}  // namespace velmora

uint64_t StoreLibrary_Init() { return velmora::GuardedEntry("StoreLibrary_Init", uint64_t{0}, velmora::Initialise); }

uint64_t StoreLibrary_ThreadInit() { return 1; }

uint64_t StoreLibrary_SetAffinity(uint32_t value)
{
    velmora::Process().StoreAffinity = value == 1 ? 1 : 0;
    return 1;
}

uint64_t Memory_Allocate(uint64_t size) { return reinterpret_cast<uintptr_t>(std::malloc(size)); }

uint64_t Memory_Free(uint64_t pointer)
{
    std::free(reinterpret_cast<void*>(static_cast<uintptr_t>(pointer)));
    return 1;
}

// Kept: nothing in this library sets the handle of the logging module that is asked, so hosts always get 0.
uint64_t SetLoggingFunction(uint64_t a, uint64_t b, uint64_t c, uint64_t d)
{
    return velmora::GuardedEntry("SetLoggingFunction", uint64_t{0}, [&] { return velmora::AskLoggingModule(a, b, c, d); });
}
