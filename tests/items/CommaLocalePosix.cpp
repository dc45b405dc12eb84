#include <clocale>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tests/items/CommaLocale.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

namespace {

constexpr const char* kGerman = "de_DE.UTF-8";

bool Use(const char* name) { return std::setlocale(LC_ALL, name) && std::string_view(std::localeconv()->decimal_point) == ","; }

}  // namespace

bool UseCommaLocale()
{
    for (const char* name : {kGerman, "de_DE", "fr_FR.UTF-8", "fr_FR"})
        if (Use(name)) return true;
    // Few machines have one ready, but many have what it is made of. The C library reads it whole, so it need not stay.
    const TempDirectory directory;
    const std::string make = "localedef -i de_DE -f UTF-8 '" + (directory / kGerman).string() + "' >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0) return false;
    SetVariable("LOCPATH", directory.Str().c_str());
    const bool used = Use(kGerman);
    SetVariable("LOCPATH", nullptr);
    return used;
}

}  // namespace velmora::test
