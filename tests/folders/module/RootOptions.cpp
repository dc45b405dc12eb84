// An options module for the tests: every post office has the root that a variable of the environment gives.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

MODULE_EXPORT uint32_t GetOption(uint32_t scope, const char*, const char* name, char* value)
{
    const char* const root = std::getenv("VELMORA_TEST_POSTOFFICE_ROOT");
    if (scope != 1 || std::strcmp(name, "PostofficeRoot") != 0 || !root || std::strlen(root) >= 1024) return 0;
    std::strcpy(value, root);
    return 1;
}

MODULE_EXPORT uint32_t SetOption(uint32_t, const char*, const char*, const char*) { return 1; }
