// The entry of a shared library, in one line of its one source file:
//
//     VELMORA_MODULE_ENTRY(processAttach, processDetach, threadAttach, threadDetach)
//
// processAttach answers false when the library cannot work. On Windows the load then fails. Elsewhere a load cannot be
// failed from within; the library stays loaded, and its functions answer as they do when what they need is not there. There
// the system also does not tell a library of threads: what a thread needs is made at its first call, and
// platform/Threads.h runs the end. processDetach runs when the library is unloaded and at the end of the process, where
// other threads may still be at work in the library.
#ifndef VELMORA_PLATFORM_MODULEENTRY_H
#define VELMORA_PLATFORM_MODULEENTRY_H

#ifdef _WIN32

#include "platform/win32.h"

#define VELMORA_MODULE_ENTRY(processAttach, processDetach, threadAttach, threadDetach) \
    extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID)                    \
    {                                                                                  \
        if (reason == DLL_PROCESS_ATTACH) return processAttach() ? TRUE : FALSE;       \
        if (reason == DLL_PROCESS_DETACH) processDetach();                             \
        if (reason == DLL_THREAD_ATTACH) threadAttach();                               \
        if (reason == DLL_THREAD_DETACH) threadDetach();                               \
        return TRUE;                                                                   \
    }

#else

#define VELMORA_MODULE_ENTRY(processAttach, processDetach, threadAttach, threadDetach)              \
    __attribute__((constructor)) static void AttachModule() { static_cast<void>(processAttach()); } \
    __attribute__((destructor)) static void DetachModule() { processDetach(); }

#endif

#endif
