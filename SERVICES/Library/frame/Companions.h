// The server's other modules, found by name beside the application, and the functions that the store asks them.
//
// A companion that is missing is no fault: what needs it is absent. Companions stay loaded until the process ends.
#ifndef VELMORA_FRAME_COMPANIONS_H
#define VELMORA_FRAME_COMPANIONS_H

#include <cstdint>
#include <string>

namespace velmora {

// Loads the options and the post office configuration modules into the process state, unless they are there. Says on
// standard output how the second went.
void LoadCompanionsAtAttach();

// Loads the notification module by its bare name, unless it is there, and looks NotifyRemote up in it.
void LoadNotifyModule();
void FreeNotifyModule();

// Functions of the options module. Scope 1 is a post office and its name the key; scope 2 is a mailbox and the key
// "postoffice/mailbox". A get answers non-zero when the option exists and its text stands in the buffer.
struct OptionsFunctions {
    uint32_t (*GetOption)(uint32_t scope, const char* key, const char* name, char* value) = nullptr;
    uint32_t (*GetOptionEx)(uint32_t scope, const char* key, const char* name, char* value, uint32_t size) = nullptr;
    uint32_t (*SetOption)(uint32_t scope, const char* key, const char* name, const char* value) = nullptr;
};

// Asks the options module, which is loaded at the first use and looked for again while it is missing. The preferred get
// is the one that knows the size of its buffer, of at most 1024 bytes. False when there is no module or no such option.
bool AskOption(uint32_t scope, const std::string& key, const char* name, std::string& value);
// Passes four words on to "SetLoggingFunction" of the logging module and gives its answer; 0 without that module, or when
// it has no such function.
uint64_t AskLoggingModule(uint64_t a, uint64_t b, uint64_t c, uint64_t d);

// Looks for the options module anew at its next use, as a restart of the service would. For tests.
void ForgetOptionsModule();

}  // namespace velmora

#endif
