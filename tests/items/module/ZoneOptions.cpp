// An options module for the tests: it knows the zones of a few mailboxes.
#include <cstdint>
#include <cstring>

#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

uint32_t Answer(uint32_t scope, const char* key, const char* name, const char* ownZone, char* value)
{
    if (scope != 2 || std::strcmp(name, "TimeZone") != 0) return 0;
    const char* zone = nullptr;
    if (std::strcmp(key, "po/berlin") == 0) zone = "W. Europe Standard Time";
    if (std::strcmp(key, "po/dated") == 0) zone = "Dated Standard Time";
    if (std::strcmp(key, "po/nowhere") == 0) zone = "Nowhere Standard Time";
    if (std::strcmp(key, "po/empty") == 0) zone = "";
    if (std::strcmp(key, "po/own") == 0) zone = ownZone;
    if (!zone) {
        // What it scribbles where it knows nothing is not to be taken for a zone.
        std::strcpy(value, "UTC");
        return 0;
    }
    std::strcpy(value, zone);
    return 1;
}

}  // namespace

MODULE_EXPORT uint32_t GetOption(uint32_t scope, const char* key, const char* name, char* value)
{
    return Answer(scope, key, name, "India Standard Time", value);
}

#ifdef WITH_SIZED_GET
MODULE_EXPORT uint32_t GetOption_Ex(uint32_t scope, const char* key, const char* name, char* value, uint32_t size)
{
    if (std::strcmp(key, "po/endless") == 0) {
        std::memset(value, 'x', size);
        return 1;
    }
    return size == 1024 ? Answer(scope, key, name, "Tokyo Standard Time", value) : 0;
}
#endif

MODULE_EXPORT uint32_t SetOption(uint32_t, const char*, const char*, const char*) { return 1; }
