// An options module for the tests: it knows the root of a few post offices, and scribbles where it knows none.
#include <cstdint>
#include <cstring>

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

uint32_t Answer(uint32_t scope, const char* key, const char* name, const char* root, char* value)
{
    std::strcpy(value, "scribble");
    if (scope != 1 || std::strcmp(name, "PostofficeRoot") != 0 || std::strcmp(key, "custom") != 0) return 0;
    std::strcpy(value, root);
    return 1;
}

}  // namespace

MODULE_EXPORT uint32_t GetOption(uint32_t scope, const char* key, const char* name, char* value)
{
    return Answer(scope, key, name, "C:\\plain root", value);
}

#ifdef WITH_SIZED_GET
MODULE_EXPORT uint32_t GetOption_Ex(uint32_t scope, const char* key, const char* name, char* value, uint32_t size)
{
    if (std::strcmp(key, "endless") == 0) {
        std::memset(value, 'x', size);
        return 1;
    }
    return size == 1024 ? Answer(scope, key, name, "C:\\sized root", value) : 0;
}
#endif

#ifdef WITH_SET
MODULE_EXPORT uint32_t SetOption(uint32_t, const char*, const char*, const char*) { return 1; }
#endif
