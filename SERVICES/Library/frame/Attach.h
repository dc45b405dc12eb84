// What happens when a process loads the library and when its threads come and go.
//
// Frame/Attach.cpp is the one source file that may know every room; nothing else of the library includes it. The shared
// library calls these from its module entry (ModuleMain.cpp), a test from its own main thread.
#ifndef VELMORA_FRAME_ATTACH_H
#define VELMORA_FRAME_ATTACH_H

namespace velmora {

// Loads the companion modules and runs StoreLibrary_Init; false when the library cannot work.
bool ProcessAttach();
void ProcessDetach();
// A thread begins or ends. Detach closes the thread's folder when each thread has its own records, and otherwise only
// frees its context.
void ThreadAttach();
void ThreadDetach();

}  // namespace velmora

#endif
