// What the library does at the end of a thread.
//
// A host does not tell the library when one of its threads ends, so a thread that has a context arms the hook, and the
// hook then runs on that thread, once, as it ends. It may arm itself again for values that it made anew.
#ifndef VELMORA_PLATFORM_THREADS_H
#define VELMORA_PLATFORM_THREADS_H

namespace velmora::platform {

// The hook of the whole process; null takes it away. Threads that armed themselves before then end without one.
void SetThreadEndHook(void (*hook)());

// The calling thread runs the hook when it ends. Armed twice is armed once. The thread that ends the process by leaving
// main does not run it: the process's own end does the library's last step.
void ArmThreadEndHook();

}  // namespace velmora::platform

#endif
