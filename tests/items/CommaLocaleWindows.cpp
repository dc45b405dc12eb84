#include <clocale>
#include <string_view>

#include "tests/items/CommaLocale.h"

namespace velmora::test {

bool UseCommaLocale() { return std::setlocale(LC_ALL, "German_Germany.1252") && std::string_view(std::localeconv()->decimal_point) == ","; }

}  // namespace velmora::test
