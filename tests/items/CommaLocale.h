// A host's language that writes a comma where "C" has a point.
#ifndef VELMORA_TESTS_ITEMS_COMMALOCALE_H
#define VELMORA_TESTS_ITEMS_COMMALOCALE_H

namespace velmora::test {

// Makes it the language of this process, as a host would; false when the machine has none.
bool UseCommaLocale();

}  // namespace velmora::test

#endif
